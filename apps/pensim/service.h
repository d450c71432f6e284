#pragma once

#include "pen.h"
#include "scenario.h"

namespace pensim {

struct Options {
    std::uint16_t rendezvousPort = 3715; // 0: any free one
    bool record = true;                  // keep every request and rendezvous message for tests
    Log log;                             // called on the service's thread for every exchange
};

/** The simulated pen service: a rendezvous server and one server per docked pen, all on the loopback
 *  interface, driven by one thread of its own. Any thread may call; calls that touch the network return when
 *  it is done.
 *
 *      pensim::Service service({.rendezvousPort = 0}, pensim::defaultScenario());
 *      service.start();
 *      pensim::Pen &pen = service.dock({.id = 0x1234, .pages = {...}});
 *      pen.onInstruction(pensim::instruction::getPage, pensim::Reply::cut(10), 3); */
class Service
{
public:
    explicit Service(Options options = {}, const Scenario &scenario = {});
    ~Service(); // stops
    Service(const Service &) = delete;
    Service &operator=(const Service &) = delete;

    /** Listens and docks the scenario's pens; throws std::system_error when a port is taken. */
    void start();
    void stop();

    std::uint16_t rendezvousPort() const { return m_rendezvous.port(); }
    Rendezvous &rendezvous() { return m_rendezvous; }

    /** Docks a new pen and tells the subscribers. Throws std::invalid_argument when there is a pen of the
     *  same id, and std::system_error when its port is taken; there is no such pen then. */
    Pen &dock(PenSpec spec);
    /** Docks a known pen again; one with a password comes back locked. */
    Pen &redock(std::uint64_t id);
    void undock(std::uint64_t id);
    /** Undocks the pen if it is docked, and destroys it. */
    void forget(std::uint64_t id);

    /** Undocks all pens, destroys them and has the scenario's in their place. When one of those cannot be
     *  docked, everything is as it was, and the exception says why. */
    void load(const Scenario &scenario);
    /** The pens and the rendezvous server as they are now. */
    Scenario present();

    Pen &pen(std::uint64_t id); // throws std::out_of_range
    std::vector<Pen *> pens();  // in the order in which the rendezvous server lists them

    /** The thread that does all network operations. */
    IoThread &io() { return *m_io; }
    /** Called on that thread after every exchange with a pen. One at a time; an empty one ends it. */
    void onExchange(std::function<void()> observer);

private:
    // Everything here is touched on the service's thread, or by the owner's while that does not run.
    using Pens = std::vector<std::unique_ptr<Pen>>;

    std::unique_ptr<Pen> make(const PenSpec &spec);
    Pens makeAll(const std::vector<PenSpec> &specs);
    Pen *find(std::uint64_t id) const;
    Pen &known(std::uint64_t id) const;
    void attach(Pen &pen);
    void detach(Pen &pen);
    void attachAll();
    void detachAll();
    void openAll();
    void closeAll();
    Pen &dockNew(PenSpec spec);
    Pen &dockAgain(std::uint64_t id);
    std::vector<Announcement> dockedPens() const;

    const Options m_options;
    const std::unique_ptr<IoThread> m_io; // outlives everything that listens
    std::function<void()> m_observer;
    bool m_running = false;
    Rendezvous m_rendezvous;
    Pens m_pens; // in list order: as the scenario has them, then as they were docked
};

} // namespace pensim
