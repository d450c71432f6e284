#include "psp/psp_client_base.h"

#include "net/socket_stream.h"
#include "protocol/values/value_decoder.h"
#include "protocol/values/value_encoder.h"
#include "protocol/values/value_format.h"
#include "protocol/values/value_text.h"
#include "sys/exceptions.h"
#include "sys/log.h"

#include <string>

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

std::int32_t statusOf(const ValueList &response)
{
    if (response.empty() || response[0] == nullptr || response[0]->getType() != ValueType::Int32)
        throw IOException("PspClientBase::receiveAndParseResponse - response without status");
    return static_cast<std::int32_t>(response[0]->getInt());
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

/** Absent elements become what a deep copy makes of them: null values, and a log text. */
void replaceAbsent(std::unique_ptr<Value> &value)
{
    if (value == nullptr) {
        value = Value::createBare(ValueType::AnyType)->copy();
    } else if (value->isArray()) {
        for (std::unique_ptr<Value> &element : value->getArray())
            replaceAbsent(element);
    }
}

/** The result of a response. It is taken out, not copied: strokes run to megabytes, and nothing
 *  sees the response afterwards. */
std::unique_ptr<Value> takeResult(ValueList &elements)
{
    const std::int32_t status = statusOf(elements);
    throwOnNegative(status);
    if (elements.size() == 1)
        return Value::createInt(static_cast<std::uint32_t>(status));
    std::unique_ptr<Value> result = std::move(elements[1]);
    replaceAbsent(result);
    return result;
}

} // namespace

/** An array's elements, or the value that came instead of an array: absent for the "any type" code. */
struct PspClientBase::Response {
    ValueType type;
    ValueList elements;
    std::unique_ptr<Value> other;

    bool isArray() const noexcept { return isArrayType(type); }

    void log() const
    {
        LogText text(LogLevel::Debug);
        text.window() << "Received and parsed value:\n";
        ValueText form(text.window());
        if (isArray())
            form.appendArray(type, elements, 0);
        else
            form.append(other.get(), 0);
        text.send();
    }
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

std::unique_ptr<Value> PspClientBase::exchange(std::uint32_t instructionCode,
                                               std::span<const PspArgument> arguments)
{
    const threadsynch::CriticalSectionGuard guard(m_lock);
    if (!m_penConnected || m_stream == nullptr)
        throw PspConnectionException();
    sendRequest(instructionCode, arguments);
    return receiveAndParseResponse();
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

std::unique_ptr<Value> PspClientBase::receiveAndParseResponse()
{
    try {
        Response response = receive();
        response.log();
        if (!response.isArray())
            throw ZELException();
        return takeResult(response.elements);
    } catch (const IOException &failure) {
        LogError("[PspClientBase] caught IOException: ", failure.what());
        throw PspConnectionException(failure.what());
    }
}

PspClientBase::Response PspClientBase::receive()
{
    ProtocolInputStream in(*m_stream);
    try {
        ByteSource source(in);
        ValueDecoder decoder(source, VALUE_HEADER_LENGTH);
        Response response{static_cast<ValueType>(decoder.takeHeader()), {}, nullptr};
        if (response.isArray())
            response.elements = decoder.decodeElements(response.type);
        else
            response.other = decoder.decodeBody(static_cast<std::uint8_t>(response.type));
        return response;
    } catch (...) {
        failStream();
        throw;
    }
}

void PspClientBase::failStream() noexcept
{
    if (!m_stream->fail())
        m_stream->setstate(std::ios::failbit);
    m_stream->dropUnsent(); // it may contain a password
}

} // namespace zel
