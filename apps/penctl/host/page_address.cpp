#include "host/page_address.h"

#include <array>
#include <cstdint>
#include <vector>

#include "host/parse_number.h"

namespace penctl {

namespace {

/** The greatest number of each field; the one above it, all ones, would count as "*". */
constexpr std::array<uint64_t, 5> kGreatest = {0xFFE, 0xFFE, 0xFFFE, 0xFFE, 0xFFE};

std::vector<std::string_view> splitAtDots(std::string_view text)
{
    std::vector<std::string_view> parts;
    for (std::size_t dot = text.find('.'); dot != std::string_view::npos; dot = text.find('.')) {
        parts.push_back(text.substr(0, dot));
        text.remove_prefix(dot + 1);
    }
    parts.push_back(text);
    return parts;
}

bool isField(std::string_view part, uint64_t greatest)
{
    return parseNumber(part, greatest).has_value() && (part == "0" || part[0] != '0');
}

} // namespace

bool isPageAddress(std::string_view text)
{
    const std::vector<std::string_view> parts = splitAtDots(text);
    if (parts.size() != 4 && parts.size() != 5)
        return false;
    bool open = false;
    for (std::size_t i = 0; i < parts.size(); ++i) {
        const bool star = parts[i] == "*";
        if (!star && (open || !isField(parts[i], kGreatest.at(i + 5 - parts.size()))))
            return false;
        open = open || star;
    }
    return true;
}

bool isWildcard(std::string_view address)
{
    return address.find('*') != std::string_view::npos;
}

} // namespace penctl
