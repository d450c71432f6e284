#include "net/socket_stream.h"

namespace zel {

SocketStream::SocketStream(net::SocketHandle socket) : std::iostream(nullptr), m_buffer(socket, kBufferSize)
{
    rdbuf(&m_buffer);
    exceptions(std::ios::badbit);
}

} // namespace zel
