#include "support/loopback.h"

#include <array>
#include <cstring>
#include <stdexcept>

#ifdef _WIN32
#include <winsock2.h>
#include <ws2tcpip.h>
using Native = SOCKET;
using SocketLength = int;
#else
#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
using Native = int;
using SocketLength = socklen_t;
#endif

namespace loopback {

namespace {

Native native(const OwnedSocket &socket)
{
    return static_cast<Native>(static_cast<std::uint32_t>(socket.get()));
}

void require(bool condition, const char *what)
{
    if (!condition)
        throw std::runtime_error(std::string("loopback: ") + what);
}

OwnedSocket openSocket(int type)
{
    zel::net::startUp();
    if (type == SOCK_STREAM)
        return OwnedSocket(zel::net::createTcpSocket());
    return OwnedSocket(static_cast<zel::net::SocketHandle>(::socket(AF_INET, type, 0)));
}

sockaddr_in addressOf(const zel::net::Endpoint &endpoint)
{
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = endpoint.port;
    address.sin_addr.s_addr = endpoint.address;
    return address;
}

zel::net::Endpoint onLoopback(std::uint16_t networkOrderPort)
{
    return {zel::net::toNetworkOrder(std::uint32_t{0x7f000001}), networkOrderPort};
}

zel::net::Endpoint bindToEphemeralPort(const OwnedSocket &socket)
{
    const sockaddr_in any = addressOf(onLoopback(0));
    require(::bind(native(socket), reinterpret_cast<const sockaddr *>(&any), sizeof any) == 0, "bind");
    sockaddr_in bound{};
    SocketLength size = sizeof bound;
    require(::getsockname(native(socket), reinterpret_cast<sockaddr *>(&bound), &size) == 0, "getsockname");
    return onLoopback(bound.sin_port);
}

} // namespace

Listener::Listener(int backlog) : m_socket(openSocket(SOCK_STREAM))
{
    const zel::net::Endpoint bound = bindToEphemeralPort(m_socket);
    m_port = zel::net::toNetworkOrder(bound.port);
    require(::listen(native(m_socket), backlog) == 0, "listen");
}

zel::net::Endpoint Listener::endpoint() const noexcept
{
    return onLoopback(zel::net::toNetworkOrder(m_port));
}

OwnedSocket Listener::accept(int milliseconds)
{
    if (!isReadable(m_socket, milliseconds))
        return OwnedSocket();
    const Native accepted = ::accept(native(m_socket), nullptr, nullptr);
    require(accepted != static_cast<Native>(-1), "accept");
    return OwnedSocket(static_cast<zel::net::SocketHandle>(accepted));
}

FullListener::FullListener() : m_only(openSocket(SOCK_STREAM))
{
    require(zel::net::connect(m_only.get(), endpoint()) == 0, "connect");
}

zel::net::Endpoint deadEndpoint()
{
    return Listener().endpoint();
}

OwnedSocket connectTo(const zel::net::Endpoint &server)
{
    OwnedSocket client = openSocket(SOCK_STREAM);
    require(zel::net::connect(client.get(), server) == 0, "connect");
    return client;
}

std::pair<OwnedSocket, OwnedSocket> connectedPair()
{
    Listener listener;
    OwnedSocket client = connectTo(listener.endpoint());
    return {std::move(client), listener.accept()};
}

std::pair<OwnedSocket, OwnedSocket> datagramPair()
{
    OwnedSocket a = openSocket(SOCK_DGRAM);
    OwnedSocket b = openSocket(SOCK_DGRAM);
    const zel::net::Endpoint ofA = bindToEphemeralPort(a);
    const zel::net::Endpoint ofB = bindToEphemeralPort(b);
    require(zel::net::connect(a.get(), ofB) == 0 && zel::net::connect(b.get(), ofA) == 0, "connect");
    return {std::move(a), std::move(b)};
}

bool isReadable(const OwnedSocket &socket, int milliseconds)
{
#ifdef _WIN32
    WSAPOLLFD entry{};
    entry.fd = native(socket);
    entry.events = POLLRDNORM;
    return WSAPoll(&entry, 1, milliseconds) > 0;
#else
    pollfd entry{native(socket), POLLIN, 0};
    return ::poll(&entry, 1, milliseconds) > 0;
#endif
}

std::string receiveOnce(const OwnedSocket &socket)
{
    std::array<char, 65536> buffer;
    const int received = zel::net::recv(socket.get(), buffer.data(), buffer.size());
    return received < 0 ? "(error)" : std::string(buffer.data(), static_cast<std::size_t>(received));
}

std::string receiveAll(const OwnedSocket &socket)
{
    std::string all;
    std::array<char, 65536> buffer;
    for (int n; (n = zel::net::recv(socket.get(), buffer.data(), buffer.size())) > 0;)
        all.append(buffer.data(), static_cast<std::size_t>(n));
    return all;
}

std::string receiveExactly(const OwnedSocket &socket, std::size_t count)
{
    std::string bytes(count, '\0');
    std::size_t held = 0;
    for (int n; held < count && (n = zel::net::recv(socket.get(), &bytes[held], count - held)) > 0;)
        held += static_cast<std::size_t>(n);
    bytes.resize(held);
    return bytes;
}

void sendAll(const OwnedSocket &socket, std::string_view bytes)
{
    while (!bytes.empty()) {
        const int sent = zel::net::send(socket.get(), bytes.data(), bytes.size());
        if (sent <= 0)
            return;
        bytes.remove_prefix(static_cast<std::size_t>(sent));
    }
}

bool showsResets()
{
#ifdef _WIN32
    return GetProcAddress(GetModuleHandleA("ntdll.dll"), "wine_get_version") == nullptr;
#else
    return true;
#endif
}

void reset(OwnedSocket socket)
{
    const linger abrupt{1, 0};
    ::setsockopt(native(socket), SOL_SOCKET, SO_LINGER, reinterpret_cast<const char *>(&abrupt),
                 sizeof abrupt);
}

} // namespace loopback
