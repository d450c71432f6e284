#pragma once

#include <cstdint>
#include <memory>
#include <span>
#include <string>

#include <zel/zel.h>

namespace penctl {

/** What the library hands out and takes back, each in a type that gives it back by itself. */

class LibraryText
{
public:
    LibraryText() = default;
    ~LibraryText() { zelFreeString(&m_text); }
    LibraryText(const LibraryText &) = delete;
    LibraryText &operator=(const LibraryText &) = delete;

    /** The output argument for the export that fills it; called once. */
    char **out() { return &m_text; }
    std::string str() const { return m_text ? m_text : ""; }

private:
    char *m_text = nullptr;
};

class LibraryPageList
{
public:
    LibraryPageList() = default;
    ~LibraryPageList() { zelFreePageList(&m_text); }
    LibraryPageList(const LibraryPageList &) = delete;
    LibraryPageList &operator=(const LibraryPageList &) = delete;

    char **out() { return &m_text; }
    std::string str() const { return m_text ? m_text : ""; }

private:
    char *m_text = nullptr;
};

class LibraryBytes
{
public:
    LibraryBytes() = default;
    ~LibraryBytes() { zelFreePageData(&m_data); }
    LibraryBytes(const LibraryBytes &) = delete;
    LibraryBytes &operator=(const LibraryBytes &) = delete;

    uint8_t **out() { return &m_data; }
    uint32_t *length() { return &m_length; }
    std::span<const uint8_t> bytes() const { return {m_data, m_length}; }

private:
    uint8_t *m_data = nullptr;
    uint32_t m_length = 0;
};

struct FreeDiscoveryHandle {
    void operator()(DiscoveryHandle *record) const { zelFreeDiscoveryHandle(&record); }
};
using PenRecord = std::unique_ptr<DiscoveryHandle, FreeDiscoveryHandle>;

} // namespace penctl
