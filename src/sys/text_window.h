#pragma once

#include <charconv>
#include <concepts>
#include <cstddef>
#include <cstring>
#include <limits>
#include <string>
#include <string_view>

namespace zel {

/** A type that operator<< shows as a number: every integer, but neither char nor bool. */
template <class T>
concept ShownNumber = std::integral<T> && !std::same_as<T, char> && !std::same_as<T, bool>;

/** Composes a text piece by piece in a buffer of fixed size, the window. When the window is full, its
 *  contents are appended to a string. Without a string they are dropped, so that composing takes no memory,
 *  however long the text becomes. One thread at a time.
 *
 *      TextWindow window(&text);          // or nullptr: nobody reads the text
 *      window << "page " << number;
 *      window.flush();                    // now text is complete
 */
class TextWindow
{
public:
    static constexpr std::size_t kUnlimited = std::numeric_limits<std::size_t>::max();
    static constexpr std::size_t kSize = 256;

    /** kept     receives the text, the last part of it by flush(); may be null
     *  longest  when the kept text becomes longer than this, the window throws ZELException */
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

    /** A literal, which is as long as its array. */
    template <std::size_t Size>
    requires(Size <= kSize) TextWindow &operator<<(const char (&literal)[Size])
    {
        return append(literal, Size - 1);
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

    /** Appends the first length characters of the array. Made for tables of short texts: it always copies the
     *  whole array, whose size the compiler knows, so that copying takes no function call. */
    template <std::size_t Size>
    TextWindow &append(const char (&text)[Size], std::size_t length)
    {
        if (room() < Size)
            flush();
        std::memcpy(m_at, text, Size);
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

    /** Whether the text is kept. If not, callers should compose a repeated part only once: otherwise a
     *  hostile peer could cause much work with few bytes. */
    bool isKept() const noexcept { return m_kept != nullptr; }

    /** Appends the window's contents to the kept text, or drops them, and empties the window. */
    void flush();

private:
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
