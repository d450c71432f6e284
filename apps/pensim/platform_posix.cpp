#include "platform.h"

namespace pensim {

std::vector<std::string> programArguments(int count, char **texts)
{
    return {texts, texts + count};
}

void prepareConsole() {}
void leaveConsole() {}

bool mayReusePorts()
{
    return true;
}

} // namespace pensim
