#pragma once

#include <cstdint>
#include <optional>

namespace penctl {

/** This process alone works on a pen in firmware-upgrade mode, as far as programs agree on it: every question
 * to such a pen changes its state, so a second penctl that asks breaks off what the first one sends. The
 * claim ends with the process at the latest, however that ends. */
class PenClaim
{
public:
    explicit PenClaim(uint64_t penId);
    ~PenClaim();
    PenClaim(const PenClaim &) = delete;
    PenClaim &operator=(const PenClaim &) = delete;

    /** Whether another process has the pen. A claim that cannot be made at all is no reason not to work. */
    bool isTaken() const { return m_taken; }

private:
    std::optional<intptr_t> m_handle;
    bool m_taken = false;
};

} // namespace penctl
