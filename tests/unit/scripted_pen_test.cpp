#include "support/scripted_pen.h"

#include "support/loopback.h"

#include <asio.hpp>

#include <gtest/gtest.h>

namespace {

using namespace zel::test;

/** A bare client of a scripted pen. */
class Client
{
public:
    explicit Client(const ScriptedPen &pen)
    {
        m_socket.connect({asio::ip::address_v4::loopback(), pen.port()});
    }

    void send(const Bytes &bytes) { asio::write(m_socket, asio::buffer(bytes)); }

    /** What arrives until the pen ends the connection, or until count bytes are there. */
    Bytes receive(std::size_t count)
    {
        Bytes bytes(count);
        asio::error_code error;
        bytes.resize(asio::read(m_socket, asio::buffer(bytes), error));
        m_error = error;
        return bytes;
    }

    asio::error_code error() const { return m_error; }

private:
    asio::io_context m_io;
    asio::ip::tcp::socket m_socket{m_io};
    asio::error_code m_error;
};

TEST(ScriptedPen, RequestSentByteByByteIsOneRequest)
{
    ScriptedPen pen;
    pen.then(wire::status(0));
    Client client(pen);
    const Bytes request = wire::request("R1SP", {wire::short16(1), wire::list({wire::string("a")})});
    for (const std::uint8_t byte : request)
        client.send({byte});
    EXPECT_EQ(client.receive(wire::status(0).size()), wire::status(0));
    EXPECT_EQ(pen.requests(), std::vector<Bytes>{request});
}

TEST(ScriptedPen, ScriptComesBeforeStandingAnswers)
{
    ScriptedPen pen;
    pen.always("R1GL", Bytes{1}).then(Bytes{2});
    Client client(pen);
    client.send(wire::request("R1GL") + wire::request("R1GL"));
    EXPECT_EQ(client.receive(2), (Bytes{2, 1}));
    EXPECT_EQ(pen.instructions(), (std::vector<std::string>{"R1GL", "R1GL"}));
}

TEST(ScriptedPen, CutAnswerEndsTheConnection)
{
    ScriptedPen pen;
    pen.then(cut({1, 2, 3}, 2));
    Client client(pen);
    client.send(wire::request("R1GL"));
    EXPECT_EQ(client.receive(3), (Bytes{1, 2}));
    EXPECT_EQ(client.error(), asio::error::eof);
    EXPECT_TRUE(pen.waitUntilClosed());
}

TEST(ScriptedPen, ResetIsSeenAsOne)
{
    if (!loopback::showsResets())
        GTEST_SKIP() << "the system may show a reset as an orderly end";
    ScriptedPen pen;
    pen.then(cut({}, 0, Answer::Then::Reset));
    Client client(pen);
    client.send(wire::request("R1GL"));
    EXPECT_TRUE(client.receive(1).empty());
    EXPECT_EQ(client.error(), asio::error::connection_reset);
}

TEST(ScriptedPen, StoppedPenRefusesConnections)
{
    ScriptedPen pen;
    pen.stopListening();
    EXPECT_THROW(Client{pen}, std::system_error);
}

} // namespace
