#pragma once

#include "pen_description.h"

namespace pensim {

/** Property ids that the service itself gives a meaning to; a scenario may add any other. */
namespace property {
inline constexpr std::uint16_t penId = 0x0000;
inline constexpr std::uint16_t softwareVersion = 0x0001;
inline constexpr std::uint16_t freeMemory = 0x0003;
inline constexpr std::uint16_t battery = 0x000e;
inline constexpr std::uint16_t revisions = 0x0010;
inline constexpr std::uint16_t memory = 0x001a;
inline constexpr std::uint16_t clockDifference = 0x001f;
inline constexpr std::uint16_t systemTime = 0x0021;
inline constexpr std::uint16_t patternVersion = 0x0022;
inline constexpr std::uint16_t manufacturerData = 0x0023;
inline constexpr std::uint16_t brand = 0x0024;
inline constexpr std::uint16_t secureDelete = 0x002a;
inline constexpr std::uint16_t locale = 0x2009;
inline constexpr std::uint16_t ownerCard = 0x200a;
inline constexpr std::uint16_t ownerEmail = 0x200b;
inline constexpr std::uint16_t ownerPhone = 0x200c;
inline constexpr std::uint16_t publicProperties = 0x201a;
inline constexpr std::uint16_t penTime = 0x2021;
inline constexpr std::uint16_t autoPowerOff = 0x202a;
inline constexpr std::uint16_t bluetoothEnabled = 0x202e;
inline constexpr std::uint16_t bluetoothPin = 0x2203;
inline constexpr std::uint16_t discoverableAllowed = 0x2204;
inline constexpr std::uint16_t wakeUpTime = 0x2207;
inline constexpr std::uint16_t certificateAuthenticator = 0x2208;
inline constexpr std::uint16_t certificate = 0x2209;
inline constexpr std::uint16_t signingKey = 0x220a;
} // namespace property

/** Software versions from which pens know wake-up time and secure delete, and from which they know
 *  certificates, keys and encrypted data. */
inline constexpr std::uint16_t kWakeUpVersion = 0x0502;
inline constexpr std::uint16_t kSecurityVersion = 0x0503;

/** A pen's properties: what a host reads, and which writes the pen accepts. */
class Properties
{
public:
    explicit Properties(const PenSpec &spec);

    /** The null value when the pen has no such property. `usedBytes` is what the pen's pages take. */
    Value read(std::uint16_t id, std::uint64_t usedBytes) const;
    /** The status of the request: 0, or propertyRefused when the pen has no such property, does not let it be
     *  written, or finds the value unfit. */
    std::int32_t write(std::uint16_t id, const Value &value);
    /** Sets the value that is read from now on, whatever it is. */
    void set(std::uint16_t id, Value value);
    void setMemory(std::uint32_t bytes);
    std::uint32_t memorySize() const;
    /** Every property that the pen has, as it is read. */
    std::map<std::uint16_t, Value> all(std::uint64_t usedBytes) const;
    /** The properties whose values differ from those of a new pen with this description. */
    std::map<std::uint16_t, Value> changed(PenSpec spec) const;
    /** Stores the host's time, as a pen does when a host finds it. */
    void seeHost();

private:
    bool supports(std::uint16_t id) const;
    Value computed(std::uint16_t id, std::uint64_t usedBytes) const;

    std::uint64_t m_softwareVersion;
    std::int64_t m_clockOffset = 0; // milliseconds ahead of the host's clock
    std::map<std::uint16_t, Value> m_values;
    std::map<std::uint16_t, Value> m_forced; // by a scenario or a test
};

} // namespace pensim
