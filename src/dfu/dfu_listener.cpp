#include "dfu/dfu_listener.h"

#include "sys/exceptions.h"
#include "sys/log.h"
#include "sys/never_destroyed.h"

#include <utility>

namespace zel {

namespace {

constexpr ListenerProfile kDfuProfile{"DfuRendezvousListener", "CDfuRendezvousThread", true};

// The listener of a host that ends without zelDfuExit still runs while it does.
constinit NeverDestroyed<std::unique_ptr<DfuRendezvousListener>> s_listener;

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
    return s_listener.get().get();
}

void setDfuListener(std::unique_ptr<DfuRendezvousListener> listener) noexcept
{
    s_listener.get() = std::move(listener);
}

} // namespace zel
