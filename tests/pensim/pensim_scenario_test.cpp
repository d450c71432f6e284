#include "pensim/scenario.h"

#include "pensim/instructions.h"
#include "pensim/schema.h"

#include "exchanges.h"

#include <gtest/gtest.h>

namespace {

using pensim::Value;

std::string failureOf(const std::string &text)
{
    try {
        pensim::parseScenario(text);
    } catch (const std::runtime_error &error) {
        return error.what();
    }
    return "";
}

pensim::PenSpec penOf(const std::string &text)
{
    return pensim::pensOf(pensim::parsedJson(text)).at(0);
}

TEST(PensimScenario, DefaultHasTheFourPens)
{
    const auto pens = pensim::defaultScenario().pens;
    ASSERT_EQ(pens.size(), 4u);
    EXPECT_EQ(pens[0].protocols.back(), "PSP41");
    EXPECT_EQ(pens[0].pages.front().size(), 200u);
    EXPECT_EQ(pens[0].pages.back().size(), 1048576u);
    EXPECT_EQ(pens[1].protocols, std::vector<std::string>{"PSP40"});
    EXPECT_EQ(pens[1].softwareVersion, 0x0502u);
    EXPECT_FALSE(pens[2].password.empty());
    EXPECT_TRUE(pens[3].dfuMode);
}

TEST(PensimScenario, PenHasWhatTheTextSays)
{
    const auto pen = penOf(R"({
        "id": "0x12300abcdef", "brand": "B", "software_version": "0x0502", "protocols": ["PSP40", "PSP10"],
        "vendor_id": "0xf055", "product_id": 2, "port": 40000, "docked": false, "mode": "firmware-upgrade",
        "password": "p", "hint": "h", "locked": false, "encrypted_data": "01 02",
        "chaining_value": "0102030405060708090a0b0c0d0e0f101112131415161718191a1b1c1d1e1f20",
        "properties": {"0x2203": {"string": "9999"}, "33": {"long64": "0xffffffffffffffff"}},
        "pages": [{"address": "1.2.3.4", "hex": "c0ff ee", "listed_size": 9}],
        "stylo_pages": [{"address": "1.2.3.5", "size": 3, "seed": 4}],
        "dfu": {"software_version": 257, "protocols": ["X"], "manifestation_tolerant": false, "detach_timeout": 5,
                "transfer_size": 64, "block_ms": 2, "manifest_ms": 3, "fail_at_block": 7, "image_file": "image.bin"}
    })");
    EXPECT_EQ(pen.id, 0x12300abcdefu);
    EXPECT_EQ(pen.brand, "B");
    EXPECT_EQ(pen.softwareVersion, 0x0502u);
    EXPECT_EQ(pen.protocols, (std::vector<std::string>{"PSP40", "PSP10"}));
    EXPECT_EQ(pen.vendorId, 0xf055);
    EXPECT_EQ(pen.productId, 2);
    EXPECT_EQ(pen.port, 40000);
    EXPECT_FALSE(pen.docked);
    EXPECT_TRUE(pen.dfuMode);
    EXPECT_EQ(pen.password, "p");
    EXPECT_EQ(pen.hint, "h");
    EXPECT_EQ(pen.locked, false);
    EXPECT_EQ(pen.encryptedData, (pensim::Bytes{1, 2}));
    EXPECT_EQ(pen.chainingValue[31], 0x20);
    EXPECT_EQ(pen.properties.at(0x2203), Value::string("9999"));
    EXPECT_EQ(pen.properties.at(33), Value::long64(~0ull));
    ASSERT_EQ(pen.pages.size(), 1u);
    EXPECT_EQ(pen.pages[0].strokes, Value::binary({0xc0, 0xff, 0xee}));
    EXPECT_EQ(pen.pages[0].size(), 9u);
    EXPECT_EQ(pen.styloPages.at(0).strokes, Value::binary(pensim::generatedStrokes(3, 4)));
    EXPECT_EQ(pen.dfu.softwareVersion, 257u);
    EXPECT_EQ(pen.dfu.protocols, std::vector<std::string>{"X"});
    EXPECT_FALSE(pen.dfu.manifestationTolerant);
    EXPECT_EQ(pen.dfu.detachTimeout, 5);
    EXPECT_EQ(pen.dfu.transferSize, 64);
    EXPECT_EQ(pen.dfu.blockTime.count(), 2);
    EXPECT_EQ(pen.dfu.manifestTime.count(), 3);
    EXPECT_EQ(pen.dfu.failAtBlock, 7u);
    EXPECT_EQ(pen.dfu.imageFile, "image.bin");
}

