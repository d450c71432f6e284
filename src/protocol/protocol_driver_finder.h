#pragma once

#include "protocol/client_protocol_driver.h"

#include <array>
#include <memory>
#include <mutex>

namespace zel {

/** The drivers by protocol version: a flat table with one row per major version, one column per minor.
 *  Any thread. */
class ProtocolDriverFinder
{
public:
    /** A version without a driver of its own gets the next one in the table, so major 0 is served by
     *  1.0. Throws ZELException (without text) on a major of 2 or more. */
    const ClientProtocolDriver &find(const ProtocolVersion &version);

private:
    static constexpr std::size_t kMajors = 2;
    static constexpr std::size_t kMinors = 1;

    void fill();

    std::array<std::unique_ptr<ClientProtocolDriver>, kMajors * kMinors> m_drivers;
    std::once_flag m_filled;
};

/** The process's own table. */
ProtocolDriverFinder &protocolDriverFinder();

} // namespace zel
