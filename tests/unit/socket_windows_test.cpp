#include "net/owned_socket.h"

#include <gtest/gtest.h>

#include <windows.h>

// A host's child that held the socket would keep the pen's session when the host is gone.
TEST(SocketOnWindows, HandleIsNotInheritedByPrograms)
{
    zel::net::startUp();
    const zel::net::OwnedSocket socket(zel::net::createTcpSocket());
    DWORD flags = HANDLE_FLAG_INHERIT;
    const auto handle = reinterpret_cast<HANDLE>(static_cast<std::intptr_t>(socket.get()));
    ASSERT_TRUE(GetHandleInformation(handle, &flags));
    EXPECT_EQ(flags & HANDLE_FLAG_INHERIT, 0u);
}
