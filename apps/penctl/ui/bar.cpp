#include "ui/bar.h"

#include <algorithm>

namespace penctl {

namespace {

std::string repeated(const char *piece, std::size_t count)
{
    std::string text;
    for (std::size_t i = 0; i < count; ++i)
        text += piece;
    return text;
}

} // namespace

Bar makeBar(double share, std::size_t columns, bool unicode)
{
    const auto done = static_cast<std::size_t>(std::clamp(share, 0.0, 1.0) * static_cast<double>(columns));
    return {repeated(unicode ? "█" : "#", done), repeated(unicode ? "░" : "-", columns - done)};
}

std::string plainBar(double share, std::size_t columns, bool unicode)
{
    const Bar bar = makeBar(share, columns, unicode);
    return unicode ? bar.done + bar.rest : "[" + bar.done + bar.rest + "]";
}

} // namespace penctl
