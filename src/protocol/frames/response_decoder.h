#pragma once

#include "protocol/bytes/protocol_input_stream.h"
#include "protocol/frames/instruction.h"

#include <cstdint>
#include <istream>
#include <memory>
#include <vector>

namespace zel {

class ByteSource;
class ValueDecoder;

/** Instructions in the order received. */
using InstructionList = std::vector<std::unique_ptr<Instruction>>;

class ResponseDecoder
{
public:
    virtual ~ResponseDecoder() = default;
    virtual const InstructionList &getInstructions() const = 0;
};

/** The constructor reads a whole page-transaction response. It throws IOException when the input is too short
 *  or broken. */
class ResponseDecoderV1_0 : public ResponseDecoder
{
public:
    explicit ResponseDecoderV1_0(std::istream &stream);

    const InstructionList &getInstructions() const override { return m_instructions; }

protected:
    // Each step tells by its own name that the stream is bad already, in whatever order a class that derives
    // from this one takes them.
    void parseHeader();
    void parseBody();
    void parseInstructions();

private:
    std::unique_ptr<Instruction> parseInstruction(ByteSource &in, ValueDecoder &values) const;
    void requireGood(const char *operation) const;

    ProtocolInputStream m_in;
    InstructionList m_instructions;
    std::uint16_t m_instructionHeaderLength = 0;
    std::uint16_t m_argumentHeaderLength = 0;
    std::uint16_t m_valueHeaderLength = 0;
    std::int16_t m_instructionCount = 0;
};

} // namespace zel
