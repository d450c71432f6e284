#pragma once

#include <cstddef>

#include <pthread.h>

namespace zel::test {

/** As long as it lives the system gives no thread: none has room for the stack that is asked for. */
class RefusedThreads
{
public:
    RefusedThreads()
    {
        pthread_getattr_default_np(&m_usual);
        pthread_attr_t absurd;
        pthread_attr_init(&absurd);
        pthread_attr_setstacksize(&absurd, std::size_t{1} << 47);
        pthread_setattr_default_np(&absurd);
        pthread_attr_destroy(&absurd);
    }
    ~RefusedThreads() { pthread_setattr_default_np(&m_usual); }
    RefusedThreads(const RefusedThreads &) = delete;
    RefusedThreads &operator=(const RefusedThreads &) = delete;

private:
    pthread_attr_t m_usual{};
};

} // namespace zel::test
