#include "psp/psp_client_base.h"

#include "net/socket_stream.h"
#include "protocol/psp_instruction.h"
#include "protocol/value_decoder.h"
#include "protocol/value_encoder.h"
#include "protocol/value_format.h"
#include "protocol/value_text.h"
#include "sys/exceptions.h"
#include "sys/log.h"

#include <string>

namespace zel {

namespace {

// Most answers' log texts are no longer.
constexpr std::size_t kUsualLogText = 256;

constexpr std::int32_t kUnknownInstruction = -9001;
constexpr std::int32_t kConnectionLost = -9002;
constexpr std::int32_t kPenLocked = -9003;
constexpr std::int32_t kSetPropertyRefused = -4013;

void encodeRequest(ValueEncoder &out, const PspInstruction &instruction)
{
    const ArgumentMap &arguments = instruction.getArguments();
    out.writeNumber(instruction.getCode());
    out.writeNumber(static_cast<std::uint8_t>(arguments.size()));
    for (const auto &[key, value] : arguments) {
        if (value == nullptr) // counted all the same
            continue;
        out.writeNumber(static_cast<std::uint8_t>(key));
        out.encode(*value);
    }
}

void logResponse(const Value *response, std::size_t longest)
{
    std::string text;
    text.reserve(kUsualLogText);
    text += "Received and parsed value:\n";
    ValueText(text, longest).append(response, 0);
    LogDebug(text);
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
    LogError(FormatLogText("[PspClientBase::receiveAndParseResponse] status: %d", status));
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
std::unique_ptr<Value> takeResult(Value *response)
{
    if (response == nullptr || !response->isArray())
        throw ZELException();
    ValueList &elements = response->getArray();
    const std::int32_t status = statusOf(elements);
    throwOnNegative(status);
    if (elements.size() == 1)
        return Value::createInt(static_cast<std::uint32_t>(status));
    std::unique_ptr<Value> result = std::move(elements[1]);
    replaceAbsent(result);
    return result;
}

} // namespace

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
        LogDebug(FormatLogText("[PspClientBase::connect] connected to %s:%d", address.c_str(), m_port));
    } else if (error == net::kErrorAlreadyConnected) {
        LogDebug(
            FormatLogText("[PspClientBase::connect] already connected to %s:%d", address.c_str(), m_port));
    } else {
        LogError(FormatLogText("[PspClientBase::connect] connection to %s:%d failed, (%d)", address.c_str(),
                               m_port, error));
        throw PspConnectionException(FormatLogText("Connection to %s:%d failed", address.c_str(), m_port));
    }
}

void PspClientBase::createSocketAndStream()
{
    if (m_socket || m_stream != nullptr)
        return;
    net::OwnedSocket socket(net::createTcpSocket());
    if (!socket)
        return; // connecting without one fails, and says so
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
                                               std::span<std::unique_ptr<Value>> arguments)
{
    const threadsynch::CriticalSectionGuard guard(m_lock);
    if (!m_penConnected || m_stream == nullptr)
        throw PspConnectionException();
    PspInstruction instruction(instructionCode);
    std::uint16_t key = 0;
    for (std::unique_ptr<Value> &argument : arguments)
        instruction.setArgumentOwned(key++, std::move(argument));
    sendRequest(instruction);
    return receiveAndParseResponse();
}

void PspClientBase::sendRequest(const PspInstruction &instruction)
{
    try {
        ValueEncoder frame;
        encodeRequest(frame, instruction);
        ProtocolOutputStream out(*m_stream);
        frame.writeTo(out);
        m_stream->flush();
    } catch (const ZELException &failure) {
        failStream();
        throw PspConnectionException(failure.what());
    }
}

std::unique_ptr<Value> PspClientBase::receiveAndParseResponse()
{
    try {
        const Response response = receive();
        logResponse(response.value.get(), response.longestText);
        return takeResult(response.value.get());
    } catch (const IOException &failure) {
        LogError(FormatLogText("[PspClientBase] caught IOException: %s", failure.what()));
        throw PspConnectionException(failure.what());
    }
}

PspClientBase::Response PspClientBase::receive()
{
    ProtocolInputStream in(*m_stream);
    try {
        ByteSource source(in);
        ValueDecoder decoder(source, VALUE_HEADER_LENGTH);
        std::unique_ptr<Value> value = decoder.decode();
        return {std::move(value), decoder.longestText()};
    } catch (...) {
        failStream();
        throw;
    }
}

void PspClientBase::failStream() noexcept
{
    if (!m_stream->fail())
        m_stream->setstate(std::ios::failbit);
    m_stream->dropUnsent(); // there may be a password in it
}

} // namespace zel
