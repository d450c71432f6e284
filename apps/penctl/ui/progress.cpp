#include "ui/progress.h"

#include <algorithm>
#include <cstdio>
#include <utility>

#include <fmt/color.h>

#include "ui/output.h"
#include "ui/text.h"

namespace penctl {

namespace {

constexpr std::chrono::milliseconds kRedraw{100};
constexpr std::chrono::milliseconds kPlainLine{5000};
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
    // A rate over less than a tenth of a second is not exact enough to show.
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

std::string repeated(const char *piece, std::size_t count)
{
    std::string text;
    for (std::size_t i = 0; i < count; ++i)
        text += piece;
    return text;
}

} // namespace

ProgressDisplay::ProgressDisplay(std::string label, std::string unitName)
    : m_started(Clock::now()), m_lastShown(m_started), m_drawn(isDrawn())
{
    m_look.label = std::move(label);
    m_look.unitName = std::move(unitName);
    m_look.unicode = showsUnicode(Stream::Error);
    m_look.colour = coloursOn(Stream::Error);
    m_onInterrupt.emplace([this] {
        // A terminal that takes no more may hold update(), and so the lock, for ever.
        if (const std::unique_lock lock(m_mutex, std::try_to_lock); lock)
            finish();
        return std::string();
    });
}

ProgressDisplay::~ProgressDisplay()
{
    m_onInterrupt.reset();
    const std::lock_guard lock(m_mutex);
    finish();
}

bool ProgressDisplay::isDrawn()
{
    return drawsOn(Stream::Error);
}

void ProgressDisplay::update(const Progress &progress)
{
    const std::lock_guard lock(m_mutex);
    m_progress = progress;
    if (!m_stopped && isDue(progress.bytes >= progress.totalBytes))
        show();
}

void ProgressDisplay::finish()
{
    if (m_drawn && m_shown && !m_stopped) {
        show();
        std::fputc('\n', stderr);
    }
    m_stopped = true;
}

/** Draws the first and the last state always, the others ten times a second at most. */
bool ProgressDisplay::isDue(bool complete)
{
    const Clock::time_point now = Clock::now();
    const bool due =
        m_drawn ? !m_shown || complete || now - m_lastShown >= kRedraw : now - m_lastShown >= kPlainLine;
    if (due)
        m_lastShown = now;
    return due;
}

void ProgressDisplay::show()
{
    m_progress.elapsed = std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now() - m_started);
    m_shown = true;
    if (!m_drawn) {
        note(m_look.label + "  " + progressFigures(m_progress, m_look.unitName));
        return;
    }
    m_look.columns = terminalWidth(Stream::Error);
    const std::string line = "\r" + progressLine(m_progress, m_look) + "\x1b[K";
    std::fwrite(line.data(), 1, line.size(), stderr);
    std::fflush(stderr);
}

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
        return look.label + " " +
               barText(fraction(progress), std::min(room - taken, kWidestBar), look.unicode,
                       look.colour ? BarLook::Green : BarLook::Plain) +
               "  " + figures;
    if (displayWidth(look.label) + 2 + figures.size() <= room)
        return look.label + "  " + figures;
    return figures.substr(0, room);
}

std::string barText(double share, std::size_t columns, bool unicode, BarLook look)
{
    const auto columnsDone =
        static_cast<std::size_t>(std::clamp(share, 0.0, 1.0) * static_cast<double>(columns));
    std::string done = repeated(unicode ? "█" : "#", columnsDone);
    const std::string rest = repeated(unicode ? "░" : "-", columns - columnsDone);
    if (look == BarLook::Green)
        done = fmt::format(fmt::fg(fmt::terminal_color::green), "{}", done);
    return unicode ? done + rest : "[" + done + rest + "]";
}

} // namespace penctl
