#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

namespace zel {

/** What unlocks a pen in place of its password. It is bound to one pen, and goes over the wire. */
using PasswordDigest = std::array<std::uint8_t, 32>;

/** Bytes of a password beyond this count are not part of it. */
inline constexpr std::size_t kMaxPasswordLength = 255;

/** The digest of a password (NUL-terminated) for the pen with this id. Leaves no trace of the
 *  password, of the hash's input or of any key in memory. Any thread. */
PasswordDigest hashPassword(const char *password, std::uint64_t penId);

} // namespace zel
