#include "host/reading.h"

#include <fmt/format.h>
#include <zel/zel.h>

#include "host/result.h"

namespace penctl {

std::string readingText(const Reading &reading)
{
    return reading.code == ZEL_OK ? reading.text : fmt::format("({})", resultWords(reading.code));
}

} // namespace penctl
