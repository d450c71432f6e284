#pragma once

#include "psp/psp_client2.h"

#include "zel/zel.h"

#include <cstdint>
#include <memory>
#include <string>

/** The host's handle for one pen, from zelConnectPen to zelDisconnectPen. It does not change when the pen
 *  leaves. One thread at a time. */
struct PenHandle {
    /** Null after a failed connect. */
    std::unique_ptr<zel::PspClient2> client;
    std::uint64_t penId = 0;
    /** The announced version, or the version that the pen answered when none was announced. Compare it as a
     *  signed number. */
    std::uint16_t softwareVersion = 0;
    std::string serial;

    /** The client. Throws PspConnectionException when there is none, as if the connection were lost. */
    zel::PspClient2 &psp() const;
};
