#pragma once

#include "pen_state.h"

namespace pensim {

/** One row of the table of everything that a pen can be asked. */
struct Instruction {
    std::uint32_t code;
    const char *name;
    Answer (*carryOut)(PenState &, const Request &, std::uint64_t connection);
    std::vector<Type> arguments; // in order of index; `any` takes every type
    bool whenLocked = false;
    std::uint16_t minVersion = 0; // of the pen's software
    bool inDfuMode = false;       // pens in firmware-upgrade mode know it too

    bool isKnownTo(const PenState &pen) const;
    bool accepts(const Request &request) const;
};

/** Null when no pen knows the code. */
const Instruction *findInstruction(std::uint32_t code);

std::size_t instructionCount();

/** The four characters of a code. Characters other than letters and digits are replaced by question marks. */
std::string codeText(std::uint32_t code);

} // namespace pensim
