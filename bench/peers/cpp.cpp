// Compares the C++ header with the C functions that it calls. Both run in turn on one connection, so if the
// machine slows down, both slow down. Prints the seconds of each.
//
//   zel_bench_cpp WORK exchanges=N pages=N size=BYTES
//
// Works: exchanges, retrieve.

#include "common/canned.h"
#include "common/settings.h"

#include <zel/zel.hpp>

#include <chrono>

namespace zel::bench {
namespace {

constexpr int kTurns = 20;

template <class Work>
double secondsOf(Work work)
{
    const auto start = std::chrono::steady_clock::now();
    work();
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

template <class C, class Cpp>
void compare(C c, Cpp cpp)
{
    double seconds = 0;
    double cppSeconds = 0;
    for (int turn = 0; turn < kTurns; ++turn) {
        if (turn % 2 == 0) {
            seconds += secondsOf(c);
            cppSeconds += secondsOf(cpp);
        } else {
            cppSeconds += secondsOf(cpp);
            seconds += secondsOf(c);
        }
    }
    tell("c", seconds);
    tell("cpp", cppSeconds);
}

void exchanges(const zelpp::Pen &pen, std::uint64_t count)
{
    compare(
        [&] {
            std::uint16_t value = 0;
            for (std::uint64_t i = 0; i < count; ++i)
                if (zelGetAutoPowerOff(pen.handle(), &value) != ZEL_OK)
                    fail("cpp: zelGetAutoPowerOff");
        },
        [&] {
            for (std::uint64_t i = 0; i < count; ++i)
                pen.autoPowerOff();
        });
}

void retrieve(const zelpp::Pen &pen)
{
    compare(
        [&] {
            std::uint8_t *data = nullptr;
            std::uint32_t length = 0;
            if (zelGetAllPages(pen.handle(), nullptr, &data, &length) != ZEL_OK)
                fail("cpp: zelGetAllPages");
            zelFreePageData(&data);
        },
        [&] { pen.fetchAll(); });
}

void run(const Settings &settings)
{
    const zelpp::Library library;
    const zelpp::Pen pen = library.connect(library.wait(std::chrono::seconds(30)));
    const std::string work = settings.text("work", "");
    if (work == "exchanges")
        exchanges(pen, settings.number("exchanges", 1000));
    else if (work == "retrieve")
        retrieve(pen);
    else
        fail("cpp: no such work: " + work);
}

} // namespace
} // namespace zel::bench

int main(int count, char *arguments[])
{
    zel::bench::run(zel::bench::Settings::fromArguments(count, arguments));
    return 0;
}
