#include "hash_steps.h"

#include "hash_chaining_value.h"

#include <algorithm>
#include <array>
#include <bit>

namespace faults {

namespace {

constexpr std::size_t kBlock = 32;
constexpr std::size_t kRounds = 14;
constexpr std::size_t kLongestPassword = 255;

using Block = std::array<std::uint8_t, kBlock>;
using RoundKeys = std::array<std::uint8_t, kBlock *(kRounds + 1)>;
using Show = std::function<void(const char *, std::span<const std::uint8_t>)>;

constexpr std::uint8_t times2(std::uint8_t a)
{
    return static_cast<std::uint8_t>(a << 1 ^ (a >> 7) * 0x1B);
}

// All elements but 0 are powers of 3: p goes through them, and q, divided by 3 each time, through their
// inverses.
constexpr std::array<std::uint8_t, 256> makeSBox()
{
    constexpr std::uint8_t kInverseOf3 = 0xF6;
    std::array<std::uint8_t, 256> table{0x63};
    std::uint8_t p = 1;
    std::uint8_t q = 1;
    do {
        p = static_cast<std::uint8_t>(p ^ times2(p));
        std::uint8_t product = 0;
        std::uint8_t power = q;
        for (int bits = kInverseOf3; bits != 0; bits >>= 1, power = times2(power))
            product = static_cast<std::uint8_t>(product ^ (bits & 1) * power);
        q = product;
        table[p] = static_cast<std::uint8_t>(q ^ std::rotl(q, 1) ^ std::rotl(q, 2) ^ std::rotl(q, 3) ^
                                             std::rotl(q, 4) ^ 0x63);
    } while (p != 1);
    return table;
}

constexpr std::array<std::uint8_t, 256> kSBox = makeSBox();

void expandKey(RoundKeys &keys)
{
    std::uint8_t constant = 1;
    for (std::size_t at = kBlock; at < keys.size(); at += 4) {
        const bool first = at % kBlock == 0;
        for (std::size_t row = 0; row < 4; ++row) {
            std::uint8_t byte = keys[at - 4 + (first ? (row + 1) % 4 : row)];
            if (at % kBlock == 0 || at % kBlock == kBlock / 2)
                byte = kSBox[byte];
            keys[at + row] = static_cast<std::uint8_t>(keys[at - kBlock + row] ^ byte);
        }
        if (first) {
            keys[at] ^= constant;
            constant = times2(constant);
        }
    }
}

void substituteAndShift(Block &state)
{
    constexpr std::size_t kOffsets[4] = {0, 1, 3, 4};
    const Block old = state;
    for (std::size_t i = 0; i < kBlock; ++i)
        state[i] = kSBox[old[(i + 4 * kOffsets[i % 4]) % kBlock]];
}

void mixColumns(Block &state)
{
    for (std::size_t at = 0; at < kBlock; at += 4) {
        const std::uint8_t all =
            static_cast<std::uint8_t>(state[at] ^ state[at + 1] ^ state[at + 2] ^ state[at + 3]);
        const std::uint8_t first = state[at];
        for (std::size_t row = 0; row < 4; ++row) {
            const std::uint8_t next = row < 3 ? state[at + row + 1] : first;
            state[at + row] =
                static_cast<std::uint8_t>(state[at + row] ^ all ^ times2(state[at + row] ^ next));
        }
    }
}

void addBytes(Block &state, const std::uint8_t *bytes)
{
    for (std::size_t i = 0; i < kBlock; ++i)
        state[i] ^= bytes[i];
}

/** Of a key without a secret only the states are shown. */
void encrypt(const Block &key, Block &state, bool isSecretKey, const Show &show)
{
    RoundKeys keys{};
    std::ranges::copy(key, keys.begin());
    expandKey(keys);
    if (isSecretKey)
        show("a round key", std::span(keys).subspan(kBlock));
    addBytes(state, keys.data());
    for (std::size_t round = 1; round <= kRounds; ++round) {
        show("a state of the cipher", state);
        substituteAndShift(state);
        if (round < kRounds)
            mixColumns(state);
        addBytes(state, &keys[round * kBlock]);
    }
    show("a state of the cipher", state);
}

} // namespace

void showHashSteps(std::span<const std::uint8_t> password, std::uint64_t penId, const Show &show)
{
    const std::size_t length = std::min(password.size(), kLongestPassword);
    std::array<std::uint8_t, 288> input{};
    std::copy_n(password.begin(), length, input.begin());
    for (std::size_t i = 0; i < 8; ++i)
        input[length + 1 + i] = static_cast<std::uint8_t>(penId >> (56 - 8 * i));

    Block digest = zel::kHashChainingValue;
    for (std::size_t at = 0; at <= length + 9; at += kBlock) {
        Block block;
        std::copy_n(&input[at], kBlock, block.begin());
        Block state = digest;
        encrypt(block, state, at < length, show);
        addBytes(digest, state.data());
        show(at + kBlock <= length + 9 ? "a digest on the way" : "the digest", digest);
    }
}

} // namespace faults
