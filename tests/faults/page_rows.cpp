#include "fault_rows.h"

#include "support/wire.h"

#include <algorithm>
#include <map>

namespace faults {

namespace {

namespace wire = zel::test::wire;
using zel::test::operator+; // NOLINT(misc-unused-using-decls): it is used

// Two pages that hold strokes, listed by the pen in descending order, and one stylo page.
constexpr std::uint64_t kPageA = 0x010002003004;     // 1.2.3.4
constexpr std::uint64_t kPageB = 0x010002003005;     // 1.2.3.5
constexpr std::uint64_t kStyloPage = 0x002002003004; // 0.8194.3.4
const Bytes kStrokesA = {0xa1, 0xa2, 0xa3};
const Bytes kStrokesB = {0xb1};
const Bytes kStyloStrokes = {0xc1, 0xc2};

// The properties that identify the pen, in the order in which they are read; each is answered with a byte.
constexpr std::uint16_t kProperties[] = {0x0022, 0x0001, 0x0021, 0x2009, 0x200a,
                                         0x200b, 0x200c, 0x0023, 0x0024, 0x001f};

Bytes usualProperty(std::uint16_t id)
{
    return wire::byte(static_cast<std::uint8_t>(id));
}

// --- the page data that a retrieval hands out ----------------------------------------------------

struct PageData {
    Bytes strokesA = kStrokesA;
    Bytes strokesB = kStrokesB;
    bool hasPages = true;
    bool hasStyloPage = true;
    /** Instead of the usual ones. */
    std::map<std::uint16_t, Bytes> properties = {};
};

Bytes page(std::uint64_t address, std::uint8_t flag, const Bytes &strokes)
{
    return wire::bigEndian(address, 8) + wire::bigEndian(strokes.size(), 4) // bytes of strokes
           + Bytes{flag}                                                    // 1 when bits 40 to 51 are 0
           + Bytes{0x00, 0x00}                                              // page entries
           + strokes;
}

Bytes encoded(const PageData &data)
{
    std::map<std::uint16_t, Bytes> properties = data.properties;
    for (const std::uint16_t id : kProperties)
        properties.try_emplace(id, usualProperty(id));
    const int pages = (data.hasStyloPage ? 1 : 0) + (data.hasPages ? 2 : 0);

    Bytes bytes = Bytes{0x01, 0x00, // protocol version 1.0
                        0x00, 0x18, // header length
                        0x00, 0x0f,
                        0xff, 0xff,
                        0xff, 0xff,
                        0xff, 0xff,                             // page address *.*.*.*
                        0x02, 0x25,                             // pidget 549
                        0x00, 0x0f,                             // page header length
                        0x00, 0x02,                             // page entry header length
                        0x00, 0x02,                             // entry header length
                        0x00, 0x01,                             // value header length
                        0x00, static_cast<std::uint8_t>(pages), // pages
                        0x00, 0x0b};                            // entries
    if (data.hasStyloPage)
        bytes = bytes + page(kStyloPage, 1, kStyloStrokes);
    if (data.hasPages)
        bytes = bytes + page(kPageA, 0, data.strokesA) + page(kPageB, 0, data.strokesB);
    bytes = bytes + wire::bigEndian(0x0000, 2) + wire::long64(0x12300ABCDEF); // the pen's identity
    for (const auto &[id, value] : properties)
        bytes = bytes + wire::bigEndian(id, 2) + value;

    return bytes;
}

std::string shown(const PageData &data)
{
    const Bytes bytes = encoded(data);
    std::string text = "bytes";
    for (const std::uint8_t byte : bytes)
        text += " " + std::to_string(byte);
    return text + " (" + std::to_string(bytes.size()) + ")";
}

// --- the exchanges of a retrieval ----------------------------------------------------------------

Exchange mmiState(std::uint16_t state)
{
    return {.request = wire::request("R2SM", {wire::short16(state)}),
            .result = wire::int32(0),
            .meaning = contract::ignored()};
}

Exchange endOfSession()
{
    return {.request = wire::request("U0YE"), .result = wire::int32(0), .meaning = contract::ignored()};
}

/** Once the session is open, whatever fails ends it and tells the pen so. */
Expected failedRetrieval()
{
    return {.code = ZEL_ERR_INVALID_ARGUMENT, .rest = {{endOfSession(), mmiState(3)}}};
}

Exchange beginOfSession()
{
    return {.request = wire::request("U0YB"), .result = wire::int32(1), .meaning = [](const Sample &sample) {
                if (sample.number != 0)
                    return Expected{};
                return Expected{.code = ZEL_ERR_SYNC_BUSY, .rest = std::vector<Exchange>{}};
            }};
}

Bytes listed(std::uint64_t address, std::uint32_t size)
{
    return wire::list({wire::long64(address), wire::int32(size)});
}

Exchange strokes(std::uint64_t address, const Bytes &usual, Bytes PageData::*place)
{
    return {.request = wire::request(
                "U0PG", {wire::long64(address), wire::long64(2), wire::long64(0x7fffffffffffffff)}),
            .result = wire::binary(usual),
            .meaning = [place](const Sample &sample) {
                if (!sample.isBytes())
                    return failedRetrieval();
                PageData data;
                // What the two samples hold.
                data.*place = sample.type == "binary" ? Bytes{0x0a, 0xff} : Bytes{0x41};
                return Expected{.outputs = shown(data)};
            }};
}

Exchange styloPages()
{
    return {.request = wire::request("U0PY"),
            .result = wire::list({wire::list({wire::long64(kStyloPage), wire::binary(kStyloStrokes)})}),
            .meaning = [](const Sample &sample) {
                // The element that the samples hold is no page.
                return sample.isArray() ? Expected{.outputs = shown({.hasStyloPage = false})}
                                        : failedRetrieval();
            }};
}

Exchange property(std::uint16_t id)
{
    return {.request = wire::request("R1GP", {wire::short16(id)}),
            .result = usualProperty(id),
            .meaning = [id](const Sample &sample) {
                const Bytes bytes = sample.isNull() ? wire::null() : sample.bytes;
                return Expected{.outputs = shown({.properties = {{id, bytes}}})};
            }};
}

/** What follows the list of pages. */
std::vector<Exchange> restOfRetrieval(bool hasPages)
{
    std::vector<Exchange> exchanges;
    if (hasPages)
        exchanges = {strokes(kPageA, kStrokesA, &PageData::strokesA),
                     strokes(kPageB, kStrokesB, &PageData::strokesB)};
    exchanges.push_back(styloPages());
    for (const std::uint16_t id : kProperties)
        exchanges.push_back(property(id));
    exchanges.push_back(endOfSession());
    exchanges.push_back(mmiState(2));
    return exchanges;
}

Exchange listOfPages(contract::Meaning meaning)
{
    return {.request = wire::request("U0PI"),
            .result = wire::list({listed(kPageB, 20), listed(kPageA, 300)}),
            .meaning = std::move(meaning)};
}

std::vector<Exchange> retrieval(contract::Meaning meaningOfList)
{
    std::vector<Exchange> exchanges = {beginOfSession(), mmiState(1), listOfPages(std::move(meaningOfList))};
    for (Exchange &exchange : restOfRetrieval(true))
        exchanges.push_back(std::move(exchange));
    return exchanges;
}

/** The end of the session is tried after every fault but one of its beginning. It fails as well when nothing
 *  more can be read from the pen. */
Expected retrievalFailure(std::size_t exchange, Fault fault)
{
    if (exchange == 0)
        return usualFailure(fault);
    if (fault == Fault::Lost || fault == Fault::Undecodable)
        return {.code = ZEL_ERR_COMMUNICATION};
    return failedRetrieval();
}

FaultRow retrievalRow(const char *name,
                      std::function<std::uint32_t(PenHandle *, contract::DataOutput &)> call,
                      std::vector<Exchange> exchanges)
{
    return {.name = name,
            .call =
                [call = std::move(call)](Handles &handles) {
                    contract::DataOutput data;
                    const auto code = call(handles.pen, data);
                    return contract::outcome(code, data);
                },
            .exchanges = std::move(exchanges),
            .outputs = shown({}),
            .failed = "null (0)",
            .whenFault = retrievalFailure,
            .withoutMemory = {{.code = ZEL_ERR_UNEXPECTED},
                              failedRetrieval(),
                              {.code = ZEL_ERR_COMMUNICATION},
                              {.code = ZEL_OK, .outputs = shown({})}}}; // sorting does without its buffer
}

std::uint32_t getPages(PenHandle *pen, const char *addresses, contract::DataOutput &data)
{
    return zelGetPages(pen, addresses, nullptr, data.place(), data.length());
}

std::uint32_t getAllPages(PenHandle *pen, contract::DataOutput &data)
{
    return zelGetAllPages(pen, nullptr, data.place(), data.length());
}

std::vector<FaultRow> retrievalRows()
{
    FaultRow chosen = retrievalRow(
        "zelGetPages", [](PenHandle *pen, auto &data) { return getPages(pen, "1.2.3.4;1.2.3.5;", data); },
        retrieval([](const Sample &) { return failedRetrieval(); })); // no page, or none that was asked for

    FaultRow all = retrievalRow("zelGetAllPages", getAllPages, retrieval([](const Sample &sample) {
                                    if (!sample.isNull())
                                        return failedRetrieval();
                                    return Expected{.outputs = shown({.hasPages = false}),
                                                    .rest = restOfRetrieval(false)};
                                }));

    // Faults of the exchanges by which a retrieval that failed ends its session.
    FaultRow unmatched = retrievalRow(
        "zelGetPages_of_pages_that_are_not_there",
        [](PenHandle *pen, auto &data) { return getPages(pen, "9.9.9.9;", data); },
        {beginOfSession(), mmiState(1), listOfPages([](const Sample &) { return failedRetrieval(); }),
         endOfSession(), mmiState(3)});
    unmatched.code = ZEL_ERR_INVALID_ARGUMENT;
    unmatched.outputs = unmatched.failed;

    FaultRow broken = unmatched;
    broken.name = "zelGetAllPages_without_a_list_of_pages";
    broken.call = all.call;
    broken.exchanges[2].result = wire::int32(7);
    broken.faultsFrom = 3;
    broken.whenFault = [](std::size_t, Fault fault) { return usualFailure(fault); };
    return {chosen, all, unmatched, broken};
}

Expected alwaysUnexpected(std::size_t, Fault)
{
    return {.code = ZEL_ERR_UNEXPECTED};
}

constexpr char kListOfPages[] = "\"1.2.3.4;1.2.3.5;\" 320";

FaultRow listRow()
{
    return {.name = "zelGetPageList",
            .call =
                [](Handles &handles) {
                    contract::TextOutput text;
                    contract::NumberOutput<std::uint32_t> total;
                    const auto code = zelGetPageList(handles.pen, text.place(), total.place());
                    return contract::outcome(code, text, total);
                },
            .exchanges = {listOfPages([](const Sample &sample) {
                return sample.isNull() ? Expected{.outputs = "\"\" 0"} : Expected{.code = ZEL_ERR_UNEXPECTED};
            })},
            .outputs = kListOfPages,
            .failed = "null 0",
            .whenFault = alwaysUnexpected,
            .withoutMemory = {{.code = ZEL_ERR_UNEXPECTED},
                              {.code = ZEL_OK, .outputs = kListOfPages}}}; // sorting does without its buffer
}

FaultRow removalRow(const char *name, std::function<std::uint32_t(PenHandle *)> call, Bytes request)
{
    return {
        .name = name,
        .call = [call = std::move(call)](Handles &handles) { return contract::outcome(call(handles.pen)); },
        .exchanges = {{.request = std::move(request),
                       .result = wire::int32(0),
                       .meaning = contract::ignored()}},
        .whenFault = alwaysUnexpected};
}

/** Page data that is too large to be shown byte by byte when it is as it should be. */
class LargeOutput
{
public:
    static constexpr char kAsExpected[] = "as expected";

