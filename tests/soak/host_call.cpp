#include "host_call.h"

#include "failure.h"

#include <algorithm>
#include <array>
#include <string>

namespace soak {

namespace {

/** Texts that a call hands out: all of them when it succeeds, none when it fails. */
template <std::size_t N>
class Texts
{
public:
    ~Texts()
    {
        for (char *&text : m_texts)
            zelFreeString(&text);
    }
    char **operator[](std::size_t i) { return &m_texts[i]; }

    std::uint32_t handedOut(std::uint32_t code) const
    {
        for (const char *text : m_texts)
            if ((text != nullptr) != (code == ZEL_OK))
                throw Failure(code == ZEL_OK ? "no text although it succeeded" : "a text although it failed");
        return code;
    }

private:
    std::array<char *, N> m_texts{};
};

std::string textOf(Random &random, std::size_t longest)
{
    std::string text(random.below(longest + 1), ' ');
    for (char &character : text)
        character = static_cast<char>('!' + random.below(94));
    return text;
}

std::vector<std::uint8_t> bytesOf(Random &random, std::size_t longest)
{
    std::vector<std::uint8_t> bytes(random.below(longest + 1));
    for (std::uint8_t &byte : bytes)
        byte = static_cast<std::uint8_t>(random.next());
    return bytes;
}

template <class Number, std::uint32_t (*get)(PenHandle *, Number *)>
std::uint32_t number(PenHandle *pen, Random &)
{
    Number out{};
    return get(pen, &out);
}

template <std::uint32_t (*get)(PenHandle *, char **)>
std::uint32_t text(PenHandle *pen, Random &)
{
    Texts<1> out;
    return out.handedOut(get(pen, out[0]));
}

template <std::uint32_t (*set)(PenHandle *, std::uint8_t)>
std::uint32_t flag(PenHandle *pen, Random &random)
{
    return set(pen, static_cast<std::uint8_t>(random.below(2)));
}

template <std::uint32_t (*call)(PenHandle *)>
std::uint32_t bare(PenHandle *pen, Random &)
{
    return call(pen);
}

std::uint32_t pageData(std::uint32_t code, std::uint8_t *data, std::uint32_t length)
{
    const bool handedOut = data != nullptr;
    if (handedOut && length > 0)
        data[length - 1] = data[0]; // the whole block is the host's
    zelFreePageData(&data);
    if (handedOut != (code == ZEL_OK) || (length != 0) != handedOut)
        throw Failure("page data and code do not fit together");
    return code;
}

void onProgress(const char *, std::uint32_t, std::uint32_t) {}

std::uint32_t getAllPages(PenHandle *pen, Random &random)
{
    std::uint8_t *data = nullptr;
    std::uint32_t length = 0;
    const std::uint32_t code = zelGetAllPages(pen, random.oneIn(2) ? onProgress : nullptr, &data, &length);
    return pageData(code, data, length);
}

std::string somePages(Random &random)
{
    std::string list;
    for (std::uint64_t i = random.below(4); i != 0; --i)
        list += "1.2.3." + std::to_string(random.below(8)) + ";";
    return list;
}

std::uint32_t getPages(PenHandle *pen, Random &random)
{
    std::uint8_t *data = nullptr;
    std::uint32_t length = 0;
    const std::uint32_t code = zelGetPages(pen, somePages(random).c_str(), onProgress, &data, &length);
    return pageData(code, data, length);
}

std::uint32_t getPageList(PenHandle *pen, Random &)
{
    char *list = nullptr;
    std::uint32_t bytes = 0;
    const std::uint32_t code = zelGetPageList(pen, &list, &bytes);
    const bool handedOut = list != nullptr;
    zelFreePageList(&list);
    if (handedOut != (code == ZEL_OK))
        throw Failure("page list and code do not fit together");
    return code;
}

std::uint32_t removePage(PenHandle *pen, Random &random)
{
    return zelRemovePage(pen, ("1.2.3." + std::to_string(random.below(8))).c_str());
}

std::uint32_t getTime(PenHandle *pen, Random &)
{
    std::uint64_t penTime = 0;
    std::uint64_t systemTime = 0;
    return zelGetTime(pen, &penTime, &systemTime);
}

std::uint32_t getRevisions(PenHandle *pen, Random &)
{
    Texts<4> out;
    return out.handedOut(zelGetPenRevisions(pen, out[0], out[1], out[2], out[3]));
}

// One password for all pens, now and then a wrong one.
std::string password(Random &random)
{
    return random.oneIn(8) ? textOf(random, 40) : "geheim";
}

std::uint32_t unlock(PenHandle *pen, Random &random)
{
    return zelUnlockPen(pen, password(random).c_str());
}

std::uint32_t setPassword(PenHandle *pen, Random &random)
{
    return zelSetPasswordData(pen, password(random).c_str(), password(random).c_str(),
                              textOf(random, 20).c_str());
}

std::uint32_t removePassword(PenHandle *pen, Random &random)
{
    return zelRemovePasswordData(pen, password(random).c_str());
}

std::uint32_t installAuthenticator(PenHandle *pen, Random &random)
{
    const auto first = bytesOf(random, 300);
    const auto second = bytesOf(random, 300);
    return zelInstallCertificateAuthenticator(pen, first.data(), static_cast<std::uint32_t>(first.size()),
                                              second.data(), static_cast<std::uint32_t>(second.size()));
}

std::uint32_t installKey(PenHandle *pen, Random &random)
{
    const auto part = bytesOf(random, 300);
    const std::uint8_t *data = part.data();
    const auto length = static_cast<std::uint32_t>(part.size());
    return zelInstallSigningKey(pen, static_cast<std::uint16_t>(random.next()), data, length, data, length,
                                data, length, data, length, data, length, data, length, data, length, data,
                                length);
}

std::uint32_t installCertificate(PenHandle *pen, Random &random)
{
    const auto data = bytesOf(random, 2000);
    return zelInstallCertificate(pen, data.data(), static_cast<std::uint32_t>(data.size()));
}

std::uint32_t certificateInfo(PenHandle *pen, Random &)
{
    std::uint16_t kind = 0;
    std::uint64_t first = 0;
    std::uint64_t second = 0;
    return zelGetCertificateInfo(pen, &kind, &first, &second);
}

std::uint32_t encryptedData(PenHandle *pen, Random &random)
{
    std::uint8_t *data = nullptr;
    std::uint32_t length = 0;
    const std::uint32_t code = zelGetEncryptedData(pen, random.next(), &data, &length);
    const bool handedOut = data != nullptr;
    zelFreePageData(&data);
    if (code != ZEL_OK && handedOut)
        throw Failure("data although it failed");
    return code;
}

std::uint32_t setUserData(PenHandle *pen, Random &random)
{
    return zelSetUserData(pen, textOf(random, 50).c_str(), textOf(random, 500).c_str(),
                          textOf(random, 5).c_str());
}

std::uint32_t getUserData(PenHandle *pen, Random &)
{
    Texts<3> out;
    return out.handedOut(zelGetUserData(pen, out[0], out[1], out[2]));
}

std::uint32_t memoryStatus(PenHandle *pen, Random &)
{
    std::uint64_t used = 0;
    std::uint64_t total = 0;
    return zelGetMemoryStatus(pen, &used, &total);
}

std::uint32_t batteryStatus(PenHandle *pen, Random &)
{
    std::array<std::uint16_t, 5> out{};
    return zelGetBatteryStatus(pen, &out[0], &out[1], &out[2], &out[3], &out[4]);
}

} // namespace

const std::vector<HostCall> &hostCalls()
{
    static const std::vector<HostCall> calls{
        {"zelGetPenSerial", text<zelGetPenSerial>},
        {"zelGetPenProductName", text<zelGetPenProductName>},
        {"zelSetTime", [](PenHandle *pen, Random &random) { return zelSetTime(pen, random.next() >> 20); }},
        {"zelGetTime", getTime},
        {"zelSetBluetoothEnabled", flag<zelSetBluetoothEnabled>},
        {"zelGetBluetoothEnabled", number<std::uint8_t, zelGetBluetoothEnabled>},
        {"zelSetBluetoothDiscoverableAllowed", flag<zelSetBluetoothDiscoverableAllowed>},
        {"zelGetBluetoothDiscoverableAllowed", number<std::uint8_t, zelGetBluetoothDiscoverableAllowed>},
        {"zelSetBluetoothPin",
         [](PenHandle *pen, Random &random) { return zelSetBluetoothPin(pen, textOf(random, 20).c_str()); }},
        {"zelGetBluetoothPin", text<zelGetBluetoothPin>},
        {"zelSetAutoPowerOff",
         [](PenHandle *pen, Random &random) {
             return zelSetAutoPowerOff(pen, static_cast<std::uint16_t>(random.next()));
         }},
        {"zelGetAutoPowerOff", number<std::uint16_t, zelGetAutoPowerOff>},
        {"zelSetWakeUpTime",
         [](PenHandle *pen, Random &random) {
             return zelSetWakeUpTime(pen, static_cast<std::uint32_t>(random.below(200000)));
         }},
        {"zelGetWakeUpTime", number<std::uint32_t, zelGetWakeUpTime>},
        {"zelGetPenRevisions", getRevisions},
        {"zelGetPageList", getPageList},
        {"zelGetPages", getPages},
        {"zelGetAllPages", getAllPages},
        {"zelRemovePage", removePage},
        {"zelRemoveAllStrokes", bare<zelRemoveAllStrokes>},
        {"zelUnlockPen", unlock},
        {"zelSetPasswordData", setPassword},
        {"zelRemovePasswordData", removePassword},
        {"zelGetPasswordHint", text<zelGetPasswordHint>},
        {"zelGetPenLockedStatus", number<std::uint8_t, zelGetPenLockedStatus>},
        {"zelInstallCertificateAuthenticator", installAuthenticator},
        {"zelHasCertificateAuthenticator", number<std::uint8_t, zelHasCertificateAuthenticator>},
        {"zelInstallSigningKey", installKey},
        {"zelHasSigningKey", number<std::uint8_t, zelHasSigningKey>},
        {"zelClearSigningKey", bare<zelClearSigningKey>},
        {"zelInstallCertificate", installCertificate},
        {"zelGetCertificateInfo", certificateInfo},
        {"zelClearCertificate", bare<zelClearCertificate>},
        {"zelHasEncryptedData", number<std::uint8_t, zelHasEncryptedData>},
        {"zelGetEncryptedData", encryptedData},
        {"zelClearEncryptedData", bare<zelClearEncryptedData>},
        {"zelSetUserData", setUserData},
        {"zelGetUserData", getUserData},
        {"zelGetMemoryStatus", memoryStatus},
        {"zelGetBatteryStatus", batteryStatus},
        {"zelGetSecureDeleteEnabled", number<std::uint8_t, zelGetSecureDeleteEnabled>},
    };
    return calls;
}

void expectPossible(const char *call, std::uint32_t code)
{
    static constexpr std::array kPossible{ZEL_OK,
                                          ZEL_ERR_INVALID_ARGUMENT,
                                          ZEL_ERR_PEN_LOCKED,
                                          ZEL_ERR_COMMUNICATION,
                                          ZEL_ERR_NOT_SUPPORTED,
                                          ZEL_ERR_VALUE_OUT_OF_RANGE,
                                          ZEL_ERR_SYNC_BUSY,
                                          ZEL_ERR_UNEXPECTED};
    if (std::find(kPossible.begin(), kPossible.end(), code) == kPossible.end())
        throw Failure(std::string(call) + " returned " + std::to_string(code));
}

} // namespace soak
