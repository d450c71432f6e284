#include "commands.h"

#include "json_rules.h"
#include "serial_text.h"

#include <fmt/format.h>
#include <fmt/ranges.h>
#include <fstream>
#include <ostream>
#include <sstream>

namespace pensim {

namespace {

// A command line is taken apart from the left: words, and at the end whatever is left.
class Words
{
public:
    explicit Words(const std::string &line) : m_stream(line) {}
    std::string word(const char *what)
    {
        std::string text;
        if (!(m_stream >> text))
            throw std::runtime_error(fmt::format("{} is missing", what));
        return text;
    }
    std::string rest(const char *what)
    {
        std::string text;
        if (!std::getline(m_stream >> std::ws, text))
            throw std::runtime_error(fmt::format("{} is missing", what));
        return text;
    }
    bool empty() { return (m_stream >> std::ws).eof(); }

private:
    std::istringstream m_stream;
};

Pen &penNamed(Service &service, const std::string &name)
{
    const std::vector<Pen *> pens = service.pens();
    for (std::size_t i = 0; i < pens.size(); ++i) {
        const std::uint64_t id = pens[i]->id();
        if (name == serialText(id) || name == fmt::format("0x{:x}", id) ||
            name == fmt::format("0x{:016x}", id) || name == std::to_string(i + 1))
            return *pens[i];
    }
    throw std::runtime_error("there is no pen " + name);
}

void dock(Service &service, Words &words, std::ostream &)
{
    const std::string what = words.rest("the pen");
    if (what.starts_with("{"))
        service.dock(parsePen(what));
    else
        service.redock(penNamed(service, what).id());
}

void undock(Service &service, Words &words, std::ostream &)
{
    service.undock(penNamed(service, words.word("the pen")).id());
}

void lock(Service &service, Words &words, std::ostream &)
{
    penNamed(service, words.word("the pen")).lock();
}

void password(Service &service, Words &words, std::ostream &)
{
    Pen &pen = penNamed(service, words.word("the pen"));
    pen.setPassword(words.empty() ? "" : words.rest("the password"), pen.hint());
}

void busy(Service &service, Words &words, std::ostream &)
{
    Pen &pen = penNamed(service, words.word("the pen"));
    const std::string state = words.word("\"on\" or \"off\"");
    if (state != "on" && state != "off")
        throw std::runtime_error("busy is \"on\" or \"off\"");
    pen.setSyncBusy(state == "on");
}

void fault(Service &service, Words &words, std::ostream &)
{
    Pen &pen = penNamed(service, words.word("the pen"));
    const auto json = nlohmann::json::parse(words.rest("the fault"));
    if (json.contains("connection"))
        pen.onConnection(parseRule(json, "fault", "connection").reply,
                         parseRule(json, "fault", "connection").occurrence);
    else
        pen.addRule(parseRule(json, "fault", "instruction"));
}

void clearFaults(Service &service, Words &words, std::ostream &)
{
    penNamed(service, words.word("the pen")).clearRules();
}

void rendezvous(Service &service, Words &words, std::ostream &)
{
    const std::string what = words.word("\"down\", \"up\", \"close\" or \"reset\"");
    if (what == "down")
        service.rendezvous().shutDown();
    else if (what == "up")
        service.rendezvous().listen();
    else if (what == "close")
        service.rendezvous().closeConnections(Ending::close);
    else if (what == "reset")
        service.rendezvous().closeConnections(Ending::reset);
    else
        throw std::runtime_error(
            "the rendezvous server goes \"down\" or \"up\", or its connections \"close\" or \"reset\"");
}

void image(Service &service, Words &words, std::ostream &out)
{
    const Pen &pen = penNamed(service, words.word("the pen"));
    const std::string path = words.rest("the file");
    const Bytes bytes = pen.firmwareImage();
    std::ofstream file(path, std::ios::binary | std::ios::trunc);
    file.write(reinterpret_cast<const char *>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
    if (!file.flush())
        throw std::runtime_error("cannot write " + path);
    out << bytes.size() << " bytes, " << (pen.firmwareInstalled() ? "installed" : "not installed") << '\n';
}

std::string penLine(std::size_t number, const Pen &pen)
{
    const PenSpec &spec = pen.spec();
    const std::string place = pen.docked() ? fmt::format("port {}", pen.port()) : "undocked";
    return fmt::format("{}  {}  0x{:016x}  {}  {:04x}  {}  {}{}{}  pages: {}\n", number, serialText(spec.id),
                       spec.id, spec.brand, spec.softwareVersion, fmt::join(spec.protocols, " "), place,
                       pen.dfuMode() ? "  firmware-upgrade mode" : "", pen.locked() ? "  locked" : "",
                       pen.pages().size());
}

void listPens(Service &service, Words &, std::ostream &out)
{
    const std::vector<Pen *> pens = service.pens();
    for (std::size_t i = 0; i < pens.size(); ++i)
        out << penLine(i + 1, *pens[i]);
}

void help(Service &, Words &, std::ostream &out);

struct Command {
    const char *name;
    const char *arguments;
    const char *purpose;
    void (*carryOut)(Service &, Words &, std::ostream &);
};

constexpr Command kCommands[] = {
    {"help", "", "tells the commands", help},
    {"list", "", "tells the pens, docked or not", listPens},
    {"dock", "PEN | {..}", "docks a known pen again, or a new one given as in a scenario", dock},
    {"undock", "PEN", "takes a pen off its dock", undock},
    {"lock", "PEN", "locks a pen", lock},
    {"password", "PEN [TEXT]", "sets a pen's password; without a text it has none", password},
    {"busy", "PEN on|off", "lets a pen refuse sync sessions", busy},
    {"fault", "PEN {..}", "adds a fault, given as in a scenario", fault},
    {"clear", "PEN", "forgets a pen's faults", clearFaults},
    {"rendezvous", "down|up|close|reset", "stops or starts the discovery server, or ends its connections",
     rendezvous},
    {"image", "PEN FILE", "writes the firmware image that a pen was given", image},
    {"quit", "", "ends the service", nullptr},
};

void help(Service &, Words &, std::ostream &out)
{
    for (const Command &command : kCommands)
        out << fmt::format("{:<31} {}\n", fmt::format("{} {}", command.name, command.arguments),
                           command.purpose);
}

const Command &commandNamed(const std::string &name)
{
    for (const Command &command : kCommands)
        if (name == command.name)
            return command;
    throw std::runtime_error("there is no command " + name + "; \"help\" tells them");
}

} // namespace

Commands::Commands(Service &service, std::ostream &out) : m_service(service), m_out(out) {}

bool Commands::run(const std::string &line)
{
    Words words(line);
    if (words.empty())
        return true;
    bool goesOn = true;
    try {
        const Command &command = commandNamed(words.word("the command"));
        if (command.carryOut == nullptr)
            goesOn = false;
        else
            command.carryOut(m_service, words, m_out);
        m_out << "ok\n";
    } catch (const std::exception &error) {
        m_out << "error: " << error.what() << '\n';
    }
    m_out.flush();
    return goesOn;
}

void Commands::list()
{
    Words none("");
    listPens(m_service, none, m_out);
}

std::string readyReport(Service &service)
{
    nlohmann::ordered_json report;
    report["rendezvous_port"] = service.rendezvousPort();
    report["pens"] = nlohmann::ordered_json::array();
    for (const Pen *pen : service.pens())
        report["pens"].push_back({{"serial", serialText(pen->id())},
                                  {"id", fmt::format("0x{:016x}", pen->id())},
                                  {"port", pen->port()}});
    return report.dump(2) + "\n";
}

} // namespace pensim
