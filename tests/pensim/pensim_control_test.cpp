#include "pensim/control_port.h"

#include "exchanges.h"
#include "pensim/schema.h"
#include "pensim/state_json.h"
#include "tcp_client.h"

#include <fstream>
#include <gtest/gtest.h>
#include <random>
#include <thread>

namespace {

using namespace std::chrono_literals;
using namespace zel::test;
using exchange::kGetVersion;
using exchange::kListPages;
using nlohmann::json;

constexpr std::uint64_t kNotebook = 0x12300abcdef;

// A client of the control port: a line for a line.
class ControlClient
{
public:
    explicit ControlClient(std::uint16_t port) : m_client(port) {}
    void send(const std::string &line)
    {
        const std::string whole = line + "\n";
        m_client.send(Bytes(whole.begin(), whole.end()));
    }
    json receive()
    {
        std::string line;
        for (Bytes byte = m_client.receive(1); !byte.empty() && byte[0] != '\n'; byte = m_client.receive(1))
            line += static_cast<char>(byte[0]);
        return json::parse(line, nullptr, false);
    }
    bool ended() { return m_client.ended(); }

private:
    TcpClient m_client;
};

enum class Door { words, port };

// Every command goes through the door that the test is run for: as a line of words, or as JSON through the
// control port.
class PensimControl : public testing::TestWithParam<Door>
{
protected:
    void SetUp() override { m_service.start(); }

    void openPort()
    {
        m_port = std::make_unique<pensim::ControlPort>(m_service, m_control, 0, [this] { m_quit = true; });
        m_client = std::make_unique<ControlClient>(m_port->port());
    }

    json run(const std::string &words, const std::string &object)
    {
        if (GetParam() == Door::words)
            return json::parse(m_control.runLineAndWait(words).toJsonLine());
        if (!m_client)
            openPort();
        m_client->send(object);
        return m_client->receive();
    }

    json dataOf(const std::string &words, const std::string &object)
    {
        const json answer = run(words, object);
        EXPECT_EQ(answer["ok"], true) << answer;
        return answer.value("data", json());
    }

    std::string errorOf(const std::string &words, const std::string &object)
    {
        const json answer = run(words, object);
        EXPECT_EQ(answer["ok"], false) << answer;
        return answer.value("error", "");
    }

    // The answer of the pen's service, as far as it is `length` bytes long.
    Bytes ask(const Bytes &request, std::size_t length)
    {
        TcpClient client(m_service.pen(kNotebook).port());
        client.send(request);
        return client.receive(length);
    }

    pensim::Pen &notebook() { return m_service.pen(kNotebook); }

    pensim::Service m_service{{.rendezvousPort = 0, .record = false, .log = {}}, pensim::defaultScenario()};
    pensim::Control m_control{m_service};
    std::atomic<bool> m_quit = false;
    std::unique_ptr<pensim::ControlPort> m_port;
    std::unique_ptr<ControlClient> m_client;
};

INSTANTIATE_TEST_SUITE_P(Doors, PensimControl, testing::Values(Door::words, Door::port),
                         [](const auto &test) { return test.param == Door::words ? "Words" : "Port"; });

TEST_P(PensimControl, PensAreNamedBySerialIdOrNumber)
{
    for (const std::string name : {"AKZ-AQ7-APS-AC", "0x12300abcdef", "0x0000012300abcdef"}) {
        dataOf("undock " + name, R"({"command": "undock", "pen": ")" + name + "\"}");
        EXPECT_FALSE(notebook().docked());
        dataOf("dock " + name, R"({"command": "dock", "pen": ")" + name + "\"}");
        EXPECT_TRUE(notebook().docked());
    }
    // It is listed last since it came back.
    dataOf("undock 4", R"({"command": "undock", "pen": 4})");
    EXPECT_FALSE(notebook().docked());
    EXPECT_EQ(errorOf("undock 4", R"({"command": "undock", "pen": 4})"),
              "pen 0000012300abcdef is not docked");
    EXPECT_EQ(errorOf("undock 5", R"({"command": "undock", "pen": 5})"), "there is no pen 5");
    EXPECT_EQ(errorOf("undock", R"({"command": "undock"})"), "pen is missing: undock PEN");
    EXPECT_EQ(errorOf("undock 1 2", R"({"command": "undock", "pen": 1, "pan": 2})").substr(0, 15),
              "undock takes no");
}

