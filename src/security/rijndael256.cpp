#include "security/rijndael256.h"

#include <bit>

namespace zel {

namespace {

// A column is stored in a 32-bit word, with row 0 in the most significant byte.
using ByteTable = std::array<std::uint8_t, 256>;
using WordTable = std::array<std::uint32_t, 256>;

constexpr std::size_t kKeyWords = Rijndael256::kKeySize / 4;

/** Multiplies by x in GF(2^8) modulo x^8 + x^4 + x^3 + x + 1. */
constexpr std::uint8_t timesX(std::uint8_t a)
{
    return static_cast<std::uint8_t>((a << 1) ^ ((a & 0x80) != 0 ? 0x1B : 0));
}

constexpr std::uint8_t multiply(std::uint8_t a, std::uint8_t b)
{
    std::uint8_t product = 0;
    for (; b != 0; b = static_cast<std::uint8_t>(b >> 1), a = timesX(a)) {
        if ((b & 1) != 0)
            product = static_cast<std::uint8_t>(product ^ a);
    }
    return product;
}

/** a to the power of 254, which is the inverse of a in GF(2^8); 0 gives 0. */
constexpr std::uint8_t invert(std::uint8_t a)
{
    std::uint8_t inverse = 1;
    std::uint8_t square = a;
    for (int exponent = 254; exponent != 0; exponent >>= 1, square = multiply(square, square)) {
        if ((exponent & 1) != 0)
            inverse = multiply(inverse, square);
    }
    return inverse;
}

constexpr std::uint8_t substitute(std::uint8_t a)
{
    const std::uint8_t b = invert(a);
    return static_cast<std::uint8_t>(b ^ std::rotl(b, 1) ^ std::rotl(b, 2) ^ std::rotl(b, 3) ^
                                     std::rotl(b, 4) ^ 0x63);
}

constexpr std::uint32_t word(std::uint8_t row0, std::uint8_t row1, std::uint8_t row2, std::uint8_t row3)
{
    return std::uint32_t{row0} << 24 | std::uint32_t{row1} << 16 | std::uint32_t{row2} << 8 | row3;
}

/** The byte of one row of a column. */
constexpr std::uint8_t row(std::uint32_t column, int number)
{
    return static_cast<std::uint8_t>(column >> (24 - 8 * number));
}

constexpr ByteTable makeSBox()
{
    ByteTable table{};
    for (std::size_t i = 0; i < table.size(); ++i)
        table[i] = substitute(static_cast<std::uint8_t>(i));
    return table;
}

constexpr ByteTable kSBox = makeSBox();

/** SubBytes and MixColumns for a byte in row 0. For the other rows, rotate the result. */
constexpr WordTable makeMixTable()
{
    WordTable table{};
    for (std::size_t i = 0; i < table.size(); ++i) {
        const std::uint8_t s = kSBox[i];
        table[i] = word(multiply(s, 2), s, s, multiply(s, 3));
    }
    return table;
}

constexpr WordTable kMix = makeMixTable();

std::uint32_t substituteWord(std::uint32_t column)
{
    return word(kSBox[row(column, 0)], kSBox[row(column, 1)], kSBox[row(column, 2)], kSBox[row(column, 3)]);
}

std::uint32_t load(const std::uint8_t *bytes)
{
    return word(bytes[0], bytes[1], bytes[2], bytes[3]);
}

void store(std::uint32_t column, std::uint8_t *bytes)
{
    for (int i = 0; i < 4; ++i)
        bytes[i] = row(column, i);
}

/** The cipher's working state. It starts as block XOR key, so it is wiped at the end of its scope. */
struct State {
    std::array<std::uint32_t, 8> columns;

    ~State() { secureWipe(columns.data(), sizeof columns); }

    /** ShiftRows for a block of eight columns: column i takes its rows from the columns i, i + 1, i + 3 and i
     *  + 4. */
    std::uint32_t shifted(std::size_t i) const
    {
        return (columns[i] & 0xFF000000) | (columns[(i + 1) % 8] & 0x00FF0000) |
               (columns[(i + 3) % 8] & 0x0000FF00) | (columns[(i + 4) % 8] & 0x000000FF);
    }
};

std::uint32_t mixColumn(std::uint32_t column)
{
    return kMix[row(column, 0)] ^ std::rotr(kMix[row(column, 1)], 8) ^ std::rotr(kMix[row(column, 2)], 16) ^
           std::rotr(kMix[row(column, 3)], 24);
}

} // namespace

Rijndael256::Rijndael256(std::span<const std::uint8_t, kKeySize> key)
{
    for (std::size_t i = 0; i < kKeyWords; ++i)
        m_roundKeys[i] = load(&key[4 * i]);

    std::uint8_t roundConstant = 1;
    for (std::size_t i = kKeyWords; i < m_roundKeys.size(); ++i) {
        std::uint32_t next = m_roundKeys[i - 1];
        if (i % kKeyWords == 0) {
            next = substituteWord(std::rotl(next, 8)) ^ word(roundConstant, 0, 0, 0);
            roundConstant = timesX(roundConstant);
        } else if (i % kKeyWords == 4) {
            next = substituteWord(next);
        }
        m_roundKeys[i] = m_roundKeys[i - kKeyWords] ^ next;
    }
}

Rijndael256::~Rijndael256()
{
    secureWipe(m_roundKeys.data(), sizeof m_roundKeys);
}

void Rijndael256::encrypt(ConstBlock plain, Block cipher) const
{
    State state;
    State next;
    for (std::size_t i = 0; i < kColumns; ++i)
        state.columns[i] = load(&plain[4 * i]) ^ m_roundKeys[i];

    const std::uint32_t *roundKey = &m_roundKeys[kColumns];
    for (std::size_t round = 1; round < kRounds; ++round, roundKey += kColumns) {
        for (std::size_t i = 0; i < kColumns; ++i)
            next.columns[i] = mixColumn(state.shifted(i)) ^ roundKey[i];
        state.columns.swap(next.columns);
    }
    for (std::size_t i = 0; i < kColumns; ++i)
        store(substituteWord(state.shifted(i)) ^ roundKey[i], &cipher[4 * i]);
}

} // namespace zel
