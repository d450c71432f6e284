#include "doctor/pen_service.h"

#include <fmt/format.h>

namespace penctl {

namespace {

enum Type : unsigned {
    Bool = 1,
    Byte = 2,
    Short16 = 3,
    Int32 = 4,
    Long64 = 5,
    String = 6,
    Binary = 7,
    Array = 8,
    DataArray = 9,
    TerminatedArray = 10,
    Terminator = 11,
    EscapedBinary = 14,
    Any = 15,
};

constexpr const char *kNames[] = {
    "null",           "bool",  "byte",       "short16",          "int32",      "long64", "string",
    "binary",         "array", "data_array", "terminated_array", "terminator", nullptr,  nullptr,
    "escaped_binary", "any"};
constexpr int kDeepest = 64;

std::string bigEndian(uint64_t number, int bytes)
{
    std::string text;
    while (bytes-- > 0)
        text += static_cast<char>(number >> (8 * bytes));
    return text;
}

std::string hexadecimal(std::string_view bytes)
{
    std::string text;
    for (const char byte : bytes)
        text += fmt::format("{:02x}", static_cast<uint8_t>(byte));
    return text;
}

Json named(const char *name, Json content)
{
    Json value = Json::object();
    value[name] = std::move(content);
    return value;
}

const char *nameOf(unsigned type)
{
    if (type >= std::size(kNames) || kNames[type] == nullptr)
        throw NoAnswer(fmt::format("answers with a value of type {}, which there is not", type));
    return kNames[type];
}

[[noreturn]] void failOn(Step step, const LoopbackConnection &connection, Limit limit)
{
    if (step == Step::Late)
        throw NoAnswer(
            fmt::format("does not answer within {:g} s", static_cast<double>(limit.count()) / 1000));
    throw NoAnswer(step == Step::Ended ? "closes the connection in place of an answer"
                                       : "cannot be asked: " + connection.reason());
}

} // namespace

uint64_t numberIn(const Json &value)
{
    if (!value.is_object() || value.empty())
        return 0;
    const Json &content = *value.begin();
    if (content.is_boolean())
        return value.begin().key() == "bool" && content.get<bool>() ? 1 : 0;
    return content.is_number_unsigned() ? content.get<uint64_t>() : 0;
}

std::string encodedShort(uint16_t number)
{
    return static_cast<char>(Short16) + bigEndian(number, 2);
}

std::string encodedLong(uint64_t number)
{
    return static_cast<char>(Long64) + bigEndian(number, 8);
}

PenService::PenService(uint16_t port, Limit silence) : m_silence(silence)
{
    const Step step = m_connection.connect(port, silence);
    if (step == Step::Late)
        throw NoAnswer(fmt::format("port {} does not take the connection", port));
    if (step != Step::Done)
        throw NoAnswer(step == Step::Refused ? fmt::format("nothing listens at port {}", port)
                                             : fmt::format("port {}: {}", port, m_connection.reason()));
}

PenAnswer PenService::ask(std::string_view instruction, const std::vector<std::string> &arguments)
{
    std::string request(instruction);
    request += static_cast<char>(arguments.size());
    for (std::size_t i = 0; i < arguments.size(); ++i)
        request += static_cast<char>(i) + arguments[i];
    if (const Step step = m_connection.send(request, m_silence); step != Step::Done)
        failOn(step, m_connection, m_silence);
    m_received.erase(0, m_read);
    m_read = 0;
    const Json answer = value(0);
    if (!answer.contains("array") || answer["array"].empty() || !answer["array"][0].contains("int32"))
        throw NoAnswer("answers with something that is no answer of a pen");
    const Json &elements = answer["array"];
    const auto status = static_cast<int32_t>(static_cast<uint32_t>(numberIn(elements[0])));
    return {status, elements.size() > 1 ? elements[1] : elements[0]};
}

/** The next bytes; valid until the next call. */
const char *PenService::take(std::size_t count)
{
    while (m_received.size() - m_read < count)
        if (const Step step = m_connection.receive(m_received, m_silence); step != Step::Done)
            failOn(step, m_connection, m_silence);
    m_read += count;
    return m_received.data() + m_read - count;
}

uint64_t PenService::number(std::size_t bytes)
{
    uint64_t number = 0;
    for (const char *at = take(bytes), *end = at + bytes; at != end; ++at)
        number = number << 8 | static_cast<uint8_t>(*at);
    return number;
}

std::string PenService::escapedBytes()
{
    std::string bytes;
    for (uint64_t byte = number(1); byte != 0xC0; byte = number(1)) {
        if (byte == 0xDB)
            byte = number(1) == 0xDC ? 0xC0 : 0xDB;
        bytes += static_cast<char>(byte);
    }
    return bytes;
}

Json PenService::body(unsigned type, int depth)
{
    switch (type) {
    case Bool:
        return number(1) != 0;
    case Byte:
    case Short16:
    case Int32:
    case Long64:
        return number(std::size_t{1} << (type - Byte));
    case String: {
        const std::size_t length = number(2);
        const std::string text(take(length), length);
        return text.substr(0, text.find('\0'));
    }
    case Binary: {
        const std::size_t length = number(4);
        return hexadecimal({take(length), length});
    }
    case EscapedBinary:
        return hexadecimal(escapedBytes());
    case Array: {
        Json items = Json::array();
        for (uint64_t left = number(2); left > 0; --left)
            items.push_back(value(depth + 1));
        return items;
    }
    case DataArray: {
        Json items = Json::array();
        const uint64_t count = number(2);
        const auto element = static_cast<unsigned>(number(1));
        for (uint64_t left = count; left > 0; --left)
            items.push_back(named(nameOf(element), body(element, depth + 1)));
        return {{"type", nameOf(element)}, {"items", items}};
    }
    case TerminatedArray: {
        Json items = Json::array();
        for (Json item = value(depth + 1); !item.contains("terminator") && !item.contains("any");
             item = value(depth + 1))
            items.push_back(std::move(item));
        return items;
    }
    default:
        return true; // null, terminator, any type: without a body
    }
}

Json PenService::value(int depth)
{
    if (depth > kDeepest)
        throw NoAnswer("answers with arrays that are nested too deep");
    const auto type = static_cast<unsigned>(number(1));
    const char *name = nameOf(type);
    return named(name, body(type, depth));
}

} // namespace penctl
