#include "value_json.h"

#include <algorithm>
#include <charconv>
#include <fmt/format.h>
#include <stdexcept>

namespace pensim {

namespace {

using nlohmann::json;
using nlohmann::ordered_json;

struct TypeName {
    const char *name;
    Type type;
};

constexpr TypeName kTypeNames[] = {
    {"null", Type::null},
    {"bool", Type::boolean},
    {"byte", Type::byte},
    {"short16", Type::short16},
    {"int32", Type::int32},
    {"long64", Type::long64},
    {"string", Type::string},
    {"binary", Type::binary},
    {"array", Type::array},
    {"data_array", Type::dataArray},
    {"terminated_array", Type::terminatedArray},
    {"terminator", Type::terminator},
    {"escaped_binary", Type::escapedBinary},
    {"any", Type::any},
};

std::string nameOf(Type type)
{
    const auto found = std::find_if(std::begin(kTypeNames), std::end(kTypeNames),
                                    [type](const TypeName &row) { return row.type == type; });
    return found == std::end(kTypeNames) ? fmt::format("type {}", static_cast<int>(type)) : found->name;
}

Type typeNamed(const std::string &name)
{
    return std::find_if(std::begin(kTypeNames), std::end(kTypeNames),
                        [&](const TypeName &row) { return row.name == name; })
        ->type;
}

// Clients choose the bytes of a text; JSON takes UTF-8 only.
std::string printable(const std::string &text)
{
    return dumped(ordered_json(text));
}

ordered_json textJson(const std::string &text)
{
    return ordered_json::parse(printable(text));
}

ordered_json itemsJson(const std::vector<Value> &items, std::size_t longest)
{
    ordered_json list = ordered_json::array();
    for (std::size_t i = 0; i < std::min(items.size(), longest); ++i)
        list.push_back(shortValueJson(items[i], longest));
    return list;
}

ordered_json contentJson(const Value &value, std::size_t longest)
{
    if (value.type() == Type::boolean)
        return value.number() != 0;
    if (value.isNumber())
        return value.number();
    if (value.type() == Type::string)
        return textJson(value.text());
    if (value.type() == Type::binary || value.type() == Type::escapedBinary) {
        const Bytes &bytes = value.bytes();
        return hexText(
            {bytes.begin(), bytes.begin() + static_cast<std::ptrdiff_t>(std::min(bytes.size(), longest))});
    }
    if (value.type() == Type::dataArray)
        return {{"type", nameOf(value.elementType())}, {"items", itemsJson(value.items(), longest)}};
    if (value.isArray())
        return itemsJson(value.items(), longest);
    return true;
}

std::vector<Value> itemsOf(const json &list, const std::string &place)
{
    std::vector<Value> items;
    for (std::size_t i = 0; i < list.size(); ++i)
        items.push_back(valueOf(list[i], fmt::format("{}[{}]", place, i)));
    return items;
}

Value dataArrayOf(const json &content, const std::string &place)
{
    const Type type = typeNamed(content["type"].get<std::string>());
    std::vector<Value> items = itemsOf(content["items"], place + ".items");
    for (std::size_t i = 0; i < items.size(); ++i)
        if (items[i].type() != type)
            failAt(fmt::format("{}.items[{}]", place, i), "must be of the array's type, " + nameOf(type));
    return Value::dataArray(type, std::move(items));
}

std::uint64_t largestOf(Type type)
{
    switch (type) {
    case Type::byte:
        return 0xff;
    case Type::short16:
        return 0xffff;
    case Type::int32:
        return 0xffffffff;
    default:
        return ~std::uint64_t{0};
    }
}

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

ordered_json valueJson(const Value &value)
{
    return shortValueJson(value, ~std::size_t{0});
}

ordered_json shortValueJson(const Value &value, std::size_t longest)
{
    ordered_json object = {{nameOf(value.type()), contentJson(value, longest)}};
    const std::size_t size = value.isArray() ? value.items().size() : value.bytes().size();
    if (size > longest)
        object["size"] = size;
    return object;
}

std::string dumped(const ordered_json &object)
{
    return object.dump(-1, ' ', false, ordered_json::error_handler_t::replace);
}

Value valueOf(const json &value, const std::string &place)
{
    const auto item = value.items().begin();
    const json &content = item.value();
    const Type type = typeNamed(item.key());
    const std::string inside = place + "." + item.key();
    switch (type) {
    case Type::boolean:
        return Value::boolean(content.get<bool>());
    case Type::byte:
    case Type::short16:
    case Type::int32:
    case Type::long64:
        return Value::ofNumber(type, numberOf(content, inside, largestOf(type)));
    case Type::string:
        return Value::string(content.get<std::string>());
    case Type::binary:
        return Value::binary(bytesOf(content, inside));
    case Type::escapedBinary:
        return Value::escapedBinary(bytesOf(content, inside));
    case Type::array:
        return Value::array(itemsOf(content, inside));
    case Type::terminatedArray:
        return Value::terminatedArray(itemsOf(content, inside));
    case Type::dataArray:
        return dataArrayOf(content, inside);
    default:
        return Value::ofNumber(type, 0);
    }
}

std::uint64_t numberOf(const json &value, const std::string &place, std::uint64_t largest)
{
    std::uint64_t number = 0;
    if (value.is_number_unsigned())
        number = value.get<std::uint64_t>();
    else if (!value.is_string() || !parseNumber(value.get<std::string>(), number))
        failAt(place, "must be a number that is not negative");
    if (number > largest)
        failAt(place, fmt::format("must be at most {}", largest));
    return number;
}

Bytes bytesOf(const json &value, const std::string &place)
{
    if (!value.is_string())
        failAt(place, "must be a text of hexadecimal digits");
    Bytes bytes;
    int high = -1;
    for (const char character : value.get_ref<const std::string &>()) {
        if (character == ' ')
            continue;
        const int digit = hexDigit(character);
        if (digit < 0)
            failAt(place, "must be a text of hexadecimal digits");
        if (high >= 0)
            bytes.push_back(static_cast<std::uint8_t>(high << 4 | digit));
        high = high < 0 ? digit : -1;
    }
    if (high >= 0)
        failAt(place, "has an odd number of hexadecimal digits");
    return bytes;
}

std::string hexText(const Bytes &bytes)
{
    constexpr std::string_view digits = "0123456789abcdef";
    std::string text;
    text.reserve(bytes.size() * 2);
    for (const std::uint8_t byte : bytes) {
        text += digits[byte >> 4];
        text += digits[byte & 15];
    }
    return text;
}

void failAt(const std::string &place, const std::string &what)
{
    throw std::runtime_error(place + " " + what);
}

} // namespace pensim
