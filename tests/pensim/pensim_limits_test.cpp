// What a client's bytes may grow to, and that no client ends the service for the others.

#include "pensim/service.h"

#include "exchanges.h"
#include "tcp_client.h"

#include <gtest/gtest.h>
#include <mutex>
#include <new>
#include <thread>

#ifndef _WIN32
#include <sys/resource.h>
#endif

namespace {

using namespace std::chrono_literals;
using namespace zel::test;
using exchange::kGetVersion;
using exchange::kListPages;
using exchange::kVersion;
using pensim::Reply;
using pensim::Value;

class PensimLimits : public testing::Test
{
protected:
    void SetUp() override
    {
        m_service.start();
        pensim::PenSpec spec;
        spec.id = 1;
        m_pen = &m_service.dock(spec);
    }

    // Sends until everything is sent or the service has closed.
    void flood(TcpClient &client, const Bytes &bytes, std::size_t times = 1)
    {
        try {
            for (; times > 0; --times)
                client.send(bytes);
        } catch (const std::system_error &) {
            // The service has closed meanwhile.
        }
    }

    void expectOthersAreServed()
    {
        TcpClient client(m_pen->port());
        client.send(kGetVersion);
        EXPECT_EQ(client.receive(kVersion.size()), kVersion);
    }

    bool logHas(const std::string &text)
    {
        const std::lock_guard guard(m_mutex);
        return std::any_of(m_lines.begin(), m_lines.end(),
                           [&](const std::string &line) { return line.find(text) != line.npos; });
    }

    std::size_t logCount(const std::string &text)
    {
        const std::lock_guard guard(m_mutex);
        return static_cast<std::size_t>(
            std::count_if(m_lines.begin(), m_lines.end(),
                          [&](const std::string &line) { return line.find(text) != line.npos; }));
    }

    std::mutex m_mutex;
    std::vector<std::string> m_lines;
    pensim::Service m_service{
        {.rendezvousPort = 0, .record = false, .log = [this](const pensim::LogEntry &entry) {
             const std::lock_guard guard(m_mutex);
             m_lines.push_back(entry.text);
         }}};
    pensim::Pen *m_pen = nullptr;
};

TEST_F(PensimLimits, RequestOfTooManyValuesEndsItsConnectionOnly)
{
    Bytes request = wire::raw("R1SP") + Bytes{0x01, 0x00} + Bytes{0x08, 0x0b, 0xb8}; // array of 3,000
    for (int i = 0; i < 3000; ++i)
        request = std::move(request) + Bytes{0x09, 0xff, 0xff, 0x00}; // data arrays of 65,535 nulls
    TcpClient client(m_pen->port());
    flood(client, request);
    EXPECT_TRUE(client.ended());
    EXPECT_TRUE(logHas("a request of too many values"));
    expectOthersAreServed();
}

TEST_F(PensimLimits, RequestThatNeverEndsEndsItsConnection)
{
    TcpClient client(m_pen->port());
    flood(client, wire::raw("R1SP") + Bytes{0x01, 0x00, 0x0e});
    flood(client, Bytes(1 << 20, 0x41), 20);
    EXPECT_TRUE(client.ended());
    EXPECT_TRUE(logHas("a request that is too long"));
    expectOthersAreServed();
}

TEST_F(PensimLimits, AnnouncementOfFourGigabytesEndsTheConnectionAtOnce)
{
    TcpClient client(m_pen->port());
    client.send(wire::raw("R1SP") + Bytes{0x01, 0x00, 0x07, 0xff, 0xff, 0xff, 0xff});
    EXPECT_TRUE(client.ended());
    expectOthersAreServed();
}

TEST_F(PensimLimits, HostThatDoesNotWaitForItsAnswersIsLetGo)
{
    m_pen->onInstruction(pensim::instruction::listPages, Reply::normal().after(1h));
    TcpClient client(m_pen->port());
    client.send(kListPages);
    flood(client, Bytes(1 << 20, 0x41), 2);
    EXPECT_TRUE(client.ended());
    EXPECT_TRUE(logHas("does not wait for its answers"));
    expectOthersAreServed();
}

TEST_F(PensimLimits, PiledUpRequestsWithoutAnswersAreTakenOneByOne)
{
    m_pen->onInstruction(pensim::instruction::listPages, Reply::silence());
    Bytes requests;
    for (int i = 0; i < 20000; ++i) // more than a stack would bear
        requests.insert(requests.end(), kListPages.begin(), kListPages.end());
    TcpClient client(m_pen->port());
    client.send(requests + kGetVersion);
    EXPECT_EQ(client.receive(kVersion.size()), kVersion);
}

TEST_F(PensimLimits, SubscriberThatDoesNotReadIsLetGo)
{
    TcpClient client(m_service.rendezvousPort());
    client.send(wire::raw("RVA1\r\nsubscribe=RVP\r\n") + Bytes{0});
    ASSERT_TRUE(m_service.rendezvous().waitForSubscribers(pensim::Subscription::ordinary, 1, 10s));
    const std::string megabyte(1 << 20, 'x');
    for (int i = 0; i < 100 && m_service.rendezvous().subscriberCount(pensim::Subscription::ordinary) == 1;
         ++i)
        m_service.rendezvous().send(megabyte);
    EXPECT_EQ(m_service.rendezvous().subscriberCount(pensim::Subscription::ordinary), 0u);
    EXPECT_TRUE(logHas("does not read what it is sent"));
    expectOthersAreServed();
}

TEST_F(PensimLimits, WantOfMemoryInAnExchangeEndsItsConnectionOnly)
{
    m_pen->onInstruction(
        pensim::instruction::listPages, [](const pensim::Request &) -> Reply { throw std::bad_alloc(); }, 1);
    TcpClient client(m_pen->port());
    client.send(kListPages);
    EXPECT_TRUE(client.ended());
    expectOthersAreServed();
}

#ifndef _WIN32
TEST_F(PensimLimits, WithoutDescriptorsItPausesAndGoesOn)
{
    asio::io_context context;
    asio::ip::tcp::socket client(context, asio::ip::tcp::v4()); // connecting it takes no other descriptor
    rlimit before{};
    ASSERT_EQ(getrlimit(RLIMIT_NOFILE, &before), 0);
    rlimit none = before;
    none.rlim_cur = 0;
    ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &none), 0);
    asio::error_code error;
    client.connect({asio::ip::address_v4::loopback(), m_pen->port()}, error);
    std::this_thread::sleep_for(350ms);
    const std::size_t failures = logCount("cannot accept a connection");
    ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &before), 0);
    EXPECT_FALSE(error);
    EXPECT_LE(failures, 10u); // one in 100 ms
    expectOthersAreServed();
    EXPECT_GE(failures, 1u);
}
#endif

