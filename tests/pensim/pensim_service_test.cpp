#include "pensim/service.h"

#include "exchanges.h"
#include "tcp_client.h"

#include <gtest/gtest.h>
#include <thread>

namespace {

using namespace std::chrono_literals;
using namespace zel::test;
using exchange::kGetVersion;
using exchange::kListPages;
using exchange::kVersion;
using pensim::Ending;
using pensim::Reply;
using pensim::Value;

constexpr std::uint64_t kPenId = 0x100000001;

const Bytes kNoPages = wire::list({wire::int32(0), wire::list({})});

Bytes statusAlone(std::int32_t status)
{
    return wire::list({wire::int32(static_cast<std::uint32_t>(status))});
}

pensim::PenSpec plainPen(std::uint64_t id = kPenId)
{
    pensim::PenSpec spec;
    spec.id = id;
    return spec;
}

class PensimService : public testing::Test
{
protected:
    void SetUp() override { m_service.start(); }

    Bytes ask(TcpClient &client, const Bytes &request, std::size_t answerLength)
    {
        client.send(request);
        return client.receive(answerLength);
    }

    pensim::Service m_service{{.rendezvousPort = 0, .record = true, .log = {}}};
};

TEST_F(PensimService, AnswersRequestsInOrderOnOneConnection)
{
    TcpClient client(m_service.dock(plainPen()).port());
    EXPECT_EQ(ask(client, kGetVersion + kListPages + kGetVersion, kVersion.size() * 2 + kNoPages.size()),
              kVersion + kNoPages + kVersion);
}

TEST_F(PensimService, RequestMayArriveByteByByte)
{
    TcpClient client(m_service.dock(plainPen()).port());
    for (const std::uint8_t byte : kGetVersion)
        client.send({byte});
    EXPECT_EQ(client.receive(kVersion.size()), kVersion);
}

TEST_F(PensimService, ServesManyConnectionsAndKeepsTheStateAcrossThem)
{
    pensim::Pen &pen = m_service.dock(plainPen());
    TcpClient first(pen.port());
    TcpClient second(pen.port());
    const Bytes setPin =
        wire::raw("R1SP") + Bytes{0x02, 0x00} + wire::short16(0x2203) + Bytes{0x01} + wire::string("4711");
    EXPECT_EQ(ask(first, setPin, 8), statusAlone(0));
    const Bytes getPin = wire::raw("R1GP") + Bytes{0x01, 0x00} + wire::short16(0x2203);
    const Bytes pin = wire::list({wire::int32(0), wire::string("4711")});
    EXPECT_EQ(ask(second, getPin, pin.size()), pin);
    EXPECT_EQ(pen.property(0x2203), Value::string("4711"));
}

TEST_F(PensimService, HostThatLeavesEndsItsSyncSession)
{
    pensim::Pen &pen = m_service.dock(plainPen());
    {
        TcpClient client(pen.port());
        ask(client, wire::raw("U0YB") + Bytes{0x00}, 13);
        EXPECT_TRUE(pen.syncSessionOpen());
        client.finishSending();
        EXPECT_TRUE(client.ended()); // the pen closes its side, too
    }
    EXPECT_FALSE(pen.syncSessionOpen());
}

TEST_F(PensimService, WhatIsNoInstructionEndsTheConnection)
{
    TcpClient client(m_service.dock(plainPen()).port());
    client.send(wire::raw("R1GP") + Bytes{0x01, 0x00, 0x0c}); // no type of value
    EXPECT_TRUE(client.ended());
}

TEST_F(PensimService, UndockedPenIsGoneAndComesBack)
{
    pensim::Pen &pen = m_service.dock(plainPen());
    const std::uint16_t port = pen.port();
    TcpClient client(port);
    m_service.undock(kPenId);
    EXPECT_TRUE(client.ended());
    EXPECT_FALSE(canConnect(port));
    EXPECT_FALSE(pen.docked());
    EXPECT_THROW(m_service.undock(kPenId), std::invalid_argument);
    EXPECT_EQ(&m_service.redock(kPenId), &pen);
    EXPECT_TRUE(canConnect(pen.port()));
    EXPECT_THROW(m_service.redock(kPenId), std::invalid_argument);
    EXPECT_THROW(m_service.dock(plainPen()), std::invalid_argument);
    EXPECT_THROW(m_service.pen(5), std::out_of_range);
}

TEST_F(PensimService, RecordsEveryRequest)
{
    pensim::Pen &pen = m_service.dock(plainPen());
    TcpClient client(pen.port());
    ask(client, kGetVersion, kVersion.size());
    EXPECT_TRUE(pen.waitForRequests(pensim::instruction::getProperty, 1, 10s));
    ASSERT_EQ(pen.requests().size(), 1u);
    EXPECT_EQ(pen.requests()[0].code, pensim::instruction::getProperty);
    EXPECT_EQ(pen.requests()[0].argument(0), Value::short16(1));
    EXPECT_EQ(pen.requestCount(pensim::instruction::getProperty), 1u);
    pen.clearRequests();
    EXPECT_EQ(pen.requestCount(pensim::instruction::getProperty), 0u);
    EXPECT_FALSE(pen.waitForRequests(pensim::instruction::getProperty, 1, 1ms));
}

TEST_F(PensimService, RuleAppliesToItsOccurrenceOnly)
{
    pensim::Pen &pen = m_service.dock(plainPen());
    pen.onInstruction(pensim::instruction::getProperty, Reply::withStatus(-9002), 2);
    TcpClient client(pen.port());
    EXPECT_EQ(ask(client, kGetVersion, kVersion.size()), kVersion);
    EXPECT_EQ(ask(client, kGetVersion, 8), statusAlone(-9002));
    EXPECT_EQ(ask(client, kGetVersion, kVersion.size()), kVersion);
}

TEST_F(PensimService, YoungestRuleThatAppliesWins)
{
    pensim::Pen &pen = m_service.dock(plainPen());
    pen.onInstruction(pensim::instruction::getProperty, Reply::withStatus(-1));
    pen.onPropertyRead(1, Reply::withValue(Value::string("x")));
    pen.onPropertyRead(2, Reply::withStatus(-2));
    TcpClient client(pen.port());
    EXPECT_EQ(ask(client, kGetVersion, 13), wire::list({wire::int32(0), wire::string("x")}));
    pen.clearRules();
    EXPECT_EQ(ask(client, kGetVersion, kVersion.size()), kVersion);
}

TEST_F(PensimService, RefusedWriteIsNotDone)
{
    pensim::Pen &pen = m_service.dock(plainPen());
    const Value before = pen.property(0x202a);
    pen.onPropertyWrite(0x202a, Reply::withStatus(-4013));
    TcpClient client(pen.port());
    EXPECT_EQ(
        ask(client,
            wire::raw("R1SP") + Bytes{0x02, 0x00} + wire::short16(0x202a) + Bytes{0x01} + wire::short16(99),
            8),
        statusAlone(-4013));
    EXPECT_EQ(pen.property(0x202a), before);
}

TEST_F(PensimService, ResponderDecidesWhenItsTurnComes)
{
    pensim::Pen &pen = m_service.dock(plainPen());
    pen.onInstruction(pensim::instruction::listPages, [&pen](const pensim::Request &request) {
        EXPECT_EQ(request.code, pensim::instruction::listPages);
        pen.addPage({pensim::pageAddress(0, 1, 2, 3, 4), Value::binary({1}), {}});
        return Reply::normal();
    });
    TcpClient client(pen.port());
    const Bytes onePage = wire::list(
        {wire::int32(0), wire::list({wire::list({wire::long64(0x0000010002003004), wire::int32(1)})})});
    EXPECT_EQ(ask(client, kListPages, onePage.size()), onePage);
}

TEST_F(PensimService, ResponseCanBeCutAtEveryByte)
{
    pensim::Pen &pen = m_service.dock(plainPen());
    for (std::size_t length = 0; length < kVersion.size(); ++length) {
        pen.clearRules();
        pen.onInstruction(pensim::instruction::getProperty, Reply::cut(length));
        TcpClient client(pen.port());
        client.send(kGetVersion);
        EXPECT_EQ(client.receiveAll(),
                  Bytes(kVersion.begin(), kVersion.begin() + static_cast<std::ptrdiff_t>(length)));
    }
}

TEST_F(PensimService, GivenBytesReplaceTheResponse)
{
    pensim::Pen &pen = m_service.dock(plainPen());
    pen.onInstruction(pensim::instruction::getProperty, Reply::withBytes({1, 2, 3}).then(Ending::close));
    TcpClient client(pen.port());
    client.send(kGetVersion);
    EXPECT_EQ(client.receiveAll(), (Bytes{1, 2, 3}));
}

TEST_F(PensimService, ConnectionCanBeClosedOrResetInsteadOfAnAnswer)
{
    pensim::Pen &pen = m_service.dock(plainPen());
    pen.onInstruction(pensim::instruction::getProperty, Reply::closing(), 1);
    pen.onInstruction(pensim::instruction::getProperty, Reply::resetting(), 2);
    TcpClient closed(pen.port());
    closed.send(kGetVersion);
    EXPECT_TRUE(closed.ended());
    EXPECT_FALSE(closed.wasReset());
    TcpClient reset(pen.port());
    reset.send(kGetVersion);
    EXPECT_TRUE(reset.ended());
    EXPECT_TRUE(reset.mayHaveBeenReset());
}

TEST_F(PensimService, DelayedAnswerComesLater)
{
    pensim::Pen &pen = m_service.dock(plainPen());
    pen.onInstruction(pensim::instruction::getProperty, Reply::normal().after(50ms));
    TcpClient client(pen.port());
    const auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(ask(client, kGetVersion, kVersion.size()), kVersion);
    EXPECT_GE(std::chrono::steady_clock::now() - start, 50ms);
}

TEST_F(PensimService, SilentPenAnswersTheNextRequestAgain)
{
    pensim::Pen &pen = m_service.dock(plainPen());
    pen.onInstruction(pensim::instruction::getProperty, Reply::silence());
    TcpClient client(pen.port());
    client.send(kGetVersion);
    EXPECT_EQ(ask(client, kListPages, kNoPages.size()), kNoPages);
}

TEST_F(PensimService, ConnectionRuleMeetsNewConnections)
{
    pensim::Pen &pen = m_service.dock(plainPen());
    pen.onConnection(Reply::closing(), 1);
    TcpClient refused(pen.port());
    EXPECT_TRUE(refused.ended());
    TcpClient served(pen.port());
    EXPECT_EQ(ask(served, kGetVersion, kVersion.size()), kVersion);
}

TEST_F(PensimService, RefusedConnectionsComeBackOnTheSamePort)
{
    pensim::Pen &pen = m_service.dock(plainPen());
    const std::uint16_t port = pen.port();
    pen.refuseConnections(true);
    EXPECT_FALSE(canConnect(port));
    pen.refuseConnections(false);
    EXPECT_TRUE(canConnect(port));
    pen.refuseConnections(false); // once more changes nothing
    EXPECT_TRUE(canConnect(port));
    TcpClient client(port);
    ask(client, kGetVersion, kVersion.size());
    pen.closeConnections(Ending::close);
    EXPECT_TRUE(client.ended());
}

TEST_F(PensimService, PensOfTheScenarioWithPortsOfTheirOwn)
{
    pensim::Service other({.rendezvousPort = 0, .record = false, .log = {}}, pensim::defaultScenario());
    EXPECT_FALSE(other.pens()[0]->docked());
    other.start();
    for (const pensim::Pen *pen : other.pens())
        EXPECT_TRUE(canConnect(pen->port()));
    other.stop();
    for (const pensim::Pen *pen : other.pens())
        EXPECT_FALSE(pen->docked());
    other.start();
    EXPECT_TRUE(other.pens()[0]->docked());
}

TEST_F(PensimService, PortInUseIsToldByNumber)
{
    pensim::Service other({.rendezvousPort = m_service.rendezvousPort(), .record = false, .log = {}},
                          pensim::defaultScenario());
    try {
        other.start();
        FAIL() << "two services on one port";
    } catch (const std::system_error &error) {
        EXPECT_NE(std::string(error.what()).find(std::to_string(m_service.rendezvousPort())),
                  std::string::npos);
    }
    EXPECT_FALSE(other.pens()[0]->docked());
}

TEST_F(PensimService, LogHasALinePerExchange)
{
    std::vector<std::string> lines;
    {
        pensim::Service other({.rendezvousPort = 0,
                               .record = false,
                               .log = [&](const pensim::LogEntry &entry) { lines.push_back(entry.text); }});
        other.start();
        TcpClient client(other.dock(plainPen()).port());
        ask(client, kGetVersion, kVersion.size());
    }
    EXPECT_EQ(std::count(lines.begin(), lines.end(),
                         "AAB-AAA-AAB-D7 #1 R1GP get property(short16 1) -> 0 short16 1283"),
              1);
}

TEST_F(PensimService, DfuPenIsResetIntoItsOtherModeAndBack)
{
    pensim::Pen &pen = m_service.dock(plainPen());
    const auto reset = [&] {
        TcpClient client(pen.port());
        const Bytes answer = ask(client, wire::raw("V009") + Bytes{0x00}, 8);
        EXPECT_TRUE(client.ended()); // the pen leaves the bus
        while (!pen.docked())        // and comes back
            std::this_thread::sleep_for(1ms);
        return answer;
    };
    TcpClient host(pen.port());
    EXPECT_EQ(ask(host, wire::raw("V000") + Bytes{0x00}, 8), statusAlone(0));
    EXPECT_FALSE(pen.dfuMode());
    EXPECT_EQ(reset(), statusAlone(0));
    EXPECT_TRUE(pen.dfuMode());
    EXPECT_TRUE(pen.docked());
    EXPECT_EQ(reset(), statusAlone(0));
    EXPECT_FALSE(pen.dfuMode());
}

} // namespace
