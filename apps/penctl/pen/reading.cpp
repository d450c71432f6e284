#include "pen/reading.h"

#include <fmt/format.h>

#include "pen/result.h"
#include "ui/printable.h"

namespace penctl {

Reading flagReading(const zelpp::Result<bool> &answer, const char *yes, const char *no)
{
    return readingOf(
        answer, [&](bool flag) { return flag ? yes : no; }, [](bool flag) { return flag; });
}

void requireAnswer(const Reading &reading, std::string_view what)
{
    if (reading.code != ZEL_OK)
        failOn({static_cast<zelpp::Errc>(reading.code), "reading"}, what);
}

std::string readingText(const Reading &reading)
{
    return reading.code == ZEL_OK ? reading.text : fmt::format("({})", resultWords(reading.code));
}

Reading readLocked(const zelpp::Pen &pen)
{
    return flagReading(pen.tryIsLocked(), "locked", "not locked");
}

Reading readPasswordHint(const zelpp::Pen &pen)
{
    return readingOf(
        pen.tryPasswordHint(),
        [](const std::string &hint) { return hint.empty() ? "(none)" : printable(hint); },
        [](const std::string &hint) { return hint; });
}

} // namespace penctl
