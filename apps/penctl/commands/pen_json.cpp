#include "commands/pen_json.h"

#include <fmt/format.h>

namespace penctl {

Json penJson(const PenIdentity &pen)
{
    return {{"serial", pen.serial},
            {"penId", penIdText(pen.penId)},
            {"vendorId", fmt::format("0x{:04x}", pen.vendorId)},
            {"productId", fmt::format("0x{:04x}", pen.productId)}};
}

} // namespace penctl
