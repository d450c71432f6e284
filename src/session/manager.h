#pragma once

#include "rendezvous/rendezvous_listener.h"
#include "zel/zel.h"

#include <cstdint>
#include <memory>

namespace zel {

class PspClient2;

/** The library's root object, from zelInitialize to zelExit. It is the listener that announces pens to the
 *  host, and it connects to pens. It keeps no list of pens: the host's records and handles are the only ones.
 */
class CZELManager : public RendezvousListener
{
public:
    explicit CZELManager(const net::Endpoint &rendezvousServer = kRendezvousServer);

    /** Returns a client that is connected to a pen's service. The address is in network byte order. Throws as
     *  PspClientBase::connect() does. */
    std::unique_ptr<PspClient2> connectPen(std::uint32_t address, std::uint16_t port);
    /** Disconnects and destroys the handle's client. Returns false when the handle has none. */
    bool disconnectPen(::PenHandle &pen);

protected:
    std::unique_ptr<LThread> makeThread() override;
};

/** The one manager, or null. Any thread may call it, but nobody may use the manager while zelExit destroys
 *  it. */
CZELManager *manager() noexcept;
/** Sets the manager; null destroys the present one. */
void setManager(std::unique_ptr<CZELManager> manager) noexcept;

} // namespace zel
