#include "api/call_frame.h"
#include "protocol/values/value_convert.h"
#include "psp/property_ids.h"
#include "session/pen_handle.h"
#include "sys/byte_block.h"

#include <algorithm>
#include <array>
#include <span>

using namespace zel;

namespace {

/** The frame of these exports. Pens support the operations since one software version, but some newer pens
 *  still answer that they do not know them. */
constexpr CallFrame securityFrame(const char *name)
{
    return {.logName = name, .minVersion = 0x0503, .catches = Catches::UnknownInstruction};
}

/** The frame of exports that are given secrets. */
constexpr CallFrame secretFrame(const char *name)
{
    CallFrame frame = securityFrame(name);
    frame.handlesSecrets = true;
    return frame;
}

constexpr CallFrame secretFrame(const char *name, const char *unknownText)
{
    CallFrame frame = secretFrame(name);
    frame.unknownText = unknownText;
    return frame;
}

/** A byte array from the host. */
struct HostBytes {
    const std::uint8_t *data;
    std::uint32_t length;

    /** The pointer may be null if the length is 0. */
    bool given() const noexcept { return data != nullptr || length == 0; }
    Value toValue() const { return Value::createBinary(data, length); }
    Value toSecret() const { return Value::createSecretBinary({data, length}); }
};

bool given(std::span<const HostBytes> arrays) noexcept
{
    return std::all_of(arrays.begin(), arrays.end(), [](const HostBytes &bytes) { return bytes.given(); });
}

void appendSecrets(ValueList &list, std::span<const HostBytes> arrays)
{
    for (const HostBytes &bytes : arrays)
        list.push_back(bytes.toSecret());
}

std::uint32_t hasProperty(const CallFrame &frame, PenHandle *pen, std::uint16_t id, std::uint8_t *flag)
{
    return frame.run(pen, {required(flag)}, [&] {
        const Value value = pen->psp().getValueProperty(id);
        *flag = isNonZero(value);
        return ZEL_OK;
    });
}

std::uint32_t clearProperty(const CallFrame &frame, PenHandle *pen, std::uint16_t id)
{
    return frame.run(pen, {}, [&] {
        pen->psp().setValueProperty(id, Value::createNull());
        return ZEL_OK;
    });
}

std::uint8_t hasEncryptedData(PspClient2 &psp)
{
    return toNumber<std::uint8_t>(psp.hasEncryptedData());
}

/** What the pen shows its user during the operation. */
enum MmiState : std::uint16_t { kFetching = 1, kFetched = 2, kNothingFetched = 3 };

} // namespace

uint32_t zelInstallCertificateAuthenticator(PenHandle *pen, const uint8_t *data1, uint32_t length1,
                                            const uint8_t *data2, uint32_t length2)
{
    static constexpr CallFrame frame = secretFrame("zelInstallCertificateAuthenticator");
    const HostBytes arrays[] = {{data1, length1}, {data2, length2}};
    return frame.run(pen, {given(arrays)}, [&] {
        if (length2 == 0)
            return ZEL_ERR_INVALID_ARGUMENT;
        ValueList list;
        appendSecrets(list, arrays);
        pen->psp().setValueProperty(property::CERTIFICATE_AUTHENTICATOR,
                                    Value::createValueArray(std::move(list)));
        return ZEL_OK;
    });
}

uint32_t zelHasCertificateAuthenticator(PenHandle *pen, uint8_t *flag)
{
    static constexpr CallFrame frame = securityFrame("zelHasCertificateAuthenticator");
    return hasProperty(frame, pen, property::CERTIFICATE_AUTHENTICATOR, flag);
}

uint32_t zelInstallSigningKey(PenHandle *pen, uint16_t number, const uint8_t *data1, uint32_t length1,
                              const uint8_t *data2, uint32_t length2, const uint8_t *data3, uint32_t length3,
                              const uint8_t *data4, uint32_t length4, const uint8_t *data5, uint32_t length5,
                              const uint8_t *data6, uint32_t length6, const uint8_t *data7, uint32_t length7,
                              const uint8_t *data8, uint32_t length8)
{
    // The text names another export. It is fixed.
    static constexpr CallFrame frame =
        secretFrame("zelInstallSigningKey",
                    "[zelHasCertificateAuthenticator] failed, pen does not support the operation.");
    const HostBytes arrays[] = {{data1, length1}, {data2, length2}, {data3, length3}, {data4, length4},
                                {data5, length5}, {data6, length6}, {data7, length7}, {data8, length8}};
    return frame.run(pen, {given(arrays)}, [&] {
        ValueList list;
        list.push_back(Value::createShort(number));
        appendSecrets(list, arrays);
        pen->psp().setValueProperty(property::SIGNING_KEY, Value::createValueArray(std::move(list)));
        return ZEL_OK;
    });
}