TEST_P(PensimControl, ListTellsEveryPenAsItIsAnnounced)
{
    const json pens = dataOf("list", R"({"command": "list"})");
    ASSERT_EQ(pens.size(), 4u);
    EXPECT_EQ(pens[0]["serial"], "AKZ-AQ7-APS-AC");
    EXPECT_EQ(pens[0]["software_version"], "0x0601");
    EXPECT_EQ(pens[0]["protocols"], json({"PSP40", "PSP41"}));
    EXPECT_EQ(pens[2]["locked"], true);
    EXPECT_EQ(pens[3]["mode"], "firmware-upgrade");
    EXPECT_EQ(pens[3]["software_version"], "0x0100"); // that of its boot loader
    EXPECT_EQ(pens[3]["protocols"], json({"DFUPSP10"}));
}

TEST_P(PensimControl, NewPensAreDockedAsInAScenario)
{
    dataOf(R"(dock {"id": 7, "brand": "New"})", R"({"command": "dock", "pen": {"id": 7, "brand": "New"}})");
    EXPECT_TRUE(m_service.pen(7).docked());
    dataOf(R"(dock {"id": 100, "count": 3})", R"({"command": "dock", "pen": {"id": 100, "count": 3}})");
    EXPECT_TRUE(m_service.pen(102).docked());
    EXPECT_EQ(errorOf(R"(dock {"brand": "New"})", R"({"command": "dock", "pen": {"brand": "New"}})"),
              "pen lacks \"id\"");
    EXPECT_EQ(errorOf("dock {", "{"), errorOf("dock {", "{")); // no JSON, but an answer
}

TEST_P(PensimControl, PenThatCannotBeDockedLeavesNothingBehind)
{
    const std::string port = std::to_string(m_service.rendezvousPort());
    const std::string taken = R"({"id": 7, "port": )" + port + "}";
    EXPECT_NE(errorOf("dock " + taken, R"({"command": "dock", "pen": )" + taken + "}").find("in use"),
              std::string::npos);
    EXPECT_EQ(m_service.pens().size(), 4u);
    // The second of three is there already, so none of them stays.
    dataOf(R"(dock {"id": 8})", R"({"command": "dock", "pen": {"id": 8}})");
    errorOf(R"(dock {"id": 7, "count": 3})", R"({"command": "dock", "pen": {"id": 7, "count": 3}})");
    EXPECT_EQ(m_service.pens().size(), 5u);
    dataOf(R"(dock {"id": 7})", R"({"command": "dock", "pen": {"id": 7}})");
}

TEST_P(PensimControl, DeeplyNestedCommandIsRefused)
{
    const std::string value = nested(30000, R"({"array": [)", "]}");
    const std::string pen = R"({"id": 7, "properties": {"1": )" + value + "}}";
    EXPECT_EQ(errorOf("dock " + pen, R"({"command": "dock", "pen": )" + pen + "}"),
              "nested more than 100 deep");
    EXPECT_EQ(dataOf("list", R"({"command": "list"})").size(), 4u);
}

