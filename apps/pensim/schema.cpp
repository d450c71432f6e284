#include "schema.h"

#include "pensim_scenarios.h"
#include "value_json.h"

#include <algorithm>
#include <fmt/format.h>
#include <fmt/ranges.h>
#include <regex>
#include <set>
#include <utility>

namespace pensim {

namespace {

using nlohmann::json;

// Regular expressions are matched recursively. No text that has a pattern is longer.
constexpr std::size_t kLongestMatched = 200;

const json &schema()
{
    static const json document = json::parse(kScenarioSchema);
    return document;
}

[[noreturn]] void refuse(const json &rules, const std::string &place, const std::string &what)
{
    failAt(place, rules.value("errorMessage", what));
}

bool isOfType(const json &value, const std::string &type)
{
    return (type == "object" && value.is_object()) || (type == "array" && value.is_array()) ||
           (type == "string" && value.is_string()) || (type == "boolean" && value.is_boolean()) ||
           (type == "integer" && value.is_number_integer());
}

std::string inWords(const std::string &type)
{
    static const std::map<std::string, std::string> words = {{"object", "an object"},
                                                             {"array", "a list"},
                                                             {"string", "a text"},
                                                             {"boolean", "true or false"},
                                                             {"integer", "a whole number"}};
    return words.at(type);
}

void checkType(const json &value, const json &rules, const std::string &place)
{
    std::vector<std::string> types;
    if (rules["type"].is_array())
        types = rules["type"].get<std::vector<std::string>>();
    else
        types.push_back(rules["type"]);
    for (const std::string &type : types)
        if (isOfType(value, type))
            return;
    refuse(rules, place, "must be " + inWords(types.front()));
}

bool isLess(const json &left, const json &right)
{
    if (left.is_number_unsigned() && right.is_number_unsigned())
        return left.get<std::uint64_t>() < right.get<std::uint64_t>();
    if (left.is_number_unsigned())
        return std::cmp_less(left.get<std::uint64_t>(), right.get<std::int64_t>());
    if (right.is_number_unsigned())
        return std::cmp_less(left.get<std::int64_t>(), right.get<std::uint64_t>());
    return left.get<std::int64_t>() < right.get<std::int64_t>();
}

void checkNumber(const json &value, const json &rules, const std::string &place)
{
    if (rules.contains("minimum") && isLess(value, rules["minimum"]))
        refuse(rules, place, "must be at least " + rules["minimum"].dump());
    if (rules.contains("maximum") && isLess(rules["maximum"], value))
        refuse(rules, place, "must be at most " + rules["maximum"].dump());
}

// A character of UTF-8 has one byte that is no continuation.
std::size_t characters(const std::string &text)
{
    return static_cast<std::size_t>(
        std::count_if(text.begin(), text.end(), [](char byte) { return (byte & 0xc0) != 0x80; }));
}

void checkText(const json &value, const json &rules, const std::string &place)
{
    const auto &text = value.get_ref<const std::string &>();
    if (rules.contains("maxLength") && characters(text) > rules["maxLength"].get<std::size_t>())
        refuse(rules, place, "must have at most " + rules["maxLength"].dump() + " characters");
    if (rules.contains("pattern") && (text.size() > kLongestMatched ||
                                      !std::regex_search(text, std::regex(std::string(rules["pattern"])))))
        refuse(rules, place, "must match " + rules["pattern"].dump());
    if (rules.contains("format"))
        bytesOf(value, place);
}

void checkValue(const json &value, const json &rules, const std::string &place);

void checkKeys(const json &value, const json &rules, const std::string &place)
{
    const json nothing = json::object();
    const json &known = rules.contains("properties") ? rules["properties"] : nothing;
    for (const auto &item : value.items()) {
        const std::string inside = place + "." + item.key();
        if (rules.contains("propertyNames"))
            checkValue(item.key(), rules["propertyNames"], inside);
        if (known.contains(item.key()))
            checkValue(item.value(), known[item.key()], inside);
        else if (rules["additionalProperties"].is_object())
            checkValue(item.value(), rules["additionalProperties"], inside);
        else
            failAt(place, fmt::format("has an unknown key \"{}\"", item.key()));
    }
}

bool lacksNothing(const json &value, const json &rules)
{
    return std::all_of(rules["required"].begin(), rules["required"].end(),
                       [&](const json &key) { return value.contains(std::string(key)); });
}

void checkObject(const json &value, const json &rules, const std::string &place)
{
    if (value.size() < rules.value("minProperties", std::size_t{0}) ||
        value.size() > rules.value("maxProperties", ~std::size_t{0}))
        refuse(rules, place, "must be an object with one key, the type of the value");
    checkKeys(value, rules, place);
    if (rules.contains("required"))
        for (const json &key : rules["required"])
            if (!value.contains(std::string(key)))
                failAt(place, "lacks " + key.dump());
    if (rules.contains("oneOf") &&
        std::count_if(rules["oneOf"].begin(), rules["oneOf"].end(),
                      [&](const json &one) { return lacksNothing(value, one); }) != 1)
        refuse(rules, place, "fits none of the forms it may have, or more than one");
}

void checkItems(const json &value, const json &rules, const std::string &place)
{
    for (std::size_t i = 0; i < value.size(); ++i)
        checkValue(value[i], rules["items"], fmt::format("{}[{}]", place, i));
}

void checkChoice(const json &value, const json &rules, const std::string &place)
{
    if (rules.contains("const") && value != rules["const"])
        refuse(rules, place, "must be " + rules["const"].dump());
    if (!rules.contains("enum"))
        return;
    std::vector<std::string> choices;
    for (const json &choice : rules["enum"]) {
        if (choice == value)
            return;
        choices.push_back(choice.dump());
    }
    refuse(rules, place, fmt::format("must be one of {}", fmt::join(choices, ", ")));
}

void checkValue(const json &value, const json &rules, const std::string &place)
{
    if (rules.contains("$ref")) {
        checkValue(value, schemaAt(std::string(rules["$ref"]).substr(1)), place);
        return;
    }
    if (rules.contains("type"))
        checkType(value, rules, place);
    checkChoice(value, rules, place);
    if (value.is_number_integer())
        checkNumber(value, rules, place);
    else if (value.is_string())
        checkText(value, rules, place);
    else if (value.is_object())
        checkObject(value, rules, place);
    else if (value.is_array())
        checkItems(value, rules, place);
}

} // namespace

json parsedJson(std::string_view text)
{
    std::vector<std::set<std::string>> keys;
    const auto check = [&](int depth, json::parse_event_t event, json &parsed) {
        if (static_cast<std::size_t>(depth) > kDeepestJson)
            throw std::runtime_error(fmt::format("nested more than {} deep", kDeepestJson));
        if (event == json::parse_event_t::object_start)
            keys.emplace_back();
        else if (event == json::parse_event_t::object_end)
            keys.pop_back();
        else if (event == json::parse_event_t::key && !keys.back().insert(parsed).second)
            throw std::runtime_error(fmt::format("the key {} stands twice in one object", parsed.dump()));
        return true;
    };
    try {
        return json::parse(text, check);
    } catch (const json::exception &error) {
        throw std::runtime_error(error.what());
    }
}

const json &schemaAt(const std::string &pointer)
{
    return schema().at(json::json_pointer(pointer));
}

void checkAgainstSchema(const json &value, const std::string &definition, const std::string &place)
{
    checkValue(value, schemaAt(definition == "scenario" ? "" : "/definitions/" + definition), place);
}

} // namespace pensim
