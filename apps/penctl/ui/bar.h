#pragma once

#include <cstddef>
#include <string>

namespace penctl {

/** The two halves of a bar: so many columns done, so many to come. */
struct Bar {
    std::string done;
    std::string rest;
};

/** share  0 to 1 */
Bar makeBar(double share, std::size_t columns, bool unicode);

/** A bar in one piece and without colour, in brackets where there are no block characters. */
std::string plainBar(double share, std::size_t columns, bool unicode);

} // namespace penctl
