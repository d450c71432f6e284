#pragma once

#include "support/wire.h"
#include "sys/exceptions.h"
#include "sys/read_buffer.h"

#include <algorithm>
#include <cstddef>
#include <istream>
#include <sstream>
#include <string>
#include <utility>

/** Streams over bytes that a test typed. */
namespace zel::test {

inline std::istringstream streamOf(const Bytes &bytes)
{
    return std::istringstream(std::string(bytes.begin(), bytes.end()));
}

inline Bytes bytesOf(const std::ostringstream &stream)
{
    const std::string text = stream.str();
    return {text.begin(), text.end()};
}

/** Hands out bytes a few at a time, as a socket does, and counts how often it was asked for more after the
 *  last one: on a socket each of those would be a wait for ever. After a refill underflow() returns 0
 *  whatever byte arrived, which the library's own socket buffer does too. */
class TrickleBuffer : public ReadBuffer
{
public:
    TrickleBuffer(Bytes bytes, std::size_t step) : m_bytes(std::move(bytes)), m_step(step) {}

    int waits() const { return m_waits; }
    std::size_t left() const { return m_bytes.size() - m_given + static_cast<std::size_t>(egptr() - gptr()); }

protected:
    int_type underflow() override
    {
        if (m_given == m_bytes.size()) {
            ++m_waits;
            return traits_type::eof();
        }
        const std::size_t count = std::min(m_step, m_bytes.size() - m_given);
        char *const begin = reinterpret_cast<char *>(m_bytes.data()) + m_given;
        setg(begin, begin, begin + count);
        m_given += count;
        return 0;
    }

private:
    Bytes m_bytes;
    std::size_t m_step;
    std::size_t m_given = 0;
    int m_waits = 0;
};

class TrickleStream : public std::istream
{
public:
    TrickleStream(Bytes bytes, std::size_t step) : std::istream(nullptr), m_buffer(std::move(bytes), step)
    {
        rdbuf(&m_buffer);
    }

    TrickleBuffer &buffer() { return m_buffer; }

private:
    TrickleBuffer m_buffer;
};

/** Gives its bytes and then fails, as a socket that was reset does. */
class ResetBuffer : public ReadBuffer
{
public:
    explicit ResetBuffer(Bytes bytes) : m_bytes(std::move(bytes))
    {
        char *const begin = reinterpret_cast<char *>(m_bytes.data());
        setg(begin, begin, begin + m_bytes.size());
    }

protected:
    int_type underflow() override { throw IOException("reset"); }

private:
    Bytes m_bytes;
};

/** Lets the failure out, as the socket's stream does. */
class ResetStream : public std::istream
{
public:
    explicit ResetStream(const Bytes &bytes) : std::istream(nullptr), m_buffer(bytes)
    {
        rdbuf(&m_buffer);
        exceptions(std::ios::badbit);
    }

    ResetBuffer &buffer() { return m_buffer; }

private:
    ResetBuffer m_buffer;
};

} // namespace zel::test
