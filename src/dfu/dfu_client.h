#pragma once

#include "psp/psp_client_base.h"

#include <cstdint>

namespace zel {

/** The operations of a pen in firmware-upgrade mode. Each is one exchange. They correspond to the class
 *  requests in the USB Device Firmware Upgrade specification. Results are never absent. */
class DfuClient : public PspClientBase
{
public:
    DfuClient(std::uint32_t address, std::uint16_t port);
    ~DfuClient() override;

    Value DfuDetach();
    Value DfuDetachBoot();
    Value DfuGetFunctionalDescriptor();
    /** Sends the block unchanged. */
    Value DfuDownload(const std::uint8_t *block, std::uint32_t size);
    Value DfuGetStatus();
    Value DfuClearStatus();
    Value DfuAbort();
    Value DfuGetState();
    Value DfuResetPort();
};

} // namespace zel
