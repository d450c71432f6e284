#include "commands/info_view.h"

#include <gtest/gtest.h>
#include <zel/zel.h>

namespace penctl {
namespace {

InfoView viewWith(uint32_t code)
{
    InfoView view;
    view.section("Power", "power");
    view.row("battery", "battery", {ZEL_OK, "87", 87});
    view.row("wake-up", "wakeUp", {code, "never", 0});
    return view;
}

} // namespace

TEST(InfoView, RowsStandUnderTheirHeading)
{
    EXPECT_EQ(viewWith(ZEL_OK).text(false), "Power\n"
                                            "  battery            87\n"
                                            "  wake-up            never\n");
}

TEST(InfoView, WhatIsNotToldHasItsReasonInItsPlace)
{
    EXPECT_EQ(viewWith(ZEL_ERR_PEN_LOCKED).text(false), "Power\n"
                                                        "  battery            87\n"
                                                        "  wake-up            (the pen is locked)\n");
}

TEST(InfoView, JsonHasNullAndTheReason)
{
    Json json;
    viewWith(ZEL_ERR_NOT_SUPPORTED).addTo(json);
    EXPECT_EQ(json.dump(),
              R"({"power":{"battery":87,"wakeUp":null},"unavailable":[{"name":"power.wakeUp","code":4,)"
              R"("reason":"the pen does not support this"}]})");
}

TEST(InfoView, LockedAndUnsupportedAreNoFailures)
{
    EXPECT_EQ(viewWith(ZEL_OK).firstFailure(), ZEL_OK);
    EXPECT_EQ(viewWith(ZEL_ERR_PEN_LOCKED).firstFailure(), ZEL_OK);
    EXPECT_EQ(viewWith(ZEL_ERR_NOT_SUPPORTED).firstFailure(), ZEL_OK);
    EXPECT_EQ(viewWith(ZEL_ERR_UNEXPECTED).firstFailure(), ZEL_ERR_UNEXPECTED);
}

} // namespace penctl
