#include "api/copy_out.h"

#include <cstring>
#include <memory>
#include <vector>

namespace zel {

namespace {

std::unique_ptr<char[]> terminatedCopy(std::string_view text)
{
    auto block = std::make_unique_for_overwrite<char[]>(text.size() + 1);
    text.copy(block.get(), text.size());
    block[text.size()] = '\0';
    return block;
}

} // namespace

void CopyOutStrings(std::initializer_list<TextOutput> texts)
{
    std::vector<std::unique_ptr<char[]>> copies;
    copies.reserve(texts.size());
    for (const TextOutput &text : texts)
        copies.push_back(terminatedCopy(text.text));
    auto copy = copies.begin();
    for (const TextOutput &text : texts)
        *text.output = (copy++)->release();
}

} // namespace zel
