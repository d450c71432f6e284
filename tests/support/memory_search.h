#pragma once

#include <cstddef>
#include <cstdint>
#include <iosfwd>
#include <span>
#include <string>
#include <vector>

namespace zel::test {

/** Looks for secrets in all the memory of this process that can be written, also where it is free, or the
 *  dead part of a stack. Eight bytes of a secret in a row are enough. What is sought is held in a form that
 * no search finds. */
class MemorySearch
{
public:
    static constexpr std::size_t kWindow = 8;

    struct Find {
        const char *what;
        std::string where;
        std::uintptr_t address;
        std::size_t length;
    };

    MemorySearch();

    /** A text as it stands, as the words of a cipher, whose bytes are turned round, and with characters of
     *  two and of four bytes, of which four are enough. */
    void seekText(const char *what, std::span<const std::uint8_t> text);
    /** Words of four bytes, in either byte order. */
    void seekWords(const char *what, std::span<const std::uint8_t> words);

    /** Takes no memory before it has seen it all; overwrites some KiB of the stack below its caller. */
    std::vector<Find> run();
    /** In these bytes alone. */
    std::vector<Find> in(std::span<const std::uint8_t> bytes);

private:
    struct Needle {
        std::uint64_t scrambled;
        std::uint64_t rest; // of a needle of two windows
        bool hasRest;
        const char *what;
    };
    struct Hit {
        const char *what;
        const char *where;
        std::uintptr_t begin;
        std::uintptr_t end;
    };
    static constexpr int kFilterBits = 18;

    void add(const Needle &needle);
    void prepare();
    void searchIn(std::span<const std::uint8_t> bytes, const char *where);
    const Needle *needleAt(const std::uint8_t *at, std::uint64_t scrambled, const std::uint8_t *end) const;
    void note(const Needle &needle, const char *where, const std::uint8_t *at);
    std::vector<Find> finds() const;

    std::vector<Needle> m_needles;
    std::vector<bool> m_filter;
    std::vector<Hit> m_hits;
};

void PrintTo(const MemorySearch::Find &find, std::ostream *out);

} // namespace zel::test
