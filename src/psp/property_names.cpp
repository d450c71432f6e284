#include "psp/property_names.h"

#include "psp/property_ids.h"
#include "sys/log.h"

#include <algorithm>
#include <iterator>

namespace zel {

namespace {

using namespace property;

struct Name {
    std::uint16_t id;
    const char *name;
};

// In the order of the pens' own list. The ids that the library uses are fixed by the pens. The others are
// numbered consecutively between those; only diagnostics use them.
constexpr Name kPropertyNames[] = {
    {PEN_ID, "PEN_ID"},
    {PEN_SOFTWARE_VERSION, "PEN_SOFTWARE_VERSION"},
    {0x0002, "MODEM"},
    {PEN_FREE_MEMORY, "PEN_FREE_MEMORY"},
    {0x0004, "PEN_LOCAL_ERRORS"},
    {0x0005, "PEN_BATTERY_LEVEL"},
    {0x0006, "TRANSACTION_DATA"},
    {0x0007, "RESULT_CONFIRM"},
    {0x0008, "RESULT_AUTHENTICATION"},
    {0x0009, "TRELO_KEY_ID"},
    {0x000a, "PREDEFINED_LANGUAGES"},
    {0x000b, "OUTBOX"},
    {0x000c, "CAPABILITIES"},
    {BATTERY_LEVEL_VERBOSE, "BATTERY_LEVEL_VERBOSE"},
    {0x000f, "BT_PAIRED_DEVICES"},
    {PEN_REVISIONS, "PEN_REVISIONS"},
    {0x0011, "CLOCK_SET"},
    {0x0012, "FEATURE_SET"},
    {0x0013, "DEBUG_RAM"},
    {0x0014, "PEN_PARAMETER_MEMORY"},
    {0x0015, "OUTBOX_IDS"},
    {0x0016, "STYLO_SETTINGS"},
    {0x0017, "CHARGING_STATUS"},
    {0x0018, "MMI_MEMORY_PERCENT"},
    {0x0019, "PEN_TIME_VERBOSE"},
    {PEN_PROPERTIES_RANGE, "PEN_PROPERTIES_RANGE"},
    {0x001b, "POSITIONING_STATS"},
    {0x001c, "MANUFACTURING_RESULT_FLAG"},
    {0x001d, "OUTBOX_FREE_ITEMS"},
    {0x001e, "TRANSPORT_KEY"},
    {DAS_DIFF, "DAS_DIFF"},
    {0x0020, "NBOS_DIFF"},
    {SYSTEM_TIME, "SYSTEM_TIME"},
    {PGC_VERSION, "PGC_VERSION"},
    {MANUFACTURER_DATA, "MANUFACTURER_DATA"},
    {PEN_BRAND, "PEN_BRAND"},
    {0x0025, "STARTUP_TIME"},
    {0x0026, "COMM_STATE"},
    {0x0027, "LAST_ERROR"},
    {0x0028, "PEN_TYPE"},
    {SEC_SDE, "SEC_SDE"},
    {0x002b, "OUTBOX_HEADER"},
    {0x002c, "LANGUAGE_RESOURCE_START"},
    {0x2000, "START_INTERNET"},
    {0x2001, "START_LOCAL"},
    {0x2002, "LOCAL_URL"},
    {0x2003, "PLS_URL"},
    {0x2004, "CONFIRM_FLAGS_NBSS"},
    {0x2005, "LAST_PROPERTY_UPDATE"},
    {0x2006, "LAST_GLOBAL_PROPERTY_UPDATE"},
    {0x2007, "LOCALLY_ENABLED"},
    {0x2008, "CSSP_ID"},
    {PEN_OWNER_LOCALE, "PEN_OWNER_LOCALE"},
    {PEN_OWNER_VCARD, "PEN_OWNER_VCARD"},
    {PEN_OWNER_EMAIL, "PEN_OWNER_EMAIL"},
    {PEN_OWNER_CELL_PHONE, "PEN_OWNER_CELL_PHONE"},
    {0x200d, "CONFIRM_PEN_OWNER_VCARD"},
    {0x200e, "CONFIRM_PEN_OWNER_EMAIL"},
    {0x200f, "CONFIRM_PEN_OWNER_CELL_PHONE"},
    {0x2010, "LANGUAGE_RESOURCE"},
    {0x2011, "CURRENT_LANGUAGE_RESOURCE"},
    {0x2012, "MODE_CONNECT"},
    {0x2013, "PUBLIC_PROPERTIES"},
    {0x2014, "LAST_PUBLIC_PROPERTY_UPDATE"},
    {0x2015, "SYNC_NUMBER"},
    {0x2016, "LOCAL_COOKIE"},
    {0x2017, "UNMAPPED_SEGMENT"},
    {0x2018, "LAST_SYNC_TIME"},
    {0x2019, "PUSH_DATA"},
    {PEN_TIME, "PEN_TIME"},
    {0x2022, "CONFIRM_FLAGS_NBOS"},
    {0x2023, "CONFIRM_FLAGS_LSS"},
    {0x2024, "CONFIRM_FLAGS_LOS"},
    {0x2025, "LOCALLY_READABLE_PROPERTIES"},
    {AUTO_POWER_OFF, "AUTO_POWER_OFF"},
    {0x202b, "CONFIGURATION_VIBRATOR"},
    {0x202c, "TIP_STATE"},
    {0x202d, "KEYBOARD"},
    {0x202f, "GLOBAL_PROPERTY_FAMILY"},
    {0x2030, "AUTO_POWER_OFF"}, // a second id of the same name
    {0x2031, "PLS_ID"},
    {0x2202, "DEBUG_MASK"},
    {BT_PIN, "BT_PIN"},
    {DISCOVERABLE_ALLOWED, "DISCOVERABLE_ALLOWED"},
    {BT_ENABLED, "BT_ENABLED"},
    {PEN_WAKE_UP_TIME, "PEN_WAKE_UP_TIME"},
    {0x2206, "PEN_TYPE"}, // a second id of the same name
    {SIGNING_KEY, "SIGNING_KEY"},
    {CERTIFICATE, "CERTIFICATE"},
    {CERTIFICATE_AUTHENTICATOR, "CERTIFICATE_AUTHENTICATOR"},
};

/** A range of ids with one pattern for their names, into which the index within the range is filled. */
struct Family {
    std::uint16_t first;
    std::uint16_t last;
    std::string (*nameOf)(unsigned index);
};

constexpr Family kFamilies[] = {
    {0x2100, 0x213f, [](unsigned index) { return FormatLogText("TEMPLATE[0x%04x]", index); }},
    {0x2140, 0x217f, [](unsigned index) { return FormatLogText("TEMPLATE_MAPPING[0x%04x]", index); }},
    {0x2180, 0x21bf, [](unsigned index) { return FormatLogText("SEGMENT_ATTRIBUTE[0x%04x]", index); }},
    {0x21c0, 0x21ff, [](unsigned index) { return FormatLogText("SHORTCUT[%d]", static_cast<int>(index)); }},
};

} // namespace

std::string propertyName(std::uint16_t id)
{
    if (const auto *named = std::ranges::find(kPropertyNames, id, &Name::id);
        named != std::end(kPropertyNames))
        return named->name;
    for (const Family &family : kFamilies)
        if (id >= family.first && id <= family.last)
            return family.nameOf(id - unsigned{family.first});
    return FormatLogText("0x%04x", id);
}

} // namespace zel
