#pragma once

#include "net/socket.h"

#include <cstdint>
#include <memory>
#include <streambuf>

namespace zel {

/** A stream buffer over a connected socket that it does not own. Sends only when its put area is
 *  full or on sync(); receives once per refill. */
class socketbuf : public std::streambuf
{
public:
    socketbuf(net::SocketHandle socket, std::int32_t size);
    ~socketbuf() override;

    /** Empties the put area, and wipes what was in it. */
    void dropUnsent() noexcept;

protected:
    int_type overflow(int_type character) override;
    int_type pbackfail(int_type character) override;
    int_type underflow() override;
    int sync() override;

private:
    std::unique_ptr<char[]> m_receiveBuffer;
    std::unique_ptr<char[]> m_sendBuffer;
    char *m_receiveLimit;
    net::SocketHandle m_socket;
};

} // namespace zel
