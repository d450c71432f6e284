#include "psp/psp_client_base.h"

#include "net/socket.h"
#include "protocol/values/value_convert.h"
#include "support/log_capture.h"
#include "support/loopback.h"
#include "support/scripted_pen.h"
#include "sys/exceptions.h"

#include <gtest/gtest.h>

#include <atomic>
#include <limits>
#include <thread>
#include <typeinfo>
#include <vector>

namespace {

using namespace zel;
using namespace zel::test;

constexpr std::uint32_t kInstruction = 0x52314750; // "R1GP"

class Client : public PspClientBase
{
public:
    using PspClientBase::execute;
    using PspClientBase::PspClientBase;
};

const std::uint32_t kLocalhost = net::toNetworkOrder(std::uint32_t{0x7f000001});

class PspClientBaseTest : public testing::Test
{
protected:
    void connect()
    {
        m_client.setPenConnected(true);
        m_client.connect();
    }

    Value exchange(const Bytes &answer)
    {
        m_service.then(answer);
        return m_client.execute(kInstruction);
    }

    std::string where() const { return "127.0.0.1:" + std::to_string(m_service.port()); }

    ScriptedPen m_service;
    Client m_client{kLocalhost, m_service.port()};
    LogCapture m_log;
};

template <class Exception, class Action>
std::string textOf(Action action)
{
    try {
        action();
    } catch (const Exception &exception) {
        EXPECT_EQ(typeid(exception), typeid(Exception));
        return exception.what();
    }
    ADD_FAILURE() << "no exception of the type expected";
    return {};
}

std::string textFormOf(const Value &value)
{
    std::string text;
    value.toString(text);
    return text;
}

// --- connecting

TEST_F(PspClientBaseTest, LifeAndConnectionAreLogged)
{
    m_log.clear();
    {
        Client client(kLocalhost, m_service.port());
        client.setPenConnected(true);
        client.connect();
        client.disconnect();
    }
    EXPECT_EQ(m_log.entries(),
              (std::vector<LogCapture::Entry>{
                  {LogLevel::Debug, "[PspClientBase] instance created"},
                  {LogLevel::Debug, "[PspClientBase::connect]"},
                  {LogLevel::Debug, "[PspClientBase::connect] Pen is connected - connecting to psp port"},
                  {LogLevel::Debug, "[PspClientBase::connect] connected to " + where()},
                  {LogLevel::Debug, "[PspClientBase::disconnect] disconnected"},
                  {LogLevel::Debug, "[PspClientBase::disconnect] disconnected"},
                  {LogLevel::Debug, "[PspClientBase] instance deleted"}}));
}

TEST_F(PspClientBaseTest, AbsentPenIsNotConnectedTo)
{
    EXPECT_EQ(textOf<PspConnectionException>([&] { m_client.connect(); }), "Pen not connected");
    EXPECT_EQ(m_service.connections(), 0u);
}

TEST_F(PspClientBaseTest, RefusedConnectionTellsWhere)
{
    m_service.stopListening();
    EXPECT_EQ(textOf<PspConnectionException>([&] { connect(); }), "Connection to " + where() + " failed");
    EXPECT_TRUE(m_log.contains(LogLevel::Error,
                               "[PspClientBase::connect] connection to " + where() + " failed, (10061)"));
}

TEST_F(PspClientBaseTest, FailedConnectionCanBeTriedAgain)
{
    m_service.stopListening();
    EXPECT_THROW(connect(), PspConnectionException);
    EXPECT_THROW(connect(), PspConnectionException);
}

/** The system says "already connected", which counts as success. */
TEST_F(PspClientBaseTest, ConnectingTwiceSucceedsOnTheSameSocket)
{
    connect();
    EXPECT_NO_THROW(m_client.connect());
    EXPECT_TRUE(m_log.contains(LogLevel::Debug, "[PspClientBase::connect] already connected to " + where()));
    exchange(wire::status(0));
    EXPECT_EQ(m_service.connections(), 1u);
}

TEST_F(PspClientBaseTest, DisconnectedClientConnectsAgainOnAFreshSocket)
{
    connect();
    exchange(wire::status(0));
    m_client.disconnect();
    EXPECT_TRUE(m_service.waitUntilClosed());
    connect();
    exchange(wire::status(0));
    EXPECT_EQ(m_service.connections(), 2u);
}

TEST_F(PspClientBaseTest, DestructionClosesTheConnection)
{
    {
        Client client(kLocalhost, m_service.port());
        client.setPenConnected(true);
        client.connect();
        m_service.then(wire::status(0));
        client.execute(kInstruction);
    }
    EXPECT_TRUE(m_service.waitUntilClosed());
}

// A close alone would reset the connection: the pen's bytes were not read.
TEST_F(PspClientBaseTest, PenSeesAnOrderlyEndWhateverWasLeftUnread)
{
    loopback::Listener listener;
    Client client(kLocalhost, listener.port());
    client.setPenConnected(true);
    client.connect();
    const loopback::OwnedSocket pen = listener.accept();
    loopback::sendAll(pen, "unasked");
    client.disconnect();
    EXPECT_EQ(loopback::receiveOnce(pen), "");
}

TEST_F(PspClientBaseTest, NoExchangeWhileThePenIsAbsent)
{
    connect();
    m_client.setPenConnected(false);
    EXPECT_EQ(textOf<PspConnectionException>([&] { m_client.execute(kInstruction); }), "");
    EXPECT_TRUE(m_service.requests().empty());
}

TEST_F(PspClientBaseTest, NoExchangeBeforeConnecting)
{
    m_client.setPenConnected(true);
    EXPECT_EQ(textOf<PspConnectionException>([&] { m_client.execute(kInstruction); }), "");
}

// --- requests

TEST_F(PspClientBaseTest, RequestWithoutArgumentsIsItsCodeAndAZero)
{
    connect();
    m_service.then(wire::status(0));
    m_client.execute(0x56303032);
    EXPECT_EQ(m_service.requests(), (std::vector<Bytes>{{'V', '0', '0', '2', 0}}));
}

TEST_F(PspClientBaseTest, ThreeArgumentsTravelUnderKeys0To2InOrder)
{
    connect();
    m_service.then(wire::status(0));
    m_client.execute(kInstruction, Value::createInt(7), Value::createShort(0x0102), Value::createString("a"));
    const Bytes expected = {
        0x52, 0x31, 0x47, 0x50,       // instruction code
        0x03,                         // arguments
        0x00,                         // key
        0x04, 0x00, 0x00, 0x00, 0x07, // int32 7
        0x01,                         // key
        0x03, 0x01, 0x02,             // short16 0x0102
        0x02,                         // key
        0x06, 0x00, 0x02, 'a',  0x00, // string "a"
    };
    EXPECT_EQ(m_service.requests(), std::vector<Bytes>{expected});
}

TEST_F(PspClientBaseTest, RequestBeyondTheSendBufferArrivesWhole)
{
    connect();
    m_service.then(wire::status(0));
    const Bytes data(10000, 0xab);
    m_client.execute(kInstruction, Value::createBinary(data.data(), 10000));
    EXPECT_EQ(m_service.requests(), std::vector<Bytes>{wire::request("R1GP", {wire::binary(data)})});
}

TEST_F(PspClientBaseTest, CodeStandsInFourBytesAndItsArgumentsBehindTheirCount)
{
    connect();
    m_service.then(wire::status(0)).then(wire::status(0));
    m_client.execute(0x1234);
    m_client.execute(0x1234, Value::createInt(7));
    const Bytes alone = {0x00, 0x00, 0x12, 0x34, 0x00};
    const Bytes withInt32 = {
        0x00, 0x00, 0x12, 0x34,       // instruction code
        0x01,                         // arguments
        0x00,                         // key
        0x04, 0x00, 0x00, 0x00, 0x07, // int32 7
    };
    EXPECT_EQ(m_service.requests(), (std::vector<Bytes>{alone, withInt32}));
}

TEST_F(PspClientBaseTest, NumbersTravelByTheirWidth)
{
    connect();
    m_service.then(wire::status(0));
    m_client.execute(kInstruction, std::uint16_t{0x8001}, std::uint32_t{7}, ~std::uint64_t{0});
    const Bytes expected = {
        0x52, 0x31, 0x47, 0x50,                                     // instruction code
        0x03,                                                       // arguments
        0x00, 0x03, 0x80, 0x01,                                     // short16
        0x01, 0x04, 0x00, 0x00, 0x00, 0x07,                         // int32
        0x02, 0x05, 0xff, 0xff, 0xff, 0xff, 0xff, 0xff, 0xff, 0xff, // long64
    };
    EXPECT_EQ(m_service.requests(), std::vector<Bytes>{expected});
}

TEST_F(PspClientBaseTest, AbsentArgumentIsCountedButNotSent)
{
    connect();
    m_service.then(wire::status(0));
    const std::uint8_t data[] = {0x41};
    m_client.execute(kInstruction, Value(), Value::createEscapedBinary(data, 1));
    const Bytes expected = {
        0x52, 0x31, 0x47, 0x50, // instruction code
        0x02,                   // arguments, the absent one among them
        0x01,                   // key
        0x0e, 0x41, 0xc0,       // escaped binary (the service counts its bytes as the argument missing)
    };
    EXPECT_EQ(m_service.requests(), std::vector<Bytes>{expected});
}

// --- responses

TEST_F(PspClientBaseTest, StatusAloneIsTheResult)
{
    connect();
    const auto result = exchange({
        0x08, 0x00, 0x01,             // value array, one element
        0x04, 0x00, 0x00, 0x00, 0x05, // status
    });
    EXPECT_EQ(result.getInt(), 5u);
}

TEST_F(PspClientBaseTest, SecondElementIsTheResultAndFurtherOnesAreIgnored)
{
    connect();
    const auto result = exchange({
        0x08, 0x00, 0x03,                 // value array, three elements
        0x04, 0x00, 0x00, 0x00, 0x00,     // status
        0x06, 0x00, 0x03, 'h', 'i', 0x00, // string "hi"
        0x02, 0x07,                       // byte
    });
    EXPECT_EQ(toText(result), "hi");
}

TEST_F(PspClientBaseTest, StringBehindTheStatusIsTheResult)
{
    connect();
    const auto result = exchange({
        0x08, 0x00, 0x02,                           // value array, two elements
        0x04, 0x00, 0x00, 0x00, 0x00,               // status
        0x06, 0x00, 0x05, 't', 'e', 'x', 't', 0x00, // string "text"
    });
    EXPECT_EQ(result.getType(), ValueType::String);
    EXPECT_EQ(result.textView(), "text");
}

TEST_F(PspClientBaseTest, EveryKindOfArrayIsAResponse)
{
    connect();
    EXPECT_EQ(exchange({
                           0x09, 0x00, 0x02, 0x04, // data array, two elements of type int32
                           0x00, 0x00, 0x00, 0x00, // status
                           0x00, 0x00, 0x00, 0x09, // result
                       })
                  .getInt(),
              9u);
    EXPECT_EQ(exchange({
                           0x0a,                         // terminated array
                           0x04, 0x00, 0x00, 0x00, 0x01, // status
                           0x0b,                         // terminator
                       })
                  .getInt(),
              1u);
}

TEST_F(PspClientBaseTest, ResponseIsLoggedAsText)
{
    connect();
    exchange(wire::result(wire::boolean(true)));
    EXPECT_TRUE(m_log.contains(
        LogLevel::Debug, "Received and parsed value:\n(value array) 2\n    (int32) 0\n    (bool) true"));
}

TEST_F(PspClientBaseTest, ElementsBehindTheResultAreShownToo)
{
    connect();
    exchange({
        0x08, 0x00, 0x04,                   // value array, four elements
        0x04, 0x00, 0x00, 0x00, 0x00,       // status
        0x06, 0x00, 0x03, 'h',  'i',  0x00, // string "hi"
        0x02, 0x07,                         // byte
        0x08, 0x00, 0x01, 0x01, 0x01,       // value array of a bool
    });
    EXPECT_TRUE(m_log.contains(LogLevel::Debug, "Received and parsed value:\n"
                                                "(value array) 4\n"
                                                "    (int32) 0\n"
                                                "    (string) \"hi\"\n"
                                                "    (byte) 7\n"
                                                "    (value array) 1\n"
                                                "        (bool) true"));
}

TEST_F(PspClientBaseTest, NothingOfAResponseThatIsCutOrGarbageIsLogged)
{
    connect();
    const Bytes goodFront = {
        0x08, 0x00, 0x03,             // value array, three elements
        0x04, 0x00, 0x00, 0x00, 0x00, // status
        0x02, 0x07,                   // byte
    };
    EXPECT_EQ(textOf<ZELException>([&] { exchange(goodFront + Bytes{0x0c}); }), "");
    m_client.disconnect();
    connect();
    m_service.then(cut(goodFront + Bytes{0x00}, goodFront.size()));
    EXPECT_THROW(m_client.execute(kInstruction), PspConnectionException);
    for (const auto &[level, text] : m_log.entries())
        EXPECT_FALSE(text.starts_with("Received and parsed value:")) << text;
}

TEST_F(PspClientBaseTest, StatusOfAnotherTypeIsShown)
{
    connect();
    EXPECT_THROW(exchange(wire::list({wire::string("x"), wire::byte(1)})), PspConnectionException);
    EXPECT_TRUE(m_log.contains(
        LogLevel::Debug, "Received and parsed value:\n(value array) 2\n    (string) \"x\"\n    (byte) 1"));
}

// What is only logged refuses nothing, however long its text is.

TEST_F(PspClientBaseTest, ResponseOfManyBytesInDataArraysIsTaken)
{
    connect();
    const Bytes bytes = Bytes{0x09, 0xff, 0xff, 0x02} + Bytes(65535, 0x41); // data array of type byte
    EXPECT_EQ(exchange(wire::result(Bytes{0x08, 0x00, 0x08} + repeated(bytes, 8))).getArray().size(), 8u);
}

TEST_F(PspClientBaseTest, ResponseOfHalfAMillionNullsIsTaken)
{
    connect();
    const Bytes nulls = Bytes{0x0a} + Bytes(500000, 0x00) + Bytes{0x0b}; // terminated array
    EXPECT_EQ(exchange(wire::result(nulls)).getArray().size(), 500000u);
}

TEST_F(PspClientBaseTest, ResponseThatLiesDeepIsTaken)
{
    connect();
    const Bytes bools = Bytes{0x08, 0x17, 0x70} + repeated({0x01, 0x01}, 6000);
    const auto result = exchange(wire::result(repeated({0x08, 0x00, 0x01}, 249) + bools));
    EXPECT_EQ(result.getArray().size(), 1u);
    const std::string lastLine = std::string(251 * 4, ' ') + "(bool) true";
    EXPECT_TRUE(m_log.entries().back().second.ends_with(lastLine));
}

/** As if the result had been copied: the copy of a value without type is the null value. */
TEST_F(PspClientBaseTest, ElementsWithoutValueBecomeNullInTheResult)
{
    connect();
    EXPECT_TRUE(isNull(exchange(wire::list({wire::int32(0), {0x0f}}))));
    const auto nested = exchange(wire::result(wire::list({wire::byte(1), {0x0f}, wire::list({{0x0f}})})));
    EXPECT_EQ(textFormOf(nested),
              "(value array) 3\n    (byte) 1\n    (null) \n    (value array) 1\n        (null) ");
    EXPECT_EQ(m_log.count("Value::copy - unknown type: 15"), 3u);
}

TEST_F(PspClientBaseTest, NegativeStatusRaisesItsException)
{
    connect();
    EXPECT_THROW(exchange(wire::status(-9001)), PspUnknownInstructionException);
    EXPECT_THROW(exchange(wire::status(-9002)), PspConnectionException);
    EXPECT_THROW(exchange(wire::status(-9003)), PspPenIsLockedException);
    EXPECT_THROW(exchange(wire::status(-4013)), PspSetPropertyException);
    EXPECT_TRUE(m_log.contains(LogLevel::Error, "[PspClientBase::receiveAndParseResponse] status: -9001"));
}

TEST_F(PspClientBaseTest, OtherNegativeStatusIsToldInTheText)
{
    connect();
    EXPECT_EQ(textOf<ZELException>([&] { exchange(wire::status(-1)); }),
              "PspClientBase::receiveAndParseResponse - status: -1");
    EXPECT_EQ(textOf<ZELException>([&] { exchange(wire::status(std::numeric_limits<std::int32_t>::min())); }),
              "PspClientBase::receiveAndParseResponse - status: -2147483648");
}

TEST_F(PspClientBaseTest, NegativeStatusWinsOverAResult)
{
    connect();
    EXPECT_THROW(exchange(wire::list({wire::int32(0xffffffff), wire::string("x")})), ZELException);
}

TEST_F(PspClientBaseTest, LockedPenLeavesTheClientUsable)
{
    connect();
    EXPECT_THROW(exchange(wire::status(-9003)), PspPenIsLockedException);
    EXPECT_EQ(exchange(wire::status(0)).getInt(), 0u);
    EXPECT_EQ(m_service.connections(), 1u);
}

TEST_F(PspClientBaseTest, ResponseThatIsNoArrayRaisesAnExceptionWithoutText)
{
    connect();
    EXPECT_EQ(textOf<ZELException>([&] { exchange(wire::int32(0)); }), "");
    EXPECT_EQ(textOf<ZELException>([&] { exchange({0x0f}); }), "");
    EXPECT_TRUE(m_log.contains(LogLevel::Debug, "Received and parsed value:\n(any type) unknown"));
    EXPECT_EQ(exchange(wire::status(0)).getInt(), 0u) << "the answers were whole: the next one follows them";
}

TEST_F(PspClientBaseTest, ResponseWithoutStatusIsALostConnection)
{
    connect();
    EXPECT_EQ(textOf<PspConnectionException>([&] {
                  exchange({0x08, 0x00, 0x00});
              }),
              "PspClientBase::receiveAndParseResponse - response without status");
    EXPECT_THROW(exchange(wire::list({wire::short16(0)})), PspConnectionException);
    EXPECT_THROW(exchange(wire::list({{0x0f}})), PspConnectionException);
}

TEST_F(PspClientBaseTest, ExchangesOfSeveralThreadsNeverInterleave)
{
    constexpr std::uint16_t kThreads = 4;
    for (std::uint16_t i = 0; i < kThreads; ++i) {
        const Bytes question = wire::request("R1GP", {wire::short16(i)});
        m_service.always({reinterpret_cast<const char *>(question.data()), question.size()},
                         wire::result(wire::short16(i)));
    }
    connect();
    std::atomic<int> answered{0};
    std::vector<std::thread> threads;
    for (std::uint16_t i = 0; i < kThreads; ++i)
        threads.emplace_back([&, i] {
            for (int round = 0; round < 50; ++round)
                answered += m_client.execute(kInstruction, Value::createShort(i)).getShort() == i ? 1 : 0;
        });
    for (std::thread &thread : threads)
        thread.join();
    EXPECT_EQ(answered, 4 * 50);
}

// --- failures

TEST_F(PspClientBaseTest, PenThatClosesIsALostConnection)
{
    connect();
    m_service.then(closing());
    EXPECT_EQ(textOf<PspConnectionException>([&] { m_client.execute(kInstruction); }),
              "ProtocolInputStream::read - failed reading 1 bytes");
    EXPECT_TRUE(m_log.contains(
        LogLevel::Error,
        "[PspClientBase] caught IOException: ProtocolInputStream::read - failed reading 1 bytes"));
}

TEST_F(PspClientBaseTest, PenThatResetsIsALostConnection)
{
    connect();
    m_service.then(cut({}, 0, Answer::Then::Reset));
    EXPECT_THROW(m_client.execute(kInstruction), PspConnectionException);
}

TEST_F(PspClientBaseTest, LostConnectionStaysLostUntilReconnected)
{
    connect();
    m_service.then(closing());
    EXPECT_THROW(m_client.execute(kInstruction), PspConnectionException);
    EXPECT_EQ(textOf<PspConnectionException>([&] { m_client.execute(kInstruction); }),
              "ProtocolOutputStream::write - IOException");
    m_client.disconnect();
    connect();
    EXPECT_EQ(exchange(wire::status(0)).getInt(), 0u);
}

TEST_F(PspClientBaseTest, GarbageIsNoConnectionFailureButLeavesTheStreamFailed)
{
    connect();
    EXPECT_EQ(textOf<ZELException>([&] { exchange({0x0c}); }), "");
    EXPECT_TRUE(m_log.contains(LogLevel::Error, "ValueFormatV1_0::decode - Unknown value type: 12"));
    EXPECT_THROW(exchange(wire::status(0)), PspConnectionException)
        << "what follows garbage is not taken for an answer";
}

TEST_F(PspClientBaseTest, ValueThatCannotBeEncodedIsALostConnection)
{
    connect();
    EXPECT_THROW(m_client.execute(kInstruction, Value::createBare(static_cast<ValueType>(12))),
                 PspConnectionException);
    EXPECT_TRUE(m_service.requests().empty());
    EXPECT_EQ(exchange(wire::status(0)).getInt(), 0u) << "nothing was sent: the connection is as it was";
    EXPECT_EQ(m_service.connections(), 1u);
}

} // namespace
