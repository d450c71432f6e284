#include "child_process.h"

#include "pensim/service.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <string>

namespace {

class PluginHost : public testing::TestWithParam<std::string>
{
};

INSTANTIATE_TEST_SUITE_P(When, PluginHost, testing::Values("unload", "end"),
                         [](const auto &mode) { return mode.param; });

} // namespace

TEST_P(PluginHost, DllMainOfAPluginEndsTheLibraryWithoutAKill)
{
    pensim::Service service;
    service.start();
    pensim::PenSpec spec;
    spec.id = 0x100000001;
    service.dock(spec);
    const std::string host = ZEL_LIFETIME_FOLDER "/zel_plugin_host_";
    for (const char *form : {"static", "shared"}) {
        const std::string file = host + GetParam() + ".done";
        std::filesystem::remove(file);
        EXPECT_EQ(lifetime::runChild(host + form, {GetParam(), file}), 0);
        EXPECT_TRUE(std::filesystem::exists(file)) << form;
    }
}
