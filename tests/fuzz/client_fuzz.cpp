#include "fuzz/fake_sockets.h"

#include "dfu/dfu_listener.h"
#include "pens/discovery_record.h"
#include "session/manager.h"

#include "zel/zel.h"

#include <array>
#include <iterator>

namespace {

using zel::fuzz::Input;

bool isResultCode(std::uint32_t code)
{
    constexpr std::uint32_t kNeverReturned = 7;
    return code <= ZEL_ERR_UNEXPECTED && code != kNeverReturned;
}

/** Texts that an export hands out: all of them when it succeeds, else none. */
template <std::size_t Count>
class Texts
{
public:
    char **operator[](std::size_t i) { return &m_texts[i]; }

    std::uint32_t checked(std::uint32_t code)
    {
        for (char *&text : m_texts) {
            ZEL_FUZZ_REQUIRE((text != nullptr) == (code == ZEL_OK));
            zelFreeString(&text);
        }
        return code;
    }

private:
    std::array<char *, Count> m_texts{};
};

/** A block of data likewise. */
struct Data {
    std::uint8_t *block = nullptr;
    std::uint32_t length = 0;

    std::uint32_t checked(std::uint32_t code)
    {
        ZEL_FUZZ_REQUIRE(code == ZEL_OK || (block == nullptr && length == 0));
        zelFreePageData(&block);
        return code;
    }
};

/** One host with one pen in each mode. */
struct Host {
    PenHandle *pen = nullptr;
    DfuPenHandle *dfuPen = nullptr;
    std::uint8_t argument = 0; // of the call, as the input gives it
};

zel::DiscoveryRecord arrival(const Host &host)
{
    zel::DiscoveryRecord record;
    record.kind = ZEL_PEN_ARRIVED;
    record.penId = 0x12300ABCDEF;
    record.serial = "AKZ-AQ7-APS-AC";
    record.swVersion = host.argument % 2 == 0 ? 0x0503 : 0;
    record.servicePort = 1;
    return record;
}

void noProgress(const char *, std::uint32_t, std::uint32_t) {}

// Each connects, disconnects or makes one call; a host may do so in any order.

std::uint32_t connectPen(Host &host)
{
    zelDisconnectPen(&host.pen);
    const zel::DiscoveryRecord record = arrival(host);
    return zelConnectPen(&record, &host.pen);
}

std::uint32_t connectDfuPen(Host &host)
{
    zelDfuDisconnectPen(&host.dfuPen);
    const zel::DiscoveryRecord record = arrival(host);
    return zelDfuConnectPen(&host.dfuPen, &record);
}

std::uint32_t getProductName(Host &host)
{
    Texts<1> texts;
    return texts.checked(zelGetPenProductName(host.pen, texts[0]));
}

std::uint32_t getTime(Host &host)
{
    std::uint64_t pen = 0;
    std::uint64_t system = 0;
    return zelGetTime(host.pen, &pen, &system);
}

/** The exports that hand out a number or a flag. */
template <auto Export, class Number>
std::uint32_t getNumber(Host &host)
{
    Number number = 0;
    return Export(host.pen, &number);
}

std::uint32_t getBluetoothPin(Host &host)
{
    Texts<1> texts;
    return texts.checked(zelGetBluetoothPin(host.pen, texts[0]));
}

std::uint32_t getPenRevisions(Host &host)
{
    Texts<4> texts;
    return texts.checked(zelGetPenRevisions(host.pen, texts[0], texts[1], texts[2], texts[3]));
}

std::uint32_t getPageList(Host &host)
{
    Texts<1> texts;
    std::uint32_t total = 0;
    return texts.checked(zelGetPageList(host.pen, texts[0], &total));
}

std::uint32_t getPages(Host &host)
{
    static constexpr const char *kLists[] = {"1.2.3.4", "1.2.3.4;5.0.0.0.7;", ";", "", "no address"};
    Data data;
    return data.checked(zelGetPages(host.pen, kLists[host.argument % std::size(kLists)], noProgress,
                                    &data.block, &data.length));
}

std::uint32_t getAllPages(Host &host)
{
    Data data;
    return data.checked(zelGetAllPages(host.pen, noProgress, &data.block, &data.length));
}

std::uint32_t removePage(Host &host)
{
    return zelRemovePage(host.pen, host.argument % 2 == 0 ? "1.2.3.4" : "1.2");
}

std::uint32_t unlockPen(Host &host)
{
    return zelUnlockPen(host.pen, std::string(host.argument, 'p').c_str());
}

std::uint32_t setPasswordData(Host &host)
{
    return zelSetPasswordData(host.pen, "old", std::string(host.argument % 40, 'p').c_str(), "hint");
}

std::uint32_t getPasswordHint(Host &host)
{
    Texts<1> texts;
    return texts.checked(zelGetPasswordHint(host.pen, texts[0]));
}

std::uint32_t installSigningKey(Host &host)
{
    const std::uint8_t part[] = {1, 2, 3};
    const std::uint32_t size = host.argument % 4;
    return zelInstallSigningKey(host.pen, 7, part, size, part, size, part, size, part, size, part, size, part,
                                size, part, size, part, size);
}

std::uint32_t installCertificates(Host &host)
{
    const std::uint8_t data[] = {1, 2, 3};
    if (host.argument % 2 == 0)
        return zelInstallCertificateAuthenticator(host.pen, data, 3, data, 2);
    return zelInstallCertificate(host.pen, data, 3);
}

std::uint32_t getCertificateInfo(Host &host)
{
    std::uint16_t number = 0;
    std::uint64_t values[2] = {};
    return zelGetCertificateInfo(host.pen, &number, &values[0], &values[1]);
}

std::uint32_t getEncryptedData(Host &host)
{
    Data data;
    return data.checked(zelGetEncryptedData(host.pen, 0, &data.block, &data.length));
}

std::uint32_t getUserData(Host &host)
{
    Texts<3> texts;
    return texts.checked(zelGetUserData(host.pen, texts[0], texts[1], texts[2]));
}

std::uint32_t getMemoryStatus(Host &host)
{
    std::uint64_t used = 0;
    std::uint64_t total = 0;
    return zelGetMemoryStatus(host.pen, &used, &total);
}

std::uint32_t getBatteryStatus(Host &host)
{
    std::uint16_t values[5] = {};
    return zelGetBatteryStatus(host.pen, &values[0], &values[1], &values[2], &values[3], &values[4]);
}

/** The exports that take nothing but the pen. */
template <auto Export, auto Pen>
std::uint32_t plain(Host &host)
{
    return Export(host.*Pen);
}

/** The exports that fill a record of the pen's firmware-upgrade mode. */
template <auto Export>
std::uint32_t readDfuRecord(Host &host)
{
    std::uint8_t record[7] = {};
    return Export(host.dfuPen, record);
}

std::uint32_t dfuGetState(Host &host)
{
    std::int32_t state = 0;
    return zelDfuGetState(host.dfuPen, &state);
}

std::uint32_t dfuDownload(Host &host)
{
    const std::uint8_t block[] = {1, 0, 3, 0, 0xAA, 0xBB, 0xCC};
    return zelDfuDownload(host.dfuPen, block);
}

using Call = std::uint32_t (*)(Host &);

// The corpus knows a call by its place: new ones go behind the last.
constexpr Call kCalls[] = {
    connectPen,
    [](Host &host) { return zelDisconnectPen(&host.pen); },
    getProductName,
    [](Host &host) { return zelSetTime(host.pen, host.argument); },
    getTime,
    [](Host &host) { return zelSetBluetoothEnabled(host.pen, host.argument); },
    getNumber<zelGetBluetoothEnabled, std::uint8_t>,
    [](Host &host) { return zelSetBluetoothDiscoverableAllowed(host.pen, host.argument); },
    getNumber<zelGetBluetoothDiscoverableAllowed, std::uint8_t>,
    [](Host &host) { return zelSetBluetoothPin(host.pen, std::string(host.argument % 20, '1').c_str()); },
    getBluetoothPin,
    [](Host &host) { return zelSetAutoPowerOff(host.pen, host.argument); },
    getNumber<zelGetAutoPowerOff, std::uint16_t>,
    [](Host &host) { return zelSetWakeUpTime(host.pen, host.argument); },
    getNumber<zelGetWakeUpTime, std::uint32_t>,
    getPenRevisions,
    getPageList,
    getPages,
    getAllPages,
    removePage,
    plain<zelRemoveAllStrokes, &Host::pen>,
    unlockPen,
    setPasswordData,
    [](Host &host) { return zelRemovePasswordData(host.pen, "old"); },
    getPasswordHint,
    getNumber<zelGetPenLockedStatus, std::uint8_t>,
    installCertificates,
    getNumber<zelHasCertificateAuthenticator, std::uint8_t>,
    installSigningKey,
    getNumber<zelHasSigningKey, std::uint8_t>,
    plain<zelClearSigningKey, &Host::pen>,
    getCertificateInfo,
    plain<zelClearCertificate, &Host::pen>,
    getNumber<zelHasEncryptedData, std::uint8_t>,
    getEncryptedData,
    plain<zelClearEncryptedData, &Host::pen>,
    [](Host &host) { return zelSetUserData(host.pen, "a", "b", host.argument % 2 == 0 ? "c" : ""); },
    getUserData,
    getMemoryStatus,
    getBatteryStatus,
    getNumber<zelGetSecureDeleteEnabled, std::uint8_t>,
    connectDfuPen,
    [](Host &host) { return zelDfuDisconnectPen(&host.dfuPen); },
    plain<zelDfuResetPort, &Host::dfuPen>,
    plain<zelDfuAbort, &Host::dfuPen>,
    plain<zelDfuClearStatus, &Host::dfuPen>,
    plain<zelDfuDetach, &Host::dfuPen>,
    plain<zelDfuDetachBoot, &Host::dfuPen>,
    dfuGetState,
    readDfuRecord<zelDfuGetStatus>,
    readDfuRecord<zelDfuGetFunctionalDescriptor>,
    dfuDownload,
};

/** The library as if initialised in both modes, without the listeners' threads. */
void initialiseOnce()
{
    if (zel::manager() != nullptr)
        return;
    zel::setManager(std::make_unique<zel::CZELManager>());
    zel::setDfuListener(std::make_unique<zel::DfuRendezvousListener>());
}

void makeCalls(Host &host, Input calls)
{
    for (std::size_t i = 0; i + 1 < calls.size(); i += 2) {
        host.argument = calls[i + 1];
        ZEL_FUZZ_REQUIRE(isResultCode(kCalls[calls[i] % std::size(kCalls)](host)));
    }
}

} // namespace

// A host that makes any calls in any order, against a service that gives and cuts any bytes: every call ends
// with a result code and all or none of its outputs, and nothing stays open. The input is the number of calls
// (1 byte), two bytes for each, and the steps of the service.
ZEL_FUZZ_TARGET(client)
{
    constexpr std::size_t kMostCalls = 40;
    if (input.empty())
        return;
    const std::size_t calls = std::min(input[0] % kMostCalls * 2, input.size() - 1);
    const Input script = input.subspan(1 + calls);
    if (zel::fuzz::announcesManyBodilessElements(script))
        return;
    initialiseOnce();
    zel::fuzz::FakePeer service(zel::fuzz::stepsFrom(script));
    Host host;
    makeCalls(host, input.subspan(1, calls));
    ZEL_FUZZ_REQUIRE(zelDisconnectPen(&host.pen) == ZEL_OK);
    ZEL_FUZZ_REQUIRE(zelDfuDisconnectPen(&host.dfuPen) == ZEL_OK);
    ZEL_FUZZ_REQUIRE(service.openSockets() == 0);
}