TEST_P(PensimControl, SettingsOfAPenAreSet)
{
    pensim::Pen &pen = notebook();
    dataOf("lock 1", R"({"command": "lock", "pen": 1})");
    EXPECT_TRUE(pen.locked());
    dataOf("set 1 locked false", R"({"command": "set", "pen": 1, "key": "locked", "value": false})");
    EXPECT_FALSE(pen.locked());
    dataOf("set 1 locked true", R"({"command": "set", "pen": 1, "key": "locked", "value": true})");
    EXPECT_TRUE(pen.locked());
    dataOf("password 1 new one", R"({"command": "password", "pen": 1, "text": "new one"})");
    EXPECT_EQ(pen.password(), "new one");
    dataOf("password 1", R"({"command": "password", "pen": 1})");
    EXPECT_EQ(pen.password(), "");
    dataOf("set 1 password 1234", R"({"command": "set", "pen": 1, "key": "password", "value": "1234"})");
    EXPECT_EQ(pen.password(), "1234");
    dataOf("set 1 hint a word", R"({"command": "set", "pen": 1, "key": "hint", "value": "a word"})");
    EXPECT_EQ(pen.hint(), "a word");
    EXPECT_EQ(pen.password(), "1234");
    dataOf("busy 1 on", R"({"command": "busy", "pen": 1, "state": "on"})");
    EXPECT_TRUE(pen.status().busy);
    dataOf("set 1 busy false", R"({"command": "set", "pen": 1, "key": "busy", "value": false})");
    EXPECT_FALSE(pen.status().busy);
    dataOf("set 1 encrypted_data null",
           R"({"command": "set", "pen": 1, "key": "encrypted_data", "value": null})");
    EXPECT_FALSE(pen.encryptedData());
    dataOf("set 1 encrypted_data \"0a ff\"",
           R"({"command": "set", "pen": 1, "key": "encrypted_data", "value": "0a ff"})");
    EXPECT_EQ(pen.encryptedData(), (pensim::Bytes{0x0a, 0xff}));
    dataOf(R"(set 1 0x2203 {"string": "9876"})",
           R"({"command": "set", "pen": 1, "key": "0x2203", "value": {"string": "9876"}})");
    EXPECT_EQ(pen.property(0x2203), pensim::Value::string("9876"));
}

TEST_P(PensimControl, SettingThatIsWrongIsRefused)
{
    EXPECT_EQ(errorOf("set 1 locked perhaps",
                      R"({"command": "set", "pen": 1, "key": "locked", "value": "perhaps"})"),
              "pen.locked must be true or false");
    EXPECT_EQ(errorOf("set 1 colour red", R"({"command": "set", "pen": 1, "key": "colour", "value": "red"})"),
              "key must be one of locked, busy, password, hint, memory, encrypted_data, or the id of a "
              "property (0x2203)");
    EXPECT_EQ(errorOf("set 1 0x2203 5", R"({"command": "set", "pen": 1, "key": "0x2203", "value": 5})"),
              "pen.properties.0x2203 must be an object");
    EXPECT_EQ(errorOf("set 1 locked", R"({"command": "set", "pen": 1, "key": "locked"})"),
              "value is missing: set PEN KEY VALUE");
    EXPECT_EQ(errorOf("busy 1 perhaps", R"({"command": "busy", "pen": 1, "state": "perhaps"})"),
              "state must be one of on, off");
    EXPECT_EQ(errorOf("password 1 " + std::string(32, 'x'),
                      R"({"command": "password", "pen": 1, "text": ")" + std::string(32, 'x') + "\"}"),
              "pen.password must have at most 31 characters");
}

TEST_P(PensimControl, PagesAreAddedUntilTheMemoryIsFull)
{
    pensim::Pen &pen = notebook();
    const std::size_t before = pen.pages().size();
    const json added = dataOf(
        R"(pages 1 add {"address": "9.9.9.1", "size": 10, "count": 2})",
        R"({"command": "pages", "pen": 1, "action": "add", "page": {"address": "9.9.9.1", "size": 10, "count": 2}})");
    EXPECT_EQ(added["added"], 2);
    EXPECT_EQ(pen.pages().size(), before + 2);
    std::uint64_t used = 0;
    for (const pensim::PageSpec &page : pen.pages())
        used += page.size();
    const std::string memory = std::to_string(used + 15);
    dataOf("set 1 memory " + memory,
           R"({"command": "set", "pen": 1, "key": "memory", "value": )" + memory + "}");
    const std::string words = R"(pages 1 add {"address": "9.9.9.8", "size": 10})";
    const std::string object =
        R"({"command": "pages", "pen": 1, "action": "add", "page": {"address": "9.9.9.8", "size": 10}})";
    dataOf(words, object);
    EXPECT_EQ(pen.property(0x0003), pensim::Value::long64(5)); // free memory
    EXPECT_EQ(errorOf(words, object),
              "the memory is full: 5 of " + memory + " bytes are free, 10 are needed");
}

