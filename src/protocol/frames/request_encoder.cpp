#include "protocol/frames/request_encoder.h"

#include "protocol/bytes/big_endian.h"
#include "protocol/bytes/protocol_output_stream.h"
#include "protocol/frames/protocol_version.h"
#include "protocol/values/value_encoder.h"
#include "protocol/values/value_format.h"
#include "sys/exceptions.h"

#include <cstring>
#include <limits>
#include <utility>

namespace zel {

namespace {

constexpr std::size_t kVersionLength = 2;
constexpr std::uint16_t kHeaderLength = kRequestHeaderLength - kVersionLength;
constexpr std::uint16_t kEntryHeaderLength = 2;
constexpr std::size_t kKeyLength = 2;
constexpr int kFlaggedField = 2;

std::uint16_t countOf(std::size_t count)
{
    if (count > std::numeric_limits<std::uint16_t>::max())
        throw ZELException();
    return static_cast<std::uint16_t>(count);
}

std::size_t entriesSize(const EntryMap &entries)
{
    countOf(entries.size());
    std::size_t size = 0;
    for (const auto &[key, value] : entries) {
        if (value.isAbsent())
            throw ZELException();
        size += kKeyLength + encodedSize(value);
    }
    return size;
}

// Not std::copy(): GCC 12 compiles it to a loop over single bytes.
std::uint8_t *writeBytes(std::uint8_t *at, std::span<const std::uint8_t> bytes) noexcept
{
    if (!bytes.empty() && bytes.data() != at)
        std::memcpy(at, bytes.data(), bytes.size());
    return at + bytes.size();
}

std::uint8_t *writeEntries(std::uint8_t *at, const EntryMap &entries)
{
    for (const auto &[key, value] : entries) {
        ValueEncoder encoder;
        encoder.encode(value);
        at = storeBigEndian(at, key);
        at = writeBytes(at, encoder.bytes());
    }
    return at;
}

std::uint8_t *writePageHeader(std::uint8_t *at, const ProtocolPage &page)
{
    const bool isFlagged = page.hasData() && page.address.getField(kFlaggedField) == 0;
    at = storeBigEndian(at, page.address.raw());
    at = storeBigEndian(at, static_cast<std::uint32_t>(page.data().size()));
    at = storeBigEndian(at, static_cast<std::uint8_t>(isFlagged ? 1 : 0));
    return storeBigEndian(at, static_cast<std::uint16_t>(page.entryCount()));
}

ProtocolPage::Owned &owned(ProtocolPage &page)
{
    if (!page.owned)
        page.owned = std::make_unique<ProtocolPage::Owned>();
    return *page.owned;
}

void write(ProtocolOutputStream &out, std::span<const std::uint8_t> bytes)
{
    out.write(bytes.data(), static_cast<std::uint32_t>(bytes.size()));
}

void write(ProtocolOutputStream &out, const EntryMap &entries)
{
    const std::size_t size = entriesSize(entries);
    const ByteBlock block = allocateBlock(size);
    writeEntries(block.get(), entries);
    write(out, {block.get(), size});
}

} // namespace

void RequestEncoderV1_0::addEntry(std::uint16_t key, Value value)
{
    m_entries.try_emplace(key, std::move(value));
}

void RequestEncoderV1_0::setPageData(const PageAddress &address, Value data)
{
    ProtocolPage &page = pageFor(address);
    owned(page).data = std::move(data);
    page.borrowed = {};
}

void RequestEncoderV1_0::borrowPageData(const PageAddress &address, std::span<const std::uint8_t> data)
{
    ProtocolPage &page = pageFor(address);
    if (page.owned)
        page.owned->data = {};
    page.borrowed = data;
}

void RequestEncoderV1_0::expectPages(std::size_t count)
{
    m_pages.reserve(m_pages.size() + count);
}

void RequestEncoderV1_0::addPageEntry(const PidgetAddress &address, Value value)
{
    owned(pageFor(address.page())).entries.try_emplace(address.number(), std::move(value));
}

ProtocolPage &RequestEncoderV1_0::pageFor(const PageAddress &address)
{
    if (m_pages.size() == m_pages.capacity())
        m_pages.reserve(2 * m_pages.size() +
                        1); // first, so that push_back() cannot fail once the index has the page
    const std::size_t place = m_index.findOrAdd(address, m_pages);
    if (place == m_pages.size())
        m_pages.push_back({address, {}, nullptr});
    return m_pages[place];
}

void RequestEncoderV1_0::encode(std::ostream &out)
{
    encodedSize(); // throws before the first byte is written if the request cannot be encoded
    ProtocolOutputStream stream(out);
    std::uint8_t header[kRequestHeaderLength];
    writeHeader(header);
    write(stream, header);
    for (const ProtocolPage &page : m_pages) {
        std::uint8_t pageHeader[kPageHeaderLength];
        writePageHeader(pageHeader, page);
        write(stream, pageHeader);
        write(stream, page.data());
        if (page.owned)
            write(stream, page.owned->entries);
    }
    write(stream, m_entries);
    if (!out.flush())
        ProtocolOutputStream::throwWriteFailure();
}

std::size_t RequestEncoderV1_0::encodedSize() const
{
    countOf(m_pages.size());
    std::size_t size = kRequestHeaderLength + entriesSize(m_entries);
    for (const ProtocolPage &page : m_pages)
        size += kPageHeaderLength + page.data().size() + (page.owned ? entriesSize(page.owned->entries) : 0);
    return size;
}

void RequestEncoderV1_0::encodeTo(std::span<std::uint8_t> block)
{
    if (block.size() != encodedSize())
        throw ZELException();
    std::uint8_t *at = writeHeader(block.data());
    for (ProtocolPage &page : m_pages) {
        at = writePageHeader(at, page);
        at = writeBytes(at, page.data());
        if (page.owned) {
            at = writeEntries(at, page.owned->entries);
            page.owned->data = {};
        }
    }
    writeEntries(at, m_entries);
}

std::uint8_t *RequestEncoderV1_0::writeHeader(std::uint8_t *at) const
{
    at = storeBigEndian(at, kProtocolVersion1_0.major());
    at = storeBigEndian(at, kProtocolVersion1_0.minor());
    at = storeBigEndian(at, kHeaderLength);
    at = storeBigEndian(at, m_address.page().raw());
    at = storeBigEndian(at, m_address.number());
    at = storeBigEndian(at, static_cast<std::uint16_t>(kPageHeaderLength));
    at = storeBigEndian(at, kEntryHeaderLength); // of a page's entries
    at = storeBigEndian(at, kEntryHeaderLength); // of the request's own
    at = storeBigEndian(at, VALUE_HEADER_LENGTH);
    at = storeBigEndian(at, countOf(m_pages.size()));
    return storeBigEndian(at, countOf(m_entries.size()));
}

} // namespace zel
