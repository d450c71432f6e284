#include "protocol/addresses/page_address.h"

#include "sys/exceptions.h"

#include <gtest/gtest.h>

#include <functional>

using zel::PageAddress;

namespace {

constexpr std::uint64_t kAllOnes = 0xFFFFFFFFFFFFFFFF;

std::string printed(std::string_view text)
{
    return PageAddress(text).toString();
}

std::string textOfThrown(const std::function<void()> &action)
{
    try {
        action();
    } catch (const zel::ZELException &exception) {
        return exception.what();
    }
    return "nothing was thrown";
}

/** The message of the refusal. */
std::string refusal(std::string_view text)
{
    return textOfThrown([&] { PageAddress address(text); });
}

constexpr const char *kOverflow = "BitArray - bit value overflow";

} // namespace

TEST(PageAddress, NewAddressHasEveryFieldMissing)
{
    const PageAddress address;
    EXPECT_EQ(address.raw(), kAllOnes);
    for (int position = 1; position <= 5; ++position)
        EXPECT_EQ(address.getField(position), -1);
    EXPECT_EQ(address.toString(), "*.*.*.*.*");
}

TEST(PageAddress, FieldsAreBitRangesOfTheRawNumber)
{
    const PageAddress address(std::uint64_t{0x0010020003004005});
    EXPECT_EQ(address.getField(1), 0x001);
    EXPECT_EQ(address.getField(2), 0x002);
    EXPECT_EQ(address.getField(3), 0x0003);
    EXPECT_EQ(address.getField(4), 0x004);
    EXPECT_EQ(address.getField(5), 0x005);
    EXPECT_EQ(address.toString(), "1.2.3.4.5");
}

TEST(PageAddress, SettingAFieldLeavesTheOthers)
{
    PageAddress address(std::uint64_t{0});
    address.setField(1, 0xABC);
    EXPECT_EQ(address.raw(), 0xABC0000000000000u);
    address.setField(2, 0xDEF);
    EXPECT_EQ(address.raw(), 0xABCDEF0000000000u);
    address.setField(3, 0x1234);
    EXPECT_EQ(address.raw(), 0xABCDEF1234000000u);
    address.setField(4, 0x567);
    EXPECT_EQ(address.raw(), 0xABCDEF1234567000u);
    address.setField(5, 0x89A);
    EXPECT_EQ(address.raw(), 0xABCDEF123456789Au);
}

TEST(PageAddress, AllOnesMakeAFieldMissing)
{
    PageAddress address(std::uint64_t{0});
    address.setField(3, kAllOnes);
    EXPECT_EQ(address.raw(), 0x000000FFFF000000u);
    EXPECT_EQ(address.getField(3), -1);
}

TEST(PageAddress, NumberTooLargeForItsFieldThrows)
{
    PageAddress address(std::uint64_t{0});
    EXPECT_EQ(textOfThrown([&] { address.setField(1, 4096); }), kOverflow);
    EXPECT_EQ(textOfThrown([&] { address.setField(3, 65536); }), kOverflow);
    EXPECT_EQ(address.raw(), 0u);
}

TEST(PageAddress, FirstFieldIsShownOnlyWhenItIsNotZero)
{
    EXPECT_EQ(PageAddress(std::uint64_t{0}).toString(), "0.0.0.0");
    EXPECT_EQ(PageAddress(std::uint64_t{1} << 52).toString(), "1.0.0.0.0");
    EXPECT_EQ(PageAddress(std::uint64_t{0xFFF} << 52).toString(), "*.0.0.0.0");
}

TEST(PageAddress, TextShowsNumbersOfAnyLengthWithoutLeadingZeros)
{
    for (const char *text :
         {"0.0.0.1", "9.10.99.100", "1.101.109.110", "999.1000.1001.1010", "4094.9999.100.0", "1.10000.10.1",
          "1.10001.1.10", "1.65534.4094.4094", "4094.7.60006.1.4094"})
        EXPECT_EQ(PageAddress(text).toString(), text);
}

TEST(PageAddress, LongestTextFitsItsRoom)
{
    EXPECT_EQ(PageAddress("4094.4094.65534.4094.4094").text().view(), "4094.4094.65534.4094.4094");
}

TEST(PageAddress, FourAndFivePartsNameTheSamePage)
{
    EXPECT_EQ(PageAddress("1.2.3.4"), PageAddress("0.1.2.3.4"));
    EXPECT_EQ(PageAddress("1.2.3.4").raw(), 0x0000010002003004u);
    EXPECT_EQ(printed("1.2.3.4"), "1.2.3.4");
    EXPECT_EQ(printed("0.1.2.3.4"), "1.2.3.4");
    EXPECT_EQ(printed("5.1.2.3.4"), "5.1.2.3.4");
}

