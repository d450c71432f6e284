#include "program.h"

#include <algorithm>
#include <memory>

#include <fmt/format.h>

#include "commands/options.h"
#include "failure.h"
#include "pen/answer.h"
#include "pen/pens.h"
#include "ui/output.h"
#include "ui/printable.h"
#include "ui/units.h"

namespace penctl {

namespace {

struct RmOptions {
    PenChoice choice;
    std::vector<std::string> addresses;
    bool all = false;
    bool yes = false;
};

/** Counts the pages that were removed, by the lists before and after: one address may stand for no page or
 * for many. */
class Removal
{
public:
    explicit Removal(zelpp::Pen &pen) : m_pen(pen), m_before(listedPages()) {}

    void remove(const std::string &address) const
    {
        check(m_pen.tryRemovePage(address), fmt::format("cannot remove page {}", address));
    }

    std::string removed() const
    {
        const std::vector<std::string> after = listedPages();
        const auto gone = std::count_if(m_before.begin(), m_before.end(), [&](const std::string &address) {
            return std::find(after.begin(), after.end(), address) == after.end();
        });
        return counted(static_cast<uint64_t>(gone), "page", "pages");
    }

private:
    std::vector<std::string> listedPages() const
    {
        return check(m_pen.tryPages(), "cannot list the pages").addresses;
    }

    zelpp::Pen &m_pen;
    std::vector<std::string> m_before;
};

[[noreturn]] void failHalfway(const Failure &failure, const std::vector<std::string> &done)
{
    if (done.empty())
        throw failure;
    throw Failure(failure.exitCode(),
                  fmt::format("{}; already removed: {}", failure.what(), fmt::join(done, " ")));
}

void removePages(const Removal &removal, const std::vector<std::string> &addresses)
{
    std::vector<std::string> done;
    for (const std::string &address : addresses) {
        try {
            removal.remove(address);
        } catch (const Failure &failure) {
            failHalfway(failure, done);
        }
        done.push_back(address);
    }
}

void removeAll(zelpp::Pen &pen, const RmOptions &options)
{
    requireConsent(options.yes, fmt::format("Remove all strokes from pen {}?", serialOf(pen)));
    check(pen.tryRemoveAllStrokes(), "cannot remove the strokes");
    print(fmt::format("removed all strokes from pen {}\n", serialOf(pen)));
}

/** Whether an address may stand for several pages. A number with all bits set means "*" too. */
bool isWildcard(const std::string &address)
{
    const std::optional<uint64_t> number = zelpp::parseAddress(address);
    return number && zelpp::addressText(*number).find('*') != std::string::npos;
}

void rm(const RmOptions &options)
{
    zelpp::Pen pen = openPen(options.choice);
    const std::string serial = serialOf(pen);
    if (options.all)
        return removeAll(pen, options);
    if (std::any_of(options.addresses.begin(), options.addresses.end(), isWildcard))
        requireConsent(options.yes, fmt::format("Remove every page like {} from pen {}?",
                                                fmt::join(options.addresses, " "), serial));
    const Removal removal(pen);
    removePages(removal, options.addresses);
    print(fmt::format("removed {} from pen {}\n", removal.removed(), serial));
}

} // namespace

void addRm(CLI::App &program)
{
    auto options = std::make_shared<RmOptions>();
    CLI::App &command = addCommand(program, "rm", "Remove pages from a pen", [options] { rm(*options); });
    addPen(command, options->choice);
    addPageAddresses(command, options->addresses,
                     "A page to remove, as `pages` lists it; \"*\" for any number");
    addFlag(command, "--all", options->all, "Remove all strokes");
    requireOneOf(command, {"--page", "--all"}, 1);
    addFlag(command, "-y,--yes", options->yes, "Do not ask before --all, nor before a page with \"*\"");
}

} // namespace penctl
