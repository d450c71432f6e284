#include "pensim/commands.h"

#include <gtest/gtest.h>
#include <sstream>

namespace {

class PensimCommands : public testing::Test
{
protected:
    void SetUp() override { m_service.start(); }

    std::string run(const std::string &line)
    {
        m_out.str("");
        m_goesOn = m_commands.run(line);
        return m_out.str();
    }

    pensim::Service m_service{{.rendezvousPort = 0, .record = false, .log = {}}, pensim::defaultScenario()};
    std::ostringstream m_out;
    pensim::Commands m_commands{m_service, m_out};
    bool m_goesOn = true;
};

TEST_F(PensimCommands, PensAreNamedBySerialIdOrNumber)
{
    pensim::Pen &pen = m_service.pen(0x12300abcdef);
    for (const char *name : {"AKZ-AQ7-APS-AC", "0x12300abcdef", "0x0000012300abcdef"}) {
        EXPECT_EQ(run(std::string("undock ") + name), "ok\n");
        EXPECT_FALSE(pen.docked());
        EXPECT_EQ(run(std::string("dock ") + name), "ok\n");
        EXPECT_TRUE(pen.docked());
    }
    EXPECT_EQ(run("undock 4"), "ok\n"); // listed last since it came back
    EXPECT_FALSE(pen.docked());
    EXPECT_EQ(run("undock 4"), "error: pen 0000012300abcdef is not docked\n");
    EXPECT_EQ(run("undock 5"), "error: there is no pen 5\n");
    EXPECT_EQ(run("undock"), "error: the pen is missing\n");
}

TEST_F(PensimCommands, ListTellsEveryPen)
{
    const std::string text = run("list");
    EXPECT_NE(text.find("1  AKZ-AQ7-APS-AC  0x0000012300abcdef  Notebook pen  0601  PSP40 PSP41  port "),
              std::string::npos);
    EXPECT_NE(text.find("  locked  pages: 1\n"), std::string::npos);
    EXPECT_NE(text.find("  firmware-upgrade mode  pages: 0\n"), std::string::npos);
    EXPECT_TRUE(text.ends_with("ok\n"));
}

TEST_F(PensimCommands, NewPenIsDockedAsInAScenario)
{
    EXPECT_EQ(run(R"(dock {"id": 7, "brand": "New"})"), "ok\n");
    EXPECT_TRUE(m_service.pen(7).docked());
    EXPECT_EQ(run(R"(dock {"brand": "New"})"), "error: pen lacks \"id\"\n");
}

TEST_F(PensimCommands, StateOfAPenIsSet)
{
    pensim::Pen &pen = m_service.pen(0x12300abcdef);
    run("lock 1");
    EXPECT_TRUE(pen.locked());
    run("password 1 new one");
    EXPECT_EQ(pen.password(), "new one");
    run("password 1");
    EXPECT_EQ(pen.password(), "");
    EXPECT_FALSE(pen.locked());
    EXPECT_EQ(run("busy 1 on"), "ok\n");
    EXPECT_EQ(run("busy 1 perhaps"), "error: busy is \"on\" or \"off\"\n");
}

TEST_F(PensimCommands, FaultsAreGivenAsInAScenario)
{
    EXPECT_EQ(run(R"(fault 1 {"instruction": "U0PG", "status": -1})"), "ok\n");
    EXPECT_EQ(run(R"(fault 1 {"connection": true, "ending": "close"})"), "ok\n");
    EXPECT_EQ(run(R"(fault 1 {"instruction": "U0PG", "typo": 1})"),
              "error: fault has an unknown key \"typo\"\n");
    EXPECT_EQ(run("clear 1"), "ok\n");
}

TEST_F(PensimCommands, RendezvousServerGoesDownAndUp)
{
    EXPECT_EQ(run("rendezvous down"), "ok\n");
    EXPECT_EQ(run("rendezvous up"), "ok\n");
    EXPECT_EQ(run("rendezvous close"), "ok\n");
    EXPECT_EQ(run("rendezvous reset"), "ok\n");
    EXPECT_TRUE(run("rendezvous sideways").starts_with("error: "));
}

TEST_F(PensimCommands, QuitAloneEndsTheService)
{
    EXPECT_EQ(run(""), "");
    EXPECT_EQ(run("quite"), "error: there is no command quite; \"help\" tells them\n");
    EXPECT_TRUE(m_goesOn);
    EXPECT_EQ(run("quit"), "ok\n");
    EXPECT_FALSE(m_goesOn);
}

TEST_F(PensimCommands, HelpTellsEveryCommand)
{
    const std::string text = run("help");
    for (const char *name : {"help", "list", "dock", "undock", "lock", "password", "busy", "fault", "clear",
                             "rendezvous", "image", "quit"})
        EXPECT_NE(text.find(name), std::string::npos) << name;
}

TEST_F(PensimCommands, ReadyReportNamesThePorts)
{
    const std::string report = pensim::readyReport(m_service);
    EXPECT_NE(report.find("\"rendezvous_port\": " + std::to_string(m_service.rendezvousPort())),
              std::string::npos);
    EXPECT_NE(report.find("\"serial\": \"AKZ-AQ7-APS-AC\""), std::string::npos);
    EXPECT_NE(report.find("\"port\": " + std::to_string(m_service.pen(0x12300abcdef).port())),
              std::string::npos);
}

} // namespace
