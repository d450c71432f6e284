#include "net/socket.h"

#include "net/owned_socket.h"
#include "support/loopback.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cerrno>
#include <chrono>
#include <cstring>
#include <thread>

using namespace zel;
using loopback::OwnedSocket;

namespace {

OwnedSocket newSocket()
{
    net::startUp();
    return OwnedSocket(net::createTcpSocket());
}

constexpr net::Endpoint kAnywhere{net::toNetworkOrder(std::uint32_t{0x7f000001}),
                                  net::toNetworkOrder(std::uint16_t{1})};

} // namespace

TEST(Socket, EndpointIsKeptInNetworkOrder)
{
    const net::Endpoint endpoint{net::toNetworkOrder(std::uint32_t{0x7f000001}),
                                 net::toNetworkOrder(std::uint16_t{3715})};
    const unsigned char address[] = {127, 0, 0, 1};
    const unsigned char port[] = {0x0e, 0x83};
    EXPECT_EQ(std::memcmp(&endpoint.address, address, 4), 0);
    EXPECT_EQ(std::memcmp(&endpoint.port, port, 2), 0);
}

TEST(Socket, DottedAddressShowsBytesInNetworkOrder)
{
    EXPECT_EQ(net::dottedAddress(net::toNetworkOrder(std::uint32_t{0x7f000001})), "127.0.0.1");
    EXPECT_EQ(net::dottedAddress(net::toNetworkOrder(std::uint32_t{0xc0a8fffe})), "192.168.255.254");
}

TEST(Socket, EveryCallOnNoSocketFailsAsNotASocket)
{
    char byte = 0;
    net::startUp();
    EXPECT_EQ(net::connect(net::kNoSocket, kAnywhere), net::kSocketError);
    EXPECT_EQ(net::lastError(), 10038);
    EXPECT_EQ(net::send(net::kNoSocket, &byte, 1), net::kSocketError);
    EXPECT_EQ(net::lastError(), 10038);
    EXPECT_EQ(net::recv(net::kNoSocket, &byte, 1), net::kSocketError);
    EXPECT_EQ(net::lastError(), 10038);
    EXPECT_EQ(net::recvText(net::kNoSocket, {&byte, 1}), net::kSocketError);
    EXPECT_EQ(net::lastError(), 10038);
    EXPECT_EQ(net::shutdown(net::kNoSocket, net::ShutdownDirection::Both), net::kSocketError);
    EXPECT_EQ(net::lastError(), 10038);
    EXPECT_EQ(net::close(net::kNoSocket), net::kSocketError);
    EXPECT_EQ(net::lastError(), 10038);
    net::setNoDelay(net::kNoSocket);
}

TEST(Socket, CallOnClosedSocketFailsAsNotASocket)
{
    const net::SocketHandle closed = newSocket().get();
    char byte = 0;
    EXPECT_EQ(net::recv(closed, &byte, 1), net::kSocketError);
    EXPECT_EQ(net::lastError(), 10038);
    EXPECT_EQ(net::close(closed), net::kSocketError);
    EXPECT_EQ(net::lastError(), 10038);
}

TEST(Socket, RefusedConnectHasWinsocksNumberAlsoWhenRepeated)
{
    const net::Endpoint dead = loopback::deadEndpoint();
    const OwnedSocket socket = newSocket();
    for (int attempt = 0; attempt < 5; ++attempt) {
        EXPECT_EQ(net::connect(socket.get(), dead), net::kSocketError);
        EXPECT_EQ(net::lastError(), net::kErrorConnectionRefused) << "attempt " << attempt;
    }
}

TEST(Socket, RefusedSocketConnectsOnceTheServerIsThere)
{
    const OwnedSocket socket = newSocket();
    loopback::Listener listener;
    EXPECT_EQ(net::connect(socket.get(), loopback::deadEndpoint()), net::kSocketError);
    EXPECT_EQ(net::connect(socket.get(), listener.endpoint()), 0);
    EXPECT_TRUE(listener.accept());
}

TEST(Socket, SecondConnectIsAlreadyConnected)
{
    loopback::Listener listener;
    const OwnedSocket socket = newSocket();
    EXPECT_EQ(net::connect(socket.get(), listener.endpoint()), 0);
    EXPECT_EQ(net::connect(socket.get(), listener.endpoint()), net::kSocketError);
    EXPECT_EQ(net::lastError(), 10056);
}

