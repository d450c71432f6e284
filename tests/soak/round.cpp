#include "round.h"

#include "discovered_pens.h"
#include "failure.h"
#include "host_call.h"
#include "pen_world.h"

#include <algorithm>
#include <atomic>
#include <future>
#include <string>
#include <thread>

namespace soak {

namespace {

constexpr std::chrono::seconds kPatience{30};

void disconnect(PenHandle *pen)
{
    if (zelDisconnectPen(&pen) != ZEL_OK || pen != nullptr)
        throw Failure("zelDisconnectPen failed");
}

std::size_t driveConnectedPen(PenHandle *pen, Random &random)
{
    const std::size_t count = random.below(12);
    for (std::size_t i = 0; i < count; ++i) {
        const HostCall &call = random.pick(hostCalls());
        try {
            expectPossible(call.name, call.make(pen, random));
        } catch (const Failure &failure) {
            throw Failure(std::string(call.name) + ": " + failure.what());
        }
    }
    return count;
}

// One thread of a host: connects to some pen, drives it, disconnects, and again.
std::size_t drivePens(DiscoveredPens &pens, Random random)
{
    std::size_t calls = 0;
    for (std::uint64_t visit = 1 + random.below(4); visit != 0; --visit) {
        const DiscoveryHandle *record = pens.some(random);
        if (record == nullptr) {
            std::this_thread::sleep_for(std::chrono::milliseconds(10));
            continue;
        }
        PenHandle *pen = nullptr;
        expectPossible("zelConnectPen", zelConnectPen(record, &pen));
        calls += 2;
        if (pen == nullptr)
            continue;
        try {
            calls += driveConnectedPen(pen, random);
        } catch (...) {
            disconnect(pen);
            throw;
        }
        disconnect(pen);
    }
    return calls;
}

// The firmware-upgrade listener beside the other one, coming and going.
void exerciseSecondListener(Random random, const std::atomic<bool> &end)
{
    const auto onRecord = [](DiscoveryHandle *record, void *) { zelFreeDiscoveryHandle(&record); };
    while (!end) {
        if (zelDfuInit(nullptr, onRecord, onRecord) != ZEL_OK)
            throw Failure("zelDfuInit failed");
        std::this_thread::sleep_for(std::chrono::milliseconds(random.below(50)));
        if (zelDfuExit() != ZEL_OK)
            throw Failure("zelDfuExit failed");
    }
}

// A record that was under way when the pen was docked again leads nowhere: then a later one must come.
PenHandle *connectAgain(DiscoveredPens &pens, std::uint64_t id)
{
    const auto deadline = std::chrono::steady_clock::now() + kPatience;
    while (std::chrono::steady_clock::now() < deadline) {
        const DiscoveryHandle *record = pens.next(id, kPatience);
        PenHandle *pen = nullptr;
        if (record != nullptr && zelConnectPen(record, &pen) == ZEL_OK)
            return pen;
        if (pen != nullptr)
            disconnect(pen);
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
    }
    throw Failure("a pen that behaves could not be connected");
}

class EndAtExit
{
public:
    explicit EndAtExit(std::atomic<bool> &end) : m_end(end) {}
    EndAtExit(const EndAtExit &) = delete;
    EndAtExit &operator=(const EndAtExit &) = delete;
    ~EndAtExit() { m_end = true; }

private:
    std::atomic<bool> &m_end;
};

void expectPenToWork(DiscoveredPens &pens, std::uint64_t id)
{
    PenHandle *pen = connectAgain(pens, id);
    std::uint8_t *data = nullptr;
    std::uint32_t length = 0;
    const std::uint32_t code = zelGetAllPages(pen, nullptr, &data, &length);
    const pensim::Bytes strokes = PenWorld::knownStrokes();
    const bool whole = std::search(data, data + length, strokes.begin(), strokes.end()) != data + length;
    zelFreePageData(&data);
    disconnect(pen);
    if (code != ZEL_OK)
        throw Failure("a pen that behaves could not be read: " + std::to_string(code));
    if (!whole)
        throw Failure("the strokes that were read are not those of the pen");
}

} // namespace

void Round::drivePensFromThreads(DiscoveredPens &pens, Random &random)
{
    std::vector<std::future<std::size_t>> drivers;
    for (std::uint64_t i = 1 + random.below(4); i != 0; --i)
        drivers.push_back(std::async(std::launch::async, drivePens, std::ref(pens), Random(random.next())));
    for (auto &driver : drivers)
        m_calls += driver.get();
}

void Round::run()
{
    Random random(m_seed);
    PenWorld world(random);
    DiscoveredPens pens;

    std::atomic<bool> end = false;
    auto disturber =
        std::async(std::launch::async, [&, own = Random(random.next())] { world.disturb(own, end); });
    auto second = std::async(std::launch::async, [&, own = Random(random.next())] {
        if (Random(own).oneIn(3))
            exerciseSecondListener(own, end);
    });
    const EndAtExit atExit(end); // a failure ends them too
    for (std::uint64_t wave = 1 + random.below(3); wave != 0; --wave) {
        drivePensFromThreads(pens, random);
        // Not beside the other calls, as the library asks.
        expectPossible("zelEnumeratePens", zelEnumeratePens());
    }
    end = true;
    disturber.get();
    second.get();

    pens.forget();
    world.calmDown();
    for (const std::uint64_t id : world.penIds())
        expectPenToWork(pens, id);
}

} // namespace soak
