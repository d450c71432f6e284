#include "service.h"

#include "pen_impl.h"
#include "rendezvous_impl.h"

#include <algorithm>
#include <fmt/format.h>

namespace pensim {

// All of it is touched on the service's thread, or by the owner's while that does not run.
struct Service::Impl {
    // In list order: as the scenario has them, then as they were docked.
    struct Entry {
        Pen::Impl *impl;
        std::unique_ptr<Pen> pen;
    };

    Impl(Options theOptions, const Scenario &scenario);
    ~Impl() { stop(); }
    Impl(const Impl &) = delete;
    Impl &operator=(const Impl &) = delete;

    void start();
    void stop();
    void openAll();
    void closeAll();
    Pen &dockNew(PenSpec spec);
    Pen &redock(std::uint64_t id);
    void undock(std::uint64_t id);

    Entry &add(const PenSpec &spec);
    Entry *find(std::uint64_t id);
    Entry &known(std::uint64_t id);
    void attach(Pen::Impl &pen);
    void detach(Pen::Impl &pen);
    void listLast(std::uint64_t id);
    std::vector<Announcement> dockedPens() const;

    const Options options;
    IoThread io; // outlives everything that listens
    bool running = false;
    Rendezvous::Impl *rendezvousImpl;
    Rendezvous rendezvous;
    std::vector<Entry> entries;
};

Service::Impl::Impl(Options theOptions, const Scenario &scenario)
    : options(std::move(theOptions)),
      rendezvousImpl(new Rendezvous::Impl(io, options.record, options.log)),
      rendezvous(std::unique_ptr<Rendezvous::Impl>(rendezvousImpl))
{
    rendezvousImpl->dockedPens = [this] { return dockedPens(); };
    rendezvousImpl->configure(scenario.rendezvous);
    for (const PenSpec &spec : scenario.pens)
        add(spec);
}

Service::Impl::Entry &Service::Impl::add(const PenSpec &spec)
{
    if (find(spec.id) != nullptr)
        throw std::invalid_argument(fmt::format("there is a pen {:016x} already", spec.id));
    auto impl = std::make_unique<Pen::Impl>(spec, io, options.record, options.log);
    Pen::Impl *const raw = impl.get();
    raw->restart = [this, raw] {
        detach(*raw);
        attach(*raw);
    };
    entries.push_back({raw, std::make_unique<Pen>(std::move(impl))});
    return entries.back();
}

Service::Impl::Entry *Service::Impl::find(std::uint64_t id)
{
    const auto found = std::find_if(entries.begin(), entries.end(),
                                    [id](const Entry &entry) { return entry.impl->spec.id == id; });
    return found == entries.end() ? nullptr : &*found;
}

Service::Impl::Entry &Service::Impl::known(std::uint64_t id)
{
    Entry *const entry = find(id);
    if (entry == nullptr)
        throw std::out_of_range(fmt::format("there is no pen {:016x}", id));
    return *entry;
}

void Service::Impl::start()
{
    if (running)
        return;
    try {
        openAll();
    } catch (...) {
        closeAll();
        throw;
    }
    running = true;
    io.start();
}

void Service::Impl::openAll()
{
    rendezvousImpl->listen(options.rendezvousPort);
    for (const Entry &entry : entries)
        if (entry.impl->spec.docked)
            attach(*entry.impl);
}

void Service::Impl::stop()
{
    if (!running)
        return;
    io.run([this] { closeAll(); });
    io.stop();
    running = false;
}

void Service::Impl::closeAll()
{
    rendezvousImpl->server->close(Ending::close);
    for (const Entry &entry : entries)
        if (entry.impl->server)
            entry.impl->close();
}

void Service::Impl::attach(Pen::Impl &pen)
{
    pen.open();
    rendezvousImpl->announce(pen.announced, "CONNECT");
}

// The departure tells what the arrival told, so a pen that has changed its mode meanwhile is still known by
// the old.
void Service::Impl::detach(Pen::Impl &pen)
{
    rendezvousImpl->announce(pen.announced, "DISCONNECT");
    pen.close();
}

void Service::Impl::listLast(std::uint64_t id)
{
    Entry &entry = known(id);
    std::rotate(&entry, &entry + 1, entries.data() + entries.size());
}

Pen &Service::Impl::dockNew(PenSpec spec)
{
    spec.docked = true;
    Entry &entry = add(spec);
    if (running)
        attach(*entry.impl);
    return *entry.pen;
}

Pen &Service::Impl::redock(std::uint64_t id)
{
    Pen::Impl &impl = *known(id).impl;
    if (impl.server)
        throw std::invalid_argument(fmt::format("pen {:016x} is docked", id));
    listLast(id);
    impl.redock();
    attach(impl);
    return *known(id).pen;
}

void Service::Impl::undock(std::uint64_t id)
{
    Pen::Impl &impl = *known(id).impl;
    if (!impl.server)
        throw std::invalid_argument(fmt::format("pen {:016x} is not docked", id));
    detach(impl);
}

std::vector<Announcement> Service::Impl::dockedPens() const
{
    std::vector<Announcement> docked;
    for (const Entry &entry : entries)
        if (entry.impl->server)
            docked.push_back(entry.impl->announced);
    return docked;
}

Service::Service(Options options, const Scenario &scenario)
    : m_impl(std::make_unique<Impl>(std::move(options), scenario))
{
}

Service::~Service() = default;

void Service::start()
{
    m_impl->start();
}

void Service::stop()
{
    m_impl->stop();
}

std::uint16_t Service::rendezvousPort() const
{
    return m_impl->rendezvous.port();
}

Rendezvous &Service::rendezvous()
{
    return m_impl->rendezvous;
}

Pen &Service::dock(PenSpec spec)
{
    Pen *pen = nullptr;
    m_impl->io.run([&] { pen = &m_impl->dockNew(std::move(spec)); });
    return *pen;
}

Pen &Service::redock(std::uint64_t id)
{
    Pen *pen = nullptr;
    m_impl->io.run([&] { pen = &m_impl->redock(id); });
    return *pen;
}

void Service::undock(std::uint64_t id)
{
    m_impl->io.run([&] { m_impl->undock(id); });
}

Pen &Service::pen(std::uint64_t id)
{
    Pen *pen = nullptr;
    m_impl->io.run([&] { pen = m_impl->known(id).pen.get(); });
    return *pen;
}

std::vector<Pen *> Service::pens()
{
    std::vector<Pen *> pens;
    m_impl->io.run([&] {
        for (const auto &entry : m_impl->entries)
            pens.push_back(entry.pen.get());
    });
    return pens;
}

} // namespace pensim
