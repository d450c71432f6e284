#include "rendezvous/rendezvous_client.h"

#include "support/held_clock.h"
#include "support/log_capture.h"
#include "support/process_counts.h"
#include "support/rendezvous_server.h"
#include "sys/exceptions.h"
#include "sys/thread.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <future>
#include <thread>

using zel::RendezvousClient;
using zel::RendezvousCommand;
using zel::RendezvousEvent;

namespace {

template <class Exception, class Call>
std::string messageOf(Call call)
{
    try {
        call();
    } catch (const Exception &failure) {
        return failure.what();
    }
    return "(no exception)";
}

/** That a client which had connected since has let go of its socket, where that can be told. */
void expectClosed(const zel::test::ProcessCounts &before)
{
    if (zel::test::countsExactly()) {
        EXPECT_EQ(zel::test::countProcess(before), before);
    }
}

bool isDone(const std::future<void> &call, std::chrono::milliseconds limit = std::chrono::seconds(20))
{
    return call.wait_for(limit) == std::future_status::ready;
}

} // namespace

TEST(RendezvousClient, ConnectsSubscribesAndListsInThisOrder)
{
    std::string received;
    auto server = std::make_unique<RendezvousServer>([&](const loopback::OwnedSocket &client) {
        received = loopback::receiveExactly(client, rendezvous_wire::kSubscribe.size() +
                                                        rendezvous_wire::kList.size());
        loopback::sendAll(client, rendezvous_wire::pen("", "1") + rendezvous_wire::message("ENDLIST"));
        rendezvous_wire::untilClosed(client);
    });
    {
        RendezvousClient client(server->endpoint(), false);
        ASSERT_TRUE(client.connectToRendezvousServer());
        const auto pens = client.enumerate();
        ASSERT_EQ(pens.size(), 1u);
        EXPECT_EQ(pens[0].penId.number(), 1u);
        EXPECT_EQ(pens[0].command, RendezvousCommand::Connect) << "a listed pen needs no command word";
        client.disconnectFromRendezvousServer();
    }
    server.reset(); // ends the thread that received
    EXPECT_EQ(received, std::string("RVA1\r\nsubscribe=RVP\r\n\0LIST\0", 27));
}

TEST(RendezvousClient, FirmwareUpgradeModeSubscribesWithItsOwnWords)
{
    std::string received;
    auto server = std::make_unique<RendezvousServer>(
        [&](const loopback::OwnedSocket &client) { received = loopback::receiveExactly(client, 22); });
    {
        RendezvousClient client(server->endpoint(), true);
        ASSERT_TRUE(client.connectToRendezvousServer());
        EXPECT_EQ(client.waitForRendezvousEvent().command, RendezvousCommand::ServerGone);
    }
    server.reset(); // ends the thread that received
    EXPECT_EQ(received, std::string("DVA1\r\nsubscribe=DVP\r\n\0", 22));
}

TEST(RendezvousClient, LogsWhatItDoes)
{
    RendezvousServer server([](const loopback::OwnedSocket &client) {
        rendezvous_wire::enumerate(client, {});
        loopback::sendAll(client, rendezvous_wire::pen("CONNECT", "1"));
        rendezvous_wire::untilClosed(client);
    });
    LogCapture log;
    {
        RendezvousClient client(server.endpoint(), false);
        client.connectToRendezvousServer();
        client.enumerate();
        client.waitForRendezvousEvent();
        client.disconnectFromRendezvousServer();
    }
    std::vector<std::string> texts;
    for (const auto &[level, text] : log.entries())
        texts.push_back(text);
    EXPECT_EQ(texts, (std::vector<std::string>{
                         "RendezvousClient::initSocket()",
                         "[RendezvousClient] exiting initSocket",
                         "RendezvousClient - Created",
                         "RendezvousClient::connectToRendezvousServer()",
                         "RendezvousClient::connect()",
                         "[RendezvousClient] connected to rendezvous server",
                         "RendezvousClient::subscribe()",
                         "[RendezvousClient] subscribed to rendezvous notifications",
                         "[RendezvousClient] exiting subscribe",
                         "RendezvousClient::enumerate()",
                         "[RendezvousClient] exiting enumerate",
                         "RendezvousClient::waitForRendezvousEvent()",
                         "Pen connected 49153",
                         "[RendezvousClient] exiting waitForRendezvousEvent",
                         "RendezvousClient::disconnectFromRendezvousServer()",
                         "RendezvousClient - Destructed",
                     }));
}

