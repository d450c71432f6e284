#include "net/socketbuf.h"

#include "sys/exceptions.h"
#include "sys/log.h"
#include "sys/secure_wipe.h"

namespace zel {

namespace {

[[noreturn]] void throwFailure(const char *operation, net::SocketHandle socket)
{
    const int error = net::lastError();
    throw IOException(FormatLogText("[SocketStream] failed %s() on socket(%d), WSALastError: %d", operation,
                                    socket, error));
}

} // namespace

socketbuf::socketbuf(net::SocketHandle socket, std::int32_t size)
    : m_receiveBuffer(std::make_unique<char[]>(static_cast<std::size_t>(size))),
      m_sendBuffer(std::make_unique<char[]>(static_cast<std::size_t>(size))),
      m_receiveLimit(m_receiveBuffer.get() + size),
      m_socket(socket)
{
    setg(m_receiveBuffer.get(), m_receiveBuffer.get(), m_receiveBuffer.get());
    setp(m_sendBuffer.get(), m_sendBuffer.get() + size);
}

socketbuf::~socketbuf()
{
    dropUnsent();
}

void socketbuf::dropUnsent() noexcept
{
    secureWipe(pbase(), static_cast<std::size_t>(pptr() - pbase()));
    setp(pbase(), epptr());
}

socketbuf::int_type socketbuf::overflow(int_type character)
{
    if (traits_type::eq_int_type(character, traits_type::eof()))
        return traits_type::not_eof(character);
    if (pptr() >= epptr()) {
        sync();
        sputc(traits_type::to_char_type(character));
        return character;
    }
    // Only an explicit call comes here. The character is stored but not counted, on purpose.
    *pptr() = traits_type::to_char_type(character);
    if (traits_type::to_char_type(character) == '\n')
        sync();
    return character;
}

socketbuf::int_type socketbuf::pbackfail(int_type character)
{
    if (gptr() <= eback())
        return traits_type::eof();
    gbump(-1);
    if (!traits_type::eq_int_type(character, traits_type::eof()))
        *gptr() = traits_type::to_char_type(character);
    return traits_type::not_eof(character);
}

socketbuf::int_type socketbuf::underflow()
{
    if (gptr() < egptr())
        return traits_type::to_int_type(*gptr());
    if (m_receiveLimit - gptr() < gptr() - eback())
        setg(eback(), eback(), eback());
    const int received = net::recv(m_socket, gptr(), static_cast<std::size_t>(m_receiveLimit - gptr()));
    if (received == 0)
        return traits_type::eof();
    if (received == net::kSocketError)
        throwFailure("recv", m_socket);
    setg(eback(), gptr(), gptr() + received);
    // Not the character: who calls tells data from end of file by it, and no more.
    return 0;
}

int socketbuf::sync()
{
    const auto pending = static_cast<std::size_t>(pptr() - pbase());
    if (net::send(m_socket, pbase(), pending) != static_cast<int>(pending))
        throwFailure("send", m_socket);
    // Requests carry passwords, and this block serves as long as the connection.
    dropUnsent();
    return 0;
}

} // namespace zel
