#include "growth.h"

#include <algorithm>

namespace soak {

namespace {

// What a heap's fragments and caches may come to; a round that leaked one page of strokes would go beyond it
// within some hundred rounds.
constexpr std::size_t kAllowedInUse = 256 << 10;
constexpr std::size_t kAllowedResident = 4 << 20;
constexpr std::size_t kFewestSamples = 8;
// Until then the heap of each thread is still finding its size.
constexpr std::size_t kWarmUpRounds = 2000;
// What Wine keeps for itself.
const std::size_t kAllowedDescriptors = zel::test::countsExactly() ? 0 : 8;

} // namespace

void Growth::add(const Sample &sample)
{
    if (m_rounds++ % m_stride != 0)
        return;
    if (m_samples.size() == kMostSamples) {
        for (std::size_t i = 0; i < kMostSamples / 2; ++i)
            m_samples[i] = m_samples[2 * i];
        m_samples.resize(kMostSamples / 2);
        m_stride *= 2;
    }
    m_samples.push_back(sample);
}

Sample Growth::typical(std::size_t quarter) const
{
    const std::size_t from = m_samples.size() * quarter / 4;
    const std::size_t to = std::max(from + 1, m_samples.size() * (quarter + 1) / 4);
    const auto median = [&](auto member) {
        std::vector<std::size_t> values;
        for (std::size_t i = from; i < to; ++i)
            values.push_back(member(m_samples[i]));
        std::nth_element(values.begin(), values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2),
                         values.end());
        return values[values.size() / 2];
    };
    return {.memory = {.inUse = median([](const Sample &sample) { return sample.memory.inUse; }),
                       .resident = median([](const Sample &sample) { return sample.memory.resident; })},
            .counts = {.descriptors = median([](const Sample &sample) { return sample.counts.descriptors; }),
                       .threads = median([](const Sample &sample) { return sample.counts.threads; })}};
}

std::string Growth::complaint() const
{
    if (m_samples.size() < kFewestSamples)
        return {};
    const Sample before = typical(1);
    const Sample after = typical(3);
    if (after.counts.descriptors > before.counts.descriptors + kAllowedDescriptors)
        return "descriptors grew";
    if (after.counts.threads > before.counts.threads)
        return "threads grew";
    if (m_rounds < kWarmUpRounds)
        return {};
    if (after.memory.inUse > before.memory.inUse + kAllowedInUse)
        return "memory in use grew";
    if (after.memory.resident > before.memory.resident + kAllowedResident)
        return "resident memory grew";
    return {};
}

} // namespace soak