TEST_P(PensimControl, PagesAreRemovedByAddress)
{
    const json removed = dataOf("pages 1 remove 1.2.3.*",
                                R"({"command": "pages", "pen": 1, "action": "remove", "page": "1.2.3.*"})");
    EXPECT_EQ(removed["removed"], 3);
    EXPECT_EQ(errorOf("pages 1 remove 1.2.3.4",
                      R"({"command": "pages", "pen": 1, "action": "remove", "page": "1.2.3.4"})"),
              "there is no page 1.2.3.4");
    EXPECT_EQ(errorOf("pages 1 turn 1.2.3.4",
                      R"({"command": "pages", "pen": 1, "action": "turn", "page": "1.2.3.4"})"),
              "action must be one of add, remove");
}

TEST_P(PensimControl, FaultsAreGivenAsInAScenario)
{
    const Bytes refusal = wire::list({wire::int32(0xffffffff)}); // -1
    dataOf(R"(fault 1 {"instruction": "R1GP", "status": -1})",
           R"({"command": "fault", "pen": 1, "fault": {"instruction": "R1GP", "status": -1}})");
    EXPECT_EQ(ask(kGetVersion, refusal.size()), refusal);
    EXPECT_NE(ask(kListPages, refusal.size()), refusal);
    dataOf(R"(fault 1 {"instruction": "*", "status": -1})",
           R"({"command": "fault", "pen": 1, "fault": {"instruction": "*", "status": -1}})");
    EXPECT_EQ(ask(kListPages, refusal.size()), refusal);
    EXPECT_EQ(errorOf(R"(fault 1 {"instruction": "U0PG", "typo": 1})",
                      R"({"command": "fault", "pen": 1, "fault": {"instruction": "U0PG", "typo": 1}})"),
              "fault has an unknown key \"typo\"");
    EXPECT_TRUE(errorOf(R"(fault 1 {"instruction": "U0PX", "status": -1})",
                        R"({"command": "fault", "pen": 1, "fault": {"instruction": "U0PX", "status": -1}})")
                    .starts_with("fault.instruction must be one of "));
    EXPECT_EQ(dataOf("state 1", R"({"command": "state", "pen": 1})")["faults"].size(), 2u);
    dataOf("clear 1", R"({"command": "clear", "pen": 1})");
    EXPECT_NE(ask(kListPages, refusal.size()), refusal);
    dataOf(R"(fault 1 {"connection": true, "ending": "close"})",
           R"({"command": "fault", "pen": 1, "fault": {"connection": true, "ending": "close"}})");
    TcpClient refused(notebook().port());
    EXPECT_TRUE(refused.ended());
}

TEST_P(PensimControl, ConnectionsOfAPenAreDropped)
{
    TcpClient closed(notebook().port());
    closed.send(kListPages);
    closed.receive(1);
    EXPECT_EQ(dataOf("drop 1", R"({"command": "drop", "pen": 1})")["dropped"], 1);
    closed.receiveAll();
    EXPECT_TRUE(closed.ended());
    TcpClient reset(notebook().port());
    reset.send(kGetVersion);
    reset.receive(1);
    EXPECT_EQ(dataOf("drop 1 reset", R"({"command": "drop", "pen": 1, "ending": "reset"})")["dropped"], 1);
    reset.receiveAll();
    EXPECT_TRUE(reset.mayHaveBeenReset());
}

