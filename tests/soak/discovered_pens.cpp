#include "discovered_pens.h"

#include "failure.h"

#include <algorithm>

namespace soak {

DiscoveredPens::DiscoveredPens()
{
    if (zelInitialize(&onRecord, &onRecord, this) != ZEL_OK)
        throw Failure("zelInitialize failed");
}

DiscoveredPens::~DiscoveredPens()
{
    zelExit();
    for (DiscoveryHandle *record : m_arrivals)
        zelFreeDiscoveryHandle(&record);
}

void DiscoveredPens::onRecord(DiscoveryHandle *record, void *context)
{
    if (record->kind == ZEL_PEN_DEPARTED) {
        zelFreeDiscoveryHandle(&record);
        return;
    }
    auto &pens = *static_cast<DiscoveredPens *>(context);
    const std::lock_guard guard(pens.m_mutex);
    pens.m_arrivals.push_back(record);
    pens.m_changed.notify_all();
}

const DiscoveryHandle *DiscoveredPens::some(Random &random)
{
    const std::lock_guard guard(m_mutex);
    if (m_arrivals.empty())
        return nullptr;
    const std::size_t young =
        std::min<std::size_t>(m_arrivals.size(), random.oneIn(10) ? m_arrivals.size() : 4);
    return m_arrivals[m_arrivals.size() - 1 - random.below(young)];
}

void DiscoveredPens::forget()
{
    const std::lock_guard guard(m_mutex);
    m_old = m_arrivals.size();
}

const DiscoveryHandle *DiscoveredPens::next(std::uint64_t penId, std::chrono::seconds patience)
{
    std::unique_lock lock(m_mutex);
    const DiscoveryHandle *found = nullptr;
    m_changed.wait_for(lock, patience, [&] {
        for (std::size_t i = m_old; i < m_arrivals.size(); ++i)
            if (m_arrivals[i]->penId == penId)
                found = m_arrivals[i];
        return found != nullptr;
    });
    return found;
}

} // namespace soak
