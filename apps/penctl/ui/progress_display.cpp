#include "ui/progress_display.h"

#include <cstdio>
#include <utility>

#include <fmt/format.h>

#include "ui/output.h"
#include "ui/style.h"
#include "ui/terminal.h"

namespace penctl {

namespace {

constexpr std::chrono::milliseconds kRedraw{100};
constexpr std::chrono::milliseconds kPlainLine{5000};

} // namespace

ProgressDisplay::ProgressDisplay(std::string label, std::string unitName, uint64_t totalUnits)
    : m_started(Clock::now()), m_lastShown(m_started), m_drawn(isDrawn())
{
    m_look.label = std::move(label);
    m_look.unitName = std::move(unitName);
    m_look.unicode = showsUnicode(Stream::Error);
    m_look.colour = coloursOn(Stream::Error);
    m_progress.totalUnits = totalUnits;
    m_onInterrupt.emplace([this] {
        // The lock is taken as long as a terminal takes no more, for ever perhaps.
        if (const std::unique_lock lock(m_mutex, std::try_to_lock); lock)
            finish();
        return std::string();
    });
}

ProgressDisplay::~ProgressDisplay()
{
    m_onInterrupt.reset();
    stop();
}

bool ProgressDisplay::isDrawn()
{
    return drawsOn(Stream::Error);
}

void ProgressDisplay::setTotalUnits(uint64_t totalUnits)
{
    const std::lock_guard lock(m_mutex);
    m_progress.totalUnits = totalUnits;
}

void ProgressDisplay::update(uint64_t bytes, uint64_t totalBytes, uint64_t units)
{
    const std::lock_guard lock(m_mutex);
    m_progress.bytes = bytes;
    m_progress.totalBytes = totalBytes;
    m_progress.units = units;
    if (!m_stopped && isDue(bytes >= totalBytes))
        show();
}

void ProgressDisplay::stop()
{
    const std::lock_guard lock(m_mutex);
    finish();
}

void ProgressDisplay::finish()
{
    if (m_drawn && m_shown && !m_stopped) {
        show();
        std::fputc('\n', stderr);
    }
    m_stopped = true;
}

/** The first and the last state are always drawn, those between them so often that the eye can follow. */
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

} // namespace penctl
