#include "e2e/host.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <thread>

namespace {

using namespace zel::test;

constexpr std::size_t kPens = 64;
constexpr std::uint64_t kComingAndGoing = 1000;

std::uint64_t idOf(std::size_t index)
{
    return index + 1;
}

std::string nameOf(std::size_t index)
{
    return "Pen " + std::to_string(index);
}

Bytes strokesOf(std::size_t index)
{
    return pensim::generatedStrokes(3000 + index, index);
}

pensim::Scenario manyPens()
{
    pensim::Scenario scenario;
    for (std::size_t i = 0; i < kPens; ++i) {
        pensim::PenSpec pen = penOf(idOf(i));
        pen.brand = nameOf(i);
        pen.pages = {{pensim::pageAddress(0, 1, 2, 3, 4), pensim::Value::binary(strokesOf(i)), {}}};
        scenario.pens.push_back(std::move(pen));
    }
    return scenario;
}

/** A connected pen that threads hand on: whoever holds the lock drives it. */
struct SharedPen {
    std::mutex turn;
    PenHandle *handle = nullptr;

    void expectNameOf(std::size_t index)
    {
        const std::lock_guard guard(turn);
        char *name = nullptr;
        EXPECT_EQ(zelGetPenProductName(handle, &name), ZEL_OK);
        EXPECT_EQ(takeText(name), nameOf(index));
    }

    void expectStrokesOf(std::size_t index)
    {
        const std::lock_guard guard(turn);
        std::uint8_t *block = nullptr;
        std::uint32_t length = 0;
        ASSERT_EQ(zelGetAllPages(handle, nullptr, &block, &length), ZEL_OK);
        const Bytes data = takeData(block, length);
        const Bytes strokes = strokesOf(index);
        EXPECT_NE(std::search(data.begin(), data.end(), strokes.begin(), strokes.end()), data.end());
    }
};

/** As many threads as there are pens; each calls the function with its number. */
template <class Function>
void onAThreadPerPen(Function function)
{
    std::vector<std::thread> threads;
    for (std::size_t i = 0; i < kPens; ++i)
        threads.emplace_back(function, i);
    for (std::thread &thread : threads)
        thread.join();
}

class ManyPens : public testing::Test
{
protected:
    ManyPens() : m_service({}, manyPens()) { m_service.start(); }

    void comeAndGo()
    {
        m_service.dock(penOf(kComingAndGoing));
        while (!m_done) {
            m_service.undock(kComingAndGoing);
            m_service.redock(kComingAndGoing);
            std::this_thread::sleep_for(std::chrono::milliseconds(5));
        }
    }

    pensim::Service m_service;
    std::atomic<bool> m_done{false};
};

// Each thread connects a pen of its own, then drives every pen in turn, while others arrive and depart.
TEST_F(ManyPens, SixtyFourThreadsDriveThemAll)
{
    Host host;
    ASSERT_EQ(host.arrivals(kPens).size(), kPens);
    std::thread others([this] { comeAndGo(); });
    std::array<SharedPen, kPens> pens;
    onAThreadPerPen([&](std::size_t own) {
        ASSERT_EQ(zelConnectPen(host.record(idOf(own)), &pens.at(own).handle), ZEL_OK);
        pens.at(own).expectStrokesOf(own);
    });
    onAThreadPerPen([&](std::size_t own) {
        for (std::size_t i = 0; i < kPens; ++i) {
            const std::size_t index = (own + i) % kPens;
            pens.at(index).expectNameOf(index);
        }
        pens.at(own).expectStrokesOf(own);
    });
    onAThreadPerPen([&](std::size_t own) { EXPECT_EQ(zelDisconnectPen(&pens.at(own).handle), ZEL_OK); });
    m_done = true;
    others.join();
}

} // namespace
