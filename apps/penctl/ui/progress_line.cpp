#include "ui/progress_line.h"

#include <algorithm>

#include <fmt/color.h>

#include "ui/bar.h"
#include "ui/printable.h"
#include "ui/units.h"

namespace penctl {

namespace {

constexpr std::size_t kNarrowestBar = 6;
constexpr std::size_t kWidestBar = 40;

double fraction(const Progress &progress)
{
    if (progress.totalBytes == 0)
        return 1;
    return std::min(1.0, static_cast<double>(progress.bytes) / static_cast<double>(progress.totalBytes));
}

std::string rateText(const Progress &progress)
{
    // A rate over less than a tenth of a second says more about the clock than about the transfer.
    if (progress.elapsed < std::chrono::milliseconds(100))
        return "-- /s";
    const double seconds = static_cast<double>(progress.elapsed.count()) / 1000;
    return humanBytes(static_cast<uint64_t>(static_cast<double>(progress.bytes) / seconds)) + "/s";
}

std::string unitsText(const Progress &progress, const std::string &unitName)
{
    if (progress.totalUnits == 0)
        return grouped(progress.units) + " " + unitName;
    return fmt::format("{}/{} {}", grouped(progress.units), grouped(progress.totalUnits), unitName);
}

std::string colouredBar(const Progress &progress, const ProgressLook &look, std::size_t width)
{
    if (!look.colour)
        return plainBar(fraction(progress), width, look.unicode);
    const Bar bar = makeBar(fraction(progress), width, look.unicode);
    const std::string done = fmt::format(fmt::fg(fmt::terminal_color::green), "{}", bar.done);
    return look.unicode ? done + bar.rest : "[" + done + bar.rest + "]";
}

} // namespace

std::string progressFigures(const Progress &progress, const std::string &unitName)
{
    return fmt::format("{:3.0f}%  {}/{}  {}  {}", fraction(progress) * 100, humanBytes(progress.bytes),
                       humanBytes(progress.totalBytes), unitsText(progress, unitName), rateText(progress));
}

std::string progressLine(const Progress &progress, const ProgressLook &look)
{
    const std::string figures = progressFigures(progress, look.unitName);
    // The last column stays free: some terminals wrap as soon as it is written.
    const std::size_t room = look.columns > 0 ? look.columns - 1 : 0;
    const std::size_t frame = look.unicode ? 0 : 2;
    const std::size_t taken = displayWidth(look.label) + 1 + frame + 2 + figures.size();
    if (taken + kNarrowestBar <= room)
        return look.label + " " + colouredBar(progress, look, std::min(room - taken, kWidestBar)) + "  " +
               figures;
    if (displayWidth(look.label) + 2 + figures.size() <= room)
        return look.label + "  " + figures;
    return figures.substr(0, room);
}

} // namespace penctl
