#include "fuzz/fuzz_target.h"

#include "protocol/values/value.h"

// A binary is shown as the value that it holds, however deep; unpacking tells whether it holds one.
ZEL_FUZZ_TARGET(text_form)
{
    if (zel::fuzz::announcesManyBodilessElements(input))
        return;
    auto binary = zel::Value::createBinary(input.data(), static_cast<std::uint32_t>(input.size()));
    std::string text;
    binary.toString(text);
    ZEL_FUZZ_REQUIRE(binary.isEncodedValue() == text.starts_with("["));
    if (!binary.isEncodedValue())
        return;
    binary.unpack();
    std::string unpacked;
    binary.toString(unpacked);
    ZEL_FUZZ_REQUIRE(text == "[" + unpacked + "]");
}
