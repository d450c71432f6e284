#include "rule_book.h"

namespace pensim {

void RuleBook::add(const RuleSpec &rule)
{
    add(rule, [reply = rule.reply](const Request &) { return reply; });
}

void RuleBook::add(const RuleSpec &rule, Responder responder)
{
    m_rules.push_back({rule, std::move(responder)});
}

bool RuleBook::fits(const RuleSpec &rule, const Request &request)
{
    return rule.code == request.code && (!rule.argument || *rule.argument == request.argument(0).number());
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
