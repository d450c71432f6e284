#pragma once

#include <initializer_list>
#include <string_view>

namespace zel {

struct TextOutput {
    std::string_view text;
    char **output;
};

/** Hands texts to the host: each a block of length + 1 bytes, ending in NUL, that zelFreeString
 *  releases. All or none: when an allocation fails no output has been touched. */
void CopyOutStrings(std::initializer_list<TextOutput> texts);

inline void CopyOutString(std::string_view text, char **output)
{
    CopyOutStrings({{text, output}});
}

} // namespace zel