TEST(PensimScenario, CountMakesPagesWithAddressesThatFollow)
{
    const auto pen = penOf(R"({"id": 1, "pages": [{"address": "1.2.3.4093", "size": 5, "count": 3}]})");
    ASSERT_EQ(pen.pages.size(), 3u);
    EXPECT_EQ(pensim::pageAddressText(pen.pages[1].address), "1.2.3.4094");
    EXPECT_EQ(pensim::pageAddressText(pen.pages[2].address), "1.2.4.0"); // 4095 is a missing field
}

TEST(PensimScenario, EveryTypeOfValueCanBeGiven)
{
    const auto pen = penOf(R"({"id": 1, "properties": {"1": {"array": [
        {"null": true}, {"bool": true}, {"byte": 2}, {"short16": 3}, {"int32": 4}, {"long64": 5}, {"string": "six"},
        {"binary": "07"}, {"data_array": {"type": "short16", "items": [{"short16": 9}]}},
        {"terminated_array": [{"byte": 10}]}, {"escaped_binary": "c0"}, {"any": true}]}}})");
    EXPECT_EQ(pen.properties.at(1),
              Value::array({Value::null(), Value::boolean(true), Value::byte(2), Value::short16(3),
                            Value::int32(4), Value::long64(5), Value::string("six"), Value::binary({7}),
                            Value::dataArray(pensim::Type::short16, {Value::short16(9)}),
                            Value::terminatedArray({Value::byte(10)}), Value::escapedBinary({0xc0}),
                            Value::any()}));
}

TEST(PensimScenario, FaultsBecomeRules)
{
    const auto scenario = pensim::parseScenario(R"({
        "pens": [{"id": 1, "faults": [
            {"instruction": "R1GP", "argument": "0x2021", "occurrence": 2, "status": -9002},
            {"instruction": "U0PG", "cut_after": 7, "delay_ms": 5},
            {"instruction": "U0PI", "bytes": "0800", "ending": "reset"},
            {"instruction": "U0YB", "value": {"int32": 0}, "executed": false},
            {"connection": true, "ending": "close"}]}],
        "rendezvous": {"fragment": 3, "fragment_pause_ms": 4, "faults": [{"list": true, "bytes": "00"}]}
    })");
    const auto &rules = scenario.pens.at(0).rules;
    ASSERT_EQ(rules.size(), 4u);
    EXPECT_EQ(rules[0].code, pensim::instruction::getProperty);
    EXPECT_EQ(rules[0].argument, 0x2021u);
    EXPECT_EQ(rules[0].occurrence, 2u);
    EXPECT_EQ(rules[0].reply.status, -9002);
    EXPECT_FALSE(rules[0].reply.executed);
    EXPECT_EQ(rules[1].reply.cutAfter, 7u);
    EXPECT_EQ(rules[1].reply.ending, pensim::Ending::close);
    EXPECT_EQ(rules[1].reply.delay.count(), 5);
    EXPECT_TRUE(rules[1].reply.executed);
    EXPECT_EQ(rules[2].reply.bytes, (pensim::Bytes{8, 0}));
    EXPECT_EQ(rules[2].reply.ending, pensim::Ending::reset);
    EXPECT_EQ(rules[3].reply.value, Value::int32(0));
    EXPECT_FALSE(rules[3].reply.executed);
    EXPECT_EQ(scenario.pens[0].connectionRules.size(), 1u);
    EXPECT_EQ(scenario.rendezvous.fragment, 3u);
    EXPECT_EQ(scenario.rendezvous.fragmentPause.count(), 4);
    EXPECT_EQ(scenario.rendezvous.listRules.size(), 1u);
}

