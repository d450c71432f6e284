#include "commands/command.h"

#include <algorithm>
#include <set>

namespace penctl {

namespace {

struct RmOptions {
    PenChoice choice;
    std::vector<std::string> addresses;
    bool all = false;
    bool yes = false;
};

std::vector<std::string> listedPages(const zelpp::Pen &pen)
{
    return check(pen.tryPages(), "cannot list the pages").addresses;
}

void removePages(zelpp::Pen &pen, const std::vector<std::string> &addresses)
{
    std::vector<std::string> done;
    for (const std::string &address : addresses) {
        try {
            check(pen.tryRemovePage(address), fmt::format("cannot remove page {}", address));
        } catch (const Failure &failure) {
            if (done.empty())
                throw;
            throw Failure(failure.exitCode(),
                          fmt::format("{}; already removed: {}", failure.what(), fmt::join(done, " ")));
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
    if (options.all)
        return removeAll(pen, options);
    if (std::any_of(options.addresses.begin(), options.addresses.end(), isWildcard))
        requireConsent(options.yes, fmt::format("Remove every page like {} from pen {}?",
                                                fmt::join(options.addresses, " "), serialOf(pen)));
    // An address may stand for no page or for many: the lists before and after tell how many went.
    const std::vector<std::string> before = listedPages(pen);
    removePages(pen, options.addresses);
    const std::vector<std::string> after = listedPages(pen);
    const std::set<std::string_view> left(after.begin(), after.end());
    const auto gone = std::count_if(before.begin(), before.end(),
                                    [&](const std::string &address) { return left.count(address) == 0; });
    print(fmt::format("removed {} from pen {}\n", counted(static_cast<uint64_t>(gone), "page", "pages"),
                      serialOf(pen)));
}

} // namespace

void addRm(CLI::App &program)
{
    auto [command, options] = addCommand<RmOptions>(program, "rm", "Remove pages from a pen", rm);
    addPen(command, options.choice);
    addPageAddresses(command, options.addresses,
                     "A page to remove, as `pages` lists it; \"*\" for any number");
    addFlag(command, "--all", options.all, "Remove all strokes");
    requireOneOf(command, {"--page", "--all"}, 1);
    addFlag(command, "-y,--yes", options.yes, "Do not ask before --all, nor before a page with \"*\"");
}

} // namespace penctl
