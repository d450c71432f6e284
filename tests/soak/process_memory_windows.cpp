#include "process_memory.h"

#include <array>

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

// The C library may have a heap of its own beside the process's.
std::size_t bytesInHeaps()
{
    std::array<HANDLE, 64> heaps{};
    const DWORD count = GetProcessHeaps(static_cast<DWORD>(heaps.size()), heaps.data());
    std::size_t bytes = 0;
    for (std::size_t i = 0; i < count && i < heaps.size(); ++i)
        bytes += bytesInHeap(heaps[i]);
    return bytes;
}

} // namespace

ProcessMemory measureMemory()
{
    PROCESS_MEMORY_COUNTERS counters{};
    counters.cb = sizeof counters;
    K32GetProcessMemoryInfo(GetCurrentProcess(), &counters, sizeof counters);
    return {.inUse = bytesInHeaps(), .resident = counters.WorkingSetSize};
}

} // namespace soak
