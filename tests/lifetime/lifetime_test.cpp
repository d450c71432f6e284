// The library at the ends of its life: while the process ends, when it is unloaded, and when a runtime
// suspends its thread. Each case is a host of its own in a child process; the pen service is here.
#include "child_process.h"

#include "pensim/request.h"
#include "pensim/service.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <filesystem>
#include <string>
#include <thread>

namespace {

constexpr std::uint64_t kPenId = 0x12300abcdef;
constexpr std::uint64_t kDfuPenId = 0x100000001;
constexpr std::uint64_t kRestlessPenId = 0x100000002;

/** Programs are in the folder of this one, the library where the build leaves it. */
std::string path(const std::string &file)
{
    return (std::filesystem::path(ZEL_LIFETIME_FOLDER) / file).string();
}

/** A pen of each mode. */
void dockPens(pensim::Service &service)
{
    namespace instruction = pensim::instruction;
    pensim::PenSpec pen;
    pen.id = kPenId;
    // Of sizes that the library keeps in different places.
    for (const std::uint32_t size : {100u, 5000u, 200000u})
        pen.pages.push_back({size, pensim::Value::binary(pensim::generatedStrokes(size, size)), {}});
    service.dock(pen).onInstruction(instruction::clearStrokes, pensim::Reply::withStatus(0)); // they stay
    pensim::PenSpec dfuPen;
    dfuPen.id = kDfuPenId;
    dfuPen.dfuMode = true;
    pensim::Pen &inDfuMode = service.dock(dfuPen);
    // Each of these is done in no time and changes nothing, so that it can be asked again.
    for (const std::uint32_t request :
         {instruction::dfuDownload, instruction::dfuClearStatus, instruction::dfuAbort,
          instruction::dfuDetach, instruction::dfuDetachBoot, instruction::dfuResetPort})
        inDfuMode.onInstruction(request, pensim::Reply::withStatus(0));
}

/** A pen that comes and goes as long as this lives. */
class RestlessPen
{
public:
    explicit RestlessPen(pensim::Service &service) : m_service(&service) {}
    ~RestlessPen()
    {
        m_stop = true;
        m_thread.join();
    }
    RestlessPen(const RestlessPen &) = delete;
    RestlessPen &operator=(const RestlessPen &) = delete;

private:
    void comeAndGo()
    {
        pensim::PenSpec spec;
        spec.id = kRestlessPenId;
        m_service->dock(spec);
        while (!m_stop) {
            std::this_thread::sleep_for(std::chrono::milliseconds(20));
            m_service->undock(kRestlessPenId);
            m_service->redock(kRestlessPenId);
        }
    }

    pensim::Service *m_service;
    std::atomic<bool> m_stop{false};
    std::thread m_thread{[this] { comeAndGo(); }};
};

class Lifetime : public testing::Test
{
protected:
    Lifetime() { m_service.start(); }

    pensim::Service m_service;
};

/** With the library's objects, and with the shared library. */
class LifetimeOfBoth : public testing::TestWithParam<std::string>
{
protected:
    LifetimeOfBoth()
    {
        m_service.start();
        dockPens(m_service);
    }

    pensim::Service m_service;
};

INSTANTIATE_TEST_SUITE_P(Ending, LifetimeOfBoth, testing::Values("static", "shared"),
                         [](const auto &form) { return form.param; });

} // namespace

TEST_P(LifetimeOfBoth, ExportsWorkInAHandlerThatWasInstalledBeforeTheirFirstUse)
{
    EXPECT_EQ(lifetime::runChild(path("zel_late_host_" + GetParam()), {"handler"}), 0);
}

TEST_P(LifetimeOfBoth, ExportsWorkOnAThreadThatOutlivesMain)
{
    EXPECT_EQ(lifetime::runChild(path("zel_late_host_" + GetParam()), {"thread"}), 0);
}

TEST_F(Lifetime, LoadingAndUnloadingLeavesNothingBehind)
{
    EXPECT_EQ(lifetime::runChild(path("zel_loading_host"), {"cycles", ZEL_LIFETIME_LIBRARY}), 0);
}

TEST_F(Lifetime, ListenerGoesOnWhenItsHostHasUnloadedTheLibrary)
{
    const RestlessPen pen(m_service);
    EXPECT_EQ(lifetime::runChild(path("zel_loading_host"), {"forgotten", ZEL_LIFETIME_LIBRARY}), 0);
}

TEST_F(Lifetime, KilledThreadOutlivesTheUnloadingOfTheLibrary)
{
    dockPens(m_service);
    EXPECT_EQ(lifetime::runChild(path("zel_loading_host"), {"killed", ZEL_LIFETIME_LIBRARY}), 0);
}

TEST_F(Lifetime, HostsFunctionOfAnExportsNameIsNotCalledFromInside)
{
    dockPens(m_service);
    EXPECT_EQ(lifetime::runChild(path("zel_loading_host"), {"namesake", ZEL_LIFETIME_LIBRARY}), 0);
}
