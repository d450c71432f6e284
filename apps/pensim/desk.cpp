#include "desk.h"

#include "desk_files.h"
#include "desk_state.h"
#include "io_thread.h"
#include "scenario.h"
#include "schema.h"
#include "value_json.h"

#include <algorithm>
#include <fmt/format.h>
#include <random>

namespace pensim {

namespace {

using nlohmann::json;
using nlohmann::ordered_json;
using std::chrono::milliseconds;

// Changes are told together, so that a busy service costs browsers no more than this many updates.
constexpr milliseconds kBetweenNews{100};
// A service of very many pens spends at most this part of its time on telling about them.
constexpr int kShareOfTime = 10;
constexpr std::size_t kMostConnections = 64;
constexpr std::uint64_t kLinesAtFirst = 500; // of those that were logged before a browser came
constexpr std::uint64_t kMostLinesAtOnce = 2000;
constexpr std::size_t kMostCommands = 10000;

// What the page needs. It writes no files and does not end the service.
constexpr const char *kCommands[] = {"list", "state", "dock",  "undock", "set",  "lock",      "password",
                                     "busy", "pages", "fault", "clear",  "drop", "rendezvous"};

std::string randomToken()
{
    std::random_device random;
    std::string text;
    for (int i = 0; i < 4; ++i)
        text += fmt::format("{:08x}", static_cast<std::uint32_t>(random()));
    return text;
}

// Takes the same time wherever the texts differ.
bool isSame(std::string_view left, std::string_view right)
{
    unsigned different = left.size() == right.size() ? 0 : 1;
    for (std::size_t i = 0; i < std::min(left.size(), right.size()); ++i)
        different |= static_cast<unsigned>(left[i] ^ right[i]);
    return different == 0;
}

HttpResponse refused(int status, const std::string &why, const std::string &fields = {})
{
    return {.status = status, .body = why + "\n", .fields = fields};
}

HttpResponse file(const char *type, std::string_view content)
{
    return {.type = type, .body = std::string(content)};
}

HttpResponse download(const char *type, std::string content, const std::string &name)
{
    return {.type = type,
            .body = std::move(content),
            .fields = fmt::format("Content-Disposition: attachment; filename=\"{}\"\r\n", name)};
}

HttpResponse jsonLine(std::string text)
{
    return {.type = "application/json", .body = std::move(text)};
}

HttpResponse failure(int status, const std::string &why)
{
    HttpResponse response = jsonLine(ControlAnswer{why, {}, {}, false}.toJsonLine());
    response.status = status;
    return response;
}

} // namespace

Desk::Desk(Service &service, Control &control, const Journal &journal, std::uint16_t port,
           const std::string &scenario)
    : m_service(service),
      m_control(control),
      m_journal(journal),
      m_token(randomToken()),
      m_server(std::make_shared<Server<HttpConnection>>(service.io().context(), *this)),
      m_timer(service.io().context())
{
    if (!scenario.empty())
        m_commands.push_back(
            {{"command", "load"}, {"file", utf8Of(std::filesystem::absolute(pathOf(scenario)))}});
    m_service.io().run([&] {
        m_server->listen(port);
        m_port = m_server->port();
        m_control.onChange([this](const json &command) { record(command); });
    });
}

Desk::~Desk()
{
    m_service.io().run([this] {
        m_control.onChange({});
        m_timer.cancel();
        m_server->close(Ending::close);
    });
}

std::string Desk::address() const
{
    return fmt::format("http://127.0.0.1:{}/{}/", m_port, m_token);
}

std::optional<Outgoing> Desk::connected(std::uint64_t)
{
    if (m_server->sessions().size() <= kMostConnections)
        return std::nullopt;
    return Outgoing{{}, encodeHttp(refused(503, "too many connections"), false), Ending::close};
}

// A page of another origin may send requests here, but neither can it make its own origin or site look like
// ours, nor does a name that it had resolved to this machine look like our host.
bool Desk::comesFromThePage(const HttpRequest &request) const
{
    const bool isOurHost = request.host == fmt::format("127.0.0.1:{}", m_port) ||
                           request.host == fmt::format("localhost:{}", m_port);
    const bool isOurOrigin = request.origin.empty() || request.origin == "http://" + request.host;
    const bool isOurSite =
        request.fetchSite.empty() || request.fetchSite == "same-origin" || request.fetchSite == "none";
    return isOurHost && isOurOrigin && isOurSite;
}

HttpResponse Desk::answer(const HttpRequest &request)
{
    if (!comesFromThePage(request))
        return refused(403, "not from here");
    const std::string prefix = "/" + m_token + "/";
    if (!isSame(std::string_view(request.target).substr(0, prefix.size()), prefix))
        return refused(404, "no such page");
    const std::string name = request.target.substr(prefix.size());
    const char *const method = name == "command" ? "POST" : "GET";
    if (request.method != method)
        return refused(405, fmt::format("only {}", method), fmt::format("Allow: {}\r\n", method));
    return name == "command" ? runCommand(request) : get(name);
}

HttpResponse Desk::get(const std::string &name)
{
    if (name.empty())
        return file("text/html; charset=utf-8", kDeskPage);
    if (name == "desk.css")
        return file("text/css; charset=utf-8", kDeskStyle);
    if (name == "desk.js")
        return file("text/javascript; charset=utf-8", kDeskScript);
    if (name == "icon.svg")
        return file("image/svg+xml", kDeskIcon);
    if (name == "events")
        return {.type = "text/event-stream", .isStream = true};
    if (name == "commands")
        return commands();
    if (name == "scenario.json")
        return scenario();
    if (name.starts_with("image/"))
        return image(name.substr(name.find('/') + 1));
    return refused(404, "no such page");
}

// A form of another page cannot send this type, and a browser always tells the origin of what it posts.
HttpResponse Desk::runCommand(const HttpRequest &request)
{
    if (request.origin.empty())
        return failure(403, "the origin is missing");
    if (request.contentType != "application/json")
        return failure(415, "a command is sent as application/json");
    json command;
    try {
        command = parsedJson(request.body);
    } catch (const std::exception &error) {
        return failure(400, error.what());
    }
    const std::string name =
        command.is_object() && command.contains("command") && command["command"].is_string()
            ? command["command"].get<std::string>()
            : "";
    if (std::find(std::begin(kCommands), std::end(kCommands), name) == std::end(kCommands))
        return failure(400, "the desk takes no such command");
    // None of these waits: the answer is there when run() returns.
    std::string answer;
    m_control.run(command, [&](const ControlAnswer &given) { answer = given.toJsonLine(); });
    return jsonLine(std::move(answer));
}

HttpResponse Desk::scenario()
{
    return download("application/json", scenarioJson(m_service.present()).dump(2) + "\n", "scenario.json");
}

HttpResponse Desk::commands() const
{
    ordered_json list = ordered_json::array();
    for (const json &command : m_commands)
        list.push_back({{"command", command}, {"line", wordsOf(command)}});
    return jsonLine(dumped({{"commands", list}, {"lost", m_commandsLost}}) + "\n");
}

HttpResponse Desk::image(const std::string &pen)
{
    for (const Pen *one : m_service.pens()) {
        if (serialText(one->id()) != pen)
            continue;
        const Bytes bytes = one->firmwareImage();
        return download("application/octet-stream", {bytes.begin(), bytes.end()}, pen + ".img");
    }
    return refused(404, "no such pen");
}

// With other pens the commands before are of no matter.
void Desk::record(const json &command)
{
    if (command["command"] == "load") {
        m_commands.clear();
        m_commandsLost = 0;
    }
    m_commands.push_back(command);
    if (m_commands.size() > kMostCommands) {
        m_commands.pop_front();
        ++m_commandsLost;
    }
}

void Desk::addStream(const std::shared_ptr<HttpConnection> &connection)
{
    const std::uint64_t next = m_journal.next();
    m_streams.push_back(std::make_shared<Stream>(
        Stream{connection, 0, std::max(m_journal.first(), next - std::min(next, kLinesAtFirst))}));
    if (!m_ticking)
        tick();
}

void Desk::removeStream(const HttpConnection *connection)
{
    std::erase_if(m_streams, [&](const auto &stream) {
        const auto known = stream->connection.lock();
        return !known || known.get() == connection;
    });
}

// Goes on while somebody looks.
void Desk::tick()
{
    m_ticking = !m_streams.empty();
    if (!m_ticking)
        return;
    const auto begin = std::chrono::steady_clock::now();
    refresh();
    for (const auto &stream : std::vector(m_streams)) // a stream that fails is removed
        tell(*stream);
    const auto taken = std::chrono::steady_clock::now() - begin;
    m_timer.expires_after(std::max<std::chrono::steady_clock::duration>(kBetweenNews, kShareOfTime * taken));
    m_timer.async_wait([this](asio::error_code cancelled) {
        if (!cancelled)
            tick();
    });
}

void Desk::refresh()
{
    const std::uint64_t version = m_version + 1;
    const auto show = [&](Shown &shown, std::string text) {
        if (shown.text == text)
            return;
        shown = {std::move(text), version};
        m_version = version;
    };
    ordered_json order = ordered_json::array();
    std::map<std::uint64_t, Shown> pens;
    for (const Pen *pen : m_service.pens()) {
        order.push_back(fmt::format("0x{:016x}", pen->id()));
        Shown &shown = pens[pen->id()] = std::move(m_pens[pen->id()]);
        show(shown, dumped(penCardJson(*pen)));
    }
    m_pens.swap(pens);
    show(m_order, dumped(order));
    show(m_rendezvous, dumped(rendezvousCardJson(m_service.rendezvous())));
}

// A browser that has not taken the last news yet gets the next together.
void Desk::tell(Stream &stream)
{
    const auto connection = stream.connection.lock();
    if (!connection || connection->isBusy())
        return;
    const std::string text = news(stream);
    if (text != "{}")
        connection->sendPart("data: " + text + "\n\n");
}

std::string Desk::news(Stream &stream)
{
    std::string text;
    const auto add = [&](const char *name, const std::string &value) {
        text += fmt::format("{}\"{}\":{}", text.empty() ? "" : ",", name, value);
    };
    std::string pens;
    for (const auto &[id, shown] : m_pens)
        if (shown.version > stream.version)
            pens += (pens.empty() ? "" : ",") + shown.text;
    if (!pens.empty())
        add("pens", "[" + pens + "]");
    if (m_order.version > stream.version)
        add("order", m_order.text);
    if (m_rendezvous.version > stream.version)
        add("rendezvous", m_rendezvous.text);
    stream.version = m_version;
    if (stream.nextLine < m_journal.first()) {
        add("dropped", std::to_string(m_journal.first() - stream.nextLine));
        stream.nextLine = m_journal.first();
    }
    std::string lines;
    const std::uint64_t end = std::min(m_journal.next(), stream.nextLine + kMostLinesAtOnce);
    for (; stream.nextLine < end; ++stream.nextLine)
        lines += (lines.empty() ? "" : ",") + m_journal.line(stream.nextLine);
    if (!lines.empty())
        add("log", "[" + lines + "]");
    return "{" + text + "}";
}

} // namespace pensim
