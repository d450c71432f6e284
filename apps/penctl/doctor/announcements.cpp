#include "doctor/announcements.h"

#include <algorithm>
#include <cctype>
#include <cstdlib>
#include <string_view>

#include <fmt/format.h>
#include <zel/page_data.hpp>

namespace penctl {

namespace {

using namespace std::string_view_literals;
using Clock = std::chrono::steady_clock;

constexpr std::size_t kLongestMessage = 1023; // that the library reads
constexpr std::size_t kLongestList = 16u << 20;
constexpr std::size_t kShown = 60;
constexpr int32_t kHighestGroup = 30 * 30 * 30 - 1;
constexpr int32_t kHighestNumber = 30 * 30 * 30 * 30 * 30 * 30 - 1;

/** What stands between the "=" of a key and the end of its line; empty without the key. */
std::string valueOf(const std::string &message, std::string_view key)
{
    const std::size_t found = message.find(key);
    if (found == std::string::npos)
        return {};
    const std::size_t begin = found + key.size() + 1;
    return begin >= message.size() ? "" : message.substr(begin, message.find('\r', begin) - begin);
}

uint64_t numberOf(const std::string &message, std::string_view key, int base)
{
    return std::strtoull(valueOf(message, key).c_str(), nullptr, base);
}

std::vector<std::string> protocolsIn(const std::string &message)
{
    std::string lower = message;
    std::ranges::transform(lower, lower.begin(), [](unsigned char c) { return std::tolower(c); });
    std::vector<std::string> protocols;
    std::size_t end = 0;
    for (std::size_t key = lower.find("acc-prot"); key != std::string::npos;
         key = lower.find("acc-prot", end)) {
        const std::size_t equals = lower.find('=', key);
        end = equals == std::string::npos ? equals : lower.find('\r', equals);
        if (end == std::string::npos)
            break;
        std::string token = lower.substr(equals + 1, end - equals - 1);
        std::erase(token, ' ');
        std::ranges::transform(token, token.begin(), [](unsigned char c) { return std::toupper(c); });
        protocols.push_back(token);
    }
    return protocols;
}

bool has(const std::vector<std::string> &texts, std::string_view text)
{
    return std::ranges::find(texts, text) != texts.end();
}

bool hasSerial(uint64_t penId)
{
    const auto half = [](uint64_t number) { return static_cast<int32_t>(static_cast<uint32_t>(number)); };
    return penId == UINT64_MAX || (half(penId >> 32) <= kHighestGroup && half(penId) <= kHighestNumber);
}

/** Whether the bytes hold a message that is a pen's. */
bool looksLikeList(const std::string &bytes)
{
    return bytes.find("RVP1") != std::string::npos || bytes.find("DVP1") != std::string::npos;
}

/** Moves the whole messages out of the bytes. Whether the end of the list was among them. */
bool takeMessages(std::string &bytes, std::vector<Announcement> &announcements)
{
    for (std::size_t end = bytes.find('\0'); end != std::string::npos; end = bytes.find('\0')) {
        const std::string message = bytes.substr(0, end);
        bytes.erase(0, end + 1);
        if (message.find("ENDLIST") != std::string::npos)
            return true;
        announcements.emplace_back(message);
    }
    return false;
}

PenListing::State stateAfter(Step step, const PenListing &listing, const std::string &rest)
{
    const bool anyPen = std::ranges::any_of(listing.announcements, &Announcement::isOfPen);
    if (anyPen || looksLikeList(rest))
        return PenListing::State::Unfinished;
    if (!rest.empty() || !listing.announcements.empty())
        return PenListing::State::OtherProtocol;
    return step == Step::Late ? PenListing::State::Silent : PenListing::State::Closed;
}

} // namespace

Announcement::Announcement(std::string message) : text(std::move(message))
{
    const std::string read = text.substr(0, kLongestMessage);
    penId = numberOf(read, "pen-id", 16);
    brand = valueOf(read, "pen-brand");
    softwareVersion = static_cast<uint16_t>(numberOf(read, "pen-swver", 16));
    protocols = protocolsIn(read);
    vendorId = static_cast<uint16_t>(numberOf(read, "pen-vid", 16));
    productId = static_cast<uint16_t>(numberOf(read, "pen-pid", 16));
    firmwareUpgrade = std::strtol(valueOf(read, "pen-dfu").c_str(), nullptr, 10) >= 1;
    servicePort = static_cast<uint16_t>(numberOf(read, "service-port", 10));
}

bool Announcement::isOfPen() const
{
    return looksLikeList(text);
}

std::string Announcement::name() const
{
    if (!isOfPen())
        return "unknown";
    return hasSerial(penId) ? zelpp::serialText(penId) : fmt::format("0x{:016x}", penId);
}

bool Announcement::spoilsList() const
{
    return isOfPen() && !hasSerial(penId);
}

std::string Announcement::fault() const
{
    if (!isOfPen())
        return "it has neither RVP1 nor DVP1: the library skips it";
    if (spoilsList())
        return "no pen has such an identity: the library drops the whole list";
    if (text.size() > kLongestMessage)
        return fmt::format("it has {} bytes, of which the library reads {}", text.size(), kLongestMessage);
    if (valueOf(text, "pen-id").empty())
        return "pen-id is missing";
    return servicePort == 0 ? "service-port is missing: connecting gives 11" : "";
}

bool Announcement::isSupported() const
{
    constexpr int16_t kNewestOfPsp40 = 0x0503;
    constexpr int16_t kFirmwareUpgrade = 0x0100;
    const auto software = static_cast<int16_t>(softwareVersion); // the library compares it as a signed number
    return has(protocols, "PSP41") ||
           (has(protocols, "PSP40") ? software <= kNewestOfPsp40
                                    : has(protocols, "DFUPSP10") && software == kFirmwareUpgrade);
}

PenListing listPens(PenMode mode, Limit limit)
{
    const Clock::time_point end = Clock::now() + limit;
    const auto left = [end] {
        return std::max(Limit(0), std::chrono::duration_cast<Limit>(end - Clock::now()));
    };
    const std::string_view request = mode == PenMode::Ordinary ? "RVA1\r\nsubscribe=RVP\r\n\0LIST\0"sv
                                                               : "DVA1\r\nsubscribe=DVP\r\n\0LIST\0"sv;
    PenListing listing;
    LoopbackConnection connection;
    Step step = connection.connect(kRendezvousPort, limit);
    if (step != Step::Done) {
        listing.state = step == Step::Refused ? PenListing::State::Refused : PenListing::State::Unreachable;
        listing.detail = connection.reason();
        return listing;
    }
    std::string rest;
    step = connection.send(request, limit);
    while (step == Step::Done && rest.size() < kLongestList) {
        step = connection.receive(rest, left());
        if (takeMessages(rest, listing.announcements)) {
            listing.state = PenListing::State::Whole;
            return listing;
        }
    }
    listing.state = stateAfter(step, listing, rest);
    listing.detail = (listing.announcements.empty() ? rest : listing.announcements[0].text).substr(0, kShown);
    return listing;
}

} // namespace penctl
