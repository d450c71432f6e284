#include "announced_pen.h"
#include "contract_table.h"

#include <array>
#include <gtest/gtest.h>
#include <utility>

namespace {

using namespace contract;
using e2e::AnnouncedPen;
namespace wire = zel::test::wire;

using CertificateAuthenticator = e2e::OnBench<>;
using SigningKey = e2e::OnBench<>;
using Certificate = e2e::OnBench<>;
using CertificateInfo = e2e::OnBench<>;
using HasSigningKey = e2e::OnBench<>;
using EncryptedData = e2e::OnBench<>;
using SecurityExports = e2e::OnBench<>;

constexpr std::uint8_t kData[] = {1, 2, 3};

TEST_F(CertificateAuthenticator, NeedsItsSecondArray)
{
    AnnouncedPen pen;
    EXPECT_EQ(zelInstallCertificateAuthenticator(pen.handle(), kData, 3, nullptr, 3),
              ZEL_ERR_INVALID_ARGUMENT);
    EXPECT_EQ(zelInstallCertificateAuthenticator(pen.handle(), kData, 3, kData, 0), ZEL_ERR_INVALID_ARGUMENT);
    EXPECT_EQ(zelInstallCertificateAuthenticator(pen.handle(), kData, 3, nullptr, 0),
              ZEL_ERR_INVALID_ARGUMENT);
    EXPECT_EQ(zelInstallCertificateAuthenticator(pen.handle(), nullptr, 3, kData, 3),
              ZEL_ERR_INVALID_ARGUMENT);
    EXPECT_EQ(pen.requests(), std::vector<Bytes>{});
}

TEST_F(CertificateAuthenticator, FirstArrayMayBeEmpty)
{
    AnnouncedPen pen;
    for (const std::uint8_t *data : {kData, static_cast<const std::uint8_t *>(nullptr)}) {
        pen.answer({.bytes = wire::status(0)});
        EXPECT_EQ(zelInstallCertificateAuthenticator(pen.handle(), data, 0, kData, 1), ZEL_OK);
    }
    const Bytes request = bytesOf("'R1SP' 02  00 03 2208  01 08 0002  07 00000000  07 00000001 01");
    EXPECT_EQ(pen.requests(), (std::vector<Bytes>{request, request}));
}

struct KeyPart {
    const std::uint8_t *data;
    std::uint32_t length;
};
using KeyParts = std::array<KeyPart, 8>;

std::uint32_t installSigningKey(PenHandle *pen, const KeyParts &k)
{
    return zelInstallSigningKey(pen, 7, k[0].data, k[0].length, k[1].data, k[1].length, k[2].data,
                                k[2].length, k[3].data, k[3].length, k[4].data, k[4].length, k[5].data,
                                k[5].length, k[6].data, k[6].length, k[7].data, k[7].length);
}

TEST_F(SigningKey, EmptyPartsAreEmptyByteArrays)
{
    AnnouncedPen pen;
    pen.answer({.bytes = wire::status(0)});
    KeyParts parts{};
    parts[7] = {kData, 2};
    EXPECT_EQ(installSigningKey(pen.handle(), parts), ZEL_OK);
    EXPECT_EQ(pen.requests(),
              std::vector<Bytes>{bytesOf("'R1SP' 02  00 03 220A  01 08 0009  03 0007"
                                         "  07 00000000  07 00000000  07 00000000  07 00000000"
                                         "  07 00000000  07 00000000  07 00000000  07 00000002 01 02")});
}

TEST_F(SigningKey, PartWithALengthAndNoDataIsRefused)
{
    AnnouncedPen pen;
    for (std::size_t missing = 0; missing < 8; ++missing) {
        KeyParts parts;
        parts.fill({kData, 3});
        parts[missing].data = nullptr;
        EXPECT_EQ(installSigningKey(pen.handle(), parts), ZEL_ERR_INVALID_ARGUMENT) << missing;
    }
    EXPECT_EQ(pen.requests(), std::vector<Bytes>{});
}

TEST_F(Certificate, WithALengthAndNoDataIsRefused)
{
    AnnouncedPen pen;
    EXPECT_EQ(zelInstallCertificate(pen.handle(), nullptr, 1), ZEL_ERR_INVALID_ARGUMENT);
    EXPECT_EQ(pen.requests(), std::vector<Bytes>{});
    pen.answer({.bytes = wire::status(0)});
    EXPECT_EQ(zelInstallCertificate(pen.handle(), nullptr, 0), ZEL_OK);
    EXPECT_EQ(pen.requests(), std::vector<Bytes>{bytesOf("'R1SP' 02  00 03 2209  01 07 00000000")});
}

std::string certificateInfo(const Bytes &answer, std::uint32_t code)
{
    AnnouncedPen pen;
    pen.answer({.bytes = wire::result(answer)});
    NumberOutput<std::uint16_t> number;
    NumberOutput<std::uint64_t> value1, value2;
    EXPECT_EQ(zelGetCertificateInfo(pen.handle(), number.place(), value1.place(), value2.place()), code);
    return outcome(code, number, value1, value2).outputs;
}

TEST_F(CertificateInfo, ItemsOfOtherTypesAreConverted)
{
    EXPECT_EQ(certificateInfo(bytesOf("08 0003  04 00012345  01 01  03 FFFF"), ZEL_OK), "9029 1 65535");
    EXPECT_EQ(certificateInfo(bytesOf("08 0004  06 0002 '7' 00  00  05 8000000000000000  00"), ZEL_OK),
              "0 0 9223372036854775808");
    EXPECT_EQ(certificateInfo(bytesOf("09 0003 03  0001 0002 0003"), ZEL_OK), "1 2 3");
    EXPECT_EQ(certificateInfo(bytesOf("0A  02 01  02 02  02 03  0B"), ZEL_OK), "1 2 3");
    EXPECT_EQ(certificateInfo(bytesOf("08 0003  0F  0F  0F"), ZEL_OK), "0 0 0");
}

TEST_F(CertificateInfo, ShortListLeavesZeros)
{
    EXPECT_EQ(certificateInfo(bytesOf("08 0002  03 0001  05 0000000000000002"), ZEL_ERR_UNEXPECTED), "0 0 0");
    EXPECT_EQ(certificateInfo(bytesOf("08 0000"), ZEL_ERR_UNEXPECTED), "0 0 0");
}

TEST_F(HasSigningKey, ZeroOfAnyNumericTypeIsNoKey)
{
    AnnouncedPen pen;
    for (const char *zero : {"01 00", "02 00", "03 0000", "04 00000000", "05 0000000000000000"}) {
        pen.answer({.bytes = wire::result(bytesOf(zero))});
        std::uint8_t flag = 0xFF;
        EXPECT_EQ(zelHasSigningKey(pen.handle(), &flag), ZEL_OK);
        EXPECT_EQ(flag, 0) << zero;
    }
}

TEST_F(HasSigningKey, EmptyTextOrListIsAKey)
{
    AnnouncedPen pen;
    for (const char *something : {"06 0001 00", "07 00000000", "08 0000", "05 0000000100000000"}) {
        pen.answer({.bytes = wire::result(bytesOf(something))});
        std::uint8_t flag = 0xFF;
        EXPECT_EQ(zelHasSigningKey(pen.handle(), &flag), ZEL_OK);
        EXPECT_EQ(flag, 1) << something;
    }
}

TEST_F(EncryptedData, WithoutAnyThePenIsToldThatNothingWasFetched)
{
    AnnouncedPen pen;
    pen.answer({.bytes = wire::status(0)});
    pen.answer({.bytes = wire::status(0)});
    DataOutput data;
    EXPECT_EQ(zelGetEncryptedData(pen.handle(), 0, data.place(), data.length()), ZEL_ERR_INVALID_ARGUMENT);
    EXPECT_EQ(data.show(), "null (0)");
    EXPECT_EQ(pen.requests(), (std::vector<Bytes>{bytesOf("'U0HE' 00"), bytesOf("'R2SM' 01  00 03 0003")}));
}

TEST_F(EncryptedData, OfNoBytesIsStillABlock)
{
    AnnouncedPen pen;
    pen.answer({.bytes = wire::status(1)});
    pen.answer({.bytes = wire::status(0)});
    pen.answer({.bytes = wire::result(bytesOf("07 00000000"))});
    pen.answer({.bytes = wire::status(0)});
    DataOutput data;
    EXPECT_EQ(zelGetEncryptedData(pen.handle(), 0, data.place(), data.length()), ZEL_OK);
    EXPECT_EQ(data.show(), "bytes (0)");
}

TEST_F(EncryptedData, PresenceIsTheAnswersLowByte)
{
    AnnouncedPen pen;
    pen.answer({.bytes = wire::result(wire::int32(0x0100))});
    std::uint8_t flag = 0xFF;
    EXPECT_EQ(zelHasEncryptedData(pen.handle(), &flag), ZEL_OK);
    EXPECT_EQ(flag, 0);
}

TEST_F(EncryptedData, ThatThePenDoesNotClearIsAnInvalidArgument)
{
    AnnouncedPen pen;
    pen.answer({.bytes = wire::status(0)});
    EXPECT_EQ(zelClearEncryptedData(pen.handle()), ZEL_ERR_INVALID_ARGUMENT);
}

TEST_F(SecurityExports, NullOutputIsRefusedWithoutARequest)
{
    AnnouncedPen pen;
    PenHandle *const handle = pen.handle();
    std::uint16_t number = 0;
    std::uint64_t value = 0;
    std::uint8_t *data = nullptr;
    std::uint32_t length = 0;
    EXPECT_EQ(zelHasCertificateAuthenticator(handle, nullptr), ZEL_ERR_INVALID_ARGUMENT);
    EXPECT_EQ(zelHasSigningKey(handle, nullptr), ZEL_ERR_INVALID_ARGUMENT);
    EXPECT_EQ(zelHasEncryptedData(handle, nullptr), ZEL_ERR_INVALID_ARGUMENT);
    EXPECT_EQ(zelGetCertificateInfo(handle, nullptr, &value, &value), ZEL_ERR_INVALID_ARGUMENT);
    EXPECT_EQ(zelGetCertificateInfo(handle, &number, nullptr, &value), ZEL_ERR_INVALID_ARGUMENT);
    EXPECT_EQ(zelGetCertificateInfo(handle, &number, &value, nullptr), ZEL_ERR_INVALID_ARGUMENT);
    EXPECT_EQ(zelGetEncryptedData(handle, 0, nullptr, &length), ZEL_ERR_INVALID_ARGUMENT);
    EXPECT_EQ(zelGetEncryptedData(handle, 0, &data, nullptr), ZEL_ERR_INVALID_ARGUMENT);
    EXPECT_EQ(pen.requests(), std::vector<Bytes>{});
}

} // namespace
