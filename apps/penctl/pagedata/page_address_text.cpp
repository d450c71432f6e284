#include "pagedata/page_address_text.h"

#include <array>

namespace penctl {

namespace {

struct Field {
    uint32_t shift;
    uint32_t width;
};

constexpr std::array<Field, 5> kFields = {{{52, 12}, {40, 12}, {24, 16}, {12, 12}, {0, 12}}};

std::string fieldText(uint64_t raw, const Field &field)
{
    const uint64_t missing = (uint64_t{1} << field.width) - 1;
    const uint64_t value = raw >> field.shift & missing;
    return value == missing ? "*" : std::to_string(value);
}

} // namespace

std::string pageAddressText(uint64_t raw)
{
    std::string text;
    for (const Field &field : kFields) {
        const std::string part = fieldText(raw, field);
        if (&field == &kFields.front() && part == "0")
            continue;
        text += text.empty() ? part : "." + part;
    }
    return text;
}

} // namespace penctl
