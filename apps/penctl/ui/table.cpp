#include "ui/table.h"

#include <algorithm>

#include <fmt/color.h>

#include "ui/text.h"

namespace penctl {

Table::Table(const std::vector<Column> &columns) : m_widths(columns.size())
{
    std::vector<std::string> titles;
    for (const Column &column : columns) {
        m_aligns.push_back(column.align);
        titles.push_back(column.title);
    }
    addRow(std::move(titles));
}

void Table::addRow(std::vector<std::string> cells)
{
    for (std::size_t i = 0; i < cells.size(); ++i)
        m_widths[i] = std::max(m_widths[i], displayWidth(cells[i]));
    m_rows.push_back(std::move(cells));
}

std::string Table::line(const std::vector<std::string> &cells) const
{
    constexpr const char *gap = "  ";
    std::string text;
    for (std::size_t i = 0; i < cells.size(); ++i) {
        const std::string blanks(m_widths[i] - displayWidth(cells[i]), ' ');
        text += (m_aligns[i] == Align::Left ? cells[i] + blanks : blanks + cells[i]) + gap;
    }
    text.erase(text.find_last_not_of(' ') + 1);
    return text;
}

std::string Table::text(bool boldTitles) const
{
    std::string all;
    for (const std::vector<std::string> &row : m_rows) {
        const bool bold = boldTitles && all.empty();
        all += (bold ? fmt::format(fmt::emphasis::bold, "{}", line(row)) : line(row)) + "\n";
    }
    return all;
}

} // namespace penctl
