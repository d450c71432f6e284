#include "net/socket_stream.h"

#include "net/socketbuf.h"
#include "support/loopback.h"
#include "sys/exceptions.h"
#include "sys/log.h"

#include <gtest/gtest.h>

#include <functional>
#include <thread>

using namespace zel;
using loopback::OwnedSocket;

namespace {

/** Opens the protected side of the buffer, which only an explicit call reaches. */
class OpenSocketbuf : public socketbuf
{
public:
    explicit OpenSocketbuf(const OwnedSocket &socket, std::int32_t size = 4096)
        : socketbuf(socket.get(), size)
    {
    }

    using socketbuf::gbump;
    using socketbuf::overflow;
    using socketbuf::pbackfail;
    using socketbuf::sync;
    using socketbuf::underflow;

    std::ptrdiff_t consumed() const { return gptr() - eback(); }
    std::ptrdiff_t available() const { return egptr() - gptr(); }
    std::ptrdiff_t pending() const { return pptr() - pbase(); }
    std::ptrdiff_t room() const { return epptr() - pptr(); }
    char nextPut() const { return *pptr(); }
    const char *sentRoom() const { return pbase(); }
};

const auto kEof = std::char_traits<char>::eof();

std::string bytes(std::size_t count)
{
    std::string text(count, '\0');
    for (std::size_t i = 0; i < count; ++i)
        text[i] = static_cast<char>(i * 7 + i / 256);
    return text;
}

std::string failureOf(const std::function<void()> &action)
{
    try {
        action();
    } catch (const IOException &e) {
        return e.what();
    }
    return "no failure";
}

bool nothingArrives(const OwnedSocket &socket)
{
    return !loopback::isReadable(socket, 50);
}

/** One datagram from each send: what a test receives shows how the library sent. */
class SocketStreamSends : public testing::Test
{
protected:
    std::pair<OwnedSocket, OwnedSocket> m_pair = loopback::datagramPair();
    SocketStream m_stream{m_pair.first.get()};
    const OwnedSocket &m_peer = m_pair.second;
};

} // namespace

TEST_F(SocketStreamSends, BufferFulLeavesInOneSendAtTheFlush)
{
    m_stream << bytes(4096);
    EXPECT_TRUE(nothingArrives(m_peer));
    m_stream.flush();
    EXPECT_EQ(loopback::receiveOnce(m_peer), bytes(4096));
    EXPECT_TRUE(nothingArrives(m_peer));
}

TEST_F(SocketStreamSends, ByteBeyondTheBufferSendsItFirst)
{
    m_stream << bytes(4096);
    EXPECT_TRUE(nothingArrives(m_peer));
    m_stream.put('!');
    EXPECT_EQ(loopback::receiveOnce(m_peer), bytes(4096));
    EXPECT_TRUE(nothingArrives(m_peer));
    m_stream.flush();
    EXPECT_EQ(loopback::receiveOnce(m_peer), "!");
}

TEST_F(SocketStreamSends, LargeWriteLeavesInBuffersFullAndARest)
{
    const std::string all = bytes(10000);
    m_stream.write(all.data(), static_cast<std::streamsize>(all.size()));
    m_stream.flush();
    EXPECT_EQ(loopback::receiveOnce(m_peer), all.substr(0, 4096));
    EXPECT_EQ(loopback::receiveOnce(m_peer), all.substr(4096, 4096));
    EXPECT_EQ(loopback::receiveOnce(m_peer), all.substr(8192));
    EXPECT_TRUE(nothingArrives(m_peer));
}

// The flush of a stream without pending bytes is a send all the same.
TEST_F(SocketStreamSends, FlushOfEmptyStreamSendsLengthZero)
{
    m_stream.flush();
    EXPECT_TRUE(loopback::isReadable(m_peer, 5000));
    EXPECT_EQ(loopback::receiveOnce(m_peer), "");
    EXPECT_TRUE(m_stream.good());
}

TEST_F(SocketStreamSends, LineFeedDoesNotFlush)
{
    m_stream << "line\n";
    EXPECT_TRUE(nothingArrives(m_peer));
}

