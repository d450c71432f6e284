#include "commands/program.h"

#ifdef _WIN32

#include <filesystem>

/** Tells MinGW's start-up code not to replace "*" by the names of files: page addresses hold it too. */
extern "C" int _dowildcard;
int _dowildcard = 0;

/** The arguments as main() gets them are in the system's code page, which need not have all characters. */
extern "C" int wmain(int argc, wchar_t **argv)
{
    std::vector<std::string> arguments;
    for (int i = 1; i < argc; ++i) {
        const std::u8string text = std::filesystem::path(argv[i]).u8string();
        arguments.emplace_back(text.begin(), text.end());
    }
    return penctl::runProgram(std::move(arguments));
}

#else

int main(int argc, char **argv)
{
    return penctl::runProgram(argc == 0 ? std::vector<std::string>()
                                        : std::vector<std::string>(argv + 1, argv + argc));
}

#endif
