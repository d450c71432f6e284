#include "protocol/response_decoder.h"

#include "protocol/value_format.h"
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
    for (int i = 0; i < m_instructionCount; ++i)
        m_instructions.push_back(parseInstruction());
}

std::unique_ptr<Instruction> ResponseDecoderV1_0::parseInstruction()
{
    auto instruction = std::make_unique<Instruction>(m_in.readShort());
    const int argumentCount = m_in.readByte();
    m_in.skipBytes(m_instructionHeaderLength - kInstructionHeaderLength);
    ValueFormatV1_0 format(m_valueHeaderLength);
    for (int i = 0; i < argumentCount; ++i) {
        const std::uint8_t index = m_in.readByte();
        m_in.skipBytes(m_argumentHeaderLength - kArgumentHeaderLength);
        instruction->setArgumentOwned(index, format.decode(m_in));
    }
    return instruction;
}

} // namespace zel
