#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>

namespace zel {

/** Overwrites the bytes with zeros, by a call that no optimiser may drop. Any thread. */
void secureWipe(void *data, std::size_t size) noexcept;

/** Overwrites 8 KiB of the stack below the caller: functions that have returned may have left parts of a
 *  secret there, in places that no variable names. */
void wipeStackBelow() noexcept;

/** Bytes that are wiped when they go out of scope, whatever the way out. Not copyable: every copy
 *  of a secret is one more to lose sight of. */
template <std::size_t Size>
class WipedBytes : public std::array<std::uint8_t, Size>
{
public:
    WipedBytes() noexcept : std::array<std::uint8_t, Size>{} {}
    ~WipedBytes() { secureWipe(this->data(), Size); }
    WipedBytes(const WipedBytes &) = delete;
    WipedBytes &operator=(const WipedBytes &) = delete;
};

/** A text that is wiped likewise, with the room that the string holds beyond it. */
class WipedText
{
public:
    explicit WipedText(const char *text) : m_text(text) {}
    ~WipedText() { secureWipe(m_text.data(), m_text.capacity()); }
    WipedText(const WipedText &) = delete;
    WipedText &operator=(const WipedText &) = delete;

    const std::string &get() const noexcept { return m_text; }

private:
    std::string m_text;
};

} // namespace zel
