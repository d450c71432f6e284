// Sockets that cannot be started up fail when they are used; the start only tells it.
#include "failing_call.h"

#include "net/socket.h"
#include "support/log_capture.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string_view>

namespace faults {

namespace {

TEST(StartUpOfSockets, FailureIsLogged)
{
    const auto failure =
        std::find_if(callFailures().begin(), callFailures().end(),
                     [](const CallFailure &each) { return std::string_view(each.call) == "WSAStartup"; });
    ASSERT_NE(failure, callFailures().end());
    const LogCapture log;
    const FailingCall failing(*failure, 1);
    zel::net::startUp();
    EXPECT_EQ(failing.failed(), 1u);
    EXPECT_TRUE(log.contains(zel::LogLevel::Error, "[PspClient2] winsock startup failed"));
}

} // namespace

} // namespace faults
