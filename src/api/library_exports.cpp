#include "api/call_frame.h"
#include "api/copy_out.h"
#include "pens/discovery_record.h"
#include "session/manager.h"
#include "sys/byte_block.h"

#include "zel/zel.h"

#include <memory>
#include <utility>

using namespace zel;

namespace {

constexpr char kApiVersion[] = "1.0.0.0_6";
/** The ids of pens with older software are handed out too, but with ZEL_ERR_NOT_SUPPORTED. */
constexpr std::int16_t kUsbIdsVersion = 0x0503;

/** The frame of exports that do not talk to a pen: they do not log their name and have no result codes for
 *  single exceptions. */
constexpr CallFrame quietFrame(const char *logName, Needs needs)
{
    return {.logName = logName, .needs = needs, .entryMark = CallFrame::kNoMark, .catches = Catches::Nothing};
}

template <class T>
void freeBlock(T **block) noexcept
{
    FreeBlock()(reinterpret_cast<std::uint8_t *>(std::exchange(*block, nullptr)));
}

} // namespace

uint32_t zelInitialize(PenArrivedCallback arrived, PenDepartedCallback departed, void *callbackContext)
{
    static constexpr CallFrame frame = quietFrame("zelInitialize", Needs::Nothing);
    return frame.run({}, [&] {
        if (manager() != nullptr)
            return ZEL_ERR_ALREADY_INITIALIZED;
        if (arrived == nullptr || departed == nullptr)
            return ZEL_ERR_INVALID_ARGUMENT;
        setManager(std::make_unique<CZELManager>());
        manager()->setCallbacks(arrived, departed, callbackContext);
        return manager()->StartRendezvous() ? ZEL_OK : ZEL_ERR_INVALID_ARGUMENT;
    });
}

uint32_t zelExit(void)
{
    static constexpr CallFrame frame = quietFrame("zelExit", Needs::Nothing);
    return frame.run({}, [] {
        if (manager() != nullptr) {
            manager()->StopRendezvous();
            setManager(nullptr);
        }
        return ZEL_OK;
    });
}

uint32_t zelGetApiVersion(char **text)
{
    static constexpr CallFrame frame = quietFrame("zelGetApiVersion", Needs::Nothing);
    return frame.run({cleared(text)}, [&] {
        CopyOutString(kApiVersion, text);
        return ZEL_OK;
    });
}

uint32_t zelEnumeratePens(void)
{
    static constexpr CallFrame frame = quietFrame("zelEnumeratePens", Needs::Manager);
    return frame.run({}, [] {
        manager()->StopRendezvous();
        return manager()->StartRendezvous() ? ZEL_OK : ZEL_ERR_INVALID_ARGUMENT;
    });
}

uint32_t zelFreeString(char **text)
{
    static constexpr CallFrame frame = quietFrame("zelFreeString", Needs::Nothing);
    return frame.run({required(text)}, [&] {
        freeBlock(text);
        return ZEL_OK;
    });
}

uint32_t zelFreePageList(char **text)
{
    static constexpr CallFrame frame = quietFrame("zelFreePageList", Needs::Nothing);
    return frame.run({required(text)}, [&] {
        freeBlock(text);
        return ZEL_OK;
    });
}

uint32_t zelFreePageData(uint8_t **data)
{
    static constexpr CallFrame frame = quietFrame("zelFreePageData", Needs::Nothing);
    return frame.run({required(data)}, [&] {
        freeBlock(data);
        return ZEL_OK;
    });
}

uint32_t zelFreeDiscoveryHandle(DiscoveryHandle **record)
{
    static constexpr CallFrame frame = quietFrame("zelFreeDiscoveryHandle", Needs::Nothing);
    return frame.run({required(record)}, [&] {
        delete static_cast<DiscoveryRecord *>(*record);
        *record = nullptr;
        return ZEL_OK;
    });
}

uint32_t zelGetDevicePenSerial(const DiscoveryHandle *record, char **text)
{
    static constexpr CallFrame frame = quietFrame("zelGetDevicePenSerial", Needs::AnyManager);
    return frame.run({cleared(text), required(record)}, [&] {
        CopyOutString(recordOf(*record).serial, text);
        return ZEL_OK;
    });
}

uint32_t zelGetDeviceVidAndPid(const DiscoveryHandle *record, uint16_t *vendorId, uint16_t *productId)
{
    static constexpr CallFrame frame = quietFrame("zelGetDeviceVidAndPid", Needs::Manager);
    return frame.run({required(record), required(vendorId), required(productId)}, [&] {
        const DiscoveryRecord &announced = recordOf(*record);
        *vendorId = announced.vendorId;
        *productId = announced.productId;
        const auto version = static_cast<std::int16_t>(announced.swVersion);
        return version < kUsbIdsVersion ? ZEL_ERR_NOT_SUPPORTED : ZEL_OK;
    });
}
