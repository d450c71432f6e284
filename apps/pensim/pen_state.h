#pragma once

#include "dfu.h"
#include "properties.h"
#include "request.h"

#include <deque>
#include <unordered_map>

namespace pensim {

/** What a pen answers: a status and perhaps a result. */
struct Answer {
    std::int32_t status = 0;
    std::optional<Value> result;
};

/** The pages that have strokes, in the order in which they were written. An index finds a page by its
 *  address, so that fetching many pages takes linear time. */
class PageStore
{
public:
    void add(PageSpec page);
    const PageSpec *find(std::uint64_t address) const;
    /** Removes every page that the address matches, and returns how many. */
    std::size_t remove(std::uint64_t pattern);
    void clear();

    const std::deque<PageSpec> &pages() const { return m_pages; }
    std::uint64_t bytes() const { return m_bytes; }

private:
    void index();

    std::deque<PageSpec> m_pages;
    std::unordered_map<std::uint64_t, std::size_t> m_places;
    std::uint64_t m_bytes = 0;
};

/** Everything that a pen remembers. It does not know the network. The instruction handlers change it. One
 *  thread at a time. */
struct PenState {
    explicit PenState(const PenSpec &spec);

    /** Carries out a request and answers as the pen would. Sessions belong to the connection that began them.
     */
    Answer handle(const Request &request, std::uint64_t connection);
    void connectionClosed(std::uint64_t connection);
    /** Call it when the pen is docked: it forgets sessions, and locks if it has a password. */
    void dock();

    Value readProperty(std::uint16_t id) const { return properties.read(id, pages.bytes()); }
    bool passwordMatches(const Value &digest) const;
    void setPassword(std::string newPassword);

    std::uint64_t penId;
    std::uint64_t softwareVersion;
    DigestBlock chainingValue;
    Properties properties;
    PageStore pages;
    std::vector<PageSpec> styloPages;
    bool locked = false;
    std::string password;
    std::string hint;
    std::optional<Bytes> encryptedData;
    std::optional<std::uint64_t> sessionOwner; // connection
    std::size_t sessionPages = 0;              // read since the last session began
    bool syncBusy = false;
    std::uint16_t mmiState = 0;
    DfuMachine dfu;
    bool restartWanted = false; // the pen leaves the bus and comes back when the answer has left
};

} // namespace pensim
