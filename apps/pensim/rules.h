#pragma once

#include "request.h"

#include <chrono>
#include <functional>
#include <optional>

namespace pensim {

/** What becomes of the connection after an answer. */
enum class Ending {
    none,
    close, // in order: the peer reads end of file
    reset, // abruptly: the peer's call fails
};

/** How one exchange departs from what the pen would do. The default departs in nothing. */
struct Reply {
    bool executed = true; // whether the pen acts on the request before it answers
    std::chrono::milliseconds delay{0};
    std::optional<std::int32_t> status;  // in place of the pen's
    std::optional<Value> value;          // in place of the pen's result
    std::optional<Bytes> bytes;          // in place of the whole encoded response
    std::optional<std::size_t> cutAfter; // only so many bytes leave
    Ending ending = Ending::none;

    static Reply normal() { return {}; }
    /** The pen refuses: it does nothing and answers this status alone. */
    static Reply withStatus(std::int32_t status);
    /** The pen does as asked and answers this value under status 0. */
    static Reply withValue(Value value);
    /** These bytes come back, whatever they mean. */
    static Reply withBytes(Bytes bytes);
    /** The connection closes after the first `count` bytes of the true response. */
    static Reply cut(std::size_t count);
    /** No answer, ever. */
    static Reply silence();
    static Reply closing();
    static Reply resetting();

    [[nodiscard]] Reply after(std::chrono::milliseconds pause) const;
    [[nodiscard]] Reply then(Ending end) const;
};

/** Stands for every instruction in a rule. */
inline constexpr std::uint32_t kAnyInstruction = fourCc("*");

/** A rule as a scenario states it: which requests it applies to, and what they get. */
struct RuleSpec {
    std::uint32_t code = 0;
    std::optional<std::uint64_t> argument; // the number that argument 0 must be
    std::size_t occurrence = 0;            // counted from 1; 0 is every one
    Reply reply;
};

using Responder = std::function<Reply(const Request &)>;

/** The rules that say which requests get an unusual answer. Not synchronised. */
class RuleBook
{
public:
    void add(const RuleSpec &rule);
    /** As the other, with the reply decided when the rule's turn comes. */
    void add(const RuleSpec &rule, Responder responder);
    void clear() { m_rules.clear(); }

    /** Counts the request for every rule that it fits. Returns the youngest of those whose turn it is;
     *  empty when there is none. */
    Responder next(const Request &request);

    /** The rules as a scenario would state them; what a responder decides cannot be stated. Those that
     *  have had their only turn are left out, and the others wait for what they still wait for. */
    std::vector<RuleSpec> specs() const;

private:
    struct Rule {
        RuleSpec spec;
        Responder responder;
        std::size_t seen = 0;
        bool stated = false; // the scenario states it by itself
    };
    static bool fits(const RuleSpec &rule, const Request &request);

    std::vector<Rule> m_rules;
};

/** What leaves in answer to one message, and what happens to the connection then. */
struct Outgoing {
    std::chrono::milliseconds delay{0};
    Bytes bytes;
    Ending ending = Ending::none;

    /** Replaces and cuts the bytes as the reply says. */
    void apply(const Reply &reply);
};

} // namespace pensim
