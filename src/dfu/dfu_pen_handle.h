#pragma once

#include "dfu/dfu_client.h"

#include "zel/zel.h"

#include <cstdint>
#include <memory>

/** The host's handle on one pen in firmware-upgrade mode, from zelDfuConnectPen to zelDfuDisconnectPen. */
struct DfuPenHandle {
    /** Null after a failed connect. */
    std::unique_ptr<zel::DfuClient> client;
    std::uint64_t penId = 0;

    /** The client to talk to; a handle without one is like a lost connection:
     *  PspConnectionException. */
    zel::DfuClient &dfu() const;
};
