#include "host_pens.h"

#include <algorithm>

namespace cpphost {
namespace {

using pensim::Reply;
using pensim::Value;
using std::chrono::seconds;

using CppPen = ConnectedPen;

TEST_F(CppPen, TellsWhoItIs)
{
    const zelpp::Pen pen = connect();
    EXPECT_EQ(pen.serial(), kSerial);
    EXPECT_EQ(pen.info().penId, kPenId);
    EXPECT_EQ(pen.productName(), "Brand");
    m_pen->setProperty(0x0024, Value::null());
    EXPECT_EQ(pen.productName(), "") << "a pen without a name is no failure";
    EXPECT_EQ(zelpp::apiVersion(), ZEL_API_VERSION);
}

TEST_F(CppPen, ClockIsSetAndRead)
{
    zelpp::Pen pen = connect();
    const zelpp::Time moment{std::chrono::milliseconds(1'700'000'000'123)};
    m_pen->setProperty(0x2021, Value::long64(1'700'000'000'123));
    // The pen's clock runs.
    EXPECT_GE(pen.time().pen, moment);
    EXPECT_LT(pen.time().pen, moment + seconds(60));
    pen.setTime(moment + seconds(120));
    EXPECT_GE(pen.time().pen, moment + seconds(120));
    EXPECT_LT(pen.time().pen, moment + seconds(180));
    pen.setTimeToNow();
    EXPECT_GT(pen.time().pen, moment + std::chrono::hours(24));
    m_pen->setProperty(0x0021, Value::long64(1'600'000'000'123));
    EXPECT_EQ(pen.time().host, zelpp::Time(std::chrono::milliseconds(1'600'000'000'123)));
}

TEST_F(CppPen, SettingsAreSetAndRead)
{
    zelpp::Pen pen = connect();
    for (const bool on : {false, true}) {
        pen.setBluetoothEnabled(on);
        EXPECT_EQ(pen.bluetoothEnabled(), on);
        pen.setBluetoothDiscoverableAllowed(on);
        EXPECT_EQ(pen.bluetoothDiscoverableAllowed(), on);
    }
    pen.setBluetoothPin("4711");
    EXPECT_EQ(pen.bluetoothPin(), "4711");
    EXPECT_EQ(thrown([&] { pen.setBluetoothPin("47 11"); }), Errc::valueOutOfRange);
    EXPECT_EQ(thrown([&] { pen.setBluetoothPin(std::string("4711\0", 5)); }), Errc::invalidArgument);
    EXPECT_EQ(pen.bluetoothPin(), "4711");
    pen.setAutoPowerOff(300);
    EXPECT_EQ(pen.autoPowerOff(), 300);
    pen.setWakeUpTime(std::chrono::hours(1));
    EXPECT_EQ(pen.wakeUpTime(), seconds(3600));
    EXPECT_THROW(pen.setWakeUpTime(seconds(59)), zelpp::InvalidArgumentError);
    EXPECT_THROW(pen.setWakeUpTime(seconds(-1)), zelpp::InvalidArgumentError);
    constexpr seconds of32Bits{1LL << 32};
    EXPECT_THROW(pen.setWakeUpTime(seconds(60) + of32Bits), zelpp::InvalidArgumentError);
    EXPECT_THROW(pen.setWakeUpTime(seconds(60) - of32Bits), zelpp::InvalidArgumentError);
    EXPECT_EQ(pen.wakeUpTime(), seconds(3600));
    pen.setWakeUpTime(seconds(0));
    EXPECT_EQ(pen.wakeUpTime(), seconds(0));
    m_pen->setProperty(0x002a, Value::boolean(true));
    EXPECT_TRUE(pen.secureDeleteEnabled());
    m_pen->setProperty(
        0x0010, Value::array({Value::string("a"), Value::string("b"), Value::string("c"), Value::string("d"),
                              Value::string("e"), Value::string("f"), Value::string("g")}));
    const zelpp::Revisions revisions = pen.revisions();
    EXPECT_EQ(revisions.revision0, "a");
    EXPECT_EQ(revisions.hardware, "b");
    EXPECT_EQ(revisions.revision3, "d");
    EXPECT_EQ(revisions.revision5, "f");
}

TEST_F(CppPen, PenThatIsTooOldSaysSo)
{
    pensim::PenSpec old;
    old.id = 7;
    old.softwareVersion = 0x0501;
    m_service.dock(old);
    zelpp::Pen pen = m_library.connect(m_library.wait(zelpp::serialText(7), kPatience));
    EXPECT_THROW(pen.setWakeUpTime(seconds(60)), zelpp::NotSupportedError);
    EXPECT_THROW(pen.secureDeleteEnabled(), zelpp::NotSupportedError);
    EXPECT_THROW(pen.hasSigningKey(), zelpp::NotSupportedError);
}

TEST_F(CppPen, PasswordIsSetAndRemoved)
{
    zelpp::Pen pen = connect();
    EXPECT_FALSE(pen.isLocked());
    pen.setPassword("", "secret", "the usual one");
    EXPECT_EQ(m_pen->password(), "secret");
    EXPECT_EQ(pen.passwordHint(), "the usual one");
    EXPECT_EQ(thrown([&] { pen.removePassword("wrong"); }), Errc::invalidArgument);
    pen.removePassword("secret");
    EXPECT_EQ(m_pen->password(), "");
}

TEST_F(CppPen, CertificatesAndKeysAreInstalledAndCleared)
{
    zelpp::Pen pen = connect();
    const Bytes part{1, 2, 3};
    EXPECT_FALSE(pen.hasCertificateAuthenticator());
    pen.installCertificateAuthenticator({}, part);
    EXPECT_TRUE(pen.hasCertificateAuthenticator());
    EXPECT_THROW(pen.installCertificateAuthenticator(part, {}), zelpp::InvalidArgumentError);

    EXPECT_FALSE(pen.hasSigningKey());
    pen.installSigningKey(7, {part, part, part, part, part, part, part, {}});
    EXPECT_TRUE(pen.hasSigningKey());
    pen.clearSigningKey();
    EXPECT_FALSE(pen.hasSigningKey());

    EXPECT_EQ(thrown([&] { pen.certificateInfo(); }), Errc::unexpected) << "there is none";
    pen.installCertificate(part);
    pen.certificateInfo();
    m_pen->setProperty(0x2209, Value::array({Value::short16(1), Value::long64(2), Value::long64(3)}));
    const zelpp::CertificateInfo info = pen.certificateInfo();
    EXPECT_EQ(info.number, 1);
    EXPECT_EQ(info.value1, 2u);
    EXPECT_EQ(info.value2, 3u);
    pen.clearCertificate();
}

TEST_F(CppPen, EncryptedDataIsFetchedAndCleared)
{
    zelpp::Pen pen = connect();
    EXPECT_FALSE(pen.hasEncryptedData());
    EXPECT_EQ(thrown([&] { pen.encryptedData(); }), Errc::invalidArgument);
    const Bytes data{0xde, 0xad, 0x00, 0xef};
    m_pen->setEncryptedData(data);
    EXPECT_TRUE(pen.hasEncryptedData());
    zelpp::LibraryBytes bytes = pen.encryptedData();
    EXPECT_TRUE(std::ranges::equal(pen.encryptedData(UINT64_MAX), data)) << "the argument has no effect";
    pen.disconnect();
    m_library.refresh();
    EXPECT_TRUE(std::ranges::equal(bytes, data)) << "the bytes belong to the host";
    connect().clearEncryptedData();
    EXPECT_FALSE(m_pen->encryptedData());
}

TEST_F(CppPen, OwnerAndStatusAreTold)
{
    zelpp::Pen pen = connect();
    pen.setUserData({"Ada", "", "London"});
    const zelpp::UserData owner = pen.userData();
    EXPECT_EQ(owner.a, "Ada");
    EXPECT_EQ(owner.b, "");
    EXPECT_EQ(owner.c, "London");
    EXPECT_EQ(thrown([&] { pen.setUserData({std::string("A\0da", 4), "", ""}); }), Errc::invalidArgument);
    EXPECT_EQ(pen.userData().a, "Ada");

    m_pen->setProperty(0x000e, Value::array({Value::short16(12), Value::short16(3600), Value::short16(1),
                                             Value::short16(0), Value::short16(65535)}));
    const zelpp::BatteryStatus battery = pen.batteryStatus();
    EXPECT_EQ(battery[0], 12);
    EXPECT_EQ(battery[3], 0);
    EXPECT_FALSE(battery[4]) << "65535 is unknown";
    const zelpp::MemoryStatus memory = pen.memoryStatus();
    EXPECT_GT(memory.total, 0u);
    EXPECT_LE(memory.used, memory.total);
}

TEST_F(CppPen, ErrorTellsCodeNameOperationAndSentence)
{
    const zelpp::Pen pen = connect();
    m_pen->setPassword("secret", "");
    m_pen->lock();
    const zelpp::Result<zelpp::PenTime> time = pen.tryTime();
    ASSERT_FALSE(time);
    const zelpp::Error &error = time.error();
    EXPECT_EQ(error.number(), ZEL_ERR_PEN_LOCKED);
    EXPECT_EQ(error.code(), Errc::penLocked);
    EXPECT_STREQ(error.name(), "ZEL_ERR_PEN_LOCKED");
    EXPECT_STREQ(error.operation(), "zelGetTime");
    EXPECT_EQ(error.sentence(), "The pen is locked by its password.");
    EXPECT_STREQ(error.what(), "zelGetTime: The pen is locked by its password.");
    EXPECT_EQ(error.detail(), "");
    EXPECT_STREQ(error.code().category().name(), "zel");
    EXPECT_THROW(time.value(), zelpp::LockedError);
    EXPECT_EQ(pen.tryProductName().valueOr("none"), "none");
    try {
        pen.time();
        FAIL() << "the pen is locked";
    } catch (const std::system_error &caught) {
        EXPECT_EQ(caught.code(), Errc::penLocked);
    }
}

TEST_F(CppPen, OperationThatFailsIsNamed)
{
    zelpp::Pen pen = connect();
    pen.disconnect();
    const auto named = [](const auto &result) { return result ? "none" : result.error().operation(); };
    EXPECT_STREQ(named(pen.tryProductName()), "zelGetPenProductName");
    EXPECT_STREQ(named(pen.tryTime()), "zelGetTime");
    EXPECT_STREQ(named(pen.trySetTime({})), "zelSetTime");
    EXPECT_STREQ(named(pen.tryBluetoothEnabled()), "zelGetBluetoothEnabled");
    EXPECT_STREQ(named(pen.trySetBluetoothEnabled(true)), "zelSetBluetoothEnabled");
    EXPECT_STREQ(named(pen.tryBluetoothDiscoverableAllowed()), "zelGetBluetoothDiscoverableAllowed");
    EXPECT_STREQ(named(pen.trySetBluetoothDiscoverableAllowed(true)), "zelSetBluetoothDiscoverableAllowed");
    EXPECT_STREQ(named(pen.tryBluetoothPin()), "zelGetBluetoothPin");
    EXPECT_STREQ(named(pen.trySetBluetoothPin("")), "zelSetBluetoothPin");
    EXPECT_STREQ(named(pen.tryAutoPowerOff()), "zelGetAutoPowerOff");
    EXPECT_STREQ(named(pen.trySetAutoPowerOff(0)), "zelSetAutoPowerOff");
    EXPECT_STREQ(named(pen.tryWakeUpTime()), "zelGetWakeUpTime");
    EXPECT_STREQ(named(pen.trySetWakeUpTime({})), "zelSetWakeUpTime");
    EXPECT_STREQ(named(pen.trySecureDeleteEnabled()), "zelGetSecureDeleteEnabled");
    EXPECT_STREQ(named(pen.tryRevisions()), "zelGetPenRevisions");
    EXPECT_STREQ(named(pen.tryPages()), "zelGetPageList");
    EXPECT_STREQ(named(pen.tryFetchAll()), "zelGetAllPages");
    EXPECT_STREQ(named(pen.tryFetch({"1.2.3.4"})), "zelGetPageList");
    EXPECT_STREQ(named(pen.tryRemovePage("1.2.3.4")), "zelRemovePage");
    EXPECT_STREQ(named(pen.tryRemoveAllStrokes()), "zelRemoveAllStrokes");
    EXPECT_STREQ(named(pen.tryIsLocked()), "zelGetPenLockedStatus");
    EXPECT_STREQ(named(pen.tryUnlock("")), "zelUnlockPen");
    EXPECT_STREQ(named(pen.trySetPassword("", "", "")), "zelSetPasswordData");
    EXPECT_STREQ(named(pen.tryRemovePassword("")), "zelRemovePasswordData");
    EXPECT_STREQ(named(pen.tryPasswordHint()), "zelGetPasswordHint");
    EXPECT_STREQ(named(pen.tryInstallCertificateAuthenticator({}, {})), "zelInstallCertificateAuthenticator");
    EXPECT_STREQ(named(pen.tryHasCertificateAuthenticator()), "zelHasCertificateAuthenticator");
    EXPECT_STREQ(named(pen.tryInstallSigningKey(0, {})), "zelInstallSigningKey");
    EXPECT_STREQ(named(pen.tryHasSigningKey()), "zelHasSigningKey");
    EXPECT_STREQ(named(pen.tryClearSigningKey()), "zelClearSigningKey");
    EXPECT_STREQ(named(pen.tryInstallCertificate({})), "zelInstallCertificate");
    EXPECT_STREQ(named(pen.tryCertificateInfo()), "zelGetCertificateInfo");
    EXPECT_STREQ(named(pen.tryClearCertificate()), "zelClearCertificate");
    EXPECT_STREQ(named(pen.tryHasEncryptedData()), "zelHasEncryptedData");
    EXPECT_STREQ(named(pen.tryEncryptedData()), "zelGetEncryptedData");
    EXPECT_STREQ(named(pen.tryClearEncryptedData()), "zelClearEncryptedData");
    EXPECT_STREQ(named(pen.tryUserData()), "zelGetUserData");
    EXPECT_STREQ(named(pen.trySetUserData({})), "zelSetUserData");
    EXPECT_STREQ(named(pen.tryMemoryStatus()), "zelGetMemoryStatus");
    EXPECT_STREQ(named(pen.tryBatteryStatus()), "zelGetBatteryStatus");
    EXPECT_EQ(pen.tryFetchAll().error().detail(), "") << "it is not the pen that refuses";
    const zelpp::PenInfo absent;
    EXPECT_STREQ(named(m_library.tryConnect(absent)), "zelConnectPen");
    const zelpp::PenInfo info = m_library.wait(kPatience);
    m_pen->refuseConnections(true);
    EXPECT_STREQ(named(m_library.tryConnect(info)), "zelConnectPen");
}

TEST(CppErrors, ReasonsOfThisInterfaceHaveNamesAndSentencesToo)
{
    const auto texts = [](Errc code) {
        const zelpp::Error error(code, "test");
        return error.name() + std::string(": ") + error.sentence();
    };
    EXPECT_EQ(texts(Errc::noPen), "noPen: The pen is not present, or did not arrive in time.");
    EXPECT_EQ(texts(Errc::cancelled), "cancelled: The host gave the operation up.");
    EXPECT_EQ(texts(Errc::downloadFailed), "downloadFailed: The pen did not take the firmware.");
    EXPECT_EQ(texts(Errc::badPageData), "badPageData: The bytes are no page data.");
    EXPECT_EQ(texts(Errc::fileAccess), "fileAccess: The file cannot be read or written.");
}

TEST(CppErrors, EachReasonThatProgramsTellApartIsThrownAsItsOwnClass)
{
    const auto raise = [](Errc code) { zelpp::Error(code, "test").raise(); };
    EXPECT_THROW(raise(Errc::penLocked), zelpp::LockedError);
    EXPECT_THROW(raise(Errc::communication), zelpp::CommunicationError);
    EXPECT_THROW(raise(Errc::syncBusy), zelpp::BusyError);
    EXPECT_THROW(raise(Errc::notSupported), zelpp::NotSupportedError);
    EXPECT_THROW(raise(Errc::deviceNotSupported), zelpp::NotSupportedError);
    EXPECT_THROW(raise(Errc::invalidArgument), zelpp::InvalidArgumentError);
    EXPECT_THROW(raise(Errc::valueOutOfRange), zelpp::InvalidArgumentError);
    EXPECT_THROW(raise(Errc::noPen), zelpp::NoPenError);
    for (const Errc code : {Errc::notInitialized, Errc::alreadyInitialized, Errc::unexpected, Errc::cancelled,
                            Errc::downloadFailed, Errc::badPageData, Errc::fileAccess}) {
        try {
            raise(code);
        } catch (const zelpp::Error &error) {
            EXPECT_EQ(typeid(error), typeid(zelpp::Error));
            EXPECT_EQ(error.reason(), code);
            EXPECT_STRNE(error.name(), "unknown");
        }
    }
}

TEST(CppErrors, ResultHoldsWhatCannotBeCopied)
{
    zelpp::Result<std::unique_ptr<int>> result = std::make_unique<int>(7);
    ASSERT_TRUE(result);
    EXPECT_EQ(**result, 7);
    EXPECT_EQ(*std::move(result).value(), 7);
    EXPECT_EQ(zelpp::Result<int>(7).valueOr(8), 7);
    EXPECT_EQ(zelpp::Result<int>(zelpp::Error(Errc::noPen, "test")).valueOr(8), 8);
    EXPECT_NO_THROW(zelpp::Result<void>().value());
    EXPECT_EQ(thrown([] { zelpp::Result<void>(zelpp::Error(Errc::noPen, "test")).value(); }), Errc::noPen);
}

} // namespace
} // namespace cpphost
