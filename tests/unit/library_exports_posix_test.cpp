// What is left when the listener of either mode cannot be started.
#include "dfu/dfu_listener.h"
#include "session/manager.h"
#include "support/lacking_descriptors.h"
#include "support/refused_threads.h"

#include "zel/zel.h"

#include <gtest/gtest.h>

#include <ostream>

namespace {

using namespace zel;

void freeAnnounced(DiscoveryHandle *record, void *)
{
    zelFreeDiscoveryHandle(&record);
}

struct Mode {
    const char *name;
    uint32_t (*initialise)();
    uint32_t (*exit)();
};

const Mode kModes[] = {
    {"Pens", [] { return zelInitialize(freeAnnounced, freeAnnounced, nullptr); }, zelExit},
    {"Firmware", [] { return zelDfuInit(nullptr, freeAnnounced, freeAnnounced); }, zelDfuExit},
};

void PrintTo(const Mode &mode, std::ostream *out)
{
    *out << mode.name;
}

class FailedStart : public testing::TestWithParam<Mode>
{
protected:
    /** It counts as initialised, and ends and starts again as usual. */
    static void expectInitialised()
    {
        EXPECT_EQ(GetParam().initialise(), ZEL_ERR_ALREADY_INITIALIZED);
        EXPECT_EQ(GetParam().exit(), ZEL_OK);
        EXPECT_EQ(GetParam().initialise(), ZEL_OK);
        EXPECT_EQ(GetParam().exit(), ZEL_OK);
    }
};

TEST_P(FailedStart, WithoutADescriptorForTheThreadIsRefusedAndCountsAsInitialised)
{
    {
        const test::LackingDescriptors lacking(1); // one for the client's event, none for the thread's
        EXPECT_EQ(GetParam().initialise(), ZEL_ERR_INVALID_ARGUMENT);
    }
    expectInitialised();
}

TEST_P(FailedStart, WithoutAThreadIsUnexpectedAndCountsAsInitialised)
{
    {
        const test::RefusedThreads refused;
        EXPECT_EQ(GetParam().initialise(), ZEL_ERR_UNEXPECTED);
    }
    expectInitialised();
}

INSTANTIATE_TEST_SUITE_P(Modes, FailedStart, testing::ValuesIn(kModes),
                         [](const auto &mode) { return std::string(mode.param.name); });

TEST(FailedEnumeration, LeavesTheLibraryInitialisedForTheNext)
{
    ASSERT_EQ(zelInitialize(freeAnnounced, freeAnnounced, nullptr), ZEL_OK);
    {
        const test::LackingDescriptors lacking(test::LackingDescriptors::kNone);
        EXPECT_EQ(zelEnumeratePens(), ZEL_ERR_INVALID_ARGUMENT);
    }
    {
        const test::RefusedThreads refused;
        EXPECT_EQ(zelEnumeratePens(), ZEL_ERR_UNEXPECTED);
    }
    EXPECT_EQ(zelEnumeratePens(), ZEL_OK);
    EXPECT_EQ(zelExit(), ZEL_OK);
}

} // namespace
