// A host application: does one kind of work with the library's public functions, and prints the time and
// memory that it took.
//
//   zel_bench_host WORK pens=N pages=N size=BYTES exchanges=N before=N
//
// Works: exchanges, large-exchanges, retrieve, select, select-longer, list, enumerate, arrival, exit,
// idle, load.

#include "common/canned.h"
#include "common/measured.h"

#include "zel/zel.h"

#include <malloc.h>
#include <unistd.h>

#include <condition_variable>
#include <cstdlib>
#include <mutex>

namespace zel::bench {
namespace {

void require(std::uint32_t code, const char *call)
{
    if (code != ZEL_OK)
        fail(std::string("host: ") + call + " returned " + std::to_string(code));
}

/** The records of the pens that arrived, and a way to wait for them. */
class Arrivals
{
public:
    static void arrived(DiscoveryHandle *record, void *context)
    {
        static_cast<Arrivals *>(context)->add(record);
    }
    static void departed(DiscoveryHandle *record, void *) { zelFreeDiscoveryHandle(&record); }

    ~Arrivals()
    {
        for (DiscoveryHandle *record : m_records)
            zelFreeDiscoveryHandle(&record);
    }

    /** From now on every callback takes this long. */
    void setPause(std::uint32_t microseconds) { m_pause = microseconds; }

    void expect(std::size_t count) { m_expected = count; }

    DiscoveryHandle *await()
    {
        std::unique_lock lock(m_mutex);
        m_changed.wait(lock, [this] { return m_records.size() >= m_expected; });
        return m_records.front();
    }

private:
    void add(DiscoveryHandle *record)
    {
        {
            const std::scoped_lock lock(m_mutex);
            m_records.push_back(record);
            if (m_records.size() != m_expected)
                return;
        }
        m_changed.notify_one();
        usleep(m_pause);
    }

    std::mutex m_mutex;
    std::condition_variable m_changed;
    std::vector<DiscoveryHandle *> m_records;
    std::size_t m_expected = 1;
    std::uint32_t m_pause = 0;
};

void initialize(Arrivals &arrivals)
{
    require(zelInitialize(Arrivals::arrived, Arrivals::departed, &arrivals), "zelInitialize");
}

template <class Work>
void measure(const Settings &settings, Work work)
{
    Measured measured(settings);
    work();
    measured.stop();
}

void exchanges(PenHandle *pen, const Settings &settings)
{
    const std::uint64_t count = settings.number("exchanges", 1);
    measure(settings, [&] {
        for (std::uint64_t i = 0; i < count; ++i) {
            std::uint16_t value = 0;
            require(zelGetAutoPowerOff(pen, &value), "zelGetAutoPowerOff");
        }
    });
}

void largeExchanges(PenHandle *pen, const Settings &settings)
{
    const std::uint64_t count = settings.number("exchanges", 1);
    const std::vector<std::uint8_t> certificate(6000, 'c');
    measure(settings, [&] {
        for (std::uint64_t i = 0; i < count; ++i)
            require(zelInstallCertificate(pen, certificate.data(), 6000), "zelInstallCertificate");
    });
}

/** Checks the length of the fetched pages and releases them. */
class PageData
{
public:
    explicit PageData(const Pens &pens) : m_payload(std::size_t{pens.pages} * pens.pageSize) {}
    ~PageData()
    {
        if (m_length < m_payload)
            fail("host: strokes are missing");
        zelFreePageData(&m_bytes);
    }

