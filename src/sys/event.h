#pragma once

#include <cstdint>
#include <memory>
#include <vector>

namespace zel {

/** Waits are in milliseconds; kInfinite never times out. */
inline constexpr std::uint32_t kInfinite = 0xFFFFFFFF;

/** An event with the semantics of a Win32 event object. Any thread may set, reset or wait. */
class LEvent
{
public:
    LEvent(bool manualReset, bool initiallySignalled);
    ~LEvent();
    LEvent(const LEvent &) = delete;
    LEvent &operator=(const LEvent &) = delete;

    /** Signals this event and then, in list order, every linked one. */
    void set();
    void reset();
    /** True when the event was signalled within the time; an auto-reset event is then clear again. */
    bool wait(std::uint32_t milliseconds);
    bool isSignalled() const noexcept;
    /** The linked event is borrowed and must outlive this one. */
    void link(LEvent &other);

private:
    struct Native;

    std::unique_ptr<Native> m_native;
    std::vector<LEvent *> m_linked;
};

} // namespace zel
