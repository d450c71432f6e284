#include "process_memory.h"

#include <windows.h>

#include <psapi.h>

namespace soak {

namespace {

std::size_t bytesInHeap(HANDLE heap)
{
    std::size_t bytes = 0;
    PROCESS_HEAP_ENTRY entry{};
    HeapLock(heap);
    while (HeapWalk(heap, &entry) != 0)
        if ((entry.wFlags & PROCESS_HEAP_ENTRY_BUSY) != 0)
            bytes += entry.cbData;
    HeapUnlock(heap);
    return bytes;
}

} // namespace

ProcessMemory measureMemory()
{
    PROCESS_MEMORY_COUNTERS_EX counters{};
    counters.cb = sizeof counters;
    K32GetProcessMemoryInfo(GetCurrentProcess(), reinterpret_cast<PROCESS_MEMORY_COUNTERS *>(&counters),
                            sizeof counters);
    return {.inUse = bytesInHeap(GetProcessHeap()), .resident = counters.PrivateUsage};
}

} // namespace soak