TEST_P(PensimControl, WaitEndsWhenThePenHasAnsweredAsMany)
{
    ask(kListPages, 1);
    EXPECT_EQ(dataOf("wait 1 U0PI", R"({"command": "wait", "pen": 1, "instruction": "U0PI"})")["count"], 1);
    std::thread host([this] {
        while (m_service.pens().empty() || notebook().requestCount(pensim::instruction::getProperty) < 3)
            ask(kGetVersion, 1);
    });
    dataOf("wait 1 R1GP 3 --timeout 60",
           R"({"command": "wait", "pen": 1, "instruction": "R1GP", "count": 3, "timeout": 60})");
    EXPECT_GE(notebook().requestCount(pensim::instruction::getProperty), 3u);
    host.join();
    dataOf("clear 1 counts", R"({"command": "clear", "pen": 1, "what": "counts"})");
    EXPECT_EQ(errorOf("wait 1 R1GP 1 --timeout 0.05",
                      R"({"command": "wait", "pen": 1, "instruction": "R1GP", "count": 1, "timeout": 0.05})"),
              "the pen has not answered as many within 0.05 s");
    EXPECT_TRUE(errorOf("wait 1 R1PG", R"({"command": "wait", "pen": 1, "instruction": "R1PG"})")
                    .starts_with("instruction must be one of "));
    EXPECT_EQ(errorOf("wait 1 R1GP many",
                      R"({"command": "wait", "pen": 1, "instruction": "R1GP", "count": "many"})"),
              "count must be a number from 0 to 1000000000");
    EXPECT_EQ(errorOf("wait 1 R1GP 1 --timeout long",
                      R"({"command": "wait", "pen": 1, "instruction": "R1GP", "timeout": "long"})"),
              "timeout must be a number from 0 to 86400");
}

TEST_P(PensimControl, StateTellsEverythingOfAPen)
{
    TcpClient client(notebook().port());
    client.send(wire::raw("U0YB") + Bytes{0x00});
    client.receive(13);
    const json pen = dataOf("state AKZ-AQ7-APS-AC", R"({"command": "state", "pen": "AKZ-AQ7-APS-AC"})");
    EXPECT_EQ(pen["id"], "0x0000012300abcdef");
    EXPECT_EQ(pen["docked"], true);
    EXPECT_EQ(pen["port"], notebook().port());
    EXPECT_EQ(pen["connections"].size(), 1u);
    EXPECT_EQ(pen["session"], pen["connections"][0]);
    EXPECT_EQ(pen["locked"], false);
    EXPECT_EQ(pen["has_password"], false);
    EXPECT_EQ(pen["pages"][0], json({{"address", "1.2.3.4"}, {"size", 200}}));
    EXPECT_EQ(pen["stylo_pages"].size(), 2u);
    EXPECT_EQ(pen["memory"], 64 << 20);
    EXPECT_EQ(pen["properties"]["0x0001"], json({{"short16", 0x0601}}));
    EXPECT_EQ(pen["exchanges"], json({{"U0YB", 1}}));
    EXPECT_EQ(pen["firmware_upgrade"]["state"], "appIDLE");
    EXPECT_EQ(pen["faults"], json::array());
}

TEST_P(PensimControl, StateTellsTheRendezvousServerAndEveryPen)
{
    TcpClient subscriber(m_service.rendezvousPort());
    subscriber.send(wire::raw("RVA1\r\nsubscribe=RVP\r\n") + Bytes{0});
    ASSERT_TRUE(m_service.rendezvous().waitForSubscribers(pensim::Subscription::ordinary, 1, 10s));
    const json state = dataOf("state", R"({"command": "state"})");
    EXPECT_EQ(state["rendezvous"]["port"], m_service.rendezvousPort());
    EXPECT_EQ(state["rendezvous"]["listening"], true);
    EXPECT_EQ(state["rendezvous"]["connections"], 1);
    EXPECT_EQ(state["rendezvous"]["subscribers"], json({{"ordinary", 1}, {"firmware-upgrade", 0}}));
    ASSERT_EQ(state["pens"].size(), 4u);
    EXPECT_EQ(state["pens"][2]["has_password"], true);
    EXPECT_EQ(state.dump().find("geheim"), std::string::npos);
    EXPECT_EQ(state["pens"][3]["firmware_upgrade"]["state"], "dfuIDLE");
}

