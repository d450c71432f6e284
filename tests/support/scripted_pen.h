#pragma once

#include "support/wire.h"

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace zel::test {

/** What a scripted pen does about one request. */
struct Answer {
    enum class Then { Stay, Close, Reset };

    static constexpr std::size_t kWhole = std::numeric_limits<std::size_t>::max();

    Bytes bytes;
    Then then = Then::Stay;
    /** Only this many of the bytes are sent. */
    std::size_t cutAfter = kWhole;
    std::chrono::milliseconds delay{0};
};

inline Answer closing()
{
    return {.bytes = {}, .then = Answer::Then::Close};
}

inline Answer cut(Bytes bytes, std::size_t after, Answer::Then then = Answer::Then::Close)
{
    return {.bytes = std::move(bytes), .then = then, .cutAfter = after};
}

/** A pen's service on a port of its own, in this process: records the bytes of every request and
 *  answers from a script, falling back on standing answers; a request that neither
 *  covers ends the connection. Serves any number of connections on its own thread; every operation
 *  may be called from any thread. */
class ScriptedPen
{
public:
    ScriptedPen();
    ~ScriptedPen();
    ScriptedPen(const ScriptedPen &) = delete;
    ScriptedPen &operator=(const ScriptedPen &) = delete;

    std::uint16_t port() const;

    /** Appends an answer to the script; requests take one each, in order. */
    ScriptedPen &then(Answer answer);
    ScriptedPen &then(Bytes bytes) { return then(Answer{.bytes = std::move(bytes)}); }
    /** The answer to the requests that begin so (an instruction's four characters, and as much behind them
     *  as matters) whenever the script is empty. */
    ScriptedPen &always(std::string_view beginning, Answer answer);
    ScriptedPen &always(std::string_view beginning, Bytes bytes)
    {
        return always(beginning, Answer{.bytes = std::move(bytes)});
    }
    /** Connections from now on are ended as soon as they are accepted. */
    void closeOnAccept(bool close);
    /** Ends every connection and accepts no more: the port refuses. */
    void stopListening();
    /** Ends the connections that exist. */
    void dropConnections();

    /** Each request's bytes since the start or the last forget(). */
    std::vector<Bytes> requests() const;
    /** The four characters of each request's instruction. */
    std::vector<std::string> instructions() const;
    /** Forgets requests and what is left of the script; standing answers stay. */
    void forget();
    /** Connections accepted so far. */
    std::size_t connections() const;
    /** Whether the peer of the connection accepted last has closed; waits up to two seconds. */
    bool waitUntilClosed() const;

private:
    class Service;

    std::unique_ptr<Service> m_service;
};

} // namespace zel::test
