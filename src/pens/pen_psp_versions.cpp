#include "pens/pen_psp_versions.h"

#include <algorithm>
#include <array>

namespace zel {

namespace {

struct Version {
    std::string_view token;
    std::string_view display;
};

// A version's id is its index here.
constexpr std::array<Version, 10> kVersions{{
    {"", "Unknown"},
    {"PSP10", "1.0"},
    {"PSP11", "1.1"},
    {"PSP20", "2.0"},
    {"PSP21", "2.1"},
    {"PSP30", "3.0"},
    {"PSP40", "4.0"},
    {"PSP41", "4.1"},
    {"PSNI40", "4.0"},
    {"DFUPSP10", "1.0"},
}};

char toUpper(char c)
{
    return c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c;
}

std::string normalized(std::string_view token)
{
    std::string text(token);
    std::erase(text, ' ');
    std::transform(text.begin(), text.end(), text.begin(), toUpper);
    return text;
}

std::uint32_t idOf(std::string_view token)
{
    const auto found =
        std::find_if(kVersions.begin(), kVersions.end(), [&](const Version &v) { return v.token == token; });
    return found == kVersions.end() ? PenPspVersions::kUnknown
                                    : static_cast<std::uint32_t>(found - kVersions.begin());
}

std::string_view displayText(std::uint32_t id)
{
    return kVersions[id < kVersions.size() ? id : PenPspVersions::kUnknown].display;
}

} // namespace

PenPspVersions::~PenPspVersions() = default;

void PenPspVersions::addFromText(std::string_view token)
{
    add(idOf(normalized(token)));
}

void PenPspVersions::add(std::uint32_t id)
{
    if (!contains(id))
        m_ids.push_back(id);
}

bool PenPspVersions::contains(std::uint32_t id) const
{
    return std::find(m_ids.begin(), m_ids.end(), id) != m_ids.end();
}

std::string PenPspVersions::toText() const
{
    std::string text;
    for (const std::uint32_t id : m_ids) {
        if (!text.empty())
            text += ", ";
        text += displayText(id);
    }
    return text;
}

} // namespace zel
