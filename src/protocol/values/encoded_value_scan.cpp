#include "protocol/values/encoded_value_scan.h"

#include "protocol/bytes/big_endian.h"
#include "protocol/bytes/slip.h"
#include "protocol/values/decode_limits.h"
#include "protocol/values/value.h"

#include <algorithm>
#include <optional>

namespace zel {

namespace {

/** Steps over encoded values by the same rules as the decoder. Each function returns whether the decoder
 *  would succeed. */
class Scan
{
public:
    Scan(std::span<const std::uint8_t> bytes, EncodedCounts *counts) noexcept
        : m_rest(bytes), m_size(bytes.size()), m_counts(counts)
    {
    }

    bool isAtEnd() const noexcept { return m_rest.empty(); }

    /** The type code of the value that was skipped, or none. */
    std::optional<ValueType> passValue()
    {
        const auto type = take<std::uint8_t>();
        if (!type || !passBody(static_cast<ValueType>(*type)))
            return std::nullopt;
        return static_cast<ValueType>(*type);
    }

private:
    bool passBody(ValueType type)
    {
        m_budget.addValues(1);
        switch (type) {
        case ValueType::Null:
        case ValueType::Terminator:
        case ValueType::AnyType:
            return true;
        case ValueType::Bool:
        case ValueType::Byte:
            return skip(1);
        case ValueType::Short16:
            return skip(2);
        case ValueType::Int32:
            return skip(4);
        case ValueType::Long64:
            return skip(8);
        case ValueType::String:
            return passSized(take<std::uint16_t>());
        case ValueType::Binary:
            return passSized(take<std::uint32_t>());
        case ValueType::ValueArray:
            return passValueArray();
        case ValueType::DataArray:
            return passDataArray();
        case ValueType::TerminatedArray:
            return passTerminatedArray();
        case ValueType::EscapedBinary:
            return passEscapedBinary();
        }
        return false;
    }

    template <class UInt>
    bool passSized(std::optional<UInt> size)
    {
        if (!size)
            return false;
        m_budget.addBytes(*size);
        return skip(*size);
    }

    bool passValueArray()
    {
        const NestingLevel level(m_depth);
        const auto count = take<std::uint16_t>();
        if (level.isTooDeep() || !count)
            return false;
        for (std::uint32_t i = 0; i < *count; ++i)
            if (!passValue())
                return false;
        return true;
    }

    bool passDataArray()
    {
        const NestingLevel level(m_depth);
        const auto count = take<std::uint16_t>();
        const auto code = take<std::uint8_t>();
        if (level.isTooDeep() || !count || !code)
            return false;
        const auto type = static_cast<ValueType>(*code);
        if (isBodiless(type))
            return m_budget.admit(*count, m_size - m_rest.size());
        for (std::uint32_t i = 0; i < *count; ++i)
            if (!passBody(type))
                return false;
        return true;
    }

    bool passTerminatedArray()
    {
        const NestingLevel level(m_depth);
        if (level.isTooDeep())
            return false;
        const std::size_t place = m_counts != nullptr ? m_counts->size() : 0;
        if (m_counts != nullptr)
            m_counts->push_back(0);
        for (std::uint32_t count = 0;; ++count) {
            const auto type = passValue();
            if (!type)
                return false;
            if (*type != ValueType::Terminator && *type != ValueType::AnyType)
                continue;
            if (m_counts != nullptr)
                (*m_counts)[place] = count;
            return true;
        }
    }

    bool passEscapedBinary()
    {
        for (std::uint64_t size = 0;; ++size) {
            const std::size_t plain = slip::plainPrefix(m_rest);
            m_rest = m_rest.subspan(plain);
            size += plain;
            const auto special = take<std::uint8_t>();
            if (!special)
                return false;
            if (*special == slip::kEnd) {
                m_budget.addBytes(size);
                return true;
            }
            const auto escaped = take<std::uint8_t>();
            if (!escaped || slip::unescape(*escaped) < 0)
                return false;
        }
    }

    template <class UInt>
    std::optional<UInt> take() noexcept
    {
        if (m_rest.size() < sizeof(UInt))
            return std::nullopt;
        const auto value = loadBigEndian<UInt>(m_rest.data());
        m_rest = m_rest.subspan(sizeof(UInt));
        return value;
    }

    bool skip(std::size_t count) noexcept
    {
        if (m_rest.size() < count)
            return false;
        m_rest = m_rest.subspan(count);
        return true;
    }

    std::span<const std::uint8_t> m_rest;
    std::size_t m_size;
    EncodedCounts *m_counts;
    TreeBudget m_budget;
    int m_depth = 0;
};

bool scan(std::span<const std::uint8_t> bytes, EncodedCounts *counts)
{
    Scan whole(bytes, counts);
    const auto type = whole.passValue();
    return type && *type != ValueType::AnyType && whole.isAtEnd();
}

} // namespace

bool isOneEncodedValue(std::span<const std::uint8_t> bytes) noexcept
{
    return scan(bytes, nullptr);
}

bool scanEncodedValue(std::span<const std::uint8_t> bytes, EncodedCounts &terminatedCounts)
{
    const std::size_t before = terminatedCounts.size();
    if (!scan(bytes, &terminatedCounts)) {
        terminatedCounts.resize(before);
        return false;
    }
    std::reverse(terminatedCounts.begin() + static_cast<std::ptrdiff_t>(before), terminatedCounts.end());
    return true;
}

} // namespace zel
