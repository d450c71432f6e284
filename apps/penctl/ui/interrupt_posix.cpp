#include "ui/interrupt.h"

#include <csignal>
#include <initializer_list>
#include <thread>
#include <unistd.h>

namespace penctl {

namespace {

bool isIgnored(int signal)
{
    struct sigaction action {
    };
    return sigaction(signal, nullptr, &action) == 0 && action.sa_handler == SIG_IGN;
}

} // namespace

void listenForInterrupts()
{
    // A reader that went away is a failed write, no reason to die in the middle of something.
    std::signal(SIGPIPE, SIG_IGN);
    sigset_t ending;
    sigemptyset(&ending);
    for (const int signal : {SIGINT, SIGTERM, SIGHUP, SIGQUIT})
        if (!isIgnored(signal)) // by nohup, or by a shell for a command in the background
            sigaddset(&ending, signal);
    // All threads to come inherit this, so that the signals wait for the one that takes them.
    pthread_sigmask(SIG_BLOCK, &ending, nullptr);
    std::thread([ending] {
        int signal = 0;
        while (sigwait(&ending, &signal) != 0) {
        }
        interrupt();
    }).detach();
}

void leaveNow(int exitCode)
{
    _exit(exitCode);
}

} // namespace penctl
