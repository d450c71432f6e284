#pragma once

#include "zel/zel.h"

#include <condition_variable>
#include <cstdint>
#include <mutex>
#include <string>
#include <vector>

namespace lifetime {

/** A host of both modes that calls every export. It needs a pen of each mode in the pen service. What it has
 *  announced is never destroyed, so it may be used while the process ends. One thread at a time. */
class EveryExport
{
public:
    /** Initialises both modes and connects to the first pen of each. */
    void open();
    /** Calls every other export, once at the least. */
    void call();
    void close();

    /** The calls so far and what they returned, "zelSetTime 0". */
    const std::vector<std::string> &results() const noexcept { return m_results; }
    /** How many exports there are among them. */
    std::size_t exportsCalled() const;

private:
    static void announced(DiscoveryHandle *record, void *context);

    DiscoveryHandle *awaitRecord(DiscoveryHandle *&record);
    void took(const char *name, std::uint32_t code);

    std::mutex m_lock;
    std::condition_variable m_changed;
    DiscoveryHandle *m_record = nullptr;
    DiscoveryHandle *m_dfuRecord = nullptr;
    PenHandle *m_pen = nullptr;
    DfuPenHandle *m_dfuPen = nullptr;
    std::vector<std::string> m_results;
};

} // namespace lifetime
