#include "commands/info_view.h"

#include <fmt/color.h>

#include "pen/result.h"

namespace penctl {

void InfoView::section(std::string title, std::string key)
{
    m_sections.push_back({std::move(title), std::move(key), {}});
}

void InfoView::row(std::string label, std::string key, Reading reading)
{
    m_sections.back().rows.push_back({std::move(label), std::move(key), std::move(reading)});
}

std::string InfoView::text(bool boldTitles) const
{
    std::string all;
    for (const Section &section : m_sections) {
        all += boldTitles ? fmt::format(fmt::emphasis::bold, "{}", section.title) : section.title;
        all += "\n";
        for (const Row &row : section.rows)
            all += fmt::format("  {:<18} {}\n", row.label, readingText(row.reading));
    }
    return all;
}

void InfoView::addTo(Json &json) const
{
    Json unavailable = Json::array();
    for (const Section &section : m_sections) {
        for (const Row &row : section.rows) {
            const uint32_t code = row.reading.code;
            json[section.key][row.key] = code == ZEL_OK ? row.reading.json : Json(nullptr);
            if (code != ZEL_OK)
                unavailable.push_back(
                    {{"name", section.key + "." + row.key}, {"code", code}, {"reason", resultWords(code)}});
        }
    }
    json["unavailable"] = unavailable;
}

uint32_t InfoView::firstFailure() const
{
    for (const Section &section : m_sections)
        for (const Row &row : section.rows)
            if (row.reading.code != ZEL_OK && row.reading.code != ZEL_ERR_PEN_LOCKED &&
                row.reading.code != ZEL_ERR_NOT_SUPPORTED)
                return row.reading.code;
    return ZEL_OK;
}

} // namespace penctl
