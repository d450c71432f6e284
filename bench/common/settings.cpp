#include "common/settings.h"

#include <cstdio>
#include <cstdlib>
#include <string_view>

namespace zel::bench {

Settings Settings::fromArguments(int count, char *const arguments[])
{
    Settings settings;
    for (int i = 1; i < count; ++i) {
        const std::string_view word = arguments[i];
        const std::size_t equals = word.find('=');
        if (equals == std::string_view::npos)
            settings.m_values["work"] = word;
        else
            settings.m_values[std::string(word.substr(0, equals))] = word.substr(equals + 1);
    }
    return settings;
}

std::string Settings::text(const std::string &key, const std::string &otherwise) const
{
    const auto found = m_values.find(key);
    return found == m_values.end() ? otherwise : found->second;
}

std::uint64_t Settings::number(const std::string &key, std::uint64_t otherwise) const
{
    const auto found = m_values.find(key);
    return found == m_values.end() ? otherwise : std::strtoull(found->second.c_str(), nullptr, 10);
}

void tell(const char *key, double value)
{
    std::printf("%s %.9g\n", key, value);
}

void fail(const std::string &message)
{
    std::fprintf(stderr, "%s\n", message.c_str());
    std::exit(1);
}

} // namespace zel::bench
