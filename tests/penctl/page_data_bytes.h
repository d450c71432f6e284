#pragma once

#include <cstdint>
#include <sstream>
#include <string>
#include <vector>

#include "pagedata/page_transaction.h"

namespace penctl {

using Bytes = std::vector<uint8_t>;

inline Bytes joined(std::initializer_list<Bytes> parts)
{
    Bytes all;
    for (const Bytes &part : parts)
        all.insert(all.end(), part.begin(), part.end());
    return all;
}

inline PageTransaction parse(const Bytes &bytes)
{
    std::istringstream in(std::string(bytes.begin(), bytes.end()));
    return readPageTransaction(in, bytes.size());
}

/** A file without pages and properties: the smallest there is. */
inline const Bytes kEmptyFile = {
    0x01,                                           // major version
    0x00,                                           // minor version
    0x00, 0x18,                                     // header length 24
    0x00, 0x0F, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, // page address *.*.*.* (first field 0)
    0x02, 0x25,                                     // pidget 549
    0x00, 0x0F,                                     // page header length 15
    0x00, 0x02,                                     // page entry header length
    0x00, 0x02,                                     // entry header length
    0x00, 0x01,                                     // value header length
    0x00, 0x00,                                     // pages
    0x00, 0x00,                                     // properties
};

/** Two pages, one of them with an entry, and three properties. */
inline const Bytes kSmallFile = {
    0x01,                                           // major version
    0x00,                                           // minor version
    0x00, 0x18,                                     // header length 24
    0x00, 0x0F, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, // page address *.*.*.* (first field 0)
    0x02, 0x25,                                     // pidget 549
    0x00, 0x0F,                                     // page header length 15
    0x00, 0x02,                                     // page entry header length
    0x00, 0x02,                                     // entry header length
    0x00, 0x01,                                     // value header length
    0x00, 0x02,                                     // pages
    0x00, 0x03,                                     // properties
    // page 1.2.3.4
    0x00, 0x00, 0x01, 0x00, 0x02, 0x00, 0x30, 0x04, // address
    0x00, 0x00, 0x00, 0x05,                         // stroke bytes
    0x00,                                           // flag
    0x00, 0x00,                                     // entries
    0xC0, 0xDB, 0x00, 0x0B, 0xFF,                   // strokes
    // page 5.0.0.0.7, without strokes
    0x00, 0x50, 0x00, 0x00, 0x00, 0x00, 0x00, 0x07, // address
    0x00, 0x00, 0x00, 0x00,                         // stroke bytes
    0x01,                                           // flag
    0x00, 0x01,                                     // entries
    0x02, 0x26,                                     // pidget 550
    0x04, 0xFF, 0xFF, 0xFF, 0xFE,                   // int32 -2
    // properties
    0x00, 0x00,                                           // PEN_ID
    0x05, 0x00, 0x00, 0x01, 0x23, 0x00, 0xAB, 0xCD, 0xEF, // long64
    0x00, 0x24,                                           // PEN_BRAND
    0x06, 0x00, 0x04, 0x61, 0x62, 0x63, 0x00,             // string "abc"
    0x7F, 0x01,                                           // a property without a name
    0x08, 0x00, 0x02,                                     // value array of two
    0x01, 0x01,                                           // bool true
    0x00,                                                 // null
};

/** The smallest file with one property whose value is these bytes. */
inline Bytes fileWithValue(const Bytes &value)
{
    const Bytes upToCount(kEmptyFile.begin(), kEmptyFile.begin() + 24);
    return joined({upToCount, {0x00, 0x01}, {0x00, 0x24}, value});
}

} // namespace penctl
