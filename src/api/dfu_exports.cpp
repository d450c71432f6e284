#include "api/call_frame.h"
#include "dfu/dfu_listener.h"
#include "dfu/dfu_pen_handle.h"
#include "pens/discovery_record.h"
#include "protocol/values/value_convert.h"
#include "sys/log.h"

#include "zel/zel.h"

#include <cstring>
#include <memory>

using namespace zel;

namespace {

/** The frame of exports that do not log their name and have no result codes for single exceptions. */
constexpr CallFrame plainDfuFrame(const char *logName, Needs needs)
{
    return {.logName = logName, .needs = needs, .entryMark = CallFrame::kNoMark, .catches = Catches::Nothing};
}

constexpr CallFrame requestFrame(const char *logName)
{
    return {.logName = logName, .needs = Needs::DfuManager};
}

/** A request whose answer only says whether it succeeded: any value but null means yes. */
using DfuRequest = Value (DfuClient::*)();

uint32_t succeedUnlessNull(const Value &result, const char *logName, const char *nameInFailure)
{
    if (isNull(result)) {
        LogError(nameInFailure, " returned: Value: null");
        return ZEL_ERR_INVALID_ARGUMENT;
    }
    LogDebug(logName, " succeeded");
    return ZEL_OK;
}

uint32_t runCommand(const CallFrame &frame, DfuPenHandle *pen, DfuRequest request)
{
    return frame.run({required(pen)}, [&] {
        const Value result = (pen->dfu().*request)();
        return succeedUnlessNull(result, frame.logName, frame.logName);
    });
}

/** A request whose answer is a binary of a fixed size. Another size is refused without a log text. */
uint32_t readRecord(const CallFrame &frame, DfuPenHandle *pen, DfuRequest request, uint8_t *output,
                    std::uint32_t wanted, const char *wrongType)
{
    return frame.run({required(pen), required(output)}, [&] {
        const Value result = (pen->dfu().*request)();
        if (result.getType() != ValueType::Binary) {
            LogError(wrongType);
            return ZEL_ERR_INVALID_ARGUMENT;
        }
        BinaryBuffer bytes = result.getBinaryBuffer();
        if (bytes.size() != wanted)
            return ZEL_ERR_INVALID_ARGUMENT;
        std::memcpy(output, bytes.data(), wanted);
        return ZEL_OK;
    });
}

/** The size of a firmware block. The host lays it out as block number (16 bits), count of data bytes (16
 *  bits), data. */
std::uint32_t sizeOfBlock(const std::uint8_t *block)
{
    std::uint16_t header[2];
    std::memcpy(header, block, sizeof header);
    return static_cast<std::uint32_t>(sizeof header) + header[1];
}

} // namespace

uint32_t zelDfuInit(void *callbackContext, PenArrivedCallback arrived, PenDepartedCallback departed)
{
    static constexpr CallFrame frame = plainDfuFrame("zelDfuInit", Needs::Nothing);
    return frame.run({}, [&] {
        if (dfuListener() != nullptr)
            return ZEL_ERR_ALREADY_INITIALIZED;
        if (arrived == nullptr || departed == nullptr)
            return ZEL_ERR_INVALID_ARGUMENT;
        setDfuListener(std::make_unique<DfuRendezvousListener>());
        dfuListener()->setCallbacks(arrived, departed, callbackContext);
        return dfuListener()->StartRendezvous() ? ZEL_OK : ZEL_ERR_INVALID_ARGUMENT;
    });
}

// The log names of the next three are those of the exports of ordinary mode. Do not correct them: they are
// fixed.

uint32_t zelDfuExit(void)
{
    static constexpr CallFrame frame = plainDfuFrame("zelExit", Needs::Nothing);
    return frame.run({}, [] {
        if (dfuListener() != nullptr) {
            dfuListener()->StopRendezvous();
            setDfuListener(nullptr);
        }
        return ZEL_OK;
    });
}

uint32_t zelDfuConnectPen(DfuPenHandle **pen, const DiscoveryHandle *record)
{
    static constexpr CallFrame frame = plainDfuFrame("zelConnectPen", Needs::DfuManager);
    return frame.run({required(pen), required(record)}, [&] {
        if (record->kind != ZEL_PEN_ARRIVED)
            return ZEL_ERR_INVALID_ARGUMENT;
        const DiscoveryRecord &announced = recordOf(*record);
        *pen = nullptr; // so that the host may disconnect even if there is no memory for a handle
        auto handle = std::make_unique<DfuPenHandle>();
        handle->penId = announced.penId;
        *pen = handle.release(); // the host owns it from here on, also when connecting fails
        auto client = std::make_unique<DfuClient>(announced.serviceAddress, announced.servicePort);
        client->setPenConnected(true);
        client->connect();
        (*pen)->client = std::move(client);
        return ZEL_OK;
    });
}

