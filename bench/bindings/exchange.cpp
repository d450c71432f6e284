// The same as exchange.c, but through the C++ header.
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <zel/zel.hpp>

int main(int argc, char **argv)
{
    using Clock = std::chrono::steady_clock;
    const int exchanges = argc > 1 ? std::atoi(argv[1]) : 20000;
    const auto since = [](Clock::time_point began) {
        return static_cast<double>(std::chrono::nanoseconds(Clock::now() - began).count());
    };
    const zelpp::Library library;
    const zelpp::Pen pen = library.connect(library.wait());
    Clock::time_point began = Clock::now();
    int locked = 0;
    for (int i = 0; i < exchanges; ++i)
        locked += pen.isLocked() ? 1 : 0;
    std::printf("exchange %.0f\n", since(began) / exchanges);
    pen.fetchAll();
    began = Clock::now();
    const zelpp::PageData data = pen.fetchAll();
    std::printf("retrieval %.0f\n", since(began));
    return locked;
}
