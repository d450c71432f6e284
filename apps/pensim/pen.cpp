#include "pen.h"

#include "instructions.h"
#include "pen_connection.h"

#include <algorithm>

namespace pensim {

namespace {

void change(Answer &answer, const Reply &reply)
{
    if (reply.status)
        answer.status = *reply.status;
    if (reply.value)
        answer.result = *reply.value;
}

} // namespace

Pen::Pen(const PenSpec &spec, IoThread &io, bool recordRequests, Log log)
    : m_spec(spec),
      m_io(io),
      m_record(recordRequests),
      m_log(std::move(log)),
      m_server(std::make_shared<Server<PenConnection>>(io.context(), *this)),
      m_state(spec)
{
    for (const RuleSpec &rule : spec.rules)
        m_rules.add(rule);
    for (const RuleSpec &rule : spec.connectionRules)
        m_connectionRules.add(rule);
}

Pen::~Pen() = default;

std::string Pen::name() const
{
    return serialText(m_spec.id);
}

void Pen::tell(std::uint64_t connection, const std::string &event, const std::string &what) const
{
    if (m_log)
        m_log(eventEntry(name(), connection, event, what));
}

std::optional<Outgoing> Pen::connected(std::uint64_t connection)
{
    Responder responder;
    {
        const std::lock_guard guard(m_mutex);
        responder = m_connectionRules.next({});
    }
    tell(connection, "connected", "connected");
    if (!responder)
        return std::nullopt;
    Outgoing outgoing;
    outgoing.apply(responder({}));
    return outgoing;
}

void Pen::cannotAccept(const std::string &reason)
{
    tell(0, "refused", "cannot accept a connection: " + reason);
}

// The responder runs without the lock, because it may call the pen.
Outgoing Pen::exchange(Request request, std::uint64_t connection)
{
    std::unique_lock lock(m_mutex);
    Reply reply;
    if (const Responder responder = m_rules.next(request)) {
        lock.unlock();
        reply = responder(request);
        lock.lock();
    }
    Answer answer = reply.executed ? m_state.handle(request, connection) : Answer{};
    change(answer, reply);
    Outgoing outgoing;
    encodeResponse(answer.status, answer.result, outgoing.bytes);
    outgoing.apply(reply);
    if (m_log)
        m_log(exchangeEntry(name(), connection, request, answer, reply));
    note(std::move(request));
    return outgoing;
}

void Pen::note(Request request)
{
    ++m_requestCounts[request.code];
    if (m_record)
        m_requests.push_back(std::move(request));
    m_changed.notify_all();
}

void Pen::exchanged()
{
    if (m_onExchange)
        m_onExchange();
}

void Pen::answered()
{
    bool wanted = false;
    {
        const std::lock_guard guard(m_mutex);
        std::swap(wanted, m_state.restartWanted);
    }
    if (wanted && m_restart)
        m_restart();
}

void Pen::disconnected(std::uint64_t connection)
{
    {
        const std::lock_guard guard(m_mutex);
        m_state.connectionClosed(connection);
    }
    tell(connection, "disconnected", "disconnected");
}

void Pen::gaveUp(std::uint64_t connection, const std::string &reason)
{
    tell(connection, "closed", reason);
}

Announcement Pen::announcement() const
{
    const bool dfu = m_state.dfu.dfuMode();
    return {m_spec.id,
            m_spec.brand,
            dfu ? m_spec.dfu.softwareVersion : m_spec.softwareVersion,
            dfu ? m_spec.dfu.protocols : m_spec.protocols,
            m_spec.vendorId,
            m_spec.productId,
            m_port,
            dfu};
}

void Pen::open()
{
    m_server->listen(m_spec.port);
    const std::lock_guard guard(m_mutex);
    m_port = m_server->port();
    m_announced = announcement();
}

void Pen::redock()
{
    const std::lock_guard guard(m_mutex);
    m_state.dock();
}

void Pen::close()
{
    {
        const std::lock_guard guard(m_mutex);
        m_port = 0; // before the hosts can know
    }
    m_server->close(Ending::close);
}

PenSpec Pen::present() const
{
    const std::lock_guard guard(m_mutex);
    PenSpec spec = m_spec;
    spec.dfuMode = m_state.dfu.dfuMode();
    spec.docked = m_port != 0;
    spec.memory = m_state.properties.memorySize();
    spec.properties = m_state.properties.changed(m_spec);
    spec.pages.assign(m_state.pages.pages().begin(), m_state.pages.pages().end());
    spec.styloPages = m_state.styloPages;
    spec.password = m_state.password;
    spec.hint = m_state.hint;
    spec.locked = m_state.locked;
    spec.busy = m_state.syncBusy;
    spec.encryptedData = m_state.encryptedData;
    spec.rules = m_rules.specs();
    spec.connectionRules = m_connectionRules.specs();
    return spec;
}

PenStatus Pen::status() const
{
    PenStatus status;
    m_io.run([&] {
        for (const auto &session : m_server->sessions())
            status.connections.push_back(session->number());
        const std::lock_guard guard(m_mutex);
        status.announced = m_announced;
        status.session = m_state.sessionOwner;
        status.sessionPages = m_state.sessionPages;
        status.busy = m_state.syncBusy;
        status.mmiState = m_state.mmiState;
        status.exchanges = m_requestCounts;
        status.memory = m_state.properties.memorySize();
        status.freeMemory = m_state.readProperty(property::freeMemory).number();
        status.pages = m_state.pages.pages().size();
        status.styloPages = m_state.styloPages.size();
        status.rules = m_rules.specs();
        status.connectionRules = m_connectionRules.specs();
        status.dfuState = m_state.dfu.state();
        status.imageSize = m_state.dfu.image().size();
        status.imageInstalled = m_state.dfu.installed();
    });
    std::sort(status.connections.begin(), status.connections.end());
    return status;
}

const PenSpec &Pen::spec() const
{
    return m_spec;
}

std::uint64_t Pen::id() const
{
    return m_spec.id;
}

std::uint16_t Pen::port() const
{
    const std::lock_guard guard(m_mutex);
    return m_port;
}

bool Pen::docked() const
{
    return port() != 0;
}

bool Pen::dfuMode() const
{
    const std::lock_guard guard(m_mutex);
    return m_state.dfu.dfuMode();
}

Value Pen::property(std::uint16_t id) const
{
    const std::lock_guard guard(m_mutex);
    return m_state.readProperty(id);
}

void Pen::setProperty(std::uint16_t id, Value value)
{
    const std::lock_guard guard(m_mutex);
    m_state.properties.set(id, std::move(value));
}

std::map<std::uint16_t, Value> Pen::properties() const
{
    const std::lock_guard guard(m_mutex);
    return m_state.properties.all(m_state.pages.bytes());
}

void Pen::setMemory(std::uint32_t bytes)
{
    const std::lock_guard guard(m_mutex);
    m_state.properties.setMemory(bytes);
}

std::vector<PageSpec> Pen::pages() const
{
    const std::lock_guard guard(m_mutex);
    const auto &pages = m_state.pages.pages();
    return {pages.begin(), pages.end()};
}

void Pen::addPage(PageSpec page)
{
    const std::lock_guard guard(m_mutex);
    m_state.pages.add(std::move(page));
}

std::size_t Pen::removePages(std::uint64_t pattern)
{
    const std::lock_guard guard(m_mutex);
    return m_state.pages.remove(pattern);
}

void Pen::clearPages()
{
    const std::lock_guard guard(m_mutex);
    m_state.pages.clear();
}

void Pen::setStyloPages(std::vector<PageSpec> pages)
{
    const std::lock_guard guard(m_mutex);
    m_state.styloPages = std::move(pages);
}

bool Pen::locked() const
{
    const std::lock_guard guard(m_mutex);
    return m_state.locked;
}

void Pen::lock()
{
    const std::lock_guard guard(m_mutex);
    m_state.locked = true;
}

void Pen::unlock()
{
    const std::lock_guard guard(m_mutex);
    m_state.locked = false;
}

std::string Pen::password() const
{
    const std::lock_guard guard(m_mutex);
    return m_state.password;
}

std::string Pen::hint() const
{
    const std::lock_guard guard(m_mutex);
    return m_state.hint;
}

void Pen::setPassword(std::string password, std::string hint)
{
    const std::lock_guard guard(m_mutex);
    m_state.setPassword(std::move(password));
    m_state.hint = std::move(hint);
}

void Pen::setEncryptedData(std::optional<Bytes> data)
{
    const std::lock_guard guard(m_mutex);
    m_state.encryptedData = std::move(data);
}

std::optional<Bytes> Pen::encryptedData() const
{
    const std::lock_guard guard(m_mutex);
    return m_state.encryptedData;
}

bool Pen::syncSessionOpen() const
{
    const std::lock_guard guard(m_mutex);
    return m_state.sessionOwner.has_value();
}

void Pen::setSyncBusy(bool isBusy)
{
    const std::lock_guard guard(m_mutex);
    m_state.syncBusy = isBusy;
}

std::uint16_t Pen::mmiState() const
{
    const std::lock_guard guard(m_mutex);
    return m_state.mmiState;
}

Bytes Pen::firmwareImage() const
{
    const std::lock_guard guard(m_mutex);
    return m_state.dfu.image();
}

bool Pen::firmwareInstalled() const
{
    const std::lock_guard guard(m_mutex);
    return m_state.dfu.installed();
}

void Pen::onInstruction(std::uint32_t code, Reply reply, std::size_t occurrence)
{
    addRule({code, std::nullopt, occurrence, std::move(reply)});
}

void Pen::onInstruction(std::uint32_t code, Responder responder, std::size_t occurrence)
{
    const std::lock_guard guard(m_mutex);
    m_rules.add({code, std::nullopt, occurrence, {}}, std::move(responder));
}

void Pen::onPropertyRead(std::uint16_t id, Reply reply, std::size_t occurrence)
{
    addRule({instruction::getProperty, id, occurrence, std::move(reply)});
}

void Pen::onPropertyWrite(std::uint16_t id, Reply reply, std::size_t occurrence)
{
    addRule({instruction::setProperty, id, occurrence, std::move(reply)});
}

void Pen::addRule(const RuleSpec &rule)
{
    const std::lock_guard guard(m_mutex);
    m_rules.add(rule);
}

void Pen::onConnection(Reply reply, std::size_t occurrence)
{
    const std::lock_guard guard(m_mutex);
    m_connectionRules.add({0, std::nullopt, occurrence, std::move(reply)});
}

void Pen::clearRules()
{
    const std::lock_guard guard(m_mutex);
    m_rules.clear();
    m_connectionRules.clear();
}

void Pen::refuseConnections(bool refuse)
{
    m_io.run([&] {
        if (!docked())
            return;
        if (refuse)
            m_server->stopListening();
        else if (!m_server->isListening())
            m_server->listen(m_server->port());
    });
}

void Pen::closeConnections(Ending ending)
{
    m_io.run([&] { m_server->closeConnections(ending); });
}

std::vector<Request> Pen::requests() const
{
    const std::lock_guard guard(m_mutex);
    return m_requests;
}

std::size_t Pen::requestCount(std::uint32_t code) const
{
    const std::lock_guard guard(m_mutex);
    const auto found = m_requestCounts.find(code);
    return found == m_requestCounts.end() ? 0 : found->second;
}

void Pen::clearRequests()
{
    const std::lock_guard guard(m_mutex);
    m_requests.clear();
    m_requestCounts.clear();
}

bool Pen::waitForRequests(std::uint32_t code, std::size_t count, std::chrono::milliseconds timeout) const
{
    std::unique_lock lock(m_mutex);
    return m_changed.wait_for(lock, timeout, [&] {
        const auto found = m_requestCounts.find(code);
        return count == 0 || (found != m_requestCounts.end() && found->second >= count);
    });
}

} // namespace pensim
