#include "fault_rows.h"

#include "support/wire.h"

namespace faults {

namespace {

namespace wire = zel::test::wire;

constexpr char kNoHandle[] = "null";
constexpr char kHandle[] = "handle";

/** Where a connecting call stores the handle, which is the subject's from there on; "-" when it stored
 *  nothing. */
template <class Handle>
class HandleOutput
{
public:
    explicit HandleOutput(Handle *&subject) : m_subject(subject) {}
    Handle **place() { return &m_handle; }

    std::string show() const
    {
        if (m_handle == untouched())
            return "-";
        m_subject = m_handle;
        return m_handle == nullptr ? kNoHandle : kHandle;
    }

private:
    static Handle *untouched()
    {
        static char s_place;
        return reinterpret_cast<Handle *>(&s_place);
    }

    Handle *&m_subject;
    Handle *m_handle = untouched();
};

Outcome connectPen(Handles &handles)
{
    HandleOutput handle(handles.pen);
    const auto code = zelConnectPen(handles.record, handle.place());
    return contract::outcome(code, handle);
}

Outcome connectDfuPen(Handles &handles)
{
    HandleOutput handle(handles.dfu);
    const auto code = zelDfuConnectPen(handle.place(), handles.record);
    return contract::outcome(code, handle);
}

/** A pen whose lock cannot be asked counts as locked: it connects, and is asked nothing else. */
Expected connectedAsLocked()
{
    return {.code = ZEL_OK, .outputs = kHandle, .rest = std::vector<Exchange>{}};
}

Exchange lockedQuestion()
{
    return {.request = wire::request("R1GL"),
            .result = wire::boolean(false),
            .meaning = [](const Sample &sample) {
                return (sample.number & 0xFF) == 0 ? Expected{} : connectedAsLocked();
            }};
}

Exchange softwareVersion()
{
    return {.request = wire::request("R1GP", {wire::short16(0x0001)}),
            .result = wire::short16(0x0503),
            .meaning = contract::ignored()}; // the announced version stands
}

// Without memory for the handle there is none; without memory later there is one, not connected.
const std::vector<Expected> kConnectWithoutMemory = {{.code = ZEL_ERR_UNEXPECTED, .outputs = kNoHandle},
                                                     {.code = ZEL_ERR_UNEXPECTED, .outputs = kHandle}};

std::vector<Expected> connectPenWithoutMemory()
{
    std::vector<Expected> all = kConnectWithoutMemory;
    all.push_back(connectedAsLocked());
    return all;
}

std::vector<FaultRow> connectingRows()
{
    return {
        {.name = "zelConnectPen",
         .mode = Mode::Unconnected,
         .call = connectPen,
         .exchanges = {lockedQuestion(), softwareVersion()},
         .outputs = kHandle,
         .failed = kHandle,
         .whenFault = [](std::size_t exchange,
                         Fault fault) { return exchange == 0 ? connectedAsLocked() : usualFailure(fault); },
         .withoutMemory = connectPenWithoutMemory()},

        {.name = "zelDfuConnectPen",
         .mode = Mode::Unconnected,
         .call = connectDfuPen,
         .outputs = kHandle,
         .failed = kHandle,
         .withoutMemory = kConnectWithoutMemory},
    };
}

/** An export that hands out one text. */
FaultRow textRow(const char *name, Mode mode, std::uint32_t (*call)(const Handles &, char **),
                 std::vector<Exchange> exchanges, std::string outputs)
{
    return {.name = name,
            .mode = mode,
            .call =
                [call](Handles &handles) {
                    contract::TextOutput text;
                    const auto code = call(handles, text.place());
                    return contract::outcome(code, text);
                },
            .exchanges = std::move(exchanges),
            .outputs = std::move(outputs),
            .failed = "null",
            .whenFault = [](std::size_t, Fault fault) { return usualFailure(fault); }};
}

Exchange productName()
{
    return {.request = wire::request("R1GP", {wire::short16(0x0024)}),
            .result = wire::string("Inkwell"),
            .meaning = [](const Sample &sample) {
                return sample.isNull() ? Expected{.code = ZEL_ERR_INVALID_ARGUMENT}
                                       : Expected{.outputs = '"' + sample.text + '"'};
            }};
}

} // namespace

std::vector<FaultRow> connectionRows()
{
    std::vector<FaultRow> rows = connectingRows();
    rows.push_back(textRow(
        "zelGetApiVersion", Mode::Unconnected,
        [](const Handles &, char **text) { return zelGetApiVersion(text); }, {}, "\"1.0.0.0_6\""));
    rows.push_back(textRow(
        "zelGetDevicePenSerial", Mode::Unconnected,
        [](const Handles &handles, char **text) { return zelGetDevicePenSerial(handles.record, text); }, {},
        "\"AKZ-AQ7-APS-AC\""));
    rows.push_back(textRow(
        "zelGetPenSerial", Mode::Pen,
        [](const Handles &handles, char **text) { return zelGetPenSerial(handles.pen, text); }, {},
        "\"AKZ-AQ7-APS-AC\""));
    rows.push_back(textRow(
        "zelGetPenProductName", Mode::Pen,
        [](const Handles &handles, char **text) { return zelGetPenProductName(handles.pen, text); },
        {productName()}, "\"Inkwell\""));
    return rows;
}

} // namespace faults