uint32_t zelHasSigningKey(PenHandle *pen, uint8_t *flag)
{
    static constexpr CallFrame frame = securityFrame("zelHasSigningKey");
    return hasProperty(frame, pen, property::SIGNING_KEY, flag);
}

uint32_t zelClearSigningKey(PenHandle *pen)
{
    static constexpr CallFrame frame = securityFrame("zelClearSigningKey");
    return clearProperty(frame, pen, property::SIGNING_KEY);
}

uint32_t zelInstallCertificate(PenHandle *pen, const uint8_t *data, uint32_t length)
{
    static constexpr CallFrame frame = securityFrame("zelInstallCertificate");
    const HostBytes certificate{data, length};
    return frame.run(pen, {certificate.given()}, [&] {
        pen->psp().setValueProperty(property::CERTIFICATE, certificate.toValue());
        return ZEL_OK;
    });
}

uint32_t zelGetCertificateInfo(PenHandle *pen, uint16_t *number, uint64_t *value1, uint64_t *value2)
{
    static constexpr CallFrame frame = securityFrame("zelGetCertificateInfo");
    return frame.run(
        pen, {preset<uint16_t>(number, 0), preset<uint64_t>(value1, 0), preset<uint64_t>(value2, 0)}, [&] {
            const Value value = pen->psp().getValueProperty(property::CERTIFICATE);
            const ValueList &info = value.getArray();
            const Value &last = elementAt(info, 2); // first: if it throws, no output is written
            *number = toNumber<std::uint16_t>(elementAt(info, 0));
            *value1 = toNumber<std::uint64_t>(elementAt(info, 1));
            *value2 = toNumber<std::uint64_t>(last);
            return ZEL_OK;
        });
}

uint32_t zelClearCertificate(PenHandle *pen)
{
    static constexpr CallFrame frame = securityFrame("zelClearCertificate");
    return clearProperty(frame, pen, property::CERTIFICATE);
}

uint32_t zelHasEncryptedData(PenHandle *pen, uint8_t *flag)
{
    static constexpr CallFrame frame = securityFrame("zelHasEncryptedData");
    return frame.run(pen, {required(flag)}, [&] {
        *flag = hasEncryptedData(pen->psp());
        return ZEL_OK;
    });
}

// The argument is reserved. It is not sent to the pen.
uint32_t zelGetEncryptedData(PenHandle *pen, uint64_t /*argument*/, uint8_t **data, uint32_t *length)
{
    static constexpr CallFrame frame = securityFrame("zelGetEncryptedData");
    return frame.run(pen, {cleared(data), preset<uint32_t>(length, 0)}, [&] {
        PspClient2 &psp = pen->psp();
        if (hasEncryptedData(psp) == 0) {
            psp.setMmiState(kNothingFetched);
            return ZEL_ERR_INVALID_ARGUMENT;
        }
        psp.setMmiState(kFetching);
        const Value answer = psp.getEncryptedData();
        std::uint32_t size = 0;
        const std::uint8_t *bytes = answer.getBinary(&size);
        ByteBlock block = allocateBlock(size);
        std::copy_n(bytes, size, block.get());
        psp.setMmiState(kFetched);
        *data = block.release();
        *length = size;
        return ZEL_OK;
    });
}

uint32_t zelClearEncryptedData(PenHandle *pen)
{
    static constexpr CallFrame frame = securityFrame("zelClearEncryptedData");
    return frame.run(pen, {}, [&] {
        const Value answer = pen->psp().clearEncryptedData();
        return toNumber<std::uint64_t>(answer) != 0 ? ZEL_OK : ZEL_ERR_INVALID_ARGUMENT;
    });
}
