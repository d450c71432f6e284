#include "pen/pens.h"

#include <cctype>
#include <chrono>

#include <fmt/format.h>

#include "failure.h"
#include "pen/answer.h"
#include "ui/text.h"

namespace penctl {

namespace {

std::chrono::milliseconds toMillis(double seconds)
{
    return std::chrono::milliseconds(static_cast<int64_t>(seconds * 1000));
}

std::string listOf(const std::vector<zelpp::PenInfo> &pens)
{
    std::string text;
    for (const zelpp::PenInfo &pen : pens)
        text += "\n  " + printable(pen.serial);
    return text;
}

zelpp::PenInfo findOnlyPen(const zelpp::Discovery &library, const PenChoice &choice)
{
    const std::vector<zelpp::PenInfo> pens = findPens(library, choice);
    if (pens.empty())
        failWithoutPens(choice);
    if (pens.size() > 1)
        throw Failure(kUsageError,
                      fmt::format("several pens are present; name one of them:{}", listOf(pens)));
    return pens.front();
}

[[noreturn]] void failWithout(const std::string &serial, const std::vector<zelpp::PenInfo> &pens)
{
    if (pens.empty())
        throw Failure(kNoPen, fmt::format("pen {} is not present, nor is any other", printable(serial)));
    throw Failure(kNoPen,
                  fmt::format("pen {} is not present; these are:{}", printable(serial), listOf(pens)));
}

} // namespace

std::vector<zelpp::PenInfo> findPens(const zelpp::Discovery &library, const PenChoice &choice)
{
    return library.discover(toMillis(choice.wait), toMillis(choice.settle));
}

void failWithoutPens(const PenChoice &choice)
{
    throw Failure(kNoPen, fmt::format("no pen found within {} s (is the pen service running?)", choice.wait));
}

zelpp::PenInfo findPen(const zelpp::Discovery &library, const PenChoice &choice)
{
    if (choice.serial.empty())
        return findOnlyPen(library, choice);
    const zelpp::Result<zelpp::PenInfo> pen = library.tryWait(choice.serial, toMillis(choice.wait));
    if (!pen)
        failWithout(choice.serial, library.pens());
    return *pen;
}

zelpp::Pen openPen(const PenChoice &choice)
{
    const zelpp::Library library = check(zelpp::Library::tryStart(), "cannot start the library");
    return check(library.tryConnect(findPen(library, choice)), "cannot connect to the pen");
}

std::string serialOf(const zelpp::Pen &pen)
{
    return printable(pen.serial());
}

std::string penIdText(uint64_t penId)
{
    return fmt::format("0x{:016x}", penId);
}

std::string usbText(const zelpp::PenInfo &pen)
{
    return fmt::format("{:04x}:{:04x}", pen.vendorId, pen.productId);
}

Json penJson(const zelpp::PenInfo &pen, const Json &more)
{
    Json json = {{"serial", pen.serial},
                 {"penId", penIdText(pen.penId)},
                 {"vendorId", fmt::format("0x{:04x}", pen.vendorId)},
                 {"productId", fmt::format("0x{:04x}", pen.productId)}};
    json.update(more);
    return json;
}

bool looksLikeSerial(const std::string &text)
{
    constexpr std::string_view form = "XXX-XXX-XXX-XX";
    const auto fits = [](char expected, unsigned char c) {
        return expected == '-' ? c == '-' : std::isalnum(c) != 0;
    };
    return text == "INVALID-PEN-ID" || std::equal(form.begin(), form.end(), text.begin(), text.end(), fits);
}

} // namespace penctl
