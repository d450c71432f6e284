#pragma once

#include "allocation_watch.h"
#include "fault_rows.h"
#include "support/process_counts.h"

#include "pens/discovery_record.h"
#include "support/connected_pen.h"

namespace faults {

/** Both modes of the library, initialised without a listener as long as this lives, and a pen's service. */
class Bench
{
public:
    Bench();
    ~Bench();
    Bench(const Bench &) = delete;
    Bench &operator=(const Bench &) = delete;

    zel::test::ScriptedPen &service() noexcept { return m_service; }
    const zel::DiscoveryRecord &record() const noexcept { return m_record; }

    /** Lets the row's call be made for the first time, after which what it holds for good is there. */
    void begin(const FaultRow &row);
    /** Makes the row's call on a fresh connection; every answer is the usual one. */
    void expectUsual(const FaultRow &row);
    /** The process is as it was without a connection, for which the service is given time to close its end,
     *  and so is the memory that the library's calls took since the beginning. */
    void expectNothingLeft();

private:
    zel::test::InitializedLibrary m_library;
    zel::test::ScriptedPen m_service;
    zel::DiscoveryRecord m_record;
    zel::test::ProcessCounts m_processBefore;
    std::size_t m_allocationsBefore = 0;
};

/** A fresh connection to the bench's pen, as a row's call wants it; disconnected when it goes. */
class Subject
{
public:
    Subject(Bench &bench, Mode mode);
    ~Subject();
    Subject(const Subject &) = delete;
    Subject &operator=(const Subject &) = delete;

    Handles &handles() noexcept { return m_handles; }

private:
    Handles m_handles;
};

} // namespace faults
