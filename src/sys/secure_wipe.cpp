#include "sys/secure_wipe.h"

namespace zel {

namespace {

// Kept out of line: only as a call of its own does it lie where the calls before it lay.
[[gnu::noinline]] void wipeStackBelow() noexcept
{
    std::array<std::uint8_t, 8192> room;
    secureWipe(room.data(), room.size());
}

// The C library copies and measures texts in the widest registers that the processor has, and leaves them
// there.
[[gnu::noinline]] void wipeVectorRegisters() noexcept
{
    asm volatile(".irp n, 0,1,2,3,4,5,6,7,8,9,10,11,12,13,14,15\n\t"
                 "pxor %%xmm\\n, %%xmm\\n\n\t"
                 ".endr" ::
                     : "xmm0", "xmm1", "xmm2", "xmm3", "xmm4", "xmm5", "xmm6", "xmm7", "xmm8", "xmm9",
                       "xmm10", "xmm11", "xmm12", "xmm13", "xmm14", "xmm15");
    if (__builtin_cpu_supports("avx") != 0)
        asm volatile("vzeroupper");
    // Which no function has to keep.
    if (__builtin_cpu_supports("avx512f") != 0)
        asm volatile(".irp n, 16,17,18,19,20,21,22,23,24,25,26,27,28,29,30,31\n\t"
                     "vpxorq %zmm\\n, %zmm\\n, %zmm\\n\n\t"
                     ".endr");
}

} // namespace

void wipeTraces() noexcept
{
    wipeStackBelow();
    wipeVectorRegisters();
}

} // namespace zel
