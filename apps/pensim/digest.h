#pragma once

#include <array>
#include <cstdint>
#include <string_view>

namespace pensim {

using DigestBlock = std::array<std::uint8_t, 32>;

/** What the password digest starts from, unless a scenario says otherwise; pens and hosts must agree on it.
 */
inline constexpr DigestBlock kDefaultChainingValue = {
    0x6a, 0x09, 0xe6, 0x67, 0xbb, 0x67, 0xae, 0x85, 0x3c, 0x6e, 0xf3, 0x72, 0xa5, 0x4f, 0xf5, 0x3a,
    0x51, 0x0e, 0x52, 0x7f, 0x9b, 0x05, 0x68, 0x8c, 0x1f, 0x83, 0xd9, 0xab, 0x5b, 0xe0, 0xcd, 0x19};

/** Rijndael with blocks and keys of 256 bits. It computes in the field directly, without tables: slow, but
 *  easy to check. */
DigestBlock rijndael256(const DigestBlock &key, DigestBlock block);

/** The 32 bytes by which a host proves that it knows the password: Davies-Meyer over the password, a zero
 *  byte and the pen id, the last block (even an empty one) filled with zeros. */
DigestBlock passwordDigest(std::string_view password, std::uint64_t penId,
                           const DigestBlock &chainingValue = kDefaultChainingValue);

} // namespace pensim
