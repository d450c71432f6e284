#include "fault_rows.h"

#include "support/wire.h"

#include <array>

namespace faults {

namespace {

namespace wire = zel::test::wire;

/** Room for a record of bytes; left alone it shows as "-". */
template <std::size_t Size>
class RecordOutput
{
public:
    RecordOutput() { m_bytes.fill(kUntouched); }
    std::uint8_t *place() { return m_bytes.data(); }

    std::string show() const
    {
        std::string shown;
        for (const std::uint8_t byte : m_bytes)
            shown += (shown.empty() ? "" : " ") + std::to_string(byte);
        return m_bytes == RecordOutput().m_bytes ? "-" : shown;
    }

private:
    static constexpr std::uint8_t kUntouched = 0xEE;

    std::array<std::uint8_t, Size> m_bytes;
};

FaultRow row(const char *name, std::function<Outcome(DfuPenHandle *)> call, Exchange exchange,
             std::string outputs = "", std::string failed = "")
{
    return {.name = name,
            .mode = Mode::Firmware,
            .call = [call = std::move(call)](Handles &handles) { return call(handles.dfu); },
            .exchanges = {std::move(exchange)},
            .outputs = std::move(outputs),
            .failed = std::move(failed),
            .whenFault = [](std::size_t, Fault fault) { return usualFailure(fault); }};
}

/** Any answer but the null value says that it was done. */
Expected doneUnlessNull(const Sample &sample)
{
    return {.code = sample.isNull() ? ZEL_ERR_INVALID_ARGUMENT : ZEL_OK};
}

FaultRow command(const char *name, std::uint32_t (*call)(DfuPenHandle *), const char *instruction)
{
    return row(name, [call](DfuPenHandle *pen) { return contract::outcome(call(pen)); },
               {.request = wire::request(instruction), .result = wire::byte(1), .meaning = doneUnlessNull});
}

/** An answer of bytes, which no sample has as many of as are wanted. */
template <std::size_t Size>
FaultRow record(const char *name, std::uint32_t (*call)(DfuPenHandle *, std::uint8_t *),
                const char *instruction, const Bytes &bytes, const char *outputs)
{
    return row(
        name,
        [call](DfuPenHandle *pen) {
            RecordOutput<Size> output;
            const auto code = call(pen, output.place());
            return contract::outcome(code, output);
        },
        {.request = wire::request(instruction),
         .result = wire::binary(bytes),
         .meaning = [](const Sample &) { return Expected{.code = ZEL_ERR_INVALID_ARGUMENT}; }},
        outputs, "-");
}

FaultRow state()
{
    return row(
        "zelDfuGetState",
        [](DfuPenHandle *pen) {
            contract::NumberOutput<std::int32_t> output;
            const auto code = zelDfuGetState(pen, output.place());
            return contract::outcome(code, output);
        },
        {.request = wire::request("V008"),
         .result = wire::int32(5),
         .meaning =
             [](const Sample &sample) {
                 if (sample.type != "int32")
                     return Expected{.code = ZEL_ERR_INVALID_ARGUMENT};
                 return Expected{.outputs = std::to_string(static_cast<std::int32_t>(sample.number))};
             }},
        "5", "-");
}

FaultRow download(const char *name, const Bytes &block)
{
    return row(name,
               [block](DfuPenHandle *pen) { return contract::outcome(zelDfuDownload(pen, block.data())); },
               {.request = wire::request("V003", {wire::binary(block)}),
                .result = wire::byte(1),
                .meaning = doneUnlessNull});
}

} // namespace

std::vector<FaultRow> firmwareRows()
{
    return {
        command("zelDfuDetach", zelDfuDetach, "V000"),
        command("zelDfuDetachBoot", zelDfuDetachBoot, "V001"),
        record<7>("zelDfuGetFunctionalDescriptor", zelDfuGetFunctionalDescriptor, "V002",
                  {7, 0x21, 1, 0xFF, 0, 0, 4}, "7 33 1 255 0 0 4"),
        // Its own length, 3, stands in the host's byte order.
        download("zelDfuDownload", {0x34, 0x12, 0x03, 0x00, 0xA0, 0xA1, 0xA2}),
        record<6>("zelDfuGetStatus", zelDfuGetStatus, "V005", {0, 0x10, 0, 0, 5, 0}, "0 16 0 0 5 0"),
        command("zelDfuClearStatus", zelDfuClearStatus, "V006"),
        command("zelDfuAbort", zelDfuAbort, "V007"),
        state(),
        command("zelDfuResetPort", zelDfuResetPort, "V009"),
    };
}

FaultRow downloadOfALargeBlock()
{
    Bytes block(4 + 0xFFFF, 0x5A);
    block[2] = 0xFF;
    block[3] = 0xFF;
    return download("zelDfuDownload_of_a_large_block", block);
}

} // namespace faults
