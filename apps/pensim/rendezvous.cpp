#include "rendezvous_impl.h"

#include <algorithm>
#include <fmt/format.h>

namespace pensim {

namespace {

std::string oneLine(const std::string &message)
{
    std::string text;
    for (const char character : message)
        if (character == '\n')
            text += ' ';
        else if (character != '\r')
            text += character;
    return text;
}

Bytes toBytes(const std::string &text)
{
    return {text.begin(), text.end()};
}

} // namespace

Rendezvous::Impl::Impl(IoThread &ioThread, bool recordMessages,
                       std::function<void(const std::string &)> logLine)
    : io(ioThread),
      record(recordMessages),
      log(std::move(logLine)),
      server(std::make_shared<RendezvousServer>(io.context(), *this))
{
}

void Rendezvous::Impl::configure(const RendezvousSpec &spec)
{
    for (const RuleSpec &rule : spec.listRules)
        listRules.add(rule);
    for (const RuleSpec &rule : spec.connectionRules)
        connectionRules.add(rule);
    server->setFragments(spec.fragment, spec.fragmentPause);
}

Responder Rendezvous::Impl::nextRule(RuleBook &rules)
{
    const std::lock_guard guard(mutex);
    return rules.next({});
}

std::optional<Outgoing> Rendezvous::Impl::connected()
{
    const Responder responder = nextRule(connectionRules);
    {
        const std::lock_guard guard(mutex);
        ++connections;
    }
    if (!responder)
        return std::nullopt;
    Outgoing outgoing;
    outgoing.apply(responder({}));
    return outgoing;
}

Outgoing Rendezvous::Impl::listAnswer(Subscription subscription)
{
    std::string text;
    for (const Announcement &pen : dockedPens())
        if (pen.audience() == subscription)
            text += penMessage(pen, "");
    Outgoing outgoing;
    outgoing.bytes = toBytes(text + endOfListMessage(subscription));
    if (const Responder responder = nextRule(listRules))
        outgoing.apply(responder({}));
    return outgoing;
}

void Rendezvous::Impl::received(std::uint64_t connection, const std::string &text)
{
    if (log)
        log(fmt::format("rendezvous #{} <- {}", connection, oneLine(text)));
    const std::lock_guard guard(mutex);
    if (record)
        messages.push_back({connection, text});
    changed.notify_all();
}

void Rendezvous::Impl::subscriptionsChanged()
{
    const std::lock_guard guard(mutex);
    ordinarySubscribers = server->subscribers(Subscription::ordinary);
    dfuSubscribers = server->subscribers(Subscription::dfu);
    changed.notify_all();
}

void Rendezvous::Impl::listen(std::uint16_t wantedPort)
{
    server->listen(wantedPort);
    const std::lock_guard guard(mutex);
    port = server->port();
}

void Rendezvous::Impl::announce(const Announcement &pen, std::string_view command)
{
    const std::string message = penMessage(pen, command);
    if (log)
        log("rendezvous -> " + oneLine(message.substr(0, message.size() - 1)));
    server->send(message, pen.audience());
}

std::size_t Rendezvous::Impl::subscribers(Subscription kind) const
{
    if (kind == Subscription::none)
        return 0;
    return kind == Subscription::dfu ? dfuSubscribers : ordinarySubscribers;
}

Rendezvous::Rendezvous(std::unique_ptr<Impl> impl) : m_impl(std::move(impl)) {}

Rendezvous::~Rendezvous() = default;

std::uint16_t Rendezvous::port() const
{
    const std::lock_guard guard(m_impl->mutex);
    return m_impl->port;
}

void Rendezvous::shutDown(Ending ending)
{
    m_impl->io.run([&] { m_impl->server->close(ending); });
}

void Rendezvous::listen()
{
    m_impl->io.run([&] { m_impl->listen(port()); });
}

void Rendezvous::closeConnections(Ending ending)
{
    m_impl->io.run([&] { m_impl->server->closeConnections(ending); });
}

void Rendezvous::send(std::string_view bytes, Subscription to)
{
    m_impl->io.run([&] { m_impl->server->send(bytes, to); });
}

void Rendezvous::onList(Reply reply, std::size_t occurrence)
{
    const std::lock_guard guard(m_impl->mutex);
    m_impl->listRules.add({0, std::nullopt, occurrence, std::move(reply)});
}

void Rendezvous::onConnection(Reply reply, std::size_t occurrence)
{
    const std::lock_guard guard(m_impl->mutex);
    m_impl->connectionRules.add({0, std::nullopt, occurrence, std::move(reply)});
}

void Rendezvous::clearRules()
{
    const std::lock_guard guard(m_impl->mutex);
    m_impl->listRules.clear();
    m_impl->connectionRules.clear();
}

void Rendezvous::setFragments(std::size_t size, std::chrono::milliseconds pause)
{
    m_impl->io.run([&] { m_impl->server->setFragments(size, pause); });
}

std::size_t Rendezvous::subscriberCount(Subscription kind) const
{
    const std::lock_guard guard(m_impl->mutex);
    return m_impl->subscribers(kind);
}

bool Rendezvous::waitForSubscribers(Subscription kind, std::size_t count,
                                    std::chrono::milliseconds timeout) const
{
    std::unique_lock lock(m_impl->mutex);
    return m_impl->changed.wait_for(lock, timeout, [&] { return m_impl->subscribers(kind) == count; });
}

std::size_t Rendezvous::connectionCount() const
{
    const std::lock_guard guard(m_impl->mutex);
    return m_impl->connections;
}

std::vector<RendezvousMessage> Rendezvous::messages() const
{
    const std::lock_guard guard(m_impl->mutex);
    return m_impl->messages;
}

bool Rendezvous::waitForMessages(std::string_view text, std::size_t count,
                                 std::chrono::milliseconds timeout) const
{
    const auto matches = [&](const RendezvousMessage &message) { return message.text == text; };
    std::unique_lock lock(m_impl->mutex);
    return m_impl->changed.wait_for(lock, timeout, [&] {
        const auto &messages = m_impl->messages;
        return std::count_if(messages.begin(), messages.end(), matches) >= static_cast<std::ptrdiff_t>(count);
    });
}

void Rendezvous::clearMessages()
{
    const std::lock_guard guard(m_impl->mutex);
    m_impl->messages.clear();
}

} // namespace pensim
