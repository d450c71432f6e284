#include "pages/page_selection.h"

#include <gtest/gtest.h>

#include <random>

namespace {

using namespace zel;

TEST(PageSelection, RequestedPagesAreCountedBySeparators)
{
    EXPECT_EQ(requestedPageCount(""), 0u);
    EXPECT_EQ(requestedPageCount("1.2.3.4;"), 1u);
    EXPECT_EQ(requestedPageCount("1.2.3.4"), 1u);
    EXPECT_EQ(requestedPageCount("1.2.3.4;1.2.3.5"), 2u);
    EXPECT_EQ(requestedPageCount("1.2.3.4;1.2.3.5;"), 2u);
}

TEST(PageSelection, RestWithoutADotDoesNotCount)
{
    EXPECT_EQ(requestedPageCount("1.2.3.4; "), 1u);
    EXPECT_EQ(requestedPageCount("rest"), 0u);
}

TEST(PageSelection, EmptyItemsCount)
{
    EXPECT_EQ(requestedPageCount(";;"), 2u);
}

PageList pagesOf(std::initializer_list<const char *> addresses)
{
    PageList pages;
    for (const char *address : addresses)
        pages.append(PenPage(PageAddress(std::string_view(address)), 1));
    return pages;
}

TEST(PageSelection, PagesKeepTheirOrder)
{
    const PageList pages = pagesOf({"1.2.3.4", "1.2.3.5", "1.2.3.6"});
    EXPECT_EQ(selectPages(pages, "1.2.3.6;1.2.3.4").toString(), "1.2.3.4;1.2.3.6;");
}

/** Hosts that list a longer address get the shorter one too: the list is searched as a text. */
TEST(PageSelection, AddressInsideALongerOneIsSelected)
{
    const PageList pages = pagesOf({"1.2.3.4", "11.2.3.45"});
    EXPECT_EQ(selectPages(pages, "11.2.3.45;").toString(), "1.2.3.4;11.2.3.45;");
    EXPECT_EQ(selectPages(pages, "1.2.3.4;").toString(), "1.2.3.4;") << "never the other way round";
}

TEST(PageSelection, SeparatorsOtherThanSemicolonsDoNotMatter)
{
    const PageList pages = pagesOf({"1.2.3.4", "1.2.3.5", "1.2.3.6"});
    EXPECT_EQ(selectPages(pages, "1.2.3.6, 1.2.3.4\n").toString(), "1.2.3.4;1.2.3.6;");
}

TEST(PageSelection, PageListedTwiceIsSelectedTwice)
{
    const PageList pages = pagesOf({"1.2.3.4", "1.2.3.4"});
    EXPECT_EQ(selectPages(pages, "1.2.3.4").size(), 2u);
}

TEST(PageSelection, AgreesWithAPlainSearchOnRandomTexts)
{
    std::mt19937 random(20261121);
    // Few characters, so that texts overlap, contain each other and repeat.
    const auto textOf = [&](std::string_view alphabet, std::size_t longest) {
        std::string text(random() % (longest + 1), ' ');
        for (char &character : text)
            character = alphabet[random() % alphabet.size()];
        return text;
    };
    int found = 0;
    for (int round = 0; round < 3000; ++round) {
        const std::string list = textOf("12.;", 60);
        std::vector<std::string> texts;
        for (int i = 0; i < 20; ++i)
            texts.push_back("1" + textOf("12.", 7));
        const std::vector<bool> occurs = occurrences(list, {texts.begin(), texts.end()});
        for (std::size_t i = 0; i < texts.size(); ++i) {
            ASSERT_EQ(occurs[i], list.find(texts[i]) != std::string::npos) << texts[i] << " in " << list;
            found += occurs[i] ? 1 : 0;
        }
    }
    EXPECT_GT(found, 1000) << "the texts must be such that many occur";
}

} // namespace
