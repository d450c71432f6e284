#include "fuzz/fuzz_target.h"

#include "protocol/addresses/page_address.h"
#include "sys/exceptions.h"

// A text that is accepted names an address whose own text names it again.
ZEL_FUZZ_TARGET(page_address)
{
    try {
        const zel::PageAddress address(zel::fuzz::asText(input));
        ZEL_FUZZ_REQUIRE(zel::PageAddress(address.toString()) == address);
    } catch (const zel::ZELException &) {
    }
}
