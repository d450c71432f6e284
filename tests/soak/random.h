#pragma once

#include <cstddef>
#include <cstdint>
#include <random>

namespace soak {

/** The same choices for the same seed, on every platform. Not for several threads: each gets its own,
 *  seeded with next(). */
class Random
{
public:
    explicit Random(std::uint64_t seed) : m_engine(seed) {}

    std::uint64_t next() { return m_engine(); }
    /** From 0 on, below the limit. */
    std::uint64_t below(std::uint64_t limit) { return m_engine() % limit; }
    bool oneIn(std::uint64_t chances) { return below(chances) == 0; }

    template <class Choices>
    const auto &pick(const Choices &choices)
    {
        return *(std::begin(choices) + static_cast<std::ptrdiff_t>(below(std::size(choices))));
    }

private:
    std::mt19937_64 m_engine;
};

} // namespace soak
