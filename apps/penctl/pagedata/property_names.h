#pragma once

#include <cstdint>
#include <string>

namespace penctl {

/** How a property's number is best read. */
enum class NumberStyle { Decimal, Hexadecimal, Time };

struct PropertyInfo {
    uint16_t id;
    const char *name;
    NumberStyle style;
};

/** What is known of a property, or nothing. */
const PropertyInfo *findProperty(uint16_t id);

/** The property's name, or "0x%04x" when it has none. */
std::string propertyName(uint16_t id);

} // namespace penctl
