#pragma once

#include "pen.h"
#include "rendezvous.h"
#include "scenario.h"

namespace pensim {

struct Options {
    std::uint16_t rendezvousPort = 3715;              // 0: any free one
    bool record = true;                               // keep every request and rendezvous message for tests
    std::function<void(const std::string &line)> log; // called on the service's thread, a line per exchange
};

// The simulated pen service: a rendezvous server and one server per docked pen, all on the loopback
// interface, driven by one thread of its own. Any thread may call; calls that touch the network return when
// it is done.
//
//     pensim::Service service({.rendezvousPort = 0}, pensim::defaultScenario());
//     service.start();
//     pensim::Pen &pen = service.dock({.id = 0x1234, .pages = {...}});
//     pen.onInstruction(pensim::instruction::getPage, pensim::Reply::cut(10), 3);
class Service
{
public:
    explicit Service(Options options = {}, const Scenario &scenario = {});
    ~Service(); // stops
    Service(const Service &) = delete;
    Service &operator=(const Service &) = delete;

    // Listens and docks the scenario's pens; throws std::system_error when a port is taken.
    void start();
    void stop();

    std::uint16_t rendezvousPort() const;
    Rendezvous &rendezvous();

    // Docks a new pen and tells the subscribers; a pen of the same id is refused with std::invalid_argument.
    Pen &dock(PenSpec spec);
    // Docks a known pen again; one with a password comes back locked.
    Pen &redock(std::uint64_t id);
    void undock(std::uint64_t id);

    Pen &pen(std::uint64_t id); // throws std::out_of_range
    std::vector<Pen *> pens();  // in the order in which the rendezvous server lists them

private:
    struct Impl;
    std::unique_ptr<Impl> m_impl;
};

} // namespace pensim
