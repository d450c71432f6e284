#include "log.h"

#include "instructions.h"
#include "value_json.h"

#include <fmt/format.h>

namespace pensim {

namespace {

using nlohmann::ordered_json;

// The log shows only the beginning of longer binaries and arrays.
constexpr std::size_t kLongestLogged = 64;

std::string replyText(const Reply &reply)
{
    std::string text;
    if (reply.delay.count() > 0)
        text += fmt::format(" after {} ms", reply.delay.count());
    if (reply.bytes)
        text += fmt::format(", {} given bytes instead", reply.bytes->size());
    if (reply.cutAfter)
        text += fmt::format(", cut after {} bytes", *reply.cutAfter);
    if (reply.ending != Ending::none)
        text += reply.ending == Ending::reset ? ", then reset" : ", then closed";
    return text;
}

// A digest is not logged either: whoever knows it can unlock the pen, as with the password.
bool isSecret(const Request &request, const Argument &argument)
{
    if (request.code == instruction::unlock || request.code == instruction::setPassword)
        return true;
    const std::uint64_t id = request.argument(0).number();
    return request.code == instruction::setProperty && argument.index != 0 &&
           (id == property::certificateAuthenticator || id == property::signingKey ||
            id == property::bluetoothPin);
}

std::string nameOf(const Request &request)
{
    const Instruction *instruction = findInstruction(request.code);
    return instruction == nullptr ? "unknown" : instruction->name;
}

// One line, whatever a client wrote.
std::string oneLine(const std::string &message)
{
    std::string text;
    for (const char character : message) {
        if (character == '\n')
            text += ' ';
        else if (character != '\r')
            text += static_cast<unsigned char>(character) < ' ' || character == 0x7f ? '?' : character;
    }
    return text;
}

} // namespace

LogEntry exchangeEntry(const std::string &who, std::uint64_t connection, const Request &request,
                       const Answer &answer, const Reply &reply)
{
    std::string arguments;
    ordered_json list = ordered_json::array();
    for (const Argument &argument : request.arguments) {
        const bool secret = isSecret(request, argument);
        arguments += arguments.empty() ? "" : ", ";
        arguments += secret ? "(secret)" : argument.value.toLogText();
        list.push_back(secret ? ordered_json{{"secret", true}}
                              : shortValueJson(argument.value, kLongestLogged));
    }
    ordered_json object = {{"event", "exchange"},      {"pen", who},
                           {"connection", connection}, {"instruction", codeText(request.code)},
                           {"name", nameOf(request)},  {"arguments", std::move(list)},
                           {"status", answer.status}};
    if (request.code == instruction::getPage || request.code == instruction::removePage)
        object["page"] = pageAddressText(request.argument(0).number());
    if (answer.result)
        object["value"] = shortValueJson(*answer.result, kLongestLogged);
    if (const std::string bent = replyText(reply); !bent.empty())
        object["fault"] = bent.substr(bent.find_first_not_of(", "));
    return {fmt::format("{} #{} {} {}({}) -> {}{}{}", who, connection, codeText(request.code),
                        nameOf(request), oneLine(arguments), answer.status,
                        answer.result ? " " + oneLine(answer.result->toLogText()) : "", replyText(reply)),
            dumped(object)};
}

LogEntry eventEntry(const std::string &who, std::uint64_t connection, const std::string &event,
                    const std::string &what)
{
    return {connection == 0 ? fmt::format("{} {}", who, what)
                            : fmt::format("{} #{} {}", who, connection, what),
            dumped({{"event", event}, {"pen", who}, {"connection", connection}, {"what", what}})};
}

LogEntry messageEntry(std::optional<std::uint64_t> from, const std::string &message)
{
    const std::string text = oneLine(message);
    ordered_json object = {{"event", from ? "message" : "announcement"}, {"text", message}};
    if (from)
        object["connection"] = *from;
    return {from ? fmt::format("rendezvous #{} <- {}", *from, text) : "rendezvous -> " + text,
            dumped(object)};
}

} // namespace pensim