TEST(PensimScenario, ChainingValueOfTheScenarioIsEveryPens)
{
    const auto scenario = pensim::parseScenario(R"({"chaining_value": ")" + std::string(64, '7') +
                                                R"(", "pens": [{"id": 1}]})");
    EXPECT_EQ(scenario.pens[0].chainingValue[5], 0x77);
}

std::string withPen(const std::string &keys)
{
    return R"({"pens": [{"id": 1, )" + keys + "}]}";
}

std::string withFault(const std::string &keys)
{
    return withPen(R"("faults": [{"instruction": "R1GP", )" + keys + "}]");
}

TEST(PensimScenario, ErrorsNameThePlace)
{
    const std::pair<std::string, std::string> cases[] = {
        {R"([])", "scenario must be an object"},
        {R"({"pans": []})", "scenario has an unknown key \"pans\""},
        {R"({"pens": {}})", "scenario.pens must be a list"},
        {R"({"pens": [{}]})", "scenario.pens[0] lacks \"id\""},
        {withPen(R"("colour": 2)"), "scenario.pens[0] has an unknown key \"colour\""},
        {R"({"pens": [{"id": -1}]})",
         "scenario.pens[0].id must be a number of 64 bits that is not negative, as such "
         "or as a text (\"0x1f\")"},
        {R"({"pens": [{"id": "0xg"}]})",
         "scenario.pens[0].id must be a number of 64 bits that is not negative, as "
         "such or as a text (\"0x1f\")"},
        {R"({"pens": [{"id": 1}, {"id": "0x1"}]})", "scenario.pens has the id 0x1 twice"},
        {R"({"pens": [{"id": 1, "count": 3}, {"id": 3}]})", "scenario.pens has the id 0x3 twice"},
        {R"({"pens": [{"id": "0xffffffffffffffff", "count": 2}]})",
         "scenario.pens[0].count is more than ids follow"},
        {withPen(R"("port": 5000, "count": 2)"),
         "scenario.pens[0].port must be 0 where there is more than one such pen"},
        {withPen(R"("port": 65536)"),
         "scenario.pens[0].port must be a number from 0 to 65535, as such or as a text (\"0x1f\")"},
        {withPen(R"("software_version": 65536)"), "scenario.pens[0].software_version must be a number from 0 "
                                                  "to 65535, as such or as a text (\"0x1f\")"},
        {withPen(R"("software_version": "65536")"),
         "scenario.pens[0].software_version must be at most 65535"},
        {withPen(R"("docked": 1)"), "scenario.pens[0].docked must be true or false"},
        {withPen(R"("brand": 1)"), "scenario.pens[0].brand must be a text"},
        {withPen(R"("mode": "x")"),
         "scenario.pens[0].mode must be one of \"ordinary\", \"firmware-upgrade\""},
        {withPen(R"("password": "12345678901234567890123456789012")"),
         "scenario.pens[0].password must have at most 31 characters"},
        {withPen(R"("chaining_value": "00")"),
         "scenario.pens[0].chaining_value must have 64 hexadecimal digits"},
        {withPen(R"("encrypted_data": "123")"),
         "scenario.pens[0].encrypted_data has an odd number of hexadecimal digits"},
        {withPen(R"("encrypted_data": "zz")"),
         "scenario.pens[0].encrypted_data must be a text of hexadecimal digits"},
        {withPen(R"("pages": [{"address": "1"}])"),
         "scenario.pens[0].pages[0].address must be a page address (\"1.2.3.4\")"},
        {withPen(R"("pages": [{"address": "4096.2.3.4"}])"),
         "scenario.pens[0].pages[0].address is no page address: bad page address 4096.2.3.4"},
        {withPen(R"("pages": [{"address": "4094.4094.65534.4094.4093", "count": 3}])"),
         "scenario.pens[0].pages[0].count is more than addresses follow 4094.4094.65534.4094.4093"},
        {withPen(R"("pages": [{"address": "1.2.3.4", "count": 4294967295}])"),
         "scenario.pens[0].pages[0].count must be a number from 1 to 65535"},
        {withPen(R"("pages": [{"address": "1.2.3.4", "count": 65535}, {"address": "1.2.3.4"}])"),
         "scenario.pens[0].pages are more than 65535 pages"},
        {withPen(R"("memory": 99, "pages": [{"address": "1.2.3.4", "size": 100}])"),
         "scenario.pens[0].memory is less than the pages take, 100 bytes"},
        {withPen(R"("properties": {"1": {"float": 1}})"),
         "scenario.pens[0].properties.1 has an unknown key \"float\""},
        {withPen(R"("properties": {"1": 5})"), "scenario.pens[0].properties.1 must be an object"},
        {withPen(R"("properties": {"1": {}})"),
         "scenario.pens[0].properties.1 must be an object with one key, the type of the value"},
        {withPen(R"("properties": {"1": {"byte": 256}})"),
         "scenario.pens[0].properties.1.byte must be at most 255"},
        {withPen(R"("properties": {"1": {"null": true}, "0x1": {"null": true}})"),
         "scenario.pens[0].properties.1 stands there twice"},
        {withPen(R"("properties": {"1": {"data_array": {"type": "byte", "items": [{"string": "x"}]}}})"),
         "scenario.pens[0].properties.1.data_array.items[0] must be of the array's type, byte"},
        {withPen(R"("faults": [{"instruction": "ABCD"}])"),
         "scenario.pens[0].faults[0].instruction must be one of \"*\", \"R1GP\", \"R1SP\", \"U0PI\", "
         "\"U0YB\", "
         "\"U0YE\", \"U0PG\", \"U0PY\", \"R2SM\", \"U0PR\", \"R1DS\", \"R1GL\", \"R1UL\", \"R1PS\", "
         "\"R1GT\", \"R1ST\", \"U0HE\", \"U0PE\", \"U0DE\", \"V000\", \"V001\", \"V002\", \"V003\", "
         "\"V005\", \"V006\", \"V007\", \"V008\", \"V009\""},
        {withFault(R"("ending": "x")"),
         "scenario.pens[0].faults[0].ending must be one of \"none\", \"close\", \"reset\""},
        {withFault(R"("status": 18446744073709551615)"),
         "scenario.pens[0].faults[0].status must be a signed number of 32 bits"},
        {withFault(R"("status": 2147483648)"),
         "scenario.pens[0].faults[0].status must be a signed number of 32 bits"},
        {withFault(R"("status": -2147483649)"),
         "scenario.pens[0].faults[0].status must be a signed number of 32 bits"},
        {withFault(R"("connection": true)"),
         "scenario.pens[0].faults[0] must have either \"instruction\" or \"connection\""},
        {withPen(R"("faults": [{"connection": false}])"),
         "scenario.pens[0].faults[0].connection must be true"},
        {withPen(R"("faults": [{"list": true}])"), "scenario.pens[0].faults[0] has an unknown key \"list\""},
        {withPen(R"("brand": "a", "brand": "b")"), "the key \"brand\" stands twice in one object"},
    };
    for (const auto &[text, message] : cases)
        EXPECT_EQ(failureOf(text), message) << text;
    EXPECT_NE(failureOf("{"), "");
}

