#include "sys/thread.h"

#include <atomic>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <thread>

#include <pthread.h>
#include <semaphore.h>
#include <time.h>

namespace zel {

namespace {

// The one signal that a thread of the library takes; ignored by default, so one too many does no harm.
constexpr int kParkSignal = SIGURG;
constexpr time_t kParkSeconds = 5;

/** What the handler needs to know of the thread that is to be parked. One at a time. */
struct ParkRequest {
    pthread_t target;
    sem_t parked;
    struct sigaction previous;
};

std::atomic<ParkRequest *> s_request{nullptr};

void forward(const struct sigaction &previous, int signal, siginfo_t *info, void *context)
{
    if ((previous.sa_flags & SA_SIGINFO) != 0)
        previous.sa_sigaction(signal, info, context);
    else if (previous.sa_handler != SIG_DFL && previous.sa_handler != SIG_IGN)
        previous.sa_handler(signal);
}

// Stays here for ever. glibc gives no other defined way to stop a thread where it stands: cancelling
// unwinds it, and a thread that ends behind the C library's back leaves its books wrong.
void park(int signal, siginfo_t *info, void *context)
{
    const int savedErrno = errno;
    ParkRequest *const request = s_request.load();
    if (request != nullptr && pthread_equal(pthread_self(), request->target)) {
        sem_post(&request->parked);
        sigset_t everySignal;
        sigfillset(&everySignal);
        for (;;)
            sigsuspend(&everySignal);
    }
    if (request != nullptr)
        forward(request->previous, signal, info, context);
    errno = savedErrno;
}

void parkThread(pthread_t target)
{
    ParkRequest request{};
    request.target = target;
    sem_init(&request.parked, 0, 0);
    s_request = &request;

    struct sigaction action {
    };
    action.sa_sigaction = park;
    action.sa_flags = SA_SIGINFO;
    sigemptyset(&action.sa_mask);
    sigaction(kParkSignal, &action, &request.previous);
    pthread_kill(target, kParkSignal);

    timespec deadline{};
    clock_gettime(CLOCK_REALTIME, &deadline);
    deadline.tv_sec += kParkSeconds;
    while (sem_timedwait(&request.parked, &deadline) != 0 && errno == EINTR) {
    }
    sigaction(kParkSignal, &request.previous, nullptr);
    s_request = nullptr;
    sem_destroy(&request.parked);
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
    bool exists = false;
};

void sleepMilliseconds(std::uint32_t milliseconds)
{
    std::this_thread::sleep_for(std::chrono::milliseconds(milliseconds));
}

LThread::LThread(bool autoDelete) : m_native(std::make_unique<Native>()), m_autoDelete(autoDelete) {}

LThread::~LThread()
{
    if (!m_native->exists)
        return;
    if (!pthread_equal(m_native->thread, pthread_self()) && m_finished.wait(0))
        pthread_join(m_native->thread, nullptr);
    else
        pthread_detach(m_native->thread);
}

void LThread::create()
{
    const sigset_t blocked = hostSignals();
    sigset_t previous;
    pthread_sigmask(SIG_SETMASK, &blocked, &previous);
    const auto entry = [](void *thread) -> void * {
        enter(static_cast<LThread *>(thread));
        return nullptr;
    };
    m_native->exists = pthread_create(&m_native->thread, nullptr, entry, this) == 0;
    pthread_sigmask(SIG_SETMASK, &previous, nullptr);
}

bool LThread::isRunning() const noexcept
{
    return m_native->exists;
}

void LThread::stop()
{
    parkThread(m_native->thread);
    pthread_detach(m_native->thread);
    m_native->exists = false;
}

} // namespace zel
