#pragma once

#include "support/byte_text.h"
#include "sys/log.h"

#include "zel/zel.h"

#include <cstdint>
#include <functional>
#include <iosfwd>
#include <optional>
#include <string>
#include <vector>

/** What each export on a connected pen promises its host, as a table: a row an export. The test walks
 *  every row through all that can befall a call. */
namespace contract {

using zel::test::Bytes;
using zel::test::bytesOf;

// --- outputs -------------------------------------------------------------------------------------
// An output is shown as the host finds it after the call: a number in decimal, a text between quotes,
// bytes as their count and digits, "null", or "-" when the call left it alone.

template <class Number>
class NumberOutput
{
public:
    Number *place() { return &m_value; }
    std::string show() const { return m_value == kUntouched ? "-" : std::to_string(m_value); }

private:
    static constexpr Number kUntouched = static_cast<Number>(0xA5A5A5A5A5A5A5A5);

    Number m_value = kUntouched;
};

/** Releases what was handed out. */
class TextOutput
{
public:
    TextOutput() = default;
    ~TextOutput();
    TextOutput(const TextOutput &) = delete;
    TextOutput &operator=(const TextOutput &) = delete;
    char **place() { return &m_text; }
    std::string show() const;

private:
    static char s_untouched[1];

    char *m_text = s_untouched;
};

/** A block and its length; releases what was handed out. */
class DataOutput
{
public:
    DataOutput() = default;
    ~DataOutput();
    DataOutput(const DataOutput &) = delete;
    DataOutput &operator=(const DataOutput &) = delete;
    std::uint8_t **place() { return &m_data; }
    std::uint32_t *length() { return m_length.place(); }
    /** What was handed out, null if nothing was. */
    const std::uint8_t *bytes() const { return m_data == s_untouched ? nullptr : m_data; }
    std::size_t count() const { return bytes() == nullptr ? 0 : std::stoul(m_length.show()); }
    std::string show() const;

private:
    static std::uint8_t s_untouched[1];

    std::uint8_t *m_data = s_untouched;
    NumberOutput<std::uint32_t> m_length;
};

struct Outcome {
    std::uint32_t code;
    std::string outputs;
};

/** Called when an export has returned, before its outputs are looked at: what a test did to the memory of
 *  the call alone ends there. */
inline void (*s_returned)() = [] {};

template <class... Outputs>
Outcome outcome(std::uint32_t code, const Outputs &...outputs)
{
    s_returned();
    std::string shown;
    ((shown += (shown.empty() ? "" : " ") + outputs.show()), ...);
    return {code, shown};
}

// --- log -----------------------------------------------------------------------------------------

struct Line {
    zel::LogLevel level;
    std::string text;

    bool operator==(const Line &) const = default;
};
using Lines = std::vector<Line>;

void PrintTo(const Line &line, std::ostream *out);

inline Line debug(std::string text)
{
    return {zel::LogLevel::Debug, std::move(text)};
}

inline Line info(std::string text)
{
    return {zel::LogLevel::Info, std::move(text)};
}

inline Line error(std::string text)
{
    return {zel::LogLevel::Error, std::move(text)};
}

// --- exchanges -----------------------------------------------------------------------------------

/** A result of one type, and what it is as a number and as a text. */
struct Sample {
    std::string type;
    Bytes bytes;
    std::uint64_t number;
    std::string text;

    bool isOneOf(std::initializer_list<std::string_view> types) const;
    bool isNull() const { return isOneOf({"null", "any type"}); }
    bool isArray() const { return isOneOf({"value array", "data array", "terminated array"}); }
    bool isBytes() const { return isOneOf({"binary", "escaped binary"}); }
};

/** One of each type that a pen may answer. Arrays hold one element, the bool true. */
const std::vector<Sample> &samples();

struct Expected;

/** What a call comes to when one of its answers is of another type than the usual one. */
using Meaning = std::function<Expected(const Sample &)>;

struct Exchange {
    Bytes request;
    /** The usual result. */
    Bytes result;
    Meaning meaning = {};
    /** What the export logs once it has the usual result. */
    Lines log = {};
};

/** What a call comes to. */
struct Expected {
    std::uint32_t code = ZEL_OK;
    /** Unless given: the row's own, for success or for failure. */
    std::optional<std::string> outputs = {};
    /** What is logged after the answer that brought it about. */
    std::optional<Lines> log = {};
    /** The exchanges after that answer. */
    std::optional<std::vector<Exchange>> rest = {};
};

/** The outputs with # replaced. */
std::string with(std::string outputs, const std::string &value);

/** Nobody looks at the result. */
Meaning ignored();
/** A list of several elements: nothing among the samples will do. */
Meaning list();
/** Any list will do. */
Meaning anyList();
/** The result is taken for a flag, shown by # in the outputs and told in the log, after the text. */
Meaning flag(const std::string &text);
/** The result is converted to a number of so many bits, which stands for # in the outputs. */
Meaning number(int bits, const std::string &outputs = "#");
/** The same, with a text in the log when the type is not the expected one. */
Meaning number(int bits, const std::string &expectedType, const std::string &complaint);

// --- rows ----------------------------------------------------------------------------------------

struct Row {
    /** The export. */
    const char *name;
    /** In its log texts; unless given, the export's name. */
    std::string logName = {};
    /** The first software version of pens that can; 0 when all can. */
    std::uint16_t threshold = 0;
    /** Calls it with the arguments that the requests show. */
    std::function<Outcome(PenHandle *)> call;
    /** What is logged before the first exchange, the mark included; unless given, the mark alone. */
    std::optional<Lines> entry = {};
    std::vector<Exchange> exchanges = {};
    /** The outputs after success; after a call refused before the pen was asked (1, 4, 5); after one that
     *  failed with the pen. */
    std::string outputs = {};
    std::string refused = {};
    std::string failed = {};
    // Failures: the code, and the text where it is not made of the log name as usual.
    std::uint32_t lockedCode = 2;
    std::string lockedText = {};
    std::string connectionText = {}; // "%s" stands for the reason
    std::uint32_t unknownCode = 11;
    std::string unknownText = {};
    /** Shows a password's digest, which another chaining value changes. */
    bool hashes = false;
};

void PrintTo(const Row &row, std::ostream *out);

std::vector<Row> settingsRows();
std::vector<Row> lockRows();
std::vector<Row> securityRows();
std::vector<Row> statusRows();

} // namespace contract
