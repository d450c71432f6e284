#include "dfu/dfu_listener.h"

#include "sys/exceptions.h"
#include "sys/log.h"

#include <utility>

namespace zel {

namespace {

constexpr ListenerProfile kDfuProfile{"DfuRendezvousListener", "CDfuRendezvousThread", true};

/** Never destroyed: the listener of a host that ends without zelDfuExit still runs while it does. */
std::unique_ptr<DfuRendezvousListener> &theDfuListener()
{
    static auto &s_listener = *new std::unique_ptr<DfuRendezvousListener>;
    return s_listener;
}

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
    return theDfuListener().get();
}

void setDfuListener(std::unique_ptr<DfuRendezvousListener> listener) noexcept
{
    theDfuListener() = std::move(listener);
}

} // namespace zel
