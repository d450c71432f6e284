#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

namespace zel {

/** Sent to a pen instead of its password. It is valid for one pen only. */
using PasswordDigest = std::array<std::uint8_t, 32>;

/** Further bytes of a password are ignored. */
inline constexpr std::size_t kMaxPasswordLength = 255;

/** The digest of a password (NUL-terminated) for the pen with this id. Afterwards neither the password, nor
 *  the input of the hash, nor a key is left in memory. Any thread. */
PasswordDigest hashPassword(const char *password, std::uint64_t penId);

} // namespace zel
