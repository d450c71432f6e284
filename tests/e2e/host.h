#pragma once

#include "pensim/service.h"
#include "support/wire.h"
#include "zel/zel.h"

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <gtest/gtest.h>
#include <mutex>
#include <string>
#include <vector>

/** What the end-to-end tests share: a host application around the exported functions. */
namespace zel::test {

/** Nothing takes this long; a test that waits so long has failed. */
constexpr std::chrono::seconds kPatience{30};

/** Takes over a text that the library handed out. */
inline std::string takeText(char *text)
{
    std::string copy = text == nullptr ? "(null)" : text;
    EXPECT_EQ(zelFreeString(&text), ZEL_OK);
    return copy;
}

/** Takes over page data that the library handed out. */
inline Bytes takeData(std::uint8_t *data, std::uint32_t length)
{
    Bytes copy(data, data + length);
    EXPECT_EQ(zelFreePageData(&data), ZEL_OK);
    return copy;
}

enum class Mode { ordinary, firmwareUpgrade };

inline pensim::PenSpec penOf(std::uint64_t id, Mode mode = Mode::ordinary)
{
    pensim::PenSpec spec;
    spec.id = id;
    spec.dfuMode = mode == Mode::firmwareUpgrade;
    return spec;
}

/** A host: initialises one mode of the library for as long as it lives and keeps the records that the
 *  callbacks get. The callbacks come on the library's thread, everything else is called on the test's. */
class Host
{
public:
    explicit Host(Mode mode = Mode::ordinary) : m_mode(mode)
    {
        EXPECT_EQ(mode == Mode::ordinary ? zelInitialize(&Host::onArrival, &Host::onDeparture, this)
                                         : zelDfuInit(this, &Host::onArrival, &Host::onDeparture),
                  ZEL_OK);
    }
    ~Host()
    {
        EXPECT_EQ(m_mode == Mode::ordinary ? zelExit() : zelDfuExit(), ZEL_OK);
        forget();
    }
    Host(const Host &) = delete;
    Host &operator=(const Host &) = delete;

    /** The ids of the pens that arrived, in order, once there are so many. */
    std::vector<std::uint64_t> arrivals(std::size_t count) { return ids(m_arrivals, count); }
    std::vector<std::uint64_t> departures(std::size_t count) { return ids(m_departures, count); }

    /** Frees the records and starts counting anew. */
    void forget()
    {
        const std::lock_guard guard(m_mutex);
        for (auto *records : {&m_arrivals, &m_departures}) {
            for (DiscoveryHandle *record : *records)
                EXPECT_EQ(zelFreeDiscoveryHandle(&record), ZEL_OK);
            records->clear();
        }
    }

    /** The record of a pen that has arrived or is about to; null when it never comes. */
    DiscoveryHandle *record(std::uint64_t penId)
    {
        std::unique_lock lock(m_mutex);
        DiscoveryHandle *found = nullptr;
        m_changed.wait_for(lock, kPatience, [&] {
            for (DiscoveryHandle *candidate : m_arrivals)
                if (candidate->penId == penId)
                    found = candidate;
            return found != nullptr;
        });
        return found;
    }

private:
    using Records = std::vector<DiscoveryHandle *>;

    static void onArrival(DiscoveryHandle *record, void *context)
    {
        EXPECT_EQ(record->kind, ZEL_PEN_ARRIVED);
        auto *host = static_cast<Host *>(context);
        host->keep(host->m_arrivals, record);
    }

    static void onDeparture(DiscoveryHandle *record, void *context)
    {
        EXPECT_EQ(record->kind, ZEL_PEN_DEPARTED);
        auto *host = static_cast<Host *>(context);
        host->keep(host->m_departures, record);
    }

    void keep(Records &records, DiscoveryHandle *record)
    {
        const std::lock_guard guard(m_mutex);
        records.push_back(record);
        m_changed.notify_all();
    }

    std::vector<std::uint64_t> ids(const Records &records, std::size_t count)
    {
        std::unique_lock lock(m_mutex);
        EXPECT_TRUE(m_changed.wait_for(lock, kPatience, [&] { return records.size() >= count; }));
        std::vector<std::uint64_t> ids;
        std::transform(records.begin(), records.end(), std::back_inserter(ids),
                       [](const DiscoveryHandle *record) { return record->penId; });
        return ids;
    }

    const Mode m_mode;
    std::mutex m_mutex;
    std::condition_variable m_changed;
    Records m_arrivals;
    Records m_departures;
};

/** A connected pen, disconnected at the end. */
class Connection
{
public:
    Connection(Host &host, std::uint64_t penId) { m_code = zelConnectPen(host.record(penId), &m_pen); }
    ~Connection() { EXPECT_EQ(zelDisconnectPen(&m_pen), ZEL_OK); }
    Connection(const Connection &) = delete;
    Connection &operator=(const Connection &) = delete;

    std::uint32_t code() const { return m_code; }
    PenHandle *pen() const { return m_pen; }

private:
    PenHandle *m_pen = nullptr;
    std::uint32_t m_code = 0;
};

} // namespace zel::test
