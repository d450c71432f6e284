#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <string>

namespace penctl {

/** How far a transfer has come. What counts is bytes; the units are pages or blocks. */
struct Progress {
    uint64_t bytes = 0;
    uint64_t totalBytes = 0;
    uint64_t units = 0;
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

/** One line that fits into the columns: label, bar, per cent, bytes, units, rate. Where there is no room the
 * bar goes first, then the label. */
std::string progressLine(const Progress &progress, const ProgressLook &look);

/** The figures of that line alone: "45%  1.2 MiB of 2.6 MiB  3 of 12 pages  5.1 MiB/s". */
std::string progressFigures(const Progress &progress, const std::string &unitName);

} // namespace penctl
