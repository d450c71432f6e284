#include "pensim/digest.h"

#include "data/hash_vectors.h"
#include "support/hex.h"

#include <gtest/gtest.h>

namespace {

pensim::DigestBlock block(const char *hex)
{
    return bytesOfHex<32>(hex);
}

std::string alphabet(std::size_t length)
{
    std::string text;
    for (std::size_t i = 0; i < length; ++i)
        text += static_cast<char>('A' + i % 26);
    return text;
}

TEST(PensimDigest, CipherGivesTheFiguresOfAnIndependentImplementation)
{
    for (const CipherVector &vector : kCipherVectors)
        EXPECT_EQ(pensim::rijndael256(block(vector.key), block(vector.plain)), block(vector.cipher));
}

TEST(PensimDigest, DigestGivesTheFiguresOfAnIndependentImplementation)
{
    for (const HashVector &vector : kHashVectors)
        EXPECT_EQ(pensim::passwordDigest(alphabet(vector.passwordLength), vector.penId), block(vector.digest))
            << vector.passwordLength;
}

TEST(PensimDigest, DigestDependsOnTheChainingValue)
{
    pensim::DigestBlock other = pensim::kDefaultChainingValue;
    other[31] ^= 1;
    EXPECT_NE(pensim::passwordDigest("secret", 1, other), pensim::passwordDigest("secret", 1));
}

} // namespace
