// Checks the cipher and the password hash against libmcrypt. Built where that library is.
#include "security/password_hash.h"
#include "security/rijndael256.h"

#include "hash_chaining_value.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <mcrypt.h>
#include <random>
#include <stdexcept>

namespace {

using Block = std::array<std::uint8_t, 32>;

/** One block encrypted by libmcrypt. */
Block reference(Block key, Block block)
{
    char algorithm[] = "rijndael-256";
    char mode[] = "ecb";
    const MCRYPT module = mcrypt_module_open(algorithm, nullptr, mode, nullptr);
    if (module == MCRYPT_FAILED || mcrypt_generic_init(module, key.data(), 32, nullptr) < 0 ||
        mcrypt_generic(module, block.data(), 32) != 0)
        throw std::runtime_error("libmcrypt has no rijndael-256");
    mcrypt_generic_end(module);
    return block;
}

/** The construction in other words: pad to blocks, then chain. */
Block referenceHash(const std::string &password, std::uint64_t penId)
{
    std::string input = password.substr(0, 255);
    input += '\0';
    for (int byte = 7; byte >= 0; --byte)
        input += static_cast<char>(penId >> (8 * byte));
    input.resize((input.size() / 32 + 1) * 32);

    Block digest = zel::kHashChainingValue;
    for (std::size_t at = 0; at < input.size(); at += 32) {
        Block key;
        std::copy_n(input.begin() + static_cast<std::ptrdiff_t>(at), 32, key.begin());
        const Block encrypted = reference(key, digest);
        for (std::size_t i = 0; i < digest.size(); ++i)
            digest[i] = static_cast<std::uint8_t>(digest[i] ^ encrypted[i]);
    }
    return digest;
}

class Random
{
public:
    explicit Random(std::uint32_t seed) : m_engine(seed) {}

    std::uint64_t below(std::uint64_t limit) { return m_engine() % limit; }
    std::uint64_t number() { return m_engine(); }

    Block block()
    {
        Block bytes;
        std::generate(bytes.begin(), bytes.end(), [&] { return static_cast<std::uint8_t>(m_engine()); });
        return bytes;
    }

private:
    std::mt19937_64 m_engine;
};

std::uint32_t freshSeed()
{
    return std::random_device{}();
}

} // namespace

TEST(Rijndael256, TwoThousandRandomBlocksAgreeWithLibmcrypt)
{
    const std::uint32_t seed = freshSeed();
    SCOPED_TRACE(seed);
    Random random(seed);
    for (int i = 0; i < 2000; ++i) {
        const Block key = random.block();
        const Block plain = random.block();
        Block cipher;
        zel::Rijndael256(key).encrypt(plain, cipher);
        ASSERT_EQ(cipher, reference(key, plain)) << "block " << i;
    }
}

TEST(PasswordHash, DigestsOfRandomPasswordsAgreeWithTheConstructionOverLibmcrypt)
{
    const std::uint32_t seed = freshSeed();
    SCOPED_TRACE(seed);
    Random random(seed);
    for (int i = 0; i < 200; ++i) {
        std::string password(random.below(300), '\0');
        for (char &byte : password)
            byte = static_cast<char>(1 + random.below(255));
        const std::uint64_t penId = random.number();
        ASSERT_EQ(zel::hashPassword(password.c_str(), penId), referenceHash(password, penId))
            << "password " << i << ", " << password.size() << " bytes";
    }
}
