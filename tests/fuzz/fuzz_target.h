#pragma once

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <span>
#include <string>
#include <string_view>
#include <vector>

/** A fuzz target is one source file with one ZEL_FUZZ_TARGET(name) body, which is given `input`. Built with
 *  libFuzzer each is a program of its own; the ordinary build links all of them into a program that
 *  replays the corpus, so that they neither rot nor need a special compiler to reproduce a finding. */
namespace zel::fuzz {

using Input = std::span<const std::uint8_t>;

struct Target {
    const char *name;
    void (*run)(Input);
};

inline std::vector<Target> &targets()
{
    static std::vector<Target> all;
    return all;
}

inline bool registerTarget(const char *name, void (*run)(Input))
{
    targets().push_back({name, run});
    return true;
}

inline std::string_view asText(Input input)
{
    return {reinterpret_cast<const char *>(input.data()), input.size()};
}

/** Whether the bytes may announce a large array of elements that take no bytes. A few bytes make
 *  megabytes of tree then, within its bound, but all the time would go there; unit tests cover it. */
inline bool announcesManyBodilessElements(Input input)
{
    for (std::size_t i = 0; i + 3 < input.size(); ++i) {
        const bool isBodiless = input[i + 3] == 0x00 || input[i + 3] == 0x0B || input[i + 3] == 0x0F;
        if (input[i] == 0x09 && input[i + 1] != 0 && isBodiless)
            return true;
    }
    return false;
}

} // namespace zel::fuzz

#define ZEL_FUZZ_TARGET(NAME)                                                                                \
    static void fuzz_##NAME(zel::fuzz::Input input);                                                         \
    [[maybe_unused]] static const bool s_registered_##NAME = zel::fuzz::registerTarget(#NAME, fuzz_##NAME);  \
    static void fuzz_##NAME(zel::fuzz::Input input)

/** A property that holds for every input; a violation is a finding like a crash. */
#define ZEL_FUZZ_REQUIRE(CONDITION)                                                                          \
    do {                                                                                                     \
        if (!(CONDITION)) {                                                                                  \
            std::fprintf(stderr, "%s:%d: violated: %s\n", __FILE__, __LINE__, #CONDITION);                   \
            std::abort();                                                                                    \
        }                                                                                                    \
    } while (false)