    explicit LargeOutput(const Bytes &expected) : m_expected(expected) {}
    contract::DataOutput &data() { return m_data; }

    std::string show() const
    {
        const std::uint8_t *const bytes = m_data.bytes();
        const std::size_t count = m_data.count();
        const bool same =
            bytes != nullptr && std::equal(bytes, bytes + count, m_expected.begin(), m_expected.end());
        return same ? kAsExpected : m_data.show();
    }

private:
    const Bytes &m_expected;
    contract::DataOutput m_data;
};

} // namespace

std::vector<FaultRow> pageRows()
{
    std::vector<FaultRow> rows = retrievalRows();
    rows.push_back(listRow());
    rows.push_back(removalRow(
        "zelRemovePage", [](PenHandle *pen) { return zelRemovePage(pen, "1.2.3.4"); },
        wire::request("U0PR", {wire::long64(kPageA), wire::long64(2), wire::long64(0x7fffffffffffffff)})));
    rows.push_back(
        removalRow("zelRemoveAllStrokes", zelRemoveAllStrokes, wire::request("R1DS", {wire::int32(0)})));
    return rows;
}

FaultRow retrievalOfLargeStrokes()
{
    // More than a request or an answer holds on the stack; a block of a shared chunk; and one of pages of its
    // own, which grows as the bytes come.
    PageData data;
    data.strokesA = Bytes(5000, 0xa5);
    data.strokesB = Bytes(70000, 0xb5);
    FaultRow row =
        retrievalRow("zelGetAllPages_with_large_strokes", getAllPages, retrieval(contract::list()));
    row.call = [expected = encoded(data)](Handles &handles) {
        LargeOutput output(expected);
        const auto code = getAllPages(handles.pen, output.data());
        return contract::outcome(code, output);
    };
    row.exchanges[3].result = wire::binary(data.strokesA);
    row.exchanges[4].result = wire::binary(data.strokesB);
    row.outputs = LargeOutput::kAsExpected;
    row.withoutMemory.back().outputs = row.outputs;
    return row;
}

} // namespace faults
