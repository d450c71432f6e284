#include "security/password_hash.h"

#include "data/hash_vectors.h"
#include "hash_chaining_value.h"
#include "security/rijndael256.h"
#include "support/hex.h"

#include <gtest/gtest.h>

namespace {

constexpr std::uint64_t kHashedPenId = 0x0000012300ABCDEF;

/** The password of the vectors: 'A', 'B', ... 'Z', 'A', ... */
std::string alphabet(std::size_t length)
{
    std::string text;
    for (std::size_t i = 0; i < length; ++i)
        text += static_cast<char>('A' + i % 26);
    return text;
}

/** H XOR the encryption of H under the block. */
zel::PasswordDigest chained(const zel::PasswordDigest &digest, const std::array<std::uint8_t, 32> &block)
{
    zel::PasswordDigest next;
    zel::Rijndael256(block).encrypt(digest, next);
    for (std::size_t i = 0; i < next.size(); ++i)
        next[i] = static_cast<std::uint8_t>(next[i] ^ digest[i]);
    return next;
}

} // namespace

TEST(PasswordHash, DigestsOfAnIndependentImplementationAreReproduced)
{
    const auto defaultStart =
        bytesOfHex<32>("6a09e667bb67ae853c6ef372a54ff53a510e527f9b05688c1f83d9ab5be0cd19");
    if (zel::kHashChainingValue != defaultStart)
        GTEST_SKIP() << "these digests start from the default chaining value; this build has another";
    for (const HashVector &vector : kHashVectors) {
        EXPECT_EQ(zel::hashPassword(alphabet(vector.passwordLength).c_str(), vector.penId),
                  bytesOfHex<32>(vector.digest))
            << vector.passwordLength << " bytes, pen " << vector.penId;
    }
}

TEST(PasswordHash, ShortInputIsOneBlockFilledUpWithZeros)
{
    const std::array<std::uint8_t, 32> block = {
        'p',  'e',  'n',                                // the password
        0x00,                                           // its end
        0x00, 0x00, 0x01, 0x23, 0x00, 0xAB, 0xCD, 0xEF, // pen id, most significant byte first
    };
    EXPECT_EQ(zel::hashPassword("pen", kHashedPenId), chained(zel::kHashChainingValue, block));
}

TEST(PasswordHash, EmptyPasswordIsItsEndAndThePenId)
{
    const std::array<std::uint8_t, 32> block = {
        0x00,                                           // the password's end
        0x00, 0x00, 0x01, 0x23, 0x00, 0xAB, 0xCD, 0xEF, // pen id
    };
    EXPECT_EQ(zel::hashPassword("", kHashedPenId), chained(zel::kHashChainingValue, block));
}

// An input of whole blocks is still closed by a block, of zeros alone.
TEST(PasswordHash, PasswordOf23BytesIsHashedInTwoBlocks)
{
    const std::array<std::uint8_t, 32> block = {
        'A',  'B',  'C',  'D',  'E',  'F',  'G',  'H',  'I', 'J', 'K', 'L', // the password
        'M',  'N',  'O',  'P',  'Q',  'R',  'S',  'T',  'U', 'V', 'W',      //
        0x00,                                                               // its end
        0x00, 0x00, 0x01, 0x23, 0x00, 0xAB, 0xCD, 0xEF,                     // pen id
    };
    EXPECT_EQ(zel::hashPassword("ABCDEFGHIJKLMNOPQRSTUVW", kHashedPenId),
              chained(chained(zel::kHashChainingValue, block), {}));
}

TEST(PasswordHash, PasswordOf24BytesLeavesOneByteForTheSecondBlock)
{
    const std::array<std::uint8_t, 32> first = {
        'A',  'B',  'C',  'D',  'E',  'F',  'G',  'H', 'I', 'J', 'K', 'L', // the password
        'M',  'N',  'O',  'P',  'Q',  'R',  'S',  'T', 'U', 'V', 'W', 'X', //
        0x00,                                                              // its end
        0x00, 0x00, 0x01, 0x23, 0x00, 0xAB, 0xCD,                          // pen id
    };
    const std::array<std::uint8_t, 32> second = {0xEF}; // the pen id's last byte
    EXPECT_EQ(zel::hashPassword("ABCDEFGHIJKLMNOPQRSTUVWX", kHashedPenId),
              chained(chained(zel::kHashChainingValue, first), second));
}

TEST(PasswordHash, SamePasswordGivesDifferentDigestsOnDifferentPens)
{
    EXPECT_NE(zel::hashPassword("secret", 1), zel::hashPassword("secret", 2));
    EXPECT_NE(zel::hashPassword("secret", 0), zel::hashPassword("secret", 1ull << 63));
}

TEST(PasswordHash, PasswordsAreToldApartUpToTheir255thByte)
{
    std::string other = alphabet(255);
    other.back() = '!';
    EXPECT_NE(zel::hashPassword(alphabet(255).c_str(), kHashedPenId),
              zel::hashPassword(other.c_str(), kHashedPenId));
    EXPECT_NE(zel::hashPassword(alphabet(254).c_str(), kHashedPenId),
              zel::hashPassword(alphabet(255).c_str(), kHashedPenId));
}

TEST(PasswordHash, BytesBeyondThe255thAreNotPartOfThePassword)
{
    const zel::PasswordDigest whole = zel::hashPassword(alphabet(255).c_str(), kHashedPenId);
    EXPECT_EQ(zel::hashPassword(alphabet(256).c_str(), kHashedPenId), whole);
    EXPECT_EQ(zel::hashPassword(alphabet(1000).c_str(), kHashedPenId), whole);
}

TEST(PasswordHash, BytesAbove7FAreTakenAsTheyAre)
{
    const std::array<std::uint8_t, 32> block = {
        0xC3, 0xA4, 0xFF,                               // the password
        0x00,                                           // its end
        0x00, 0x00, 0x01, 0x23, 0x00, 0xAB, 0xCD, 0xEF, // pen id
    };
    EXPECT_EQ(zel::hashPassword("\xC3\xA4\xFF", kHashedPenId), chained(zel::kHashChainingValue, block));
}
