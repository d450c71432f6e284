#pragma once

#include "net/socket.h"
#include "rendezvous/rendezvous_client.h"
#include "rendezvous/rendezvous_event.h"
#include "zel/zel.h"

#include <atomic>
#include <cstdint>
#include <memory>
#include <vector>

namespace zel {

class LThread;

/** The difference between the ordinary listener and that of firmware-upgrade mode: the names in log texts,
 *  and the mode of the client. What happens after a failure is up to the thread class. */
struct ListenerProfile {
    const char *listenerName;
    const char *threadName;
    bool dfuMode;
};

/** Calls the host's callbacks for the pens that the rendezvous server announces.
 *
 *  Threads of the host call setCallbacks(), StartRendezvous() and StopRendezvous(), one at a time. The
 *  listener's own thread runs serve(), which calls the callbacks, one at a time. StopRendezvous() reaches
 *  that thread whatever it is doing. The thread is killed only if a callback does not return.
 *
 *      listener.setCallbacks(arrived, departed, context);
 *      listener.StartRendezvous();
 *      ...
 *      listener.StopRendezvous();
 */
class RendezvousListener
{
public:
    static constexpr std::uint16_t kRendezvousPort = 3715;
    static constexpr net::Endpoint kRendezvousServer{net::toNetworkOrder(std::uint32_t{0x7f000001}),
                                                     net::toNetworkOrder(kRendezvousPort)};
    /** How long a stop waits for the thread before it kills it. */
    static constexpr std::uint32_t kStopTimeoutMilliseconds = 5000;
    static constexpr std::uint32_t kPauseMilliseconds = 10;

    RendezvousListener(const ListenerProfile &profile, const net::Endpoint &server);
    virtual ~RendezvousListener();
    RendezvousListener(const RendezvousListener &) = delete;
    RendezvousListener &operator=(const RendezvousListener &) = delete;

    /** Call it before the start only: no lock protects the callbacks. */
    void setCallbacks(PenArrivedCallback arrived, PenDepartedCallback departed,
                      void *callbackContext) noexcept;

    /** First kills a thread that still runs. Returns false when there is no memory or no descriptor for the
     *  thread object. Throws ZELException when the system cannot create a thread. */
    bool StartRendezvous();
    bool StopRendezvous();

    // The next two are for the listener's thread.

    bool isStopRequested() const noexcept { return m_stopRequested; }
    /** Connects, announces the pens that are present, then every change, until a stop is requested or the
     *  connection fails. Throws ZELRendezvousException when the connection fails. */
    void serve();

protected:
    virtual std::unique_ptr<LThread> makeThread() = 0;

    void connectWithWait();
    void announcePresentPens();
    void handleNotifications();
    void handleEvent(const RendezvousEvent &event);

    std::unique_ptr<RendezvousClient> m_pRVClient;

private:
    std::vector<RendezvousEvent> presentPens();
    RendezvousEvent nextEvent();
    void penArrived(const RendezvousEvent &event);
    void penDeparted(const RendezvousEvent &event);
    void announceArrival(const RendezvousEvent &event);
    void announceDeparture(const RendezvousEvent &event);
    void logFailure(const char *what, const std::exception &failure) const;

    const ListenerProfile m_profile;
    const net::Endpoint m_server;
    std::unique_ptr<LThread> m_thread;
    std::atomic<bool> m_stopRequested{false};
    PenArrivedCallback m_arrived = nullptr;
    PenDepartedCallback m_departed = nullptr;
    void *m_callbackContext = nullptr;
};

} // namespace zel
