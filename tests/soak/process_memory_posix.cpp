#include "process_memory.h"

#include <fstream>

#include <malloc.h>
#include <unistd.h>

namespace soak {

ProcessMemory measureMemory()
{
    malloc_trim(0);
    const auto heap = mallinfo2();
    std::size_t pages = 0;
    std::size_t resident = 0;
    std::ifstream("/proc/self/statm") >> pages >> resident;
    return {.inUse = heap.uordblks + heap.hblkhd,
            .resident = resident * static_cast<std::size_t>(sysconf(_SC_PAGESIZE))};
}

} // namespace soak
