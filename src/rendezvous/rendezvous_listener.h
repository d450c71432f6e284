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

/** What tells one mode's listener from the other's: the names in its log texts, and the mode of its
 *  client. What a thread does after a failure is the thread's own. */
struct ListenerProfile {
    const char *listenerName;
    const char *threadName;
    bool dfuMode;
};

/** Turns what the rendezvous server announces into calls of the host's two callbacks.
 *
 *  Host threads call setCallbacks(), StartRendezvous() and StopRendezvous(), one at a time. One
 *  thread of its own runs serve(), hence calls the callbacks, one at a time. A stop is never lost,
 *  whatever that thread is doing; only a callback that does not return has its thread killed. */
class RendezvousListener
{
public:
    static constexpr std::uint16_t kRendezvousPort = 3715;
    static constexpr net::Endpoint kRendezvousServer{net::toNetworkOrder(std::uint32_t{0x7f000001}),
                                                     net::toNetworkOrder(kRendezvousPort)};
    /** How long a stop waits for the thread before it is killed. */
    static constexpr std::uint32_t kStopTimeoutMilliseconds = 5000;
    static constexpr std::uint32_t kPauseMilliseconds = 10;

    RendezvousListener(const ListenerProfile &profile, const net::Endpoint &server);
    virtual ~RendezvousListener();
    RendezvousListener(const RendezvousListener &) = delete;
    RendezvousListener &operator=(const RendezvousListener &) = delete;

    /** Before the start only: nothing guards them. */
    void setCallbacks(PenArrivedCallback arrived, PenDepartedCallback departed,
                      void *callbackContext) noexcept;

    /** Kills a thread that still runs. False when memory or descriptors for the thread object are lacking;
     *  throws ZELException when the system gives no thread. */
    bool StartRendezvous();
    bool StopRendezvous();

    // For the thread.

    bool isStopRequested() const noexcept { return m_stopRequested; }
    /** Connects, announces the pens present, then each change, until a stop is requested or the
     *  connection fails. Only rendezvous failures end here; other exceptions pass. */
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
