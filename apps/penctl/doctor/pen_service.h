#pragma once

#include <cstdint>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "doctor/loopback.h"
#include "ui/output.h"

namespace penctl {

/** What a pen's service gave in place of an answer, in words: "does not answer within 2 s". */
class NoAnswer : public std::runtime_error
{
public:
    using std::runtime_error::runtime_error;
};

/** A pen's answer. Values are JSON as in pensim's scenarios: {"int32": 7}. */
struct PenAnswer {
    int32_t status = 0;
    Json value;
};

/** The number in a value: a yes is 1, no number is 0. */
uint64_t numberIn(const Json &value);

/** Arguments, as they are sent. */
std::string encodedShort(uint16_t number);
std::string encodedLong(uint64_t number);

/** A connection to a pen's service (docs/protocols.md) that shares no code with the library and does not wait
 * for ever. */
class PenService
{
public:
    /** Raises NoAnswer when it cannot be reached.
     *  silence  how long it may say nothing */
    PenService(uint16_t port, Limit silence);

    /** One request and its answer. Raises NoAnswer; the service cannot be asked again then. */
    PenAnswer ask(std::string_view instruction, const std::vector<std::string> &arguments = {});

private:
    const char *take(std::size_t count);
    uint64_t number(std::size_t bytes);
    std::string escapedBytes();
    Json body(unsigned type, int depth);
    Json value(int depth);

    LoopbackConnection m_connection;
    Limit m_silence;
    std::string m_received;
    std::size_t m_read = 0;
};

} // namespace penctl
