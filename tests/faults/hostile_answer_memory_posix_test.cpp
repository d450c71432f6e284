// What a hostile pen can make the host's process hold: 64 bytes for each byte that it sends, and 16 MiB.
#include "allocation_watch.h"
#include "fault_rows.h"
#include "subject.h"

#include <gtest/gtest.h>
#include <malloc.h>

#include <algorithm>
#include <cstdio>
#include <ostream>
#include <string>

namespace faults {

namespace {

namespace wire = zel::test::wire;
using zel::test::Answer;
using zel::test::repeated;
using zel::test::operator+; // NOLINT(misc-unused-using-decls): it is used

constexpr std::size_t kMiB = std::size_t{1024} * 1024;

// Of the large size it takes many small blocks, which a sanitizer makes slow.
#ifdef ZEL_SANITIZED
constexpr std::size_t kSizes[] = {1000, kMiB / 16};
#else
constexpr std::size_t kSizes[] = {1000, kMiB / 4, 2 * kMiB};
#endif

constexpr std::size_t mostHeldFor(std::size_t received)
{
    return 64 * received + 16 * kMiB;
}

/** A result of about so many bytes. */
using Shape = Bytes (*)(std::size_t size);

const Bytes kNull = {0x00};
const Bytes kEmptyTerminatedArray = {0x0a, 0x0b};

/** Value arrays, as long as a count allows, in a value array. */
Bytes arraysOf(const Bytes &element, std::size_t size)
{
    constexpr std::size_t kMostElements = 65535;
    const std::size_t elements = std::clamp<std::size_t>(size / element.size(), 1, kMostElements);
    const std::size_t arrays = std::max<std::size_t>(1, size / (elements * element.size()));
    return Bytes{0x08} + wire::bigEndian(arrays, 2) +
           repeated(Bytes{0x08} + wire::bigEndian(elements, 2) + repeated(element, elements), arrays);
}

Bytes terminatedArrayOf(const Bytes &element, std::size_t size)
{
    return Bytes{0x0a} + repeated(element, size / element.size()) + Bytes{0x0b};
}

/** Inside as many arrays as are accepted beside those that it has itself. */
Bytes deepInside(Bytes value)
{
    constexpr std::size_t kLevels = 256 - 4;
    return repeated({0x08, 0x00, 0x01}, kLevels) + value;
}

Bytes dataArraysOf(std::uint8_t bodilessType, std::size_t arrays)
{
    return Bytes{0x08} + wire::bigEndian(arrays, 2) + repeated({0x09, 0xff, 0xff, bodilessType}, arrays);
}

struct HostileResult {
    const char *name;
    Shape shape;
};

const HostileResult kResults[] = {
    {"Nulls", [](std::size_t size) { return arraysOf(kNull, size); }},
    {"NullsDeepInside", [](std::size_t size) { return deepInside(arraysOf(kNull, size)); }},
    {"AbsentElements", [](std::size_t size) { return arraysOf({0x0f}, size); }},
    {"EmptyStrings",
     [](std::size_t size) {
         return arraysOf({0x06, 0x00, 0x00}, size);
     }},
    {"EmptyBinaries",
     [](std::size_t size) {
         return arraysOf({0x07, 0x00, 0x00, 0x00, 0x00}, size);
     }},
    {"EmptyArrays",
     [](std::size_t size) {
         return arraysOf({0x08, 0x00, 0x00}, size);
     }},
    {"ArraysOfOneElement",
     [](std::size_t size) {
         return arraysOf({0x08, 0x00, 0x01, 0x00}, size);
     }},
    {"EmptyTerminatedArrays", [](std::size_t size) { return arraysOf(kEmptyTerminatedArray, size); }},
    {"TerminatedArrayOfNulls", [](std::size_t size) { return terminatedArrayOf(kNull, size); }},
    {"TerminatedArraysOfOneElement",
     [](std::size_t size) {
         return arraysOf({0x0a, 0x00, 0x0b}, size);
     }},
    {"ShortStrings", [](std::size_t size) { return arraysOf(wire::string("abc"), size); }},
    {"StringsOfSomeLength",
     [](std::size_t size) { return arraysOf(wire::string("twenty-four bytes of it"), size); }},
    {"BinariesOfSomeLength",
     [](std::size_t size) { return arraysOf(wire::binary(Bytes(1024, 0xff)), size); }},
    {"DataArrayOfBytes",
     [](std::size_t size) {
         const std::size_t count = std::min<std::size_t>(size, 65535);
         return Bytes{0x09} + wire::bigEndian(count, 2) + Bytes{0x02} + repeated({0x41}, count);
     }},
    {"BodilessNulls", [](std::size_t) { return dataArraysOf(0x00, 4); }},
    {"BodilessNullsDeepInside", [](std::size_t) { return deepInside(dataArraysOf(0x00, 4)); }},
    {"BodilessAbsentElements", [](std::size_t) { return dataArraysOf(0x0f, 4); }},
    {"BodilessAbsentElementsWithoutEnd", [](std::size_t) { return dataArraysOf(0x0f, 65535); }},
    {"Strokes", [](std::size_t size) { return wire::binary(Bytes(size, 0xff)); }},
    {"EscapedBinary", [](std::size_t size) { return Bytes{0x0e} + Bytes(size, 0x41) + Bytes{0xc0}; }},
    {"EncodedNulls", [](std::size_t size) { return wire::binary(arraysOf(kNull, size)); }},
    {"EncodedNullsDeepInside",
     [](std::size_t size) { return wire::binary(deepInside(arraysOf(kNull, size))); }},
    {"EncodedBodilessNulls", [](std::size_t) { return wire::binary(deepInside(dataArraysOf(0x00, 4))); }},
    {"EncodedTerminatedArrays",
     [](std::size_t size) { return wire::binary(terminatedArrayOf(kEmptyTerminatedArray, size)); }},
    {"ManyEncodedBodilessNulls",
     [](std::size_t size) {
         return arraysOf(wire::binary({0x09, 0xff, 0xff, 0x00}), size);
     }},
    {"BinariesInBinaries",
     [](std::size_t size) {
         Bytes bytes;
         for (std::size_t rest = size / 5 * 5; rest >= 5; rest -= 5)
             bytes = std::move(bytes) + Bytes{0x07} + wire::bigEndian(rest - 5, 4);
         return bytes;
     }},
};

void PrintTo(const HostileResult &result, std::ostream *out)
{
    *out << result.name;
}

/** The pen goes before all of it was sent. */
const HostileResult kUnfinishedResults[] = {
    {"BinaryThatDoesNotCome",
     [](std::size_t size) {
         return Bytes{0x07, 0x7f, 0xff, 0xff, 0xff} + Bytes(size, 0xff);
     }},
    {"ArraysThatDoNotCome",
     [](std::size_t) {
         return repeated({0x08, 0xff, 0xff}, 254);
     }},
};

/** Calls that make different things of a result. */
struct Call {
    const char *name;
    void (*make)(PenHandle *pen);
};

const Call kCalls[] = {
    {"text of the result",
     [](PenHandle *pen) {
         zel::test::HandedText text;
         zelGetBluetoothPin(pen, text.out());
     }},
    {"texts of its elements",
     [](PenHandle *pen) {
         zel::test::HandedText texts[4];
         zelGetPenRevisions(pen, texts[0].out(), texts[1].out(), texts[2].out(), texts[3].out());
     }},
    {"its bytes",
     [](PenHandle *pen) {
         std::uint8_t *data = nullptr;
         std::uint32_t length = 0;
         zelGetEncryptedData(pen, 0, &data, &length);
         zelFreePageData(&data);
     }},
    {"its pages",
     [](PenHandle *pen) {
         char *text = nullptr;
         std::uint32_t total = 0;
         zelGetPageList(pen, &text, &total);
         zelFreePageList(&text);
     }},
};

class HostileAnswer : public testing::TestWithParam<HostileResult>
{
protected:
    void checkAllSizes(Answer::Then then)
    {
        for (const std::size_t size : kSizes) {
            const Answer answer{.bytes = wire::result(GetParam().shape(size)), .then = then};
            for (const Call &call : kCalls)
                check(call, answer);
        }
        malloc_trim(0); // for those who search all memory
        std::printf("[ memory   ] %5.1f %% of the limit\n", 100 * m_worst);
    }

private:
    void check(const Call &call, const Answer &answer)
    {
        const std::size_t most = mostHeldFor(answer.bytes.size());
        Subject subject(m_bench, Mode::Pen);
        m_bench.service().forget();
        m_bench.service().then(answer);
        const MemoryMeter meter;
        call.make(subject.handles().pen);
        EXPECT_FALSE(m_bench.service().requests().empty());
        EXPECT_GT(meter.peak(), 0u);
        EXPECT_LE(meter.peak(), most) << call.name << ", " << answer.bytes.size() << " bytes";
        m_worst = std::max(m_worst, static_cast<double>(meter.peak()) / static_cast<double>(most));
    }

    Bench m_bench;
    double m_worst = 0;
};

class UnfinishedHostileAnswer : public HostileAnswer
{
};

std::string nameOfResult(const testing::TestParamInfo<HostileResult> &result)
{
    return result.param.name;
}

} // namespace

TEST_P(HostileAnswer, HoldsNoMoreThanItsBytesPayFor)
{
    checkAllSizes(Answer::Then::Stay);
}

TEST_P(UnfinishedHostileAnswer, HoldsNoMoreThanItsBytesPayFor)
{
    checkAllSizes(Answer::Then::Close);
}

INSTANTIATE_TEST_SUITE_P(Results, HostileAnswer, testing::ValuesIn(kResults), nameOfResult);
INSTANTIATE_TEST_SUITE_P(Results, UnfinishedHostileAnswer, testing::ValuesIn(kUnfinishedResults),
                         nameOfResult);

} // namespace faults
