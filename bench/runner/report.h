#pragma once

#include "runner/statistics.h"

#include <cstdio>
#include <optional>
#include <string>
#include <vector>

namespace zel::bench {

enum class Unit { Seconds, Bytes, Number };

/** One line of the table. What a line lacks is left open in it. */
struct Row {
    std::string what;
    Unit unit = Unit::Seconds;
    std::optional<double> ours;
    std::optional<double> baseline;
    /** Ours over the baseline's. A figure that always repeats has no width. */
    std::optional<Spread> ratio;
    /** The same of processor time, which a busy machine hardly changes. */
    std::optional<double> processorRatio;
    /** At most this ratio or, where there is no ratio, at most this figure of ours. */
    std::optional<double> target;
    std::string note;
    /** Could not be measured; the note says why. */
    bool failed = false;

    std::optional<bool> met() const;
};

/** The whole table, in the order of the questions; each row is printed as soon as it is known. */
class Report
{
public:
    /** Figures of different machines or loads cannot be compared: the report says where it was made. */
    void begin();
    void section(const std::string &title);
    void add(Row row);
    void finish() const;
    /** Throws std::runtime_error when the file cannot be written. */
    void writeJson(const std::string &path) const;

private:
    struct Section {
        std::string title;
        std::vector<Row> rows;
    };

    std::vector<Section> m_sections;
    std::vector<std::pair<std::string, std::string>> m_machine;
};

} // namespace zel::bench
