#pragma once

#include "protocol/addresses/page_address.h"
#include "protocol/values/value.h"

#include <cstdint>
#include <utility>
#include <vector>

namespace zel {

/** A page's address and its strokes. */
class PenPageStrokes
{
public:
    PenPageStrokes() = default;
    PenPageStrokes(const PageAddress &address, Value strokes) noexcept
        : m_address(address), m_strokes(std::move(strokes))
    {
    }

    void setAddress(const PageAddress &address) { m_address = address; }
    /** Takes a deep copy. */
    void setStrokes(const Value &strokes) { m_strokes = strokes.copy(); }
    /** Takes over the value, because strokes can be megabytes long. */
    void setStrokes(Value &&strokes) noexcept { m_strokes = std::move(strokes); }
    bool hasStrokes() const noexcept { return !m_strokes.isAbsent(); }
    /** The number of bytes; 0 without strokes. Throws ZELException when the value is not a binary. */
    std::uint32_t byteSize() const;
    const PageAddress &address() const noexcept { return m_address; }
    /** Absent when there are none. */
    const Value &strokes() const noexcept { return m_strokes; }
    Value takeStrokes() noexcept { return std::exchange(m_strokes, {}); }

private:
    PageAddress m_address;
    Value m_strokes;
};

/** In retrieval order. */
using StrokesList = std::vector<PenPageStrokes>;

} // namespace zel
