#pragma once

#include "net/socketbuf.h"

#include <istream>

namespace zel {

/** A std::iostream over a connected socket. The socket is borrowed: the destructor does not close it. An
 *  IOException of the buffer leaves the stream's operations (its exception mask is badbit); end of file only
 *  sets the stream's state. One thread at a time. */
class SocketStream : public std::iostream
{
public:
    static constexpr std::int32_t kBufferSize = 4096;

    explicit SocketStream(net::SocketHandle socket);

    ReadBuffer &buffer() noexcept { return m_buffer; }

    /** Wipes what a failed send left in the buffer: it may be a password. */
    void dropUnsent() noexcept { m_buffer.dropUnsent(); }

private:
    socketbuf m_buffer;
};

} // namespace zel
