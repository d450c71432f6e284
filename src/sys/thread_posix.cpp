#include "sys/thread.h"

#include <atomic>
#include <chrono>
#include <csignal>
#include <thread>

#include <cxxabi.h>
#include <pthread.h>

namespace zel {

/** What a thread and its kill tell each other. After a kill it stays for ever, as the parked thread does: a
 *  handler may look at it at any time, and the thread's id is never given to another. */
struct Fate {
    pthread_t thread{};
    sigset_t closed{}; // the signals that the thread keeps out from its beginning
    std::atomic<bool> inForeignCode{false};
    std::atomic<bool> parked{false};
    Fate *next = nullptr;
};

namespace {

// The one signal that stops a thread of the library; ignored by default, so one too many does no harm.
constexpr int kParkSignal = SIGURG;
/** How long the host's code is given to let that signal in. */
constexpr int kLongestDeafnessMilliseconds = 1000;

std::atomic<Fate *> s_doomed{nullptr}; // those of killed threads, the latest first; one kill at a time adds
struct sigaction s_previous;           // the host's handler while ours is in place
thread_local Fate *t_own = nullptr;    // of the library's threads

static_assert(std::atomic<Fate *>::is_always_lock_free && std::atomic<bool>::is_always_lock_free);

Fate *currentDoomed()
{
    Fate *doomed = s_doomed;
    while (doomed != nullptr && !pthread_equal(pthread_self(), doomed->thread))
        doomed = doomed->next;
    return doomed;
}

bool haveAllParked()
{
    const Fate *doomed = s_doomed;
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

// What a thread of the library keeps out: beside what the thread that makes it keeps out, the signals that a
// host handles on threads of its own, as the one that ends its main loop. The others stay open: the faults of
// the thread itself, and what is meant for every thread. Managed runtimes suspend a thread that once called
// them by a real-time signal or by SIGPWR and SIGXCPU, and wait for it; profilers sample it by SIGPROF or
// SIGVTALRM.
sigset_t closedIn(sigset_t closed)
{
    for (const int hosts : {SIGHUP, SIGINT, SIGQUIT, SIGTERM, SIGUSR1, SIGUSR2, SIGALRM, SIGCHLD, SIGPIPE,
                            SIGCONT, SIGTSTP, SIGTTIN, SIGTTOU, SIGWINCH, SIGIO})
        sigaddset(&closed, hosts);
    for (const int own : {kParkSignal, SIGSEGV, SIGBUS, SIGFPE, SIGILL, SIGTRAP, SIGABRT, SIGSYS})
        sigdelset(&closed, own);
    return closed;
}

int setCancelState(int state)
{
    int previous = 0;
    pthread_setcancelstate(state, &previous);
    return previous;
}

// Stays here for ever. glibc gives no other defined way to stop a thread where it stands: cancelling
// unwinds it, and a thread that ends behind the C library's back leaves its books wrong. A runtime that
// knows the thread may go on suspending it.
[[noreturn]] void park(Fate &own)
{
    setCancelState(PTHREAD_CANCEL_DISABLE);
    sigset_t closed = own.closed;
    sigaddset(&closed, kParkSignal);
    own.parked = true;
    for (;;)
        sigsuspend(&closed);
}

void onParkSignal(int signal, siginfo_t *info, void *context)
{
    Fate *const doomed = currentDoomed();
    if (doomed == nullptr)
        forward(signal, info, context);
    else
        park(*doomed);
}

/** Whether ours is the handler, and not one that the host has put in its place. */
bool isOurs(const struct sigaction &action)
{
    return (action.sa_flags & SA_SIGINFO) != 0 && action.sa_sigaction == onParkSignal;
}

struct sigaction presentHandler()
{
    struct sigaction present {
    };
    sigaction(kParkSignal, nullptr, &present);
    return present;
}

void installHandler()
{
    // Ours is still there when a thread of an earlier kill has not let the signal in yet.
    const struct sigaction present = presentHandler();
    if (isOurs(present))
        return;
    s_previous = present;
    struct sigaction action {
    };
    action.sa_sigaction = onParkSignal;
    action.sa_flags = SA_SIGINFO | SA_RESTART | SA_ONSTACK;
    sigemptyset(&action.sa_mask);
    sigaction(kParkSignal, &action, nullptr);
}

void restoreHandler()
{
    if (isOurs(presentHandler()))
        sigaction(kParkSignal, &s_previous, nullptr);
}

/** Asks each time anew: the host may have put its own handler in the place of ours, or ignore the signal.
 *  False when there is no such thread any more. */
bool askToPark(const Fate &target)
{
    installHandler();
    return pthread_kill(target.thread, kParkSignal) == 0;
}

// The library's code always lets the signal in, so that a thread in there parks. The host's code may keep it
// out: such a thread parks when it comes back (ForeignCode), and nobody needs to wait for that.
void parkThread(Fate &target)
{
    target.next = s_doomed;
    s_doomed = &target;
    for (int waited = 0; !target.parked && askToPark(target); ++waited) {
        if (target.inForeignCode && waited >= kLongestDeafnessMilliseconds)
            break;
        sleepMilliseconds(1);
    }
    if (haveAllParked())
        restoreHandler();
}

void acceptKill()
{
    sigset_t park;
    sigemptyset(&park);
    sigaddset(&park, kParkSignal);
    pthread_sigmask(SIG_UNBLOCK, &park, nullptr);
}

} // namespace

struct LThread::Native {
    pthread_t thread{};
    std::atomic<bool> exists{false};
    std::unique_ptr<Fate> fate = std::make_unique<Fate>(); // made early: a kill needs no memory

    // The reference to a forced unwinding is bound to nothing: it is the C library's, not a C++ object.
    __attribute__((no_sanitize("null"))) static void *entry(void *argument)
    {
        auto *const thread = static_cast<LThread *>(argument);
        // Who cancels the thread ends the host's code on it, not the library's.
        setCancelState(PTHREAD_CANCEL_DISABLE);
        t_own = thread->m_native->fate.get();
        try {
            enter(thread);
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

ForeignCode::ForeignCode()
{
    if (t_own == nullptr)
        return;
    t_own->inForeignCode = true;
    setCancelState(PTHREAD_CANCEL_ENABLE);
}

ForeignCode::~ForeignCode()
{
    if (t_own == nullptr)
        return;
    setCancelState(PTHREAD_CANCEL_DISABLE);
    // In this order, and a kill the other way round: it sees the thread in here, or the thread sees the kill.
    t_own->inForeignCode = false;
    if (Fate *const doomed = currentDoomed(); doomed != nullptr)
        park(*doomed);
    acceptKill();
}

HeldCancellation::HeldCancellation() noexcept : m_previousState(setCancelState(PTHREAD_CANCEL_DISABLE)) {}

HeldCancellation::~HeldCancellation() noexcept(false)
{
    setCancelState(m_previousState);
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
    sigset_t previous;
    pthread_sigmask(SIG_SETMASK, nullptr, &previous);
    m_native->fate->closed = closedIn(previous);
    pthread_sigmask(SIG_SETMASK, &m_native->fate->closed, nullptr);
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

bool LThread::isGone() const noexcept
{
    return false; // nothing here ends a thread without ending its body
}

void LThread::stop()
{
    Fate &fate = *m_native->fate.release();
    if (isCurrent()) {
        m_native->letGo();
        park(fate);
    }
    fate.thread = m_native->thread;
    parkThread(fate);
    m_native->letGo();
}

} // namespace zel
