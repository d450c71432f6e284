#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>

extern "C" std::uintptr_t __stack_chk_guard;

namespace {

// STATUS_STACK_BUFFER_OVERRUN, which Windows gives every fast fail.
constexpr std::uint32_t kFastFail = 0xC0000409;

// Keeps the compiler from dropping what was written, or from knowing the value.
template <class T>
void keep(T &value)
{
    asm volatile("" : "+m"(value) : : "memory");
}

[[gnu::noinline]] void overrunFrame()
{
    char frame[16];
    char *byte = frame;
    keep(byte);
    for (int i = 0; i < 64; ++i)
        *byte++ = 'x';
    keep(frame);
}

[[gnu::noinline]] void copyBeyondDestination()
{
    static constexpr char text[] = "twelve bytes";
    std::size_t length = sizeof text;
    keep(length);
    char destination[8];
    std::memcpy(destination, text, length);
    keep(destination);
}

} // namespace

TEST(StackGuard, DiffersFromZeroAndStartsWithAZeroByte)
{
    EXPECT_NE(__stack_chk_guard, 0u);
    EXPECT_EQ(__stack_chk_guard & 0xff, 0u);
}

TEST(StackGuard, OverrunFrameEndsTheProcess)
{
    EXPECT_EXIT(overrunFrame(), testing::ExitedWithCode(static_cast<int>(kFastFail)), "");
}

TEST(StackGuard, FortifiedCopyBeyondItsDestinationEndsTheProcess)
{
    EXPECT_EXIT(copyBeyondDestination(), testing::ExitedWithCode(static_cast<int>(kFastFail)), "");
}
