#include "fuzz/fake_sockets.h"

#include "net/receive_text.h"
#include "net/socket.h"

#include <algorithm>
#include <cstring>
#include <utility>

namespace zel::fuzz {

namespace {

constexpr int kErrorTimedOut = 10060;

FakePeer *s_peer = nullptr;
int s_lastError = 0;

int fail(int error) noexcept
{
    s_lastError = error;
    return net::kSocketError;
}

} // namespace

std::vector<PeerStep> stepsFrom(Input script)
{
    constexpr std::size_t kHeaderSize = 3;
    constexpr int kThens = 6;
    std::vector<PeerStep> steps;
    while (script.size() >= kHeaderSize) {
        PeerStep step;
        step.then = static_cast<PeerStep::Then>((script[0] & 7) % kThens);
        step.atMost = script[0] >> 3;
        const std::size_t announced = std::size_t{script[1]} << 8 | script[2];
        script = script.subspan(kHeaderSize);
        step.bytes = script.first(std::min(announced, script.size()));
        script = script.subspan(step.bytes.size());
        steps.push_back(step);
    }
    return steps;
}

FakePeer::FakePeer(std::vector<PeerStep> steps) : m_steps(std::move(steps))
{
    ZEL_FUZZ_REQUIRE(s_peer == nullptr);
    s_peer = this;
}

FakePeer::~FakePeer()
{
    s_peer = nullptr;
}

/** What follows the bytes that are left; GoOn while there are some. */
PeerStep::Then FakePeer::comesNext() noexcept
{
    if (m_ended != PeerStep::Then::GoOn)
        return m_ended;
    while (m_step < m_steps.size() && m_steps[m_step].bytes.empty()) {
        const PeerStep::Then then = m_steps[m_step++].then;
        if (then != PeerStep::Then::GoOn)
            return m_ended = then;
    }
    return m_step < m_steps.size() ? PeerStep::Then::GoOn : m_ended = PeerStep::Then::Close;
}

int FakePeer::open() noexcept
{
    ++m_openSockets;
    return ++m_sockets;
}

int FakePeer::connect() noexcept
{
    if (m_step == m_steps.size())
        return fail(net::kErrorConnectionRefused);
    if (m_steps[m_step].then == PeerStep::Then::RefuseConnect) {
        ++m_step;
        return fail(net::kErrorConnectionRefused);
    }
    m_ended = PeerStep::Then::GoOn;
    return 0;
}

int FakePeer::send(const char *data, std::size_t length) noexcept
{
    const PeerStep::Then next = comesNext();
    if (next == PeerStep::Then::Reset || next == PeerStep::Then::RefuseSend)
        return fail(net::kErrorConnectionReset);
    m_sent.append(data, length);
    return static_cast<int>(length);
}

int FakePeer::receive(char *data, std::size_t length) noexcept
{
    switch (comesNext()) {
    case PeerStep::Then::GoOn:
        break;
    case PeerStep::Then::Close:
        return 0;
    case PeerStep::Then::TimeOut:
        return fail(kErrorTimedOut);
    default:
        return fail(net::kErrorConnectionReset);
    }
    PeerStep &step = m_steps[m_step];
    std::size_t count = std::min(length, step.bytes.size());
    if (step.atMost != PeerStep::kAnyNumber)
        count = std::min(count, step.atMost);
    std::memcpy(data, step.bytes.data(), count);
    step.bytes = step.bytes.subspan(count);
    return static_cast<int>(count);
}

int FakePeer::close() noexcept
{
    --m_openSockets;
    return 0;
}

} // namespace zel::fuzz

namespace zel::net {

using fuzz::s_peer;

void startUp() {}

void cleanUp() noexcept {}

int lastError() noexcept
{
    return fuzz::s_lastError;
}

SocketHandle createTcpSocket() noexcept
{
    return s_peer->open();
}

int connect(SocketHandle, const Endpoint &) noexcept
{
    return s_peer->connect();
}

int connect(SocketHandle socket, const Endpoint &endpoint, const std::atomic<bool> &) noexcept
{
    return connect(socket, endpoint);
}

void setNoDelay(SocketHandle) noexcept {}

int send(SocketHandle socket, const void *data, std::size_t length) noexcept
{
    if (socket == kNoSocket)
        return fuzz::fail(kErrorNotSocket);
    return s_peer->send(static_cast<const char *>(data), length);
}

int recv(SocketHandle socket, void *data, std::size_t length) noexcept
{
    if (socket == kNoSocket)
        return fuzz::fail(kErrorNotSocket);
    return s_peer->receive(static_cast<char *>(data), length);
}

int recvText(SocketHandle socket, std::span<char> buffer) noexcept
{
    if (socket == kNoSocket)
        return fuzz::fail(kErrorNotSocket);
    return receiveText(buffer, [](char *byte) { return s_peer->receive(byte, 1); });
}

int shutdown(SocketHandle socket, ShutdownDirection) noexcept
{
    return socket == kNoSocket ? fuzz::fail(kErrorNotSocket) : 0;
}

int close(SocketHandle socket) noexcept
{
    if (socket == kNoSocket)
        return fuzz::fail(kErrorNotSocket);
    return s_peer->close();
}

} // namespace zel::net
