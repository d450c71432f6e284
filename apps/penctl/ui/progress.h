#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <mutex>
#include <optional>
#include <string>

#include "ui/interrupt.h"

namespace penctl {

/** How far a transfer has come. What counts is bytes; the units are pages or blocks. */
struct Progress {
    uint64_t bytes = 0;
    uint64_t totalBytes = 0;
    uint64_t units = 0;
    /** 0 when it is not known. */
    uint64_t totalUnits = 0;
    std::chrono::milliseconds elapsed{0};
};

/** How a progress line is drawn. */
struct ProgressLook {
    std::string label;
    std::string unitName;
    std::size_t columns = 80;
    bool unicode = false;
    bool colour = false;
};

/** Shows on standard error how far a transfer has come: a bar that is redrawn on a terminal, else a plain
 * line now and then. Any thread may call it. */
class ProgressDisplay
{
public:
    ProgressDisplay(std::string label, std::string unitName);
    /** Draws the last state and begins a new line; so does an interruption. */
    ~ProgressDisplay();
    ProgressDisplay(const ProgressDisplay &) = delete;
    ProgressDisplay &operator=(const ProgressDisplay &) = delete;

    /** Whether there is a bar, so that a caller may find out the number of units for it. */
    static bool isDrawn();

    /** Fills in the time elapsed itself. */
    void update(const Progress &progress);

private:
    using Clock = std::chrono::steady_clock;

    bool isDue(bool complete);
    void show();
    void finish();

    std::mutex m_mutex;
    ProgressLook m_look;
    Progress m_progress;
    Clock::time_point m_started;
    Clock::time_point m_lastShown;
    bool m_drawn;
    bool m_shown = false;
    bool m_stopped = false;
    std::optional<OnInterrupt> m_onInterrupt;
};

/** One line that fits into the columns: label, bar, per cent, bytes, units, rate. Where there is no room the
 * bar goes first, then the label. */
std::string progressLine(const Progress &progress, const ProgressLook &look);

/** The figures of that line alone: "45%  1.2 MiB/2.6 MiB  3/12 pages  5.1 MiB/s". */
std::string progressFigures(const Progress &progress, const std::string &unitName);

/** A bar, in brackets where there are no block characters.
 *  share  0 to 1
 *  done   how the part that is done looks: plain or green */
enum class BarLook { Plain, Green };
std::string barText(double share, std::size_t columns, bool unicode, BarLook done);

} // namespace penctl
