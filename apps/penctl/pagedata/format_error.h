#pragma once

#include <stdexcept>

namespace penctl {

/** The file is no page data, or a damaged one. The text says what was expected, and at which byte. */
class FormatError : public std::runtime_error
{
public:
    using std::runtime_error::runtime_error;
};

} // namespace penctl
