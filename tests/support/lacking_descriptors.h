#pragma once

#include <algorithm>
#include <stdexcept>

#include <fcntl.h>
#include <sys/resource.h>
#include <unistd.h>

namespace zel::test {

/** As long as it lives the process gets no further descriptor but for those it closes, and the spare ones. */
class LackingDescriptors
{
public:
    /** Not even one that it closes. */
    static constexpr int kNone = -100000;

    explicit LackingDescriptors(int spare = 0)
    {
        const int lowestFree = ::fcntl(STDERR_FILENO, F_DUPFD_CLOEXEC, 0);
        if (lowestFree < 0 || ::getrlimit(RLIMIT_NOFILE, &m_usual) != 0)
            throw std::runtime_error("LackingDescriptors");
        ::close(lowestFree);
        const rlimit few{static_cast<rlim_t>(std::max(lowestFree + spare, STDERR_FILENO + 1)),
                         m_usual.rlim_max};
        ::setrlimit(RLIMIT_NOFILE, &few);
    }
    ~LackingDescriptors() { ::setrlimit(RLIMIT_NOFILE, &m_usual); }
    LackingDescriptors(const LackingDescriptors &) = delete;
    LackingDescriptors &operator=(const LackingDescriptors &) = delete;

private:
    rlimit m_usual{};
};

} // namespace zel::test
