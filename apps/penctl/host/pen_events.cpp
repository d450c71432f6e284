#include "host/pen_events.h"

#include <utility>

namespace penctl {

void PenEvents::announce(DiscoveryHandle *handle, void *queue) noexcept
{
    PenRecord record(handle);
    auto &events = *static_cast<PenEvents *>(queue);
    const std::lock_guard lock(events.m_mutex);
    events.m_records.push_back(std::move(record));
    events.m_announced.notify_one();
}

std::optional<PenRecord> PenEvents::next(std::chrono::milliseconds timeout)
{
    std::unique_lock lock(m_mutex);
    if (!m_announced.wait_for(lock, timeout, [this] { return !m_records.empty(); }))
        return std::nullopt;
    PenRecord record = std::move(m_records.front());
    m_records.pop_front();
    return record;
}

} // namespace penctl