TEST(PageAddress, WildcardsMayEndAnAddress)
{
    EXPECT_EQ(printed("1.2.*.*"), "1.2.*.*");
    EXPECT_EQ(PageAddress("1.2.*.*").raw(), 0x0000010002FFFFFFu);
    EXPECT_EQ(printed("*.*.*.*"), "*.*.*.*");
    EXPECT_EQ(PageAddress("*.*.*.*").raw(), 0x000FFFFFFFFFFFFFu);
    EXPECT_EQ(printed("*.*.*.*.*"), "*.*.*.*.*");
}

TEST(PageAddress, NumberAfterAWildcardIsRefused)
{
    EXPECT_EQ(refusal("1.*.3.4"), "1.*.3.4");
    EXPECT_EQ(refusal("*.1.1.1.1"), "*.1.1.1.1");
    EXPECT_EQ(refusal("1.*.-1.*"), "1.*.-1.*");
}

TEST(PageAddress, OtherCountsOfPartsAreRefused)
{
    for (const char *text : {"", "1", "1.2.3", "1.2.3.4.5.6", "1.2.3.4.5.", "....."})
        EXPECT_EQ(refusal(text), text);
}

TEST(PageAddress, NumbersMustStandAsTheyWouldBePrinted)
{
    for (const char *text : {"01.2.3.4", "1.2.3.+4", "1.2.3. 4", "1.2.3.4 ", "1.2.3.4a", "1.2.3.", "a.2.3.4",
                             "1..3.4", "1.2.3.-0", "1.2.3.0x1", "1.2.3.4;", "1.2.3.**", "....", "1.2.3.4."})
        EXPECT_EQ(refusal(text), text);
}

TEST(PageAddress, NumbersBeyondAnIntAreRefusedOnEveryPlatform)
{
    for (const char *text : {"1.2.3.2147483648", "1.2.3.4294967297", "1.2.3.-2147483649",
                             "1.2.3.18446744073709551615", "1.2.3.99999999999999999999999"})
        EXPECT_EQ(refusal(text), text);
}

TEST(PageAddress, NumbersTooLargeForTheirFieldAreRefused)
{
    EXPECT_EQ(refusal("4096.0.0.0"), kOverflow);
    EXPECT_EQ(refusal("0.65536.0.0"), kOverflow);
    EXPECT_EQ(refusal("1.2.3.2147483647"), kOverflow);
    EXPECT_EQ(refusal("1.2.3.-2"), kOverflow);
    EXPECT_EQ(printed("4094.65534.4094.4094"), "4094.65534.4094.4094");
}

TEST(PageAddress, LargestNumberOfAFieldMakesItMissing)
{
    EXPECT_EQ(printed("0.65535.0.0"), "0.*.0.0");
    EXPECT_EQ(printed("4095.1.1.1"), "*.1.1.1");
}

// -1 is what a missing field reads as; hosts that print fields themselves send it back.
TEST(PageAddress, MinusOneMakesAFieldMissingAndNumbersMayFollow)
{
    EXPECT_EQ(printed("1.-1.3.4"), "1.*.3.4");
    EXPECT_EQ(printed("-1.1.2.3.4"), "*.1.2.3.4");
}

TEST(PageAddress, FieldsAreComparedInOrderMissingOnesFirst)
{
    const std::vector<const char *> ascending = {
        "*.*.*.*.*", "4095.0.0.0.0", "*.*.*.*",   "0.*.*.*",   "0.0.0.*",   "0.0.0.0",
        "0.0.0.1",   "0.0.1.*",      "0.0.1.0",   "0.1.0.0",   "1.0.0.0",   "2.0.0.0",
        "10.0.0.0",  "4094.0.0.0",   "1.*.*.*.*", "1.0.0.0.0", "2.*.*.*.*", "4094.4094.65534.4094.4094"};
    for (std::size_t i = 0; i < ascending.size(); ++i) {
        for (std::size_t j = 0; j < ascending.size(); ++j) {
            const PageAddress left(ascending[i]);
            const PageAddress right(ascending[j]);
            EXPECT_EQ(left < right, i < j) << ascending[i] << " " << ascending[j];
            EXPECT_EQ(left == right, i == j) << ascending[i] << " " << ascending[j];
        }
    }
}

TEST(PageAddress, SortKeyTellsItsAddress)
{
    for (const char *text : {"*.*.*.*.*", "*.*.*.*", "0.0.0.0", "4094.4094.65534.4094.4094", "1.2.3.4.5"}) {
        const PageAddress address(text);
        EXPECT_EQ(PageAddress::fromSortKey(address.sortKey()), address) << text;
    }
    EXPECT_EQ(PageAddress("*.*.*.*.*").sortKey(), 0u);
    EXPECT_EQ(PageAddress("0.0.0.0").sortKey(), 0x0010010001001001u);
}

TEST(PageAddress, CopiesKeepTheRawNumber)
{
    const PageAddress address("1.2.3.4");
    PageAddress copy(address);
    EXPECT_EQ(copy, address);
    copy = PageAddress();
    EXPECT_NE(copy, address);
}