// Requests carry passwords.
TEST(Socketbuf, WhatWasSentIsWiped)
{
    const auto [socket, peer] = loopback::datagramPair();
    OpenSocketbuf buffer(socket);
    buffer.sputn("secret", 6);
    buffer.sync();
    EXPECT_EQ(loopback::receiveOnce(peer), "secret");
    EXPECT_EQ(std::string(buffer.sentRoom(), 6), std::string(6, '\0'));
}

TEST(Socketbuf, WhatAFailedSendLeavesIsWipedWhenItIsDropped)
{
    auto [client, server] = loopback::connectedPair();
    net::shutdown(client.get(), net::ShutdownDirection::Send);
    OpenSocketbuf buffer(client);
    buffer.sputn("secret", 6);
    EXPECT_THROW(buffer.sync(), IOException);
    EXPECT_EQ(std::string(buffer.sentRoom(), 6), "secret");
    buffer.dropUnsent();
    EXPECT_EQ(buffer.pending(), 0);
    EXPECT_EQ(std::string(buffer.sentRoom(), 6), std::string(6, '\0'));
}

TEST(SocketStream, FlushOfEmptyStreamSucceedsOnTcp)
{
    auto [client, server] = loopback::connectedPair();
    SocketStream stream(client.get());
    stream.flush();
    EXPECT_TRUE(stream.good());
}

TEST(SocketStream, DestructionNeitherSendsNorCloses)
{
    auto [client, server] = loopback::connectedPair();
    {
        SocketStream stream(client.get());
        stream << "never flushed";
    }
    loopback::sendAll(client, "still open");
    EXPECT_EQ(loopback::receiveOnce(server), "still open");
}

TEST(SocketStream, ReadsWhatThePeerSent)
{
    auto [client, server] = loopback::connectedPair();
    const std::string all = bytes(30000);
    std::thread sender([&server = server, &all] { loopback::sendAll(server, all); });
    SocketStream stream(client.get());
    std::string read(all.size(), '\0');
    stream.read(read.data(), static_cast<std::streamsize>(read.size()));
    sender.join();
    EXPECT_TRUE(stream.good());
    EXPECT_EQ(read, all);
}

TEST(SocketStream, OrderlyCloseOfPeerIsEndOfFileWithoutException)
{
    auto [client, server] = loopback::connectedPair();
    server.reset();
    SocketStream stream(client.get());
    EXPECT_EQ(stream.get(), kEof);
    EXPECT_TRUE(stream.eof());
    EXPECT_FALSE(stream.bad());
}

TEST(SocketStream, FailedReceivePassesTheBuffersExceptionOut)
{
    if (!loopback::showsResets())
        GTEST_SKIP() << "the system may show a reset as an orderly end";
    auto [client, server] = loopback::connectedPair();
    loopback::reset(std::move(server));
    SocketStream stream(client.get());
    char buffer[4];
    EXPECT_EQ(failureOf([&] { stream.read(buffer, 4); }),
              FormatLogText("[SocketStream] failed recv() on socket(%d), WSALastError: 10054", client.get()));
    EXPECT_TRUE(stream.bad());
}

TEST(SocketStream, FailedSendPassesTheBuffersExceptionOut)
{
    auto [client, server] = loopback::connectedPair();
    net::shutdown(client.get(), net::ShutdownDirection::Send);
    SocketStream stream(client.get());
    stream << "lost";
    EXPECT_EQ(failureOf([&] { stream.flush(); }),
              FormatLogText("[SocketStream] failed send() on socket(%d), WSALastError: 10058", client.get()));
    EXPECT_TRUE(stream.bad());
}

TEST(SocketStream, CharacterAfterRefillIsTheReceivedOne)
{
    auto [client, server] = loopback::connectedPair();
    loopback::sendAll(server, "AB");
    SocketStream stream(client.get());
    EXPECT_EQ(stream.get(), 'A');
    EXPECT_EQ(stream.get(), 'B');
}

TEST(Socketbuf, BuffersStartEmptyAndWhole)
{
    auto [client, server] = loopback::datagramPair();
    const OpenSocketbuf buffer(client);
    EXPECT_EQ(buffer.available(), 0);
    EXPECT_EQ(buffer.pending(), 0);
    EXPECT_EQ(buffer.room(), 4096);
}

