#include "pagedata/property_names.h"

#include <algorithm>
#include <array>

#include <fmt/format.h>

namespace penctl {

namespace {

constexpr std::array kProperties = {
    PropertyInfo{0x0000, "PEN_ID", NumberStyle::Hexadecimal},
    PropertyInfo{0x0001, "PEN_SOFTWARE_VERSION", NumberStyle::Hexadecimal},
    PropertyInfo{0x0003, "PEN_FREE_MEMORY", NumberStyle::Decimal},
    PropertyInfo{0x000e, "BATTERY_LEVEL_VERBOSE", NumberStyle::Decimal},
    PropertyInfo{0x0010, "PEN_REVISIONS", NumberStyle::Decimal},
    PropertyInfo{0x001a, "PEN_PROPERTIES_RANGE", NumberStyle::Decimal},
    PropertyInfo{0x001f, "DAS_DIFF", NumberStyle::Decimal},
    PropertyInfo{0x0021, "SYSTEM_TIME", NumberStyle::Time},
    PropertyInfo{0x0022, "PGC_VERSION", NumberStyle::Decimal},
    PropertyInfo{0x0023, "MANUFACTURER_DATA", NumberStyle::Decimal},
    PropertyInfo{0x0024, "PEN_BRAND", NumberStyle::Decimal},
    PropertyInfo{0x002a, "SEC_SDE", NumberStyle::Decimal},
    PropertyInfo{0x2009, "PEN_OWNER_LOCALE", NumberStyle::Decimal},
    PropertyInfo{0x200a, "PEN_OWNER_VCARD", NumberStyle::Decimal},
    PropertyInfo{0x200b, "PEN_OWNER_EMAIL", NumberStyle::Decimal},
    PropertyInfo{0x200c, "PEN_OWNER_CELL_PHONE", NumberStyle::Decimal},
    PropertyInfo{0x2021, "PEN_TIME", NumberStyle::Time},
    PropertyInfo{0x202a, "AUTO_POWER_OFF", NumberStyle::Decimal},
    PropertyInfo{0x202e, "BT_ENABLED", NumberStyle::Decimal},
    PropertyInfo{0x2203, "BT_PIN", NumberStyle::Decimal},
    PropertyInfo{0x2204, "DISCOVERABLE_ALLOWED", NumberStyle::Decimal},
    PropertyInfo{0x2207, "PEN_WAKE_UP_TIME", NumberStyle::Decimal},
    PropertyInfo{0x2208, "CERTIFICATE_AUTHENTICATOR", NumberStyle::Decimal},
    PropertyInfo{0x2209, "CERTIFICATE", NumberStyle::Decimal},
    PropertyInfo{0x220a, "SIGNING_KEY", NumberStyle::Decimal},
};

} // namespace

const PropertyInfo *findProperty(uint16_t id)
{
    const auto row = std::find_if(kProperties.begin(), kProperties.end(),
                                  [id](const PropertyInfo &property) { return property.id == id; });
    return row == kProperties.end() ? nullptr : &*row;
}

std::string propertyName(uint16_t id)
{
    const PropertyInfo *property = findProperty(id);
    return property ? property->name : fmt::format("0x{:04x}", id);
}

} // namespace penctl
