#include "json_rules.h"

#include "request.h"

#include <algorithm>

namespace pensim {

namespace {

using nlohmann::json;

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
    {"escaped_binary", Type::escapedBinary},
    {"any", Type::any},
};

Type typeNamed(const std::string &name, const std::string &place)
{
    const auto found = std::find_if(std::begin(kTypeNames), std::end(kTypeNames),
                                    [&](const TypeName &row) { return row.name == name; });
    if (found == std::end(kTypeNames))
        JsonReader::fail(place, "names no type of value: \"" + name + "\"");
    return found->type;
}

std::vector<Value> itemsOf(const json &list, const std::string &place)
{
    JsonReader::requireArray(list, place);
    std::vector<Value> items;
    for (std::size_t i = 0; i < list.size(); ++i)
        items.push_back(parseValue(list[i], place + "[" + std::to_string(i) + "]"));
    return items;
}

Value dataArrayOf(const json &content, const std::string &place)
{
    JsonReader reader(content, place);
    std::string type;
    reader.read("type", type);
    std::vector<Value> items = itemsOf(reader.at("items"), reader.place("items"));
    reader.finish();
    return Value::dataArray(typeNamed(type, place), std::move(items));
}

std::string textOf(const json &content, const std::string &place)
{
    if (!content.is_string())
        JsonReader::fail(place, "must be a text");
    return content.get<std::string>();
}

bool truthOf(const json &content, const std::string &place)
{
    if (!content.is_boolean())
        JsonReader::fail(place, "must be true or false");
    return content.get<bool>();
}

template <typename Number>
Number numberOf(const json &content, const std::string &place)
{
    return static_cast<Number>(JsonReader::number(content, place, std::numeric_limits<Number>::max()));
}

Value valueOf(Type type, const json &content, const std::string &place)
{
    switch (type) {
    case Type::boolean:
        return Value::boolean(truthOf(content, place));
    case Type::byte:
        return Value::byte(numberOf<std::uint8_t>(content, place));
    case Type::short16:
        return Value::short16(numberOf<std::uint16_t>(content, place));
    case Type::int32:
        return Value::int32(numberOf<std::uint32_t>(content, place));
    case Type::long64:
        return Value::long64(numberOf<std::uint64_t>(content, place));
    case Type::string:
        return Value::string(textOf(content, place));
    case Type::binary:
        return Value::binary(JsonReader::hexBytes(content, place));
    case Type::escapedBinary:
        return Value::escapedBinary(JsonReader::hexBytes(content, place));
    case Type::array:
        return Value::array(itemsOf(content, place));
    case Type::terminatedArray:
        return Value::terminatedArray(itemsOf(content, place));
    case Type::dataArray:
        return dataArrayOf(content, place);
    case Type::any:
        return Value::any();
    default:
        return Value::null();
    }
}

Ending endingOf(JsonReader &reader)
{
    std::string text = "none";
    reader.read("ending", text);
    if (text == "close")
        return Ending::close;
    if (text == "reset")
        return Ending::reset;
    if (text != "none")
        JsonReader::fail(reader.place("ending"), "must be \"none\", \"close\" or \"reset\"");
    return Ending::none;
}

std::int32_t statusOf(const json &value, const std::string &place)
{
    if (!value.is_number_integer() ||
        value.get<std::int64_t>() != static_cast<std::int32_t>(value.get<std::int64_t>()))
        JsonReader::fail(place, "must be a signed number of 32 bits");
    return value.get<std::int32_t>();
}

// A status that says no means that the pen did nothing, unless "executed" says otherwise.
void readAnswer(JsonReader &reader, Reply &reply)
{
    if (reader.has("status")) {
        reply.status = statusOf(reader.at("status"), reader.place("status"));
        reply.executed = *reply.status >= 0;
    }
    if (reader.has("value"))
        reply.value = parseValue(reader.at("value"), reader.place("value"));
    if (reader.has("bytes"))
        reply.bytes = JsonReader::hexBytes(reader.at("bytes"), reader.place("bytes"));
    reader.read("executed", reply.executed);
}

Reply replyOf(JsonReader &reader)
{
    Reply reply;
    readAnswer(reader, reply);
    reply.ending = endingOf(reader);
    if (reader.has("cut_after")) {
        std::size_t count = 0;
        reader.read("cut_after", count);
        reply.cutAfter = count;
        reply.ending = reply.ending == Ending::none ? Ending::close : reply.ending;
    }
    reader.read("delay_ms", reply.delay);
    return reply;
}

std::uint32_t instructionOf(JsonReader &reader)
{
    std::string text;
    reader.read("instruction", text);
    if (text.size() != 4)
        JsonReader::fail(reader.place("instruction"), "must have four characters");
    return fourCc(text);
}

} // namespace

Value parseValue(const json &json, const std::string &place)
{
    if (!json.is_object() || json.size() != 1)
        JsonReader::fail(place, "must be an object with one key, the type of the value");
    const auto item = json.items().begin();
    return valueOf(typeNamed(item.key(), place), item.value(), place + "." + item.key());
}

RuleSpec parseRule(const json &json, const std::string &place, const std::string &trigger)
{
    JsonReader reader(json, place);
    RuleSpec rule;
    if (trigger == "instruction")
        rule.code = instructionOf(reader);
    else
        reader.at(trigger);
    if (reader.has("argument"))
        rule.argument =
            JsonReader::number(reader.at("argument"), reader.place("argument"), ~std::uint64_t{0});
    reader.read("occurrence", rule.occurrence);
    rule.reply = replyOf(reader);
    reader.finish();
    return rule;
}

void readRules(JsonReader &reader, const std::string &trigger, const std::string &otherTrigger,
               std::vector<RuleSpec> &rules)
{
    reader.readList("faults", rules, [&](const json &value, const std::string &place, auto &list) {
        if (value.contains(trigger))
            list.push_back(parseRule(value, place, trigger));
        else if (!value.contains(otherTrigger))
            JsonReader::fail(place,
                             "is for none of the events \"" + trigger + "\", \"" + otherTrigger + "\"");
    });
}

} // namespace pensim
