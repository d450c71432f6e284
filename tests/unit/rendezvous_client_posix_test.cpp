#include "rendezvous/rendezvous_client.h"

#include "support/held_clock.h"
#include "support/lacking_descriptors.h"
#include "support/rendezvous_server.h"
#include "sys/exceptions.h"

#include <gtest/gtest.h>

#include <future>
#include <optional>

using zel::RendezvousClient;

TEST(RendezvousClientOnPosix, WaitWithoutADescriptorAsksForOneAtEachTry)
{
    loopback::Listener listener;
    const zel::net::Endpoint endpoint = listener.endpoint();
    RendezvousClient client(endpoint, false);
    std::optional<zel::test::LackingDescriptors> lacking(std::in_place);
    std::future<void> waiting;
    {
        HeldClock clock;
        waiting = std::async(std::launch::async, [&] { client.waitForRendezvousServer(); });
        EXPECT_TRUE(clock.waitForWaiting(3000));
        clock.pass(3000);
        EXPECT_TRUE(clock.waitForWaiting(3000)) << "there still is none";
        lacking.reset();
        clock.pass(3000);
        EXPECT_EQ(waiting.wait_for(std::chrono::seconds(20)), std::future_status::ready);
        client.disconnectFromRendezvousServer();
    }
    EXPECT_EQ(loopback::receiveExactly(listener.accept(), 22), rendezvous_wire::kSubscribe);
}

TEST(RendezvousClientOnPosix, LastDescriptorServesTheNextConnection)
{
    loopback::Listener listener;
    const zel::net::Endpoint endpoint = listener.endpoint();
    RendezvousClient client(endpoint, false);
    ASSERT_TRUE(client.connect());
    {
        const zel::test::LackingDescriptors lacking;
        EXPECT_TRUE(client.connect()) << "the former socket was not closed first";
    }
    client.disconnectFromRendezvousServer();
}