TEST(RendezvousClient, LogsTheWaitForTheServer)
{
    loopback::Listener listener;
    const zel::net::Endpoint endpoint = listener.endpoint();
    RendezvousClient client(endpoint, false);
    const LogCapture log;
    client.waitForRendezvousServer();
    std::vector<std::string> texts;
    for (const auto &[level, text] : log.entries())
        texts.push_back(text);
    EXPECT_EQ(texts, (std::vector<std::string>{
                         "RendezvousClient::waitForRendezvousServer()",
                         "RendezvousClient::wait()",
                         "Waiting for rendezvous server to become available",
                         "Connected to rendezvous server",
                         "RendezvousClient::subscribe()",
                         "[RendezvousClient] subscribed to rendezvous notifications",
                         "[RendezvousClient] exiting subscribe",
                     }));
}

TEST(RendezvousClient, EndOfListAloneIsAnEmptyList)
{
    RendezvousServer server([](const loopback::OwnedSocket &client) {
        rendezvous_wire::enumerate(client, {});
        rendezvous_wire::untilClosed(client);
    });
    RendezvousClient client(server.endpoint(), false);
    ASSERT_TRUE(client.connectToRendezvousServer());
    EXPECT_TRUE(client.enumerate().empty());
    client.disconnectFromRendezvousServer();
}

TEST(RendezvousClient, ListedMessagesOfNoPenAreSkippedSilently)
{
    RendezvousServer server([](const loopback::OwnedSocket &client) {
        rendezvous_wire::enumerate(
            client, {rendezvous_wire::message("RVX1\r\npen-id=5\r\n"), rendezvous_wire::pen("", "2")});
        rendezvous_wire::untilClosed(client);
    });
    RendezvousClient client(server.endpoint(), false);
    ASSERT_TRUE(client.connectToRendezvousServer());
    LogCapture log;
    const auto pens = client.enumerate();
    ASSERT_EQ(pens.size(), 1u);
    EXPECT_EQ(pens[0].penId.number(), 2u);
    EXPECT_EQ(log.entries().size(), 2u) << "only the two marks of the operation";
    client.disconnectFromRendezvousServer();
}

TEST(RendezvousClient, ServerThatClosesWhileListingGivesWhatWasGathered)
{
    RendezvousServer server([](const loopback::OwnedSocket &client) {
        loopback::receiveExactly(client, 27);
        loopback::sendAll(client,
                          rendezvous_wire::pen("", "1") + rendezvous_wire::pen("", "2") + "RVP1\r\npen-id");
    });
    RendezvousClient client(server.endpoint(), false);
    const zel::test::ProcessCounts before = zel::test::countProcess();
    ASSERT_TRUE(client.connectToRendezvousServer());
    EXPECT_EQ(client.enumerate().size(), 2u);
    expectClosed(before);
    // No closed handle is used again: the next wait tells that the server is gone.
    EXPECT_EQ(client.waitForRendezvousEvent().command, RendezvousCommand::ServerGone);
}

TEST(RendezvousClient, ResetWhileListingRaises)
{
    if (!loopback::showsResets())
        GTEST_SKIP() << "the system may show a reset as an orderly end";
    RendezvousServer server([](const loopback::OwnedSocket &client) {
        loopback::receiveExactly(client, 27);
        loopback::reset(loopback::OwnedSocket(const_cast<loopback::OwnedSocket &>(client).release()));
    });
    RendezvousClient client(server.endpoint(), false);
    const zel::test::ProcessCounts before = zel::test::countProcess();
    ASSERT_TRUE(client.connectToRendezvousServer());
    EXPECT_EQ(messageOf<zel::ZELRendezvousException>([&] { client.enumerate(); }),
              "RendezvousClient::enumerate() - enumerating pens failed 10054");
    expectClosed(before);
    EXPECT_EQ(client.waitForRendezvousEvent().command, RendezvousCommand::ServerGone);
}

TEST(RendezvousClient, CallsWithoutAConnectionRaise)
{
    const zel::net::Endpoint nobody = loopback::deadEndpoint();
    RendezvousClient client(nobody, false);
    LogCapture log;
    EXPECT_FALSE(client.connectToRendezvousServer());
    EXPECT_TRUE(
        log.contains(zel::LogLevel::Error, "[RendezvousClient] failed to connect to rendezvous server"));
    const std::string unconnected = messageOf<zel::ZELRendezvousException>([&] { client.subscribe(); });
    EXPECT_TRUE(unconnected.starts_with(
        "RendezvousClient::subscribe() - subscribing to rendezvous notifications failed: 10"))
        << unconnected;
    const std::string unlisted = messageOf<zel::ZELRendezvousException>([&] { client.enumerate(); });
    EXPECT_TRUE(
        unlisted.starts_with("RendezvousClient::enumerate() - enummeration of connected pens failed 10"))
        << unlisted;
}

