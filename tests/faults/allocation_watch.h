#pragma once

#include <cstddef>

namespace faults {

/** While one lives on a thread, what that thread allocates is noted until it is released, by whatever
 *  thread. Made around a call of the library it shows what the call leaves behind. Where allocations cannot
 *  be watched it notes nothing. */
class AllocationWatch
{
public:
    AllocationWatch() noexcept;
    ~AllocationWatch();
    AllocationWatch(const AllocationWatch &) = delete;
    AllocationWatch &operator=(const AllocationWatch &) = delete;

    /** Ends the watch and every failure that was ordered, before its time. */
    static void end() noexcept;
};

/** While one lives on a thread, it adds up what that thread holds of the memory that it takes, without noting
 *  each block: there may be millions. What was there before must not be released meanwhile. */
class MemoryMeter
{
public:
    MemoryMeter() noexcept;
    ~MemoryMeter();
    MemoryMeter(const MemoryMeter &) = delete;
    MemoryMeter &operator=(const MemoryMeter &) = delete;

    /** Bytes, with what the heap adds to each block. */
    std::size_t held() const noexcept;
    /** The most that were held at once. */
    std::size_t peak() const noexcept;
};

/** Blocks that were noted and are not released. */
std::size_t outstandingAllocations() noexcept;

enum class Memory { FailsOnce, StaysShort };

/** Lets the n-th allocation (from 1) of this thread's watches fail, and, unless it fails once, those that
 *  follow. */
void failAllocation(std::size_t n, Memory memory) noexcept;
/** Whether that allocation has been asked for. */
bool allocationHasFailed() noexcept;

} // namespace faults
