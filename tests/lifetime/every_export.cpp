#include "every_export.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <set>

// Names each call, so that a list of them can be compared with that of another time.
#define TOOK(function, ...) took(#function, function(__VA_ARGS__))

namespace lifetime {

namespace {

void progress(const char *, std::uint32_t, std::uint32_t) {}

constexpr std::array<std::uint8_t, 4> kData{1, 2, 3, 4};

} // namespace

void EveryExport::took(const char *name, std::uint32_t code)
{
    m_results.push_back(std::string(name) + ' ' + std::to_string(code));
}

std::size_t EveryExport::exportsCalled() const
{
    std::set<std::string> names;
    for (const std::string &result : m_results)
        names.insert(result.substr(0, result.find(' ')));
    return names.size();
}

void EveryExport::announced(DiscoveryHandle *record, void *context)
{
    auto &host = *static_cast<EveryExport *>(context);
    std::uint8_t dfu = 0;
    zelDfuGetMode(record, &dfu);
    const std::lock_guard guard(host.m_lock);
    DiscoveryHandle *&place = dfu != 0 ? host.m_dfuRecord : host.m_record;
    if (place == nullptr && record->kind == ZEL_PEN_ARRIVED)
        place = record;
    else
        zelFreeDiscoveryHandle(&record);
    host.m_changed.notify_all();
}

DiscoveryHandle *EveryExport::awaitRecord(DiscoveryHandle *&record)
{
    std::unique_lock lock(m_lock);
    m_changed.wait(lock, [&] { return record != nullptr; });
    return record;
}

void EveryExport::open()
{
    TOOK(zelInitialize, announced, announced, this);
    TOOK(zelDfuInit, this, announced, announced);
    TOOK(zelConnectPen, awaitRecord(m_record), &m_pen);
    TOOK(zelDfuConnectPen, &m_dfuPen, awaitRecord(m_dfuRecord));
}

void EveryExport::call()
{
    char *text = nullptr;
    char *more[3] = {};
    std::uint8_t *data = nullptr;
    std::uint8_t flag = 0;
    std::uint16_t words[5] = {};
    std::uint32_t number = 0;
    std::int32_t state = 0;
    std::uint64_t longs[2] = {};
    std::uint8_t bytes[8] = {};
    const std::uint8_t *const in = kData.data();
    constexpr std::uint32_t kSize = kData.size();

    TOOK(zelGetApiVersion, &text);
    TOOK(zelFreeString, &text);
    TOOK(zelGetDevicePenSerial, m_record, &text);
    TOOK(zelFreeString, &text);
    TOOK(zelGetDeviceVidAndPid, m_record, &words[0], &words[1]);
    TOOK(zelGetPenSerial, m_pen, &text);
    TOOK(zelFreeString, &text);
    TOOK(zelGetPenProductName, m_pen, &text);
    TOOK(zelFreeString, &text);

    TOOK(zelSetTime, m_pen, 1);
    TOOK(zelGetTime, m_pen, &longs[0], &longs[1]);
    TOOK(zelSetBluetoothEnabled, m_pen, 1);
    TOOK(zelGetBluetoothEnabled, m_pen, &flag);
    TOOK(zelSetBluetoothDiscoverableAllowed, m_pen, 1);
    TOOK(zelGetBluetoothDiscoverableAllowed, m_pen, &flag);
    TOOK(zelSetBluetoothPin, m_pen, "1234");
    TOOK(zelGetBluetoothPin, m_pen, &text);
    TOOK(zelFreeString, &text);
    TOOK(zelSetAutoPowerOff, m_pen, 5);
    TOOK(zelGetAutoPowerOff, m_pen, &words[0]);
    TOOK(zelSetWakeUpTime, m_pen, 60);
    TOOK(zelGetWakeUpTime, m_pen, &number);
    TOOK(zelGetPenRevisions, m_pen, &text, &more[0], &more[1], &more[2]);
    for (char **handedOut : {&text, &more[0], &more[1], &more[2]})
        TOOK(zelFreeString, handedOut);

    TOOK(zelGetPageList, m_pen, &text, &number);
    TOOK(zelGetPages, m_pen, text, progress, &data, &number);
    TOOK(zelFreePageData, &data);
    TOOK(zelFreePageList, &text);
    TOOK(zelGetAllPages, m_pen, progress, &data, &number);
    TOOK(zelFreePageData, &data);
    TOOK(zelRemovePage, m_pen, "1.2.3.4");
    TOOK(zelRemoveAllStrokes, m_pen);

    TOOK(zelSetPasswordData, m_pen, "", "secret", "a hint");
    TOOK(zelGetPasswordHint, m_pen, &text);
    TOOK(zelFreeString, &text);
    TOOK(zelUnlockPen, m_pen, "secret");
    TOOK(zelRemovePasswordData, m_pen, "secret");
    TOOK(zelGetPenLockedStatus, m_pen, &flag);

    TOOK(zelInstallCertificateAuthenticator, m_pen, in, kSize, in, kSize);
    TOOK(zelHasCertificateAuthenticator, m_pen, &flag);
    TOOK(zelInstallSigningKey, m_pen, 1, in, kSize, in, kSize, in, kSize, in, kSize, in, kSize, in, kSize, in,
         kSize, in, kSize);
    TOOK(zelHasSigningKey, m_pen, &flag);
    TOOK(zelClearSigningKey, m_pen);
    TOOK(zelInstallCertificate, m_pen, in, kSize);
    TOOK(zelGetCertificateInfo, m_pen, &words[0], &longs[0], &longs[1]);
    TOOK(zelClearCertificate, m_pen);
    TOOK(zelHasEncryptedData, m_pen, &flag);
    TOOK(zelGetEncryptedData, m_pen, 1, &data, &number);
    TOOK(zelFreePageData, &data);
    TOOK(zelClearEncryptedData, m_pen);

    TOOK(zelSetUserData, m_pen, "a", "b", "c");
    TOOK(zelGetUserData, m_pen, &text, &more[0], &more[1]);
    for (char **handedOut : {&text, &more[0], &more[1]})
        TOOK(zelFreeString, handedOut);
    TOOK(zelGetMemoryStatus, m_pen, &longs[0], &longs[1]);
    TOOK(zelGetBatteryStatus, m_pen, &words[0], &words[1], &words[2], &words[3], &words[4]);
    TOOK(zelGetSecureDeleteEnabled, m_pen, &flag);

    TOOK(zelDfuGetMode, m_dfuRecord, &flag);
    TOOK(zelDfuGetState, m_dfuPen, &state);
    TOOK(zelDfuGetStatus, m_dfuPen, bytes);
    TOOK(zelDfuGetFunctionalDescriptor, m_dfuPen, bytes);
    TOOK(zelDfuDownload, m_dfuPen, "\1\0\1\0x");
    TOOK(zelDfuClearStatus, m_dfuPen);
    TOOK(zelDfuAbort, m_dfuPen);
    TOOK(zelDfuDetach, m_dfuPen);
    TOOK(zelDfuDetachBoot, m_dfuPen);
    TOOK(zelDfuResetPort, m_dfuPen);

    TOOK(zelEnumeratePens);
}

void EveryExport::close()
{
    TOOK(zelDisconnectPen, &m_pen);
    TOOK(zelDfuDisconnectPen, &m_dfuPen);
    TOOK(zelExit);
    TOOK(zelDfuExit);
    TOOK(zelFreeDiscoveryHandle, &m_record);
    TOOK(zelFreeDiscoveryHandle, &m_dfuRecord);
}

} // namespace lifetime