TEST_F(PensimLimits, LogShowsNoSecret)
{
    const auto secret = [](const char *text) { return wire::string(text); };
    TcpClient client(m_pen->port());
    client.send(wire::raw("R1PS") + Bytes{0x02, 0x00} + Bytes{0x07, 0, 0, 0, 2, 0xab, 0xcd} + Bytes{0x01} +
                secret("hunter2"));
    client.receive(13);
    client.send(wire::raw("R1UL") + Bytes{0x01, 0x00} + Bytes{0x07, 0, 0, 0, 2, 0xab, 0xcd});
    client.receive(13);
    client.send(wire::raw("R1SP") + Bytes{0x02, 0x00} + wire::short16(0x2203) + Bytes{0x01} + secret("4711"));
    client.receive(8);
    EXPECT_TRUE(logHas("R1PS set password((secret), (secret)) -> 0 int32 1"));
    EXPECT_TRUE(logHas("R1UL unlock((secret)) -> 0 int32 1"));
    EXPECT_TRUE(logHas("R1SP set property(short16 8707, (secret)) -> 0"));
    EXPECT_FALSE(logHas("hunter2"));
    EXPECT_FALSE(logHas("ab cd"));
    EXPECT_FALSE(logHas("4711"));
}

TEST(PensimLog, ExchangeIsAnObjectForPrograms)
{
    pensim::Request request;
    request.code = pensim::instruction::getProperty;
    request.arguments = {{0, Value::short16(1)}};
    const auto entry = pensim::exchangeEntry("AAA-AAA-AAA-AA", 3, request, {0, Value::short16(0x0503)},
                                             Reply::cut(7).after(5ms));
    EXPECT_EQ(entry.json,
              R"({"event":"exchange","pen":"AAA-AAA-AAA-AA","connection":3,"instruction":"R1GP",)"
              R"("name":"get property","arguments":[{"short16":1}],"status":0,"value":{"short16":1283},)"
              R"("fault":"after 5 ms, cut after 7 bytes, then closed"})");
}

TEST(PensimLog, LongValuesAreCutAndSecretsHidden)
{
    pensim::Request request;
    request.code = pensim::instruction::setPassword;
    request.arguments = {{0, Value::binary({1, 2})}, {1, Value::string("hunter2")}};
    const auto entry = pensim::exchangeEntry("pen", 1, request, {0, Value::binary(pensim::Bytes(100, 0xab))},
                                             Reply::normal());
    EXPECT_NE(entry.json.find(R"("arguments":[{"secret":true},{"secret":true}])"), std::string::npos);
    EXPECT_NE(entry.json.find(R"(abab","size":100})"), std::string::npos);
    EXPECT_EQ(entry.json.find("hunter2"), std::string::npos);
}

TEST(PensimLog, TextsOfAClientStayOneLine)
{
    const auto entry = pensim::messageEntry(7, "RVA1\r\nsub\x1b[2J\xff");
    EXPECT_EQ(entry.text, "rendezvous #7 <- RVA1 sub?[2J\xff");
    EXPECT_EQ(entry.json,
              "{\"event\":\"message\",\"text\":\"RVA1\\r\\nsub\\u001b[2J\xef\xbf\xbd\",\"connection\":7}");
}

} // namespace
