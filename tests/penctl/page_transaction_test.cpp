#include "pagedata/page_transaction.h"

#include <gtest/gtest.h>

#include "page_data_bytes.h"
#include "pagedata/format_error.h"
#include "pagedata/page_address_text.h"

namespace penctl {
namespace {

std::string damageOf(const Bytes &bytes)
{
    try {
        parse(bytes);
    } catch (const FormatError &error) {
        return error.what();
    }
    return "none";
}

/** A copy of the small file in which the bytes from `at` on are replaced. */
Bytes smallFileWith(std::size_t at, const Bytes &replacement)
{
    Bytes bytes = kSmallFile;
    std::copy(replacement.begin(), replacement.end(), bytes.begin() + static_cast<std::ptrdiff_t>(at));
    return bytes;
}

} // namespace

TEST(PageTransaction, EmptyFileHasHeaderAlone)
{
    const PageTransaction file = parse(kEmptyFile);
    EXPECT_EQ(kEmptyFile.size(), 26u);
    EXPECT_EQ(file.majorVersion, 1);
    EXPECT_EQ(file.minorVersion, 0);
    EXPECT_EQ(file.address, 0x000FFFFFFFFFFFFFu);
    EXPECT_EQ(file.pidget, 549);
    EXPECT_TRUE(file.pages.empty());
    EXPECT_TRUE(file.properties.empty());
}

TEST(PageTransaction, PagesKeepAddressSizeAndEntries)
{
    const PageTransaction file = parse(kSmallFile);
    ASSERT_EQ(file.pages.size(), 2u);
    EXPECT_EQ(pageAddressText(file.pages[0].address), "1.2.3.4");
    EXPECT_EQ(file.pages[0].strokeBytes, 5u);
    EXPECT_EQ(file.pages[0].flag, 0);
    EXPECT_TRUE(file.pages[0].entries.empty());
    EXPECT_EQ(pageAddressText(file.pages[1].address), "5.0.0.0.7");
    EXPECT_EQ(file.pages[1].strokeBytes, 0u);
    EXPECT_EQ(file.pages[1].flag, 1);
    ASSERT_EQ(file.pages[1].entries.size(), 1u);
    EXPECT_EQ(file.pages[1].entries[0].key, 550);
    EXPECT_EQ(std::get<int64_t>(file.pages[1].entries[0].value.content), -2);
}

TEST(PageTransaction, PropertiesKeepTheirOrderAndValues)
{
    const PageTransaction file = parse(kSmallFile);
    ASSERT_EQ(file.properties.size(), 3u);
    EXPECT_EQ(file.properties[0].key, 0x0000);
    EXPECT_EQ(std::get<int64_t>(file.properties[0].value.content), 0x12300ABCDEF);
    EXPECT_EQ(file.properties[1].key, 0x0024);
    EXPECT_EQ(std::get<std::string>(file.properties[1].value.content), "abc");
    EXPECT_EQ(file.properties[2].key, 0x7F01);
    EXPECT_EQ(std::get<std::vector<FileValue>>(file.properties[2].value.content).size(), 2u);
}

TEST(PageTransaction, FileCutAtAnyByteIsRefused)
{
    for (std::size_t length = 0; length < kSmallFile.size(); ++length)
        EXPECT_THROW(
            parse(Bytes(kSmallFile.begin(), kSmallFile.begin() + static_cast<std::ptrdiff_t>(length))),
            FormatError)
            << "cut after byte " << length;
}

TEST(PageTransaction, FileShorterThanItsAnnouncedSizeIsRefused)
{
    std::istringstream in(std::string(kSmallFile.begin(), kSmallFile.begin() + 50));
    EXPECT_THROW(readPageTransaction(in, kSmallFile.size()), FormatError);
}

TEST(PageTransaction, EveryByteForgedIsReadOrRefused)
{
    for (std::size_t at = 0; at < kSmallFile.size(); ++at) {
        for (int value = 0; value < 256; ++value) {
            Bytes bytes = kSmallFile;
            bytes[at] = static_cast<uint8_t>(value);
            try {
                parse(bytes);
            } catch (const FormatError &error) {
                EXPECT_STRNE(error.what(), "");
            }
        }
    }
}

TEST(PageTransaction, EmptyInputNamesWhatIsMissing)
{
    EXPECT_EQ(damageOf({}), "byte 0: the version should take 1 byte, but only 0 are left");
}

TEST(PageTransaction, OtherVersionsAreRefused)
{
    EXPECT_EQ(damageOf(smallFileWith(0, {0x02})), "not page data of version 1.0 (it begins with 02 00)");
    EXPECT_EQ(damageOf(smallFileWith(1, {0x01})), "not page data of version 1.0 (it begins with 01 01)");
    EXPECT_EQ(damageOf({'h', 'e', 'l', 'l', 'o'}), "not page data of version 1.0 (it begins with 68 65)");
}

TEST(PageTransaction, HeaderLengthsBelowTheirFieldsAreRefused)
{
    EXPECT_EQ(damageOf(smallFileWith(2, {0x00, 0x17})),
              "the announced length of the header is 23, less than 24");
    EXPECT_EQ(damageOf(smallFileWith(14, {0x00, 0x0E})),
              "the announced length of a page's header is 14, less than 15");
    EXPECT_EQ(damageOf(smallFileWith(16, {0x00, 0x01})),
              "the announced length of a page entry's header is 1, less than 2");
    EXPECT_EQ(damageOf(smallFileWith(18, {0x00, 0x01})),
              "the announced length of a property's header is 1, less than 2");
    EXPECT_EQ(damageOf(smallFileWith(20, {0x00, 0x00})),
              "the announced length of a value's header is 0, less than 1");
}

TEST(PageTransaction, ForgedStrokeLengthIsRefusedBeforeItIsRead)
{
    EXPECT_EQ(damageOf(smallFileWith(34, {0xFF, 0xFF, 0xFF, 0xFF})),
              "byte 41: a page's strokes should take 4294967295 bytes, but only 55 are left");
}

TEST(PageTransaction, ForgedPageCountIsRefused)
{
    EXPECT_NE(damageOf(smallFileWith(22, {0xFF, 0xFF})), "none");
}

TEST(PageTransaction, BytesAfterTheEndAreRefused)
{
    EXPECT_EQ(damageOf(joined({kEmptyFile, {0x00, 0x00}})),
              "byte 26: 2 more bytes after the end of the page data");
}

TEST(PageTransaction, LongerHeadersOfALaterWriterAreSkipped)
{
    const Bytes file = {
        0x01, 0x00,                                     // version
        0x00, 0x1A,                                     // header length 26
        0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, // page address
        0x00, 0x00,                                     // pidget
        0x00, 0x10,                                     // page header length 16
        0x00, 0x03,                                     // page entry header length
        0x00, 0x04,                                     // entry header length
        0x00, 0x02,                                     // value header length
        0x00, 0x01,                                     // pages
        0x00, 0x01,                                     // properties
        0xEE, 0xEE,                                     // unknown header fields
        0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x01, // page 0.0.0.1
        0x00, 0x00, 0x00, 0x01,                         // stroke bytes
        0x01,                                           // flag
        0x00, 0x01,                                     // entries
        0xEE,                                           // unknown page header field
        0x55,                                           // strokes
        0x00, 0x09,                                     // pidget 9
        0xEE,                                           // unknown page entry header field
        0x02, 0xEE,                                     // byte, unknown value header field
        0x2A,                                           // 42
        0x00, 0x01,                                     // PEN_SOFTWARE_VERSION
        0xEE, 0xEE,                                     // unknown entry header fields
        0x03, 0xEE,                                     // short16, unknown value header field
        0x06, 0x00,                                     // 0x0600
    };
    const PageTransaction read = parse(file);
    ASSERT_EQ(read.pages.size(), 1u);
    ASSERT_EQ(read.pages[0].entries.size(), 1u);
    EXPECT_EQ(std::get<int64_t>(read.pages[0].entries[0].value.content), 42);
    ASSERT_EQ(read.properties.size(), 1u);
    EXPECT_EQ(std::get<int64_t>(read.properties[0].value.content), 0x0600);
}

} // namespace penctl
