#pragma once

#include "net/socketbuf.h"

#include <istream>

namespace zel {

/** A character stream in both directions over a connected socket that stays its owner's: destroying
 *  the stream does not close it. An IOException of the buffer passes through (exception mask: bad);
 *  end of file only sets the state. One thread at a time. */
class SocketStream : public std::iostream
{
public:
    static constexpr std::int32_t kBufferSize = 4096;

    explicit SocketStream(net::SocketHandle socket);

    /** What a failed send leaves in the buffer, for whoever would see it there, is wiped. */
    void dropUnsent() noexcept { m_buffer.dropUnsent(); }

private:
    socketbuf m_buffer;
};

} // namespace zel
