#include "ui/interrupt.h"

#include <csignal>
#include <pthread.h>
#include <thread>
#include <unistd.h>

#include "ui/interrupt_flag.h"

namespace penctl {

namespace {

sigset_t s_before;
std::thread s_waiter;

sigset_t endingSignals()
{
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, SIGINT);
    sigaddset(&signals, SIGTERM);
    sigaddset(&signals, SIGHUP);
    // Tells the waiting thread to end.
    sigaddset(&signals, SIGUSR1);
    return signals;
}

void waitForSignals(const sigset_t &signals)
{
    for (;;) {
        int signal = 0;
        if (sigwait(&signals, &signal) == 0 && signal == SIGUSR1)
            return;
        reportInterrupt();
    }
}

} // namespace

Interrupt::Interrupt()
{
    forgetInterrupt();
    const sigset_t signals = endingSignals();
    pthread_sigmask(SIG_BLOCK, &signals, &s_before);
    s_waiter = std::thread([signals] { waitForSignals(signals); });
}

Interrupt::~Interrupt()
{
    pthread_kill(s_waiter.native_handle(), SIGUSR1);
    s_waiter.join();
    pthread_sigmask(SIG_SETMASK, &s_before, nullptr);
}

void leaveNow(int exitCode)
{
    _exit(exitCode);
}

} // namespace penctl
