#pragma once

#include "net/socket.h"
#include "sys/read_buffer.h"

#include <cstdint>
#include <memory>

namespace zel {

/** The stream buffer of SocketStream. The socket is borrowed. It sends only when its put area is full or on
 *  sync(), and calls recv() once for each refill. */
class socketbuf : public ReadBuffer
{
public:
    socketbuf(net::SocketHandle socket, std::int32_t size);
    ~socketbuf() override;

    /** Empties the put area and wipes what was in it. */
    void dropUnsent() noexcept;

protected:
    int_type overflow(int_type character) override;
    int_type pbackfail(int_type character) override;
    int_type underflow() override;
    /** Copies what the buffer holds. While at least a whole buffer is missing after that, receives directly
     *  into the target; such bytes cannot be put back. */
    std::streamsize xsgetn(char *target, std::streamsize count) override;
    int sync() override;

private:
    /** Returns the number of bytes received, 0 when the peer closed the connection. Throws IOException. */
    std::size_t receive(char *target, std::size_t count);

    std::unique_ptr<char[]> m_receiveBuffer;
    std::unique_ptr<char[]> m_sendBuffer;
    char *m_receiveLimit;
    net::SocketHandle m_socket;
};

} // namespace zel
