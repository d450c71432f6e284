#pragma once

#include "runner/statistics.h"

#include <cstdio>
#include <optional>
#include <string>
#include <vector>

namespace zel::bench {

enum class Unit { Seconds, Bytes, Number };

/** One line of the table. A value that a line does not have is left empty. */
struct Row {
    std::string what;
    Unit unit = Unit::Seconds;
    std::optional<double> ours;
    std::optional<double> baseline;
    /** Our figure divided by the baseline's. A figure that is the same in every run has no spread. */
    std::optional<Spread> ratio;
    /** The same ratio of processor times, which the load of the machine hardly changes. */
    std::optional<double> processorRatio;
    /** The highest ratio allowed or, if there is no ratio, the highest figure of ours. */
    std::optional<double> target;
    std::string note;
    /** It could not be measured; the note says why. */
    bool failed = false;

    std::optional<bool> met() const;
};

/** The whole table, in the order of the questions; each row is printed as soon as it is known. */
class Report
{
public:
    /** Figures of different machines or loads cannot be compared, so the report describes the machine. */
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
