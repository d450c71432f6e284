#include "announcement.h"

#include <fmt/format.h>

namespace pensim {

namespace {

const char *header(Subscription subscription)
{
    return subscription == Subscription::dfu ? "DVP1" : "RVP1";
}

} // namespace

std::string penMessage(const Announcement &pen, std::string_view command)
{
    std::string text = fmt::format("{}\r\n", header(pen.audience()));
    if (!command.empty())
        text += fmt::format("{}\r\n", command);
    text += fmt::format(
        "pen-id={:016x}\r\npen-brand={}\r\npen-swver={:x}\r\npen-vid={:04x}\r\npen-pid={:04x}\r\n"
        "pen-dfu={}\r\n",
        pen.penId, pen.brand, pen.softwareVersion, pen.vendorId, pen.productId, pen.dfuMode ? 1 : 0);
    for (const std::string &protocol : pen.protocols)
        text += fmt::format("acc-prot={}\r\n", protocol);
    return text + fmt::format("service-port={}\r\n", pen.port) + '\0';
}

std::string endOfListMessage(Subscription subscription)
{
    return fmt::format("{}\r\nENDLIST\r\n", header(subscription)) + '\0';
}

} // namespace pensim
