#include "pen_impl.h"

#include "instructions.h"
#include "serial_text.h"
#include "wire_codec.h"

#include <fmt/format.h>

namespace pensim {

namespace {

std::string replyText(const Reply &reply)
{
    std::string text;
    if (reply.delay.count() > 0)
        text += fmt::format(" after {} ms", reply.delay.count());
    if (reply.bytes)
        text += fmt::format(", {} given bytes instead", reply.bytes->size());
    if (reply.cutAfter)
        text += fmt::format(", cut after {} bytes", *reply.cutAfter);
    if (reply.ending != Ending::none)
        text += reply.ending == Ending::reset ? ", then reset" : ", then closed";
    return text;
}

std::string requestText(const Request &request)
{
    const Instruction *instruction = findInstruction(request.code);
    std::string text =
        codeText(request.code) + " " + (instruction == nullptr ? "unknown" : instruction->name) + "(";
    for (const Argument &argument : request.arguments)
        text += (&argument == &request.arguments.front() ? "" : ", ") + argument.value.toLogText();
    return text + ")";
}

void change(Answer &answer, const Reply &reply)
{
    if (reply.status)
        answer.status = *reply.status;
    if (reply.value)
        answer.result = *reply.value;
}

} // namespace

Pen::Impl::Impl(const PenSpec &penSpec, IoThread &ioThread, bool recordRequests, Log logLine)
    : spec(penSpec), io(ioThread), record(recordRequests), log(std::move(logLine)), state(penSpec)
{
    for (const RuleSpec &rule : spec.rules)
        rules.add(rule);
    for (const RuleSpec &rule : spec.connectionRules)
        connectionRules.add(rule);
}

std::optional<Outgoing> Pen::Impl::connected(std::uint64_t connection)
{
    Responder responder;
    {
        const std::lock_guard guard(mutex);
        responder = connectionRules.next({});
    }
    if (log)
        log(fmt::format("{} #{} connected", serialText(spec.id), connection));
    if (!responder)
        return std::nullopt;
    Outgoing outgoing;
    outgoing.apply(responder({}));
    return outgoing;
}

// The responder runs without the lock: it may call the pen.
void Pen::Impl::exchange(Request request, std::uint64_t connection, Outgoing &outgoing)
{
    std::unique_lock lock(mutex);
    Reply reply;
    if (const Responder responder = rules.next(request)) {
        lock.unlock();
        reply = responder(request);
        lock.lock();
    }
    Answer answer = reply.executed ? state.handle(request, connection) : Answer{};
    change(answer, reply);
    encodeResponse(answer.status, answer.result, outgoing.bytes);
    outgoing.apply(reply);
    if (log)
        logExchange(request, connection, answer, reply);
    note(std::move(request));
}

void Pen::Impl::note(Request request)
{
    ++requestCounts[request.code];
    if (record)
        requests.push_back(std::move(request));
    changed.notify_all();
}

void Pen::Impl::logExchange(const Request &request, std::uint64_t connection, const Answer &answer,
                            const Reply &reply)
{
    log(fmt::format("{} #{} {} -> {}{}{}", serialText(spec.id), connection, requestText(request),
                    answer.status, answer.result ? " " + answer.result->toLogText() : "", replyText(reply)));
}

void Pen::Impl::answered()
{
    bool wanted = false;
    {
        const std::lock_guard guard(mutex);
        std::swap(wanted, state.restartWanted);
    }
    if (wanted && restart)
        restart();
}

void Pen::Impl::disconnected(std::uint64_t connection)
{
    {
        const std::lock_guard guard(mutex);
        state.connectionClosed(connection);
    }
    if (log)
        log(fmt::format("{} #{} disconnected", serialText(spec.id), connection));
}

void Pen::Impl::protocolError(std::uint64_t connection, const std::string &text)
{
    if (log)
        log(fmt::format("{} #{} sent no instruction: {}", serialText(spec.id), connection, text));
}

Announcement Pen::Impl::announcement() const
{
    const bool dfu = state.dfu.dfuMode();
    return {spec.id,
            spec.brand,
            dfu ? spec.dfu.softwareVersion : spec.softwareVersion,
            dfu ? spec.dfu.protocols : spec.protocols,
            spec.vendorId,
            spec.productId,
            port,
            dfu};
}

void Pen::Impl::open()
{
    server = std::make_shared<PspServer>(io.context(), *this);
    try {
        server->listen(spec.port);
    } catch (...) {
        server.reset();
        throw;
    }
    const std::lock_guard guard(mutex);
    port = server->port();
    announced = announcement();
}

void Pen::Impl::redock()
{
    const std::lock_guard guard(mutex);
    state.dock();
}

void Pen::Impl::close()
{
    {
        const std::lock_guard guard(mutex);
        port = 0; // before the hosts can know
    }
    server->close();
    server.reset();
}

Pen::Pen(std::unique_ptr<Impl> impl) : m_impl(std::move(impl)) {}

Pen::~Pen() = default;

const PenSpec &Pen::spec() const
{
    return m_impl->spec;
}

std::uint64_t Pen::id() const
{
    return m_impl->spec.id;
}

std::uint16_t Pen::port() const
{
    const std::lock_guard guard(m_impl->mutex);
    return m_impl->port;
}

bool Pen::docked() const
{
    return port() != 0;
}

bool Pen::dfuMode() const
{
    const std::lock_guard guard(m_impl->mutex);
    return m_impl->state.dfu.dfuMode();
}

Value Pen::property(std::uint16_t id) const
{
    const std::lock_guard guard(m_impl->mutex);
    return m_impl->state.readProperty(id);
}

void Pen::setProperty(std::uint16_t id, Value value)
{
    const std::lock_guard guard(m_impl->mutex);
    m_impl->state.properties.set(id, std::move(value));
}

std::vector<PageSpec> Pen::pages() const
{
    const std::lock_guard guard(m_impl->mutex);
    const auto &pages = m_impl->state.pages.pages();
    return {pages.begin(), pages.end()};
}

void Pen::addPage(PageSpec page)
{
    const std::lock_guard guard(m_impl->mutex);
    m_impl->state.pages.add(std::move(page));
}

void Pen::clearPages()
{
    const std::lock_guard guard(m_impl->mutex);
    m_impl->state.pages.clear();
}

void Pen::setStyloPages(std::vector<PageSpec> pages)
{
    const std::lock_guard guard(m_impl->mutex);
    m_impl->state.styloPages = std::move(pages);
}

bool Pen::locked() const
{
    const std::lock_guard guard(m_impl->mutex);
    return m_impl->state.locked;
}

void Pen::lock()
{
    const std::lock_guard guard(m_impl->mutex);
    m_impl->state.locked = true;
}

std::string Pen::password() const
{
    const std::lock_guard guard(m_impl->mutex);
    return m_impl->state.password;
}

std::string Pen::hint() const
{
    const std::lock_guard guard(m_impl->mutex);
    return m_impl->state.hint;
}

void Pen::setPassword(std::string password, std::string hint)
{
    const std::lock_guard guard(m_impl->mutex);
    m_impl->state.setPassword(std::move(password));
    m_impl->state.hint = std::move(hint);
}

void Pen::setEncryptedData(std::optional<Bytes> data)
{
    const std::lock_guard guard(m_impl->mutex);
    m_impl->state.encryptedData = std::move(data);
}

std::optional<Bytes> Pen::encryptedData() const
{
    const std::lock_guard guard(m_impl->mutex);
    return m_impl->state.encryptedData;
}

bool Pen::syncSessionOpen() const
{
    const std::lock_guard guard(m_impl->mutex);
    return m_impl->state.sessionOwner.has_value();
}

void Pen::setSyncBusy(bool busy)
{
    const std::lock_guard guard(m_impl->mutex);
    m_impl->state.syncBusy = busy;
}

std::uint16_t Pen::mmiState() const
{
    const std::lock_guard guard(m_impl->mutex);
    return m_impl->state.mmiState;
}

Bytes Pen::firmwareImage() const
{
    const std::lock_guard guard(m_impl->mutex);
    return m_impl->state.dfu.image();
}

bool Pen::firmwareInstalled() const
{
    const std::lock_guard guard(m_impl->mutex);
    return m_impl->state.dfu.installed();
}

void Pen::onInstruction(std::uint32_t code, Reply reply, std::size_t occurrence)
{
    addRule({code, std::nullopt, occurrence, std::move(reply)});
}

void Pen::onInstruction(std::uint32_t code, Responder responder, std::size_t occurrence)
{
    const std::lock_guard guard(m_impl->mutex);
    m_impl->rules.add({code, std::nullopt, occurrence, {}}, std::move(responder));
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
    const std::lock_guard guard(m_impl->mutex);
    m_impl->rules.add(rule);
}

void Pen::onConnection(Reply reply, std::size_t occurrence)
{
    const std::lock_guard guard(m_impl->mutex);
    m_impl->connectionRules.add({0, std::nullopt, occurrence, std::move(reply)});
}

void Pen::clearRules()
{
    const std::lock_guard guard(m_impl->mutex);
    m_impl->rules.clear();
    m_impl->connectionRules.clear();
}

void Pen::refuseConnections(bool refuse)
{
    m_impl->io.run([&] {
        if (!m_impl->server)
            return;
        if (refuse)
            m_impl->server->stopListening();
        else if (!m_impl->server->listening())
            m_impl->server->listen(m_impl->server->port());
    });
}

void Pen::closeConnections(Ending ending)
{
    m_impl->io.run([&] {
        if (m_impl->server)
            m_impl->server->closeConnections(ending);
    });
}

std::vector<Request> Pen::requests() const
{
    const std::lock_guard guard(m_impl->mutex);
    return m_impl->requests;
}

std::size_t Pen::requestCount(std::uint32_t code) const
{
    const std::lock_guard guard(m_impl->mutex);
    const auto found = m_impl->requestCounts.find(code);
    return found == m_impl->requestCounts.end() ? 0 : found->second;
}

void Pen::clearRequests()
{
    const std::lock_guard guard(m_impl->mutex);
    m_impl->requests.clear();
    m_impl->requestCounts.clear();
}

bool Pen::waitForRequests(std::uint32_t code, std::size_t count, std::chrono::milliseconds timeout) const
{
    std::unique_lock lock(m_impl->mutex);
    return m_impl->changed.wait_for(lock, timeout, [&] { return m_impl->requestCounts[code] >= count; });
}

} // namespace pensim
