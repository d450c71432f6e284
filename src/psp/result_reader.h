#pragma once

#include "protocol/values/value.h"

#include <utility>

namespace zel {

class ValueDecoder;
class ValueText;

/** Receives the result of an exchange, which is element 1 of the response. Only the end of the response shows
 *  whether the response is valid and whether it has a result. Until then a reader must throw nothing but what
 *  reading the input throws. */
class ResultReader
{
public:
    virtual ~ResultReader() = default;

    /** Reads the result from the stream, and appends its text to the response's log text. */
    virtual void read(ValueDecoder &values, ValueText &text) = 0;
    /** Receives a result that was decoded already. It may be absent. */
    virtual void take(Value value) = 0;
};

/** Receives the result as a value. */
class ValueResult : public ResultReader
{
public:
    void read(ValueDecoder &values, ValueText &text) override;
    void take(Value value) override { m_value = std::move(value); }

    /** The result; never absent. */
    Value value() &&;

private:
    Value m_value;
};

/** Replaces absent elements as Value::copy() does: by null values, with a log text for each. */
void replaceAbsent(Value &value);

} // namespace zel
