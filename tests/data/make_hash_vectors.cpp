// Prints hash_vectors.h, from libmcrypt's Rijndael-256 alone:
//   g++ -std=c++20 -o /tmp/make_hash_vectors tests/data/make_hash_vectors.cpp -lmcrypt
//   /tmp/make_hash_vectors > tests/data/hash_vectors.h
#include <array>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <mcrypt.h>
#include <random>
#include <string>
#include <vector>

using Block = std::array<std::uint8_t, 32>;

static Block encrypt(Block key, Block block)
{
    char algorithm[] = "rijndael-256";
    char mode[] = "ecb";
    const MCRYPT module = mcrypt_module_open(algorithm, nullptr, mode, nullptr);
    if (module == MCRYPT_FAILED || mcrypt_generic_init(module, key.data(), 32, nullptr) < 0 ||
        mcrypt_generic(module, block.data(), 32) != 0)
        std::exit(1);
    mcrypt_generic_end(module);
    return block;
}

static Block hash(const std::string &password, std::uint64_t penId)
{
    std::vector<std::uint8_t> input(password.begin(),
                                    password.begin() +
                                        (password.size() < 255 ? static_cast<long>(password.size()) : 255));
    input.push_back(0);
    for (int byte = 7; byte >= 0; --byte)
        input.push_back(static_cast<std::uint8_t>(penId >> (8 * byte)));
    input.resize((input.size() / 32 + 1) * 32, 0);

    Block digest{0x6a, 0x09, 0xe6, 0x67, 0xbb, 0x67, 0xae, 0x85, 0x3c, 0x6e, 0xf3,
                 0x72, 0xa5, 0x4f, 0xf5, 0x3a, 0x51, 0x0e, 0x52, 0x7f, 0x9b, 0x05,
                 0x68, 0x8c, 0x1f, 0x83, 0xd9, 0xab, 0x5b, 0xe0, 0xcd, 0x19};
    for (std::size_t at = 0; at < input.size(); at += 32) {
        Block key;
        for (std::size_t i = 0; i < 32; ++i)
            key[i] = input[at + i];
        const Block encrypted = encrypt(key, digest);
        for (std::size_t i = 0; i < 32; ++i)
            digest[i] ^= encrypted[i];
    }
    return digest;
}

static std::string hex(const Block &block)
{
    std::string text;
    for (const std::uint8_t byte : block) {
        char digits[3];
        std::snprintf(digits, sizeof digits, "%02x", byte);
        text += digits;
    }
    return text;
}

int main()
{
    std::puts(
        "// Printed by make_hash_vectors.cpp, which has every figure from libmcrypt.\n"
        "#pragma once\n\n#include <cstddef>\n#include <cstdint>\n\n"
        "struct CipherVector {\n    const char *key;\n    const char *plain;\n    const char *cipher;\n};\n\n"
        "/** The password is that many bytes long: 'A', 'B', ... 'Z', 'A', ...; the chaining value is the\n"
        " *  default one. */\n"
        "struct HashVector {\n    std::size_t passwordLength;\n    std::uint64_t penId;\n"
        "    const char *digest;\n};\n\ninline constexpr CipherVector kCipherVectors[] = {");
    std::mt19937 random(1);
    for (int i = 0; i < 40; ++i) {
        Block key{}, plain{};
        for (std::uint8_t &byte : key)
            byte = static_cast<std::uint8_t>(random());
        for (std::uint8_t &byte : plain)
            byte = static_cast<std::uint8_t>(random());
        std::printf("    {\"%s\",\n     \"%s\",\n     \"%s\"},\n", hex(key).c_str(), hex(plain).c_str(),
                    hex(encrypt(key, plain)).c_str());
    }
    std::puts("};\n\ninline constexpr HashVector kHashVectors[] = {");
    for (const std::uint64_t penId : {0x0ull, 0x1ull, 0x12300ABCDEFull, 0x8000000000000000ull})
        for (const std::size_t length : {0, 1, 21, 22, 23, 24, 31, 32, 54, 55, 56, 254, 255, 256, 1000}) {
            std::string password;
            for (std::size_t i = 0; i < length; ++i)
                password += static_cast<char>('A' + i % 26);
            std::printf("    {%zu, 0x%016llx, \"%s\"},\n", length, static_cast<unsigned long long>(penId),
                        hex(hash(password, penId)).c_str());
        }
    std::puts("};");
}
