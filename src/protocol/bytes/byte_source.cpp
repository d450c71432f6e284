#include "protocol/bytes/byte_source.h"

#include "sys/exceptions.h"

#include <cstring>

namespace zel {

// cppcheck-suppress uninitMemberVar ; m_scratch is written before it is read
ByteSource::ByteSource(std::span<const std::uint8_t> memory) noexcept
    : m_stream(nullptr), m_begin(memory.data()), m_at(m_begin), m_limit(m_begin + memory.size())
{
}

// cppcheck-suppress uninitMemberVar ; m_scratch is written before it is read
ByteSource::ByteSource(ProtocolInputStream &stream) : m_stream(&stream)
{
    attach();
}

void ByteSource::attach()
{
    // A stream that has failed gives nothing, whatever its buffer holds.
    if (m_stream->buffer() == nullptr || !m_stream->stream().good())
        return;
    const std::span<const std::uint8_t> held = m_stream->buffer()->available();
    m_begin = m_at = held.data();
    m_limit = m_begin + held.size();
}

void ByteSource::detach() noexcept
{
    if (m_stream == nullptr || m_begin == nullptr)
        return;
    const auto count = static_cast<std::size_t>(m_at - m_begin);
    m_stream->buffer()->consume(count);
    m_takenBefore += count;
    m_begin = m_at = m_limit = nullptr;
}

const std::uint8_t *ByteSource::takeSlowly(std::uint32_t count)
{
    if (atHand().empty() && refill() && count <= atHand().size())
        return take(count);
    takeInto(m_scratch, count);
    return m_scratch;
}

/** Waits for one byte at least, which is missing anyway. */
bool ByteSource::refill()
{
    if (m_stream == nullptr || m_stream->buffer() == nullptr || !m_stream->stream().good())
        return false;
    detach();
    m_stream->stream().peek();
    attach();
    return !atHand().empty();
}

void ByteSource::takeInto(std::uint8_t *target, std::uint32_t count)
{
    if (count <= atHand().size()) {
        if (count > 0)
            std::memcpy(target, m_at, count);
        drop(count);
        return;
    }
    if (m_stream == nullptr)
        ProtocolInputStream::throwReadFailure(static_cast<std::int32_t>(count));
    detach();
    m_stream->readFully(target, static_cast<std::int32_t>(count));
    m_takenBefore += count;
    attach();
}

void ByteSource::appendTo(GrowingBlock &target, std::uint32_t count)
{
    if (count <= atHand().size()) {
        target.append(atHand().first(count));
        drop(count);
        return;
    }
    if (m_stream == nullptr)
        ProtocolInputStream::throwReadFailure(static_cast<std::int32_t>(count));
    detach();
    m_stream->appendTo(target, static_cast<std::int32_t>(count));
    m_takenBefore += count;
    attach();
}

void ByteSource::skip(std::int32_t count)
{
    if (count < 0)
        ProtocolInputStream::throwSkipFailure(count);
    const auto wanted = static_cast<std::size_t>(count);
    if (wanted <= atHand().size()) {
        drop(wanted);
    } else if (m_stream == nullptr) {
        m_at = m_limit;
    } else {
        detach();
        m_stream->skipBytes(count);
        m_takenBefore += wanted;
        attach();
    }
}

} // namespace zel
