#pragma once

#include <cstddef>
#include <cstdint>

namespace soak {

class DiscoveredPens;
class Random;

/** One life of a host: it initialises the library, drives its pens from several threads while the pen
 *  service misbehaves, and exits. Everything chosen follows from the seed; how the threads meet does not.
 *  At its end the service behaves, and every pen must be found, connected and read. Throws Failure. */
class Round
{
public:
    explicit Round(std::uint64_t seed) : m_seed(seed) {}

    void run();
    /** The calls of exported functions that drove pens. */
    std::size_t calls() const { return m_calls; }

private:
    void drivePensFromThreads(DiscoveredPens &pens, Random &random);

    std::uint64_t m_seed;
    std::size_t m_calls = 0;
};

} // namespace soak
