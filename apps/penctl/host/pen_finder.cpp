#include "host/pen_finder.h"

#include <algorithm>
#include <cctype>

#include <fmt/format.h>

#include "exit_code.h"
#include "failure.h"
#include "ui/printable.h"

namespace penctl {

namespace {

using Clock = std::chrono::steady_clock;

std::chrono::milliseconds milliseconds(double seconds)
{
    return std::chrono::milliseconds(static_cast<int64_t>(seconds * 1000));
}

std::chrono::milliseconds until(Clock::time_point end)
{
    return std::max(std::chrono::milliseconds(0),
                    std::chrono::ceil<std::chrono::milliseconds>(end - Clock::now()));
}

/** A pen announced again replaces its earlier record; one that departed goes. */
void apply(std::vector<PresentPen> &pens, PenRecord record)
{
    std::erase_if(pens, [&](const PresentPen &pen) { return pen.identity.penId == record->penId; });
    if (record->kind == ZEL_PEN_ARRIVED) {
        PenIdentity identity = identityOf(*record);
        pens.push_back({std::move(identity), std::move(record)});
    }
}

std::string upperCase(std::string text)
{
    std::transform(text.begin(), text.end(), text.begin(),
                   [](unsigned char c) { return static_cast<char>(std::toupper(c)); });
    return text;
}

std::string listOf(const std::vector<PresentPen> &pens)
{
    std::string text;
    for (const PresentPen &pen : pens)
        text += "\n  " + printable(pen.identity.serial);
    return text;
}

/** Collects announcements until the pen is there, or for the pens of findPens when none is named. */
std::vector<PresentPen> collect(PenEvents &events, const PenChoice &choice)
{
    const std::string wanted = upperCase(choice.serial);
    const Clock::time_point end = Clock::now() + milliseconds(choice.wait);
    std::vector<PresentPen> pens;
    for (;;) {
        const bool settling = wanted.empty() && !pens.empty();
        std::optional<PenRecord> record = events.next(settling ? milliseconds(choice.settle) : until(end));
        if (!record)
            return pens;
        apply(pens, std::move(*record));
        if (!wanted.empty() && !pens.empty() && pens.back().identity.serial == wanted)
            return pens;
    }
}

[[noreturn]] void failWithout(const PenChoice &choice, const std::vector<PresentPen> &pens)
{
    if (choice.serial.empty())
        failWithoutPens(choice);
    if (pens.empty())
        throw Failure(kNoPen,
                      fmt::format("pen {} is not present, nor is any other", printable(choice.serial)));
    throw Failure(kNoPen,
                  fmt::format("pen {} is not present; these are:{}", printable(choice.serial), listOf(pens)));
}

} // namespace

std::vector<PresentPen> findPens(PenEvents &events, const PenChoice &choice)
{
    PenChoice all = choice;
    all.serial.clear();
    return collect(events, all);
}

void failWithoutPens(const PenChoice &choice)
{
    throw Failure(kNoPen, fmt::format("no pen found within {} s (is the pen service running?)", choice.wait));
}

PresentPen findPen(PenEvents &events, const PenChoice &choice)
{
    std::vector<PresentPen> pens = collect(events, choice);
    if (choice.serial.empty() && pens.size() > 1)
        throw Failure(kUsageError,
                      fmt::format("several pens are present; name one of them:{}", listOf(pens)));
    if (pens.empty() || (!choice.serial.empty() && pens.back().identity.serial != upperCase(choice.serial)))
        failWithout(choice, pens);
    return std::move(pens.back());
}

} // namespace penctl
