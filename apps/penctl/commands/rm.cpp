#include "commands/commands.h"

#include <algorithm>
#include <memory>

#include <fmt/format.h>

#include "commands/options.h"
#include "host/lock_state.h"
#include "host/page_address.h"
#include "host/page_list.h"
#include "host/pen_session.h"
#include "ui/confirm.h"
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

PageListing listPages(PenHandle *pen)
{
    PageListing listing;
    checkPageRequest(pen, readPageList(pen, listing), "cannot list the pages");
    return listing;
}

/** The pages that went, by what the pen lists before and after: an address may stand for none, or for many.
 */
class Removal
{
public:
    explicit Removal(PenHandle *pen) : m_pen(pen), m_before(listPages(pen).addresses) {}

    void remove(const std::string &address) const
    {
        const uint32_t code = zelRemovePage(m_pen, address.c_str());
        checkPageRequest(m_pen, code, fmt::format("cannot remove page {}", address));
    }

    std::string removed() const
    {
        const std::vector<std::string> after = listPages(m_pen).addresses;
        const auto gone = std::count_if(m_before.begin(), m_before.end(), [&](const std::string &address) {
            return std::find(after.begin(), after.end(), address) == after.end();
        });
        return counted(static_cast<uint64_t>(gone), "page", "pages");
    }

private:
    PenHandle *m_pen;
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

void removeAll(PenHandle *pen, const RmOptions &options, const std::string &serial)
{
    requireConsent(options.yes, fmt::format("Remove all strokes from pen {}?", serial));
    checkPageRequest(pen, zelRemoveAllStrokes(pen), "cannot remove the strokes");
    print(fmt::format("removed all strokes from pen {}\n", serial));
}

void rm(const RmOptions &options)
{
    const PenSession pen(options.choice);
    const std::string serial = printable(pen.identity().serial);
    if (options.all)
        return removeAll(pen.handle(), options, serial);
    if (std::any_of(options.addresses.begin(), options.addresses.end(), isWildcard))
        requireConsent(options.yes, fmt::format("Remove every page like {} from pen {}?",
                                                fmt::join(options.addresses, " "), serial));
    const Removal removal(pen.handle());
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
