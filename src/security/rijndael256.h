#pragma once

#include "sys/secure_wipe.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>

namespace zel {

/** The Rijndael cipher with blocks and keys of 256 bits, 14 rounds. It can only encrypt, because the password
 *  hash needs no more. The destructor wipes the key schedule. One thread per object. */
class Rijndael256
{
public:
    static constexpr std::size_t kBlockSize = 32;
    static constexpr std::size_t kKeySize = 32;
    using ConstBlock = std::span<const std::uint8_t, kBlockSize>;
    using Block = std::span<std::uint8_t, kBlockSize>;

    explicit Rijndael256(std::span<const std::uint8_t, kKeySize> key);
    ~Rijndael256();
    Rijndael256(const Rijndael256 &) = delete;
    Rijndael256 &operator=(const Rijndael256 &) = delete;

    /** Both arguments may be the same block. */
    void encrypt(ConstBlock plain, Block cipher) const;

private:
    static constexpr std::size_t kColumns = kBlockSize / 4;
    static constexpr std::size_t kRounds = 14;

    std::array<std::uint32_t, kColumns *(kRounds + 1)> m_roundKeys;
};

} // namespace zel
