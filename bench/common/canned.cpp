#include "common/canned.h"

#include <cstdio>

namespace zel::bench {

namespace {

/** Bytes without a pattern. As in strokes of real pens, the first byte is not a type code. */
std::string plainStrokes(std::uint32_t size)
{
    std::string strokes(size, '\x53');
    std::uint32_t state = 12345;
    for (std::size_t i = 1; i < strokes.size(); ++i) {
        state = state * 1664525 + 1013904223;
        strokes[i] = static_cast<char>(state >> 24);
    }
    return strokes;
}

std::string nestedStrokes(std::uint32_t size)
{
    constexpr std::uint32_t kHeader = 5;
    Bytes bytes;
    while (size >= kHeader) {
        size -= kHeader;
        bytes.u8(7).u32(size);
    }
    while (size-- > 0)
        bytes.u8(0x53);
    return std::string(bytes.view());
}

std::string almostEncodedStrokes(std::uint32_t size)
{
    constexpr std::uint32_t kInner = 100; // numbers in each list of the outer list
    constexpr std::uint32_t kInnerBytes = 3 + kInner * 9;
    const std::uint32_t count = size / kInnerBytes;
    Bytes bytes;
    bytes.arrayOf(count);
    for (std::uint32_t i = 1; i < count; ++i) {
        bytes.arrayOf(kInner);
        for (std::uint32_t k = 0; k < kInner; ++k)
            bytes.longValue(k);
    }
    while (bytes.size() < size)
        bytes.u8(0x0c); // there is no type with this code
    return std::string(bytes.view());
}

/** Pens list their pages in the order in which they were used. */
Bytes pageListAnswer(const Pens &pens)
{
    constexpr std::uint64_t kStride = 7919; // prime, so that every index occurs once
    Bytes answer;
    answer.goodAnswer().arrayOf(pens.pages);
    for (std::uint64_t i = 0; i < pens.pages; ++i) {
        const auto index = static_cast<std::uint32_t>(i * kStride % pens.pages);
        answer.arrayOf(2).longValue(pageAddress(index)).intValue(pens.pageSize);
    }
    return answer;
}

Bytes propertyAnswer(std::uint16_t property)
{
    Bytes answer;
    answer.goodAnswer();
    switch (property) {
    case 0x0001:
        return answer.shortValue(kSoftwareVersion);
    case kSmallProperty:
        return answer.shortValue(600);
    case 0x0021:
        return answer.longValue(1'700'000'000'000);
    default:
        return answer.stringValue("a property's text");
    }
}

} // namespace

Pens Pens::from(const Settings &settings)
{
    Pens pens;
    pens.count = static_cast<std::uint32_t>(settings.number("pens", 1));
    pens.pages = static_cast<std::uint32_t>(settings.number("pages", 0));
    pens.pageSize = static_cast<std::uint32_t>(settings.number("size", 0));
    pens.strokes = settings.text("strokes", "plain");
    return pens;
}

std::vector<std::string> Pens::words() const
{
    return {"pens=" + std::to_string(count), "pages=" + std::to_string(pages),
            "size=" + std::to_string(pageSize), "strokes=" + strokes};
}

namespace {

// Field 1 is 0, so texts show fields 2 to 5. All fields are above 99 and below the value that means
// "missing". So every text has the same length, and none is a part of another.
constexpr std::uint32_t kFirst = 100;
constexpr std::uint32_t kPerField = 800;

} // namespace

std::uint64_t pageAddress(std::uint32_t index)
{
    const std::uint64_t field5 = kFirst + index % kPerField;
    const std::uint64_t field4 = kFirst + index / kPerField;
    return std::uint64_t{107} << 40 | std::uint64_t{211} << 24 | field4 << 12 | field5;
}

std::string pageAddressText(std::uint32_t index)
{
    char text[32];
    std::snprintf(text, sizeof text, "107.211.%u.%u", kFirst + index / kPerField, kFirst + index % kPerField);
    return text;
}

std::string strokesOf(const Pens &pens)
{
    if (pens.strokes == "nested")
        return nestedStrokes(pens.pageSize);
    if (pens.strokes == "almost")
        return almostEncodedStrokes(pens.pageSize);
    return plainStrokes(pens.pageSize);
}

Bytes answerTo(std::uint32_t instruction, std::uint16_t property, const Pens &pens)
{
    Bytes answer;
    switch (instruction) {
    case instruction::kGetProperty:
        return propertyAnswer(property);
    case instruction::kListPages:
        return pageListAnswer(pens);
    case instruction::kBeginSession:
        return answer.goodAnswer().intValue(1);
    case instruction::kGetPage:
        return answer.goodAnswer().binaryValue(strokesOf(pens));
    case instruction::kGetStyloPages:
        return answer.goodAnswer().arrayOf(0);
    case instruction::kPenLocked:
        return answer.goodAnswer().boolValue(false);
    default:
        return answer.arrayOf(1).intValue(0);
    }
}

Bytes penList(const Pens &pens, std::uint16_t servicePort)
{
    Bytes list;
    for (std::uint32_t i = 0; i < pens.count; ++i) {
        char text[256];
        std::snprintf(text, sizeof text,
                      "RVP1\r\nservice-port=%u\r\nacc-prot=PSP41\r\npen-vid=0000\r\npen-pid=0000\r\n"
                      "pen-dfu=0\r\npen-brand=Bench\r\npen-id=%x\r\npen-swver=%04x\r\n",
                      servicePort, i + 1, kSoftwareVersion);
        list.raw(text).u8(0);
    }
    return list.raw("ENDLIST").u8(0);
}

} // namespace zel::bench
