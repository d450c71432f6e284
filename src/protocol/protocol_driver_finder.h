#pragma once

#include "protocol/client_protocol_driver.h"

#include <array>
#include <cstddef>

namespace zel {

/** The drivers by protocol version: a flat table with one row per major version, one column per minor.
 *  Any thread. */
class ProtocolDriverFinder
{
public:
    constexpr ProtocolDriverFinder() noexcept = default;
    ProtocolDriverFinder(const ProtocolDriverFinder &) = delete;
    ProtocolDriverFinder &operator=(const ProtocolDriverFinder &) = delete;

    /** A version without a driver of its own gets the next one in the table, so major 0 is served by
     *  1.0. Throws ZELException (without text) on a major of 2 or more. */
    const ClientProtocolDriver &find(const ProtocolVersion &version) const;

private:
    static constexpr std::size_t kMajors = 2;
    static constexpr std::size_t kMinors = 1;

    ClientProtocolDriverV1_0 m_driver1_0;
    std::array<const ClientProtocolDriver *, kMajors * kMinors> m_drivers{nullptr, &m_driver1_0};
};

/** The process's own table, which outlives every thread. */
const ProtocolDriverFinder &protocolDriverFinder() noexcept;

} // namespace zel
