#include "session/manager.h"

#include "psp/psp_client2.h"
#include "session/pen_handle.h"
#include "sys/exceptions.h"
#include "sys/log.h"
#include "sys/thread.h"

#include <utility>

namespace zel {

namespace {

constexpr ListenerProfile kProfile{"RendezvousListener", "RendezvousThread", false};

// A raw pointer on purpose: nothing destroys the manager when the process exits. Without zelExit its listener
// runs until the end.
CZELManager *s_manager = nullptr;

/** The listener's thread. After each rendezvous failure it starts over, until a stop is requested. */
class RendezvousThread : public LThread
{
public:
    /** The listener is borrowed and must outlive the thread. */
    explicit RendezvousThread(RendezvousListener &listener) : LThread(false), m_listener(&listener) {}

    void run() override
    {
        while (!m_listener->isStopRequested())
            serveOnce();
        LogDebug("*** RendezvousThread stopped normally ***");
    }

private:
    void serveOnce()
    {
        LogDebug("*** RendezvousThread started ***");
        try {
            m_listener->serve();
        } catch (const ZELRendezvousException &failure) {
            LogError("RendezvousListener terminating because: ", failure.what());
        }
    }

    RendezvousListener *m_listener;
};

} // namespace

CZELManager::CZELManager(const net::Endpoint &rendezvousServer)
    : RendezvousListener(kProfile, rendezvousServer)
{
}

std::unique_ptr<LThread> CZELManager::makeThread()
{
    return std::make_unique<RendezvousThread>(*this);
}

std::unique_ptr<PspClient2> CZELManager::connectPen(std::uint32_t address, std::uint16_t port)
{
    auto client = std::make_unique<PspClient2>(address, port);
    client->setPenConnected(true);
    client->connect();
    return client;
}

bool CZELManager::disconnectPen(::PenHandle &pen)
{
    if (!pen.client)
        return false;
    pen.client->setPenConnected(false);
    pen.client->disconnect();
    pen.client.reset();
    return true;
}

CZELManager *manager() noexcept
{
    return s_manager;
}

void setManager(std::unique_ptr<CZELManager> manager) noexcept
{
    const std::unique_ptr<CZELManager> previous(std::exchange(s_manager, manager.release()));
}

} // namespace zel
