#include "psp/psp_client2.h"

#include "psp/result_reader.h"

#include "net/socket.h"
#include "protocol/addresses/page_address.h"
#include "psp/property_ids.h"
#include "support/log_capture.h"
#include "support/scripted_pen.h"
#include "support/value_tree.h"

#include <gtest/gtest.h>

#include <functional>

namespace {

using namespace zel;
using namespace zel::test;

class PspClient2Test : public testing::Test
{
protected:
    PspClient2Test()
    {
        m_client.setPenConnected(true);
        m_client.connect();
        m_log.clear();
    }

    /** The bytes of the one request that an operation makes; its log text comes before the request. */
    template <class Operation>
    Bytes requestOf(Operation operation, const Bytes &answer = wire::status(0))
    {
        m_service.forget();
        m_log.clear();
        m_service.then(answer);
        operation(m_client);
        EXPECT_EQ(m_service.requests().size(), 1u);
        return m_service.requests().at(0);
    }

    std::string firstLogText() const
    {
        const auto entries = m_log.entries();
        EXPECT_EQ(entries.at(0).first, LogLevel::Debug);
        return entries.at(0).second;
    }

    ScriptedPen m_service;
    PspClient2 m_client{net::toNetworkOrder(std::uint32_t{0x7f000001}), m_service.port()};
    LogCapture m_log;
};

const PageAddress kPage(std::uint64_t{0x010002003004}); // 1.2.3.4
const std::array<std::uint8_t, 3> kHash = {0x01, 0x02, 0x03};

struct Case {
    const char *name;
    std::function<void(PspClient2 &)> operation;
    Bytes request;
    const char *logText;
};

const Case kOperations[] = {
    {"getValueProperty",
     [](PspClient2 &psp) { psp.getValueProperty(0x2021); },
     {
         0x52, 0x31, 0x47, 0x50, 0x01, // R1GP, one argument
         0x00, 0x03, 0x20, 0x21,       // key 0: short16 id
     },
     "[PspClient2::getValueProperty] 8225"},
    {"setValueProperty",
     [](PspClient2 &psp) { psp.setValueProperty(0x202e, Value::createBool(true)); },
     {
         0x52, 0x31, 0x53, 0x50, 0x02, // R1SP, two arguments
         0x00, 0x03, 0x20, 0x2e,       // key 0: short16 id
         0x01, 0x01, 0x01,             // key 1: bool true
     },
     "[PspClient2::setValueProperty] 8238"},
    {"listPages",
     [](PspClient2 &psp) {
         ValueResult pages;
         psp.listPages(pages);
     },
     {0x55, 0x30, 0x50, 0x49, 0x00}, // U0PI
     nullptr},
    {"beginSyncSession",
     [](PspClient2 &psp) { psp.beginSyncSession(); },
     {0x55, 0x30, 0x59, 0x42, 0x00}, // U0YB
     "[PspClient2::beginSyncSession]"},
    {"getPageStf",
     [](PspClient2 &psp) {
         ValueResult strokes;
         psp.getPageStf(strokes, kPage, 2, 0x7fffffffffffffff);
     },
     {
         0x55, 0x30, 0x50, 0x47, 0x03,                               // U0PG, three arguments
         0x00, 0x05, 0x00, 0x00, 0x01, 0x00, 0x02, 0x00, 0x30, 0x04, // key 0: long64 raw address
         0x01, 0x05, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x02, // key 1: long64 format
         0x02, 0x05, 0x7f, 0xff, 0xff, 0xff, 0xff, 0xff, 0xff, 0xff, // key 2: long64 limit
     },
     "[PspClient2::getPageStf] PageAddress: 1.2.3.4"},
    {"getStyloStf",
     [](PspClient2 &psp) { psp.getStyloStf(); },
     {0x55, 0x30, 0x50, 0x59, 0x00}, // U0PY
     "[PspClient2::getStyloStf]"},
    {"endSyncSession",
     [](PspClient2 &psp) { psp.endSyncSession(); },
     {0x55, 0x30, 0x59, 0x45, 0x00}, // U0YE
     "[PspClient2::endSyncSession]"},
    {"setMmiState",
     [](PspClient2 &psp) { psp.setMmiState(3); },
     {
         0x52, 0x32, 0x53, 0x4d, 0x01, // R2SM, one argument
         0x00, 0x03, 0x00, 0x03,       // key 0: short16 state
     },
     "[PspClient2::setMmiState] 3"},
    {"removePage",
     [](PspClient2 &psp) { psp.removePage(kPage, 2, 0x7fffffffffffffff); },
     {
         0x55, 0x30, 0x50, 0x52, 0x03,                               // U0PR, three arguments
         0x00, 0x05, 0x00, 0x00, 0x01, 0x00, 0x02, 0x00, 0x30, 0x04, // key 0: long64 raw address
         0x01, 0x05, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x02, // key 1: long64 format
         0x02, 0x05, 0x7f, 0xff, 0xff, 0xff, 0xff, 0xff, 0xff, 0xff, // key 2: long64 limit
     },
     "1.2.3.4"}, // without the operation's name
    {"clearStrokes",
     [](PspClient2 &psp) { psp.clearStrokes(0); },
     {
         0x52, 0x31, 0x44, 0x53, 0x01,       // R1DS, one argument
         0x00, 0x04, 0x00, 0x00, 0x00, 0x00, // key 0: int32 mode
     },
     "[PspClient2::clearStrokes]"},
    {"penLocked",
     [](PspClient2 &psp) { psp.penLocked(); },
     {0x52, 0x31, 0x47, 0x4c, 0x00}, // R1GL
     "[PspClient2::penLocked]"},
    {"unlock",
     [](PspClient2 &psp) { psp.unlock(kHash); },
     {
         0x52, 0x31, 0x55, 0x4c, 0x01,                         // R1UL, one argument
         0x00, 0x07, 0x00, 0x00, 0x00, 0x03, 0x01, 0x02, 0x03, // key 0: binary hash
     },
     "[PspClient2::unlock]"},
    {"setPassword",
     [](PspClient2 &psp) { psp.setPassword(kHash, "pw"); },
     {
         0x52, 0x31, 0x50, 0x53, 0x02,                         // R1PS, two arguments
         0x00, 0x07, 0x00, 0x00, 0x00, 0x03, 0x01, 0x02, 0x03, // key 0: binary hash
         0x01, 0x06, 0x00, 0x03, 'p',  'w',  0x00,             // key 1: string
     },
     "[PspClient2::setPassword]"},
    {"getPasswordHint",
     [](PspClient2 &psp) { psp.getPasswordHint(); },
     {0x52, 0x31, 0x47, 0x54, 0x00}, // R1GT
     "[PspClient2::getPasswordHint]"},
    {"setPasswordHint",
     [](PspClient2 &psp) { psp.setPasswordHint("hi"); },
     {
         0x52, 0x31, 0x53, 0x54, 0x01,           // R1ST, one argument
         0x00, 0x06, 0x00, 0x03, 'h', 'i', 0x00, // key 0: string
     },
     "[PspClient2::setPasswordHint]"},
    {"hasEncryptedData",
     [](PspClient2 &psp) { psp.hasEncryptedData(); },
     {0x55, 0x30, 0x48, 0x45, 0x00}, // U0HE
     "[PspClient2::hasEncryptedData] "},
    {"getEncryptedData",
     [](PspClient2 &psp) { psp.getEncryptedData(); },
     {0x55, 0x30, 0x50, 0x45, 0x00}, // U0PE
     "[PspClient2::getEncryptedData] "},
    {"clearEncryptedData",
     [](PspClient2 &psp) { psp.clearEncryptedData(); },
     {0x55, 0x30, 0x44, 0x45, 0x00}, // U0DE
     "[PspClient2::clearEncryptedData] "},
};

TEST_F(PspClient2Test, EachOperationSendsItsInstruction)
{
    for (const Case &operation : kOperations)
        EXPECT_EQ(requestOf(operation.operation), operation.request) << operation.name;
}

TEST_F(PspClient2Test, EachOperationLogsItsLineBeforeTheResponseIsParsed)
{
    for (const Case &operation : kOperations) {
        requestOf(operation.operation);
        if (operation.logText != nullptr)
            EXPECT_EQ(firstLogText(), operation.logText) << operation.name;
        else
            EXPECT_TRUE(firstLogText().starts_with("Received and parsed value:")) << operation.name;
    }
}

TEST_F(PspClient2Test, HighPropertyIdIsLoggedNegativeAndSentUnsigned)
{
    const Bytes expected = {0x52, 0x31, 0x47, 0x50, 0x01, 0x00, 0x03, 0x80, 0x01};
    EXPECT_EQ(requestOf([](PspClient2 &psp) { psp.getValueProperty(0x8001); }), expected);
    EXPECT_EQ(firstLogText(), "[PspClient2::getValueProperty] -32767");
}

TEST_F(PspClient2Test, ValueThatIsSetStaysTheCallers)
{
    const auto text = Value::createString("mine");
    const Bytes expected = {
        0x52, 0x31, 0x53, 0x50,                           // R1SP
        0x02,                                             // arguments
        0x00, 0x03, 0x22, 0x03,                           // key 0: short16, the property
        0x01, 0x06, 0x00, 0x05, 'm', 'i', 'n', 'e', 0x00, // key 1: string
    };
    EXPECT_EQ(requestOf([&](PspClient2 &psp) { psp.setValueProperty(property::BT_PIN, text); }), expected);
    std::string kept;
    text.getString(kept);
    EXPECT_EQ(kept, "mine");
}

TEST_F(PspClient2Test, ElementsWithoutAValueAreSentAsNull)
{
    const auto list = Value::createValueArray(elements(Value(), Value::createBool(true)));
    const Bytes expected = {
        0x52, 0x31, 0x53, 0x50,             // R1SP
        0x02,                               // arguments
        0x00, 0x03, 0x12, 0x34,             // key 0: short16, the property
        0x01, 0x08, 0x00, 0x02, 0x00, 0x01, // key 1: value array of two: null, bool
        0x01,
    };
    EXPECT_EQ(requestOf([&](PspClient2 &psp) { psp.setValueProperty(0x1234, list); }), expected);
}

TEST_F(PspClient2Test, AnswerOfEndSyncSessionAndSetMmiStateMayCarryAValue)
{
    const Bytes answer = wire::result(wire::list({wire::string("unread")}));
    EXPECT_NO_THROW(requestOf([](PspClient2 &psp) { psp.endSyncSession(); }, answer));
    EXPECT_NO_THROW(requestOf([](PspClient2 &psp) { psp.setMmiState(1); }, answer));
}

TEST_F(PspClient2Test, EmptyHashIsAnEmptyBinary)
{
    const Bytes expected = {
        0x52, 0x31, 0x55, 0x4c, 0x01,       // R1UL, one argument
        0x00, 0x07, 0x00, 0x00, 0x00, 0x00, // key 0: binary of no bytes
    };
    EXPECT_EQ(requestOf([](PspClient2 &psp) { psp.unlock({}); }), expected);
}

} // namespace
