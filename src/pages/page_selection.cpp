#include "pages/page_selection.h"

#include <algorithm>
#include <memory_resource>
#include <set>
#include <unordered_set>

namespace zel {

namespace {

constexpr char kSeparator = ';';

using TextSet = std::pmr::unordered_set<std::string_view>;

template <class Action>
void forEachToken(std::string_view list, Action action)
{
    while (!list.empty()) {
        const std::size_t end = std::min(list.find(kSeparator), list.size());
        action(list.substr(0, end));
        list.remove_prefix(std::min(end + 1, list.size()));
    }
}

/** Moves the texts that occur inside a longer token from wanted to found. */
void findInside(const TextSet &tokens, TextSet &wanted, TextSet &found)
{
    std::set<std::size_t> lengths; // only a few: an address has at most 25 characters
    for (const std::string_view text : wanted)
        lengths.insert(text.size());
    for (const std::string_view token : tokens) {
        for (const std::size_t length : lengths) {
            for (std::size_t at = 0; at + length <= token.size(); ++at) {
                const std::string_view window = token.substr(at, length);
                if (const auto hit = wanted.find(window); hit != wanted.end()) {
                    found.insert(*hit);
                    wanted.erase(hit);
                }
            }
        }
    }
}

} // namespace

std::size_t requestedPageCount(std::string_view list) noexcept
{
    const auto count = static_cast<std::size_t>(std::ranges::count(list, kSeparator));
    const std::string_view rest = list.substr(list.rfind(kSeparator) + 1); // npos + 1 is the start
    return count + (rest.find('.') != std::string_view::npos ? 1 : 0);
}

std::vector<bool> occurrences(std::string_view list, const std::vector<std::string_view> &texts)
{
    std::pmr::monotonic_buffer_resource memory; // sets grow, and go as a whole
    TextSet tokens(&memory);
    tokens.reserve(texts.size());
    forEachToken(list, [&](std::string_view token) { tokens.insert(token); });

    std::vector<bool> occurs;
    occurs.reserve(texts.size());
    TextSet wanted;
    for (const std::string_view text : texts) {
        occurs.push_back(tokens.contains(text));
        if (!occurs.back())
            wanted.insert(text);
    }
    if (wanted.empty())
        return occurs;

    TextSet found;
    findInside(tokens, wanted, found);
    for (std::size_t i = 0; i < texts.size(); ++i)
        occurs[i] = occurs[i] || found.contains(texts[i]);
    return occurs;
}

PageList selectPages(const PageList &pages, std::string_view list)
{
    std::vector<AddressText> addresses; // reserved, because the texts are borrowed from it
    addresses.reserve(pages.size());
    std::vector<std::string_view> texts;
    texts.reserve(pages.size());
    for (const PenPage &page : pages)
        texts.push_back(addresses.emplace_back(page.address().text()).view());

    const std::vector<bool> selected = occurrences(list, texts);
    PageList selection;
    for (std::size_t i = 0; i < pages.size(); ++i)
        if (selected[i])
            selection.append(pages[i]);
    return selection;
}

} // namespace zel
