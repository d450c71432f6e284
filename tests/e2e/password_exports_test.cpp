#include "announced_pen.h"
#include "contract_table.h"

#include "data/hash_vectors.h"
#include "hash_chaining_value.h"
#include "support/hex.h"
#include "support/log_capture.h"

#include <gtest/gtest.h>

namespace {

using namespace contract;
using e2e::AnnouncedPen;
using zel::test::operator+;
namespace wire = zel::test::wire;

using UnlockPen = e2e::OnBench<>;
using SetPasswordData = e2e::OnBench<>;
using PasswordHint = e2e::OnBench<>;

/** The first letters of the alphabet, over and over. */
std::string alphabet(std::size_t length)
{
    std::string text;
    for (std::size_t i = 0; i < length; ++i)
        text += static_cast<char>('A' + i % 26);
    return text;
}

bool hasDefaultChainingValue()
{
    return zel::kHashChainingValue ==
           bytesOfHex<32>("6a09e667bb67ae853c6ef372a54ff53a510e527f9b05688c1f83d9ab5be0cd19");
}

TEST_F(UnlockPen, SendsTheDigestOfAPasswordOfAnyLength)
{
    if (!hasDefaultChainingValue())
        GTEST_SKIP() << "the digests start from the default chaining value";
    int tried = 0;
    for (const HashVector &vector : kHashVectors) {
        if (vector.penId != AnnouncedPen::kPenId)
            continue;
        AnnouncedPen pen;
        pen.answer({.bytes = wire::result(wire::boolean(true))});
        EXPECT_EQ(zelUnlockPen(pen.handle(), alphabet(vector.passwordLength).c_str()), ZEL_OK);
        EXPECT_EQ(pen.requests(),
                  std::vector<Bytes>{bytesOf("'R1UL' 01  00 07 00000020") + bytesOf(vector.digest)})
            << vector.passwordLength << " bytes";
        ++tried;
    }
    EXPECT_EQ(tried, 15);
}

TEST_F(UnlockPen, WrongPasswordIsAnInvalidArgument)
{
    AnnouncedPen pen;
    pen.answer({.bytes = wire::status(0)});
    EXPECT_EQ(zelUnlockPen(pen.handle(), "wrong"), ZEL_ERR_INVALID_ARGUMENT);
    // The pen may answer with its status alone, too.
    pen.answer({.bytes = wire::status(1)});
    EXPECT_EQ(zelUnlockPen(pen.handle(), "right"), ZEL_OK);
}

TEST_F(UnlockPen, NullPasswordIsRefusedWithoutARequest)
{
    AnnouncedPen pen;
    EXPECT_EQ(zelUnlockPen(pen.handle(), nullptr), ZEL_ERR_INVALID_ARGUMENT);
    EXPECT_EQ(pen.requests(), std::vector<Bytes>{});
}

struct PasswordCase {
    std::size_t password;
    std::size_t hint;
    const char *text; // logged with the refusal; "" when there is none
};

class NewPasswords : public e2e::OnBench<testing::TestWithParam<PasswordCase>>
{
};

TEST_P(NewPasswords, LengthsDecideBeforeAnyRequest)
{
    const PasswordCase &given = GetParam();
    const bool accepted = *given.text == '\0';
    const std::string password(given.password, 'p');
    const std::string hint(given.hint, 'h');
    AnnouncedPen pen;
    pen.answer({.bytes = wire::status(1)});
    pen.answer({.bytes = wire::status(0)});

    LogCapture log;
    EXPECT_EQ(zelSetPasswordData(pen.handle(), "current", password.c_str(), hint.c_str()),
              accepted ? ZEL_OK : ZEL_ERR_INVALID_ARGUMENT);
    const std::vector<Bytes> requests = pen.requests();
    ASSERT_EQ(requests.size(), accepted ? 2u : 0u);
    if (accepted) {
        const Bytes tail = bytesOf("01") + wire::string(password);
        EXPECT_EQ(Bytes(requests[0].end() - static_cast<std::ptrdiff_t>(tail.size()), requests[0].end()),
                  tail);
        EXPECT_EQ(requests[1], bytesOf("'R1ST' 01  00") + wire::string(hint));
    } else if (log.available()) {
        EXPECT_EQ(log.entries(),
                  (std::vector<LogCapture::Entry>{{zel::LogLevel::Debug, "[zelSetPasswordData]"},
                                                  {zel::LogLevel::Error, given.text}}));
    }
}

INSTANTIATE_TEST_SUITE_P(
    Boundaries, NewPasswords,
    testing::Values(
        PasswordCase{1, 0, ""}, PasswordCase{31, 255, ""},
        PasswordCase{0, 0,
                     "[zelSetPasswordData] failed. Password length is either too short or too long. Password "
                     "length: 0"},
        PasswordCase{32, 0,
                     "[zelSetPasswordData] failed. Password length is either too short or too long. Password "
                     "length: 32"},
        PasswordCase{1000, 256,
                     "[zelSetPasswordData] failed. Password length is either too short or too long. Password "
                     "length: 1000"},
        PasswordCase{
            1, 256,
            "[ComPen::SetPasswordHint] failed. Password hint length is either too short or too long. "
            "Password text length: 256"},
        PasswordCase{
            31, 1000,
            "[ComPen::SetPasswordHint] failed. Password hint length is either too short or too long. "
            "Password text length: 1000"}));

TEST_F(SetPasswordData, NullTextsAreRefusedWithoutARequest)
{
    AnnouncedPen pen;
    EXPECT_EQ(zelSetPasswordData(pen.handle(), nullptr, "new", "hint"), ZEL_ERR_INVALID_ARGUMENT);
    EXPECT_EQ(zelSetPasswordData(pen.handle(), "current", nullptr, "hint"), ZEL_ERR_INVALID_ARGUMENT);
    EXPECT_EQ(zelSetPasswordData(pen.handle(), "current", "new", nullptr), ZEL_ERR_INVALID_ARGUMENT);
    EXPECT_EQ(zelRemovePasswordData(pen.handle(), nullptr), ZEL_ERR_INVALID_ARGUMENT);
    EXPECT_EQ(pen.requests(), std::vector<Bytes>{});
}

// A pen that refuses the password gets the hint all the same.
TEST_F(SetPasswordData, RefusedPasswordStillChangesTheHint)
{
    AnnouncedPen pen;
    pen.answer({.bytes = wire::status(0)});
    pen.answer({.bytes = wire::status(0)});
    EXPECT_EQ(zelSetPasswordData(pen.handle(), "wrong", "new", "hint"), ZEL_ERR_INVALID_ARGUMENT);
    ASSERT_EQ(pen.requests().size(), 2u);
    EXPECT_EQ(pen.requests()[1], bytesOf("'R1ST' 01  00 06 0005 'hint' 00"));
}

TEST_F(SetPasswordData, AnswerOtherThanOneIsARefusal)
{
    AnnouncedPen pen;
    for (const std::int32_t answer : {0, 2, 255}) {
        pen.answer({.bytes = wire::status(answer)});
        pen.answer({.bytes = wire::status(0)});
        EXPECT_EQ(zelRemovePasswordData(pen.handle(), "current"), ZEL_ERR_INVALID_ARGUMENT) << answer;
    }
}

TEST_F(PasswordHint, NullOutputIsRefusedWithoutARequest)
{
    AnnouncedPen pen;
    EXPECT_EQ(zelGetPasswordHint(pen.handle(), nullptr), ZEL_ERR_INVALID_ARGUMENT);
    EXPECT_EQ(zelGetPenLockedStatus(pen.handle(), nullptr), ZEL_ERR_INVALID_ARGUMENT);
    EXPECT_EQ(pen.requests(), std::vector<Bytes>{});
}

} // namespace
