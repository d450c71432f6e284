#pragma once

#include <cstdint>
#include <memory>
#include <vector>

namespace pensim {

using Bytes = std::vector<std::uint8_t>;

// Strokes of several MiB are shared between a pen's pages and the answers that carry them.
using SharedBytes = std::shared_ptr<const Bytes>;

} // namespace pensim
