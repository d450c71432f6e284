#include "fuzz/fake_sockets.h"

#include "protocol/values/value_decoder.h"
#include "protocol/values/value_encoder.h"
#include "psp/psp_client2.h"
#include "sys/exceptions.h"

#include <optional>
#include <typeinfo>

namespace {

using zel::fuzz::FakePeer;
using zel::fuzz::Input;

std::string textOf(const zel::Value &value)
{
    std::string text;
    value.toString(text);
    return text;
}

/** How an exchange ends: with a result, or with an exception. */
struct Outcome {
    std::string text;
    bool failed = false;

    bool operator==(const Outcome &) const = default;
};

Outcome outcomeOf(zel::PspClient2 &client, const zel::Value &argument)
{
    try {
        const auto result =
            argument.isAbsent() ? client.getValueProperty(0x1234) : client.setValueProperty(0x1234, argument);
        ZEL_FUZZ_REQUIRE(!result.isAbsent());
        return {textOf(result)};
    } catch (const zel::ZELException &failure) {
        return {std::string(typeid(failure).name()) + failure.what(), true};
    }
}

std::string asString(std::span<const std::uint8_t> bytes)
{
    return std::string(zel::fuzz::asText(bytes));
}

/** The frame as its layout has it; nothing for a value without a wire form, for which nothing is sent. */
std::optional<std::string> requestWith(const zel::Value &argument)
{
    if (argument.isAbsent())
        return std::string("R1GP\x01\x00\x03\x12\x34", 9);
    zel::ValueEncoder encoded;
    try {
        encoded.encode(argument.copy());
    } catch (const zel::ZELException &) {
        return std::nullopt;
    }
    return std::string("R1SP\x02\x00\x03\x12\x34\x01", 10) + asString(encoded.bytes());
}

Outcome exchange(Input answer, std::size_t atMost, const zel::Value &argument)
{
    using Then = zel::fuzz::PeerStep::Then;
    FakePeer peer({{answer, Then::GoOn, atMost}, {{}, Then::Close, 0}});
    zel::PspClient2 client(0, 1);
    client.setPenConnected(true);
    client.connect();
    const Outcome outcome = outcomeOf(client, argument);
    ZEL_FUZZ_REQUIRE(peer.sent() == requestWith(argument).value_or(""));
    return outcome;
}

/** The value that opens the input, to be sent; absent when there is none. */
zel::Value takeArgument(Input &input)
{
    zel::ByteSource source(input);
    zel::Value value;
    try {
        value = zel::ValueDecoder(source, 1).decode();
    } catch (const zel::ZELException &) {
        return {};
    }
    input = input.subspan(static_cast<std::size_t>(source.taken()));
    return value;
}

} // namespace

// One exchange over the client's stream: the request has its layout's bytes, and the response is understood
// alike in whatever pieces it arrives. The input is a value to be sent, and the response behind it.
ZEL_FUZZ_TARGET(psp_exchange)
{
    if (zel::fuzz::announcesManyBodilessElements(input))
        return;
    const zel::Value argument = takeArgument(input);
    const Outcome whole = exchange(input, zel::fuzz::PeerStep::kAnyNumber, argument);
    ZEL_FUZZ_REQUIRE(exchange(input, 1, argument) == whole);
    ZEL_FUZZ_REQUIRE(exchange(input, 7, argument) == whole);
}
