#include "sys/thread.h"

#include <atomic>
#include <chrono>
#include <csignal>
#include <thread>

#include <cxxabi.h>
#include <pthread.h>

namespace zel {

/** What a thread and the kill of that thread share. After a kill it is never freed, because the parked thread
 *  stays too: the signal handler may read it at any time. The system therefore never reuses the thread's id.
 */
struct Fate {
    pthread_t thread{};
    sigset_t closed{}; // the signals that the thread blocks from its start
    std::atomic<bool> inForeignCode{false};
    std::atomic<bool> parked{false};
    Fate *next = nullptr;
};

namespace {

// The signal that stops a thread of the library. Its default action is to be ignored, so an extra one does no
// harm.
constexpr int kParkSignal = SIGURG;
/** How long a kill waits for a callback that blocks that signal. */
constexpr int kLongestDeafnessMilliseconds = 1000;

std::atomic<Fate *> s_doomed{
    nullptr};                       // list of the killed threads, the latest first; one kill at a time adds
struct sigaction s_previous;        // the host's handler while ours is installed
thread_local Fate *t_own = nullptr; // set on the library's own threads only

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

// The signals that a thread of the library blocks: those that its creator blocks, and those that a host
// handles on its own threads, for example the one that ends its main loop. The others must stay unblocked:
// signals for faults of this thread, and signals that are sent to every thread. Managed runtimes send a
// real-time signal, or SIGPWR and SIGXCPU, to each thread that ever called them, and wait until it is
// suspended. Profilers sample by SIGPROF or SIGVTALRM.
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

// The thread stays here for ever. glibc has no other defined way to stop a thread where it is: pthread_cancel
// unwinds its stack, and a thread that exits by a bare system call leaves glibc's list of threads wrong. A
// managed runtime that knows the thread can still suspend it.
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

/** Whether our handler is installed, and not one that the host installed later. */
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
    // Our handler is still installed when a thread of an earlier kill has not parked yet.
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

/** Installs the handler again each time: the host may have replaced it, or ignore the signal. Returns false
 *  when the thread does not exist any more. */
bool askToPark(const Fate &target)
{
    installHandler();
    return pthread_kill(target.thread, kParkSignal) == 0;
}

// The library's own code never blocks the signal, so a thread there parks soon. The host's code may block it:
// such a thread parks when it returns from there (see ForeignCode), and nobody needs to wait for that.
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
    std::unique_ptr<Fate> fate =
        std::make_unique<Fate>(); // allocated early, so that a kill cannot run out of memory

    // UBSan would report the reference to abi::__forced_unwind below: it refers to no C++ object.
    __attribute__((no_sanitize("null"))) static void *entry(void *argument)
    {
        auto *const thread = static_cast<LThread *>(argument);
        // A cancellation may end a callback of the host on this thread, but not the library's code.
        setCancelState(PTHREAD_CANCEL_DISABLE);
        t_own = thread->m_native->fate.get();
        try {
            enter(thread);
        } catch (abi::__forced_unwind &) {
            throw;      // from pthread_exit(): glibc aborts the process unless this exception is rethrown
        } catch (...) { // NOLINT(bugprone-empty-catch): there is no caller to report it to
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
    // First clear the flag, then look for a kill. A kill does it the other way round: it first adds the
    // thread to the list, then reads the flag. So either the kill sees the flag, or this thread sees the
    // kill.
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
    return false; // on POSIX systems no thread ends before run() has returned
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