// Readers of this layer take the answer as "there is data"; a zero is no character.
TEST(Socketbuf, UnderflowAnswersZeroAfterRefillWhateverArrived)
{
    auto [client, server] = loopback::connectedPair();
    loopback::sendAll(server, "A");
    OpenSocketbuf buffer(client);
    EXPECT_EQ(buffer.underflow(), 0);
    EXPECT_EQ(buffer.available(), 1);
    EXPECT_EQ(buffer.underflow(), 'A') << "data is there: answered without a receive";
    EXPECT_EQ(buffer.sbumpc(), 'A');
}

TEST(Socketbuf, UnderflowAnswersHighCharacterAsNonNegative)
{
    auto [client, server] = loopback::connectedPair();
    loopback::sendAll(server, "\xff");
    OpenSocketbuf buffer(client);
    buffer.underflow();
    EXPECT_EQ(buffer.underflow(), 0xff);
}

TEST(Socketbuf, RefillIsAppendedWhileMoreRoomIsLeftThanConsumed)
{
    auto [client, server] = loopback::datagramPair();
    OpenSocketbuf buffer(client);
    loopback::sendAll(server, bytes(100));
    buffer.underflow();
    buffer.gbump(100);
    loopback::sendAll(server, bytes(3996)); // exactly the room behind the consumed part
    buffer.underflow();
    EXPECT_EQ(buffer.consumed(), 100);
    EXPECT_EQ(buffer.available(), 3996);
}

TEST(Socketbuf, RefillStartsOverWhenLessRoomIsLeftThanConsumed)
{
    auto [client, server] = loopback::datagramPair();
    OpenSocketbuf buffer(client);
    loopback::sendAll(server, bytes(4096));
    buffer.underflow();
    buffer.gbump(4000);
    EXPECT_EQ(buffer.underflow(), static_cast<unsigned char>(bytes(4096)[4000]))
        << "96 bytes are left to read";
    buffer.gbump(96);
    loopback::sendAll(server, bytes(4096)); // fits only at the start
    buffer.underflow();
    EXPECT_EQ(buffer.consumed(), 0);
    EXPECT_EQ(buffer.available(), 4096);
}

TEST(Socketbuf, RefillStartsOverWhen4000OfTheBufferAreConsumed)
{
    auto [client, server] = loopback::datagramPair();
    OpenSocketbuf buffer(client);
    loopback::sendAll(server, bytes(4000));
    buffer.underflow();
    buffer.gbump(4000);
    loopback::sendAll(server, bytes(4096));
    buffer.underflow();
    EXPECT_EQ(buffer.consumed(), 0);
    EXPECT_EQ(buffer.available(), 4096);
}

// A datagram larger than the buffer would arrive cut if it went through it.
TEST(Socketbuf, LargeReadTakesWhatIsHeldAndReceivesTheRestInItsPlace)
{
    auto [client, server] = loopback::datagramPair();
    OpenSocketbuf buffer(client);
    loopback::sendAll(server, bytes(100));
    buffer.underflow();
    buffer.gbump(10);
    const std::string rest = bytes(8000);
    loopback::sendAll(server, rest);
    std::string read(8090, '\0');
    EXPECT_EQ(buffer.sgetn(read.data(), 8090), 8090);
    EXPECT_TRUE(read == bytes(100).substr(10) + rest);
    EXPECT_EQ(buffer.available(), 0);
    EXPECT_EQ(buffer.pbackfail(kEof), kEof) << "what went by the buffer cannot be put back";
}

TEST(Socketbuf, ReadOfLessThanABufferGoesThroughIt)
{
    auto [client, server] = loopback::datagramPair();
    OpenSocketbuf buffer(client);
    loopback::sendAll(server, bytes(3000));
    loopback::sendAll(server, bytes(2500));
    std::string read(5000, '\0');
    EXPECT_EQ(buffer.sgetn(read.data(), 5000), 5000); // 3,000 straight, 2,000 through the buffer
    EXPECT_TRUE(read == bytes(3000) + bytes(2000));
    EXPECT_EQ(buffer.consumed(), 2000);
    EXPECT_EQ(buffer.available(), 500);
}

