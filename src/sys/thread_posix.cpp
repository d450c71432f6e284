#include "sys/thread.h"

#include <atomic>
#include <chrono>
#include <csignal>
#include <thread>

#include <cxxabi.h>
#include <pthread.h>

namespace zel {

/** A thread that is to park. The entry stays for ever, as the parked thread does: a handler may look at it
 *  at any time, and the thread's id is never given to another. */
struct Doomed {
    pthread_t thread{};
    std::atomic<bool> parked{false};
    Doomed *next = nullptr;
};

namespace {

// The one signal that a thread of the library takes; ignored by default, so one too many does no harm.
constexpr int kParkSignal = SIGURG;
constexpr int kLongestParkMilliseconds = 1000;

std::atomic<Doomed *> s_doomed{nullptr}; // the latest first; one kill at a time adds to it
struct sigaction s_previous;             // the host's handler while ours is in place

static_assert(std::atomic<Doomed *>::is_always_lock_free && std::atomic<bool>::is_always_lock_free);

Doomed *currentDoomed()
{
    Doomed *doomed = s_doomed;
    while (doomed != nullptr && !pthread_equal(pthread_self(), doomed->thread))
        doomed = doomed->next;
    return doomed;
}

bool haveAllParked()
{
    const Doomed *doomed = s_doomed;
    while (doomed != nullptr && doomed->parked)
        doomed = doomed->next;
    return doomed == nullptr;
}

void forward(int signal, siginfo_t *info, void *context)
{
    if ((s_previous.sa_flags & SA_SIGINFO) != 0)
        s_previous.sa_sigaction(signal, info, context);
    else if (s_previous.sa_handler != SIG_DFL && s_previous.sa_handler != SIG_IGN)
        s_previous.sa_handler(signal);
}

// Stays here for ever. glibc gives no other defined way to stop a thread where it stands: cancelling
// unwinds it, and a thread that ends behind the C library's back leaves its books wrong.
[[noreturn]] void parkForEver()
{
    sigset_t everySignal;
    sigfillset(&everySignal);
    for (;;)
        sigsuspend(&everySignal);
}

void onParkSignal(int signal, siginfo_t *info, void *context)
{
    Doomed *const doomed = currentDoomed();
    if (doomed == nullptr) {
        forward(signal, info, context);
        return;
    }
    doomed->parked = true;
    parkForEver();
}

void installHandler()
{
    struct sigaction present {
    };
    sigaction(kParkSignal, nullptr, &present);
    // Ours is still there when a thread of an earlier kill has not let the signal in yet.
    if ((present.sa_flags & SA_SIGINFO) != 0 && present.sa_sigaction == onParkSignal)
        return;
    s_previous = present;
    struct sigaction action {
    };
    action.sa_sigaction = onParkSignal;
    action.sa_flags = SA_SIGINFO | SA_RESTART | SA_ONSTACK;
    sigemptyset(&action.sa_mask);
    sigaction(kParkSignal, &action, nullptr);
}

void parkThread(Doomed &target)
{
    target.next = s_doomed;
    s_doomed = &target;
    installHandler();
    pthread_kill(target.thread, kParkSignal);
    for (int waited = 0; !target.parked && waited < kLongestParkMilliseconds; ++waited)
        sleepMilliseconds(1);
    // A thread that a callback made block the signal parks when it lets it in: the handler waits for it.
    if (haveAllParked())
        sigaction(kParkSignal, &s_previous, nullptr);
}

// The host's signals are the host's business: a new thread blocks them. Faults of the thread itself
// stay visible to the host's crash handlers.
sigset_t hostSignals()
{
    sigset_t signals;
    sigfillset(&signals);
    for (const int own : {kParkSignal, SIGSEGV, SIGBUS, SIGFPE, SIGILL, SIGTRAP, SIGABRT, SIGSYS})
        sigdelset(&signals, own);
    return signals;
}

} // namespace

struct LThread::Native {
    pthread_t thread{};
    std::atomic<bool> exists{false};
    std::unique_ptr<Doomed> doomed = std::make_unique<Doomed>(); // made early: a kill needs no memory

    // The reference to a forced unwinding is bound to nothing: it is the C library's, not a C++ object.
    __attribute__((no_sanitize("null"))) static void *entry(void *thread)
    {
        try {
            enter(static_cast<LThread *>(thread));
        } catch (abi::__forced_unwind &) {
            throw;      // somebody's pthread_exit(): the C library ends the process unless it is let through
        } catch (...) { // NOLINT(bugprone-empty-catch): nobody is left to tell
        }
        return nullptr;
    }

    void letGo()
    {
        pthread_detach(thread);
        exists = false;
    }
};

void sleepMilliseconds(std::uint32_t milliseconds)
{
    std::this_thread::sleep_for(std::chrono::milliseconds(milliseconds));
}

void acceptKill() noexcept
{
    sigset_t park;
    sigemptyset(&park);
    sigaddset(&park, kParkSignal);
    pthread_sigmask(SIG_UNBLOCK, &park, nullptr);
}

LThread::LThread(bool autoDelete) : m_native(std::make_unique<Native>()), m_autoDelete(autoDelete) {}

LThread::~LThread()
{
    if (!m_native->exists)
        return;
    if (!isCurrent() && m_finished.wait(0))
        pthread_join(m_native->thread, nullptr);
    else
        m_native->letGo();
}

void LThread::create()
{
    const sigset_t blocked = hostSignals();
    sigset_t previous;
    pthread_sigmask(SIG_SETMASK, &blocked, &previous);
    m_native->exists = pthread_create(&m_native->thread, nullptr, Native::entry, this) == 0;
    pthread_sigmask(SIG_SETMASK, &previous, nullptr);
}

bool LThread::isRunning() const noexcept
{
    return m_native->exists;
}

bool LThread::isCurrent() const noexcept
{
    return pthread_equal(m_native->thread, pthread_self()) != 0;
}

void LThread::stop()
{
    if (isCurrent()) {
        m_native->letGo();
        parkForEver();
    }
    Doomed &doomed = *m_native->doomed.release();
    doomed.thread = m_native->thread;
    parkThread(doomed);
    m_native->letGo();
}

} // namespace zel
