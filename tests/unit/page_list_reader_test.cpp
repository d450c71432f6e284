#include "pages/page_list_reader.h"

#include "protocol/bytes/byte_source.h"
#include "protocol/values/value_decoder.h"
#include "protocol/values/value_format.h"
#include "protocol/values/value_text.h"
#include "support/byte_stream.h"
#include "support/log_capture.h"
#include "sys/exceptions.h"

#include <gtest/gtest.h>

using namespace zel;
using namespace zel::test;

namespace {

/** An answer that was taken off a stream whose buffer holds so many bytes at a time. */
class Taken
{
public:
    explicit Taken(const Bytes &bytes, std::size_t step = 4096) : m_stream(bytes, step)
    {
        ProtocolInputStream in(m_stream, m_stream.buffer());
        TextWindow window(&m_text);
        ValueText text(window);
        ByteSource source(in);
        ValueDecoder values(source, VALUE_HEADER_LENGTH);
        m_reader.read(values, text);
        window.flush();
    }

    std::size_t left() { return m_stream.buffer().left(); }
    const std::string &text() const { return m_text; }
    PageList pages() { return std::move(m_reader).pages(); }

private:
    TrickleStream m_stream;
    std::string m_text;
    PageListReader m_reader;
};

const Bytes kTwoPages = {
    0x08, 0x00, 0x02,                                     // value array of two
    0x08, 0x00, 0x02,                                     // value array of two
    0x05, 0x00, 0x00, 0x01, 0x00, 0x02, 0x00, 0x30, 0x05, // long64: 1.2.3.5
    0x04, 0x00, 0x00, 0x00, 0x14,                         // int32: 20
    0x08, 0x00, 0x02,                                     // value array of two
    0x05, 0x00, 0x00, 0x01, 0x00, 0x02, 0x00, 0x30, 0x04, // long64: 1.2.3.4
    0x04, 0x00, 0x00, 0x01, 0x2c,                         // int32: 300
};

/** A list of one item. */
Bytes listOf(const Bytes &item)
{
    return Bytes{0x08, 0x00, 0x01} + item;
}

PenPage onlyPage(const Bytes &item)
{
    const PageList pages = Taken(listOf(item)).pages();
    EXPECT_EQ(pages.size(), 1u);
    return pages[0];
}

} // namespace

TEST(PageListReader, KeepsThePensOrder)
{
    const PageList pages = Taken(kTwoPages).pages();
    EXPECT_EQ(pages.toString(), "1.2.3.5;1.2.3.4;");
    EXPECT_EQ(pages[0].getSize(), 20u);
    EXPECT_EQ(pages[1].getSize(), 300u);
}

TEST(PageListReader, TakesNoByteBehindTheList)
{
    EXPECT_EQ(Taken(kTwoPages + Bytes{0x08, 0x00}).left(), 2u);
}

TEST(PageListReader, ShowsTheListAsAnElementOfTheResponse)
{
    EXPECT_EQ(Taken(kTwoPages).text(), "(value array) 2\n"
                                       "        (value array) 2\n"
                                       "            (long64) 1099545194501\n"
                                       "            (int32) 20\n"
                                       "        (value array) 2\n"
                                       "            (long64) 1099545194500\n"
                                       "            (int32) 300");
}

TEST(PageListReader, ListThatArrivesInPiecesIsWhole)
{
    for (const std::size_t step : {1u, 2u, 3u, 5u, 7u, 16u, 17u}) {
        Taken taken(kTwoPages, step);
        EXPECT_EQ(taken.pages().toString(), "1.2.3.5;1.2.3.4;") << step;
        EXPECT_EQ(taken.text(), Taken(kTwoPages).text()) << step;
    }
}

TEST(PageListReader, ListCutAtAnyByteThrowsIOException)
{
    for (std::size_t size = 0; size < kTwoPages.size(); ++size)
        for (const std::size_t step : {1u, 4096u})
            EXPECT_THROW(
                Taken(Bytes(kTwoPages.begin(), kTwoPages.begin() + static_cast<std::ptrdiff_t>(size)), step),
                IOException)
                << size;
}

TEST(PageListReader, NumbersOfAnyWidthAreTaken)
{
    const PenPage narrow = onlyPage({
        0x08, 0x00, 0x02,             // value array of two
        0x04, 0x02, 0x00, 0x30, 0x04, // int32
        0x03, 0xff, 0xfe,             // short16
    });
    EXPECT_EQ(narrow.address().raw(), 0x02003004u);
    EXPECT_EQ(narrow.getSize(), 0xfffeu); // without a sign
    const PenPage wide = onlyPage({
        0x08, 0x00, 0x02,                                     // value array of two
        0x05, 0xff, 0xff, 0xff, 0xff, 0xff, 0xff, 0xff, 0xff, // long64
        0x05, 0x00, 0x00, 0x00, 0x01, 0x00, 0x00, 0x00, 0xc8, // long64, cut to its 32 bits
    });
    EXPECT_EQ(wide.address().raw(), 0xffffffffffffffffu);
    EXPECT_EQ(wide.getSize(), 200u);
    const PenPage least = onlyPage({
        0x08, 0x00, 0x02, // value array of two
        0x02, 0x04,       // byte
        0x01, 0x07,       // bool: true
    });
    EXPECT_EQ(least.address().raw(), 4u);
    EXPECT_EQ(least.getSize(), 1u);
}

TEST(PageListReader, NumbersAreShownByTheirWidth)
{
    EXPECT_EQ(Taken(listOf({
                        0x08, 0x00, 0x02, // value array of two
                        0x01, 0x07,       // bool
                        0x03, 0xff, 0xfe, // short16
                    }))
                  .text(),
              "(value array) 1\n        (value array) 2\n            (bool) true\n            (short16) -2");
}

