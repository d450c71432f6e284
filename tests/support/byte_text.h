#pragma once

#include "support/wire.h"

#include <stdexcept>
#include <string>
#include <string_view>

namespace zel::test {

/** Bytes as a test types them: pairs of hexadecimal digits, blanks wherever they help, and
 *  characters between quotes: "'R1GP' 01  00 03 0021". */
inline Bytes bytesOf(std::string_view text)
{
    Bytes bytes;
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] == ' ')
            continue;
        if (text[i] == '\'') {
            while (text.at(++i) != '\'')
                bytes.push_back(static_cast<std::uint8_t>(text[i]));
            continue;
        }
        std::size_t digits = 0;
        bytes.push_back(static_cast<std::uint8_t>(std::stoul(std::string(text.substr(i, 2)), &digits, 16)));
        if (digits != 2)
            throw std::invalid_argument("half a byte in: " + std::string(text));
        ++i;
    }
    return bytes;
}

} // namespace zel::test