TEST(Socket, ConnectThatCanBeStoppedHasTheSameOutcomes)
{
    const std::atomic<bool> stop{false};
    loopback::Listener listener;
    const OwnedSocket socket = newSocket();
    for (int attempt = 0; attempt < 3; ++attempt) {
        EXPECT_EQ(net::connect(socket.get(), loopback::deadEndpoint(), stop), net::kSocketError);
        EXPECT_EQ(net::lastError(), 10061) << "attempt " << attempt;
    }
    EXPECT_EQ(net::connect(socket.get(), listener.endpoint(), stop), 0);
    EXPECT_EQ(net::connect(socket.get(), listener.endpoint(), stop), net::kSocketError);
    EXPECT_EQ(net::lastError(), 10056);
    EXPECT_EQ(net::connect(net::kNoSocket, listener.endpoint(), stop), net::kSocketError);
    EXPECT_EQ(net::lastError(), 10038);
    const net::SocketHandle closed = newSocket().get();
    EXPECT_EQ(net::connect(closed, listener.endpoint(), stop), net::kSocketError);
    EXPECT_EQ(net::lastError(), 10038);
}

TEST(Socket, ConnectThatCanBeStoppedLeavesABlockingSocket)
{
    const std::atomic<bool> stop{false};
    loopback::Listener listener;
    const OwnedSocket socket = newSocket();
    ASSERT_EQ(net::connect(socket.get(), listener.endpoint(), stop), 0);
    const OwnedSocket peer = listener.accept();
    std::thread sending([&] {
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
        loopback::sendAll(peer, "x");
    });
    EXPECT_EQ(loopback::receiveOnce(socket), "x");
    sending.join();
}

TEST(Socket, StopEndsAConnectThatHangs)
{
    const loopback::FullListener full;
    std::atomic<bool> stop{false};
    const OwnedSocket socket = newSocket();
    std::thread stopping([&] {
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
        stop = true;
    });
    EXPECT_EQ(net::connect(socket.get(), full.endpoint(), stop), net::kSocketError);
    EXPECT_EQ(net::lastError(), 10004);
    stopping.join();
}

TEST(Socket, StopFromBeforeEndsAConnectThatWouldHang)
{
    const loopback::FullListener full;
    const std::atomic<bool> stop{true};
    const OwnedSocket socket = newSocket();
    EXPECT_EQ(net::connect(socket.get(), full.endpoint(), stop), net::kSocketError);
    EXPECT_EQ(net::lastError(), 10004);
}

TEST(Socket, ReceiveOnUnconnectedSocketIsNotConnected)
{
    const OwnedSocket socket = newSocket();
    char byte = 0;
    EXPECT_EQ(net::recv(socket.get(), &byte, 1), net::kSocketError);
    EXPECT_EQ(net::lastError(), net::kErrorNotConnected);
}

TEST(Socket, OrderlyCloseOfPeerReadsAsZero)
{
    auto [client, server] = loopback::connectedPair();
    server.reset();
    char byte = 0;
    EXPECT_EQ(net::recv(client.get(), &byte, 1), 0);
}

TEST(Socket, ResetOfPeerReadsAsConnectionReset)
{
    if (!loopback::showsResets())
        GTEST_SKIP() << "the system may show a reset as an orderly end";
    auto [client, server] = loopback::connectedPair();
    loopback::reset(std::move(server));
    char byte = 0;
    EXPECT_EQ(net::recv(client.get(), &byte, 1), net::kSocketError);
    EXPECT_EQ(net::lastError(), net::kErrorConnectionReset);
}

TEST(Socket, SendAfterOwnShutdownIsRefusedWithoutASignal)
{
    auto [client, server] = loopback::connectedPair();
    EXPECT_EQ(net::shutdown(client.get(), net::ShutdownDirection::Send), 0);
    EXPECT_EQ(net::send(client.get(), "x", 1), net::kSocketError);
    EXPECT_EQ(net::lastError(), net::kErrorShutDown);
    EXPECT_EQ(loopback::receiveAll(server), "");
}

