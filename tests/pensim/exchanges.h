#pragma once

#include "support/wire.h"

#include <string>

// Requests and answers that several tests use, typed by hand.
namespace exchange {

using zel::test::Bytes;
using zel::test::operator+;
namespace wire = zel::test::wire;

inline const Bytes kGetVersion = wire::raw("R1GP") + Bytes{0x01, 0x00} + wire::short16(1);
inline const Bytes kVersion = wire::list({wire::int32(0), wire::short16(0x0503)});
inline const Bytes kListPages = wire::raw("U0PI") + Bytes{0x00};

} // namespace exchange

/** The text `open` so many times, then `close` as often. */
inline std::string nested(std::size_t depth, const std::string &open, const std::string &close)
{
    std::string text;
    for (std::size_t i = 0; i < depth; ++i)
        text += open;
    for (std::size_t i = 0; i < depth; ++i)
        text += close;
    return text;
}
