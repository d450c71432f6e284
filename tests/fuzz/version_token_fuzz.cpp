#include "fuzz/fuzz_target.h"

#include "pens/pen_psp_versions.h"

#include <algorithm>

// Tokens, one per line: none is ever entered twice, and every id has a text.
ZEL_FUZZ_TARGET(version_token)
{
    zel::PenPspVersions versions;
    std::string_view rest = zel::fuzz::asText(input);
    while (!rest.empty()) {
        const std::size_t end = std::min(rest.find('\n'), rest.size());
        versions.addFromText(rest.substr(0, end));
        rest.remove_prefix(std::min(end + 1, rest.size()));
    }
    std::vector<std::uint32_t> ids = versions.ids();
    std::sort(ids.begin(), ids.end());
    ZEL_FUZZ_REQUIRE(std::adjacent_find(ids.begin(), ids.end()) == ids.end());
    ZEL_FUZZ_REQUIRE(ids.empty() == versions.toText().empty());
}
