#include "fuzz/fuzz_target.h"

#include "protocol/frames/response_decoder.h"
#include "sys/exceptions.h"

#include <sstream>

ZEL_FUZZ_TARGET(response_decoder)
{
    std::istringstream bytes{std::string(zel::fuzz::asText(input))};
    try {
        const zel::ResponseDecoderV1_0 response(bytes);
        for (const auto &instruction : response.getInstructions())
            ZEL_FUZZ_REQUIRE(instruction->getArguments().size() <= 255);
    } catch (const zel::ZELException &) {
    }
}
