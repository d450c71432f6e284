#pragma once

#include <string>
#include <string_view>

#include <fmt/color.h>

#include "ui/terminal.h"

namespace penctl {

/** Whether the stream may be given colours and cursor movements: a terminal that is no "dumb" one. */
bool drawsOn(Stream stream);

/** Whether texts on the stream may be coloured: as above, and NO_COLOR is not set. */
bool coloursOn(Stream stream);

/** The text in that style where the stream may be coloured, else as it is. */
std::string styled(std::string_view text, const fmt::text_style &style, Stream stream);

} // namespace penctl
