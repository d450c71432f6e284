#include "zel/zel_result.h"

#include <gtest/gtest.h>

#include <set>
#include <string>

// The same functions as a C host has them: tests/c_result_test.c
extern "C" const char *resultNameInC(std::uint32_t code);
extern "C" const char *resultTextInC(std::uint32_t code);

namespace {

struct NamedCode {
    std::uint32_t code;
    const char *name;
};

constexpr NamedCode kCodes[] = {
    {0, "ZEL_OK"},
    {1, "ZEL_ERR_INVALID_ARGUMENT"},
    {2, "ZEL_ERR_PEN_LOCKED"},
    {3, "ZEL_ERR_COMMUNICATION"},
    {4, "ZEL_ERR_NOT_SUPPORTED"},
    {5, "ZEL_ERR_NOT_INITIALIZED"},
    {6, "ZEL_ERR_ALREADY_INITIALIZED"},
    {8, "ZEL_ERR_VALUE_OUT_OF_RANGE"},
    {9, "ZEL_ERR_SYNC_BUSY"},
    {10, "ZEL_ERR_DEVICE_NOT_SUPPORTED"},
    {11, "ZEL_ERR_UNEXPECTED"},
};

constexpr std::uint32_t kNoCodes[] = {7, 12, 100, 0x80000000, 0xFFFFFFFF};

} // namespace

TEST(ZelResult, EveryCodeHasTheNameOfItsConstant)
{
    for (const NamedCode &named : kCodes) {
        EXPECT_STREQ(zelResultName(named.code), named.name);
        EXPECT_STREQ(resultNameInC(named.code), named.name);
    }
}

TEST(ZelResult, EveryCodeHasASentenceOfItsOwn)
{
    std::set<std::string> sentences;
    for (const NamedCode &named : kCodes) {
        const std::string sentence = zelResultText(named.code);
        EXPECT_EQ(sentence, resultTextInC(named.code));
        EXPECT_TRUE(sentences.insert(sentence).second) << sentence;
        EXPECT_TRUE(sentence.size() > 10 && sentence.back() == '.') << sentence;
        EXPECT_EQ(sentence.find_first_not_of("ABCDEFGHIJKLMNOPQRSTUVWXYZ"
                                             "abcdefghijklmnopqrstuvwxyz ,;:."),
                  std::string::npos)
            << sentence;
    }
}

TEST(ZelResult, NumberThatIsNoCodeIsUnknown)
{
    for (const std::uint32_t code : kNoCodes) {
        EXPECT_STREQ(zelResultName(code), "unknown");
        EXPECT_STREQ(resultNameInC(code), "unknown");
        EXPECT_STREQ(zelResultText(code), "This number is not a result code of the library.");
        EXPECT_STREQ(resultTextInC(code), zelResultText(code));
    }
}
