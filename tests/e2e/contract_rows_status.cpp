#include "contract_table.h"

#include "support/wire.h"

namespace contract {

namespace {

namespace wire = zel::test::wire;

/** A text of the user data, shown by # in the outputs; an empty value is an empty text. */
Meaning userText(const std::string &outputs)
{
    return [=](const Sample &sample) {
        return Expected{.outputs = with(outputs, sample.isNull() ? "" : sample.text)};
    };
}

/** A list of what the pen is like, eight elements of which the last is its memory. */
const Bytes kRange = wire::list({wire::short16(11), wire::short16(12), wire::null(), wire::null(),
                                 wire::null(), wire::null(), wire::null(), wire::int32(4194304)});

} // namespace

std::vector<Row> statusRows() // NOLINT(readability-function-size): a table
{
    return {
        {.name = "zelSetUserData",
         .call = [](PenHandle *pen) { return outcome(zelSetUserData(pen, "", "b@c", "+1")); },
         .exchanges = {{.request = bytesOf("'R1SP' 02  00 03 200B  01 06 0004 'b@c' 00"),
                        .result = wire::int32(0),
                        .meaning = ignored()},
                       {.request = bytesOf("'R1SP' 02  00 03 200C  01 06 0003 '+1' 00"),
                        .result = wire::int32(0),
                        .meaning = ignored()},
                       // Text A, empty here, and seventeen empty texts.
                       {.request = bytesOf("'R1SP' 02  00 03 200A  01 08 0012  06 0001 00"
                                           "  06 0001 00  06 0001 00  06 0001 00  06 0001 00  06 0001 00"
                                           "  06 0001 00  06 0001 00  06 0001 00  06 0001 00  06 0001 00"
                                           "  06 0001 00  06 0001 00  06 0001 00  06 0001 00  06 0001 00"
                                           "  06 0001 00  06 0001 00"),
                        .result = wire::int32(0),
                        .meaning = ignored()}},
         .lockedText = "[TarselPen::getUserData] failed, pen is locked", // the other export's
         .connectionText = "[TarselPen::setUserData] failed, pen not connected"},

        {.name = "zelGetUserData",
         .call =
             [](PenHandle *pen) {
                 TextOutput a, b, c;
                 const auto code = zelGetUserData(pen, a.place(), b.place(), c.place());
                 return outcome(code, a, b, c);
             },
         .exchanges = {{.request = bytesOf("'R1GP' 01  00 03 201A"),
                        .result = wire::list({}),
                        .meaning = anyList()},
                       {.request = bytesOf("'R1GP' 01  00 03 200C"),
                        .result = wire::string("C"),
                        .meaning = userText("\"A\" \"B\" \"#\"")},
                       {.request = bytesOf("'R1GP' 01  00 03 200B"),
                        .result = wire::string("B"),
                        .meaning = userText("\"A\" \"#\" \"C\"")},
                       {.request = bytesOf("'R1GP' 01  00 03 200A"),
                        .result = wire::list({wire::string("A"), wire::string("not this")}),
                        .meaning =
                            [](const Sample &sample) {
                                return sample.isArray() ? Expected{.outputs = "\"(bool) true\" \"B\" \"C\""}
                                                        : Expected{.code = 11};
                            }}},
         .outputs = "\"A\" \"B\" \"C\"",
         .refused = "null null null",
         .failed = "null null null",
         .lockedText = "[TarselPen::getUserData] failed, pen is locked",
         .connectionText = "[TarselPen::getUserData] failed, pen not connected: %s"},

        {.name = "zelGetMemoryStatus",
         .call =
             [](PenHandle *pen) {
                 NumberOutput<std::uint64_t> used, total;
                 const auto code = zelGetMemoryStatus(pen, used.place(), total.place());
                 return outcome(code, used, total);
             },
         .exchanges = {{.request = bytesOf("'R1GP' 01  00 03 0003"),
                        .result = wire::int32(1048576),
                        .meaning =
                            [](const Sample &sample) {
                                // More free than there is: the number wraps.
                                return Expected{.outputs =
                                                    std::to_string(4194304 - sample.number) + " 4194304"};
                            }},
                       {.request = bytesOf("'R1GP' 01  00 03 001A"), .result = kRange, .meaning = list()}},
         .outputs = "3145728 4194304",
         .refused = "18446744073709551615 18446744073709551615",
         .failed = "18446744073709551615 18446744073709551615"},

        {.name = "zelGetBatteryStatus",
         .call =
             [](PenHandle *pen) {
                 NumberOutput<std::uint16_t> v0, v1, v2, v3, v4;
                 const auto code =
                     zelGetBatteryStatus(pen, v0.place(), v1.place(), v2.place(), v3.place(), v4.place());
                 return outcome(code, v0, v1, v2, v3, v4);
             },
         .exchanges = {{.request = bytesOf("'R1GP' 01  00 03 000E"),
                        .result = wire::list({wire::short16(80), wire::short16(1), wire::short16(2),
                                              wire::short16(3), wire::short16(0xFFFF)}),
                        .meaning = list()},
                       {.request = bytesOf("'R1GP' 01  00 03 001A"), .result = kRange, .meaning = list()}},
         .outputs = "80 1 2 3 65535",
         .refused = "65535 65535 65535 65535 65535",
         .failed = "65535 65535 65535 65535 65535"},

        {.name = "zelGetSecureDeleteEnabled",
         .threshold = 0x0502,
         .call =
             [](PenHandle *pen) {
                 NumberOutput<std::uint8_t> flag;
                 const auto code = zelGetSecureDeleteEnabled(pen, flag.place());
                 return outcome(code, flag);
             },
         .exchanges = {{.request = bytesOf("'R1GP' 01  00 03 002A"),
                        .result = wire::boolean(true),
                        .meaning = flag("Read 'Secure delete enabled' from pen: Value: "),
                        .log = {info("Read 'Secure delete enabled' from pen: Value: true")}}},
         .outputs = "1",
         .refused = "-",
         .failed = "0"},
    };
}

} // namespace contract
