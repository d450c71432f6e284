#include "host_pens.h"

#include "support/refused_threads.h"

#include <zel/firmware.hpp>

#include <cstdlib>
#include <optional>

namespace cpphost {
namespace {

using zel::test::RefusedThreads;

// The C library counts as started once it has tried.
TEST(CppStart, StartThatFailsCanBeTriedAgain)
{
    {
        const RefusedThreads refused;
        EXPECT_EQ(thrown([] { const zelpp::Library library; }), Errc::unexpected);
        EXPECT_EQ(thrown([] { const zelpp::DfuLibrary library; }), Errc::unexpected);
    }
    EXPECT_NO_THROW(zelpp::Library());
    EXPECT_NO_THROW(zelpp::DfuLibrary());
}

TEST(CppStart, RefreshThatFailsSaysSo)
{
    const zelpp::Library library;
    const zelpp::DfuLibrary upgrades;
    const RefusedThreads refused;
    const zelpp::Result<void> failed = library.tryRefresh();
    ASSERT_FALSE(failed);
    EXPECT_STREQ(failed.error().operation(), "zelEnumeratePens");
    const zelpp::Result<void> alsoFailed = upgrades.tryRefresh();
    ASSERT_FALSE(alsoFailed);
    EXPECT_STREQ(alsoFailed.error().operation(), "zelDfuInit");
}

[[noreturn]] void endWhileConnected()
{
    static pensim::Service service({}, {{penWithPages()}, {}});
    service.start();
    static std::optional<zelpp::Pen> pen; // goes after the library that it keeps running
    static const zelpp::Library library;
    pen = library.connect(library.wait(kPatience));
    std::exit(pen->productName() == "Brand" ? 7 : 1);
}

// In a child of this process, which has no threads yet.
TEST(CppExitDeathTest, ProcessMayEndWhileItIsConnected)
{
    EXPECT_EXIT(endWhileConnected(), testing::ExitedWithCode(7), "");
}

} // namespace
} // namespace cpphost
