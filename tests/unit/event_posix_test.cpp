#include "sys/event.h"
#include "sys/exceptions.h"

#include <gtest/gtest.h>

#include <string>

#include <sys/resource.h>

// A host without descriptors left gets no event that can never be set.
TEST(EventOnPosix, SystemThatGivesNoDescriptorIsReported)
{
    rlimit usual{};
    ASSERT_EQ(getrlimit(RLIMIT_NOFILE, &usual), 0);
    const rlimit none{0, usual.rlim_max};
    std::string message;
    ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &none), 0);
    try {
        const zel::LEvent event(true, false);
    } catch (const zel::ZELException &e) {
        message = e.what();
    }
    ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &usual), 0);
    EXPECT_EQ(message, "Unable to create new event");
}
