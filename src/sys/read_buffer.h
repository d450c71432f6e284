#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <streambuf>

namespace zel {

/** A stream buffer that shows the bytes it holds, so that a reader can take them without a call for each. One
 *  thread at a time. */
class ReadBuffer : public std::streambuf
{
public:
    /** What can be read without waiting, perhaps nothing. Borrowed until the buffer is used again. */
    std::span<const std::uint8_t> available() const noexcept
    {
        return {reinterpret_cast<const std::uint8_t *>(gptr()), static_cast<std::size_t>(egptr() - gptr())};
    }
    /** Takes that many of the available bytes. */
    void consume(std::size_t count) noexcept { setg(eback(), gptr() + count, egptr()); }
};

} // namespace zel
