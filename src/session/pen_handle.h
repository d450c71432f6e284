#pragma once

#include "psp/psp_client2.h"

#include "zel/zel.h"

#include <cstdint>
#include <memory>
#include <string>

/** The host's handle on one pen, from zelConnectPen to zelDisconnectPen; a departure of the pen
 *  does not change it. One thread at a time. */
struct PenHandle {
    /** Null after a failed connect. */
    std::unique_ptr<zel::PspClient2> client;
    std::uint64_t penId = 0;
    /** As announced, or as read from the pen when the announcement named none. Thresholds compare
     *  it as a signed number. */
    std::uint16_t softwareVersion = 0;
    std::string serial;

    /** The client to talk to; a handle without one is like a lost connection:
     *  PspConnectionException. */
    zel::PspClient2 &psp() const;
};
