#pragma once

#include "support/wire.h"

#include <asio.hpp>
#include <string>

// A plain blocking client for tests of servers on the loopback interface.
class TcpClient
{
public:
    explicit TcpClient(std::uint16_t port) : m_socket(m_context)
    {
        m_socket.connect({asio::ip::address_v4::loopback(), port});
    }

    void send(const zel::test::Bytes &bytes) { asio::write(m_socket, asio::buffer(bytes)); }

    // Exactly so many bytes, or what came before the end of the connection.
    zel::test::Bytes receive(std::size_t count)
    {
        zel::test::Bytes bytes(count);
        asio::error_code error;
        bytes.resize(asio::read(m_socket, asio::buffer(bytes), error));
        m_wasReset = error == asio::error::connection_reset;
        return bytes;
    }

    // Everything up to the end of the connection.
    zel::test::Bytes receiveAll()
    {
        zel::test::Bytes bytes;
        for (zel::test::Bytes byte = receive(1); !byte.empty(); byte = receive(1))
            bytes.push_back(byte[0]);
        return bytes;
    }

    // One message up to its NUL, which is not part of the result.
    std::string receiveMessage()
    {
        std::string text;
        for (zel::test::Bytes byte = receive(1); !byte.empty() && byte[0] != 0; byte = receive(1))
            text += static_cast<char>(byte[0]);
        return text;
    }

    bool wasReset() const { return m_wasReset; }
    // As far as can be told: under Wine a reset that comes before the receive reads like an orderly end.
    bool mayHaveBeenReset() const { return m_wasReset || kResetsMayReadAsEnds; }
    bool ended() { return receive(1).empty(); }
    void finishSending() { m_socket.shutdown(asio::ip::tcp::socket::shutdown_send); }

private:
#ifdef _WIN32
    static constexpr bool kResetsMayReadAsEnds = true;
#else
    static constexpr bool kResetsMayReadAsEnds = false;
#endif

    asio::io_context m_context;
    asio::ip::tcp::socket m_socket;
    bool m_wasReset = false;
};

inline bool canConnect(std::uint16_t port)
{
    try {
        const TcpClient client(port);
        return true;
    } catch (const std::system_error &) {
        return false;
    }
}
