#include "dfu/dfu_listener.h"

#include "sys/exceptions.h"
#include "sys/log.h"

#include <utility>

namespace zel {

namespace {

constexpr ListenerProfile kDfuProfile{"DfuRendezvousListener", "CDfuRendezvousThread", true};

// No owner that a process's end destroys: without zelDfuExit the listener runs until the last moment.
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
    LogDebug("*** CDfuRendezvousThread started ***");
    try {
        m_listener->serve();
    } catch (const ZELRendezvousException &failure) {
        LogError(FormatLogText("DfuRendezvousListener terminating because: %s", failure.what()));
    }
    LogDebug("*** CDfuRendezvousThread stopped normally ***");
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
