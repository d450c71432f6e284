#include "net/socket.h"
#include "psp/psp_client_base.h"
#include "support/scripted_pen.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <optional>
#include <string>

#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>

namespace {

using namespace zel;

/** The end of a connection whose other end has this port. */
std::optional<int> descriptorOfConnectionTo(std::uint16_t port)
{
    for (const auto &entry : std::filesystem::directory_iterator("/proc/self/fd")) {
        const int descriptor = std::stoi(entry.path().filename().string());
        sockaddr_in peer{};
        socklen_t size = sizeof peer;
        if (getpeername(descriptor, reinterpret_cast<sockaddr *>(&peer), &size) == 0 &&
            peer.sin_family == AF_INET && ntohs(peer.sin_port) == port)
            return descriptor;
    }
    return std::nullopt;
}

} // namespace

// A request that needs two segments must not wait for the first one's acknowledgement.
TEST(PspClientBaseOnPosix, ConnectionToAPenDelaysNothing)
{
    const test::ScriptedPen service;
    PspClientBase client(net::toNetworkOrder(std::uint32_t{0x7f000001}), service.port());
    client.setPenConnected(true);
    client.connect();
    const auto descriptor = descriptorOfConnectionTo(service.port());
    ASSERT_TRUE(descriptor);
    int noDelay = 0;
    socklen_t size = sizeof noDelay;
    ASSERT_EQ(getsockopt(*descriptor, IPPROTO_TCP, TCP_NODELAY, &noDelay, &size), 0);
    EXPECT_NE(noDelay, 0);
}
