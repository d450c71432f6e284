#include "protocol/frames/response_decoder.h"

#include "protocol/bytes/big_endian.h"
#include "protocol/values/value_decoder.h"
#include "sys/exceptions.h"
#include "sys/log.h"

#include <utility>

namespace zel {

namespace {

// Lengths count what this version reads; the rest of a longer header is skipped.
constexpr int kResponseHeaderLength = 10;
constexpr int kInstructionHeaderLength = 3;
constexpr int kArgumentHeaderLength = 1;

} // namespace

ResponseDecoderV1_0::ResponseDecoderV1_0(std::istream &stream) : m_in(stream)
{
    requireGood("ctor");
    parseHeader();
    parseBody();
}

void ResponseDecoderV1_0::requireGood(const char *operation) const
{
    if (m_in.isBad())
        throw IOException(FormatLogText("ResponseDecoderV1_0::%s - bad input stream", operation));
}

void ResponseDecoderV1_0::parseHeader()
{
    requireGood("parseHeader");
    const std::uint16_t headerLength = m_in.readShort();
    m_instructionHeaderLength = m_in.readShort();
    m_argumentHeaderLength = m_in.readShort();
    m_valueHeaderLength = m_in.readShort();
    m_instructionCount = static_cast<std::int16_t>(m_in.readShort());
    m_in.skipBytes(headerLength - kResponseHeaderLength);
}

void ResponseDecoderV1_0::parseBody()
{
    requireGood("parseBody");
    parseInstructions();
    requireGood("parseBody");
}

void ResponseDecoderV1_0::parseInstructions()
{
    requireGood("parseInstructions");
    ByteSource source(m_in);
    ValueDecoder values(source, m_valueHeaderLength);
    for (int i = 0; i < m_instructionCount; ++i)
        m_instructions.push_back(parseInstruction(source, values));
}

std::unique_ptr<Instruction> ResponseDecoderV1_0::parseInstruction(ByteSource &in, ValueDecoder &values) const
{
    auto instruction = std::make_unique<Instruction>(loadBigEndian<std::uint16_t>(in.take(2)));
    const int argumentCount = in.takeByte();
    in.skip(m_instructionHeaderLength - kInstructionHeaderLength);
    for (int i = 0; i < argumentCount; ++i) {
        const std::uint8_t index = in.takeByte();
        in.skip(m_argumentHeaderLength - kArgumentHeaderLength);
        instruction->setArgumentOwned(index, values.decode());
    }
    return instruction;
}

} // namespace zel
