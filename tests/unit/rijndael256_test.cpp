#include "security/rijndael256.h"

#include "data/hash_vectors.h"
#include "support/hex.h"

#include <gtest/gtest.h>

#include <new>

namespace {

using Block = std::array<std::uint8_t, 32>;

Block encrypt(const Block &key, const Block &plain)
{
    Block cipher;
    zel::Rijndael256(key).encrypt(plain, cipher);
    return cipher;
}

Block block(const char *digits)
{
    return bytesOfHex<32>(digits);
}

} // namespace

TEST(Rijndael256, KeyIsGoneAfterTheScope)
{
    alignas(zel::Rijndael256) std::array<std::uint8_t, sizeof(zel::Rijndael256)> room{};
    auto *const cipher = new (room.data()) zel::Rijndael256(Block{1, 2, 3});
    EXPECT_NE(room, decltype(room){}) << "the round keys";
    cipher->~Rijndael256();
    EXPECT_EQ(room, decltype(room){});
}

TEST(Rijndael256, DigitsOfPiUnderDigitsOfEGiveThePublishedBlock)
{
    EXPECT_EQ(encrypt(block("2b7e151628aed2a6abf7158809cf4f3c762e7160f38b4da56a784d9045190cfe"),
                      block("3243f6a8885a308d313198a2e03707344a4093822299f31d0082efa98ec4e6c8")),
              block("a49406115dfb30a40418aafa4869b7c6a886ff31602a7dd19c889dc64f7e4e7a"));
}

TEST(Rijndael256, ZeroBlockUnderZeroKeyGivesTheKnownBlock)
{
    EXPECT_EQ(encrypt(Block{}, Block{}),
              block("c6227e7740b7e53b5cb77865278eab0726f62366d9aabad908936123a1fc8af3"));
}

TEST(Rijndael256, BlocksOfAnIndependentImplementationAreReproduced)
{
    for (const CipherVector &vector : kCipherVectors)
        EXPECT_EQ(encrypt(block(vector.key), block(vector.plain)), block(vector.cipher)) << vector.key;
}

TEST(Rijndael256, BlockIsEncryptedInPlace)
{
    const CipherVector &vector = kCipherVectors[0];
    const zel::Rijndael256 cipher(block(vector.key));
    Block bytes = block(vector.plain);
    cipher.encrypt(bytes, bytes);
    EXPECT_EQ(bytes, block(vector.cipher));
}

TEST(Rijndael256, OneScheduleEncryptsManyBlocks)
{
    const zel::Rijndael256 cipher{Block{}};
    Block first;
    Block second;
    cipher.encrypt(Block{}, first);
    cipher.encrypt(Block{}, second);
    EXPECT_EQ(first, second);
}
