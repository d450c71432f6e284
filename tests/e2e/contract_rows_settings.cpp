#include "contract_table.h"

#include "support/wire.h"

namespace contract {

namespace {

namespace wire = zel::test::wire;

/** A clock, shown by # in the outputs: any type but a long64 is a complaint and 0. */
Meaning clock(const std::string &name, const std::string &outputs)
{
    return [=](const Sample &sample) {
        if (sample.type == "long64")
            return Expected{.outputs = with(outputs, "1311768467463790320")};
        const std::string type = sample.isNull() ? "null" : sample.type;
        return Expected{
            .outputs = with(outputs, "0"),
            .log = Lines{error("Wrong type for " + name + " property. Expected VALUE_LONG64, got " + type)}};
    };
}

const Bytes kRevisions =
    wire::list({wire::string("5.3"), wire::string("HW_3D_1"), wire::string("C"), wire::string("boot 2"),
                wire::string("E"), wire::string("loader 7"), wire::short16(0x0102)});

} // namespace

std::vector<Row> settingsRows() // NOLINT(readability-function-size): a table
{
    return {
        {.name = "zelSetTime",
         .call = [](PenHandle *pen) { return outcome(zelSetTime(pen, 0x18BCFE5687B)); },
         .entry = Lines{debug("[zelSetTime] 0x18bcfe5687b millis since 1970, GMT")}, // no mark of its own
         .exchanges = {{.request = bytesOf("'R1SP' 02  00 03 2021  01 05 0000018BCFE5687B"),
                        .result = wire::int32(0),
                        .meaning = ignored()}}},

        {.name = "zelGetTime",
         .call =
             [](PenHandle *pen) {
                 NumberOutput<std::uint64_t> penTime, systemTime;
                 const auto code = zelGetTime(pen, penTime.place(), systemTime.place());
                 return outcome(code, penTime, systemTime);
             },
         .exchanges = {{.request = bytesOf("'R1GP' 01  00 03 2021"),
                        .result = wire::long64(1700000000123),
                        .meaning = clock("PEN_TIME", "# 1700000000456")},
                       {.request = bytesOf("'R1GP' 01  00 03 0021"),
                        .result = wire::long64(1700000000456),
                        .meaning = clock("SYSTEM_TIME", "1700000000123 #")}},
         .outputs = "1700000000123 1700000000456",
         .refused = "0 0",
         .failed = "0 0",
         .lockedText = "[zelGetTime failed, pen is locked"}, // hosts may search for it: no bracket

        {.name = "zelSetBluetoothEnabled",
         .logName = "zelSetBtEnabled",
         .call = [](PenHandle *pen) { return outcome(zelSetBluetoothEnabled(pen, 200)); },
         .entry = Lines{debug("[zelSetBtEnabled]"), debug("[zelSetBtEnabled] newValue= '200'"),
                        info("Set 'BT enabled' in pen to 'true'")},
         .exchanges = {{.request = bytesOf("'R1SP' 02  00 03 202E  01 01 01"), // any flag but 0 is sent as 1
                        .result = wire::int32(0),
                        .meaning = ignored()}}},

        {.name = "zelGetBluetoothEnabled",
         .logName = "zelGetBtEnabled",
         .call =
             [](PenHandle *pen) {
                 NumberOutput<std::uint8_t> flag;
                 const auto code = zelGetBluetoothEnabled(pen, flag.place());
                 return outcome(code, flag);
             },
         .exchanges = {{.request = bytesOf("'R1GP' 01  00 03 202E"),
                        .result = wire::boolean(true),
                        .meaning = flag("Read 'BT enabled' from pen: Value: "),
                        .log = {info("Read 'BT enabled' from pen: Value: true")}}},
         .outputs = "1",
         .refused = "0",
         .failed = "0"},

        {.name = "zelSetBluetoothDiscoverableAllowed",
         .logName = "zelSetBtDiscoverableAllowed",
         .call = [](PenHandle *pen) { return outcome(zelSetBluetoothDiscoverableAllowed(pen, 0)); },
         .entry = Lines{debug("[zelSetBtDiscoverableAllowed]"),
                        debug("[zelSetBtDiscoverableAllowed] newValue= '0'"),
                        info("Set 'discoverable allowed' in pen to 'false'")},
         .exchanges = {{.request = bytesOf("'R1SP' 02  00 03 2204  01 01 00"),
                        .result = wire::int32(0),
                        .meaning = ignored()}}},

        {.name = "zelGetBluetoothDiscoverableAllowed",
         .logName = "zelGetBtDiscoverableAllowed",
         .call =
             [](PenHandle *pen) {
                 NumberOutput<std::uint8_t> flag;
                 const auto code = zelGetBluetoothDiscoverableAllowed(pen, flag.place());
                 return outcome(code, flag);
             },
         .exchanges = {{.request = bytesOf("'R1GP' 01  00 03 2204"),
                        .result = wire::boolean(false),
                        .meaning = flag("Read 'discoverable allowed' from pen: Value: "),
                        .log = {info("Read 'discoverable allowed' from pen: Value: false")}}},
         .outputs = "0",
         .refused = "0",
         .failed = "0"},

        {.name = "zelSetBluetoothPin",
         .logName = "zelSetBtPin",
         .call = [](PenHandle *pen) { return outcome(zelSetBluetoothPin(pen, "1234")); },
         .exchanges = {{.request = bytesOf("'R1GP' 01  00 03 0010"), .result = kRevisions, .meaning = list()},
                       {.request = bytesOf("'R1GP' 01  00 03 0001"),
                        .result = wire::short16(0x0503),
                        .meaning = ignored()}, // no sample is the version that would matter
                       {.request = bytesOf("'R1SP' 02  00 03 2203  01 06 0005 '1234' 00"),
                        .result = wire::int32(0),
                        .meaning = ignored()}}},

        {.name = "zelGetBluetoothPin",
         .logName = "zelGetBtPin",
         .call =
             [](PenHandle *pen) {
                 TextOutput pin;
                 const auto code = zelGetBluetoothPin(pen, pin.place());
                 return outcome(code, pin);
             },
         .exchanges = {{.request = bytesOf("'R1GP' 01  00 03 2203"),
                        .result = wire::string("0042"),
                        .meaning =
                            [](const Sample &sample) {
                                return Expected{.outputs = '"' + (sample.isNull() ? "" : sample.text) + '"'};
                            }}},
         .outputs = "\"0042\"",
         .refused = "-", // not cleared first
         .failed = "-"},

        {.name = "zelSetAutoPowerOff",
         .call = [](PenHandle *pen) { return outcome(zelSetAutoPowerOff(pen, 0xFFFF)); },
         .exchanges = {{.request = bytesOf("'R1SP' 02  00 03 202A  01 03 FFFF"),
                        .result = wire::int32(0),
                        .meaning = ignored()}}},

        {.name = "zelGetAutoPowerOff",
         .call =
             [](PenHandle *pen) {
                 NumberOutput<std::uint16_t> value;
                 const auto code = zelGetAutoPowerOff(pen, value.place());
                 return outcome(code, value);
             },
         .exchanges = {{.request = bytesOf("'R1GP' 01  00 03 202A"),
                        .result = wire::short16(600),
                        .meaning = number(16, "short16", "[zelGetAutoPowerOff] bad type.")}},
         .outputs = "600",
         .refused = "-",
         .failed = "-"},

        {.name = "zelSetWakeUpTime",
         .threshold = 0x0502,
         .call = [](PenHandle *pen) { return outcome(zelSetWakeUpTime(pen, 86400)); },
         .exchanges = {{.request = bytesOf("'R1SP' 02  00 03 2207  01 04 00015180"),
                        .result = wire::int32(0),
                        .meaning = ignored()}}},

        {.name = "zelGetWakeUpTime",
         .threshold = 0x0502,
         .call =
             [](PenHandle *pen) {
                 NumberOutput<std::uint32_t> seconds;
                 const auto code = zelGetWakeUpTime(pen, seconds.place());
                 return outcome(code, seconds);
             },
         .exchanges = {{.request = bytesOf("'R1GP' 01  00 03 2207"),
                        .result = wire::int32(3600),
                        .meaning = number(32, "int32", "[zelGetWakeUpTime] bad type.")}},
         .outputs = "3600",
         .refused = "-",
         .failed = "-"},

        {.name = "zelGetPenRevisions",
         .call =
             [](PenHandle *pen) {
                 TextOutput a, b, c, d;
                 const auto code = zelGetPenRevisions(pen, a.place(), b.place(), c.place(), d.place());
                 return outcome(code, a, b, c, d);
             },
         .exchanges = {{.request = bytesOf("'R1GP' 01  00 03 0010"),
                        .result = kRevisions,
                        .meaning = list()}},
         .outputs = "\"5.3\" \"HW_3D_1\" \"boot 2\" \"loader 7\"", // elements 0, 1, 3 and 5
         .refused = "- - - -",                                     // not cleared first
         .failed = "- - - -"},
    };
}

} // namespace contract
