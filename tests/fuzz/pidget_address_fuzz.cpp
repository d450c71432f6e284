#include "fuzz/fuzz_target.h"

#include "protocol/addresses/pidget_address.h"
#include "sys/exceptions.h"

ZEL_FUZZ_TARGET(pidget_address)
{
    try {
        const zel::PidgetAddress address(zel::fuzz::asText(input));
        const zel::PidgetAddress again(address.toString());
        ZEL_FUZZ_REQUIRE(again.number() == address.number());
    } catch (const zel::ZELException &) {
    }
}
