#pragma once

#include <cstdint>
#include <string>

#include <zel/page_data.hpp>

#include "ui/output.h"

namespace penctl {

/** Page data for a person: what was asked for, and tables of the pages, their entries and the properties. */
std::string pageDataText(const zelpp::PageData &data, bool boldTitles);

/** The same for a program. */
Json pageDataJson(const zelpp::PageData &data);

/** How a number is best read. */
enum class NumberStyle { Decimal, Hexadecimal, Time };

/** Shows the values of one file of page data. A few bytes may stand for arrays of 65,535 elements each, so
 * the number of values is bounded: Failure (65) beyond. */
class ValueView
{
public:
    static constexpr uint32_t kMostValues = 1u << 20;

    /** A value on one line: "hello", 17, [1, "a"], 3 bytes: 01 02 03. Of long arrays the first elements. */
    std::string text(const zelpp::Value &value, NumberStyle style);

    /** {"type": ..., "value": ...}; a binary has "size" and "start" (hexadecimal) in place of "value". */
    Json json(const zelpp::Value &value);

private:
    std::string arrayText(const zelpp::Value &array);
    void count();

    uint32_t m_values = 0;
};

} // namespace penctl
