#include "rendezvous/rendezvous_thread.h"

#include "rendezvous/rendezvous_listener.h"
#include "sys/exceptions.h"
#include "sys/log.h"

namespace zel {

void RendezvousThread::run()
{
    while (!m_listener->isStopRequested())
        serveOnce();
    LogDebug("*** RendezvousThread stopped normally ***");
}

void RendezvousThread::serveOnce()
{
    LogDebug("*** RendezvousThread started ***");
    try {
        m_listener->serve();
    } catch (const ZELRendezvousException &failure) {
        LogError("RendezvousListener terminating because: ", failure.what());
    }
}

} // namespace zel
