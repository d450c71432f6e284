#include "rendezvous/rendezvous_message.h"

#include "rendezvous/scanned_number.h"
#include "sys/log.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <optional>
#include <string>

namespace zel::rendezvous {

namespace {

constexpr std::size_t kLongestBrand = 127;

/** A line's key, and how its two complaints name what it stands for. */
struct Key {
    std::string_view text; // with one hyphen in it
    const char *token = "";
    const char *value = "";
    std::size_t hyphen = text.find('-');
};

enum KeyIndex { kServicePort, kVendorId, kProductId, kDfu, kBrand, kPenId, kSoftwareVersion, kKeyCount };

constexpr Key kKeys[kKeyCount] = {
    {"service-port="},
    {"pen-vid", "VendorId", "VendorId"},
    {"pen-pid", "ProductId", "ProductId"},
    {"pen-dfu", "DFU", "DFU"},
    {"pen-brand=", "PenBrand", "Pen brand"},
    {"pen-id", "PenId", "PenId hex"},
    {"pen-swver", "Pen Software Version", "Pen Software Version hex"},
};
constexpr std::string_view kAcceptedProtocol = "acc-prot";

bool contains(std::string_view message, std::string_view word) noexcept
{
    return message.find(word) != std::string_view::npos;
}

/** The first position of each key in the message. Every key has a hyphen, and a message has few hyphens, so
 *  one pass over the hyphens finds all keys. */
class KeyPlaces
{
public:
    explicit KeyPlaces(std::string_view message) noexcept
    {
        m_places.fill(std::string_view::npos);
        for (std::size_t at = message.find('-'); at < message.size(); at = message.find('-', at + 1))
            noteKeyAround(message, at);
    }

    std::size_t operator[](KeyIndex key) const noexcept { return m_places[key]; }

private:
    void noteKeyAround(std::string_view message, std::size_t hyphen) noexcept
    {
        const char behind = hyphen + 1 < message.size() ? message[hyphen + 1] : '\0';
        for (std::size_t i = 0; i < kKeyCount; ++i) {
            const Key &key = kKeys[i];
            if (behind != key.text[key.hyphen + 1] || hyphen < key.hyphen)
                continue;
            const std::size_t place = hyphen - key.hyphen;
            if (m_places[i] == std::string_view::npos && message.substr(place).starts_with(key.text))
                m_places[i] = place;
        }
    }

    std::array<std::size_t, kKeyCount> m_places;
};

/** The text from a position to the end of its line; empty when the position is beyond the end of the message.
 */
std::string_view restOfLine(std::string_view message, std::size_t position) noexcept
{
    if (position >= message.size())
        return {};
    const std::string_view rest = message.substr(position);
    return rest.substr(0, rest.find('\r'));
}

void logTokenMissing(const Key &key, std::string_view message)
{
    LogError("[RendezvousClient] ", key.token, " token not found in buffer: ", message);
}

void logUnreadable(const Key &key, std::string_view message)
{
    LogError("[RendezvousClient] ", key.value, " string not found in buffer: ", message);
}

char toLower(char character) noexcept
{
    return character >= 'A' && character <= 'Z' ? static_cast<char>(character | 0x20) : character;
}

/** The place of the next "acc-prot" in any case, or npos. */
std::size_t findAcceptedProtocol(std::string_view message, std::size_t from) noexcept
{
    constexpr std::size_t kHyphen = kAcceptedProtocol.find('-');
    for (std::size_t hyphen = message.find('-', from); hyphen < message.size();
         hyphen = message.find('-', hyphen + 1)) {
        if (hyphen < from + kHyphen)
            continue;
        const std::string_view text = message.substr(hyphen - kHyphen, kAcceptedProtocol.size());
        if (std::ranges::equal(text, kAcceptedProtocol, {}, toLower))
            return hyphen - kHyphen;
    }
    return std::string_view::npos;
}

PenPspVersions readVersions(std::string_view message)
{
    PenPspVersions versions;
    for (std::size_t at = 0;;) {
        const std::size_t key = findAcceptedProtocol(message, at);
        const std::size_t equals = key == std::string_view::npos ? key : message.find('=', key);
        const std::size_t end = equals == std::string_view::npos ? equals : message.find('\r', equals);
        if (end == std::string_view::npos)
            return versions;
        versions.addFromText(message.substr(equals + 1, end - equals - 1));
        at = end;
    }
}

/** Reads the values of a message's keys. */
class PenMessage
{
public:
    explicit PenMessage(std::string_view message) noexcept : m_message(message), m_places(message) {}

    std::uint16_t servicePort() const
    {
        const std::size_t found = m_places[kServicePort];
        if (found == std::string_view::npos)
            return 0;
        const auto port = scanDecimal(restOfLine(m_message, found + kKeys[kServicePort].text.size()));
        return static_cast<std::uint16_t>(port.value_or(0));
    }

    std::uint64_t hexadecimal(KeyIndex key) const
    {
        return number<std::uint64_t>(key, scanHexadecimal).value_or(0);
    }

    bool dfu() const { return number<std::int32_t>(kDfu, scanDecimal).value_or(0) >= 1; }

    std::string brand() const
    {
        const std::size_t found = m_places[kBrand];
        if (found == std::string_view::npos) {
            logTokenMissing(kKeys[kBrand], m_message);
            return {};
        }
        const std::size_t begin = found + kKeys[kBrand].text.size();
        const std::size_t end = m_message.find('\r', begin);
        if (end == std::string_view::npos) {
            logUnreadable(kKeys[kBrand], m_message);
            return {};
        }
        return std::string(m_message.substr(begin, std::min(end - begin, kLongestBrand)));
    }

private:
    /** Behind the key and one "=". */
    template <class Number>
    std::optional<Number> number(KeyIndex key, std::optional<Number> (*scan)(std::string_view)) const
    {
        const std::size_t found = m_places[key];
        if (found == std::string_view::npos) {
            logTokenMissing(kKeys[key], m_message);
            return std::nullopt;
        }
        std::string_view value = restOfLine(m_message, found + kKeys[key].text.size());
        value.remove_prefix(std::min<std::size_t>(value.size(), 1)); // the "="
        const auto number = scan(value);
        if (!number)
            logUnreadable(kKeys[key], m_message);
        return number;
    }

    std::string_view m_message;
    KeyPlaces m_places;
};

} // namespace

bool isEndOfList(std::string_view message) noexcept
{
    return contains(message, "ENDLIST");
}

bool isPenMessage(std::string_view message) noexcept
{
    return contains(message, "RVP1") || contains(message, "DVP1");
}

RendezvousCommand commandOf(std::string_view message, std::uint16_t servicePort)
{
    // "DISCONNECT" contains "CONNECT", so look for the longer word first.
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

RendezvousEvent parsePenMessage(std::string_view text)
{
    const PenMessage message(text);
    RendezvousEvent event;
    event.servicePort = message.servicePort();
    event.pspVersions = readVersions(text);
    event.vendorId = static_cast<std::uint16_t>(message.hexadecimal(kVendorId));
    event.productId = static_cast<std::uint16_t>(message.hexadecimal(kProductId));
    event.dfu = message.dfu();
    event.penBrand = message.brand();
    event.penId = PenId(message.hexadecimal(kPenId));
    // The number is cut to 16 bits, because hosts compare 16 bits.
    event.penSwVersion = static_cast<std::uint16_t>(message.hexadecimal(kSoftwareVersion));
    return event;
}

} // namespace zel::rendezvous