    std::uint8_t **bytes() { return &m_bytes; }
    std::uint32_t *length() { return &m_length; }

private:
    std::size_t m_payload;
    std::uint8_t *m_bytes = nullptr;
    std::uint32_t m_length = 0;
};

void retrieve(PenHandle *pen, const Pens &pens, const Settings &settings)
{
    for (std::uint64_t before = settings.number("before", 0); before > 0; --before) {
        PageData data(pens);
        require(zelGetAllPages(pen, nullptr, data.bytes(), data.length()), "zelGetAllPages");
    }
    PageData data(pens);
    measure(settings,
            [&] { require(zelGetAllPages(pen, nullptr, data.bytes(), data.length()), "zelGetAllPages"); });
}

/** Selects every page, by its own address or by a longer address that contains its text. */
void select(PenHandle *pen, const Pens &pens, const Settings &settings, const std::string &prefix)
{
    std::string addresses;
    for (std::uint32_t i = 0; i < pens.pages; ++i)
        addresses += prefix + pageAddressText(i) + ';';
    PageData data(pens);
    measure(settings, [&] {
        require(zelGetPages(pen, addresses.c_str(), nullptr, data.bytes(), data.length()), "zelGetPages");
    });
}

void list(PenHandle *pen, const Settings &settings)
{
    const std::uint64_t count = settings.number("exchanges", 1);
    measure(settings, [&] {
        for (std::uint64_t i = 0; i < count; ++i) {
            char *text = nullptr;
            std::uint32_t total = 0;
            require(zelGetPageList(pen, &text, &total), "zelGetPageList");
            zelFreePageList(&text);
        }
    });
}

/** The heap memory that a connected pen holds while it is idle. */
void idle(Arrivals &arrivals, const Settings &settings)
{
    const std::uint64_t count = settings.number("exchanges", 1);
    DiscoveryHandle *const record = arrivals.await();
    std::vector<PenHandle *> pens(count, nullptr);
    const std::size_t before = mallinfo2().uordblks;
    for (PenHandle *&pen : pens)
        require(zelConnectPen(record, &pen), "zelConnectPen");
    tell("bytes", static_cast<double>(mallinfo2().uordblks - before) / static_cast<double>(count));
    for (PenHandle *&pen : pens)
        require(zelDisconnectPen(&pen), "zelDisconnectPen");
}

/** How long zelExit takes a while after the start. By then the behaviour of the rendezvous server (its
 * "manner") has brought the listener into the state of interest. */
void exitFromState(Arrivals &arrivals, const Settings &settings)
{
    arrivals.setPause(static_cast<std::uint32_t>(settings.number("callback", 0)));
    initialize(arrivals);
    usleep(static_cast<std::uint32_t>(settings.number("wait", 100'000)));
    measure(settings, [] { require(zelExit(), "zelExit"); });
}

void withPen(Arrivals &arrivals, const std::string &work, const Pens &pens, const Settings &settings)
{
    PenHandle *pen = nullptr;
    require(zelConnectPen(arrivals.await(), &pen), "zelConnectPen");
    if (work == "exchanges")
        exchanges(pen, settings);
    else if (work == "large-exchanges")
        largeExchanges(pen, settings);
    else if (work == "retrieve")
        retrieve(pen, pens, settings);
    else if (work == "select")
        select(pen, pens, settings, "");
    else if (work == "select-longer")
        select(pen, pens, settings, "1");
    else if (work == "list")
        list(pen, settings);
    else
        fail("host: no such work: " + work);
    require(zelDisconnectPen(&pen), "zelDisconnectPen");
}

void run(const Settings &settings)
{
    const Pens pens = Pens::from(settings);
    const std::string work = settings.text("work", "");
    Arrivals arrivals;
    if (work == "exit")
        return exitFromState(arrivals, settings);
    if (work == "enumerate" || work == "arrival") {
        arrivals.expect(work == "enumerate" ? pens.count : 1);
        measure(settings, [&] {
            initialize(arrivals);
            arrivals.await();
        });
    } else {
        initialize(arrivals);
        if (work == "idle")
            idle(arrivals, settings);
        else
            withPen(arrivals, work, pens, settings);
    }
    require(zelExit(), "zelExit");
}

} // namespace
} // namespace zel::bench

int main(int count, char *arguments[])
{
    zel::bench::run(zel::bench::Settings::fromArguments(count, arguments));
    return 0;
}
