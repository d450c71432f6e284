#pragma once

#include "value.h"

#include <nlohmann/json.hpp>

namespace pensim {

/** Values as scenarios and logs write them: {"short16": 5}, {"string": "x"}, {"binary": "0a ff"},
 *  {"array": [..]}, {"data_array": {"type": "short16", "items": [..]}}, {"null": true} and so on. */
nlohmann::ordered_json valueJson(const Value &value);

/** The same with at most `longest` bytes of each binary and as many items of each array; what is cut tells
 * its whole size. */
nlohmann::ordered_json shortValueJson(const Value &value, std::size_t longest);

/** The object in one line. Texts of clients may hold what is no UTF-8. */
std::string dumped(const nlohmann::ordered_json &object);

/** Reads a value that the schema accepted. Throws std::runtime_error, which names the place, for what a
 * schema cannot tell: a number out of its type's range, an item that is not of the array's type. */
Value valueOf(const nlohmann::json &json, const std::string &place);

/** Numbers stand as such or as texts: "0x1f" is hexadecimal. */
std::uint64_t numberOf(const nlohmann::json &json, const std::string &place,
                       std::uint64_t largest = ~std::uint64_t{0});

/** "0a ff": pairs of hexadecimal digits, with or without blanks between them. */
Bytes bytesOf(const nlohmann::json &json, const std::string &place);
std::string hexText(const Bytes &bytes);

[[noreturn]] void failAt(const std::string &place, const std::string &what);

} // namespace pensim
