#pragma once

#include "protocol/addresses/page_address.h"
#include "protocol/addresses/pidget_address.h"
#include "protocol/frames/request_pages.h"
#include "protocol/values/value.h"

#include <cstddef>
#include <cstdint>
#include <ostream>
#include <span>
#include <vector>

namespace zel {

/** Where the first page of a request begins, and the length of the header before each page's data. */
inline constexpr std::size_t kRequestHeaderLength = 26;
inline constexpr std::size_t kPageHeaderLength = 15;

/** Collects pages and values, and writes them as one page-transaction request. One thread at a time. */
class RequestEncoder
{
public:
    virtual ~RequestEncoder() = default;

    /** The first value put under a key stays. */
    virtual void addEntry(std::uint16_t key, Value value) = 0;
    /** Sets the data of the page with this address, or appends a page. */
    virtual void setPageData(const PageAddress &address, Value data) = 0;
    /** The same with data that the caller keeps until the request is encoded. They may be in the block of
     *  encodeTo(), but only where they go. */
    virtual void borrowPageData(const PageAddress &address, std::span<const std::uint8_t> data) = 0;
    /** Adds an entry to the pidget's page; its key is the pidget's number. */
    virtual void addPageEntry(const PidgetAddress &address, Value value) = 0;
    /** Throws IOException when the stream fails, and ZELException when the request cannot be encoded: more
     *  than 65,535 pages or entries, page data that is not a binary, or an absent entry. */
    virtual void encode(std::ostream &out) = 0;
    /** The length of the encoded request. Throws ZELException as encode() does. */
    virtual std::size_t encodedSize() const = 0;
    /** Writes the request into a block of exactly encodedSize() bytes. Each page's data is released as
     *  soon as it is written, so that the request and the block are never both whole in memory. */
    virtual void encodeTo(std::span<std::uint8_t> block) = 0;
    /** Reserves room for so many more pages. Without this the list reallocates, and then holds its pages
     *  twice. */
    virtual void expectPages(std::size_t count) = 0;
};

class RequestEncoderV1_0 : public RequestEncoder
{
public:
    explicit RequestEncoderV1_0(const PidgetAddress &address) : m_address(address) {}

    void addEntry(std::uint16_t key, Value value) override;
    void setPageData(const PageAddress &address, Value data) override;
    void borrowPageData(const PageAddress &address, std::span<const std::uint8_t> data) override;
    void addPageEntry(const PidgetAddress &address, Value value) override;
    void encode(std::ostream &out) override;
    std::size_t encodedSize() const override;
    void encodeTo(std::span<std::uint8_t> block) override;
    void expectPages(std::size_t count) override;

private:
    ProtocolPage &pageFor(const PageAddress &address);
    std::uint8_t *writeHeader(std::uint8_t *at) const;

    EntryMap m_entries;
    std::vector<ProtocolPage> m_pages;
    PageIndex m_index;
    PidgetAddress m_address;
};

} // namespace zel
