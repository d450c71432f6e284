#include "fuzz/fuzz_target.h"

#include "protocol/bytes/byte_source.h"
#include "protocol/frames/request_encoder.h"
#include "protocol/values/value_decoder.h"
#include "protocol/values/value_format.h"
#include "sys/exceptions.h"

#include <sstream>

namespace {

zel::Value takeValue(zel::ByteSource &source)
{
    zel::Value value = zel::ValueDecoder(source, zel::VALUE_HEADER_LENGTH).decode();
    return value.isAbsent() ? zel::Value::createNull() : std::move(value);
}

std::uint64_t takeNumber(zel::ByteSource &source, std::uint32_t bytes)
{
    std::uint64_t number = 0;
    for (std::uint32_t i = 0; i < bytes; ++i)
        number = number << 8 | source.takeByte();
    return number;
}

// The input is a program: an operation, its address or key, an encoded value, and so on.
void fill(zel::RequestEncoderV1_0 &request, zel::fuzz::Input input)
{
    zel::ByteSource source(input);
    try {
        for (;;) {
            const std::uint8_t operation = source.takeByte() % 3;
            const std::uint64_t number = takeNumber(source, operation == 0 ? 2 : 8);
            auto value = takeValue(source);
            if (operation == 0)
                request.addEntry(static_cast<std::uint16_t>(number), std::move(value));
            else if (operation == 1)
                request.setPageData(zel::PageAddress(number), std::move(value));
            else
                request.addPageEntry(zel::PidgetAddress(zel::PageAddress(number), source.takeByte()),
                                     std::move(value));
        }
    } catch (const zel::ZELException &) {
        // The program is over.
    }
}

} // namespace

// Both ways of encoding write the same bytes, as many as were announced, and they read back.
ZEL_FUZZ_TARGET(request_encoder)
{
    zel::RequestEncoderV1_0 request{zel::PidgetAddress("*.*.*.*:549")};
    fill(request, input);
    std::ostringstream stream;
    try {
        request.encode(stream);
    } catch (const zel::ZELException &) {
        return; // something in it has no wire form
    }
    const std::string streamed = stream.str();
    ZEL_FUZZ_REQUIRE(request.encodedSize() == streamed.size());
    std::string block(streamed.size(), '\0');
    request.encodeTo({reinterpret_cast<std::uint8_t *>(block.data()), block.size()});
    ZEL_FUZZ_REQUIRE(block == streamed);
}
