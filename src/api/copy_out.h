#pragma once

#include <initializer_list>
#include <string_view>

namespace zel {

struct TextOutput {
    std::string_view text;
    char **output;
};

/** Gives the host copies of texts. Each is a block of length + 1 bytes that ends with NUL; the host releases
 *  it with zelFreeString. When an allocation fails, no output is changed. */
void CopyOutStrings(std::initializer_list<TextOutput> texts);

inline void CopyOutString(std::string_view text, char **output)
{
    CopyOutStrings({{text, output}});
}

} // namespace zel
