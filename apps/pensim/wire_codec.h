#pragma once

#include "request.h"

#include <optional>
#include <span>
#include <stdexcept>

namespace pensim {

// The bytes so far end within a value: at least `missing` more are needed.
class TruncatedInput : public std::runtime_error
{
public:
    explicit TruncatedInput(std::size_t missing)
        : std::runtime_error("input ends within a value"), m_missing(missing)
    {
    }
    std::size_t missing() const { return m_missing; }

private:
    std::size_t m_missing;
};

// Bytes that no peer of the protocol sends.
class MalformedInput : public std::runtime_error
{
    using std::runtime_error::runtime_error;
};

// Appends the value's wire form.
void encodeValue(const Value &value, Bytes &out);

// Reads one value from the front of `input` and moves `input` behind it. Throws TruncatedInput or
// MalformedInput.
Value decodeValue(std::span<const std::uint8_t> &input);

// Reads one instruction from the front of `input`; throws as decodeValue().
Request decodeRequest(std::span<const std::uint8_t> &input);

// Appends a response: the status alone, or the status and a result.
void encodeResponse(std::int32_t status, const std::optional<Value> &result, Bytes &out);

} // namespace pensim
