#include "announced_pen.h"

#include "pensim/service.h"

#include <chrono>
#include <condition_variable>
#include <map>
#include <memory>
#include <mutex>
#include <stdexcept>

namespace e2e {

using zel::test::Answer;
using zel::test::Bytes;
using zel::test::ScriptedPen;
namespace wire = zel::test::wire;

namespace {

constexpr std::chrono::seconds kPatience{10};

/** The service that announces the scripted pen, and the library under test. */
class Bench
{
public:
    Bench() { m_service.start(); }

    ~Bench()
    {
        exit();
        for (auto &[announcement, record] : m_records)
            zelFreeDiscoveryHandle(&record);
    }

    Bench(const Bench &) = delete;
    Bench &operator=(const Bench &) = delete;

    void initialise()
    {
        if (m_initialised)
            return;
        // Its own request for the list tells that this listener is there: the service may still count
        // the subscriber that the last exit ended.
        m_service.rendezvous().clearMessages();
        if (zelInitialize(arrived, departed, this) != ZEL_OK ||
            !m_service.rendezvous().waitForMessages("LIST", 1, kPatience))
            throw std::runtime_error("the library finds no service");
        m_initialised = true;
    }

    void exit()
    {
        zelExit();
        m_initialised = false;
    }

    ScriptedPen &pen() { return m_pen; }

    /** The record of an arrival; the pen is announced when it never was so before. */
    const DiscoveryHandle *recordOf(std::uint16_t softwareVersion, std::uint16_t port)
    {
        std::unique_lock lock(m_mutex);
        DiscoveryHandle *&record = m_records[{softwareVersion, port}];
        if (record == nullptr) {
            m_arrival = nullptr;
            lock.unlock();
            announce(softwareVersion, port);
            lock.lock();
            if (!m_arrived.wait_for(lock, kPatience, [this] { return m_arrival != nullptr; }))
                throw std::runtime_error("the pen does not arrive");
            record = m_arrival;
        }
        return record;
    }

private:
    void announce(std::uint16_t softwareVersion, std::uint16_t port)
    {
        char message[256];
        const int length = std::snprintf(
            message, sizeof message,
            "RVP1\r\nCONNECT\r\npen-id=%016llx\r\npen-brand=Scripted\r\npen-swver=%x\r\n"
            "pen-vid=1209\r\npen-pid=0001\r\npen-dfu=0\r\nacc-prot=PSP41\r\nservice-port=%u\r\n",
            static_cast<unsigned long long>(AnnouncedPen::kPenId), unsigned{softwareVersion}, unsigned{port});
        // The NUL that ends a message is part of it.
        m_service.rendezvous().send({message, static_cast<std::size_t>(length) + 1});
    }

    static void arrived(DiscoveryHandle *record, void *context)
    {
        auto &bench = *static_cast<Bench *>(context);
        const std::lock_guard lock(bench.m_mutex);
        bench.m_arrival = record;
        bench.m_arrived.notify_all();
    }

    static void departed(DiscoveryHandle *record, void *) { zelFreeDiscoveryHandle(&record); }

    pensim::Service m_service;
    ScriptedPen m_pen;
    bool m_initialised = false;
    std::mutex m_mutex;
    std::condition_variable m_arrived;
    DiscoveryHandle *m_arrival = nullptr;
    std::map<std::pair<std::uint16_t, std::uint16_t>, DiscoveryHandle *> m_records;
};

std::unique_ptr<Bench> s_bench;

} // namespace

void openBench()
{
    s_bench = std::make_unique<Bench>();
}

void closeBench()
{
    s_bench.reset();
}

void initialiseLibrary()
{
    s_bench->initialise();
}

void exitLibrary()
{
    s_bench->exit();
}

AnnouncedPen::AnnouncedPen(std::uint16_t softwareVersion)
{
    initialiseLibrary();
    ScriptedPen &pen = s_bench->pen();
    pen.forget();
    // A pen that says it is locked is asked nothing else.
    pen.then(wire::result(wire::boolean(true)));
    if (zelConnectPen(s_bench->recordOf(softwareVersion, pen.port()), &m_handle) != ZEL_OK)
        throw std::runtime_error("the library does not connect");
    pen.forget();
}

AnnouncedPen::AnnouncedPen(FailedConnect)
{
    constexpr std::uint16_t kNobody = 1;
    initialiseLibrary();
    s_bench->pen().forget();
    if (zelConnectPen(s_bench->recordOf(0x0503, kNobody), &m_handle) != ZEL_ERR_UNEXPECTED)
        throw std::runtime_error("the connection should fail");
}

AnnouncedPen::~AnnouncedPen()
{
    initialiseLibrary();
    zelDisconnectPen(&m_handle);
}

void AnnouncedPen::answer(Answer answer)
{
    s_bench->pen().then(std::move(answer));
}

std::vector<Bytes> AnnouncedPen::requests() const
{
    return s_bench->pen().requests();
}

} // namespace e2e
