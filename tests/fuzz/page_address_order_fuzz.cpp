#include "fuzz/fuzz_target.h"

#include "protocol/addresses/page_address.h"

namespace {

zel::PageAddress fromBytes(zel::fuzz::Input input)
{
    std::uint64_t raw = 0;
    for (std::size_t i = 0; i < input.size() && i < 8; ++i)
        raw = raw << 8 | input[i];
    return zel::PageAddress(raw);
}

} // namespace

// The one-word sort key orders as the five fields do, one after another, a missing one first, and tells its
// address.
ZEL_FUZZ_TARGET(page_address_order)
{
    const zel::PageAddress a = fromBytes(input);
    const zel::PageAddress b = fromBytes(input.size() > 8 ? input.subspan(8) : zel::fuzz::Input());
    int difference = 0;
    for (int field = 1; field <= zel::PageAddress::kFieldCount && difference == 0; ++field)
        difference = a.getField(field) < b.getField(field) ? -1 : a.getField(field) > b.getField(field);
    ZEL_FUZZ_REQUIRE((a < b) == (difference < 0));
    ZEL_FUZZ_REQUIRE((a == b) == (difference == 0));
    ZEL_FUZZ_REQUIRE(zel::PageAddress::fromSortKey(a.sortKey()) == a);
}