TEST_P(PensimControl, RendezvousServerGoesDownAndUp)
{
    const std::uint16_t port = m_service.rendezvousPort();
    dataOf("rendezvous down", R"({"command": "rendezvous", "action": "down"})");
    EXPECT_FALSE(canConnect(port));
    dataOf("rendezvous up", R"({"command": "rendezvous", "action": "up"})");
    EXPECT_TRUE(canConnect(port));
    for (const std::string ending : {"close", "reset"}) {
        TcpClient client(port);
        client.send(wire::raw("RVA1\r\nsubscribe=RVP\r\n") + Bytes{0});
        ASSERT_TRUE(m_service.rendezvous().waitForSubscribers(pensim::Subscription::ordinary, 1, 10s));
        dataOf("rendezvous " + ending, R"({"command": "rendezvous", "action": ")" + ending + "\"}");
        EXPECT_TRUE(client.ended());
    }
    EXPECT_EQ(errorOf("rendezvous sideways", R"({"command": "rendezvous", "action": "sideways"})"),
              "action must be one of down, up, close, reset");
}

// A name for a file of this test, and no file.
std::string fileName()
{
    const auto path = std::filesystem::temp_directory_path() /
                      ("pensim_control_" + std::to_string(std::random_device()()) + ".json");
    return pensim::utf8Of(path);
}

TEST_P(PensimControl, SavedStateIsLoadedAgain)
{
    const std::string file = fileName();
    const std::string quoted = json(file).dump();
    dataOf("password 2 secret", R"({"command": "password", "pen": 2, "text": "secret"})");
    dataOf("pages 1 remove 1.2.3.*",
           R"({"command": "pages", "pen": 1, "action": "remove", "page": "1.2.3.*"})");
    dataOf("undock 3", R"({"command": "undock", "pen": 3})");
    dataOf(
        R"(fault 1 {"instruction": "U0PG", "occurrence": 2, "status": -1})",
        R"({"command": "fault", "pen": 1, "fault": {"instruction": "U0PG", "occurrence": 2, "status": -1}})");
    ask(wire::raw("R1SP") + Bytes{0x02, 0x00} + wire::short16(0x2203) + Bytes{0x01} + wire::string("4711"),
        8);
    dataOf("save " + file, R"({"command": "save", "file": )" + quoted + "}");
    const auto saved = pensim::scenarioJson(m_service.present());
    dataOf("password 2", R"({"command": "password", "pen": 2})");
    dataOf(R"(dock {"id": 7})", R"({"command": "dock", "pen": {"id": 7}})");
    EXPECT_EQ(dataOf("load " + file, R"({"command": "load", "file": )" + quoted + "}")["pens"], 4);
    std::filesystem::remove(pensim::pathOf(file));
    EXPECT_EQ(pensim::scenarioJson(m_service.present()), saved);
    const std::vector<pensim::Pen *> pens = m_service.pens();
    EXPECT_EQ(pens[0]->pages().size(), 3u);
    EXPECT_EQ(pens[0]->property(0x2203), pensim::Value::string("4711"));
    EXPECT_EQ(pens[1]->password(), "secret");
    EXPECT_FALSE(pens[2]->docked());
    EXPECT_TRUE(pens[0]->docked());
}

