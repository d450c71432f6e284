#include <zel/page_data.hpp>

#include <array>
#include <filesystem>
#include <gtest/gtest.h>
#include <span>

namespace {

using Bytes = std::vector<std::uint8_t>;

/** Two pages, one of the stylo, and two properties. */
const Bytes kData = {
    0x01, 0x00,                                     // version 1.0
    0x00, 0x18,                                     // header length 24
    0x00, 0x0F, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, // page address *.*.*.*
    0x02, 0x25,                                     // pidget 549
    0x00, 0x0F,                                     // page header length
    0x00, 0x02,                                     // page entry header length
    0x00, 0x02,                                     // property header length
    0x00, 0x01,                                     // value header length
    0x00, 0x02,                                     // pages
    0x00, 0x02,                                     // properties
    // page 0.2.3.4
    0x00, 0x00, 0x00, 0x00, 0x02, 0x00, 0x30, 0x04, // address
    0x00, 0x00, 0x00, 0x01,                         // bytes of strokes
    0x01,                                           // flag
    0x00, 0x00,                                     // entries
    0x55,                                           // strokes
    // page 1.2.3.4
    0x00, 0x00, 0x01, 0x00, 0x02, 0x00, 0x30, 0x04, // address
    0x00, 0x00, 0x00, 0x03,                         // bytes of strokes
    0x00,                                           // flag
    0x00, 0x00,                                     // entries
    0xC0, 0xFF, 0xEE,                               // strokes
    // properties
    0x00, 0x00,                                           // identity
    0x05, 0x00, 0x00, 0x01, 0x23, 0x00, 0xAB, 0xCD, 0xEF, // long64
    0x00, 0x24,                                           // product name
    0x06, 0x00, 0x04, 0x61, 0x62, 0x63, 0x00,             // string "abc"
};

TEST(CppPageData, IsARangeOfPages)
{
    const zelpp::PageData data = zelpp::PageData::parse(kData);
    ASSERT_EQ(data.size(), 2u);
    EXPECT_FALSE(data.empty());
    std::size_t strokes = 0;
    for (const zelpp::Page &page : data)
        strokes += page.strokes().size();
    EXPECT_EQ(strokes, 4u);
    EXPECT_EQ(data[1].address(), "1.2.3.4");
    EXPECT_EQ(data[1].addressNumber(), 0x0000010002003004u);
    EXPECT_EQ(data.find("1.2.3.4"), &data[1]);
    EXPECT_EQ(data.find("0.1.2.3.4"), &data[1]);
    EXPECT_EQ(data.find("1.2.3.5"), nullptr);
    EXPECT_EQ(data.find("no address"), nullptr);
}

TEST(CppPageData, RefersToItsBytesAndCopiesNone)
{
    const zelpp::PageData data = zelpp::PageData::view(kData);
    EXPECT_EQ(data[1].strokes().data(), &kData[57]);
    EXPECT_EQ(data.property(0x24)->text()->data(), reinterpret_cast<const char *>(&kData[76]));
    EXPECT_EQ(data[1].record().size(), 18u);
    const std::span<const std::uint8_t> span = data[1].strokes();
    EXPECT_EQ(span.size(), 3u);
}

TEST(CppPageData, CopiesShareTheBytesAndOutliveEachOther)
{
    std::optional<zelpp::PageData> data = zelpp::PageData::parse(kData);
    const zelpp::PageData copy = *data;
    EXPECT_EQ(copy.bytes().data(), data->bytes().data());
    data.reset();
    EXPECT_EQ(copy[1].strokes()[2], 0xEE);
}

TEST(CppPageData, PropertiesAreFoundByNumber)
{
    const zelpp::PageData data = zelpp::PageData::view(kData);
    EXPECT_EQ(data.property(0x24)->text(), "abc");
    EXPECT_FALSE(data.property(0x24)->number());
    EXPECT_FALSE(data.property(0x25));
    EXPECT_STREQ(zelpp::propertyName(0x24), "PEN_BRAND");
    EXPECT_EQ(zelpp::propertyName(0x7f01), nullptr);
}

TEST(CppPageData, RefusalTellsTheByteAndThrowsAnErrorOfItsOwn)
{
    const Bytes cut(kData.begin(), kData.begin() + 58);
    try {
        zelpp::PageData::view(cut);
        FAIL() << "read";
    } catch (const zelpp::PageDataError &error) {
        EXPECT_EQ(error.offset(), 57u);
        EXPECT_EQ(error.reason(), zelpp::Errc::badPageData);
        EXPECT_EQ(error.detail(), "byte 57: a page's strokes should take 3 bytes, but 1 is left");
        EXPECT_STREQ(error.what(), "PageData (byte 57: a page's strokes should take 3 bytes, but 1 is left): "
                                   "The bytes are no page data.");
    }
}

class CppPageDataFile : public testing::Test
{
protected:
    void SetUp() override { std::filesystem::create_directories(m_folder); }
    void TearDown() override { std::filesystem::remove_all(m_folder); }

