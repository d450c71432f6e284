#pragma once

#include <cstdint>
#include <map>
#include <string>

namespace zel::bench {

/** How the programs of the benchmark talk to each other: by arguments of the form "key=value", and by lines
 * of the form "key value" on standard output. */
class Settings
{
public:
    static Settings fromArguments(int count, char *const arguments[]);

    bool has(const std::string &key) const { return m_values.contains(key); }
    std::string text(const std::string &key, const std::string &otherwise) const;
    std::uint64_t number(const std::string &key, std::uint64_t otherwise) const;

private:
    std::map<std::string, std::string> m_values;
};

/** One line of a measuring program's output. */
void tell(const char *key, double value);

/** Ends the program with a message that the runner shows. */
[[noreturn]] void fail(const std::string &message);

} // namespace zel::bench