TEST_P(PensimControl, ScenarioThatCannotBeLoadedChangesNothing)
{
    const std::string file = fileName();
    const std::string quoted = json(file).dump();
    const std::string words = "load " + file;
    const std::string object = R"({"command": "load", "file": )" + quoted + "}";
    EXPECT_EQ(errorOf(words, object), "cannot read " + file);
    std::ofstream(pensim::pathOf(file)) << R"({"pens": [{"id": 1}, {"id": 1}]})";
    EXPECT_EQ(errorOf(words, object), "scenario.pens has the id 0x1 twice");
    std::ofstream(pensim::pathOf(file))
        << R"({"pens": [{"id": 1}, {"id": 2, "port": )" << m_service.rendezvousPort() << "}]}";
    EXPECT_NE(errorOf(words, object).find("in use"), std::string::npos);
    std::filesystem::remove(pensim::pathOf(file));
    ASSERT_EQ(m_service.pens().size(), 4u);
    EXPECT_TRUE(notebook().docked());
    EXPECT_EQ(ask(kGetVersion, 8).size(), 8u);
    EXPECT_NE(errorOf("save /nowhere/at/all", R"({"command": "save", "file": "/nowhere/at/all"})"), "");
}

TEST_P(PensimControl, FirmwareImageIsWritten)
{
    const std::string file = fileName();
    pensim::Pen &pen = m_service.pen(0x3300c0ffee);
    TcpClient host(pen.port());
    host.send(wire::raw("V003") + Bytes{0x01, 0x00} +
              Bytes{0x07, 0x00, 0x00, 0x00, 0x07, // binary of 7 bytes
                    0x00, 0x00, 0x03, 0x00,       // block 0 of 3 bytes, little-endian
                    0x0a, 0x0b, 0x0c});
    host.receive(8);
    const json data =
        dataOf("image 4 " + file, R"({"command": "image", "pen": 4, "file": )" + json(file).dump() + "}");
    EXPECT_EQ(data, json({{"size", 3}, {"installed", false}}));
    std::ifstream stream(pensim::pathOf(file), std::ios::binary);
    EXPECT_EQ(std::string(std::istreambuf_iterator<char>(stream), {}), "\x0a\x0b\x0c");
    stream.close();
    std::filesystem::remove(pensim::pathOf(file));
}

TEST_P(PensimControl, QuitIsToldToWhoeverAsks)
{
    EXPECT_EQ(errorOf("quite", R"({"command": "quite"})"), "there is no command quite; \"help\" tells them");
    if (GetParam() == Door::words) {
        EXPECT_TRUE(m_control.runLineAndWait("quit").quit);
        return;
    }
    EXPECT_FALSE(m_quit);
    dataOf("quit", R"({"command": "quit"})");
    for (int i = 0; i < 1000 && !m_quit; ++i)
        std::this_thread::sleep_for(10ms);
    EXPECT_TRUE(m_quit);
}

TEST_P(PensimControl, HelpTellsEveryCommand)
{
    const json help = dataOf("help", R"({"command": "help"})");
    std::vector<std::string> names;
    for (const json &row : help)
        names.push_back(row["command"]);
    EXPECT_EQ(names, (std::vector<std::string>{"help", "list", "state", "dock", "undock", "set", "lock",
                                               "password", "busy", "pages", "fault", "clear", "drop", "wait",
                                               "rendezvous", "image", "load", "save", "quit"}));
}

TEST_P(PensimControl, AnswersForPeopleEndWithOkOrAnError)
{
    const std::string list = m_control.runLineAndWait("list").toText();
    EXPECT_TRUE(
        list.starts_with("1  AKZ-AQ7-APS-AC  0x0000012300abcdef  Notebook pen  0601  PSP40 PSP41  port "));
    EXPECT_TRUE(list.ends_with("\nok\n"));
    EXPECT_EQ(m_control.runLineAndWait("lock 1").toText(), "ok\n");
    EXPECT_EQ(m_control.runLineAndWait("lock 9").toText(), "error: there is no pen 9\n");
    EXPECT_TRUE(m_control.runLineAndWait("state 1").toText().starts_with("{\n  \"serial\""));
}

