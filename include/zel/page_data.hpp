/* SPDX-License-Identifier: MIT */
/** Reads page data: the block of bytes that a retrieval returns, and the files that it is stored in.
 *
 *      const zelpp::PageData data = zelpp::PageData::read("pages.zel");
 *      std::cout << "pen " << data.penSerial() << '\n';
 *      for (const zelpp::Page &page : data)
 *          std::cout << page.address() << ": " << page.strokes().size() << " bytes of strokes\n";
 *
 *  docs/page_data.md describes the layout. The reader goes through the whole block once and then refers to
 * it: strokes and texts are never copied. It refuses everything that is not page data, and reports the first
 * byte that makes no sense. It calls nothing of the library, so nothing has to be linked.
 *
 *  C++17. */
#ifndef ZEL_PAGE_DATA_HPP
#define ZEL_PAGE_DATA_HPP

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <system_error>
#include <type_traits>
#include <utility>
#include <vector>

#include <zel/error.hpp>

namespace zelpp {
inline namespace ZELPP_VARIANT {

/** A borrowed run of bytes. Everything with data() and size() of bytes converts to it: a std::vector, a
 *  std::array, a std::span. It converts to a std::span. */
class Bytes
{
public:
    /** No bytes. */
    constexpr Bytes() noexcept = default;
    /** `size` bytes that begin at `data`; `data` may be null if there are none. */
    constexpr Bytes(const std::uint8_t *data, std::size_t size) noexcept : m_data(data), m_size(size) {}
    /** The bytes of a container, which must outlive this. */
    template <class Container, class = std::enable_if_t<std::is_convertible_v<
                                   decltype(std::declval<const Container &>().data()), const std::uint8_t *>>>
    constexpr Bytes(const Container &container) noexcept // NOLINT(google-explicit-constructor)
        : m_data(container.data()), m_size(container.size())
    {
    }

    constexpr const std::uint8_t *data() const noexcept { return m_data; }  ///< The first byte.
    constexpr std::size_t size() const noexcept { return m_size; }          ///< How many there are.
    constexpr bool empty() const noexcept { return m_size == 0; }           ///< Whether there are none.
    constexpr const std::uint8_t *begin() const noexcept { return m_data; } ///< Start of the range.
    constexpr const std::uint8_t *end() const noexcept { return m_data + m_size; } ///< End of the range.
    /** The byte at an index below size(). */
    constexpr std::uint8_t operator[](std::size_t index) const noexcept { return m_data[index]; }
    /** The bytes that begin at index `from`, at most `count` of them; `from` is at most size(). */
    constexpr Bytes subrun(std::size_t from, std::size_t count = static_cast<std::size_t>(-1)) const noexcept
    {
        return {m_data + from, count < m_size - from ? count : m_size - from};
    }
    /** A copy of the bytes. */
    std::vector<std::uint8_t> copy() const { return {begin(), end()}; }

private:
    const std::uint8_t *m_data = nullptr;
    std::size_t m_size = 0;
};

/** Bytes that are not page data (Errc::badPageData), or a file that cannot be read (Errc::fileAccess). */
class PageDataError : public Error
{
public:
    /** offset  the first byte that makes no sense
     *  detail  what is wrong there */
    PageDataError(std::uint64_t offset, const std::string &detail)
        : Error(Errc::badPageData, "PageData", "byte " + std::to_string(offset) + ": " + detail),
          m_offset(offset)
    {
    }
    /** From an error of another kind. */
    explicit PageDataError(const Error &error) : Error(error) {}

    /** The first byte of the first field that cannot be read or is invalid; only for Errc::badPageData. */
    std::uint64_t offset() const noexcept { return m_offset; }
    /** Throws this error. */
    [[noreturn]] void raise() const
    {
#if ZELPP_HAS_EXCEPTIONS
        throw *this;
#else
        std::terminate();
#endif
    }

private:
    std::uint64_t m_offset = 0;
};

/** The types of values, numbered as in the data. */
enum class ValueType : std::uint8_t {
    null = 0,
    boolean = 1,
    byte = 2,
    short16 = 3,
    int32 = 4,
    long64 = 5,
    string = 6,
    binary = 7,
    valueArray = 8,
    dataArray = 9,
    terminatedArray = 10,
    terminator = 11,
    escapedBinary = 14,
    anyType = 15,
};

/** The name of a type: "short16"; "unknown" for any other number. */
inline const char *typeName(ValueType type) noexcept
{
    switch (type) {
    case ValueType::null:
        return "null";
    case ValueType::boolean:
        return "bool";
    case ValueType::byte:
        return "byte";
    case ValueType::short16:
        return "short16";
    case ValueType::int32:
        return "int32";
    case ValueType::long64:
        return "long64";
    case ValueType::string:
        return "string";
    case ValueType::binary:
        return "binary";
    case ValueType::valueArray:
        return "value array";
    case ValueType::dataArray:
        return "data array";
    case ValueType::terminatedArray:
        return "terminated array";
    case ValueType::terminator:
        return "terminator";
    case ValueType::escapedBinary:
        return "escaped binary";
    case ValueType::anyType:
        return "any type";
    }
    return "unknown";
}

namespace detail {

/** Arrays that are nested deeper are refused; the library refuses them too. */
constexpr unsigned kDeepestNesting = 256;

constexpr std::uint8_t kEscapedEnd = 0xC0;
constexpr std::uint8_t kEscape = 0xDB;
constexpr std::uint8_t kEscapedEndCode = 0xDC;
constexpr std::uint8_t kEscapedEscapeCode = 0xDD;

inline std::uint64_t bigEndian(const std::uint8_t *at, std::size_t width) noexcept
{
    std::uint64_t number = 0;
    for (std::size_t i = 0; i < width; ++i)
        number = number << 8 | at[i];
    return number;
}

/** The size of the body of every value of this type; empty for types whose values differ in size. */
inline std::optional<std::size_t> fixedSize(ValueType type) noexcept
{
    switch (type) {
    case ValueType::null:
    case ValueType::terminator:
    case ValueType::anyType:
        return 0;
    case ValueType::boolean:
    case ValueType::byte:
        return 1;
    case ValueType::short16:
        return 2;
    case ValueType::int32:
        return 4;
    case ValueType::long64:
        return 8;
    default:
        return std::nullopt;
    }
}

/** Goes through page data field by field. The first field that cannot be read or is invalid is kept as the
 * fault; every later step then fails. Memory is allocated only for the text of a fault. */
class Scanner
{
public:
    explicit Scanner(Bytes all) noexcept : m_all(all) {}

    std::size_t at() const noexcept { return m_at; }
    std::size_t left() const noexcept { return m_all.size() - m_at; }
    bool failed() const noexcept { return m_what != nullptr; }
    PageDataError fault() const
    {
        if (m_number.empty())
            return {m_faultAt, m_what};
        return {m_faultAt, std::string(m_what) + m_number};
    }

    bool fail(std::size_t at, const char *what, std::string number = {})
    {
        if (!failed()) {
            m_faultAt = at;
            m_what = what;
            m_number = std::move(number);
        }
        return false;
    }

    bool skip(std::uint64_t count, const char *what)
    {
        if (failed())
            return false;
        if (count > left())
            return fail(m_at, what,
                        " should take " + std::to_string(count) +
                            (count == 1 ? " byte, but " : " bytes, but ") + std::to_string(left()) +
                            (left() == 1 ? " is left" : " are left"));
        m_at += static_cast<std::size_t>(count);
        return true;
    }

    template <class Number>
    bool number(Number &out, const char *what)
    {
        const std::size_t from = m_at;
        if (!skip(sizeof(Number), what))
            return false;
        out = static_cast<Number>(bigEndian(m_all.data() + from, sizeof(Number)));
        return true;
    }

    bool type(ValueType &out)
    {
        const std::size_t from = m_at;
        std::uint8_t code = 0;
        if (!number(code, "a value's type"))
            return false;
        out = static_cast<ValueType>(code);
        return code == 12 || code == 13 || code > 15
                   ? fail(from, "there is no value type ", std::to_string(code))
                   : true;
    }

    /** Reads the type byte, and skips the rest of the value's header. */
    bool head(ValueType &out, std::size_t header)
    {
        return type(out) && skip(header - 1, "a value's header");
    }

    bool value(std::size_t header, unsigned depth = 0)
    {
        const std::size_t from = m_at;
        ValueType kind{};
        return head(kind, header) && body(kind, header, depth, from);
    }

    /** depth  how many arrays contain the value
     *  from   the byte to report if the value is an array that is nested too deep */
    bool body(ValueType kind, std::size_t header, unsigned depth, std::size_t from)
    {
        if (const std::optional<std::size_t> size = fixedSize(kind))
            return skip(*size, "a number");
        switch (kind) {
        case ValueType::string:
            return counted<std::uint16_t>("a string's length", "a string");
        case ValueType::binary:
            return counted<std::uint32_t>("a binary's length", "a binary");
        case ValueType::escapedBinary:
            return escaped();
        default:
            break;
        }
        if (depth >= kDeepestNesting)
            return fail(from, "arrays nested more than 256 deep");
        if (kind == ValueType::valueArray)
            return valueArray(header, depth + 1);
        if (kind == ValueType::dataArray)
            return dataArray(header, depth + 1);
        return terminatedArray(header, depth + 1);
    }

private:
    template <class Length>
    bool counted(const char *lengthName, const char *name)
    {
        Length length = 0;
        return number(length, lengthName) && skip(length, name);
    }

    bool escaped()
    {
        for (std::uint8_t byte = 0; number(byte, "an escaped binary");) {
            if (byte == kEscapedEnd)
                return true;
            const std::size_t from = m_at;
            if (byte != kEscape)
                continue;
            if (!number(byte, "an escaped binary"))
                return false;
            if (byte != kEscapedEndCode && byte != kEscapedEscapeCode)
                return fail(from, "no escape of an escaped binary is followed by ", std::to_string(byte));
        }
        return false;
    }

    bool valueArray(std::size_t header, unsigned depth)
    {
        std::uint16_t count = 0;
        if (!number(count, "an array's count"))
            return false;
        for (std::uint16_t i = 0; i < count; ++i)
            if (!value(header, depth))
                return false;
        return true;
    }

    bool dataArray(std::size_t header, unsigned depth)
    {
        std::uint16_t count = 0;
        if (!number(count, "an array's count"))
            return false;
        const std::size_t from = m_at;
        ValueType kind{};
        if (!head(kind, header))
            return false;
        for (std::uint16_t i = 0; i < count; ++i) {
            if (!body(kind, header, depth, from))
                return false;
            // However many elements there are, they take no bytes.
            if (fixedSize(kind) == std::size_t{0})
                break;
        }
        return true;
    }

    bool terminatedArray(std::size_t header, unsigned depth)
    {
        for (;;) {
            const std::size_t from = m_at;
            ValueType kind{};
            if (!head(kind, header))
                return false;
            if (kind == ValueType::terminator || kind == ValueType::anyType)
                return true;
            if (!body(kind, header, depth, from))
                return false;
        }
    }

    Bytes m_all;
    std::size_t m_at = 0;
    std::size_t m_faultAt = 0;
    const char *m_what = nullptr;
    std::string m_number;
};

} // namespace detail

/** One value of page data, with its type. Refers to the bytes of the PageData that it comes from, which must
 *  outlive it. */
class Value
{
public:
    class Iterator;

    /** Its type. */
    ValueType type() const noexcept { return m_type; }

    /** A bool (0 or 1), a byte, or a short16, int32 or long64 with its sign; empty for other types. */
    std::optional<std::int64_t> number() const noexcept
    {
        switch (m_type) {
        case ValueType::boolean:
            return m_body[0] != 0 ? 1 : 0;
        case ValueType::byte:
            return m_body[0];
        case ValueType::short16:
            return static_cast<std::int16_t>(detail::bigEndian(m_body.data(), 2));
        case ValueType::int32:
            return static_cast<std::int32_t>(detail::bigEndian(m_body.data(), 4));
        case ValueType::long64:
            return static_cast<std::int64_t>(detail::bigEndian(m_body.data(), 8));
        default:
            return std::nullopt;
        }
    }

    /** A string's bytes up to its first NUL, in the pen's encoding; empty for other types. */
    std::optional<std::string_view> text() const noexcept
    {
        if (m_type != ValueType::string)
            return std::nullopt;
        const std::string_view all(reinterpret_cast<const char *>(m_body.data()) + 2, m_body.size() - 2);
        return all.substr(0, all.find('\0'));
    }

    /** A binary's bytes; empty for other types. The bytes of an escaped binary do not stand in the data as
     * they are; unescaped() makes a copy of them. */
    std::optional<Bytes> binary() const noexcept
    {
        if (m_type != ValueType::binary)
            return std::nullopt;
        return m_body.subrun(4);
    }

    /** A copy of the bytes of a binary or an escaped binary; no bytes for other types. */
    std::vector<std::uint8_t> unescaped() const
    {
        if (m_type != ValueType::escapedBinary)
            return binary().value_or(Bytes()).copy();
        std::vector<std::uint8_t> bytes;
        for (std::size_t i = 0; m_body[i] != detail::kEscapedEnd; ++i) {
            if (m_body[i] != detail::kEscape)
                bytes.push_back(m_body[i]);
            else if (m_body[++i] == detail::kEscapedEndCode)
                bytes.push_back(detail::kEscapedEnd);
            else
                bytes.push_back(detail::kEscape);
        }
        return bytes;
    }

    /** Whether it is an array of one of the three kinds. */
    bool isArray() const noexcept
    {
        return m_type == ValueType::valueArray || m_type == ValueType::dataArray ||
               m_type == ValueType::terminatedArray;
    }
    /** The elements of an array: `for (const Value &element : value)`. Other types have none. */
    Iterator begin() const noexcept;
    Iterator end() const noexcept; ///< \copydoc begin

    /** The encoded value, without its type byte and header. */
    Bytes body() const noexcept { return m_body; }

private:
    friend class PageData;
    Value() = default;
    Value(ValueType type, Bytes body, std::size_t header) noexcept
        : m_type(type), m_body(body), m_header(header)
    {
    }

    ValueType m_type = ValueType::null;
    Bytes m_body;
    std::size_t m_header = 1;
};

/** Goes through the elements of an array. */
class Value::Iterator
{
public:
    using iterator_category = std::input_iterator_tag; ///< Each step makes a new Value.
    using value_type = Value;                          ///< An element.
    using difference_type = std::ptrdiff_t;            ///< Distances have no use here.
    using pointer = const Value *;                     ///< To the element.
    using reference = const Value &;                   ///< To the element.

    /** The end of every array. */
    Iterator() = default;

    reference operator*() const noexcept { return m_element; } ///< The element.
    pointer operator->() const noexcept { return &m_element; } ///< A member of the element.
    /** Goes to the next element. */
    Iterator &operator++() noexcept
    {
        --m_left;
        read();
        return *this;
    }
    /** Goes to the next element. */
    Iterator operator++(int) noexcept
    {
        Iterator before = *this;
        ++*this;
        return before;
    }
    /** Whether both are at the same element of an array, or both at its end. */
    friend bool operator==(const Iterator &a, const Iterator &b) noexcept { return a.m_left == b.m_left; }
    /** Whether they are at different elements. */
    friend bool operator!=(const Iterator &a, const Iterator &b) noexcept { return !(a == b); }

private:
    friend class Value;

    explicit Iterator(const Value &array) noexcept : m_header(array.m_header), m_rest(array.m_body)
    {
        if (array.m_type == ValueType::terminatedArray) {
            m_left = static_cast<std::size_t>(-1);
        } else {
            m_left = static_cast<std::size_t>(detail::bigEndian(m_rest.data(), 2));
            m_rest = m_rest.subrun(2);
        }
        if (array.m_type == ValueType::dataArray) {
            m_shared = static_cast<ValueType>(m_rest[0]);
            m_rest = m_rest.subrun(m_header);
        }
        m_terminated = array.m_type == ValueType::terminatedArray;
        read();
    }

    /** Reads the element at the beginning of the rest. PageData has checked these bytes. */
    void read() noexcept
    {
        if (m_left == 0)
            return;
        ValueType type = m_shared.value_or(ValueType::null);
        if (!m_shared) {
            type = static_cast<ValueType>(m_rest[0]);
            m_rest = m_rest.subrun(m_header);
        }
        if (m_terminated && (type == ValueType::terminator || type == ValueType::anyType)) {
            m_left = 0;
            return;
        }
        detail::Scanner scanner(m_rest);
        scanner.body(type, m_header, 0, 0);
        m_element = Value(type, m_rest.subrun(0, scanner.at()), m_header);
        m_rest = m_rest.subrun(scanner.at());
    }

    std::size_t m_header = 1;
    Bytes m_rest;
    std::size_t m_left = 0;
    bool m_terminated = false;
    std::optional<ValueType> m_shared;
    Value m_element;
};

inline Value::Iterator Value::begin() const noexcept
{
    return isArray() ? Iterator(*this) : Iterator();
}

inline Value::Iterator Value::end() const noexcept
{
    return {};
}

/** The name of the property with this number: "PEN_BRAND"; null if none is known. */
inline const char *propertyName(std::uint16_t id) noexcept
{
    switch (id) {
    case 0x0000:
        return "PEN_ID";
    case 0x0001:
        return "PEN_SOFTWARE_VERSION";
    case 0x0003:
        return "PEN_FREE_MEMORY";
    case 0x000e:
        return "BATTERY_LEVEL_VERBOSE";
    case 0x0010:
        return "PEN_REVISIONS";
    case 0x001a:
        return "PEN_PROPERTIES_RANGE";
    case 0x001f:
        return "DAS_DIFF";
    case 0x0021:
        return "SYSTEM_TIME";
    case 0x0022:
        return "PGC_VERSION";
    case 0x0023:
        return "MANUFACTURER_DATA";
    case 0x0024:
        return "PEN_BRAND";
    case 0x002a:
        return "SEC_SDE";
    case 0x2009:
        return "PEN_OWNER_LOCALE";
    case 0x200a:
        return "PEN_OWNER_VCARD";
    case 0x200b:
        return "PEN_OWNER_EMAIL";
    case 0x200c:
        return "PEN_OWNER_CELL_PHONE";
    case 0x2021:
        return "PEN_TIME";
    case 0x202a:
        return "AUTO_POWER_OFF";
    case 0x202e:
        return "BT_ENABLED";
    case 0x2203:
        return "BT_PIN";
    case 0x2204:
        return "DISCOVERABLE_ALLOWED";
    case 0x2207:
        return "PEN_WAKE_UP_TIME";
    case 0x2208:
        return "CERTIFICATE_AUTHENTICATOR";
    case 0x2209:
        return "CERTIFICATE";
    case 0x220a:
        return "SIGNING_KEY";
    default:
        return nullptr;
    }
}

/** A value and its number: a property of the pen, or what a page holds for one of its pidgets. */
struct Entry {
    std::uint16_t key; ///< the property's or the pidget's number
    Value value;       ///< its value
};

namespace detail {

struct AddressField {
    unsigned shift;
    unsigned width;

    constexpr std::uint64_t ones() const noexcept { return (std::uint64_t{1} << width) - 1; }
};

constexpr AddressField kAddressFields[] = {{52, 12}, {40, 12}, {24, 16}, {12, 12}, {0, 12}};

/** A plain decimal number without leading zeros. */
inline std::optional<std::uint64_t> addressNumber(std::string_view text) noexcept
{
    if (text.empty() || text.size() > 5 || (text.size() > 1 && text[0] == '0'))
        return std::nullopt;
    std::uint64_t number = 0;
    for (const char c : text) {
        if (c < '0' || c > '9')
            return std::nullopt;
        number = number * 10 + static_cast<std::uint64_t>(c - '0');
    }
    return number;
}

} // namespace detail

/** The text of a page address: its five fields with dots between them. The first field is left out if it is
 * 0; a missing field (all bits set) is written "*": "1.2.3.4", "5.1.2.3.4", "*.*.*.*". */
inline std::string addressText(std::uint64_t address)
{
    std::string text;
    for (const detail::AddressField &field : detail::kAddressFields) {
        const std::uint64_t number = address >> field.shift & field.ones();
        if (number == 0 && &field == &detail::kAddressFields[0])
            continue;
        if (!text.empty())
            text += '.';
        text += number == field.ones() ? std::string("*") : std::to_string(number);
    }
    return text;
}

/** The page address in a text of four or five fields; after a "*" only "*" may follow. Empty for any other
 * text.
 */
inline std::optional<std::uint64_t> parseAddress(std::string_view text)
{
    std::vector<std::string_view> parts;
    for (;;) {
        const std::size_t dot = text.find('.');
        parts.push_back(text.substr(0, dot));
        if (dot == std::string_view::npos)
            break;
        text.remove_prefix(dot + 1);
    }
    if (parts.size() != 4 && parts.size() != 5)
        return std::nullopt;
    std::uint64_t address = 0;
    bool anySoFar = false;
    for (std::size_t i = 0; i < parts.size(); ++i) {
        const detail::AddressField &field = detail::kAddressFields[i + 5 - parts.size()];
        std::optional<std::uint64_t> number = field.ones();
        if (parts[i] == "*")
            anySoFar = true;
        else
            number = anySoFar ? std::nullopt : detail::addressNumber(parts[i]);
        if (!number || *number > field.ones())
            return std::nullopt;
        address |= *number << field.shift;
    }
    return address;
}

/** The serial text of a pen's identity, as pens show it: "AKZ-AQ7-APS-AC"; "INVALID-PEN-ID" if
 * every bit is set. */
inline std::string serialText(std::uint64_t penId)
{
    constexpr std::string_view symbols = "ABCDEFGHJKMNPQRSTUWXYZ23456789";
    if (penId == static_cast<std::uint64_t>(-1))
        return "INVALID-PEN-ID";
    // Both halves are signed numbers: a half whose top bit is set is extended with ones.
    const auto encoded = [&](std::uint64_t half, std::size_t width) {
        auto rest = static_cast<std::uint64_t>(std::int64_t{static_cast<std::int32_t>(half)});
        std::string text(width, symbols[0]);
        for (std::size_t i = width; i-- > 0; rest /= symbols.size())
            text[i] = symbols[static_cast<std::size_t>(rest % symbols.size())];
        return text;
    };
    const std::string number = encoded(penId & 0xFFFFFFFFu, 6);
    return encoded(penId >> 32, 3) + "-" + number.substr(0, 3) + "-" + number.substr(3) + "-" +
           encoded(penId % 877, 2);
}

/** The strokes of one page. Refers to the bytes of the PageData that it comes from. */
class Page
{
public:
    /** The page's address as text: "1.2.3.4". */
    std::string address() const { return addressText(m_address); }
    /** The page's address as the number that orders its fields: 12, 12, 16, 12 and 12 bits. */
    std::uint64_t addressNumber() const noexcept { return m_address; }
    /** The strokes as the pen gave them; not copied. */
    Bytes strokes() const noexcept { return m_strokes; }
    /** Whether the data marks it as a page of the stylo: a page whose address has 0 in its second field. Only
     * pages that hold strokes have the mark. */
    bool isStylo() const noexcept { return m_flag != 0; }
    /** What the page holds for its pidgets, by their numbers. Retrievals write no such entries. */
    const std::vector<Entry> &entries() const noexcept { return m_entries; }
    /** The page's whole record in the data: its header, strokes and entries. */
    Bytes record() const noexcept { return m_record; }

private:
    friend class PageData;
    Page() = default;

    std::uint64_t m_address = 0;
    std::uint8_t m_flag = 0;
    Bytes m_strokes;
    Bytes m_record;
    std::vector<Entry> m_entries;
};

/** Page data: the pages of a pen with their strokes, and the properties that identify the pen. A range of
 * Page.
 *
 *  Immutable; any number of threads may read it. Copies share the bytes. Pages, values and runs of bytes that
 * it returns are valid as long as one of the copies lives. */
class PageData
{
public:
    /** Takes ownership of the bytes and reads them. */
    static PageData parse(std::vector<std::uint8_t> bytes) { return tryParse(std::move(bytes)).value(); }
    static Result<PageData, PageDataError> tryParse(std::vector<std::uint8_t> bytes) ///< \copydoc parse
    {
        auto kept = std::make_shared<const std::vector<std::uint8_t>>(std::move(bytes));
        const std::size_t size = kept->size();
        const std::uint8_t *data = kept->data();
        return tryAdopt({std::move(kept), data}, size);
    }

    /** Reads bytes that the caller keeps; they must outlive the PageData and its copies. */
    static PageData view(Bytes bytes) { return tryView(bytes).value(); }
    static Result<PageData, PageDataError> tryView(Bytes bytes) ///< \copydoc view
    {
        return tryAdopt({std::shared_ptr<const std::uint8_t>(), bytes.data()}, bytes.size());
    }

    /** Reads the bytes of a shared block, which is released with the last copy, as its owner has arranged. */
    static PageData adopt(std::shared_ptr<const std::uint8_t> block, std::size_t size)
    {
        return tryAdopt(std::move(block), size).value();
    }
    static Result<PageData, PageDataError>
    tryAdopt(std::shared_ptr<const std::uint8_t> block, ///< \copydoc adopt
             std::size_t size)
    {
        PageData data(std::move(block), size);
        detail::Scanner scanner(data.bytes());
        if (!data.scan(scanner))
            return scanner.fault();
        return data;
    }

    /** Reads a file. */
    static PageData read(const std::filesystem::path &file) { return tryRead(file).value(); }
    static Result<PageData, PageDataError> tryRead(const std::filesystem::path &file) ///< \copydoc read
    {
        std::error_code failure;
        const std::uintmax_t size = std::filesystem::file_size(file, failure);
        std::ifstream in(file, std::ios::binary);
        if (failure || !in)
            return PageDataError(Error(Errc::fileAccess, "PageData::read"));
        std::vector<std::uint8_t> bytes(static_cast<std::size_t>(size));
        in.read(reinterpret_cast<char *>(bytes.data()), static_cast<std::streamsize>(size));
        if (!in)
            return PageDataError(Error(Errc::fileAccess, "PageData::read"));
        return tryParse(std::move(bytes));
    }

    /** Writes the bytes to a file, which read() can read. An older file of that name is replaced after
     * everything was written. */
    void save(const std::filesystem::path &file) const { trySave(file).value(); }
    Result<void> trySave(const std::filesystem::path &file) const ///< \copydoc save
    {
        std::filesystem::path part = file;
        part += ".part";
        std::ofstream out(part, std::ios::binary | std::ios::trunc);
        out.write(reinterpret_cast<const char *>(m_block.get()), static_cast<std::streamsize>(m_size));
        out.close();
        std::error_code failure;
        if (out)
            std::filesystem::rename(part, file, failure);
        if (out && !failure)
            return {};
        std::filesystem::remove(part, failure);
        return Error(Errc::fileAccess, "PageData::save");
    }

    /** The pages, in the order of the data: those of the stylo first, the others by ascending address. */
    const std::vector<Page> &pages() const noexcept { return m_pages; }
    /** The pages as a range. */
    std::vector<Page>::const_iterator begin() const noexcept { return m_pages.begin(); }
    std::vector<Page>::const_iterator end() const noexcept { return m_pages.end(); } ///< \copydoc begin
    std::size_t size() const noexcept { return m_pages.size(); }       ///< How many pages there are.
    bool empty() const noexcept { return m_pages.empty(); }            ///< Whether there are no pages.
    const Page &operator[](std::size_t i) const { return m_pages[i]; } ///< The page at an index below size().
    /** The page with this address ("1.2.3.4"); null if there is none. */
    const Page *find(std::string_view address) const
    {
        const std::optional<std::uint64_t> number = parseAddress(address);
        for (const Page &page : m_pages)
            if (page.addressNumber() == number)
                return &page;
        return nullptr;
    }

    /** The properties of the pen, in ascending order of their numbers. */
    const std::vector<Entry> &properties() const noexcept { return m_properties; }
    /** The value of a property; empty if the data does not have it. */
    std::optional<Value> property(std::uint16_t id) const
    {
        for (const Entry &entry : m_properties)
            if (entry.key == id)
                return entry.value;
        return std::nullopt;
    }

    /** The identity of the pen: its property 0; empty if that is missing or not a long64. */
    std::optional<std::uint64_t> penId() const
    {
        const std::optional<Value> value = property(0);
        if (!value || value->type() != ValueType::long64)
            return std::nullopt;
        return static_cast<std::uint64_t>(*value->number());
    }
    /** The serial text of that pen; empty if the data does not contain its identity. */
    std::string penSerial() const
    {
        const std::optional<std::uint64_t> id = penId();
        return id ? serialText(*id) : std::string();
    }

    /** The page address in the header, which is that of the request; retrievals write "*.*.*.*". */
    std::string requestAddress() const { return addressText(m_address); }
    /** The pidget number in the header; retrievals write 549. */
    std::uint16_t requestPidget() const noexcept { return m_pidget; }

    /** The whole block. */
    Bytes bytes() const noexcept { return {m_block.get(), m_size}; }

private:
    struct Lengths {
        std::uint16_t pageHeader = 0;
        std::uint16_t pageEntryHeader = 0;
        std::uint16_t entryHeader = 0;
        std::uint16_t valueHeader = 0;
    };

    PageData(std::shared_ptr<const std::uint8_t> block, std::size_t size) noexcept
        : m_block(std::move(block)), m_size(size)
    {
    }

    bool scan(detail::Scanner &in)
    {
        Lengths lengths;
        std::uint16_t pages = 0;
        std::uint16_t properties = 0;
        if (!scanVersion(in) || !scanHeader(in, lengths, pages, properties))
            return false;
        for (std::uint16_t i = 0; i < pages; ++i)
            if (!scanPage(in, lengths))
                return false;
        if (!scanEntries(in, properties, lengths.entryHeader, lengths.valueHeader, m_properties))
            return false;
        return in.left() == 0 ? true : in.fail(in.at(), "bytes behind the end of the page data");
    }

    static bool scanVersion(detail::Scanner &in)
    {
        std::uint8_t part = 0;
        if (!in.number(part, "the version"))
            return false;
        if (part != 1)
            return in.fail(0, "no page data of version 1.0");
        if (!in.number(part, "the version"))
            return false;
        return part == 0 ? true : in.fail(1, "no page data of version 1.0");
    }

    /** The length of one of the structures. It may be more than today's, because later versions may add
     * fields. */
    static bool scanLength(detail::Scanner &in, std::uint16_t &length, std::uint16_t least, const char *what)
    {
        const std::size_t from = in.at();
        if (!in.number(length, what))
            return false;
        return length >= least
                   ? true
                   : in.fail(from, what,
                             " is " + std::to_string(length) + ", less than " + std::to_string(least));
    }

    bool scanHeader(detail::Scanner &in, Lengths &lengths, std::uint16_t &pages, std::uint16_t &properties)
    {
        std::uint16_t header = 0;
        return scanLength(in, header, 24, "the length of the header") &&
               in.number(m_address, "the page address") && in.number(m_pidget, "the pidget number") &&
               scanLength(in, lengths.pageHeader, 15, "the length of a page's header") &&
               scanLength(in, lengths.pageEntryHeader, 2, "the length of a page entry's header") &&
               scanLength(in, lengths.entryHeader, 2, "the length of a property's header") &&
               scanLength(in, lengths.valueHeader, 1, "the length of a value's header") &&
               in.number(pages, "the number of pages") && in.number(properties, "the number of properties") &&
               in.skip(header - 24u, "the header");
    }

    bool scanPage(detail::Scanner &in, const Lengths &lengths)
    {
        const std::size_t from = in.at();
        Page page;
        std::uint32_t size = 0;
        std::uint16_t entries = 0;
        if (!in.number(page.m_address, "a page's address") ||
            !in.number(size, "the length of a page's strokes") || !in.number(page.m_flag, "a page's flag") ||
            !in.number(entries, "the number of a page's entries") ||
            !in.skip(lengths.pageHeader - 15u, "a page's header"))
            return false;
        const std::size_t strokes = in.at();
        if (!in.skip(size, "a page's strokes") ||
            !scanEntries(in, entries, lengths.pageEntryHeader, lengths.valueHeader, page.m_entries))
            return false;
        page.m_strokes = bytes().subrun(strokes, size);
        page.m_record = bytes().subrun(from, in.at() - from);
        m_pages.push_back(std::move(page));
        return true;
    }

    bool scanEntries(detail::Scanner &in, std::uint16_t count, std::uint16_t header,
                     std::uint16_t valueHeader, std::vector<Entry> &entries) const
    {
        for (std::uint16_t i = 0; i < count; ++i) {
            std::uint16_t key = 0;
            if (!in.number(key, "the key of an entry") || !in.skip(header - 2u, "the header of an entry"))
                return false;
            const std::size_t from = in.at();
            ValueType type{};
            if (!in.head(type, valueHeader))
                return false;
            const std::size_t body = in.at();
            if (!in.body(type, valueHeader, 0, from))
                return false;
            entries.push_back({key, Value(type, bytes().subrun(body, in.at() - body), valueHeader)});
        }
        return true;
    }

    std::shared_ptr<const std::uint8_t> m_block;
    std::size_t m_size = 0;
    std::uint64_t m_address = 0;
    std::uint16_t m_pidget = 0;
    std::vector<Page> m_pages;
    std::vector<Entry> m_properties;
};

} // namespace ZELPP_VARIANT
} // namespace zelpp

#endif
