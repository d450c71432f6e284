#include "pages/psp_sync_request.h"

#include "support/wire.h"

#include <gtest/gtest.h>

namespace {

using namespace zel;
using namespace zel::test;

Bytes encode(PspSyncRequest &request)
{
    Bytes block(request.encodedSize());
    request.encodeTo(block);
    return block;
}

Value strokes(std::initializer_list<std::uint8_t> bytes)
{
    return Value::createBinary(bytes.begin(), static_cast<std::uint32_t>(bytes.size()));
}

TEST(PspSyncRequest, IsAddressedToPidget549OfEveryPage)
{
    PspSyncRequest request;
    const Bytes expected = {
        0x01, 0x00,                                     // protocol version 1.0
        0x00, 0x18,                                     // header length
        0x00, 0x0f, 0xff, 0xff, 0xff, 0xff, 0xff, 0xff, // page address *.*.*.*
        0x02, 0x25,                                     // pidget 549
        0x00, 0x0f,                                     // page header length
        0x00, 0x02,                                     // page entry header length
        0x00, 0x02,                                     // entry header length
        0x00, 0x01,                                     // value header length
        0x00, 0x00,                                     // pages
        0x00, 0x00,                                     // entries
    };
    EXPECT_EQ(encode(request), expected);
}

TEST(PspSyncRequest, CarriesIdentityPropertiesAndPages)
{
    PspSyncRequest request;
    request.setPenId(0x12300ABCDEF);
    request.addProperty(0x0024, Value::createString("Q"));
    request.addPage({PageAddress(std::uint64_t{0x010002003004}), strokes({0xaa, 0xbb})});
    StrokesList more;
    more.emplace_back(PageAddress(std::uint64_t{0x000002003005}), strokes({0xcc}));
    request.addPages(std::move(more));
    const Bytes expected = {
        0x01, 0x00,                                     // protocol version 1.0
        0x00, 0x18,                                     // header length
        0x00, 0x0f, 0xff, 0xff, 0xff, 0xff, 0xff, 0xff, // page address *.*.*.*
        0x02, 0x25,                                     // pidget 549
        0x00, 0x0f,                                     // page header length
        0x00, 0x02,                                     // page entry header length
        0x00, 0x02,                                     // entry header length
        0x00, 0x01,                                     // value header length
        0x00, 0x02,                                     // pages
        0x00, 0x02,                                     // entries

        0x00, 0x00, 0x01, 0x00, 0x02, 0x00, 0x30, 0x04, // page 1.2.3.4
        0x00, 0x00, 0x00, 0x02,                         // bytes of data
        0x00,                                           // its second field is not 0
        0x00, 0x00,                                     // page entries
        0xaa, 0xbb,                                     // data

        0x00, 0x00, 0x00, 0x00, 0x02, 0x00, 0x30, 0x05, // page 0.2.3.5
        0x00, 0x00, 0x00, 0x01,                         // bytes of data
        0x01,                                           // its second field is 0
        0x00, 0x00,                                     // page entries
        0xcc,                                           // data

        0x00, 0x00,                                           // key: PEN_ID
        0x05, 0x00, 0x00, 0x01, 0x23, 0x00, 0xab, 0xcd, 0xef, // long64

        0x00, 0x24,                   // key: PEN_BRAND
        0x06, 0x00, 0x02, 'Q',  0x00, // string
    };
    EXPECT_EQ(encode(request), expected);
}

TEST(PspSyncRequest, PageAddedAgainReplacesItsStrokes)
{
    PspSyncRequest request;
    request.addPage({PageAddress(std::uint64_t{1}), strokes({0xaa, 0xbb})});
    request.addPage({PageAddress(std::uint64_t{1}), strokes({0xcc})});
    const Bytes block = encode(request);
    EXPECT_EQ(block.size(), 26u + 15u + 1u);
    EXPECT_EQ(block.back(), 0xcc);
}

} // namespace
