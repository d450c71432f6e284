#pragma once

#include "dfu/dfu_client.h"

#include "zel/zel.h"

#include <cstdint>
#include <memory>

/** The host's handle for one pen in firmware-upgrade mode, from zelDfuConnectPen to zelDfuDisconnectPen. */
struct DfuPenHandle {
    /** Null after a failed connect. */
    std::unique_ptr<zel::DfuClient> client;
    std::uint64_t penId = 0;

    /** The client. Throws PspConnectionException when there is none, as if the connection were lost. */
    zel::DfuClient &dfu() const;
};
