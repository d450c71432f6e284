// A host that loads the library at run time, as a plug-in does that depends on it, and lets go of it again.
//
//   loading_host cycles|forgotten|killed|namesake LIBRARY
//
// Exit code 0 when all is well; what is not is on the standard error output.
#include "loaded_library.h"

#include "soak/process_memory.h"
#include "support/process_counts.h"

#include "zel/zel.h"

#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <ostream>
#include <sstream>
#include <string>
#include <thread>

using lifetime::LoadedLibrary;

namespace {

constexpr int kCycles = 2000;
constexpr std::size_t kHandlesOfTheSystem = 8;
constexpr std::size_t kGrowth = 1024 * 1024; // of memory, for what has nothing to do with the cycles

std::atomic<DiscoveryHandle *> s_record{nullptr};
std::atomic<int> s_announcements{0};
std::atomic<int> s_callsOfNamesake{0};

void require(bool condition, const std::string &what)
{
    if (condition)
        return;
    std::fprintf(stderr, "%s\n", what.c_str());
    std::fflush(stderr);
    std::_Exit(1);
}

void waitFor(const std::atomic<int> &count, int wanted)
{
    while (count < wanted)
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
}

void announced(DiscoveryHandle *record, void *)
{
    if (s_record == nullptr)
        s_record = record;
    ++s_announcements;
}

void announcedForEver(DiscoveryHandle *, void *)
{
    ++s_announcements;
    for (;;)
        std::this_thread::sleep_for(std::chrono::hours(1));
}

void initialize(const LoadedLibrary &library, PenArrivedCallback callback)
{
    require(LOADED(library, zelInitialize)(callback, callback, nullptr) == ZEL_OK, "cannot be initialised");
}

void oneCycle(const std::string &path)
{
    const LoadedLibrary library(path);
    initialize(library, announced);
    require(LOADED(library, zelExit)() == ZEL_OK, "cannot be ended");
}

struct Holdings {
    std::size_t slot = lifetime::nextThreadLocalSlot();
    soak::ProcessMemory memory = soak::measureMemory();
};

void manyCycles(const std::string &path)
{
    for (int warmUp = 0; warmUp < 20; ++warmUp)
        oneCycle(path);
    const zel::test::ProcessCounts counts = zel::test::countProcess();
    const Holdings before;
    for (int cycle = 0; cycle < kCycles; ++cycle)
        oneCycle(path);
    const Holdings after;
    const zel::test::ProcessCounts now = zel::test::countProcess(counts);
    std::ostringstream held;
    PrintTo(now, &held);
    held << " after ";
    PrintTo(counts, &held);
    // Wine keeps a handle of its own now and then.
    require(now == counts || (!zel::test::countsExactly() && now.threads <= counts.threads &&
                              now.descriptors <= counts.descriptors + kHandlesOfTheSystem),
            held.str());
    require(after.slot == before.slot, "thread-local slots are left behind");
    require(after.memory.inUse <= before.memory.inUse + kGrowth, "memory is left behind");
#ifndef ZEL_SANITIZED // it keeps back what was freed
    require(after.memory.resident <= before.memory.resident + 4 * kGrowth, "the process grows");
#endif
}

/** The listener goes on: pens that come and go are announced. */
void unloadWithoutExit(const std::string &path)
{
    {
        const LoadedLibrary library(path);
        initialize(library, announced);
        waitFor(s_announcements, 1);
    }
    waitFor(s_announcements, s_announcements + 5);
}

void unloadAfterAKill(const std::string &path)
{
    {
        const LoadedLibrary library(path);
        initialize(library, announcedForEver);
        waitFor(s_announcements, 1);
        require(LOADED(library, zelExit)() == ZEL_OK, "cannot be ended");
    }
    lifetime::disturbThreads();
    std::this_thread::sleep_for(std::chrono::milliseconds(200)); // a thread without its code would crash now
}

void callOwnNamesake(const std::string &path)
{
    const LoadedLibrary library(path);
    initialize(library, announced);
    while (s_record == nullptr)
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    PenHandle *pen = nullptr;
    require(LOADED(library, zelConnectPen)(s_record, &pen) == ZEL_OK, "cannot be connected");
    require(s_callsOfNamesake == 0, "the library has called the host's function");
    LOADED(library, zelDisconnectPen)(&pen);
    LOADED(library, zelExit)();
}

} // namespace

/** The host's own, which only happens to have the name of an export that zelConnectPen makes use of. */
extern "C" uint32_t zelGetPenLockedStatus(PenHandle *, uint8_t *)
{
    ++s_callsOfNamesake;
    return ZEL_OK;
}

int main(int count, char **arguments)
{
    const std::string mode = count == 3 ? arguments[1] : "";
    if (mode == "cycles")
        manyCycles(arguments[2]);
    else if (mode == "forgotten")
        unloadWithoutExit(arguments[2]);
    else if (mode == "killed")
        unloadAfterAKill(arguments[2]);
    else if (mode == "namesake")
        callOwnNamesake(arguments[2]);
    else
        return 2;
    std::fflush(stderr);
    std::_Exit(0);
}
