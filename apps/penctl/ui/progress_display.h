#pragma once

#include <chrono>
#include <cstdint>
#include <mutex>
#include <optional>
#include <string>

#include "ui/interrupt.h"
#include "ui/progress_line.h"

namespace penctl {

/** Shows on standard error how far a transfer has come: a bar that is drawn over on a terminal, else a plain
 * line now and then. Any thread may call it. */
class ProgressDisplay
{
public:
    /** totalUnits  0 when it is not known */
    ProgressDisplay(std::string label, std::string unitName, uint64_t totalUnits);
    ~ProgressDisplay();
    ProgressDisplay(const ProgressDisplay &) = delete;
    ProgressDisplay &operator=(const ProgressDisplay &) = delete;

    /** Whether there is a bar, so that a caller may find out the number of units for it. */
    static bool isDrawn();

    void setTotalUnits(uint64_t totalUnits);
    void update(uint64_t bytes, uint64_t totalBytes, uint64_t units);

    /** Draws the last state and begins a new line; later updates are ignored. */
    void stop();

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

} // namespace penctl
