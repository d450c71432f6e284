#pragma once

#include "psp/psp_client_base.h"

#include <cstdint>
#include <memory>

namespace zel {

/** The operations of a pen in firmware-upgrade mode. Each is one exchange. They correspond to the class
 *  requests in the USB Device Firmware Upgrade specification. Results are never null pointers. */
class DfuClient : public PspClientBase
{
public:
    DfuClient(std::uint32_t address, std::uint16_t port);
    ~DfuClient() override;

    std::unique_ptr<Value> DfuDetach();
    std::unique_ptr<Value> DfuDetachBoot();
    std::unique_ptr<Value> DfuGetFunctionalDescriptor();
    /** Sends the block unchanged. */
    std::unique_ptr<Value> DfuDownload(const std::uint8_t *block, std::uint32_t size);
    std::unique_ptr<Value> DfuGetStatus();
    std::unique_ptr<Value> DfuClearStatus();
    std::unique_ptr<Value> DfuAbort();
    std::unique_ptr<Value> DfuGetState();
    std::unique_ptr<Value> DfuResetPort();
};

} // namespace zel
