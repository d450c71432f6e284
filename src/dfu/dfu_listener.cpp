#include "dfu/dfu_listener.h"

#include "sys/exceptions.h"
#include "sys/log.h"

#include <utility>

namespace zel {

namespace {

constexpr ListenerProfile kDfuProfile{"DfuRendezvousListener", "CDfuRendezvousThread", true};

/** Logs the thread's last text, also when an exception ends the thread. */
class StoppedNormally
{
public:
    StoppedNormally() = default;
    StoppedNormally(const StoppedNormally &) = delete;
    StoppedNormally &operator=(const StoppedNormally &) = delete;
    ~StoppedNormally() { LogDebug("*** CDfuRendezvousThread stopped normally ***"); }
};

// A raw pointer on purpose: nothing destroys the listener when the process exits. Without zelDfuExit its
// thread runs until the end.
DfuRendezvousListener *s_listener = nullptr;

} // namespace

DfuRendezvousListener::DfuRendezvousListener(const net::Endpoint &rendezvousServer)
    : RendezvousListener(kDfuProfile, rendezvousServer)
{
}

std::unique_ptr<LThread> DfuRendezvousListener::makeThread()
{
    return std::make_unique<CDfuRendezvousThread>(*this);
}

void CDfuRendezvousThread::run()
{
    const StoppedNormally stoppedNormally;
    LogDebug("*** CDfuRendezvousThread started ***");
    try {
        m_listener->serve();
    } catch (const ZELRendezvousException &failure) {
        LogError("DfuRendezvousListener terminating because: ", failure.what());
    }
}

DfuRendezvousListener *dfuListener() noexcept
{
    return s_listener;
}

void setDfuListener(std::unique_ptr<DfuRendezvousListener> listener) noexcept
{
    const std::unique_ptr<DfuRendezvousListener> previous(std::exchange(s_listener, listener.release()));
}

} // namespace zel
