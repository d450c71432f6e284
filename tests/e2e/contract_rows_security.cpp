#include "contract_table.h"

#include "support/wire.h"

namespace contract {

namespace {

namespace wire = zel::test::wire;

constexpr std::uint8_t kData[] = {1, 2, 3, 4, 5, 6, 7, 8};

/** Whether a key or a certificate is there: a number other than 0, or anything that is neither a number
 *  nor null. */
Meaning presence()
{
    return [](const Sample &sample) {
        const bool number = sample.isOneOf({"bool", "byte", "short16", "int32", "long64"});
        return Expected{.outputs = sample.isNull() || (number && sample.number == 0) ? "0" : "1"};
    };
}

/** What all of these exports have in common. */
Row securityRow(Row row)
{
    row.threshold = 0x0503;
    row.unknownCode = 4;
    return row;
}

Row hasRow(const char *name, std::uint32_t (*call)(PenHandle *, std::uint8_t *), const Bytes &request,
           const Meaning &meaning)
{
    return securityRow({.name = name,
                        .call =
                            [=](PenHandle *pen) {
                                NumberOutput<std::uint8_t> flag;
                                const auto code = call(pen, flag.place());
                                return outcome(code, flag);
                            },
                        .exchanges = {{.request = request, .result = wire::byte(1), .meaning = meaning}},
                        .outputs = "1",
                        .refused = "-",
                        .failed = "-"});
}

Row clearRow(const char *name, std::uint32_t (*call)(PenHandle *), const Bytes &request,
             const Meaning &meaning)
{
    return securityRow({.name = name,
                        .call = [=](PenHandle *pen) { return outcome(call(pen)); },
                        .exchanges = {{.request = request, .result = wire::int32(1), .meaning = meaning}}});
}

} // namespace

std::vector<Row> securityRows() // NOLINT(readability-function-size): a table
{
    const Exchange fetched{.request = bytesOf("'R2SM' 01  00 03 0002"), .result = wire::int32(0)};
    const Exchange nothingFetched{.request = bytesOf("'R2SM' 01  00 03 0003"), .result = wire::int32(0)};

    return {
        securityRow(
            {.name = "zelInstallCertificateAuthenticator",
             .call =
                 [](PenHandle *pen) {
                     return outcome(zelInstallCertificateAuthenticator(pen, kData, 2, kData + 2, 3));
                 },
             .exchanges = {{.request = bytesOf("'R1SP' 02  00 03 2208"
                                               "  01 08 0002  07 00000002 01 02  07 00000003 03 04 05"),
                            .result = wire::int32(0),
                            .meaning = ignored()}}}),

        hasRow("zelHasCertificateAuthenticator", zelHasCertificateAuthenticator,
               bytesOf("'R1GP' 01  00 03 2208"), presence()),

        securityRow(
            {.name = "zelInstallSigningKey",
             .call =
                 [](PenHandle *pen) {
                     return outcome(zelInstallSigningKey(pen, 0xABCD, kData, 1, kData + 1, 1, kData + 2, 1,
                                                         kData + 3, 1, kData + 4, 1, kData + 5, 1, kData + 6,
                                                         1, kData + 7, 1));
                 },
             .exchanges = {{.request = bytesOf("'R1SP' 02  00 03 220A  01 08 0009  03 ABCD"
                                               "  07 00000001 01  07 00000001 02  07 00000001 03"
                                               "  07 00000001 04  07 00000001 05  07 00000001 06"
                                               "  07 00000001 07  07 00000001 08"),
                            .result = wire::int32(0),
                            .meaning = ignored()}},
             // The name is another export's.
             .unknownText = "[zelHasCertificateAuthenticator] failed, pen does not support the operation."}),

        hasRow("zelHasSigningKey", zelHasSigningKey, bytesOf("'R1GP' 01  00 03 220A"), presence()),

        clearRow("zelClearSigningKey", zelClearSigningKey, bytesOf("'R1SP' 02  00 03 220A  01 00"),
                 ignored()),

        securityRow({.name = "zelInstallCertificate",
                     .call = [](PenHandle *pen) { return outcome(zelInstallCertificate(pen, kData, 4)); },
                     .exchanges = {{.request = bytesOf("'R1SP' 02  00 03 2209  01 07 00000004 01 02 03 04"),
                                    .result = wire::int32(0),
                                    .meaning = ignored()}}}),

        securityRow({.name = "zelGetCertificateInfo",
                     .call =
                         [](PenHandle *pen) {
                             NumberOutput<std::uint16_t> number;
                             NumberOutput<std::uint64_t> value1, value2;
                             const auto code =
                                 zelGetCertificateInfo(pen, number.place(), value1.place(), value2.place());
                             return outcome(code, number, value1, value2);
                         },
                     .exchanges = {{.request = bytesOf("'R1GP' 01  00 03 2209"),
                                    .result = wire::list({wire::short16(7), wire::long64(1700000000123),
                                                          wire::long64(1800000000123)}),
                                    .meaning = list()}},
                     .outputs = "7 1700000000123 1800000000123",
                     .refused = "0 0 0",
                     .failed = "0 0 0"}),

        clearRow("zelClearCertificate", zelClearCertificate, bytesOf("'R1SP' 02  00 03 2209  01 00"),
                 ignored()),

        hasRow("zelHasEncryptedData", zelHasEncryptedData, bytesOf("'U0HE' 00"), number(8)),

        securityRow(
            {.name = "zelGetEncryptedData",
             .call =
                 [](PenHandle *pen) {
                     DataOutput data;
                     const auto code =
                         zelGetEncryptedData(pen, 0x1122334455667788, data.place(), data.length());
                     return outcome(code, data);
                 },
             .exchanges = {{.request = bytesOf("'U0HE' 00"), // the argument reaches no pen
                            .result = wire::byte(1),
                            .meaning =
                                [=](const Sample &sample) {
                                    // A pen without encrypted data is told that nothing was fetched.
                                    return (sample.number & 0xFF) != 0
                                               ? Expected{}
                                               : Expected{.code = 1, .rest = {{nothingFetched}}};
                                }},
                           {.request = bytesOf("'R2SM' 01  00 03 0001"),
                            .result = wire::int32(0),
                            .meaning = ignored()},
                           {.request = bytesOf("'U0PE' 00"),
                            .result = wire::binary({9, 8, 7}),
                            .meaning =
                                [](const Sample &sample) {
                                    return sample.type == "binary" ? Expected{.outputs = "bytes 10 255 (2)"}
                                           : sample.type == "escaped binary"
                                               ? Expected{.outputs = "bytes 65 (1)"}
                                               : Expected{.code = 11};
                                }},
                           {.request = fetched.request, .result = fetched.result, .meaning = ignored()}},
             .outputs = "bytes 9 8 7 (3)",
             .refused = "null (0)",
             .failed = "null (0)"}),

        clearRow("zelClearEncryptedData", zelClearEncryptedData, bytesOf("'U0DE' 00"),
                 [](const Sample &sample) { return Expected{.code = sample.number != 0 ? 0u : 1u}; }),
    };
}

} // namespace contract
