#pragma once

#include <cstdint>

namespace pensim::status {

// Fixed by the protocol.
inline constexpr std::int32_t unknownInstruction = -9001;
inline constexpr std::int32_t locked = -9003;
inline constexpr std::int32_t propertyRefused = -4013;

// This service's own: hosts take any other negative number as a plain failure.
inline constexpr std::int32_t noSuchPage = -4001;
inline constexpr std::int32_t noSession = -4002;
inline constexpr std::int32_t badArguments = -4003;
inline constexpr std::int32_t stalled = -4004; // a firmware-upgrade request that the state does not allow

} // namespace pensim::status
