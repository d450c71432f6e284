#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace penctl {

enum class Align { Left, Right };

struct Column {
    std::string title;
    Align align = Align::Left;
};

/** Rows of texts under titles, each column as wide as its widest text. */
class Table
{
public:
    explicit Table(const std::vector<Column> &columns);

    void addRow(std::vector<std::string> cells);

    /** The whole table, a line feed after each row. The line of titles is bold if asked for. */
    std::string text(bool boldTitles) const;

private:
    std::string line(const std::vector<std::string> &cells) const;

    std::vector<Align> m_aligns;
    std::vector<std::size_t> m_widths;
    std::vector<std::vector<std::string>> m_rows; // the first has the titles
};

} // namespace penctl
