#pragma once

#include "scenario.h"

#include <nlohmann/json.hpp>
#include <set>

namespace pensim {

// One JSON object of a scenario, read key by key. It knows its place in the text for the messages of its
// errors, and finish() refuses keys that nobody asked for: a misspelt key is an error, not a default. Every
// failure is a std::runtime_error.
class JsonReader
{
public:
    JsonReader(const nlohmann::json &object, std::string place);

    bool has(const std::string &key) const { return m_object.contains(key); }
    const nlohmann::json &at(const std::string &key);
    std::string place(const std::string &key) const { return m_place + "." + key; }
    JsonReader object(const std::string &key) { return {at(key), place(key)}; }

    // Each leaves `target` as it is when the key is absent.
    void read(const std::string &key, bool &target);
    void read(const std::string &key, std::string &target);
    void read(const std::string &key, std::vector<std::string> &target);
    void read(const std::string &key, std::chrono::milliseconds &target);
    template <std::unsigned_integral Number>
    void read(const std::string &key, Number &target)
    {
        if (has(key))
            target = static_cast<Number>(number(at(key), place(key), std::numeric_limits<Number>::max()));
    }
    template <typename Element, typename Reader>
    void readList(const std::string &key, std::vector<Element> &target, Reader reader)
    {
        if (!has(key))
            return;
        const nlohmann::json &list = at(key);
        requireArray(list, place(key));
        for (std::size_t i = 0; i < list.size(); ++i)
            reader(list[i], place(key) + "[" + std::to_string(i) + "]", target);
    }

    void finish() const;

    // Numbers stand as such or as texts: "0x1f" is hexadecimal.
    static std::uint64_t number(const nlohmann::json &value, const std::string &place, std::uint64_t largest);
    static Bytes hexBytes(const nlohmann::json &value, const std::string &place);
    static void requireArray(const nlohmann::json &value, const std::string &place);
    [[noreturn]] static void fail(const std::string &place, const std::string &what);

private:
    const nlohmann::json &m_object;
    std::string m_place;
    std::set<std::string> m_asked;
};

} // namespace pensim
