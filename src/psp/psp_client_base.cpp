#include "psp/psp_client_base.h"

#include "net/socket_stream.h"
#include "protocol/values/value_decoder.h"
#include "protocol/values/value_encoder.h"
#include "protocol/values/value_format.h"
#include "protocol/values/value_text.h"
#include "psp/result_reader.h"
#include "sys/exceptions.h"
#include "sys/log.h"

#include <optional>
#include <string>
#include <utility>

namespace zel {

namespace {

constexpr std::int32_t kUnknownInstruction = -9001;
constexpr std::int32_t kConnectionLost = -9002;
constexpr std::int32_t kPenLocked = -9003;
constexpr std::int32_t kSetPropertyRefused = -4013;

void encodeRequest(ValueEncoder &out, std::uint32_t instructionCode, std::span<const PspArgument> arguments)
{
    out.writeNumber(instructionCode);
    out.writeNumber(static_cast<std::uint8_t>(arguments.size()));
    std::uint8_t key = 0;
    for (const PspArgument &argument : arguments)
        argument.encode(out, key++);
}

void throwOnNegative(std::int32_t status)
{
    if (status >= 0)
        return;
    LogError("[PspClientBase::receiveAndParseResponse] status: ", status);
    switch (status) {
    case kUnknownInstruction:
        throw PspUnknownInstructionException();
    case kConnectionLost:
        throw PspConnectionException();
    case kPenLocked:
        throw PspPenIsLockedException();
    case kSetPropertyRefused:
        throw PspSetPropertyException();
    default:
        throw ZELException(FormatLogText("PspClientBase::receiveAndParseResponse - status: %d", status));
    }
}

bool isStatus(const Value &element) noexcept
{
    return element.getType() == ValueType::Int32;
}

} // namespace

struct PspClientBase::Response {
    bool isArray = false;
    bool hasResult = false;
    std::optional<std::int32_t> status;
};

PspClientBase::PspClientBase(std::uint32_t address, std::uint16_t port) : m_address(address), m_port(port)
{
    net::startUp();
    LogDebug("[PspClientBase] instance created");
}

PspClientBase::~PspClientBase()
{
    disconnect();
    net::cleanUp();
    LogDebug("[PspClientBase] instance deleted");
}

void PspClientBase::connect()
{
    LogDebug("[PspClientBase::connect]");
    if (!m_penConnected)
        throw PspConnectionException("Pen not connected");
    LogDebug("[PspClientBase::connect] Pen is connected - connecting to psp port");

    createSocketAndStream();
    const net::Endpoint endpoint{m_address, net::toNetworkOrder(m_port)};
    const bool connected = net::connect(m_socket.get(), endpoint) != net::kSocketError;
    const int error = connected ? 0 : net::lastError();
    const std::string address = net::dottedAddress(m_address);
    if (connected) {
        LogDebug("[PspClientBase::connect] connected to ", address, ":", m_port);
    } else if (error == net::kErrorAlreadyConnected) {
        LogDebug("[PspClientBase::connect] already connected to ", address, ":", m_port);
    } else {
        LogError("[PspClientBase::connect] connection to ", address, ":", m_port, " failed, (", error, ")");
        throw PspConnectionException(FormatLogText("Connection to %s:%d failed", address.c_str(), m_port));
    }
}

void PspClientBase::createSocketAndStream()
{
    if (m_socket || m_stream != nullptr)
        return;
    net::OwnedSocket socket(net::createTcpSocket());
    if (!socket)
        return; // connecting then fails and logs it
    net::setNoDelay(socket.get());
    m_stream = std::make_unique<SocketStream>(socket.get());
    m_socket = std::move(socket);
}

void PspClientBase::disconnect() noexcept
{
    if (m_socket)
        net::shutdown(m_socket.get(), net::ShutdownDirection::Send);
    m_socket.reset();
    m_stream.reset();
    LogDebug("[PspClientBase::disconnect] disconnected");
}

Value PspClientBase::exchange(std::uint32_t instructionCode, std::span<const PspArgument> arguments)
{
    ValueResult result;
    exchange(result, instructionCode, arguments);
    return std::move(result).value();
}

void PspClientBase::exchange(ResultReader &result, std::uint32_t instructionCode,
                             std::span<const PspArgument> arguments)
{
    const threadsynch::CriticalSectionGuard guard(m_lock);
    if (!m_penConnected || m_stream == nullptr)
        throw PspConnectionException();
    sendRequest(instructionCode, arguments);
    receiveAndParseResponse(result);
}

void PspClientBase::sendRequest(std::uint32_t instructionCode, std::span<const PspArgument> arguments)
{
    try {
        ValueEncoder request;
        encodeRequest(request, instructionCode, arguments);
        send(request);
    } catch (const ZELException &failure) {
        throw PspConnectionException(failure.what());
    }
}

void PspClientBase::send(const ValueEncoder &request)
{
    try {
        ProtocolOutputStream out(*m_stream);
        request.writeTo(out);
        m_stream->rdbuf()->pubsync();
    } catch (...) {
        failStream();
        throw;
    }
}

void PspClientBase::receiveAndParseResponse(ResultReader &result)
{
    try {
        const Response response = receive(result);
        if (!response.isArray)
            throw ZELException();
        if (!response.status)
            throw IOException("PspClientBase::receiveAndParseResponse - response without status");
        throwOnNegative(*response.status);
        if (!response.hasResult)
            result.take(Value::createInt(static_cast<std::uint32_t>(*response.status)));
    } catch (const IOException &failure) {
        LogError("[PspClientBase] caught IOException: ", failure.what());
        throw PspConnectionException(failure.what());
    }
}

PspClientBase::Response PspClientBase::receive(ResultReader &result)
{
    LogText text(LogLevel::Debug);
    text.window() << "Received and parsed value:\n";
    const Response response = receive(result, ValueText(text.window()));
    text.send();
    return response;
}

PspClientBase::Response PspClientBase::receive(ResultReader &result, ValueText text)
{
    ProtocolInputStream in(*m_stream, m_stream->buffer());
    try {
        ByteSource source(in);
        ValueDecoder values(source, VALUE_HEADER_LENGTH);
        const ValueType type = values.takeType();
        return type == ValueType::ValueArray ? receiveArray(values, text, result)
                                             : receiveOther(type, values, text, result);
    } catch (...) {
        failStream();
        throw;
    }
}

/** Reads element by element, so that the response is never in memory as a whole. */
PspClientBase::Response PspClientBase::receiveArray(ValueDecoder &values, ValueText &text,
                                                    ResultReader &result)
{
    const NestingLevel level = values.enterArray();
    const std::uint32_t count = values.takeCount();
    Response response{true, count > 1, std::nullopt};
    text.appendArrayHead(ValueType::ValueArray, count);
    for (std::uint32_t i = 0; i < count; ++i) {
        text.appendLineBreak(1);
        if (i == 0)
            response.status = receiveStatus(values, text);
        else if (i == 1)
            result.read(values, text);
        else
            text.append(values.decode(), 1);
    }
    return response;
}

std::optional<std::int32_t> PspClientBase::receiveStatus(ValueDecoder &values, ValueText &text)
{
    const ValueType type = values.takeType();
    if (type != ValueType::Int32) {
        text.append(values.decodeBody(type), 1);
        return std::nullopt;
    }
    const std::uint64_t status = values.takeNumber(type);
    text.appendNumber(type, status);
    return static_cast<std::int32_t>(status);
}

/** Reads a response that is another kind of array. It is valid, although no pen is known to send one. */
PspClientBase::Response PspClientBase::receiveOther(ValueType type, ValueDecoder &values, ValueText &text,
                                                    ResultReader &result)
{
    Value value = values.decodeBody(type);
    text.append(value, 0);
    if (!value.isArray())
        return {};
    ValueList &elements = value.getArray();
    Response response{true, elements.size() > 1, std::nullopt};
    if (!elements.empty() && isStatus(elements[0]))
        response.status = static_cast<std::int32_t>(elements[0].getInt());
    if (response.hasResult)
        result.take(std::move(elements[1]));
    return response;
}

void PspClientBase::failStream() noexcept
{
    if (!m_stream->fail())
        m_stream->setstate(std::ios::failbit);
    m_stream->dropUnsent(); // it may contain a password
}

} // namespace zel