TEST(PensimScenario, DeeplyNestedValueIsRefused)
{
    for (const std::size_t depth : {200u, 20000u, 1000000u})
        EXPECT_EQ(failureOf(withPen(R"("properties": {"1": )" + nested(depth, R"({"array": [)", "]}") + "}")),
                  "nested more than 100 deep");
    EXPECT_EQ(failureOf(withPen(R"("properties": {"1": )" + nested(40, R"({"array": [)", "]}") + "}")), "");
}

TEST(PensimScenario, SchemaKnowsEveryInstructionThatAPenKnows)
{
    for (const char *code : {"R1GP", "R1SP", "U0PI", "U0YB", "U0YE", "U0PG", "U0PY", "R2SM", "U0PR",
                             "R1DS", "R1GL", "R1UL", "R1PS", "R1GT", "R1ST", "U0HE", "U0PE", "U0DE",
                             "V000", "V001", "V002", "V003", "V005", "V006", "V007", "V008", "V009"}) {
        EXPECT_NE(pensim::findInstruction(pensim::fourCc(code)), nullptr) << code;
        EXPECT_NO_THROW(pensim::checkAgainstSchema(code, "instruction", "instruction")) << code;
    }
    EXPECT_EQ(pensim::schemaAt("/definitions/instruction/enum").size(), 27u + 1); // and "*"
    EXPECT_EQ(pensim::instructionCount(), 27u);
}

