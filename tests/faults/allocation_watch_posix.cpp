// Replaces operator new, and wraps the functions by which the library takes memory otherwise; the linker is
// told so.
#include "allocation_watch.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <mutex>
#include <new>

#include <malloc.h>

namespace {

constexpr std::size_t kMostBlocks = 16384;

/** The blocks that were noted. */
class Blocks
{
public:
    void add(void *block)
    {
        const std::lock_guard guard(m_lock);
        if (m_count == m_blocks.size())
            std::abort(); // more than any call holds
        m_blocks[m_count++] = block;
    }

    bool remove(void *block)
    {
        const std::lock_guard guard(m_lock);
        for (std::size_t i = m_count; i-- > 0;) {
            if (m_blocks[i] == block) {
                m_blocks[i] = m_blocks[--m_count];
                return true;
            }
        }
        return false;
    }

    std::size_t count()
    {
        const std::lock_guard guard(m_lock);
        return m_count;
    }

private:
    std::mutex m_lock;
    std::size_t m_count = 0;
    std::array<void *, kMostBlocks> m_blocks{};
};

constinit Blocks s_blocks;

/** What was ordered for this thread. */
struct Orders {
    bool watched = false;
    std::size_t untilFailure = 0; // 0: none is to fail
    bool staysShort = false;
    bool failed = false;
};

constinit thread_local Orders t_orders;

/** Whether this allocation is to fail. */
bool fails()
{
    if (!t_orders.watched || t_orders.untilFailure == 0)
        return false;
    if (t_orders.untilFailure > 1) {
        --t_orders.untilFailure;
        return false;
    }
    t_orders.failed = true;
    if (!t_orders.staysShort)
        t_orders.untilFailure = 0;
    return true;
}

void *noted(void *block)
{
    if (t_orders.watched && block != nullptr)
        s_blocks.add(block);
    return block;
}

/** What this thread's meter has added up. */
struct Meter {
    bool runs = false;
    std::size_t held = 0;
    std::size_t peak = 0;

    void take(std::size_t size)
    {
        held += size;
        peak = std::max(peak, held);
    }
};

constinit thread_local Meter t_meter;

std::size_t sizeOnHeap(void *block)
{
    return block == nullptr ? 0 : malloc_usable_size(block) + sizeof(std::size_t);
}

void *metered(void *block)
{
    if (t_meter.runs)
        t_meter.take(sizeOnHeap(block));
    return block;
}

void released(std::size_t size)
{
    if (t_meter.runs)
        t_meter.held -= size;
}

} // namespace

namespace faults {

AllocationWatch::AllocationWatch() noexcept
{
    t_orders.watched = true;
}

AllocationWatch::~AllocationWatch()
{
    end();
}

void AllocationWatch::end() noexcept
{
    t_orders.watched = false;
    t_orders.untilFailure = 0;
}

MemoryMeter::MemoryMeter() noexcept
{
    t_meter = {.runs = true};
}

MemoryMeter::~MemoryMeter()
{
    t_meter.runs = false;
}

std::size_t MemoryMeter::held() const noexcept
{
    return t_meter.held;
}

std::size_t MemoryMeter::peak() const noexcept
{
    return t_meter.peak;
}

std::size_t outstandingAllocations() noexcept
{
    return s_blocks.count();
}

void failAllocation(std::size_t n, Memory memory) noexcept
{
    t_orders.untilFailure = n;
    t_orders.staysShort = memory == Memory::StaysShort;
    t_orders.failed = false;
}

bool allocationHasFailed() noexcept
{
    return t_orders.failed;
}

} // namespace faults

extern "C" {

// The names are the linker's.
// NOLINTBEGIN(bugprone-reserved-identifier)

void *__real_malloc(std::size_t size);
void __real_free(void *block);
void *__real_realloc(void *block, std::size_t size);

void *__wrap_malloc(std::size_t size)
{
    return fails() ? nullptr : metered(noted(__real_malloc(size)));
}

void __wrap_free(void *block)
{
    s_blocks.remove(block);
    if (t_meter.runs)
        released(sizeOnHeap(block));
    __real_free(block);
}

void *__wrap_realloc(void *block, std::size_t size)
{
    if (fails())
        return nullptr;
    const std::size_t sizeBefore = sizeOnHeap(block);
    const bool wasNoted = s_blocks.remove(block);
    void *const moved = __real_realloc(block, size);
    if (moved == nullptr) {
        if (wasNoted)
            s_blocks.add(block);
        return nullptr;
    }
    if (wasNoted)
        s_blocks.add(moved);
    else
        noted(moved);
    if (t_meter.runs)
        released(sizeBefore);
    return metered(moved);
}

// NOLINTEND(bugprone-reserved-identifier)
}

namespace {

void *allocate(std::size_t size)
{
    void *const block = __wrap_malloc(size == 0 ? 1 : size);
    if (block == nullptr)
        throw std::bad_alloc();
    return block;
}

void *allocateAligned(std::size_t size, std::align_val_t alignment)
{
    void *block = nullptr;
    if (fails() || ::posix_memalign(&block, static_cast<std::size_t>(alignment), size) != 0)
        throw std::bad_alloc();
    return metered(noted(block));
}

} // namespace

void *operator new(std::size_t size)
{
    return allocate(size);
}

void *operator new[](std::size_t size)
{
    return allocate(size);
}

void *operator new(std::size_t size, const std::nothrow_t &) noexcept
{
    return __wrap_malloc(size == 0 ? 1 : size);
}

void *operator new[](std::size_t size, const std::nothrow_t &) noexcept
{
    return __wrap_malloc(size == 0 ? 1 : size);
}

void *operator new(std::size_t size, std::align_val_t alignment)
{
    return allocateAligned(size, alignment);
}

void *operator new[](std::size_t size, std::align_val_t alignment)
{
    return allocateAligned(size, alignment);
}

void operator delete(void *block) noexcept
{
    __wrap_free(block);
}

void operator delete[](void *block) noexcept
{
    __wrap_free(block);
}

void operator delete(void *block, std::size_t) noexcept
{
    __wrap_free(block);
}

void operator delete[](void *block, std::size_t) noexcept
{
    __wrap_free(block);
}

void operator delete(void *block, std::align_val_t) noexcept
{
    __wrap_free(block);
}

void operator delete[](void *block, std::align_val_t) noexcept
{
    __wrap_free(block);
}

void operator delete(void *block, std::size_t, std::align_val_t) noexcept
{
    __wrap_free(block);
}

void operator delete[](void *block, std::size_t, std::align_val_t) noexcept
{
    __wrap_free(block);
}
