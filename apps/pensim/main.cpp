#include "program.h"

// Alone here: the tests link everything else of pensim, and have a main() of their own.
int main(int count, char **texts)
{
    pensim::runProgram(count, texts);
}