TEST(PensimScenario, WhatIsWrittenReadsAsTheSame)
{
    const std::string text = R"({"pens": [
        {"id": "0x0000000000000005", "brand": "B", "software_version": "0x0601", "protocols": ["PSP40", "PSP41"],
         "vendor_id": "0xf055", "product_id": "0x0002", "port": 4711, "mode": "firmware-upgrade", "docked": false,
         "memory": 100000, "busy": true, "password": "p", "hint": "h", "locked": false, "encrypted_data": "0102",
         "chaining_value": "0102030405060708090a0b0c0d0e0f101112131415161718191a1b1c1d1e1f20",
         "properties": {"0x0001": {"array": [{"null": true}, {"bool": true}, {"byte": 2}, {"short16": 3},
             {"int32": 4}, {"long64": 5}, {"string": "six"}, {"binary": "07"},
             {"data_array": {"type": "short16", "items": [{"short16": 9}]}}, {"terminated_array": [{"byte": 10}]},
             {"escaped_binary": "c0"}, {"any": true}]}},
         "pages": [{"address": "1.2.3.4", "hex": "c0ffee", "listed_size": 9}, {"address": "1.2.3.5", "size": 100}],
         "stylo_pages": [{"address": "1.2.3.6", "size": 7}],
         "dfu": {"protocols": ["X"], "software_version": 257, "manifestation_tolerant": false, "detach_timeout": 5,
                 "transfer_size": 64, "block_ms": 2, "manifest_ms": 3, "fail_at_block": 7, "image_file": "image.bin"},
         "faults": [{"instruction": "R1GP", "argument": 33, "occurrence": 2, "status": -9002},
                    {"instruction": "*", "value": {"int32": 0}, "executed": false, "delay_ms": 5},
                    {"instruction": "U0PI", "bytes": "0800", "cut_after": 1, "ending": "reset"},
                    {"connection": true, "ending": "close"}]},
        {"id": "0x0000000000000006"}],
        "rendezvous": {"fragment": 3, "fragment_pause_ms": 4, "faults": [{"list": true, "bytes": "00"},
                                                                         {"connection": true, "ending": "close"}]}})";
    const auto written = pensim::scenarioJson(pensim::parseScenario(text));
    EXPECT_EQ(nlohmann::json(written), pensim::parsedJson(text)) << written.dump(2);
    EXPECT_EQ(failureOf(written.dump()), "");
}

TEST(PensimScenario, CountMakesPensWithIdsThatFollow)
{
    const auto pens = pensim::parseScenario(R"({"pens": [{"id": 7, "count": 3, "brand": "Many"}]})").pens;
    ASSERT_EQ(pens.size(), 3u);
    EXPECT_EQ(pens[2].id, 9u);
    EXPECT_EQ(pens[2].brand, "Many");
}

TEST(PensimScenario, FileThatCannotBeReadIsNamed)
{
    EXPECT_THROW(pensim::loadScenario("/nonexistent/scenario.json"), std::runtime_error);
}

} // namespace