TEST(PageListReader, ItemsMayBeArraysOfTheOtherKinds)
{
    EXPECT_EQ(onlyPage({
                           0x09, 0x00, 0x02, 0x04, // data array of two int32
                           0x00, 0x00, 0x00, 0x05, // address
                           0x00, 0x00, 0x00, 0x06, // size
                       })
                  .getSize(),
              6u);
    EXPECT_EQ(onlyPage({
                           0x0a,       // terminated array
                           0x02, 0x05, // address
                           0x02, 0x06, // size
                           0x0b,       // terminator
                       })
                  .address()
                  .raw(),
              5u);
}

TEST(PageListReader, ItemOfAnotherLengthIsAPageOfMissingFieldsInItsPlace)
{
    const PageList pages = Taken({
                                     0x08, 0x00, 0x04,                               // value array of four
                                     0x08, 0x00, 0x00,                               // empty
                                     0x08, 0x00, 0x02, 0x02, 0x05, 0x02, 0x06,       // two bytes
                                     0x08, 0x00, 0x03, 0x02, 0x01, 0x02, 0x02, 0x00, // one too many
                                     0x0a, 0x0b,                                     // empty
                                 })
                               .pages();
    ASSERT_EQ(pages.size(), 4u);
    EXPECT_EQ(pages[1].address().raw(), 5u);
    for (const std::size_t other : {0u, 2u, 3u}) {
        EXPECT_EQ(pages[other].address(), PageAddress()) << other;
        EXPECT_EQ(pages[other].getSize(), 0u) << other;
    }
}

TEST(PageListReader, EmptyAndNullListsAreEmpty)
{
    EXPECT_TRUE(Taken({0x08, 0x00, 0x00}).pages().empty());
    EXPECT_TRUE(Taken({0x00}).pages().empty());
    EXPECT_EQ(Taken({0x00}).text(), "(null) ");
}

TEST(PageListReader, ListsOfTheOtherKindsAreLists)
{
    EXPECT_EQ(Taken({0x0a, 0x08, 0x00, 0x02, 0x02, 0x05, 0x02, 0x06, 0x0b}).pages().size(), 1u);
    EXPECT_EQ(Taken({0x09, 0x00, 0x01, 0x08, 0x00, 0x02, 0x02, 0x05, 0x02, 0x06}).pages().size(), 1u);
}

// Only when everything has been taken: the response may be bad for another reason, which comes first.
TEST(PageListReader, WhatIsNoListOfPagesThrowsWhenThePagesAreAskedFor)
{
    const Bytes address = {0x05, 0x00, 0x00, 0x01, 0x00, 0x02, 0x00, 0x30, 0x05};
    const Bytes cases[] = {
        {0x04, 0x00, 0x00, 0x00, 0x01},                          // a number
        listOf({0x02, 0x01}),                                    // an item that is a number
        listOf({0x00}),                                          // ... the null value
        listOf({0x0f}),                                          // ... absent
        listOf(Bytes{0x08, 0x00, 0x02} + address + Bytes{0x00}), // a size that is the null value
        listOf(Bytes{0x08, 0x00, 0x02} + address + Bytes{0x0f}), // ... absent
        listOf(Bytes{0x08, 0x00, 0x02, 0x06, 0x00, 0x01, 0x00} + Bytes{0x02, 0x01}), // a text as address
        listOf({0x08, 0x00, 0x02, 0x08, 0x00, 0x00, 0x02, 0x01}), // an empty array as address
        listOf(Bytes{0x0a} + address + Bytes{0x00, 0x0b}),        // another kind of array
    };
    for (const Bytes &bytes : cases) {
        Taken taken(bytes + Bytes{0x55});
        EXPECT_EQ(taken.left(), 1u) << taken.text();
        EXPECT_THROW(taken.pages(), ZELException) << taken.text();
    }
}

TEST(PageListReader, ResponseWithoutAListThrows)
{
    PageListReader reader;
    reader.take(Value::createInt(0));
    EXPECT_THROW(std::move(reader).pages(), ZELException);
}

TEST(PageListReader, AbsentElementsAreLoggedWhenThePagesAreAskedFor)
{
    LogCapture log;
    Taken taken({
        0x08, 0x00, 0x03,             // value array of three
        0x0f,                         // absent
        0x08, 0x00, 0x02, 0x0f, 0x0f, // two absent
        0x08, 0x00, 0x01, 0x0f,       // one absent
    });
    EXPECT_EQ(taken.text(), "(value array) 3\n        (any type) unknown\n        (value array) 2\n"
                            "            (any type) unknown\n            (any type) unknown\n"
                            "        (value array) 1\n            (any type) unknown");
    EXPECT_EQ(log.count("Value::copy - unknown type: 15"), 0u);
    EXPECT_THROW(taken.pages(), ZELException);
    EXPECT_EQ(log.count("Value::copy - unknown type: 15"), 4u);
}

TEST(PageListReader, TypesThatNoValueHasAreRefusedAtOnce)
{
    EXPECT_THROW(Taken({0x0c}), ZELException);
    EXPECT_THROW(Taken(listOf({0x0d})), ZELException);
    EXPECT_THROW(Taken(listOf({0x08, 0x00, 0x02, 0x02, 0x05, 0x10})), ZELException);
}

// The list is one level, an item the next.
TEST(PageListReader, ArraysNestedTooDeepAreRefused)
{
    const auto nested = [](std::size_t depth) {
        return listOf(Bytes{0x08, 0x00, 0x02, 0x02, 0x01} + repeated({0x08, 0x00, 0x01}, depth) +
                      Bytes{0x00});
    };
    EXPECT_EQ(Taken(nested(254)).left(), 0u);
    EXPECT_THROW(Taken(nested(255)), ZELException);
}
