#pragma once

#include "protocol/values/value.h"

#include <memory>
#include <utility>

namespace zel {

class ValueDecoder;
class ValueText;

/** Takes the result of an exchange, element 1 of the response. Whether the response is good, and whether
 *  there is a result at all, shows only when all of it has been taken: until then nothing but the input may
 *  raise an exception. */
class ResultReader
{
public:
    virtual ~ResultReader() = default;

    /** Takes the result off the stream and shows it, as an element of the response's text. */
    virtual void read(ValueDecoder &values, ValueText &text) = 0;
    /** Takes a result that is a value already; may be absent. */
    virtual void take(std::unique_ptr<Value> value) = 0;
};

/** Takes a result as the value that it is. */
class ValueResult : public ResultReader
{
public:
    void read(ValueDecoder &values, ValueText &text) override;
    void take(std::unique_ptr<Value> value) override { m_value = std::move(value); }

    /** Never null. */
    std::unique_ptr<Value> value() &&;

private:
    std::unique_ptr<Value> m_value;
};

/** Absent elements become what a deep copy makes of them: null values, and a log text. */
void replaceAbsent(std::unique_ptr<Value> &value);

} // namespace zel
