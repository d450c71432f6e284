#include "pensim/service.h"

#include "tcp_client.h"

#include <gtest/gtest.h>
#include <thread>

namespace {

using namespace std::chrono_literals;
using namespace zel::test;
using pensim::Ending;
using pensim::Reply;
using pensim::Subscription;

const Bytes kSubscribe = wire::raw("RVA1\r\nsubscribe=RVP\r\n") + Bytes{0};
const Bytes kSubscribeDfu = wire::raw("DVA1\r\nsubscribe=DVP\r\n") + Bytes{0};
const Bytes kList = wire::raw("LIST") + Bytes{0};

pensim::PenSpec ordinaryPen()
{
    pensim::PenSpec spec;
    spec.id = 0x12300abcdef;
    spec.brand = "Brand";
    spec.softwareVersion = 0x1234567;
    spec.protocols = {"PSP40", "PSP41"};
    spec.vendorId = 0xf055;
    spec.productId = 2;
    return spec;
}

pensim::PenSpec dfuPen()
{
    pensim::PenSpec spec;
    spec.id = 0xd;
    spec.brand = "Firmware";
    spec.dfuMode = true;
    return spec;
}

std::string ordinaryMessage(const std::string &command, std::uint16_t port)
{
    return "RVP1\r\n" + command +
           "pen-id=0000012300abcdef\r\n"
           "pen-brand=Brand\r\n"
           "pen-swver=1234567\r\n"
           "pen-vid=f055\r\n"
           "pen-pid=0002\r\n"
           "pen-dfu=0\r\n"
           "acc-prot=PSP40\r\n"
           "acc-prot=PSP41\r\n"
           "service-port=" +
           std::to_string(port) + "\r\n";
}

std::string dfuMessage(const std::string &command, std::uint16_t port)
{
    return "DVP1\r\n" + command +
           "pen-id=000000000000000d\r\n"
           "pen-brand=Firmware\r\n"
           "pen-swver=100\r\n"
           "pen-vid=1209\r\n"
           "pen-pid=0001\r\n"
           "pen-dfu=1\r\n"
           "acc-prot=DFUPSP10\r\n"
           "service-port=" +
           std::to_string(port) + "\r\n";
}

class PensimRendezvous : public testing::Test
{
protected:
    void SetUp() override { m_service.start(); }

    // A subscriber that the server knows of.
    std::unique_ptr<TcpClient> subscriber(Subscription kind)
    {
        const std::size_t before = m_service.rendezvous().subscriberCount(kind);
        auto client = std::make_unique<TcpClient>(m_service.rendezvousPort());
        client->send(kind == Subscription::dfu ? kSubscribeDfu : kSubscribe);
        EXPECT_TRUE(m_service.rendezvous().waitForSubscribers(kind, before + 1, 10s));
        return client;
    }

