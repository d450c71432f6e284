#pragma once

#include <cstdint>

#include "pagedata/field_reader.h"
#include "pagedata/file_value.h"

namespace penctl {

/** Decodes the values of one page-data file. Nesting and the number of values are bounded: a few bytes may
 *  announce 65,535 elements that take no bytes themselves. */
class ValueReader
{
public:
    static constexpr uint32_t kDeepestNesting = 256;
    static constexpr uint32_t kMostValues = 1u << 20;

    /** headerLength  bytes that open every value, its type byte included; at least 1 */
    ValueReader(FieldReader &in, uint16_t headerLength) : m_in(in), m_headerLength(headerLength) {}

    FileValue read();

private:
    ValueType readType();
    FileValue readBody(ValueType type);
    FileValue readString();
    FileValue readBinary();
    FileValue readEscapedBinary();
    FileValue readValueArray();
    FileValue readDataArray();
    FileValue readTerminatedArray();
    uint8_t readEscape();
    void enterArray();
    void skipHeader();

    FieldReader &m_in;
    uint16_t m_headerLength;
    uint32_t m_depth = 0;
    uint32_t m_values = 0;
};

} // namespace penctl
