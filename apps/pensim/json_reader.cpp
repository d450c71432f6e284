#include "json_reader.h"

#include <charconv>
#include <stdexcept>

namespace pensim {

JsonReader::JsonReader(const nlohmann::json &object, std::string place)
    : m_object(object), m_place(std::move(place))
{
    if (!object.is_object())
        fail(m_place, "must be an object");
}

const nlohmann::json &JsonReader::at(const std::string &key)
{
    m_asked.insert(key);
    const auto found = m_object.find(key);
    if (found == m_object.end())
        fail(m_place, "lacks \"" + key + "\"");
    return *found;
}

void JsonReader::read(const std::string &key, bool &target)
{
    if (!has(key))
        return;
    if (!at(key).is_boolean())
        fail(place(key), "must be true or false");
    target = at(key).get<bool>();
}

void JsonReader::read(const std::string &key, std::string &target)
{
    if (!has(key))
        return;
    if (!at(key).is_string())
        fail(place(key), "must be a text");
    target = at(key).get<std::string>();
}

void JsonReader::read(const std::string &key, std::vector<std::string> &target)
{
    if (has(key))
        target.clear();
    readList(key, target, [](const nlohmann::json &item, const std::string &where, auto &list) {
        if (!item.is_string())
            fail(where, "must be a text");
        list.push_back(item.get<std::string>());
    });
}

void JsonReader::read(const std::string &key, std::chrono::milliseconds &target)
{
    std::uint32_t count = 0;
    read(key, count);
    if (has(key))
        target = std::chrono::milliseconds(count);
}

void JsonReader::finish() const
{
    for (const auto &item : m_object.items())
        if (!m_asked.contains(item.key()))
            fail(m_place, "has an unknown key \"" + item.key() + "\"");
}

namespace {

bool parseNumber(std::string_view text, std::uint64_t &number)
{
    const bool hexadecimal = text.starts_with("0x");
    if (hexadecimal)
        text.remove_prefix(2);
    const auto [end, error] =
        std::from_chars(text.data(), text.data() + text.size(), number, hexadecimal ? 16 : 10);
    return error == std::errc() && end == text.data() + text.size();
}

int hexDigit(char character)
{
    constexpr std::string_view digits = "0123456789abcdef";
    const auto place = digits.find(static_cast<char>(std::tolower(static_cast<unsigned char>(character))));
    return place == digits.npos ? -1 : static_cast<int>(place);
}

} // namespace

std::uint64_t JsonReader::number(const nlohmann::json &value, const std::string &place, std::uint64_t largest)
{
    std::uint64_t number = 0;
    if (value.is_number_unsigned())
        number = value.get<std::uint64_t>();
    else if (!value.is_string() || !parseNumber(value.get<std::string>(), number))
        fail(place, "must be a number that is not negative");
    if (number > largest)
        fail(place, "must be at most " + std::to_string(largest));
    return number;
}

Bytes JsonReader::hexBytes(const nlohmann::json &value, const std::string &place)
{
    if (!value.is_string())
        fail(place, "must be a text of hexadecimal digits");
    Bytes bytes;
    int high = -1;
    for (const char character : value.get<std::string>()) {
        if (character == ' ')
            continue;
        const int digit = hexDigit(character);
        if (digit < 0)
            fail(place, "must be a text of hexadecimal digits");
        if (high >= 0)
            bytes.push_back(static_cast<std::uint8_t>(high << 4 | digit));
        high = high < 0 ? digit : -1;
    }
    if (high >= 0)
        fail(place, "has an odd number of hexadecimal digits");
    return bytes;
}

void JsonReader::requireArray(const nlohmann::json &value, const std::string &place)
{
    if (!value.is_array())
        fail(place, "must be a list");
}

void JsonReader::fail(const std::string &place, const std::string &what)
{
    throw std::runtime_error(place + " " + what);
}

} // namespace pensim
