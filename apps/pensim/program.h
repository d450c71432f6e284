#pragma once

namespace pensim {

/** The whole program: a pen service without pens, for trying and testing hosts. Ends the process. */
[[noreturn]] void runProgram(int count, char **texts);

} // namespace pensim
