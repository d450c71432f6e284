#include "ui/printable.h"

#include <algorithm>
#include <cstdint>

#include <fmt/format.h>

namespace penctl {

namespace {

bool isContinuation(char c)
{
    return (static_cast<uint8_t>(c) & 0xC0) == 0x80;
}

/** The length that a character's first byte announces; 0 for a byte that begins none. */
std::size_t announcedLength(uint8_t first)
{
    if (first < 0x80)
        return 1;
    if (first >= 0xC2 && first < 0xE0)
        return 2;
    if (first >= 0xE0 && first < 0xF0)
        return 3;
    return first >= 0xF0 && first < 0xF5 ? 4 : 0;
}

uint32_t codePoint(std::string_view character)
{
    if (character.size() == 1)
        return static_cast<uint8_t>(character[0]);
    uint32_t code = static_cast<uint8_t>(character[0]) & (0x7Fu >> character.size());
    for (const char c : character.substr(1))
        code = code << 6 | (static_cast<uint8_t>(c) & 0x3Fu);
    return code;
}

bool isShown(uint32_t code)
{
    const bool control = code < 0x20 || (code >= 0x7F && code < 0xA0);
    // Marks that change the direction of what follows could make one text look like another.
    const bool direction = (code >= 0x202A && code <= 0x202E) || (code >= 0x2066 && code <= 0x2069);
    const bool surrogate = code >= 0xD800 && code < 0xE000;
    return !control && !direction && !surrogate && code <= 0x10FFFF;
}

/** The first character of the text if it is well-formed and may be shown, else nothing. */
std::string_view shownCharacter(std::string_view text)
{
    const std::size_t length = announcedLength(static_cast<uint8_t>(text[0]));
    if (length == 0 || length > text.size())
        return {};
    const std::string_view character = text.substr(0, length);
    const auto continuations = std::count_if(character.begin() + 1, character.end(), isContinuation);
    if (static_cast<std::size_t>(continuations) + 1 != length)
        return {};
    static constexpr uint32_t kLeast[] = {0, 0, 0x80, 0x800, 0x10000};
    const uint32_t code = codePoint(character);
    return code >= kLeast[length] && isShown(code) ? character : std::string_view{};
}

} // namespace

std::string printable(std::string_view text)
{
    std::string shown;
    while (!text.empty()) {
        const std::string_view character = shownCharacter(text);
        if (character.empty())
            shown += fmt::format("\\x{:02x}", static_cast<uint8_t>(text[0]));
        else
            shown += character;
        text.remove_prefix(std::max<std::size_t>(character.size(), 1));
    }
    return shown;
}

std::size_t displayWidth(std::string_view text)
{
    return text.size() - static_cast<std::size_t>(std::count_if(text.begin(), text.end(), isContinuation));
}

} // namespace penctl
