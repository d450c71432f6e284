#pragma once

#include <stdexcept>

namespace soak {

/** The library did what it must not; the text tells what. */
class Failure : public std::runtime_error
{
public:
    using std::runtime_error::runtime_error;
};

} // namespace soak
