#include "dfu/dfu_client.h"

#include "protocol/values/value.h"
#include "sys/log.h"

namespace zel {

namespace {

// Each code is four characters, the first in the most significant byte. V004 does not exist.
constexpr std::uint32_t kDetach = 0x56303030;
constexpr std::uint32_t kDetachBoot = 0x56303031;
constexpr std::uint32_t kGetFunctionalDescriptor = 0x56303032;
constexpr std::uint32_t kDownload = 0x56303033;
constexpr std::uint32_t kGetStatus = 0x56303035;
constexpr std::uint32_t kClearStatus = 0x56303036;
constexpr std::uint32_t kAbort = 0x56303037;
constexpr std::uint32_t kGetState = 0x56303038;
constexpr std::uint32_t kResetPort = 0x56303039;

} // namespace

DfuClient::DfuClient(std::uint32_t address, std::uint16_t port) : PspClientBase(address, port)
{
    LogDebug("[DfuClient] instance created");
}

DfuClient::~DfuClient()
{
    LogDebug("[DfuClient] instance deleted");
}

Value DfuClient::DfuDetach()
{
    LogDebug("[DfuClient::DfuDetach]");
    return execute(kDetach);
}

Value DfuClient::DfuDetachBoot()
{
    LogDebug("[DfuClient::DfuDetachBoot]");
    return execute(kDetachBoot);
}

Value DfuClient::DfuGetFunctionalDescriptor()
{
    LogDebug("[DfuClient::DfuGetFunctionalDescriptor]");
    return execute(kGetFunctionalDescriptor);
}

Value DfuClient::DfuDownload(const std::uint8_t *block, std::uint32_t size)
{
    LogDebug("[DfuClient::DfuDownload]");
    return execute(kDownload, Value::createBinary(block, size));
}

Value DfuClient::DfuGetStatus()
{
    LogDebug("[DfuClient::DfuGetStatus]");
    return execute(kGetStatus);
}

Value DfuClient::DfuClearStatus()
{
    LogDebug("[DfuClient::DfuClearStatus]");
    return execute(kClearStatus);
}

Value DfuClient::DfuAbort()
{
    LogDebug("[DfuClient::DfuAbort]");
    return execute(kAbort);
}

Value DfuClient::DfuGetState()
{
    LogDebug("[DfuClient::DfuGetState]");
    return execute(kGetState);
}

Value DfuClient::DfuResetPort()
{
    LogDebug("[DfuClient::DfuResetPort]");
    return execute(kResetPort);
}

} // namespace zel
