#include "ui/confirm.h"

#include <iostream>

#include "exit_code.h"
#include "failure.h"
#include "host/interruptible.h"
#include "ui/interrupt.h"
#include "ui/terminal.h"

namespace penctl {

bool confirm(const std::string &question)
{
    if (!isTerminal(Stream::Input) || !isTerminal(Stream::Error))
        throw Failure(kUsageError, "there is no terminal to ask on; say --yes to go ahead");
    std::cerr << question << " [y/N] " << std::flush;
    std::string answer;
    if (!finishesBeforeInterrupt([&] { std::getline(std::cin, answer); }))
        leaveNow(kInterrupted);
    return answer == "y" || answer == "Y" || answer == "yes";
}

void requireConsent(bool agreed, const std::string &question)
{
    if (!agreed && !confirm(question))
        throw Failure(kRefused, "left as it was");
}

} // namespace penctl