    // Also a name beyond ASCII.
    const std::filesystem::path m_folder =
        std::filesystem::temp_directory_path() / std::filesystem::path(u8"zel \u00e4\u0416") / "folder";
};

TEST_F(CppPageDataFile, SavedDataIsReadBack)
{
    const std::filesystem::path file = m_folder / "pages.zel";
    const zelpp::PageData data = zelpp::PageData::view(kData);
    data.save(file);
    data.save(file); // over the first
    EXPECT_EQ(zelpp::PageData::read(file).bytes().copy(), kData);
    std::size_t files = 0;
    for ([[maybe_unused]] const auto &entry : std::filesystem::directory_iterator(m_folder))
        ++files;
    EXPECT_EQ(files, 1u) << "nothing but the file itself is left";
}

TEST_F(CppPageDataFile, FileThatCannotBeReadOrWrittenIsTold)
{
    const auto missing = zelpp::PageData::tryRead(m_folder / "missing");
    ASSERT_FALSE(missing);
    EXPECT_EQ(missing.error().reason(), zelpp::Errc::fileAccess);
    const auto folder = zelpp::PageData::tryRead(m_folder);
    ASSERT_FALSE(folder);
    EXPECT_EQ(folder.error().reason(), zelpp::Errc::fileAccess);
    EXPECT_FALSE(zelpp::PageData::view(kData).trySave(m_folder / "missing" / "file"));
    std::filesystem::create_directories(m_folder / "taken" / "by a folder");
    EXPECT_FALSE(zelpp::PageData::view(kData).trySave(m_folder / "taken"));
    EXPECT_FALSE(std::filesystem::exists(m_folder / "taken.part")) << "nothing unfinished is left";
}

TEST(CppPageAddress, TextsAreReadAndWritten)
{
    const std::pair<const char *, std::uint64_t> rows[] = {
        {"1.2.3.4", 0x0000010002003004},   {"0.0.0.0", 0},
        {"5.1.2.3.4", 0x0050010002003004}, {"1.2.*.*", 0x0000010002FFFFFF},
        {"*.*.*.*", 0x000FFFFFFFFFFFFF},   {"*.*.*.*.*", 0xFFFFFFFFFFFFFFFF},
    };
    for (const auto &[text, number] : rows) {
        EXPECT_EQ(zelpp::addressText(number), text);
        EXPECT_EQ(zelpp::parseAddress(text), number);
    }
    EXPECT_EQ(zelpp::parseAddress("0.1.2.3.4"), 0x0000010002003004u);
    EXPECT_EQ(zelpp::parseAddress("4095.65535.1.1"), 0x000FFFFFFF001001u) << "all ones are a missing field";
}

TEST(CppPageAddress, TextsThatAreNoneAreRefused)
{
    for (const char *text :
         {"", "1.2.3", "1.2.3.4.5.6", "01.2.3.4", "1.2.3.+4", "1.2.3.4 ", "4096.0.0.0", "0.65536.0.0",
          "1.*.3.4", "1.2.3.", ".1.2.3", "-1.2.3.4", "1.2.3.x", "1.2.3.99999"})
        EXPECT_FALSE(zelpp::parseAddress(text)) << text;
}

TEST(CppSerialText, IsThatOfTheLibrary)
{
    const std::pair<std::uint64_t, const char *> rows[] = {
        {0x0, "AAA-AAA-AAA-AA"},
        {0x1, "AAA-AAA-AAB-AB"},
        {0x100000001, "AAB-AAA-AAB-D7"},
        {0x12300ABCDEF, "AKZ-AQ7-APS-AC"},
        {0x69772B73A83F, "999-999-999-AF"},
        {0x80000000, "AAA-EXU-ZCJ-B8"},
        {~std::uint64_t{0}, "INVALID-PEN-ID"},
    };
    for (const auto &[id, text] : rows)
        EXPECT_EQ(zelpp::serialText(id), text);
}

TEST(CppBytes, ConvertFromContainersAndToSpans)
{
    const std::array<std::uint8_t, 3> array{1, 2, 3};
    const zelpp::Bytes bytes = array;
    EXPECT_EQ(bytes.data(), array.data());
    EXPECT_EQ(bytes.subrun(1).size(), 2u);
    EXPECT_EQ(bytes.subrun(1, 1)[0], 2);
    EXPECT_TRUE(bytes.subrun(3).empty());
    EXPECT_TRUE(zelpp::Bytes().empty());
}

} // namespace