TEST(RendezvousClient, CloseOfNoSocketRaises)
{
    const zel::net::Endpoint nobody = loopback::deadEndpoint();
    RendezvousClient client(nobody, false);
    EXPECT_EQ(messageOf<zel::ZELRendezvousException>([&] { client.closeSocket(); }),
              "RendezvousClient::disconnectFromRendezvousServer() - shutdown socket failed 10038");
}

TEST(RendezvousClient, MessageBeyondTheBufferIsCutAndTheNextOneIsWhole)
{
    RendezvousServer server([](const loopback::OwnedSocket &client) {
        rendezvous_wire::enumerate(client, {});
        // The command stands within the first 1,023 bytes, the id beyond them.
        loopback::sendAll(client, rendezvous_wire::message("RVP1\r\nCONNECT\r\n" + std::string(5000, 'x') +
                                                           "\r\npen-id=7\r\n"));
        loopback::sendAll(client, rendezvous_wire::pen("DISCONNECT", "8"));
        rendezvous_wire::untilClosed(client);
    });
    RendezvousClient client(server.endpoint(), false);
    ASSERT_TRUE(client.connectToRendezvousServer());
    client.enumerate();
    const RendezvousEvent cut = client.waitForRendezvousEvent();
    EXPECT_EQ(cut.command, RendezvousCommand::Connect);
    EXPECT_EQ(cut.penId.number(), 0u);
    const RendezvousEvent next = client.waitForRendezvousEvent();
    EXPECT_EQ(next.command, RendezvousCommand::Disconnect);
    EXPECT_EQ(next.penId.number(), 8u);
    client.disconnectFromRendezvousServer();
}

TEST(RendezvousClient, MessageIsKeptToItsByte1023)
{
    const std::string head = "RVP1\r\nCONNECT\r\n";
    const std::string key = "pen-vid=1";
    const std::string filling(1023 - head.size() - key.size(), 'x');
    RendezvousServer server([&](const loopback::OwnedSocket &client) {
        rendezvous_wire::enumerate(client, {});
        loopback::sendAll(client, rendezvous_wire::message(head + filling + key + "2\r\n"));
        rendezvous_wire::untilClosed(client);
    });
    RendezvousClient client(server.endpoint(), false);
    ASSERT_TRUE(client.connectToRendezvousServer());
    client.enumerate();
    EXPECT_EQ(client.waitForRendezvousEvent().vendorId, 0x1);
    client.disconnectFromRendezvousServer();
}

TEST(RendezvousClient, MessageInPiecesIsPutTogether)
{
    RendezvousServer server([](const loopback::OwnedSocket &client) {
        rendezvous_wire::enumerate(client, {});
        for (const char byte : rendezvous_wire::pen("CONNECT", "9"))
            loopback::sendAll(client, std::string_view(&byte, 1));
        rendezvous_wire::untilClosed(client);
    });
    RendezvousClient client(server.endpoint(), false);
    ASSERT_TRUE(client.connectToRendezvousServer());
    client.enumerate();
    EXPECT_EQ(client.waitForRendezvousEvent().penId.number(), 9u);
    client.disconnectFromRendezvousServer();
}

TEST(RendezvousClient, ServerThatResetsGivesTheEventServerGone)
{
    RendezvousServer server([](const loopback::OwnedSocket &client) {
        loopback::receiveExactly(client, 22);
        loopback::reset(loopback::OwnedSocket(const_cast<loopback::OwnedSocket &>(client).release()));
    });
    RendezvousClient client(server.endpoint(), false);
    ASSERT_TRUE(client.connectToRendezvousServer());
    EXPECT_EQ(client.waitForRendezvousEvent().command, RendezvousCommand::ServerGone);
}

TEST(RendezvousClient, WaitEndsAtOnceWhenToldToDisconnect)
{
    const zel::net::Endpoint nobody = loopback::deadEndpoint();
    RendezvousClient client(nobody, false);
    std::thread stopping([&] {
        zel::sleepMilliseconds(50);
        client.disconnectFromRendezvousServer();
    });
    EXPECT_EQ(messageOf<zel::ZELRendezvousShutDownException>([&] { client.waitForRendezvousServer(); }),
              "Process is being shut down.");
    stopping.join();
}

// The stop of an earlier life, which nobody waited for, does not end the next wait.
TEST(RendezvousClient, WaitOfAnArmedClientGoesOn)
{
    const zel::net::Endpoint nobody = loopback::deadEndpoint();
    RendezvousClient client(nobody, false);
    client.disconnectFromRendezvousServer();
    client.rearm();
    std::atomic<bool> ended{false};
    std::thread waiting([&] {
        EXPECT_THROW(client.wait(), zel::ZELRendezvousShutDownException);
        ended = true;
    });
    zel::sleepMilliseconds(100);
    EXPECT_FALSE(ended);
    client.disconnectFromRendezvousServer();
    waiting.join();
}

