#include "contract_table.h"

#include "support/wire.h"

#include <algorithm>
#include <ostream>

namespace contract {

namespace wire = zel::test::wire;

char TextOutput::s_untouched[1];
std::uint8_t DataOutput::s_untouched[1];

TextOutput::~TextOutput()
{
    if (m_text != s_untouched)
        zelFreeString(&m_text);
}

std::string TextOutput::show() const
{
    if (m_text == s_untouched)
        return "-";
    return m_text == nullptr ? "null" : '"' + std::string(m_text) + '"';
}

DataOutput::~DataOutput()
{
    if (m_data != s_untouched)
        zelFreePageData(&m_data);
}

std::string DataOutput::show() const
{
    if (m_data == s_untouched)
        return "- " + m_length.show();
    std::string shown = m_data == nullptr ? "null" : "bytes";
    const std::size_t size = count();
    for (std::size_t i = 0; i < size; ++i)
        shown += " " + std::to_string(m_data[i]);
    return shown + " (" + m_length.show() + ")";
}

void PrintTo(const Line &line, std::ostream *out)
{
    static constexpr const char *kLevels[] = {"error", "warning", "info", "debug"};
    *out << kLevels[static_cast<int>(line.level)] << " \"" << line.text << '"';
}

void PrintTo(const Row &row, std::ostream *out)
{
    *out << row.name;
}

bool Sample::isOneOf(std::initializer_list<std::string_view> types) const
{
    return std::find(types.begin(), types.end(), type) != types.end();
}

const std::vector<Sample> &samples()
{
    static const std::vector<Sample> all = {
        {"null", bytesOf("00"), 0, "(null) "},
        {"bool", bytesOf("01 01"), 1, "(bool) true"},
        {"byte", bytesOf("02 C8"), 0xC8, "(byte) 200"},
        {"short16", bytesOf("03 FFFE"), 0xFFFE, "(short16) -2"},
        {"int32", bytesOf("04 80010203"), 0x80010203, "(int32) -2147417597"},
        {"long64", bytesOf("05 123456789ABCDEF0"), 0x123456789ABCDEF0, "(long64) 1311768467463790320"},
        {"string", bytesOf("06 0005 'word' 00"), 0, "word"},
        {"binary", bytesOf("07 00000002 0A FF"), 0, "(binary) A FF (2 bytes)"},
        {"value array", bytesOf("08 0001 01 01"), 0, "(value array) 1\n    (bool) true"},
        {"data array", bytesOf("09 0001 01 01"), 0, "(data array) 1\n    (bool) true"},
        {"terminated array", bytesOf("0A 01 01 0B"), 0, "(terminated array) 1\n    (bool) true"},
        {"terminator", bytesOf("0B"), 0, "(terminator) "},
        {"escaped binary", bytesOf("0E 41 C0"), 0, "(escaped binary) 41 (1 bytes)"},
        // No value at all; it counts as the null value.
        {"any type", bytesOf("0F"), 0, "(null) "},
    };
    return all;
}

Meaning ignored()
{
    return [](const Sample &) { return Expected{}; };
}

Meaning list()
{
    return [](const Sample &) { return Expected{.code = ZEL_ERR_UNEXPECTED}; };
}

Meaning anyList()
{
    return [](const Sample &sample) { return Expected{.code = sample.isArray() ? 0u : ZEL_ERR_UNEXPECTED}; };
}

namespace {

std::string cut(std::uint64_t number, int bits)
{
    return std::to_string(bits == 64 ? number : number & ((std::uint64_t{1} << bits) - 1));
}

} // namespace

std::string with(std::string outputs, const std::string &value)
{
    return outputs.replace(outputs.find('#'), 1, value);
}

Meaning flag(const std::string &text)
{
    return [=](const Sample &sample) {
        const bool set = sample.number != 0;
        return Expected{.outputs = set ? "1" : "0",
                        .log = Lines{info(text + (sample.isNull() ? "null"
                                                  : set           ? "true"
                                                                  : "false"))}};
    };
}

Meaning number(int bits, const std::string &outputs)
{
    return [=](const Sample &sample) { return Expected{.outputs = with(outputs, cut(sample.number, bits))}; };
}

Meaning number(int bits, const std::string &expectedType, const std::string &complaint)
{
    return [=](const Sample &sample) {
        const bool expected = sample.type == expectedType;
        return Expected{.outputs = cut(sample.number, bits),
                        .log = expected ? Lines{} : Lines{error(complaint)}};
    };
}

} // namespace contract
