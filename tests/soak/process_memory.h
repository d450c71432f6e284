#pragma once

#include <cstddef>

namespace soak {

/** What the process holds of memory, in bytes, after everything that is free was given back. */
struct ProcessMemory {
    std::size_t inUse = 0;    /**< blocks allocated */
    std::size_t resident = 0; /**< of the machine's memory */
};

ProcessMemory measureMemory();

} // namespace soak
