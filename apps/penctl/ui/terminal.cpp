#include "ui/terminal.h"

#include <cstdlib>
#include <cstring>

#include "failure.h"
#include "ui/interrupt.h"

namespace penctl {

bool drawsOn(Stream stream)
{
    const char *type = std::getenv("TERM");
    return isTerminal(stream) && !(type && std::strcmp(type, "dumb") == 0);
}

bool coloursOn(Stream stream)
{
    const char *refused = std::getenv("NO_COLOR");
    return drawsOn(stream) && !(refused && *refused);
}

std::optional<std::string> askLine(const std::string &prompt, Echo echo)
{
    const PromptTerminal terminal;
    if (!terminal.isOpen())
        return std::nullopt;
    const OnInterrupt leaveLine([&terminal] {
        terminal.showTyping();
        terminal.endLine();
        return std::string();
    });
    if (echo == Echo::Off && !terminal.hideTyping())
        return std::nullopt;
    terminal.write(prompt);
    std::optional<std::string> line = terminal.readLine();
    if (echo == Echo::Off) {
        terminal.endLine();
        terminal.showTyping();
    }
    return line;
}

void requireConsent(bool agreed, const std::string &question)
{
    if (agreed)
        return;
    if (!isTerminal(Stream::Input) || !isTerminal(Stream::Error))
        throw Failure(kUsageError, "there is no terminal to ask on; say --yes to go ahead");
    const std::string answer = askLine(question + " [y/N] ", Echo::On).value_or("");
    if (answer != "y" && answer != "Y" && answer != "yes")
        throw Failure(kRefused, "left as it was");
}

} // namespace penctl
