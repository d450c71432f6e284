#include "api/copy_out.h"

#include "sys/byte_block.h"

#include <cstring>
#include <vector>

namespace zel {

namespace {

ByteBlock terminatedCopy(std::string_view text)
{
    ByteBlock block = allocateBlock(text.size() + 1);
    text.copy(reinterpret_cast<char *>(block.get()), text.size());
    block[text.size()] = 0;
    return block;
}

} // namespace

void CopyOutStrings(std::initializer_list<TextOutput> texts)
{
    std::vector<ByteBlock> copies;
    copies.reserve(texts.size());
    for (const TextOutput &text : texts)
        copies.push_back(terminatedCopy(text.text));
    auto copy = copies.begin();
    for (const TextOutput &text : texts)
        *text.output = reinterpret_cast<char *>((copy++)->release());
}

} // namespace zel
