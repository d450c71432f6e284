#include "fuzz/fuzz_target.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    zel::fuzz::targets().front().run({data, size});
    return 0;
}
