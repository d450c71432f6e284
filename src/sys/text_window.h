#pragma once

#include <charconv>
#include <concepts>
#include <cstddef>
#include <cstring>
#include <limits>
#include <string>
#include <string_view>

namespace zel {

/** A number that a text can show; characters and bools are none. */
template <class T>
concept ShownNumber = std::integral<T> && !std::same_as<T, char> && !std::same_as<T, bool>;

/** A text that is composed piece by piece through a window of fixed size. A full window goes to the text
 *  that is kept or, where none is, nowhere: then composing takes no memory, however long the text becomes.
 *  One thread at a time. */
class TextWindow
{
public:
    static constexpr std::size_t kUnlimited = std::numeric_limits<std::size_t>::max();

    /** kept: what is composed is appended to it, the last of it by flush(); may be null. A kept text that
     *  becomes longer than longest raises ZELException. */
    // cppcheck-suppress uninitMemberVar ; m_window is written before it is read
    explicit TextWindow(std::string *kept, std::size_t longest = kUnlimited) noexcept
        : m_kept(kept), m_longest(longest)
    {
    }
    TextWindow(const TextWindow &) = delete;
    TextWindow &operator=(const TextWindow &) = delete;

    TextWindow &operator<<(std::string_view text)
    {
        if (room() < text.size()) {
            appendSlowly(text);
        } else {
            std::memcpy(m_at, text.data(), text.size());
            m_at += text.size();
        }
        return *this;
    }

    TextWindow &operator<<(char character)
    {
        if (room() == 0)
            flush();
        *m_at++ = character;
        return *this;
    }

    template <ShownNumber Number>
    TextWindow &operator<<(Number number)
    {
        if (room() < kLongestNumber)
            flush();
        m_at = std::to_chars(m_at, m_at + kLongestNumber, number).ptr;
        return *this;
    }

    /** The first length characters of an array, all of which may be read: for the short texts of tables. */
    template <std::size_t Size>
    TextWindow &append(const char (&text)[Size], std::size_t length)
    {
        if (room() < Size)
            flush();
        std::memcpy(m_at, text, Size); // of a size that the compiler knows: no call
        m_at += length;
        return *this;
    }

    void repeat(char character, std::size_t count)
    {
        if (count > kShortRun || room() < kShortRun) {
            repeatSlowly(character, count);
        } else {
            std::memset(m_at, character, kShortRun);
            m_at += count;
        }
    }

    /** Whether anybody will see the text. Where nobody does, a peer could make the work of repeating the same
     *  outgrow its bytes by far: then the same needs to be composed but once. */
    bool isKept() const noexcept { return m_kept != nullptr; }

    /** Empties the window. */
    void flush();

private:
    static constexpr std::size_t kSize = 256;
    static constexpr std::size_t kLongestNumber = 20;
    static constexpr std::size_t kShortRun = 32;

    std::size_t room() const noexcept { return static_cast<std::size_t>(m_window + kSize - m_at); }
    void appendSlowly(std::string_view text);
    void repeatSlowly(char character, std::size_t count);

    std::string *m_kept;
    std::size_t m_longest;
    char *m_at = m_window;
    char m_window[kSize];
};

} // namespace zel
