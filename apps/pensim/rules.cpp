#include "rules.h"

namespace pensim {

Reply Reply::withStatus(std::int32_t status)
{
    Reply reply;
    reply.executed = false;
    reply.status = status;
    return reply;
}

Reply Reply::withValue(Value value)
{
    Reply reply;
    reply.status = 0;
    reply.value = std::move(value);
    return reply;
}

Reply Reply::withBytes(Bytes bytes)
{
    Reply reply;
    reply.bytes = std::move(bytes);
    return reply;
}

Reply Reply::cut(std::size_t count)
{
    Reply reply;
    reply.cutAfter = count;
    reply.ending = Ending::close;
    return reply;
}

Reply Reply::silence()
{
    return withBytes({});
}

Reply Reply::closing()
{
    return silence().then(Ending::close);
}

Reply Reply::resetting()
{
    return silence().then(Ending::reset);
}

Reply Reply::after(std::chrono::milliseconds pause) const
{
    Reply reply = *this;
    reply.delay = pause;
    return reply;
}

Reply Reply::then(Ending end) const
{
    Reply reply = *this;
    reply.ending = end;
    return reply;
}

void RuleBook::add(const RuleSpec &rule)
{
    m_rules.push_back({rule, [reply = rule.reply](const Request &) { return reply; }, 0, true});
}

void RuleBook::add(const RuleSpec &rule, Responder responder)
{
    m_rules.push_back({rule, std::move(responder), 0, false});
}

bool RuleBook::fits(const RuleSpec &rule, const Request &request)
{
    return (rule.code == request.code || rule.code == kAnyInstruction) &&
           (!rule.argument || *rule.argument == request.argument(0).number());
}

Responder RuleBook::next(const Request &request)
{
    Responder chosen;
    for (Rule &rule : m_rules) {
        if (!fits(rule.spec, request))
            continue;
        ++rule.seen;
        if (rule.spec.occurrence == 0 || rule.spec.occurrence == rule.seen)
            chosen = rule.responder;
    }
    return chosen;
}

std::vector<RuleSpec> RuleBook::specs() const
{
    std::vector<RuleSpec> specs;
    for (const Rule &rule : m_rules) {
        if (!rule.stated || (rule.spec.occurrence != 0 && rule.spec.occurrence <= rule.seen))
            continue;
        specs.push_back(rule.spec);
        if (rule.spec.occurrence != 0)
            specs.back().occurrence -= rule.seen;
    }
    return specs;
}

void Outgoing::apply(const Reply &reply)
{
    delay = reply.delay;
    ending = reply.ending;
    if (reply.bytes)
        bytes = *reply.bytes;
    if (reply.cutAfter && *reply.cutAfter < bytes.size())
        bytes.resize(*reply.cutAfter);
}

} // namespace pensim
