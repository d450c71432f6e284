#include "support/memory_search.h"

#include "support/own_memory.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <ostream>

namespace zel::test {

namespace {

constexpr std::size_t kWord = 4;
constexpr std::size_t kMostRegions = 8192;
constexpr std::size_t kMostHits = 1000;

std::uint64_t load(const std::uint8_t *bytes)
{
    std::uint64_t window = 0;
    std::memcpy(&window, bytes, sizeof window);
    return window;
}

/** One to one, so that a match of scrambled windows is a match of windows. */
std::uint64_t scramble(std::uint64_t window)
{
    constexpr std::uint64_t kOdd = 0x9E3779B97F4A7C15;
    return window * kOdd;
}

using Window = std::array<std::uint8_t, MemorySearch::kWindow>;

std::uint64_t scrambledWords(std::span<const std::uint8_t> bytes, bool turned)
{
    Window window{};
    for (std::size_t i = 0; i < window.size(); ++i)
        window[i] = bytes[turned ? i ^ (kWord - 1) : i];
    return scramble(load(window.data()));
}

std::uint64_t scrambledWide(std::span<const std::uint8_t> text, std::size_t width)
{
    Window window{};
    for (std::size_t i = 0; i < window.size() / width; ++i)
        window[i * width] = text[i];
    return scramble(load(window.data()));
}

} // namespace

MemorySearch::MemorySearch() : m_filter(std::size_t{1} << kFilterBits)
{
    m_hits.reserve(kMostHits);
}

void MemorySearch::seekText(const char *what, std::span<const std::uint8_t> text)
{
    for (std::size_t at = 0; at + kWindow <= text.size(); ++at) {
        add({scrambledWords(text.subspan(at), false), 0, false, what});
        add({scrambledWords(text.subspan(at), true), 0, false, what});
    }
    for (std::size_t at = 0; at + 4 <= text.size(); ++at) {
        add({scrambledWide(text.subspan(at), 2), 0, false, what});
        // Two numbers below 256 in a row are nothing rare: of these it takes four.
        add({scrambledWide(text.subspan(at), 4), scrambledWide(text.subspan(at + 2), 4), true, what});
    }
}

void MemorySearch::seekWords(const char *what, std::span<const std::uint8_t> words)
{
    for (std::size_t at = 0; at + kWindow <= words.size(); at += kWord) {
        add({scrambledWords(words.subspan(at), false), 0, false, what});
        add({scrambledWords(words.subspan(at), true), 0, false, what});
    }
}

void MemorySearch::add(const Needle &needle)
{
    m_needles.push_back(needle);
    m_filter[needle.scrambled >> (64 - kFilterBits)] = true;
}

void MemorySearch::prepare()
{
    std::ranges::sort(m_needles, {}, &Needle::scrambled);
    m_hits.clear();
}

std::vector<MemorySearch::Find> MemorySearch::run()
{
    static std::array<Region, kMostRegions> s_regions;
    prepare();
    const std::size_t count = writableRegions(s_regions);
    for (const Region &region : std::span(s_regions).first(count))
        searchIn(region.bytes, region.name);
    return finds();
}

std::vector<MemorySearch::Find> MemorySearch::in(std::span<const std::uint8_t> bytes)
{
    prepare();
    searchIn(bytes, "");
    return finds();
}

void MemorySearch::searchIn(std::span<const std::uint8_t> bytes, const char *where)
{
    const std::uint8_t *const end = bytes.data() + bytes.size();
    for (const std::uint8_t *at = bytes.data(); at + kWindow <= end; ++at) {
        const std::uint64_t scrambled = scramble(load(at));
        if (!m_filter[scrambled >> (64 - kFilterBits)])
            continue;
        if (const Needle *needle = needleAt(at, scrambled, end))
            note(*needle, where, at);
    }
}

const MemorySearch::Needle *MemorySearch::needleAt(const std::uint8_t *at, std::uint64_t scrambled,
                                                   const std::uint8_t *end) const
{
    auto needle = std::ranges::lower_bound(m_needles, scrambled, {}, &Needle::scrambled);
    for (; needle != m_needles.end() && needle->scrambled == scrambled; ++needle) {
        if (!needle->hasRest || (at + 2 * kWindow <= end && scramble(load(at + kWindow)) == needle->rest))
            return &*needle;
    }
    return nullptr;
}

// Windows that overlap or follow one another are one find.
void MemorySearch::note(const Needle &needle, const char *where, const std::uint8_t *at)
{
    const auto begin = reinterpret_cast<std::uintptr_t>(at);
    const std::uintptr_t end = begin + (needle.hasRest ? 2 * kWindow : kWindow);
    if (!m_hits.empty() && m_hits.back().what == needle.what && begin <= m_hits.back().end)
        m_hits.back().end = end;
    else if (m_hits.size() < kMostHits)
        m_hits.push_back({needle.what, where, begin, end});
}

std::vector<MemorySearch::Find> MemorySearch::finds() const
{
    std::vector<Find> finds;
    for (const Hit &hit : m_hits)
        finds.push_back({hit.what, hit.where, hit.begin, hit.end - hit.begin});
    return finds;
}

void PrintTo(const MemorySearch::Find &find, std::ostream *out)
{
    *out << find.length << " bytes of " << find.what << " in " << (find.where.empty() ? "memory" : find.where)
         << " at 0x" << std::hex << find.address << std::dec;
}

} // namespace zel::test
