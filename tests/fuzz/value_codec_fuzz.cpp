#include "fuzz/fuzz_target.h"

#include "protocol/values/encoded_value_scan.h"
#include "protocol/values/value_decoder.h"
#include "protocol/values/value_format.h"
#include "sys/exceptions.h"

#include <sstream>

namespace {

using zel::fuzz::Input;

struct Decoded {
    bool failed = false;
    zel::Value value;
    std::size_t consumed = 0;
};

Decoded decodeFromStream(Input input)
{
    std::istringstream bytes{std::string(zel::fuzz::asText(input))};
    zel::ProtocolInputStream stream(bytes);
    Decoded result;
    try {
        result.value = zel::ValueFormatV1_0().decode(stream);
        result.consumed = static_cast<std::size_t>(bytes.tellg());
    } catch (const zel::ZELException &) {
        result.failed = true;
    }
    return result;
}

bool decodesFromMemory(Input input)
{
    return zel::ValueFormatV1_0().isValidEncoding(input.data(), static_cast<std::int32_t>(input.size()));
}

std::string textOf(const zel::Value &value)
{
    std::string text;
    value.toString(text);
    return text;
}

// Encoding what was decoded and decoding it again changes nothing. A value that holds an absent
// element has no wire form.
void requireStableForm(const zel::Value &value)
{
    std::ostringstream bytes;
    zel::ProtocolOutputStream stream(bytes);
    try {
        zel::ValueFormatV1_0().encode(stream, value);
    } catch (const zel::ZELException &) {
        return;
    }
    const std::string encoded = bytes.str();
    const auto again =
        zel::decodeValue({reinterpret_cast<const std::uint8_t *>(encoded.data()), encoded.size()});
    ZEL_FUZZ_REQUIRE(!again.isAbsent());
    ZEL_FUZZ_REQUIRE(textOf(again) == textOf(value));
}

} // namespace

// Both forms of the codec and the scan for encoded values agree on every input.
ZEL_FUZZ_TARGET(value_codec)
{
    if (zel::fuzz::announcesManyBodilessElements(input))
        return;
    const Decoded decoded = decodeFromStream(input);
    ZEL_FUZZ_REQUIRE(decodesFromMemory(input) == !decoded.failed);
    const bool isWhole = !decoded.value.isAbsent() && decoded.consumed == input.size();
    ZEL_FUZZ_REQUIRE(zel::isOneEncodedValue(input) == isWhole);

    std::uint32_t count = 0;
    const bool counted = zel::ValueFormatV1_0().decodeAndCountBytes(
        input.data(), static_cast<std::int32_t>(input.size()), &count);
    ZEL_FUZZ_REQUIRE(counted == (count != zel::kNoByteCount));
    if (counted)
        ZEL_FUZZ_REQUIRE(!decoded.failed && count == decoded.consumed);

    if (!decoded.value.isAbsent()) {
        ZEL_FUZZ_REQUIRE(textOf(decoded.value.copy()).size() > 0);
        requireStableForm(decoded.value);
    }
}
