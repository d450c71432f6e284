#pragma once

#include "sys/read_buffer.h"

#include <iostream>
#include <streambuf>
#include <string_view>
#include <vector>

namespace zel::bench {

/** A stream over bytes in memory, and a buffer to write to. Both can be used again and again without making
 * new ones, because the stream of a connection is made only once too. */
class MemorySource : public ReadBuffer
{
public:
    explicit MemorySource(std::string_view bytes) : m_bytes(bytes.begin(), bytes.end()), m_stream(this) {}

    std::istream &rewound()
    {
        m_stream.clear();
        setg(m_bytes.data(), m_bytes.data(), m_bytes.data() + m_bytes.size());
        return m_stream;
    }

private:
    std::vector<char> m_bytes;
    std::istream m_stream;
};

class MemorySink : private std::streambuf
{
public:
    explicit MemorySink(std::size_t size) : m_bytes(size), m_stream(this) {}

    std::ostream &rewound()
    {
        m_stream.clear();
        setp(m_bytes.data(), m_bytes.data() + m_bytes.size());
        return m_stream;
    }

    std::string_view written() const { return {m_bytes.data(), static_cast<std::size_t>(pptr() - pbase())}; }

private:
    std::vector<char> m_bytes;
    std::ostream m_stream;
};

} // namespace zel::bench
