#include "ui/style.h"

#include <cstdlib>

namespace penctl {

namespace {

std::string_view environment(const char *name)
{
    const char *value = std::getenv(name);
    return value ? value : "";
}

} // namespace

bool drawsOn(Stream stream)
{
    return isTerminal(stream) && environment("TERM") != "dumb";
}

bool coloursOn(Stream stream)
{
    return drawsOn(stream) && environment("NO_COLOR").empty();
}

std::string styled(std::string_view text, const fmt::text_style &style, Stream stream)
{
    return coloursOn(stream) ? fmt::format(style, "{}", text) : std::string(text);
}

} // namespace penctl
