#include "net/socketbuf.h"

#include "sys/exceptions.h"
#include "sys/log.h"
#include "sys/secure_wipe.h"

#include <algorithm>
#include <cstring>

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
    // The stream never calls overflow() with room left; only a direct call gets here. The character is stored
    // but deliberately not counted.
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
    const std::size_t received = receive(gptr(), static_cast<std::size_t>(m_receiveLimit - gptr()));
    if (received == 0)
        return traits_type::eof();
    setg(eback(), gptr(), gptr() + received);
    // Returns 0, not the character: callers only compare with eof().
    return 0;
}

std::streamsize socketbuf::xsgetn(char *target, std::streamsize count)
{
    const std::ptrdiff_t bufferSize = m_receiveLimit - eback();
    std::streamsize done = 0;
    while (done < count) {
        const std::streamsize held = std::min<std::streamsize>(egptr() - gptr(), count - done);
        if (held > 0) {
            std::memcpy(target + done, gptr(), static_cast<std::size_t>(held));
            consume(static_cast<std::size_t>(held));
            done += held;
        } else if (count - done < bufferSize) {
            if (traits_type::eq_int_type(underflow(), traits_type::eof()))
                break;
        } else {
            setg(eback(), eback(), eback());
            const std::size_t received = receive(target + done, static_cast<std::size_t>(count - done));
            if (received == 0)
                break;
            done += static_cast<std::streamsize>(received);
        }
    }
    return done;
}

std::size_t socketbuf::receive(char *target, std::size_t count)
{
    const int received = net::recv(m_socket, target, count);
    if (received == net::kSocketError)
        throwFailure("recv", m_socket);
    return static_cast<std::size_t>(received);
}

int socketbuf::sync()
{
    const auto pending = static_cast<std::size_t>(pptr() - pbase());
    if (net::send(m_socket, pbase(), pending) != static_cast<int>(pending))
        throwFailure("send", m_socket);
    // Requests carry passwords, and this buffer lives as long as the connection.
    dropUnsent();
    return 0;
}

} // namespace zel