class PensimControlPort : public PensimControl
{
protected:
    void SetUp() override
    {
        PensimControl::SetUp();
        openPort();
    }
};

INSTANTIATE_TEST_SUITE_P(Doors, PensimControlPort, testing::Values(Door::port));

TEST_P(PensimControlPort, WhatIsNoObjectEndsTheConnection)
{
    for (const std::string line : {"list", "POST / HTTP/1.1\r", "", "[1]", "\"list\""}) {
        ControlClient client(m_port->port());
        client.send(line + "\n{\"command\": \"lock\", \"pen\": 1}");
        EXPECT_EQ(client.receive()["error"], "a command is a JSON object in one line") << line;
        EXPECT_TRUE(client.ended()) << line;
        EXPECT_FALSE(notebook().locked()) << line;
    }
}

TEST_P(PensimControlPort, BadObjectsGetAnErrorAndTheConnectionGoesOn)
{
    for (const char *line :
         {"{", "{}", R"({"command": 5})", R"({"command": "list", "command": "list"})",
          R"({"command": "state", "pen": [1]})", R"({"command": "dock", "pen": null})",
          R"({"command": "fault", "pen": 1, "fault": 5})",
          R"({"command": "password", "pen": 1, "text": true})", "{\"command\": \"\xff\"}"}) {
        m_client->send(line);
        const json answer = m_client->receive();
        EXPECT_EQ(answer["ok"], false) << line;
        EXPECT_NE(answer["error"], "") << line;
    }
    m_client->send(R"({"command": "list"})");
    EXPECT_EQ(m_client->receive()["ok"], true);
}

TEST_P(PensimControlPort, CommandsOfOneConnectionAreAnsweredInOrder)
{
    m_client->send(R"({"command": "wait", "pen": 1, "instruction": "U0PI", "timeout": 60})"
                   "\n"
                   R"({"command": "lock", "pen": 1})");
    ControlClient other(m_port->port()); // one that waits does not keep the others from their commands
    other.send(R"({"command": "list"})");
    EXPECT_EQ(other.receive()["data"][0]["locked"], false);
    ask(kListPages, 1);
    EXPECT_EQ(m_client->receive()["data"]["count"], 1);
    EXPECT_EQ(m_client->receive(), json({{"ok", true}}));
    EXPECT_TRUE(notebook().locked());
}

TEST_P(PensimControlPort, ClientThatLeavesWhileItWaitsIsForgotten)
{
    {
        ControlClient client(m_port->port());
        client.send(R"({"command": "wait", "pen": 1, "instruction": "U0PI", "timeout": 60})");
    }
    ask(kListPages, 1);
    m_client->send(R"({"command": "list"})");
    EXPECT_EQ(m_client->receive()["ok"], true);
}

TEST_P(PensimControlPort, CommandThatIsTooLongEndsTheConnection)
{
    ControlClient client(m_port->port());
    try {
        client.send("{" + std::string((16u << 20) + 1, ' '));
        EXPECT_EQ(client.receive()["error"], "a command that is too long");
        EXPECT_TRUE(client.ended());
    } catch (const std::system_error &) {
        // The connection was closed while the client still wrote.
    }
    m_client->send(R"({"command": "list"})");
    EXPECT_EQ(m_client->receive()["ok"], true);
}

TEST_P(PensimControlPort, ReadyReportNamesThePorts)
{
    const json report = json::parse(pensim::readyReport(m_service, m_port->port()));
    EXPECT_EQ(report["rendezvous_port"], m_service.rendezvousPort());
    EXPECT_EQ(report["control_port"], m_port->port());
    EXPECT_EQ(report["pens"][0]["serial"], "AKZ-AQ7-APS-AC");
    EXPECT_EQ(report["pens"][0]["port"], notebook().port());
}

} // namespace
