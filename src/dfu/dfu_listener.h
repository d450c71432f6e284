#pragma once

#include "rendezvous/rendezvous_listener.h"
#include "sys/thread.h"

#include <memory>

namespace zel {

/** The listener for pens in firmware-upgrade mode, from zelDfuInit to zelDfuExit. It is independent of the
 *  ordinary listener and ends with the first rendezvous failure. */
class DfuRendezvousListener : public RendezvousListener
{
public:
    explicit DfuRendezvousListener(const net::Endpoint &rendezvousServer = kRendezvousServer);

protected:
    std::unique_ptr<LThread> makeThread() override;
};

/** That listener's thread. It serves one connection and does not connect again. */
class CDfuRendezvousThread : public LThread
{
public:
    /** The listener is borrowed and must outlive the thread. */
    explicit CDfuRendezvousThread(RendezvousListener &listener) : LThread(false), m_listener(&listener) {}

    void run() override;

private:
    RendezvousListener *m_listener;
};

/** The one listener of this mode, or null. Any thread may call it, but nobody may use the listener while
 *  zelDfuExit destroys it. */
DfuRendezvousListener *dfuListener() noexcept;
/** Sets the listener; null destroys the present one. */
void setDfuListener(std::unique_ptr<DfuRendezvousListener> listener) noexcept;

} // namespace zel
