#include "rendezvous.h"

#include "rendezvous_connection.h"

#include <algorithm>
#include <fmt/format.h>

namespace pensim {

namespace {

const char *header(Subscription subscription)
{
    return subscription == Subscription::dfu ? "DVP1" : "RVP1";
}

// The message, its NUL included. The command is "CONNECT" or "DISCONNECT"; a list answer has none.
std::string penMessage(const Announcement &pen, std::string_view command)
{
    std::string text = fmt::format("{}\r\n", header(pen.audience()));
    if (!command.empty())
        text += fmt::format("{}\r\n", command);
    text += fmt::format(
        "pen-id={:016x}\r\npen-brand={}\r\npen-swver={:x}\r\npen-vid={:04x}\r\npen-pid={:04x}\r\n"
        "pen-dfu={}\r\n",
        pen.penId, pen.brand, pen.softwareVersion, pen.vendorId, pen.productId, pen.dfuMode ? 1 : 0);
    for (const std::string &protocol : pen.protocols)
        text += fmt::format("acc-prot={}\r\n", protocol);
    return text + fmt::format("service-port={}\r\n", pen.port) + '\0';
}

std::string endOfListMessage(Subscription subscription)
{
    return fmt::format("{}\r\nENDLIST\r\n", header(subscription)) + '\0';
}

} // namespace

Rendezvous::Rendezvous(IoThread &io, bool recordMessages, Log log,
                       std::function<std::vector<Announcement>()> dockedPens)
    : m_io(io),
      m_record(recordMessages),
      m_log(std::move(log)),
      m_dockedPens(std::move(dockedPens)),
      m_server(std::make_shared<Server<RendezvousConnection>>(io.context(), *this))
{
}

Rendezvous::~Rendezvous() = default;

void Rendezvous::configure(const RendezvousSpec &spec)
{
    clearRules();
    setFragments(spec.fragment, spec.fragmentPause);
    const std::lock_guard guard(m_mutex);
    for (const RuleSpec &rule : spec.listRules)
        m_listRules.add(rule);
    for (const RuleSpec &rule : spec.connectionRules)
        m_connectionRules.add(rule);
}

RendezvousSpec Rendezvous::spec() const
{
    RendezvousSpec spec;
    m_io.run([&] {
        spec.fragment = m_fragment;
        spec.fragmentPause = m_fragmentPause;
    });
    const std::lock_guard guard(m_mutex);
    spec.listRules = m_listRules.specs();
    spec.connectionRules = m_connectionRules.specs();
    return spec;
}

Responder Rendezvous::nextRule(RuleBook &rules)
{
    const std::lock_guard guard(m_mutex);
    return rules.next({});
}

std::optional<Outgoing> Rendezvous::connected(std::uint64_t)
{
    const Responder responder = nextRule(m_connectionRules);
    {
        const std::lock_guard guard(m_mutex);
        ++m_connections;
        m_openConnections = m_server->sessions().size();
    }
    if (!responder)
        return std::nullopt;
    Outgoing outgoing;
    outgoing.apply(responder({}));
    return outgoing;
}

void Rendezvous::cannotAccept(const std::string &reason)
{
    if (m_log)
        m_log(eventEntry("rendezvous", 0, "refused", "cannot accept a connection: " + reason));
}

void Rendezvous::gaveUp(std::uint64_t connection, const std::string &reason)
{
    if (m_log)
        m_log(eventEntry("rendezvous", connection, "closed", reason));
}

Outgoing Rendezvous::listAnswer(Subscription subscription)
{
    std::string text;
    for (const Announcement &pen : m_dockedPens())
        if (pen.audience() == subscription)
            text += penMessage(pen, "");
    text += endOfListMessage(subscription);
    Outgoing outgoing;
    outgoing.bytes.assign(text.begin(), text.end());
    if (const Responder responder = nextRule(m_listRules))
        outgoing.apply(responder({}));
    return outgoing;
}

void Rendezvous::received(std::uint64_t connection, const std::string &text)
{
    if (m_log)
        m_log(messageEntry(connection, text));
    const std::lock_guard guard(m_mutex);
    if (m_record)
        m_messages.push_back({connection, text});
    m_changed.notify_all();
}

void Rendezvous::subscriptionsChanged()
{
    const auto count = [this](Subscription kind) {
        const auto &sessions = m_server->sessions();
        return static_cast<std::size_t>(
            std::count_if(sessions.begin(), sessions.end(),
                          [kind](const auto &session) { return session->subscription() == kind; }));
    };
    const std::lock_guard guard(m_mutex);
    m_openConnections = m_server->sessions().size();
    m_ordinarySubscribers = count(Subscription::ordinary);
    m_dfuSubscribers = count(Subscription::dfu);
    m_changed.notify_all();
}

void Rendezvous::listenOn(std::uint16_t port)
{
    m_server->listen(port);
    const std::lock_guard guard(m_mutex);
    m_port = m_server->port();
}

void Rendezvous::announce(const Announcement &pen, std::string_view command)
{
    const std::string message = penMessage(pen, command);
    if (m_log)
        m_log(messageEntry(std::nullopt, message.substr(0, message.size() - 1)));
    send(message, pen.audience());
}

std::size_t Rendezvous::subscribers(Subscription kind) const
{
    if (kind == Subscription::none)
        return 0;
    return kind == Subscription::dfu ? m_dfuSubscribers : m_ordinarySubscribers;
}

bool Rendezvous::isListening() const
{
    bool listening = false;
    m_io.run([&] { listening = m_server->isListening(); });
    return listening;
}

std::uint16_t Rendezvous::port() const
{
    const std::lock_guard guard(m_mutex);
    return m_port;
}

void Rendezvous::shutDown(Ending ending)
{
    m_io.run([&] { m_server->close(ending); });
}

void Rendezvous::listen()
{
    m_io.run([&] { listenOn(port()); });
}

void Rendezvous::closeConnections(Ending ending)
{
    m_io.run([&] { m_server->closeConnections(ending); });
}

void Rendezvous::send(std::string_view bytes, Subscription to)
{
    m_io.run([&] {
        for (const auto &session : Server<RendezvousConnection>::Sessions(m_server->sessions()))
            if (session->subscription() == to)
                session->send({{}, Bytes(bytes.begin(), bytes.end()), Ending::none});
    });
}

void Rendezvous::onList(Reply reply, std::size_t occurrence)
{
    const std::lock_guard guard(m_mutex);
    m_listRules.add({0, std::nullopt, occurrence, std::move(reply)});
}

void Rendezvous::onConnection(Reply reply, std::size_t occurrence)
{
    const std::lock_guard guard(m_mutex);
    m_connectionRules.add({0, std::nullopt, occurrence, std::move(reply)});
}

void Rendezvous::clearRules()
{
    const std::lock_guard guard(m_mutex);
    m_listRules.clear();
    m_connectionRules.clear();
}

void Rendezvous::setFragments(std::size_t size, std::chrono::milliseconds pause)
{
    m_io.run([&] {
        m_fragment = size;
        m_fragmentPause = pause;
    });
}

std::size_t Rendezvous::subscriberCount(Subscription kind) const
{
    const std::lock_guard guard(m_mutex);
    return subscribers(kind);
}

bool Rendezvous::waitForSubscribers(Subscription kind, std::size_t count,
                                    std::chrono::milliseconds timeout) const
{
    std::unique_lock lock(m_mutex);
    return m_changed.wait_for(lock, timeout, [&] { return subscribers(kind) == count; });
}

std::size_t Rendezvous::connectionCount() const
{
    const std::lock_guard guard(m_mutex);
    return m_connections;
}

std::size_t Rendezvous::openConnectionCount() const
{
    const std::lock_guard guard(m_mutex);
    return m_openConnections;
}

std::vector<RendezvousMessage> Rendezvous::messages() const
{
    const std::lock_guard guard(m_mutex);
    return m_messages;
}

bool Rendezvous::waitForMessages(std::string_view text, std::size_t count,
                                 std::chrono::milliseconds timeout) const
{
    const auto matches = [&](const RendezvousMessage &message) { return message.text == text; };
    std::unique_lock lock(m_mutex);
    return m_changed.wait_for(lock, timeout, [&] {
        return std::count_if(m_messages.begin(), m_messages.end(), matches) >=
               static_cast<std::ptrdiff_t>(count);
    });
}

void Rendezvous::clearMessages()
{
    const std::lock_guard guard(m_mutex);
    m_messages.clear();
}

} // namespace pensim
