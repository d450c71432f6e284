#pragma once

#include <cstdint>
#include <functional>
#include <span>

namespace faults {

/** Shows each value that the hash of a password goes through: the round keys made of it, the cipher's state
 *  in every round, and the digest behind every block. Worked out here once more, byte by byte, and on the
 *  stack alone, so that wiping it leaves no trace of this. */
void showHashSteps(std::span<const std::uint8_t> password, std::uint64_t penId,
                   const std::function<void(const char *what, std::span<const std::uint8_t> bytes)> &show);

} // namespace faults
