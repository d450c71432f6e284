#include "commands/file_value_text.h"

#include <algorithm>

#include <fmt/format.h>

#include "ui/printable.h"
#include "ui/units.h"

namespace penctl {

namespace {

constexpr std::size_t kElementsShown = 16;

using Elements = std::vector<FileValue>;

std::string hexBytes(const std::string &bytes, const char *gap)
{
    std::string text;
    for (const char c : bytes)
        text += fmt::format("{}{:02x}", text.empty() ? "" : gap, static_cast<uint8_t>(c));
    return text;
}

uint64_t unsignedPayload(const FileValue &value)
{
    const auto number = static_cast<uint64_t>(std::get<int64_t>(value.content));
    switch (value.type) {
    case ValueType::Short16:
        return number & 0xFFFF;
    case ValueType::Int32:
        return number & 0xFFFFFFFF;
    default:
        return number;
    }
}

int hexDigits(ValueType type)
{
    switch (type) {
    case ValueType::Byte:
        return 2;
    case ValueType::Short16:
        return 4;
    case ValueType::Int32:
        return 8;
    default:
        return 16;
    }
}

std::string numberText(const FileValue &value, NumberStyle style)
{
    switch (style) {
    case NumberStyle::Hexadecimal:
        return fmt::format("0x{:0{}x}", unsignedPayload(value), hexDigits(value.type));
    case NumberStyle::Time:
        return utcText(unsignedPayload(value));
    case NumberStyle::Decimal:
        break;
    }
    return std::to_string(std::get<int64_t>(value.content));
}

std::string binaryText(const FileBinary &binary)
{
    const std::string size = counted(binary.size, "byte", "bytes");
    if (binary.size == 0)
        return size;
    return fmt::format("{}: {}{}", size, hexBytes(binary.start, " "),
                       binary.size > binary.start.size() ? " ..." : "");
}

std::string arrayText(const Elements &elements)
{
    std::string text;
    for (std::size_t i = 0; i < std::min(elements.size(), kElementsShown); ++i)
        text += (i == 0 ? "" : ", ") + valueText(elements[i], NumberStyle::Decimal);
    if (elements.size() > kElementsShown)
        text += fmt::format(", ... ({} elements)", grouped(elements.size()));
    return "[" + text + "]";
}

Json arrayJson(const Elements &elements)
{
    Json list = Json::array();
    for (const FileValue &element : elements)
        list.push_back(valueJson(element));
    return list;
}

} // namespace

std::string valueText(const FileValue &value, NumberStyle style)
{
    if (const auto *truth = std::get_if<bool>(&value.content))
        return *truth ? "true" : "false";
    if (std::holds_alternative<int64_t>(value.content))
        return numberText(value, style);
    if (const auto *text = std::get_if<std::string>(&value.content))
        return "\"" + printable(*text) + "\"";
    if (const auto *binary = std::get_if<FileBinary>(&value.content))
        return binaryText(*binary);
    if (const auto *elements = std::get_if<Elements>(&value.content))
        return arrayText(*elements);
    return typeName(value.type);
}

Json valueJson(const FileValue &value)
{
    Json json = {{"type", typeName(value.type)}};
    if (const auto *truth = std::get_if<bool>(&value.content))
        json["value"] = *truth;
    else if (const auto *number = std::get_if<int64_t>(&value.content))
        json["value"] = *number;
    else if (const auto *text = std::get_if<std::string>(&value.content))
        json["value"] = *text;
    else if (const auto *binary = std::get_if<FileBinary>(&value.content))
        json.update({{"size", binary->size}, {"start", hexBytes(binary->start, "")}});
    else if (const auto *elements = std::get_if<Elements>(&value.content))
        json["value"] = arrayJson(*elements);
    else
        json["value"] = nullptr;
    return json;
}

} // namespace penctl