TEST(Socket, SendToPeerThatWentAwayFailsWithoutASignal)
{
    auto [client, server] = loopback::connectedPair();
    server.reset();
    int error = 0;
    for (int i = 0; i < 1000 && error == 0; ++i) {
        if (net::send(client.get(), "x", 1) == net::kSocketError)
            error = net::lastError();
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    EXPECT_TRUE(error == net::kErrorConnectionReset || error == net::kErrorConnectionAborted) << error;
}

TEST(Socket, TextIsReceivedUpToItsNulAndNoFurther)
{
    const auto [client, server] = loopback::connectedPair();
    loopback::sendAll(server, std::string_view("first\0\0next", 11));
    char buffer[16] = {};
    EXPECT_EQ(net::recvText(client.get(), buffer), 6);
    EXPECT_STREQ(buffer, "first");
    EXPECT_EQ(net::recvText(client.get(), buffer), 1);
    EXPECT_STREQ(buffer, "");
    EXPECT_EQ(loopback::receiveExactly(client, 4), "next");
}

TEST(Socket, RestOfATextThatDoesNotFitIsDropped)
{
    const auto [client, server] = loopback::connectedPair();
    loopback::sendAll(server, std::string_view("1234\0"
                                               "12345\0"
                                               "123456789\0"
                                               "next",
                                               25));
    char buffer[6] = "?????";
    const std::span<char> room(buffer, 5);
    EXPECT_EQ(net::recvText(client.get(), room), 5);
    EXPECT_STREQ(buffer, "1234");
    EXPECT_EQ(net::recvText(client.get(), room), 5);
    EXPECT_STREQ(buffer, "1234");
    EXPECT_EQ(net::recvText(client.get(), room), 5);
    EXPECT_STREQ(buffer, "1234");
    EXPECT_EQ(loopback::receiveExactly(client, 4), "next");
}

TEST(Socket, EndOfTheConnectionWithinATextReadsAsZero)
{
    auto [client, server] = loopback::connectedPair();
    loopback::sendAll(server, "half");
    server.reset();
    char buffer[16] = {};
    EXPECT_EQ(net::recvText(client.get(), buffer), 0);
}

TEST(Socket, ShutdownWakesPendingReceive)
{
    auto [client, server] = loopback::connectedPair();
    int received = 99;
    std::thread reader([&, handle = client.get()] {
        char byte = 0;
        received = net::recv(handle, &byte, 1);
    });
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
    net::shutdown(client.get(), net::ShutdownDirection::Both);
    reader.join();
    EXPECT_LE(received, 0);
}

TEST(Socket, ShutdownForSendingLeavesReceivingAlone)
{
    auto [client, server] = loopback::connectedPair();
    EXPECT_EQ(net::shutdown(client.get(), net::ShutdownDirection::Send), 0);
    loopback::sendAll(server, "y");
    EXPECT_EQ(loopback::receiveOnce(client), "y");
}

TEST(Socket, NoDelayCanBeAskedForOnConnectedSocket)
{
    auto [client, server] = loopback::connectedPair();
    net::setNoDelay(client.get());
    loopback::sendAll(client, "z");
    EXPECT_EQ(loopback::receiveOnce(server), "z");
}

TEST(Socket, OwnedSocketClosesWhatItLetsGo)
{
    auto [client, server] = loopback::connectedPair();
    OwnedSocket moved(std::move(client));
    EXPECT_FALSE(client); // NOLINT(bugprone-use-after-move): what is left is specified
    EXPECT_TRUE(moved);
    moved = OwnedSocket();
    EXPECT_EQ(loopback::receiveAll(server), "");
}

#ifndef _WIN32

#include <fcntl.h>
#include <sys/socket.h>
#include <unistd.h>

TEST(Socket, SystemErrorsHaveWinsocksNumbers)
{
    struct {
        int system;
        int winsock;
    } const table[] = {
        {EINTR, 10004},        {EACCES, 10013},          {EPERM, 10013},           {EFAULT, 10014},
        {EINVAL, 10022},       {EMFILE, 10024},          {ENFILE, 10024},          {EAGAIN, 10035},
        {EWOULDBLOCK, 10035},  {EINPROGRESS, 10036},     {EALREADY, 10037},        {EBADF, 10038},
        {ENOTSOCK, 10038},     {EDESTADDRREQ, 10039},    {EMSGSIZE, 10040},        {EPROTOTYPE, 10041},
        {ENOPROTOOPT, 10042},  {EPROTONOSUPPORT, 10043}, {ESOCKTNOSUPPORT, 10044}, {EOPNOTSUPP, 10045},
        {EPFNOSUPPORT, 10046}, {EAFNOSUPPORT, 10047},    {EADDRINUSE, 10048},      {EADDRNOTAVAIL, 10049},
        {ENETDOWN, 10050},     {ENETUNREACH, 10051},     {ENETRESET, 10052},       {ECONNABORTED, 10053},
        {ECONNRESET, 10054},   {ENOBUFS, 10055},         {ENOMEM, 10055},          {EISCONN, 10056},
        {ENOTCONN, 10057},     {ESHUTDOWN, 10058},       {EPIPE, 10058},           {ETOOMANYREFS, 10059},
        {ETIMEDOUT, 10060},    {ECONNREFUSED, 10061},    {EHOSTDOWN, 10064},       {EHOSTUNREACH, 10065},
        {EXDEV, 10022},
    };
    for (const auto &row : table) {
        errno = row.system;
        EXPECT_EQ(net::lastError(), row.winsock) << "errno " << row.system;
    }
}

// A host that closed its standard input gets descriptor 0 for its next socket, but 0 means none here.
TEST(Socket, HandleIsNeverTheOneThatStandsForNone)
{
    const int saved = ::dup(0);
    ::close(0);
    const OwnedSocket socket = newSocket();
    EXPECT_GT(socket.get(), 0);
    EXPECT_EQ(::fcntl(0, F_GETFD), -1) << "the first descriptor was kept";
    if (saved >= 0) {
        ::dup2(saved, 0);
        ::close(saved);
    }
}

TEST(Socket, HandleIsNotInheritedByPrograms)
{
    const OwnedSocket socket = newSocket();
    EXPECT_EQ(::fcntl(socket.get(), F_GETFD) & FD_CLOEXEC, FD_CLOEXEC);
}

#endif
