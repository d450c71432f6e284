#pragma once

#include <atomic>
#include <cstdint>
#include <memory>

namespace zel::threadsynch {

/** A recursive lock. One mistake is tolerated: an unlock without a matching lock does not touch the system's
 *  lock; only the count turns negative. Any thread may lock; the thread that locked must unlock. Use it
 *  through a guard:
 *
 *      const CriticalSectionGuard guard(m_lock);
 */
class CriticalSection
{
public:
    CriticalSection();
    virtual ~CriticalSection();
    CriticalSection(const CriticalSection &) = delete;
    CriticalSection &operator=(const CriticalSection &) = delete;

    void lock();
    void unlock();
    std::int32_t lockCount() const noexcept { return m_lockCount.load(); }

private:
    struct Native;

    std::atomic<std::int32_t> m_lockCount{0};
    std::unique_ptr<Native> m_native;
};

/** Holds a section from construction until unlock() or destruction. */
class CriticalSectionGuard
{
public:
    explicit CriticalSectionGuard(CriticalSection &section);
    virtual ~CriticalSectionGuard();
    CriticalSectionGuard(const CriticalSectionGuard &) = delete;
    CriticalSectionGuard &operator=(const CriticalSectionGuard &) = delete;

    void unlock();

private:
    bool m_locked = false;
    CriticalSection *m_section;
};

} // namespace zel::threadsynch
