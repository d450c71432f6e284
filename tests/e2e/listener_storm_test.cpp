#include "e2e/host.h"

#include "support/log_capture.h"

#include <atomic>
#include <functional>
#include <random>
#include <sstream>
#include <thread>

/** Hosts that start, enumerate and stop without a pause, in both modes, against a service in trouble. With
 *  the shared library nothing captures the log, whose lock would keep threads apart that race. */
namespace {

using namespace zel::test;
using namespace std::chrono_literals;
using pensim::Ending;
using pensim::Reply;

constexpr std::uint64_t kComingPenId = 7;
constexpr std::uint64_t kComingFirmwarePen = 8;
constexpr int kNotifications = 10000;
constexpr std::string_view kKilled = "*** RendezvousThread refused to stop and was killed ***";
constexpr std::string_view kDfuKilled = "*** CDfuRendezvousThread refused to stop and was killed ***";

/** An arrival as it travels, with its NUL. */
std::string arrival(int penId)
{
    std::ostringstream message;
    message << "RVP1\r\nCONNECT\r\npen-id=" << std::hex << penId << "\r\nacc-prot=PSP41\r\n" << '\0';
    return message.str();
}

/** Arrivals of the pens 1, 2, 3, ... */
std::string flood()
{
    std::string messages;
    for (int i = 1; i <= kNotifications; ++i)
        messages += arrival(i);
    return messages;
}

pensim::Scenario comingPens()
{
    return {{penOf(kComingPenId), penOf(kComingFirmwarePen, Mode::firmwareUpgrade)}, {}};
}

/** One mode of the library, started and stopped by turns at random; what each call must answer follows
 *  from the turns before. Several threads may take turns. */
class Turns
{
public:
    explicit Turns(Mode mode) : m_mode(mode) {}
    ~Turns() { stop(); }
    Turns(const Turns &) = delete;
    Turns &operator=(const Turns &) = delete;

    void take(std::mt19937 &random)
    {
        const std::lock_guard guard(m_turn);
        const auto choice = random() % 5;
        if (choice == 0)
            stop();
        else if (choice <= 2 || m_mode == Mode::firmwareUpgrade)
            start();
        else
            EXPECT_EQ(zelEnumeratePens(), m_running ? ZEL_OK : ZEL_ERR_NOT_INITIALIZED);
        // Every pause lets the listener come to another place.
        std::this_thread::sleep_for(std::chrono::microseconds(random() % 6000));
    }

private:
    void start()
    {
        const std::uint32_t expected = m_running ? ZEL_ERR_ALREADY_INITIALIZED : ZEL_OK;
        m_running = true;
        EXPECT_EQ(m_mode == Mode::ordinary ? zelInitialize(onChange, onChange, this)
                                           : zelDfuInit(this, onChange, onChange),
                  expected);
    }

    void stop()
    {
        EXPECT_EQ(m_mode == Mode::ordinary ? zelExit() : zelDfuExit(), ZEL_OK);
        m_running = false;
    }

    static void onChange(DiscoveryHandle *record, void *context)
    {
        EXPECT_TRUE(static_cast<Turns *>(context)->m_running) << "a callback after the exit";
        std::uint8_t mode = 77;
        EXPECT_EQ(zelDfuGetMode(record, &mode), ZEL_OK);
        EXPECT_EQ(mode == 1, static_cast<Turns *>(context)->m_mode == Mode::firmwareUpgrade);
        EXPECT_EQ(zelFreeDiscoveryHandle(&record), ZEL_OK);
    }

    const Mode m_mode;
    std::mutex m_turn;
    std::atomic<bool> m_running{false};
};

/** Threads that take turns at one mode until each has taken enough. */
class Storm
{
public:
    explicit Storm(Mode mode) : m_turns(mode)
    {
        for (unsigned i = 0; i < kThreads; ++i)
            m_threads.emplace_back([this, i] { rage(i); });
    }
    ~Storm()
    {
        for (std::thread &thread : m_threads)
            thread.join();
    }
    Storm(const Storm &) = delete;
    Storm &operator=(const Storm &) = delete;