TEST(RendezvousClient, StopBeforeAConnectionIsNotLost)
{
    RendezvousServer server(
        [](const loopback::OwnedSocket &client) { rendezvous_wire::untilClosed(client); });
    RendezvousClient client(server.endpoint(), false);
    client.disconnectFromRendezvousServer();
    EXPECT_FALSE(client.connect());
    EXPECT_THROW(client.wait(), zel::ZELRendezvousShutDownException);
    client.rearm();
    EXPECT_TRUE(client.connectToRendezvousServer());
    client.disconnectFromRendezvousServer();
}

// The connection that the wait made stays open while the one that replaces it is used: servers see two.
TEST(RendezvousClient, ConnectionOfTheWaitStaysOpenBesideItsSuccessor)
{
    loopback::Listener listener;
    const zel::net::Endpoint endpoint = listener.endpoint();
    RendezvousClient client(endpoint, false);
    client.waitForRendezvousServer();
    const loopback::OwnedSocket first = listener.accept();
    ASSERT_TRUE(client.connectToRendezvousServer());
    const loopback::OwnedSocket second = listener.accept();
    EXPECT_EQ(loopback::receiveExactly(first, 22), rendezvous_wire::kSubscribe);
    EXPECT_EQ(loopback::receiveExactly(second, 22), rendezvous_wire::kSubscribe);
    EXPECT_FALSE(loopback::isReadable(first, 50)) << "neither data nor an end";
    client.disconnectFromRendezvousServer();
}

// ---- time ----------------------------------------------------------------------------------------

TEST(RendezvousClient, AbsentServerIsTriedEveryThreeSeconds)
{
    const zel::net::Endpoint nobody = loopback::deadEndpoint();
    RendezvousClient client(nobody, false);
    std::future<void> waiting;
    {
        HeldClock clock;
        waiting = std::async(std::launch::async,
                             [&] { EXPECT_THROW(client.wait(), zel::ZELRendezvousShutDownException); });
        for (int attempt = 0; attempt < 3; ++attempt) {
            EXPECT_TRUE(clock.waitForWaiting(3000)) << "attempt " << attempt;
            clock.pass(3000);
        }
        EXPECT_TRUE(clock.waitForWaiting(3000));
        client.disconnectFromRendezvousServer();
        EXPECT_TRUE(isDone(waiting)) << "a stop does not wait for the next attempt";
    }
}

TEST(RendezvousClient, ConnectionThatTheServerEndedIsNotFollowedByAnotherAtOnce)
{
    RendezvousServer server([](const loopback::OwnedSocket &) {});
    RendezvousClient client(server.endpoint(), false);
    ASSERT_TRUE(client.connect());
    EXPECT_EQ(client.waitForRendezvousEvent().command, RendezvousCommand::ServerGone);
    std::future<void> connecting;
    {
        HeldClock clock;
        connecting = std::async(std::launch::async, [&] { EXPECT_TRUE(client.connect()); });
        ASSERT_TRUE(clock.waitForWaiting(10));
        EXPECT_EQ(server.connections(), 1);
        clock.pass(10);
        EXPECT_TRUE(isDone(connecting));
    }
    EXPECT_TRUE(server.waitForConnections(2));
}

// ---- a connect that hangs ------------------------------------------------------------------------

TEST(RendezvousClient, StopEndsAConnectThatHangs)
{
    const loopback::FullListener full;
    const zel::net::Endpoint endpoint = full.endpoint();
    RendezvousClient client(endpoint, false);
    const std::future<void> connecting =
        std::async(std::launch::async, [&] { EXPECT_FALSE(client.connect()); });
    EXPECT_FALSE(isDone(connecting, std::chrono::milliseconds(100))) << "does not hang";
    client.disconnectFromRendezvousServer();
    EXPECT_TRUE(isDone(connecting));
}

namespace {

RendezvousClient *s_toBeStopped;

void stopWhenItWaits(zel::LogLevel, std::string_view text)
{
    if (text == "Waiting for rendezvous server to become available")
        s_toBeStopped->disconnectFromRendezvousServer();
}

} // namespace

// The socket is made and not connected yet: the stop's shutdown of it has no effect.
TEST(RendezvousClient, StopBetweenTheSocketAndItsConnectIsNotLost)
{
    const loopback::FullListener full;
    const zel::net::Endpoint endpoint = full.endpoint();
    RendezvousClient client(endpoint, false);
    s_toBeStopped = &client;
    zel::setLogObserver(stopWhenItWaits);
    const std::future<void> waiting = std::async(
        std::launch::async, [&] { EXPECT_THROW(client.wait(), zel::ZELRendezvousShutDownException); });
    EXPECT_TRUE(isDone(waiting));
    zel::setLogObserver(nullptr);
    client.disconnectFromRendezvousServer();
}
