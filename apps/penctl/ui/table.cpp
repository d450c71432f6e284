#include "ui/table.h"

#include <algorithm>

#include <fmt/color.h>

#include "ui/printable.h"

namespace penctl {

namespace {

constexpr std::size_t kGap = 2;

std::vector<std::string> titles(const std::vector<Column> &columns)
{
    std::vector<std::string> texts;
    texts.reserve(columns.size());
    for (const Column &column : columns)
        texts.push_back(column.title);
    return texts;
}

std::string padded(const std::string &text, std::size_t width, Align align)
{
    const std::string blanks(width - std::min(width, displayWidth(text)), ' ');
    return align == Align::Left ? text + blanks : blanks + text;
}

} // namespace

std::vector<std::size_t> Table::widths() const
{
    std::vector<std::size_t> widest;
    for (const Column &column : m_columns)
        widest.push_back(displayWidth(column.title));
    for (const std::vector<std::string> &row : m_rows)
        for (std::size_t i = 0; i < row.size(); ++i)
            widest[i] = std::max(widest[i], displayWidth(row[i]));
    return widest;
}

std::string Table::line(const std::vector<std::string> &cells, const std::vector<std::size_t> &widths) const
{
    std::string text;
    for (std::size_t i = 0; i < cells.size(); ++i)
        text += padded(cells[i], widths[i], m_columns[i].align) + std::string(kGap, ' ');
    text.erase(text.find_last_not_of(' ') + 1);
    return text;
}

std::string Table::text(bool boldTitles) const
{
    const std::vector<std::size_t> widest = widths();
    const std::string head = line(titles(m_columns), widest);
    std::string all = (boldTitles ? fmt::format(fmt::emphasis::bold, "{}", head) : head) + "\n";
    for (const std::vector<std::string> &row : m_rows)
        all += line(row, widest) + "\n";
    return all;
}

} // namespace penctl
