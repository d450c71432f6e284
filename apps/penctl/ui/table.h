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
    explicit Table(std::vector<Column> columns) : m_columns(std::move(columns)) {}

    void addRow(std::vector<std::string> cells) { m_rows.push_back(std::move(cells)); }

    /** The whole table, a line feed after each row. The line of titles is bold if asked for. */
    std::string text(bool boldTitles) const;

private:
    std::vector<std::size_t> widths() const;
    std::string line(const std::vector<std::string> &cells, const std::vector<std::size_t> &widths) const;

    std::vector<Column> m_columns;
    std::vector<std::vector<std::string>> m_rows;
};

} // namespace penctl
