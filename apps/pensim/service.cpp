#include "service.h"

#include "io_thread.h"

#include <algorithm>
#include <fmt/format.h>

namespace pensim {

Service::Service(Options options, const Scenario &scenario)
    : m_options(std::move(options)),
      m_io(std::make_unique<IoThread>()),
      m_rendezvous(*m_io, m_options.record, m_options.log, [this] { return dockedPens(); }),
      m_pens(makeAll(scenario.pens))
{
    m_rendezvous.configure(scenario.rendezvous);
}

Service::~Service()
{
    stop();
}

std::unique_ptr<Pen> Service::make(const PenSpec &spec)
{
    auto pen = std::make_unique<Pen>(spec, *m_io, m_options.record, m_options.log);
    pen->m_restart = [this, known = pen.get()] {
        detach(*known);
        attach(*known);
    };
    pen->m_onExchange = [this] {
        if (m_observer)
            m_observer();
    };
    return pen;
}

Service::Pens Service::makeAll(const std::vector<PenSpec> &specs)
{
    Pens pens;
    for (const PenSpec &spec : specs) {
        if (std::any_of(pens.begin(), pens.end(), [&](const auto &pen) { return pen->id() == spec.id; }))
            throw std::invalid_argument(fmt::format("there is a pen {:016x} already", spec.id));
        pens.push_back(make(spec));
    }
    return pens;
}

Pen *Service::find(std::uint64_t id) const
{
    const auto found =
        std::find_if(m_pens.begin(), m_pens.end(), [id](const auto &pen) { return pen->id() == id; });
    return found == m_pens.end() ? nullptr : found->get();
}

Pen &Service::known(std::uint64_t id) const
{
    Pen *const pen = find(id);
    if (pen == nullptr)
        throw std::out_of_range(fmt::format("there is no pen {:016x}", id));
    return *pen;
}

void Service::start()
{
    if (m_running)
        return;
    try {
        openAll();
    } catch (...) {
        closeAll();
        throw;
    }
    m_running = true;
    m_io->start();
}

void Service::stop()
{
    if (!m_running)
        return;
    m_io->run([this] { closeAll(); });
    m_io->stop();
    m_running = false;
}

void Service::openAll()
{
    m_rendezvous.listenOn(m_options.rendezvousPort);
    attachAll();
}

void Service::closeAll()
{
    m_rendezvous.shutDown();
    for (const auto &pen : m_pens)
        pen->close();
}

void Service::attach(Pen &pen)
{
    pen.open();
    m_rendezvous.announce(pen.m_announced, "CONNECT");
}

// The departure is announced with the data of the arrival, so that clients recognise a pen that has changed
// its mode meanwhile.
void Service::detach(Pen &pen)
{
    m_rendezvous.announce(pen.m_announced, "DISCONNECT");
    pen.close();
}

void Service::attachAll()
{
    for (const auto &pen : m_pens)
        if (pen->spec().docked)
            attach(*pen);
}

void Service::detachAll()
{
    for (const auto &pen : m_pens)
        if (pen->docked())
            detach(*pen);
}

Pen &Service::dockNew(PenSpec spec)
{
    if (find(spec.id) != nullptr)
        throw std::invalid_argument(fmt::format("there is a pen {:016x} already", spec.id));
    spec.docked = true;
    m_pens.push_back(make(spec));
    try {
        if (m_running)
            attach(*m_pens.back());
    } catch (...) {
        m_pens.back()->close();
        m_pens.pop_back();
        throw;
    }
    return *m_pens.back();
}

Pen &Service::dockAgain(std::uint64_t id)
{
    Pen &pen = known(id);
    if (pen.docked())
        throw std::invalid_argument(fmt::format("pen {:016x} is docked", id));
    const auto place =
        std::find_if(m_pens.begin(), m_pens.end(), [&](const auto &one) { return one.get() == &pen; });
    std::rotate(place, place + 1, m_pens.end());
    pen.redock();
    attach(pen);
    return pen;
}

void Service::load(const Scenario &scenario)
{
    m_io->run([&] {
        Pens pens = makeAll(scenario.pens);
        std::vector<Pen *> docked;
        for (const auto &pen : m_pens)
            if (pen->docked())
                docked.push_back(pen.get());
        detachAll(); // first, because the new pens may want the ports of the old
        m_pens.swap(pens);
        try {
            if (m_running)
                attachAll();
        } catch (...) {
            detachAll();
            m_pens.swap(pens);
            for (Pen *pen : docked)
                attach(*pen);
            throw;
        }
        m_rendezvous.configure(scenario.rendezvous);
    });
}

Scenario Service::present()
{
    Scenario scenario;
    m_io->run([&] {
        for (const auto &pen : m_pens)
            scenario.pens.push_back(pen->present());
        scenario.rendezvous = m_rendezvous.spec();
    });
    return scenario;
}

std::vector<Announcement> Service::dockedPens() const
{
    std::vector<Announcement> docked;
    for (const auto &pen : m_pens)
        if (pen->docked())
            docked.push_back(pen->m_announced);
    return docked;
}

Pen &Service::dock(PenSpec spec)
{
    Pen *pen = nullptr;
    m_io->run([&] { pen = &dockNew(std::move(spec)); });
    return *pen;
}

Pen &Service::redock(std::uint64_t id)
{
    Pen *pen = nullptr;
    m_io->run([&] { pen = &dockAgain(id); });
    return *pen;
}

void Service::undock(std::uint64_t id)
{
    m_io->run([&] {
        Pen &pen = known(id);
        if (!pen.docked())
            throw std::invalid_argument(fmt::format("pen {:016x} is not docked", id));
        detach(pen);
    });
}

void Service::forget(std::uint64_t id)
{
    m_io->run([&] {
        Pen &pen = known(id);
        if (pen.docked())
            detach(pen);
        std::erase_if(m_pens, [&](const auto &one) { return one.get() == &pen; });
    });
}

Pen &Service::pen(std::uint64_t id)
{
    Pen *pen = nullptr;
    m_io->run([&] { pen = &known(id); });
    return *pen;
}

std::vector<Pen *> Service::pens()
{
    std::vector<Pen *> pens;
    m_io->run([&] {
        for (const auto &pen : m_pens)
            pens.push_back(pen.get());
    });
    return pens;
}

void Service::onExchange(std::function<void()> observer)
{
    m_io->run([&] { m_observer = std::move(observer); });
}

} // namespace pensim
