#pragma once

#include "reply.h"
#include "request.h"

#include <functional>

namespace pensim {

using Responder = std::function<Reply(const Request &)>;

// The rules that say which requests get an unusual answer. Not synchronised.
class RuleBook
{
public:
    void add(const RuleSpec &rule);
    // As the other, with the reply decided when the rule's turn comes.
    void add(const RuleSpec &rule, Responder responder);
    void clear() { m_rules.clear(); }

    // Counts the request for every rule that it fits. Answers for the youngest of those whose turn it is;
    // empty when there is none.
    Responder next(const Request &request);

private:
    struct Rule {
        RuleSpec spec;
        Responder responder;
        std::size_t seen = 0;
    };
    static bool fits(const RuleSpec &rule, const Request &request);

    std::vector<Rule> m_rules;
};

// What leaves in answer to one message, and what happens to the connection then.
struct Outgoing {
    std::chrono::milliseconds delay{0};
    Bytes bytes;
    Ending ending = Ending::none;

    // Replaces and cuts the bytes as the reply says.
    void apply(const Reply &reply);
};

} // namespace pensim