    bool isOver() const { return m_left == 0; }

private:
    static constexpr unsigned kThreads = 4;
    static constexpr int kTurns = 25;

    void rage(unsigned seed)
    {
        std::mt19937 random(seed);
        for (int i = 0; i < kTurns; ++i)
            m_turns.take(random);
        --m_left;
    }

    Turns m_turns;
    std::atomic<unsigned> m_left{kThreads};
    std::vector<std::thread> m_threads;
};

void expectNoKill(const LogCapture &log)
{
    EXPECT_EQ(log.count(kKilled), 0u);
    EXPECT_EQ(log.count(kDfuKilled), 0u);
}

void expectDiscovery()
{
    Host host;
    Host firmware(Mode::firmwareUpgrade);
    EXPECT_EQ(host.arrivals(1).at(0), kComingPenId);
    EXPECT_EQ(firmware.arrivals(1).at(0), kComingFirmwarePen);
}

struct Trouble {
    const char *name;
    /** What the service does over and over while the storm lasts; the number counts from 0. */
    std::function<void(pensim::Service &, int)> step;
};

void comeAndGo(pensim::Service &service, int number)
{
    service.rendezvous().shutDown(number % 2 == 0 ? Ending::close : Ending::reset);
    service.rendezvous().listen();
}

void sendFlood(pensim::Service &service, int)
{
    static const std::string messages = flood();
    service.rendezvous().send(messages);
}

void sendInFragments(pensim::Service &service, int number)
{
    service.rendezvous().setFragments(1 + static_cast<std::size_t>(number % 80), 1ms);
    service.undock(kComingPenId);
    service.redock(kComingPenId);
}

void staySilent(pensim::Service &service, int number)
{
    if (number % 2 == 0)
        service.rendezvous().onConnection(Reply::silence());
    else
        service.rendezvous().clearRules();
    service.rendezvous().onList(Reply::cut(static_cast<std::size_t>(number % 100)).then(Ending::none));
}

class ListenerStorm : public testing::TestWithParam<Trouble>
{
};

TEST_P(ListenerStorm, EndsWithEveryCallAnsweredAndNothingKilled)
{
    pensim::Service service({}, comingPens());
    service.start();
    {
        const LogCapture log;
        {
            const Storm ordinary(Mode::ordinary);
            const Storm firmware(Mode::firmwareUpgrade);
            for (int i = 0; !ordinary.isOver() || !firmware.isOver(); ++i) {
                GetParam().step(service, i);
                std::this_thread::sleep_for(5ms);
            }
        }
        expectNoKill(log);
    }
    service.rendezvous().clearRules();
    service.rendezvous().setFragments(0, 0ms);
    expectDiscovery();
}

INSTANTIATE_TEST_SUITE_P(WithAServiceThat, ListenerStorm,
                         testing::Values(Trouble{"ComesAndGoes", comeAndGo}, Trouble{"Floods", sendFlood},
                                         Trouble{"SendsInFragments", sendInFragments},
                                         Trouble{"StaysSilent", staySilent}),
                         [](const auto &trouble) { return std::string(trouble.param.name); });

TEST(ListenerFlood, ExitEndsItInTheMiddle)
{
    pensim::Service service({}, comingPens());
    service.start();
    const LogCapture log;
    {
        Host host;
        EXPECT_EQ(host.arrivals(1).at(0), kComingPenId);
        host.forget();
        service.rendezvous().send(flood());
        const std::vector<std::uint64_t> ids = host.arrivals(20);
        for (std::size_t i = 0; i < ids.size(); ++i)
            EXPECT_EQ(ids[i], i + 1);
    }
    expectNoKill(log);
    expectDiscovery();
}

} // namespace
