#pragma once

#include "value.h"

#include <chrono>
#include <optional>

namespace pensim {

// What becomes of the connection after an answer.
enum class Ending {
    none,
    close, // in order: the peer reads end of file
    reset, // abruptly: the peer's call fails
};

// How one exchange departs from what the pen would do. The default departs in nothing.
struct Reply {
    bool executed = true; // whether the pen acts on the request before it answers
    std::chrono::milliseconds delay{0};
    std::optional<std::int32_t> status;  // in place of the pen's
    std::optional<Value> value;          // in place of the pen's result
    std::optional<Bytes> bytes;          // in place of the whole encoded response
    std::optional<std::size_t> cutAfter; // only so many bytes leave
    Ending ending = Ending::none;

    static Reply normal() { return {}; }
    // The pen refuses: nothing is done, this status alone comes back.
    static Reply withStatus(std::int32_t status);
    // The pen does as asked and answers this value under status 0.
    static Reply withValue(Value value);
    // These bytes come back, whatever they mean.
    static Reply withBytes(Bytes bytes);
    // The connection closes after the first `count` bytes of the true response.
    static Reply cut(std::size_t count);
    // No answer, ever.
    static Reply silence();
    static Reply closing();
    static Reply resetting();

    [[nodiscard]] Reply after(std::chrono::milliseconds pause) const;
    [[nodiscard]] Reply then(Ending end) const;
};

// A rule as a scenario states it: which requests it applies to, and what they get.
struct RuleSpec {
    std::uint32_t code = 0;
    std::optional<std::uint64_t> argument; // the number that argument 0 must be
    std::size_t occurrence = 0;            // counted from 1; 0 is every one
    Reply reply;
};

} // namespace pensim
