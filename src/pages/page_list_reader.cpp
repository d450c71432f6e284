#include "pages/page_list_reader.h"

#include "protocol/values/value_decoder.h"
#include "protocol/values/value_text.h"
#include "sys/exceptions.h"

#include <utility>

namespace zel {

namespace {

constexpr std::uint32_t kItemElements = 2;

// Indentations in the response's text.
constexpr std::int32_t kItem = 2;
constexpr std::int32_t kItemElement = 3;

} // namespace

void PageListReader::read(ValueDecoder &values, ValueText &text)
{
    const ValueType type = values.takeType();
    if (type != ValueType::ValueArray) {
        m_answer = values.decodeBody(type);
        text.append(m_answer, kItem - 1);
        return;
    }
    m_isArray = true;
    const NestingLevel level = values.enterArray();
    const std::uint32_t count = values.takeCount();
    text.appendArrayHead(type, count);
    for (std::uint32_t i = 0; i < count; ++i) {
        text.appendLineBreak(kItem);
        readItem(values, text);
    }
}

void PageListReader::readItem(ValueDecoder &values, ValueText &text)
{
    const ValueType type = values.takeType();
    Value other;
    if (type == ValueType::ValueArray) {
        const std::uint32_t count = values.takeCount();
        if (count == kItemElements) {
            m_pages.push_back(readPage(values, text));
            return;
        }
        other = values.decodeValueArray(count);
    } else {
        other = values.decodeBody(type);
    }
    text.append(other, kItem);
    m_others.push_back({m_pages.size(), std::move(other)});
    m_pages.emplace_back();
}

PenPage PageListReader::readPage(ValueDecoder &values, ValueText &text)
{
    const NestingLevel level = values.enterArray();
    text.appendArrayHead(ValueType::ValueArray, kItemElements);
    const PageAddress address(readNumber(values, text));
    const auto size = static_cast<std::uint32_t>(readNumber(values, text));
    return {address, size};
}

std::uint64_t PageListReader::readNumber(ValueDecoder &values, ValueText &text)
{
    text.appendLineBreak(kItemElement);
    const ValueType type = values.takeType();
    if (isNumberType(type)) {
        const std::uint64_t number = values.takeNumber(type);
        text.appendNumber(type, number);
        return number;
    }
    m_isUsable = false;
    OtherItem other{m_pages.size(), values.decodeBody(type)};
    text.append(other.value, kItemElement);
    m_others.push_back(std::move(other));
    return 0;
}

PageList PageListReader::pages() &&
{
    if (!m_isArray) {
        replaceAbsent(m_answer);
        return PageList(m_answer);
    }
    for (OtherItem &other : m_others)
        replaceAbsent(other.value);
    if (!m_isUsable)
        throw ZELException();
    for (const OtherItem &other : m_others)
        m_pages[other.place] = PenPage(other.value);
    return PageList(std::move(m_pages));
}

} // namespace zel
