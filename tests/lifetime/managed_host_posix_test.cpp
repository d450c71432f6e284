#include "child_process.h"

#include "pensim/service.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cstdlib>
#include <string>
#include <thread>

// Mono suspends threads by real-time signals: one that keeps them out keeps the collector waiting for ever.
TEST(ManagedHost, CollectsGarbageDuringAndAfterCallbacks)
{
    pensim::Service service;
    service.start();
    std::jthread pens([&](const std::stop_token &stop) {
        pensim::PenSpec spec;
        spec.id = 0x100000001;
        service.dock(spec);
        while (!stop.stop_requested()) {
            std::this_thread::sleep_for(std::chrono::milliseconds(20));
            service.undock(spec.id);
            service.redock(spec.id);
        }
    });
    const std::string limit = "60";
    EXPECT_EQ(lifetime::runChild("timeout", {"--signal=KILL", limit, "env",
                                             std::string("LD_LIBRARY_PATH=") + ZEL_LIFETIME_LIBRARY_FOLDER,
                                             "mono", ZEL_LIFETIME_MANAGED_HOST}),
              0);
}
