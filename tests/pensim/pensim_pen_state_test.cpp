#include "pensim/pen_state.h"

#include <gtest/gtest.h>

namespace {

using namespace pensim;

constexpr std::uint64_t kHost = 1;
constexpr std::uint64_t kOtherHost = 2;
constexpr std::uint64_t kNoLimit = 0x7fffffffffffffff;

Request request(std::uint32_t code, std::vector<Value> arguments = {})
{
    Request result;
    result.code = code;
    for (Value &value : arguments)
        result.arguments.push_back({static_cast<std::uint8_t>(result.arguments.size()), std::move(value)});
    return result;
}

Answer ask(PenState &pen, std::uint32_t code, std::vector<Value> arguments = {},
           std::uint64_t connection = kHost)
{
    return pen.handle(request(code, std::move(arguments)), connection);
}

Value resultOf(PenState &pen, std::uint32_t code, std::vector<Value> arguments = {})
{
    const Answer answer = ask(pen, code, std::move(arguments));
    EXPECT_EQ(answer.status, 0);
    return answer.result.value_or(Value::any());
}

std::int32_t statusOf(PenState &pen, std::uint32_t code, std::vector<Value> arguments = {})
{
    return ask(pen, code, std::move(arguments)).status;
}

Value digest(const std::string &password, std::uint64_t penId)
{
    const DigestBlock block = passwordDigest(password, penId);
    return Value::binary(Bytes(block.begin(), block.end()));
}

PenSpec specWithPages()
{
    PenSpec spec;
    spec.id = 0x100000001;
    spec.pages = {{pageAddress(0, 1, 2, 3, 4), Value::binary(Bytes(10, 'a')), {}},
                  {pageAddress(0, 1, 2, 3, 5), Value::binary(Bytes(20, 'b')), {}},
                  {pageAddress(0, 1, 9, 3, 5), Value::binary(Bytes(30, 'c')), 33}};
    spec.styloPages = {{pageAddress(0, 7, 7, 7, 7), Value::binary({1, 2}), {}}};
    return spec;
}

PenSpec lockedSpec()
{
    PenSpec spec = specWithPages();
    spec.password = "secret";
    spec.hint = "what nobody knows";
    return spec;
}

std::vector<Value> pageArguments(std::uint64_t address)
{
    return {Value::long64(address), Value::long64(2), Value::long64(kNoLimit)};
}

TEST(PensimPen, ListsItsPagesWithTheirSizes)
{
    PenState pen(specWithPages());
    EXPECT_EQ(resultOf(pen, instruction::listPages),
              Value::array({Value::array({Value::long64(0x0000010002003004), Value::int32(10)}),
                            Value::array({Value::long64(0x0000010002003005), Value::int32(20)}),
                            Value::array({Value::long64(0x0000010009003005), Value::int32(33)})}));
}

TEST(PensimPen, PagesAreReadInASyncSessionOnly)
{
    PenState pen(specWithPages());
    const auto page = pageArguments(pageAddress(0, 1, 2, 3, 5));
    EXPECT_EQ(statusOf(pen, instruction::getPage, page), status::noSession);
    EXPECT_EQ(statusOf(pen, instruction::getStylo), status::noSession);
    EXPECT_EQ(resultOf(pen, instruction::beginSyncSession), Value::int32(1));
    EXPECT_EQ(resultOf(pen, instruction::getPage, page), Value::binary(Bytes(20, 'b')));
    EXPECT_EQ(resultOf(pen, instruction::getStylo),
              Value::array({Value::array({Value::long64(0x0000070007007007), Value::binary({1, 2})})}));
    EXPECT_EQ(statusOf(pen, instruction::getPage, pageArguments(5)), status::noSuchPage);
    EXPECT_EQ(statusOf(pen, instruction::endSyncSession), 0);
    EXPECT_EQ(statusOf(pen, instruction::getPage, page), status::noSession);
}

TEST(PensimPen, LimitCutsThePage)
{
    PenState pen(specWithPages());
    resultOf(pen, instruction::beginSyncSession);
    EXPECT_EQ(resultOf(pen, instruction::getPage,
                       {Value::long64(pageAddress(0, 1, 2, 3, 4)), Value::long64(2), Value::long64(3)}),
              Value::binary(Bytes(3, 'a')));
}

TEST(PensimPen, SyncSessionIsOneHostsUntilItLeaves)
{
    PenState pen(specWithPages());
    EXPECT_EQ(ask(pen, instruction::beginSyncSession, {}, kHost).result, Value::int32(1));
    EXPECT_EQ(ask(pen, instruction::beginSyncSession, {}, kOtherHost).result, Value::int32(0));
    ask(pen, instruction::endSyncSession, {}, kOtherHost);
    EXPECT_TRUE(pen.sessionOwner);
    pen.connectionClosed(kHost);
    EXPECT_EQ(ask(pen, instruction::beginSyncSession, {}, kOtherHost).result, Value::int32(1));
}

TEST(PensimPen, RemovesThePagesThatTheAddressStandsFor)
{
    PenState pen(specWithPages());
    EXPECT_EQ(statusOf(pen, instruction::removePage, pageArguments(parsePageAddress("1.2.*.*"))), 0);
    ASSERT_EQ(pen.pages.pages().size(), 1u);
    EXPECT_EQ(pen.pages.pages()[0].address, pageAddress(0, 1, 9, 3, 5));
    EXPECT_EQ(statusOf(pen, instruction::removePage, pageArguments(parsePageAddress("1.2.3.4"))),
              status::noSuchPage);
    EXPECT_EQ(statusOf(pen, instruction::clearStrokes, {Value::int32(0)}), 0);
    EXPECT_TRUE(pen.pages.pages().empty());
    EXPECT_TRUE(pen.styloPages.empty());
}

TEST(PensimPen, FreeMemoryShrinksWithThePages)
{
    PenState pen(specWithPages());
    const std::uint64_t total = pen.readProperty(property::memory).items()[7].number();
    EXPECT_EQ(pen.readProperty(property::freeMemory), Value::long64(total - 63));
    pen.pages.clear();
    EXPECT_EQ(pen.readProperty(property::freeMemory), Value::long64(total));
}

TEST(PensimPen, KeepsTheMmiState)
{
    PenState pen({});
    EXPECT_EQ(statusOf(pen, instruction::setMmiState, {Value::short16(3)}), 0);
    EXPECT_EQ(pen.mmiState, 3);
}

TEST(PensimPen, LockedPenRefusesAllButLockUnlockAndHint)
{
    PenState pen(lockedSpec());
    EXPECT_EQ(resultOf(pen, instruction::lockStatus), Value::boolean(true));
    EXPECT_EQ(resultOf(pen, instruction::getHint), Value::string("what nobody knows"));
    for (const std::uint32_t code :
         {instruction::getProperty, instruction::setProperty, instruction::listPages,
          instruction::beginSyncSession, instruction::getPage, instruction::getStylo,
          instruction::endSyncSession, instruction::setMmiState, instruction::removePage,
          instruction::clearStrokes, instruction::setPassword, instruction::setHint,
          instruction::hasEncryptedData, instruction::getEncryptedData, instruction::clearEncryptedData})
        EXPECT_EQ(statusOf(pen, code), status::locked);
}

TEST(PensimPen, UnlocksWithTheDigestOfItsPasswordOnly)
{
    PenState pen(lockedSpec());
    EXPECT_EQ(resultOf(pen, instruction::unlock, {digest("Secret", 0x100000001)}), Value::int32(0));
    EXPECT_EQ(resultOf(pen, instruction::unlock, {digest("secret", 0x100000002)}), Value::int32(0));
    EXPECT_EQ(resultOf(pen, instruction::unlock, {Value::binary(Bytes())}), Value::int32(0));
    EXPECT_TRUE(pen.locked);
    EXPECT_EQ(resultOf(pen, instruction::unlock, {digest("secret", 0x100000001)}), Value::int32(1));
    EXPECT_FALSE(pen.locked);
}

TEST(PensimPen, PasswordChangesWithTheCurrentOneOnly)
{
    PenState pen(lockedSpec());
    resultOf(pen, instruction::unlock, {digest("secret", 0x100000001)});
    const Value wrong = digest("wrong", 0x100000001);
    EXPECT_EQ(resultOf(pen, instruction::setPassword, {wrong, Value::string("new")}), Value::int32(0));
    const Value right = digest("secret", 0x100000001);
    EXPECT_EQ(resultOf(pen, instruction::setPassword, {right, Value::string(std::string(32, 'x'))}),
              Value::int32(0));
    EXPECT_EQ(resultOf(pen, instruction::setPassword, {right, Value::string("new")}), Value::int32(1));
    EXPECT_EQ(pen.password, "new");
    EXPECT_EQ(statusOf(pen, instruction::setHint, {Value::string("newer")}), 0);
    EXPECT_EQ(pen.hint, "newer");
}

TEST(PensimPen, LocksAgainOnItsDock)
{
    PenState pen(lockedSpec());
    resultOf(pen, instruction::unlock, {digest("secret", 0x100000001)});
    pen.dock();
    EXPECT_TRUE(pen.locked);
}

TEST(PensimPen, RefusesWhatItDoesNotKnow)
{
    PenSpec spec;
    spec.softwareVersion = 0x0502;
    PenState pen(spec);
    EXPECT_EQ(statusOf(pen, 0x12345678), status::unknownInstruction);
    EXPECT_EQ(statusOf(pen, instruction::hasEncryptedData), status::unknownInstruction);
    EXPECT_EQ(statusOf(pen, instruction::setProperty, {Value::short16(property::signingKey), Value::null()}),
              status::propertyRefused);
}

TEST(PensimPen, RefusesArgumentsOfTheWrongKind)
{
    PenState pen({});
    EXPECT_EQ(statusOf(pen, instruction::getProperty), status::badArguments);
    EXPECT_EQ(statusOf(pen, instruction::getProperty, {Value::int32(1)}), status::badArguments);
    EXPECT_EQ(statusOf(pen, instruction::getProperty, {Value::short16(1), Value::short16(1)}),
              status::badArguments);
    Request wrongIndex = request(instruction::getProperty, {Value::short16(1)});
    wrongIndex.arguments[0].index = 1;
    EXPECT_EQ(pen.handle(wrongIndex, kHost).status, status::badArguments);
}

TEST(PensimPen, EncryptedDataIsThereUntilItIsCleared)
{
    PenSpec spec;
    spec.encryptedData = Bytes{1, 2, 3};
    PenState pen(spec);
    EXPECT_EQ(resultOf(pen, instruction::hasEncryptedData), Value::boolean(true));
    EXPECT_EQ(resultOf(pen, instruction::getEncryptedData), Value::binary({1, 2, 3}));
    EXPECT_EQ(resultOf(pen, instruction::clearEncryptedData), Value::int32(1));
    EXPECT_EQ(resultOf(pen, instruction::clearEncryptedData), Value::int32(0));
    EXPECT_EQ(resultOf(pen, instruction::getEncryptedData), Value::null());
}

TEST(PensimPen, PenInFirmwareUpgradeModeKnowsNothingElse)
{
    PenSpec spec = lockedSpec();
    spec.dfuMode = true;
    PenState pen(spec);
    EXPECT_EQ(statusOf(pen, instruction::getProperty, {Value::short16(1)}), status::unknownInstruction);
    EXPECT_EQ(resultOf(pen, instruction::dfuGetState), Value::int32(2));
    EXPECT_EQ(resultOf(pen, instruction::dfuGetStatus), Value::binary({0, 0, 0, 0, 2, 0}));
    EXPECT_EQ(resultOf(pen, instruction::dfuFunctionalDescriptor),
              Value::binary({0x05, 0xe8, 0x03, 0x00, 0x10, 0x10, 0x01})); // 1000 ms, 4096 bytes
    EXPECT_EQ(statusOf(pen, instruction::dfuClearStatus), status::stalled);
}

struct WriteCase {
    const char *name;
    std::uint16_t id;
    Value value;
    bool accepted;
};

Value ownerCard(std::size_t items)
{
    return Value::array(std::vector<Value>(items, Value::string("x")));
}

Value signingKey(std::size_t binaries)
{
    std::vector<Value> items(binaries + 1, Value::binary({1}));
    items[0] = Value::short16(7);
    return Value::array(std::move(items));
}

const WriteCase kWriteCases[] = {
    {"unknown property", 0x7777, Value::null(), false},
    {"software version", property::softwareVersion, Value::short16(1), false},
    {"owner card", property::ownerCard, ownerCard(18), true},
    {"short owner card", property::ownerCard, ownerCard(17), false},
    {"owner email", property::ownerEmail, Value::string("a@b"), true},
    {"owner phone of another type", property::ownerPhone, Value::int32(5), false},
    {"clock", property::penTime, Value::long64(5), true},
    {"clock of another type", property::penTime, Value::int32(5), false},
    {"power-off", property::autoPowerOff, Value::short16(5), true},
    {"bluetooth", property::bluetoothEnabled, Value::boolean(false), true},
    {"bluetooth of another type", property::bluetoothEnabled, Value::byte(1), false},
    {"PIN", property::bluetoothPin, Value::string("1234"), true},
    {"long PIN", property::bluetoothPin, Value::string("1234567890123456"), true},
    {"too long PIN", property::bluetoothPin, Value::string("12345678901234567"), false},
    {"too short PIN", property::bluetoothPin, Value::string("123"), false},
    {"PIN with a letter", property::bluetoothPin, Value::string("12a4"), false},
    {"discoverable", property::discoverableAllowed, Value::boolean(true), true},
    {"no wake-up", property::wakeUpTime, Value::int32(0), true},
    {"wake-up", property::wakeUpTime, Value::int32(60), true},
    {"latest wake-up", property::wakeUpTime, Value::int32(86400), true},
    {"too early wake-up", property::wakeUpTime, Value::int32(59), false},
    {"too late wake-up", property::wakeUpTime, Value::int32(86401), false},
    {"authenticator", property::certificateAuthenticator,
     Value::array({Value::binary({1}), Value::binary({2})}), true},
    {"empty authenticator", property::certificateAuthenticator,
     Value::array({Value::binary({1}), Value::binary(Bytes())}), false},
    {"certificate", property::certificate, Value::binary({1, 2}), true},
    {"empty certificate", property::certificate, Value::binary(Bytes()), false},
    {"no certificate", property::certificate, Value::null(), true},
    {"signing key", property::signingKey, signingKey(8), true},
    {"short signing key", property::signingKey, signingKey(7), false},
    {"no signing key", property::signingKey, Value::null(), true},
};

TEST(PensimPen, AcceptsTheWritesThatAPenAccepts)
{
    for (const WriteCase &write : kWriteCases) {
        PenState pen({});
        EXPECT_EQ(statusOf(pen, instruction::setProperty, {Value::short16(write.id), write.value}),
                  write.accepted ? 0 : status::propertyRefused)
            << write.name;
    }
}

TEST(PensimPen, SecretsAreNotReadBack)
{
    PenState pen({});
    EXPECT_EQ(pen.readProperty(property::signingKey), Value::null());
    statusOf(pen, instruction::setProperty, {Value::short16(property::signingKey), signingKey(8)});
    EXPECT_EQ(pen.readProperty(property::signingKey), Value::boolean(true));
    statusOf(pen, instruction::setProperty,
             {Value::short16(property::certificate), Value::binary({1, 2, 3, 4, 5, 6, 7, 8, 9})});
    EXPECT_EQ(pen.readProperty(property::certificate),
              Value::array(
                  {Value::short16(1), Value::long64(0x0102030405060708), Value::long64(0x0900000000000000)}));
}

TEST(PensimPen, ClockRunsFromWhereItWasSet)
{
    PenState pen({});
    statusOf(pen, instruction::setProperty, {Value::short16(property::penTime), Value::long64(1000000)});
    const std::uint64_t time = pen.readProperty(property::penTime).number();
    EXPECT_GE(time, 1000000u);
    EXPECT_LT(time, 1000000u + 600000u);
}

TEST(PensimPen, SetPropertyOverridesWhatThePenComputes)
{
    PenState pen(specWithPages());
    pen.properties.set(property::freeMemory, Value::string("none"));
    EXPECT_EQ(resultOf(pen, instruction::getProperty, {Value::short16(property::freeMemory)}),
              Value::string("none"));
}

} // namespace
