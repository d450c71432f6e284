#pragma once

#include "rendezvous/rendezvous_listener.h"
#include "sys/thread.h"

#include <memory>

namespace zel {

/** The firmware-upgrade mode's own listener, from zelDfuInit to zelDfuExit, beside and independent of the
 *  ordinary one. It ends with the first rendezvous failure. */
class DfuRendezvousListener : public RendezvousListener
{
public:
    explicit DfuRendezvousListener(const net::Endpoint &rendezvousServer = kRendezvousServer);

protected:
    std::unique_ptr<LThread> makeThread() override;
};

/** Serves one connection and does not connect again. */
class CDfuRendezvousThread : public LThread
{
public:
    /** The listener is borrowed and outlives the thread. */
    explicit CDfuRendezvousThread(RendezvousListener &listener) : LThread(false), m_listener(&listener) {}

    void run() override;

private:
    RendezvousListener *m_listener;
};

/** The one listener of this mode, or null. Any thread may ask; who uses it while zelDfuExit destroys it is
 *  at fault. */
DfuRendezvousListener *dfuListener() noexcept;
/** Publishes a listener, or destroys the present one (null). */
void setDfuListener(std::unique_ptr<DfuRendezvousListener> listener) noexcept;

} // namespace zel