uint32_t zelDfuDisconnectPen(DfuPenHandle **pen)
{
    static constexpr CallFrame frame = plainDfuFrame("zelDisconnectPen", Needs::DfuManager);
    return frame.run({required(pen)}, [&] {
        const std::unique_ptr<DfuPenHandle> handle(*pen);
        *pen = nullptr;
        if (handle != nullptr && handle->client != nullptr) {
            handle->client->setPenConnected(false);
            handle->client->disconnect();
        }
        return ZEL_OK;
    });
}

uint32_t zelDfuGetMode(const DiscoveryHandle *record, uint8_t *mode)
{
    static constexpr CallFrame frame = plainDfuFrame("zelDfuGetMode", Needs::Nothing);
    return frame.run({preset<uint8_t>(mode, 0), required(record)}, [&] {
        *mode = recordOf(*record).dfu;
        return ZEL_OK;
    });
}

uint32_t zelDfuResetPort(DfuPenHandle *pen)
{
    static constexpr CallFrame frame = requestFrame("zelDfuResetPort");
    return runCommand(frame, pen, &DfuClient::DfuResetPort);
}

uint32_t zelDfuAbort(DfuPenHandle *pen)
{
    static constexpr CallFrame frame = requestFrame("zelDfuAbort");
    return runCommand(frame, pen, &DfuClient::DfuAbort);
}

uint32_t zelDfuClearStatus(DfuPenHandle *pen)
{
    static constexpr CallFrame frame = requestFrame("zelDfuClearStatus");
    return runCommand(frame, pen, &DfuClient::DfuClearStatus);
}

uint32_t zelDfuDetach(DfuPenHandle *pen)
{
    static constexpr CallFrame frame = requestFrame("zelDfuDetach");
    return runCommand(frame, pen, &DfuClient::DfuDetach);
}

uint32_t zelDfuDetachBoot(DfuPenHandle *pen)
{
    static constexpr CallFrame frame = requestFrame("zelDfuDetachBoot");
    return runCommand(frame, pen, &DfuClient::DfuDetachBoot);
}

uint32_t zelDfuGetState(DfuPenHandle *pen, int32_t *state)
{
    static constexpr CallFrame frame = requestFrame("zelDfuGetState");
    return frame.run({required(pen), required(state)}, [&] {
        const Value result = pen->dfu().DfuGetState();
        if (result.getType() != ValueType::Int32) {
            LogError("zelDfuGetState returned: wrong type");
            return ZEL_ERR_INVALID_ARGUMENT;
        }
        *state = static_cast<int32_t>(result.getInt());
        LogDebug("zelDfuGetState returned: Value: INT32");
        return ZEL_OK;
    });
}

uint32_t zelDfuGetStatus(DfuPenHandle *pen, uint8_t *status)
{
    static constexpr CallFrame frame = requestFrame("zelDfuGetStatus");
    return readRecord(frame, pen, &DfuClient::DfuGetStatus, status, 6,
                      "zelDfuGetStatus returned: wrong type");
}

uint32_t zelDfuGetFunctionalDescriptor(DfuPenHandle *pen, uint8_t *descriptor)
{
    static constexpr CallFrame frame{.logName = "zelDfuGetFunctionalDescriptor",
                                     .needs = Needs::DfuManager,
                                     .unexpectedText = "zelGetBTSettings caught an undefined exception."};
    return readRecord(frame, pen, &DfuClient::DfuGetFunctionalDescriptor, descriptor, 7,
                      "zelDfuGetFunctionalDescriptor returned: Value: null");
}

uint32_t zelDfuDownload(DfuPenHandle *pen, const void *block)
{
    static constexpr CallFrame frame = requestFrame("zelDfuDownload");
    return frame.run({required(pen), required(block)}, [&] {
        const auto *const bytes = static_cast<const std::uint8_t *>(block);
        const Value result = pen->dfu().DfuDownload(bytes, sizeOfBlock(bytes));
        return succeedUnlessNull(result, frame.logName, "zelDfuUpload"); // the text is fixed
    });
}
