#pragma once

#include "rendezvous/rendezvous_listener.h"
#include "zel/zel.h"

#include <cstdint>
#include <memory>

namespace zel {

class PspClient2;

/** The library's root object from zelInitialize to zelExit: the listener that announces pens to the
 *  host, and the way to a pen's service. It keeps no list of pens: the records and handles that the
 *  host holds are the only ones. */
class CZELManager : public RendezvousListener
{
public:
    explicit CZELManager(const net::Endpoint &rendezvousServer = kRendezvousServer);

    /** A client connected to a pen's service (address in network byte order). A failure passes as
     *  the client's exception. */
    std::unique_ptr<PspClient2> connectPen(std::uint32_t address, std::uint16_t port);
    /** Disconnects and destroys the handle's client; false when it has none. */
    bool disconnectPen(::PenHandle &pen);

protected:
    std::unique_ptr<LThread> makeThread() override;
};

/** The one manager, or null. Any thread may ask; who uses it while zelExit destroys it is at fault. */
CZELManager *manager() noexcept;
/** Publishes a manager, or destroys the present one (null). */
void setManager(std::unique_ptr<CZELManager> manager) noexcept;

} // namespace zel
