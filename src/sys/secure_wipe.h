#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>

namespace zel {

/** Overwrites the bytes with zeros. The compiler may not leave this out, unlike memset(). Any thread. */
void secureWipe(void *data, std::size_t size) noexcept;

/** Overwrites 8 KiB of the stack below the caller: functions that have returned may have left parts of a
 *  secret there, in places that no variable names. */
void wipeStackBelow() noexcept;

/** An array of bytes for secrets: it is wiped when it goes out of scope, also when an exception passes. It
 *  cannot be copied, because every copy of a secret would have to be wiped too. */
template <std::size_t Size>
class WipedBytes : public std::array<std::uint8_t, Size>
{
public:
    WipedBytes() noexcept : std::array<std::uint8_t, Size>{} {}
    ~WipedBytes() { secureWipe(this->data(), Size); }
    WipedBytes(const WipedBytes &) = delete;
    WipedBytes &operator=(const WipedBytes &) = delete;
};

/** A text for secrets, wiped in the same way, including the unused capacity of the string. */
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
