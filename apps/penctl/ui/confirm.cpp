#include "ui/confirm.h"

#include "exit_code.h"
#include "failure.h"
#include "ui/terminal.h"

namespace penctl {

bool confirm(const std::string &question)
{
    if (!isTerminal(Stream::Input) || !isTerminal(Stream::Error))
        throw Failure(kUsageError, "there is no terminal to ask on; say --yes to go ahead");
    const std::string answer = askLine(question + " [y/N] ", Echo::On).value_or("");
    return answer == "y" || answer == "Y" || answer == "yes";
}

void requireConsent(bool agreed, const std::string &question)
{
    if (!agreed && !confirm(question))
        throw Failure(kRefused, "left as it was");
}

} // namespace penctl
