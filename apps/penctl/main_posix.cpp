#include "program.h"

int main(int argc, char **argv)
{
    return penctl::runProgram(argc == 0 ? std::vector<std::string>()
                                        : std::vector<std::string>(argv + 1, argv + argc));
}
