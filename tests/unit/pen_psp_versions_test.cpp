#include "pens/pen_psp_versions.h"

#include <gtest/gtest.h>

using zel::PenPspVersions;
using Ids = std::vector<std::uint32_t>;

namespace {

Ids idsOf(std::initializer_list<const char *> tokens)
{
    PenPspVersions versions;
    for (const char *token : tokens)
        versions.addFromText(token);
    return versions.ids();
}

} // namespace

struct KnownVersion {
    const char *token;
    std::uint32_t id;
    const char *display;
};

class PenPspVersionsTable : public testing::TestWithParam<KnownVersion>
{
};

TEST_P(PenPspVersionsTable, TokenGivesIdAndDisplayText)
{
    PenPspVersions versions;
    versions.addFromText(GetParam().token);
    EXPECT_EQ(versions.ids(), Ids{GetParam().id});
    EXPECT_TRUE(versions.contains(GetParam().id));
    EXPECT_EQ(versions.toText(), GetParam().display);
}

INSTANTIATE_TEST_SUITE_P(AllVersions, PenPspVersionsTable,
                         testing::Values(KnownVersion{"", 0, "Unknown"}, KnownVersion{"PSP99", 0, "Unknown"},
                                         KnownVersion{"PSP10", 1, "1.0"}, KnownVersion{"PSP11", 2, "1.1"},
                                         KnownVersion{"PSP20", 3, "2.0"}, KnownVersion{"PSP21", 4, "2.1"},
                                         KnownVersion{"PSP30", 5, "3.0"}, KnownVersion{"PSP40", 6, "4.0"},
                                         KnownVersion{"PSP41", 7, "4.1"}, KnownVersion{"PSNI40", 8, "4.0"},
                                         KnownVersion{"DFUPSP10", 9, "1.0"}));

TEST(PenPspVersions, CaseAndSpacesOfTokenDoNotMatter)
{
    EXPECT_EQ(idsOf({"dfupsp 10"}), Ids{9});
    EXPECT_EQ(idsOf({"  p S p 4 1 "}), Ids{7});
}

TEST(PenPspVersions, OnlySpacesAreDeletedFromToken)
{
    EXPECT_EQ(idsOf({"PSP\t41"}), Ids{0});
}

TEST(PenPspVersions, TokenNamedTwiceIsHeldOnce)
{
    EXPECT_EQ(idsOf({"PSP40", "PSP40"}), Ids{6});
}

TEST(PenPspVersions, TwoUnknownTokensAreHeldAsOneUnknown)
{
    EXPECT_EQ(idsOf({"PSP98", "PSP99"}), Ids{0});
}

TEST(PenPspVersions, OrderIsThatOfFirstNaming)
{
    EXPECT_EQ(idsOf({"PSP41", "PSP10", "PSP41", "PSP21"}), (Ids{7, 1, 4}));
}

TEST(PenPspVersions, TextJoinsDisplayTextsAlsoWhenEqual)
{
    PenPspVersions versions;
    versions.add(6);
    versions.add(8);
    EXPECT_EQ(versions.toText(), "4.0, 4.0");
}

TEST(PenPspVersions, EmptySetHasEmptyText)
{
    EXPECT_EQ(PenPspVersions().toText(), "");
    EXPECT_FALSE(PenPspVersions().contains(0));
}

TEST(PenPspVersions, IdOutsideTheTableShowsAsUnknown)
{
    for (const std::uint32_t id : {10u, 77u}) {
        PenPspVersions versions;
        versions.add(id);
        EXPECT_EQ(versions.toText(), "Unknown") << id;
    }
}

TEST(PenPspVersions, CopyIsIndependent)
{
    PenPspVersions versions;
    versions.add(6);
    const PenPspVersions copy = versions;
    versions.add(7);
    EXPECT_EQ(copy.ids(), Ids{6});
}
