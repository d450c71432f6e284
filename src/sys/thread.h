#pragma once

#include "sys/event.h"

#include <cstdint>
#include <memory>

namespace zel {

void sleepMilliseconds(std::uint32_t milliseconds);

/** The body of a thread. */
class LThreadImpl
{
public:
    virtual ~LThreadImpl() = default;
    virtual void run() = 0;
};

/** A thread of the system that runs run() once.
 *  An exception of any kind that leaves run() ends there: the thread ends, the process lives. */
class LThread : public LThreadImpl
{
public:
    explicit LThread(bool autoDelete);
    ~LThread() override;
    LThread(const LThread &) = delete;
    LThread &operator=(const LThread &) = delete;

    /** Throws ZELException "Unable to create new thread". */
    void start();
    bool isRunning() const noexcept;
    /** Stops the thread where it stands: nothing is unwound, no lock it holds is released. When kill
     *  returns the thread touches nothing any more and the object may be deleted. */
    void kill();
    /** Set when the body has returned. */
    LEvent &finished() noexcept { return m_finished; }

private:
    struct Native;

    std::unique_ptr<Native> m_native;
    LEvent m_finished{true, false};
    bool m_autoDelete;
};

} // namespace zel
