#pragma once

#include "net/owned_socket.h"
#include "protocol/values/value.h"
#include "psp/psp_argument.h"
#include "sys/critical_section.h"

#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>

namespace zel {

class ResultReader;
class SocketStream;
class ValueDecoder;
class ValueEncoder;
class ValueText;

/** The connection to one pen's service. It makes one exchange, a request and its response, at a time. When
 *  the service goes away, the stream fails and so does every further exchange, until disconnect(). Several
 *  threads may call for exchanges; a lock keeps them apart. No thread may call connect() or disconnect()
 *  during an exchange. */
class PspClientBase
{
public:
    /** The address is in network byte order, the port in the processor's. */
    PspClientBase(std::uint32_t address, std::uint16_t port);
    virtual ~PspClientBase();
    PspClientBase(const PspClientBase &) = delete;
    PspClientBase &operator=(const PspClientBase &) = delete;

    /** While it is false, connect() and exchanges throw PspConnectionException. */
    void setPenConnected(bool connected) noexcept { m_penConnected = connected; }

    /** Throws PspConnectionException. After a failure the next attempt uses the same socket. Succeeds also
     *  when the connection already exists. */
    void connect();
    void disconnect() noexcept;

protected:
    /** One exchange; the arguments travel under the keys 0, 1, 2, ... Throws PspConnectionException when the
     *  connection is lost, and by the status that the pen answers. The result is never absent. */
    template <class... Arguments>
    Value execute(std::uint32_t instructionCode, const Arguments &...arguments)
    {
        const std::array<PspArgument, sizeof...(Arguments)> list{arguments...};
        return exchange(instructionCode, list);
    }

    /** Likewise, the result to a reader of its own. */
    template <class... Arguments>
    void executeInto(ResultReader &result, std::uint32_t instructionCode, const Arguments &...arguments)
    {
        const std::array<PspArgument, sizeof...(Arguments)> list{arguments...};
        exchange(result, instructionCode, list);
    }

private:
    /** What is known of a response when all of it has been taken off the wire. */
    struct Response;

    Value exchange(std::uint32_t instructionCode, std::span<const PspArgument> arguments);
    void exchange(ResultReader &result, std::uint32_t instructionCode,
                  std::span<const PspArgument> arguments);
    void createSocketAndStream();
    void sendRequest(std::uint32_t instructionCode, std::span<const PspArgument> arguments);
    void send(const ValueEncoder &request);
    void receiveAndParseResponse(ResultReader &result);
    /** Also logs the response. */
    Response receive(ResultReader &result);
    Response receive(ResultReader &result, ValueText text);
    static Response receiveArray(ValueDecoder &values, ValueText &text, ResultReader &result);
    static Response receiveOther(ValueType type, ValueDecoder &values, ValueText &text, ResultReader &result);
    static std::optional<std::int32_t> receiveStatus(ValueDecoder &values, ValueText &text);
    /** Makes all further exchanges fail. Call it after a part of a request or response: what comes next in
     *  the stream is not the start of a response. */
    void failStream() noexcept;

    net::OwnedSocket m_socket;
    std::unique_ptr<SocketStream> m_stream;
    std::atomic<bool> m_penConnected{false};
    std::uint32_t m_address;
    std::uint16_t m_port;
    threadsynch::CriticalSection m_lock;
};

} // namespace zel
