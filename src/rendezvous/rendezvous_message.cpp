#include "rendezvous/rendezvous_message.h"

#include "rendezvous/scanned_number.h"
#include "sys/log.h"

#include <algorithm>
#include <optional>
#include <string_view>

namespace zel::rendezvous {

namespace {

constexpr std::size_t kLongestBrand = 127;

/** A line's key, and how its two complaints name what it stands for. */
struct Key {
    std::string_view text;
    const char *token;
    const char *value;
};

constexpr Key kPenId{"pen-id", "PenId", "PenId hex"};
constexpr Key kSoftwareVersion{"pen-swver", "Pen Software Version", "Pen Software Version hex"};
constexpr Key kVendorId{"pen-vid", "VendorId", "VendorId"};
constexpr Key kProductId{"pen-pid", "ProductId", "ProductId"};
constexpr Key kDfu{"pen-dfu", "DFU", "DFU"};
constexpr Key kBrand{"pen-brand=", "PenBrand", "Pen brand"};
constexpr std::string_view kServicePort = "service-port=";
constexpr std::string_view kAcceptedProtocol = "acc-prot";

bool contains(const std::string &message, std::string_view word) noexcept
{
    return message.find(word) != std::string::npos;
}

/** What stands from a position to the end of its line; empty beyond the end of the message. */
std::string_view restOfLine(std::string_view message, std::size_t position) noexcept
{
    if (position >= message.size())
        return {};
    const std::string_view rest = message.substr(position);
    return rest.substr(0, rest.find('\r'));
}

void logTokenMissing(const Key &key, const std::string &message)
{
    LogError("[RendezvousClient] ", key.token, " token not found in buffer: ", message);
}

void logUnreadable(const Key &key, const std::string &message)
{
    LogError("[RendezvousClient] ", key.value, " string not found in buffer: ", message);
}

/** The number behind the key and one "=", wherever in the message the key first stands. */
template <class Number>
std::optional<Number> readNumber(const std::string &message, const Key &key,
                                 std::optional<Number> (*scan)(std::string_view))
{
    const std::size_t found = message.find(key.text);
    if (found == std::string::npos) {
        logTokenMissing(key, message);
        return std::nullopt;
    }
    std::string_view value = restOfLine(message, found + key.text.size());
    value.remove_prefix(std::min<std::size_t>(value.size(), 1)); // the "="
    const auto number = scan(value);
    if (!number)
        logUnreadable(key, message);
    return number;
}

std::uint64_t readHexadecimal(const std::string &message, const Key &key)
{
    return readNumber<std::uint64_t>(message, key, scanHexadecimal).value_or(0);
}

std::uint16_t readServicePort(const std::string &message)
{
    const std::size_t found = message.find(kServicePort);
    if (found == std::string::npos)
        return 0;
    const auto port = scanDecimal(restOfLine(message, found + kServicePort.size()));
    return static_cast<std::uint16_t>(port.value_or(0));
}

char toLower(char character) noexcept
{
    return character >= 'A' && character <= 'Z' ? static_cast<char>(character | 0x20) : character;
}

PenPspVersions readVersions(std::string message)
{
    std::transform(message.begin(), message.end(), message.begin(), toLower);
    PenPspVersions versions;
    for (std::size_t at = 0;;) {
        const std::size_t key = message.find(kAcceptedProtocol, at);
        const std::size_t equals = key == std::string::npos ? key : message.find('=', key);
        const std::size_t end = equals == std::string::npos ? equals : message.find('\r', equals);
        if (end == std::string::npos)
            return versions;
        versions.addFromText(std::string_view(message).substr(equals + 1, end - equals - 1));
        at = end;
    }
}

std::string readBrand(const std::string &message)
{
    const std::size_t found = message.find(kBrand.text);
    if (found == std::string::npos) {
        logTokenMissing(kBrand, message);
        return {};
    }
    const std::size_t begin = found + kBrand.text.size();
    const std::size_t end = message.find('\r', begin);
    if (end == std::string::npos) {
        logUnreadable(kBrand, message);
        return {};
    }
    return message.substr(begin, std::min(end - begin, kLongestBrand));
}

} // namespace

bool isEndOfList(const std::string &message) noexcept
{
    return contains(message, "ENDLIST");
}

bool isPenMessage(const std::string &message) noexcept
{
    return contains(message, "RVP1") || contains(message, "DVP1");
}

RendezvousCommand commandOf(const std::string &message, std::uint16_t servicePort)
{
    // The longer word contains the shorter one.
    if (contains(message, "DISCONNECT")) {
        LogInfo("Pen disconnected ", servicePort);
        return RendezvousCommand::Disconnect;
    }
    if (contains(message, "CONNECT")) {
        LogInfo("Pen connected ", servicePort);
        return RendezvousCommand::Connect;
    }
    LogError("Commmand not known: ", message);
    return RendezvousCommand::Unknown;
}

RendezvousEvent parsePenMessage(const std::string &message)
{
    RendezvousEvent event;
    event.servicePort = readServicePort(message);
    event.pspVersions = readVersions(message);
    event.vendorId = static_cast<std::uint16_t>(readHexadecimal(message, kVendorId));
    event.productId = static_cast<std::uint16_t>(readHexadecimal(message, kProductId));
    event.dfu = readNumber<std::int32_t>(message, kDfu, scanDecimal).value_or(0) >= 1;
    event.penBrand = readBrand(message);
    event.penId = PenId(readHexadecimal(message, kPenId));
    // Hosts compare 16 bits; what stands above them is cut off.
    event.penSwVersion = static_cast<std::uint16_t>(readHexadecimal(message, kSoftwareVersion));
    return event;
}

} // namespace zel::rendezvous
