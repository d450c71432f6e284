#include "control.h"

#include "instructions.h"
#include "io_thread.h"
#include "schema.h"
#include "state_json.h"
#include "value_json.h"

#include <algorithm>
#include <fmt/format.h>
#include <fmt/ranges.h>
#include <fstream>
#include <future>
#include <sstream>

namespace pensim {

namespace {

using nlohmann::json;
using nlohmann::ordered_json;

// How a parameter stands in a line of words.
enum class Kind {
    word,
    rest,   // everything up to the end of the line
    value,  // the same, as JSON if it is JSON, and as a text otherwise
    option, // --name VALUE, anywhere
};

struct Parameter {
    const char *name;
    Kind kind = Kind::word;
    bool required = true;
};

using Arguments = json;

struct Command {
    const char *name;
    const char *usage;
    const char *purpose;
    std::vector<Parameter> parameters;
    ControlAnswer (*carryOut)(Service &, const Arguments &); // null for what the control does itself
    bool changes = true;                                     // the pens or the service
};

ControlAnswer told(ordered_json data = nullptr, std::string text = {})
{
    return {{}, std::move(data), std::move(text), false};
}

std::string textArgument(const Arguments &arguments, const char *name)
{
    const json &value = arguments.at(name);
    if (value.is_string())
        return value.get<std::string>();
    if (value.is_number())
        return value.dump();
    throw std::runtime_error(fmt::format("{} must be a text", name));
}

// One of a few words; the first of them when the argument is absent.
std::string choice(const Arguments &arguments, const char *name, const std::vector<std::string> &choices)
{
    if (!arguments.contains(name))
        return choices.front();
    const std::string word = textArgument(arguments, name);
    if (std::find(choices.begin(), choices.end(), word) == choices.end())
        throw std::runtime_error(fmt::format("{} must be one of {}", name, fmt::join(choices, ", ")));
    return word;
}

Pen &penNamed(Service &service, const Arguments &arguments)
{
    const std::string name = textArgument(arguments, "pen");
    const std::vector<Pen *> pens = service.pens();
    for (std::size_t i = 0; i < pens.size(); ++i) {
        const std::uint64_t id = pens[i]->id();
        if (name == serialText(id) || name == fmt::format("0x{:x}", id) ||
            name == fmt::format("0x{:016x}", id) || name == std::to_string(i + 1))
            return *pens[i];
    }
    throw std::runtime_error("there is no pen " + name);
}

ControlAnswer listPens(Service &service, const Arguments &)
{
    std::string text;
    ordered_json list = ordered_json::array();
    std::size_t number = 0;
    for (const Pen *pen : service.pens()) {
        const Announcement announced = pen->status().announced;
        const std::size_t pages = pen->pages().size();
        text += fmt::format(
            "{}  {}  0x{:016x}  {}  {:04x}  {}  {}{}{}  pages: {}\n", ++number, serialText(pen->id()),
            pen->id(), pen->spec().brand, announced.softwareVersion, fmt::join(announced.protocols, " "),
            pen->docked() ? fmt::format("port {}", pen->port()) : "undocked",
            pen->dfuMode() ? "  firmware-upgrade mode" : "", pen->locked() ? "  locked" : "", pages);
        list.push_back({{"number", number},
                        {"serial", serialText(pen->id())},
                        {"id", fmt::format("0x{:016x}", pen->id())},
                        {"brand", pen->spec().brand},
                        {"software_version", fmt::format("0x{:04x}", announced.softwareVersion)},
                        {"protocols", announced.protocols},
                        {"docked", pen->docked()},
                        {"port", pen->port()},
                        {"mode", pen->dfuMode() ? "firmware-upgrade" : "ordinary"},
                        {"locked", pen->locked()},
                        {"pages", pages}});
    }
    return told(std::move(list), std::move(text));
}

ControlAnswer state(Service &service, const Arguments &arguments)
{
    return told(arguments.contains("pen") ? penStateJson(penNamed(service, arguments)) : stateJson(service));
}

ControlAnswer dock(Service &service, const Arguments &arguments)
{
    if (!arguments["pen"].is_object()) {
        service.redock(penNamed(service, arguments).id());
        return told();
    }
    std::vector<std::uint64_t> docked;
    try {
        for (const PenSpec &pen : pensOf(arguments["pen"])) {
            service.dock(pen);
            docked.push_back(pen.id);
        }
    } catch (...) {
        for (const std::uint64_t id : docked)
            service.forget(id);
        throw;
    }
    return told();
}

ControlAnswer undock(Service &service, const Arguments &arguments)
{
    service.undock(penNamed(service, arguments).id());
    return told();
}

ControlAnswer lock(Service &service, const Arguments &arguments)
{
    penNamed(service, arguments).lock();
    return told();
}

ControlAnswer password(Service &service, const Arguments &arguments)
{
    Pen &pen = penNamed(service, arguments);
    const std::string text = arguments.contains("text") ? textArgument(arguments, "text") : "";
    checkAgainstSchema({{"id", 0u}, {"password", text}}, "pen", "pen");
    pen.setPassword(text, pen.hint());
    return told();
}

ControlAnswer busy(Service &service, const Arguments &arguments)
{
    penNamed(service, arguments).setSyncBusy(choice(arguments, "state", {"on", "off"}) == "on");
    return told();
}

// The key and its value are read as a scenario's pen that has nothing else.
ControlAnswer set(Service &service, const Arguments &arguments)
{
    static const std::map<std::string, void (*)(Pen &, const PenSpec &)> settings = {
        {"locked", [](Pen &pen, const PenSpec &spec) { *spec.locked ? pen.lock() : pen.unlock(); }},
        {"busy", [](Pen &pen, const PenSpec &spec) { pen.setSyncBusy(spec.busy); }},
        {"password", [](Pen &pen, const PenSpec &spec) { pen.setPassword(spec.password, pen.hint()); }},
        {"hint", [](Pen &pen, const PenSpec &spec) { pen.setPassword(pen.password(), spec.hint); }},
        {"memory", [](Pen &pen, const PenSpec &spec) { pen.setMemory(spec.memory); }},
        {"encrypted_data", [](Pen &pen, const PenSpec &spec) { pen.setEncryptedData(spec.encryptedData); }},
    };
    Pen &pen = penNamed(service, arguments);
    const std::string key = textArgument(arguments, "key");
    json value = arguments.at("value");
    if ((key == "password" || key == "hint") && value.is_number())
        value = value.dump();
    const auto setting = settings.find(key);
    if (setting == settings.end()) {
        if (key.empty() || key.front() < '0' || key.front() > '9')
            throw std::runtime_error("key must be one of locked, busy, password, hint, memory, "
                                     "encrypted_data, or the id of a property (0x2203)");
        const PenSpec spec = pensOf({{"id", 0u}, {"properties", {{key, std::move(value)}}}}).front();
        for (const auto &[id, content] : spec.properties)
            pen.setProperty(id, content);
    } else if (key == "encrypted_data" && value.is_null()) {
        pen.setEncryptedData(std::nullopt);
    } else {
        setting->second(pen, pensOf({{"id", 0u}, {key, std::move(value)}}).front());
    }
    return told();
}

ControlAnswer addPages(Pen &pen, const json &page)
{
    const std::vector<PageSpec> pages = pagesOf(page);
    const PenStatus status = pen.status();
    std::uint64_t needed = 0;
    for (const PageSpec &one : pages)
        needed += one.size();
    if (needed > status.freeMemory)
        throw std::runtime_error(fmt::format("the memory is full: {} of {} bytes are free, {} are needed",
                                             status.freeMemory, status.memory, needed));
    if (pen.pages().size() + pages.size() > kMostPages)
        throw std::runtime_error(fmt::format("a pen has at most {} pages", kMostPages));
    for (const PageSpec &one : pages)
        pen.addPage(one);
    return told({{"added", pages.size()}});
}

ControlAnswer removePages(Pen &pen, const std::string &address)
{
    const std::size_t removed = pen.removePages(parsePageAddress(address));
    if (removed == 0)
        throw std::runtime_error("there is no page " + address);
    return told({{"removed", removed}});
}

ControlAnswer pages(Service &service, const Arguments &arguments)
{
    Pen &pen = penNamed(service, arguments);
    if (choice(arguments, "action", {"add", "remove"}) == "add")
        return addPages(pen, arguments.at("page"));
    return removePages(pen, textArgument(arguments, "page"));
}

ControlAnswer addFault(Service &service, const Arguments &arguments)
{
    Pen &pen = penNamed(service, arguments);
    const Fault fault = faultOf(arguments.at("fault"));
    if (fault.ofConnections)
        pen.onConnection(fault.rule.reply, fault.rule.occurrence);
    else
        pen.addRule(fault.rule);
    return told();
}

ControlAnswer clear(Service &service, const Arguments &arguments)
{
    Pen &pen = penNamed(service, arguments);
    if (choice(arguments, "what", {"faults", "counts"}) == "faults")
        pen.clearRules();
    else
        pen.clearRequests();
    return told();
}

ControlAnswer drop(Service &service, const Arguments &arguments)
{
    Pen &pen = penNamed(service, arguments);
    const std::size_t count = pen.status().connections.size();
    const bool reset = choice(arguments, "ending", {"close", "reset"}) == "reset";
    pen.closeConnections(reset ? Ending::reset : Ending::close);
    return told({{"dropped", count}});
}

ControlAnswer steerRendezvous(Service &service, const Arguments &arguments)
{
    const std::string what = choice(arguments, "action", {"down", "up", "close", "reset"});
    if (what == "down")
        service.rendezvous().shutDown();
    else if (what == "up")
        service.rendezvous().listen();
    else
        service.rendezvous().closeConnections(what == "close" ? Ending::close : Ending::reset);
    return told();
}

void writeFile(const std::string &name, std::string_view bytes)
{
    std::ofstream file(pathOf(name), std::ios::binary | std::ios::trunc);
    file.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    if (!file.flush())
        throw std::runtime_error("cannot write " + name);
}

ControlAnswer image(Service &service, const Arguments &arguments)
{
    const Pen &pen = penNamed(service, arguments);
    const Bytes bytes = pen.firmwareImage();
    writeFile(textArgument(arguments, "file"), {reinterpret_cast<const char *>(bytes.data()), bytes.size()});
    const bool installed = pen.firmwareInstalled();
    return told({{"size", bytes.size()}, {"installed", installed}},
                fmt::format("{} bytes, {}\n", bytes.size(), installed ? "installed" : "not installed"));
}

ControlAnswer load(Service &service, const Arguments &arguments)
{
    service.load(loadScenario(pathOf(textArgument(arguments, "file"))));
    return told({{"pens", service.pens().size()}});
}

ControlAnswer save(Service &service, const Arguments &arguments)
{
    writeFile(textArgument(arguments, "file"), scenarioJson(service.present()).dump(2) + "\n");
    return told();
}

ControlAnswer quit(Service &, const Arguments &)
{
    ControlAnswer answer = told();
    answer.quit = true;
    return answer;
}

ControlAnswer help(Service &, const Arguments &);

constexpr auto kRequired = true;
constexpr auto kOptional = false;
constexpr auto kWait = "wait";

// NOLINTNEXTLINE(readability-function-size): a table, a row for each command
const std::vector<Command> &commands()
{
    static const std::vector<Command> table = {
        {"help", "", "tells the commands", {}, help, false},
        {"list", "", "tells the pens, docked or not", {}, listPens, false},
        {"state",
         "[PEN]",
         "tells everything about a pen, or about the service",
         {{"pen", Kind::word, kOptional}},
         state,
         false},
        {"dock",
         "PEN | {..}",
         "docks a known pen again, or new ones given as in a scenario",
         {{"pen", Kind::value}},
         dock},
        {"undock", "PEN", "takes a pen off its dock", {{"pen"}}, undock},
        {"set",
         "PEN KEY VALUE",
         "sets locked, busy, password, hint, memory, encrypted_data or a property (0x2203)",
         {{"pen"}, {"key"}, {"value", Kind::value}},
         set},
        {"lock", "PEN", "locks a pen", {{"pen"}}, lock},
        {"password",
         "PEN [TEXT]",
         "sets a pen's password; without a text it has none",
         {{"pen"}, {"text", Kind::rest, kOptional}},
         password},
        {"busy", "PEN on|off", "lets a pen refuse sync sessions", {{"pen"}, {"state"}}, busy},
        {"pages",
         "PEN add {..} | remove ADDRESS",
         "adds pages given as in a scenario, or removes some",
         {{"pen"}, {"action"}, {"page", Kind::value}},
         pages},
        {"fault",
         "PEN {..}",
         "adds a fault, given as in a scenario",
         {{"pen"}, {"fault", Kind::value}},
         addFault},
        {"clear",
         "PEN [faults|counts]",
         "forgets a pen's faults, or starts its counts anew",
         {{"pen"}, {"what", Kind::word, kOptional}},
         clear},
        {"drop",
         "PEN [close|reset]",
         "ends the connections to a pen",
         {{"pen"}, {"ending", Kind::word, kOptional}},
         drop},
        {kWait,
         "PEN INSTRUCTION [N] [--timeout S]",
         "waits until the pen has answered so many of them",
         {{"pen"}, {"instruction"}, {"count", Kind::word, kOptional}, {"timeout", Kind::option, kOptional}},
         nullptr,
         false},
        {"rendezvous",
         "down|up|close|reset",
         "stops or starts the discovery server, or ends its connections",
         {{"action"}},
         steerRendezvous},
        {"image",
         "PEN FILE",
         "writes the firmware image that a pen was given",
         {{"pen"}, {"file", Kind::rest}},
         image,
         false},
        {"load", "FILE", "has the pens of a scenario in place of these", {{"file", Kind::rest}}, load},
        {"save",
         "FILE",
         "writes the pens as they are now as a scenario",
         {{"file", Kind::rest}},
         save,
         false},
        {"quit", "", "ends the service", {}, quit, false},
    };
    return table;
}

ControlAnswer help(Service &, const Arguments &)
{
    std::string text;
    ordered_json list = ordered_json::array();
    for (const Command &command : commands()) {
        text +=
            fmt::format("{:<38} {}\n", fmt::format("{} {}", command.name, command.usage), command.purpose);
        list.push_back({{"command", command.name}, {"usage", command.usage}, {"purpose", command.purpose}});
    }
    return told(std::move(list), std::move(text));
}

const Command &commandNamed(const std::string &name)
{
    for (const Command &command : commands())
        if (name == command.name)
            return command;
    throw std::runtime_error("there is no command " + name + "; \"help\" tells them");
}

// A line of words is taken apart from the left.
class Words
{
public:
    explicit Words(const std::string &line) : m_stream(line) {}
    bool empty() { return (m_stream >> std::ws).eof(); }
    std::string word()
    {
        std::string text;
        m_stream >> text;
        return text;
    }
    std::string rest()
    {
        std::string text;
        std::getline(m_stream >> std::ws, text);
        return text;
    }

private:
    std::istringstream m_stream;
};

// What looks like an object, a list or a text in quotes has to be JSON; numbers and truths may be.
json valueIn(const std::string &text)
{
    if (text.find_first_of("{[\"") == 0)
        return parsedJson(text);
    const json value = json::parse(text, nullptr, false);
    return value.is_discarded() ? json(text) : value;
}

bool valueIsText(const std::string &text)
{
    return !text.empty() && text.find_first_of("{[\"") != 0 && text.find('\n') == text.npos &&
           json::parse(text, nullptr, false).is_discarded();
}

// Takes "--name VALUE" out of the line.
void takeOption(const Parameter &parameter, std::string &line, json &command)
{
    const std::string name = fmt::format(" --{} ", parameter.name);
    const auto place = line.find(name);
    if (place == line.npos)
        return;
    std::istringstream rest(line.substr(place + name.size()));
    std::string value;
    rest >> value;
    command[parameter.name] = value;
    std::string behind;
    std::getline(rest, behind);
    line.replace(place, line.npos, behind);
}

json commandOfWords(const std::string &line)
{
    const Command &known = commandNamed(Words(line).word());
    json command = {{"command", known.name}};
    std::string positional = line;
    for (const Parameter &parameter : known.parameters)
        if (parameter.kind == Kind::option)
            takeOption(parameter, positional, command);
    Words words(positional);
    words.word();
    for (const Parameter &parameter : known.parameters) {
        if (parameter.kind == Kind::option || words.empty())
            continue;
        if (parameter.kind == Kind::word)
            command[parameter.name] = words.word();
        else if (parameter.kind == Kind::rest)
            command[parameter.name] = words.rest();
        else
            command[parameter.name] = valueIn(words.rest());
    }
    if (!words.empty())
        throw std::runtime_error(fmt::format("{} takes no \"{}\"", known.name, words.rest()));
    return command;
}

// The text that is read as this value.
std::string wordOf(const json &value, Kind kind)
{
    if (value.is_string()) {
        const std::string text = value.get<std::string>();
        if (kind != Kind::value || (valueIsText(text) && Words(text).rest() == text))
            return text;
    }
    return value.dump(-1, ' ', false, json::error_handler_t::replace);
}

json commandOf(const std::string &line)
{
    return line.starts_with("{") ? parsedJson(line) : commandOfWords(line);
}

void checkParameters(const Command &known, const json &command)
{
    const auto isParameter = [&](const std::string &name) {
        return name == "command" ||
               std::any_of(known.parameters.begin(), known.parameters.end(),
                           [&](const Parameter &parameter) { return name == parameter.name; });
    };
    for (const auto &item : command.items())
        if (!isParameter(item.key()))
            throw std::runtime_error(fmt::format("{} takes no \"{}\"", known.name, item.key()));
    for (const Parameter &parameter : known.parameters)
        if (parameter.required && !command.contains(parameter.name))
            throw std::runtime_error(
                fmt::format("{} is missing: {} {}", parameter.name, known.name, known.usage));
}

double numberArgument(const Arguments &arguments, const char *name, double byDefault, double largest)
{
    if (!arguments.contains(name))
        return byDefault;
    const json value = arguments[name].is_string()
                           ? json::parse(arguments[name].get<std::string>(), nullptr, false)
                           : arguments[name];
    if (!value.is_number() || value.get<double>() < 0 || value.get<double>() > largest)
        throw std::runtime_error(fmt::format("{} must be a number from 0 to {}", name, largest));
    return value.get<double>();
}

} // namespace

// One that waits for a pen's exchanges.
struct Control::Wait {
    std::uint64_t pen;
    std::uint32_t code;
    std::size_t count;
    Done done;
    std::unique_ptr<asio::steady_timer> timer;
};

std::string ControlAnswer::toJsonLine() const
{
    ordered_json object = {{"ok", error.empty()}};
    if (!error.empty())
        object["error"] = error;
    else if (!data.is_null())
        object["data"] = data;
    return object.dump(-1, ' ', false, ordered_json::error_handler_t::replace) + "\n";
}

std::string ControlAnswer::toText() const
{
    if (!error.empty())
        return "error: " + error + "\n";
    if (!text.empty() || data.is_null())
        return text + "ok\n";
    return data.dump(2, ' ', false, ordered_json::error_handler_t::replace) + "\nok\n";
}

std::string wordsOf(const json &command)
{
    const Command &known = commandNamed(command.at("command"));
    std::string line = known.name;
    for (const Parameter &parameter : known.parameters)
        if (command.contains(parameter.name))
            line += (parameter.kind == Kind::option ? fmt::format(" --{} ", parameter.name) : " ") +
                    wordOf(command[parameter.name], parameter.kind);
    return line;
}

Control::Control(Service &service) : m_service(service)
{
    m_service.onExchange([this] { checkWaits(); });
}

Control::~Control()
{
    m_service.onExchange({});
    m_service.io().run([this] { m_waits.clear(); });
}

void Control::run(const json &command, Done done)
{
    m_service.io().run([&] {
        try {
            carryOut(command, done);
        } catch (const std::exception &error) {
            done({error.what(), {}, {}, false});
        }
    });
}

void Control::runLine(const std::string &line, Done done)
{
    json command;
    try {
        command = commandOf(line);
    } catch (const std::exception &error) {
        m_service.io().run([&] { done({error.what(), {}, {}, false}); });
        return;
    }
    run(command, std::move(done));
}

ControlAnswer Control::runLineAndWait(const std::string &line)
{
    const auto answer = std::make_shared<std::promise<ControlAnswer>>();
    auto future = answer->get_future();
    runLine(line, [answer](const ControlAnswer &given) { answer->set_value(given); });
    return future.get();
}

void Control::onChange(std::function<void(const json &)> observer)
{
    m_service.io().run([&] { m_observer = std::move(observer); });
}

void Control::carryOut(const json &command, const Done &done)
{
    if (!command.is_object() || !command.contains("command") || !command["command"].is_string())
        throw std::runtime_error("a command is an object with the text \"command\"");
    const Command &known = commandNamed(command["command"]);
    checkParameters(known, command);
    if (known.carryOut == nullptr) {
        beginWait(command, done);
    } else {
        const ControlAnswer answer = known.carryOut(m_service, command);
        if (known.changes && m_observer)
            m_observer(command);
        done(answer);
    }
    checkWaits();
}

void Control::beginWait(const json &arguments, const Done &done)
{
    constexpr std::size_t mostWaits = 1000;
    if (m_waits.size() == mostWaits)
        throw std::runtime_error("too many wait already");
    const Pen &pen = penNamed(m_service, arguments);
    const std::string code = textArgument(arguments, "instruction");
    checkAgainstSchema(code, "instruction", "instruction");
    const auto count = static_cast<std::size_t>(numberArgument(arguments, "count", 1, 1e9));
    const double timeout = numberArgument(arguments, "timeout", 10, 86400);
    const std::uint64_t number = ++m_lastWait;
    Wait &wait = m_waits[number];
    wait = {pen.id(), fourCc(code), count, done,
            std::make_unique<asio::steady_timer>(m_service.io().context())};
    wait.timer->expires_after(std::chrono::microseconds(static_cast<std::int64_t>(timeout * 1e6)));
    wait.timer->async_wait([this, number, timeout](asio::error_code cancelled) {
        if (!cancelled)
            endWait(number, fmt::format("the pen has not answered as many within {} s", timeout));
    });
}

void Control::checkWaits()
{
    for (auto wait = m_waits.begin(); wait != m_waits.end();) {
        const std::uint64_t number = wait->first;
        const Wait &present = wait->second;
        ++wait; // what is ended is erased
        const std::vector<Pen *> pens = m_service.pens();
        const auto pen =
            std::find_if(pens.begin(), pens.end(), [&](const Pen *one) { return one->id() == present.pen; });
        if (pen == pens.end())
            endWait(number, "the pen is gone");
        else if ((*pen)->requestCount(present.code) >= present.count)
            endWait(number, "");
    }
}

// A timer that has run out may call when its wait has ended already.
void Control::endWait(std::uint64_t number, const std::string &error)
{
    const auto ended = m_waits.extract(number);
    if (ended.empty())
        return;
    if (error.empty())
        ended.mapped().done({{}, {{"count", ended.mapped().count}}, {}, false});
    else
        ended.mapped().done({error, {}, {}, false});
}

} // namespace pensim
