#include "digest.h"

#include <algorithm>
#include <bit>
#include <vector>

namespace pensim {

namespace {

constexpr int kColumns = 8; // of four bytes, in the block and in the key
constexpr int kRounds = 14;

std::uint8_t times2(std::uint8_t a)
{
    return static_cast<std::uint8_t>(a << 1 ^ (a & 0x80 ? 0x1b : 0));
}

// Product in GF(2^8) modulo x^8 + x^4 + x^3 + x + 1.
std::uint8_t product(std::uint8_t a, std::uint8_t b)
{
    std::uint8_t sum = 0;
    for (; b != 0; b = static_cast<std::uint8_t>(b >> 1), a = times2(a))
        if (b & 1)
            sum ^= a;
    return sum;
}

// a^254 = a^2 a^4 .. a^128, which is 1/a, and 0 for 0.
std::uint8_t inverse(std::uint8_t a)
{
    std::uint8_t result = 1;
    for (int i = 0; i < 7; ++i) {
        a = product(a, a);
        result = product(result, a);
    }
    return result;
}

std::uint8_t substitute(std::uint8_t a)
{
    const std::uint8_t b = inverse(a);
    return static_cast<std::uint8_t>(b ^ std::rotl(b, 1) ^ std::rotl(b, 2) ^ std::rotl(b, 3) ^
                                     std::rotl(b, 4) ^ 0x63);
}

using Column = std::array<std::uint8_t, 4>;

Column substitute(Column column)
{
    for (std::uint8_t &byte : column)
        byte = substitute(byte);
    return column;
}

std::vector<Column> expandKey(const DigestBlock &key)
{
    std::vector<Column> columns;
    for (std::size_t i = 0; i < key.size(); i += 4)
        columns.push_back({key[i], key[i + 1], key[i + 2], key[i + 3]});
    std::uint8_t roundConstant = 1;
    while (columns.size() < kColumns * (kRounds + 1)) {
        Column next = columns.back();
        if (columns.size() % kColumns == 0) {
            std::rotate(next.begin(), next.begin() + 1, next.end());
            next = substitute(next);
            next[0] ^= roundConstant;
            roundConstant = times2(roundConstant);
        } else if (columns.size() % kColumns == 4) {
            next = substitute(next);
        }
        const Column &before = columns[columns.size() - kColumns];
        for (std::size_t row = 0; row < 4; ++row)
            next[row] ^= before[row];
        columns.push_back(next);
    }
    return columns;
}

void addRoundKey(DigestBlock &block, const std::vector<Column> &columns, int round)
{
    for (std::size_t i = 0; i < block.size(); ++i)
        block[i] ^= columns[static_cast<std::size_t>(round * kColumns) + i / 4][i % 4];
}

// Row r turns left by as many columns as Rijndael fixes for blocks of eight.
void shiftRows(DigestBlock &block)
{
    constexpr std::size_t offsets[4] = {0, 1, 3, 4};
    const DigestBlock old = block;
    for (std::size_t i = 0; i < block.size(); ++i)
        block[i] = old[(i + 4 * offsets[i % 4]) % block.size()];
}

void mixColumns(DigestBlock &block)
{
    for (std::size_t i = 0; i < block.size(); i += 4) {
        const Column old = {block[i], block[i + 1], block[i + 2], block[i + 3]};
        for (std::size_t row = 0; row < 4; ++row)
            block[i + row] = static_cast<std::uint8_t>(product(old[row], 2) ^ product(old[(row + 1) % 4], 3) ^
                                                       old[(row + 2) % 4] ^ old[(row + 3) % 4]);
    }
}

} // namespace

DigestBlock rijndael256(const DigestBlock &key, DigestBlock block)
{
    const std::vector<Column> columns = expandKey(key);
    addRoundKey(block, columns, 0);
    for (int round = 1; round <= kRounds; ++round) {
        std::transform(block.begin(), block.end(), block.begin(),
                       [](std::uint8_t byte) { return substitute(byte); });
        shiftRows(block);
        if (round < kRounds)
            mixColumns(block);
        addRoundKey(block, columns, round);
    }
    return block;
}

DigestBlock passwordDigest(std::string_view password, std::uint64_t penId, const DigestBlock &chainingValue)
{
    constexpr std::size_t longest = 255;
    password = password.substr(0, longest);
    std::vector<std::uint8_t> input(password.begin(), password.end());
    input.push_back(0);
    for (int shift = 56; shift >= 0; shift -= 8)
        input.push_back(static_cast<std::uint8_t>(penId >> shift));
    input.resize((input.size() / chainingValue.size() + 1) * chainingValue.size());

    DigestBlock digest = chainingValue;
    for (std::size_t at = 0; at < input.size(); at += digest.size()) {
        DigestBlock key;
        std::copy_n(input.begin() + static_cast<std::ptrdiff_t>(at), key.size(), key.begin());
        const DigestBlock mixed = rijndael256(key, digest);
        for (std::size_t i = 0; i < digest.size(); ++i)
            digest[i] ^= mixed[i];
    }
    return digest;
}

} // namespace pensim
