#pragma once

#include <string_view>

namespace pensim {

// The files in apps/pensim/web, which CMake makes part of the program.
extern const std::string_view kDeskPage;
extern const std::string_view kDeskStyle;
extern const std::string_view kDeskScript;
extern const std::string_view kDeskIcon;

} // namespace pensim