    pensim::Service m_service{{.rendezvousPort = 0, .record = true, .log = {}}};
};

TEST_F(PensimRendezvous, ListsThePensOfTheSubscribersKind)
{
    const std::uint16_t port = m_service.dock(ordinaryPen()).port();
    const std::uint16_t dfuPort = m_service.dock(dfuPen()).port();
    auto client = subscriber(Subscription::ordinary);
    client->send(kList);
    EXPECT_EQ(client->receiveMessage(), ordinaryMessage("", port));
    EXPECT_EQ(client->receiveMessage(), "RVP1\r\nENDLIST\r\n");
    client = subscriber(Subscription::dfu);
    client->send(kList);
    EXPECT_EQ(client->receiveMessage(), dfuMessage("", dfuPort));
    EXPECT_EQ(client->receiveMessage(), "DVP1\r\nENDLIST\r\n");
}

TEST_F(PensimRendezvous, ListsNothingBeforeASubscription)
{
    m_service.dock(ordinaryPen());
    TcpClient client(m_service.rendezvousPort());
    client.send(kList);
    EXPECT_EQ(client.receiveMessage(), "RVP1\r\nENDLIST\r\n");
}

TEST_F(PensimRendezvous, TellsSubscribersOfArrivalsAndDepartures)
{
    auto client = subscriber(Subscription::ordinary);
    auto dfuClient = subscriber(Subscription::dfu);
    const std::uint16_t port = m_service.dock(ordinaryPen()).port();
    EXPECT_EQ(client->receiveMessage(), ordinaryMessage("CONNECT\r\n", port));
    m_service.undock(ordinaryPen().id);
    EXPECT_EQ(client->receiveMessage(), ordinaryMessage("DISCONNECT\r\n", port));
    const std::uint16_t dfuPort = m_service.dock(dfuPen()).port();
    EXPECT_EQ(dfuClient->receiveMessage(), dfuMessage("CONNECT\r\n", dfuPort));
    const std::uint16_t secondPort = m_service.redock(ordinaryPen().id).port();
    EXPECT_EQ(client->receiveMessage(), ordinaryMessage("CONNECT\r\n", secondPort));
}

TEST_F(PensimRendezvous, RedockedPenIsListedLast)
{
    m_service.dock(ordinaryPen());
    pensim::PenSpec second = ordinaryPen();
    second.id = 5;
    m_service.dock(second);
    m_service.undock(ordinaryPen().id);
    m_service.redock(ordinaryPen().id);
    EXPECT_EQ(m_service.pens()[0]->id(), 5u);
    EXPECT_EQ(m_service.pens()[1]->id(), ordinaryPen().id);
}

TEST_F(PensimRendezvous, PenThatChangesItsModeLeavesOneKindAndJoinsTheOther)
{
    auto client = subscriber(Subscription::ordinary);
    auto dfuClient = subscriber(Subscription::dfu);
    pensim::PenSpec spec = dfuPen();
    spec.dfuMode = false;
    pensim::Pen &pen = m_service.dock(spec);
    client->receiveMessage();
    TcpClient host(pen.port());
    host.send(wire::raw("V001") + Bytes{0x00});
    EXPECT_NE(client->receiveMessage().find("DISCONNECT\r\npen-id=000000000000000d"), std::string::npos);
    const std::string arrival = dfuClient->receiveMessage();
    EXPECT_EQ(arrival, dfuMessage("CONNECT\r\n", pen.port()));
}

TEST_F(PensimRendezvous, RecordsWhatClientsSay)
{
    auto client = subscriber(Subscription::ordinary);
    client->send(kList);
    EXPECT_TRUE(m_service.rendezvous().waitForMessages("LIST", 1, 10s));
    const auto messages = m_service.rendezvous().messages();
    ASSERT_EQ(messages.size(), 2u);
    EXPECT_EQ(messages[0].text, "RVA1\r\nsubscribe=RVP\r\n");
    EXPECT_EQ(messages[1].text, "LIST");
    EXPECT_EQ(messages[1].connection, 1u);
    EXPECT_EQ(m_service.rendezvous().connectionCount(), 1u);
}

TEST_F(PensimRendezvous, ListCanBeAnsweredWithGivenBytesOrNotAtAll)
{
    m_service.rendezvous().onList(Reply::withBytes({'x', 0}).then(Ending::close), 1);
    m_service.rendezvous().onList(Reply::silence(), 2);
    auto client = subscriber(Subscription::ordinary);
    client->send(kList);
    EXPECT_EQ(client->receiveAll(), (Bytes{'x', 0}));
    client = subscriber(Subscription::ordinary);
    client->send(kList);
    client->send(kList);
    EXPECT_EQ(client->receiveMessage(), "RVP1\r\nENDLIST\r\n"); // of the third
}

TEST_F(PensimRendezvous, SendsGivenBytesToItsSubscribers)
{
    auto client = subscriber(Subscription::ordinary);
    auto dfuClient = subscriber(Subscription::dfu);
    m_service.rendezvous().send(std::string_view("abc\0", 4));
    m_service.rendezvous().send(std::string_view("def\0", 4), Subscription::dfu);
    EXPECT_EQ(client->receiveMessage(), "abc");
    EXPECT_EQ(dfuClient->receiveMessage(), "def");
}

TEST_F(PensimRendezvous, FragmentsMakeTheWholeMessage)
{
    m_service.rendezvous().setFragments(3, 1ms);
    const std::uint16_t port = m_service.dock(ordinaryPen()).port();
    auto client = subscriber(Subscription::ordinary);
    client->send(kList);
    ASSERT_TRUE(m_service.rendezvous().waitForMessages("LIST", 1, 10s));
    m_service.undock(ordinaryPen().id); // told behind the list, never amid it
    EXPECT_EQ(client->receiveMessage(), ordinaryMessage("", port));
    EXPECT_EQ(client->receiveMessage(), "RVP1\r\nENDLIST\r\n");
    EXPECT_EQ(client->receiveMessage(), ordinaryMessage("DISCONNECT\r\n", port));
}

TEST_F(PensimRendezvous, ServerGoesAwayAndComesBackOnItsPort)
{
    auto client = subscriber(Subscription::ordinary);
    const std::uint16_t port = m_service.rendezvousPort();
    m_service.rendezvous().shutDown();
    EXPECT_TRUE(client->ended());
    EXPECT_FALSE(canConnect(port));
    m_service.rendezvous().listen();
    EXPECT_EQ(m_service.rendezvousPort(), port);
    EXPECT_TRUE(canConnect(port));
}

TEST_F(PensimRendezvous, ConnectionsCanBeResetAndRefusedAtOnce)
{
    auto client = subscriber(Subscription::ordinary);
    m_service.rendezvous().closeConnections(Ending::reset);
    EXPECT_TRUE(client->ended());
    EXPECT_TRUE(client->mayHaveBeenReset());
    EXPECT_TRUE(m_service.rendezvous().waitForSubscribers(Subscription::ordinary, 0, 10s));
    m_service.rendezvous().onConnection(Reply::closing(), 1);
    TcpClient closed(m_service.rendezvousPort());
    EXPECT_TRUE(closed.ended());
}

TEST_F(PensimRendezvous, SubscriberThatLeavesIsForgotten)
{
    auto client = subscriber(Subscription::ordinary);
    client->finishSending();
    EXPECT_TRUE(client->ended()); // the server closes its side, too
    EXPECT_TRUE(m_service.rendezvous().waitForSubscribers(Subscription::ordinary, 0, 10s));
}

TEST_F(PensimRendezvous, EndlessMessageEndsTheConnection)
{
    TcpClient client(m_service.rendezvousPort());
    client.send(Bytes(5000, 'x'));
    EXPECT_TRUE(client.ended());
}

TEST_F(PensimRendezvous, ManyThreadsMayDriveTheServiceAtOnce)
{
    auto client = subscriber(Subscription::ordinary);
    std::vector<std::thread> threads;
    for (std::uint64_t id = 1; id <= 4; ++id)
        threads.emplace_back([this, id] {
            pensim::PenSpec spec = ordinaryPen();
            spec.id = id;
            pensim::Pen &pen = m_service.dock(spec);
            for (int round = 0; round < 20; ++round) {
                pen.setProperty(1, pensim::Value::int32(1));
                m_service.undock(id);
                m_service.redock(id);
            }
        });
    for (std::thread &thread : threads)
        thread.join();
    for (int message = 0; message < 4 * 41; ++message)
        EXPECT_NE(client->receiveMessage().find("CONNECT"), std::string::npos);
}

} // namespace
