#pragma once

#include <cstdint>

/** The pen properties that the library reads and writes. The numbers are fixed by the pens. */
namespace zel::property {

// Pen properties
inline constexpr std::uint16_t PEN_ID = 0x0000;
inline constexpr std::uint16_t PEN_SOFTWARE_VERSION = 0x0001;
inline constexpr std::uint16_t PEN_FREE_MEMORY = 0x0003;
inline constexpr std::uint16_t BATTERY_LEVEL_VERBOSE = 0x000e;
inline constexpr std::uint16_t PEN_REVISIONS = 0x0010;
inline constexpr std::uint16_t PEN_PROPERTIES_RANGE = 0x001a;
inline constexpr std::uint16_t DAS_DIFF = 0x001f;
inline constexpr std::uint16_t SYSTEM_TIME = 0x0021;
inline constexpr std::uint16_t PGC_VERSION = 0x0022;
inline constexpr std::uint16_t MANUFACTURER_DATA = 0x0023;
inline constexpr std::uint16_t PEN_BRAND = 0x0024;
inline constexpr std::uint16_t SEC_SDE = 0x002a;

// Global properties
inline constexpr std::uint16_t PEN_OWNER_LOCALE = 0x2009;
inline constexpr std::uint16_t PEN_OWNER_VCARD = 0x200a;
inline constexpr std::uint16_t PEN_OWNER_EMAIL = 0x200b;
inline constexpr std::uint16_t PEN_OWNER_CELL_PHONE = 0x200c;
inline constexpr std::uint16_t UNNAMED_201A = 0x201a; // a list that is read before the user data
inline constexpr std::uint16_t PEN_TIME = 0x2021;
inline constexpr std::uint16_t AUTO_POWER_OFF = 0x202a;
inline constexpr std::uint16_t BT_ENABLED = 0x202e;

// Bluetooth and security properties
inline constexpr std::uint16_t BT_PIN = 0x2203;
inline constexpr std::uint16_t DISCOVERABLE_ALLOWED = 0x2204;
inline constexpr std::uint16_t PEN_WAKE_UP_TIME = 0x2207;
inline constexpr std::uint16_t CERTIFICATE_AUTHENTICATOR = 0x2208;
inline constexpr std::uint16_t CERTIFICATE = 0x2209;
inline constexpr std::uint16_t SIGNING_KEY = 0x220a;

} // namespace zel::property