TEST(Socketbuf, LargeReadEndsWithThePeersBytes)
{
    auto [client, server] = loopback::connectedPair();
    loopback::sendAll(server, bytes(5000));
    server.reset();
    OpenSocketbuf buffer(client);
    std::string read(20000, '\0');
    EXPECT_EQ(buffer.sgetn(read.data(), 20000), 5000);
    EXPECT_TRUE(read.substr(0, 5000) == bytes(5000));
}

TEST(Socketbuf, OverflowOfEndOfFileDoesNothing)
{
    auto [client, server] = loopback::datagramPair();
    OpenSocketbuf buffer(client);
    EXPECT_NE(buffer.overflow(kEof), kEof);
    EXPECT_EQ(buffer.pending(), 0);
    EXPECT_TRUE(nothingArrives(server));
}

// An explicit overflow with room left stores the character without counting it. Kept: the next put
// replaces it, so nothing that goes through the stream can tell.
TEST(Socketbuf, OverflowWithRoomStoresWithoutCounting)
{
    auto [client, server] = loopback::datagramPair();
    OpenSocketbuf buffer(client);
    EXPECT_EQ(buffer.overflow('x'), 'x');
    EXPECT_EQ(buffer.nextPut(), 'x');
    EXPECT_EQ(buffer.pending(), 0);
    EXPECT_TRUE(nothingArrives(server));
}

TEST(Socketbuf, OverflowWithRoomAndLineFeedSendsWhatIsCounted)
{
    auto [client, server] = loopback::datagramPair();
    OpenSocketbuf buffer(client);
    buffer.sputn("abc", 3);
    EXPECT_EQ(buffer.overflow('\n'), '\n');
    EXPECT_EQ(loopback::receiveOnce(server), "abc");
    EXPECT_EQ(buffer.pending(), 0);
}

TEST(Socketbuf, OverflowOfFullBufferSendsItAndKeepsTheCharacter)
{
    auto [client, server] = loopback::datagramPair();
    OpenSocketbuf buffer(client, 3);
    buffer.sputn("abc", 3);
    EXPECT_EQ(buffer.overflow('d'), 'd');
    EXPECT_EQ(loopback::receiveOnce(server), "abc");
    EXPECT_EQ(buffer.pending(), 1);
    EXPECT_EQ(buffer.sync(), 0);
    EXPECT_EQ(loopback::receiveOnce(server), "d");
}

TEST(Socketbuf, FailedSyncLeavesPendingBytesAlone)
{
    auto [client, server] = loopback::connectedPair();
    net::shutdown(client.get(), net::ShutdownDirection::Send);
    OpenSocketbuf buffer(client);
    buffer.sputn("abc", 3);
    EXPECT_THROW(buffer.sync(), IOException);
    EXPECT_EQ(buffer.pending(), 3);
}

TEST(Socketbuf, PutBackStepsBackAndStores)
{
    auto [client, server] = loopback::connectedPair();
    loopback::sendAll(server, "AB");
    OpenSocketbuf buffer(client);
    buffer.sbumpc();
    EXPECT_EQ(buffer.pbackfail('Z'), 'Z');
    EXPECT_EQ(buffer.sbumpc(), 'Z');
}

TEST(Socketbuf, PutBackOfEndOfFileStepsBackOnly)
{
    auto [client, server] = loopback::connectedPair();
    loopback::sendAll(server, "AB");
    OpenSocketbuf buffer(client);
    buffer.sbumpc();
    EXPECT_NE(buffer.pbackfail(kEof), kEof);
    EXPECT_EQ(buffer.sbumpc(), 'A');
}

TEST(Socketbuf, PutBackAtTheStartIsEndOfFile)
{
    auto [client, server] = loopback::datagramPair();
    OpenSocketbuf buffer(client);
    EXPECT_EQ(buffer.pbackfail('Z'), kEof);
}

TEST(Socketbuf, SeekingIsNotSupported)
{
    auto [client, server] = loopback::datagramPair();
    OpenSocketbuf buffer(client);
    EXPECT_EQ(buffer.pubseekoff(0, std::ios::cur), std::streampos(-1));
}
