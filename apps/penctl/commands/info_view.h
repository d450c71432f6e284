#pragma once

#include <string>
#include <vector>

#include "pen/reading.h"

namespace penctl {

/** What a pen was asked for, as one view: rows under headings for people, an object of objects for programs.
 */
class InfoView
{
public:
    void section(std::string title, std::string key);
    void row(std::string label, std::string key, Reading reading);

    std::string text(bool boldTitles) const;

    /** Adds an object for each section. What the pen did not answer is null, and "unavailable" tells why. */
    void addTo(Json &json) const;

    /** The first result that is more than the pen being locked or lacking something; 0 when there is none. */
    uint32_t firstFailure() const;

private:
    struct Row {
        std::string label;
        std::string key;
        Reading reading;
    };
    struct Section {
        std::string title;
        std::string key;
        std::vector<Row> rows;
    };

    std::vector<Section> m_sections;
};

} // namespace penctl
