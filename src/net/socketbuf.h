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
    /** What the buffer does not hold goes straight to its target, as long as a whole buffer's worth is
     *  missing. What was received so cannot be put back. */
    std::streamsize xsgetn(char *target, std::streamsize count) override;
    int sync() override;

private:
    /** Bytes received, 0 when the peer closed; throws IOException. */
    std::size_t receive(char *target, std::size_t count);

    std::unique_ptr<char[]> m_receiveBuffer;
    std::unique_ptr<char[]> m_sendBuffer;
    char *m_receiveLimit;
    net::SocketHandle m_socket;
};

} // namespace zel
