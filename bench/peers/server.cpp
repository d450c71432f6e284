// The other side of every run: a pen service that answers from memory. It does as little as a service can
// (plain sockets, one thread per connection, one send per answer), so that the client is measured and not the
// service. It is the rendezvous server too.
//
//   zel_bench_server pens=N pages=N size=BYTES strokes=KIND rendezvous=MANNER
//
// Prints "port N", the port of all its pens, and runs until its standard input ends.

#include "common/canned.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cstring>
#include <functional>
#include <map>
#include <string_view>
#include <thread>

namespace zel::bench {
namespace {

std::uint64_t readNumber(const std::uint8_t *at, int width)
{
    std::uint64_t number = 0;
    for (int i = 0; i < width; ++i)
        number = number << 8 | at[i];
    return number;
}

/** The length of the encoded value at the beginning; 0 if more bytes are needed to know it. */
std::size_t valueLength(const std::uint8_t *at, std::size_t available)
{
    static constexpr std::size_t kFixed[] = {1, 2, 2, 3, 5, 9};
    if (available < 1)
        return 0;
    switch (at[0]) {
    case 6:
        return available < 3 ? 0 : 3 + readNumber(at + 1, 2);
    case 7:
        return available < 5 ? 0 : 5 + readNumber(at + 1, 4);
    default:
        if (at[0] >= std::size(kFixed))
            fail("server: a request holds a value of type " + std::to_string(at[0]));
        return kFixed[at[0]];
    }
}

struct Request {
    std::uint32_t instruction = 0;
    std::uint16_t property = 0;
    std::size_t length = 0; // 0 while the request is incomplete
};

Request parse(const std::uint8_t *bytes, std::size_t available)
{
    Request request;
    if (available < 5)
        return request;
    request.instruction = static_cast<std::uint32_t>(readNumber(bytes, 4));
    std::size_t at = 5;
    for (int argument = 0; argument < bytes[4]; ++argument) {
        const std::size_t value = at + 1;
        const std::size_t length = available < value ? 0 : valueLength(bytes + value, available - value);
        if (length == 0 || available - value < length)
            return request;
        if (argument == 0 && bytes[value] == 3)
            request.property = static_cast<std::uint16_t>(readNumber(bytes + value + 1, 2));
        at = value + length;
    }
    request.length = at;
    return request;
}

bool sendAll(int socket, std::string_view bytes)
{
    while (!bytes.empty()) {
        const ssize_t sent = send(socket, bytes.data(), bytes.size(), MSG_NOSIGNAL);
        if (sent < 0)
            return false;
        bytes.remove_prefix(static_cast<std::size_t>(sent));
    }
    return true;
}

/** All answers are made before the first connection. */
class Answers
{
public:
    explicit Answers(const Pens &pens) : m_other(answerTo(0, 0, pens))
    {
        for (const std::uint32_t code :
             {instruction::kListPages, instruction::kBeginSession, instruction::kGetPage,
              instruction::kGetStyloPages, instruction::kPenLocked})
            m_byInstruction.emplace(code, answerTo(code, 0, pens));
        addProperty(kSmallProperty, pens);
        for (const std::uint16_t property : kCollectedProperties)
            addProperty(property, pens);
    }

    std::string_view find(const Request &request) const
    {
        if (request.instruction == instruction::kGetProperty) {
            const auto found = m_byProperty.find(request.property);
            return found == m_byProperty.end() ? m_other.view() : found->second.view();
        }
        const auto found = m_byInstruction.find(request.instruction);
        return found == m_byInstruction.end() ? m_other.view() : found->second.view();
    }

private:
    void addProperty(std::uint16_t property, const Pens &pens)
    {
        m_byProperty.emplace(property, answerTo(instruction::kGetProperty, property, pens));
    }

    std::map<std::uint32_t, Bytes> m_byInstruction;
    std::map<std::uint16_t, Bytes> m_byProperty;
    Bytes m_other;
};

void servePen(int socket, const Answers &answers)
{
    std::vector<std::uint8_t> received(65536);
    std::size_t held = 0;
    for (;;) {
        const ssize_t count = recv(socket, received.data() + held, received.size() - held, 0);
        if (count <= 0)
            break;
        held += static_cast<std::size_t>(count);
        for (Request request; held > 0; held -= request.length) {
            request = parse(received.data(), held);
            if (request.length == 0)
                break;
            sendAll(socket, answers.find(request));
            std::memmove(received.data(), received.data() + request.length, held - request.length);
        }
    }
    close(socket);
}

/** Reads one message of the client; false if the client closed the connection. */
bool receiveMessage(int socket, std::string &message)
{
    message.clear();
    for (char byte = 0; recv(socket, &byte, 1, 0) == 1;) {
        if (byte == '\0')
            return true;
        message += byte;
    }
    return false;
}

/** Manners: "list" answers with the list; "silent" never answers; "half" stops in the middle of a message;
 * "flood" sends notifications without end. */
void serveRendezvous(int socket, const std::string &manner, std::string_view list)
{
    std::string message;
    while (receiveMessage(socket, message)) {
        if (message != "LIST" || manner == "silent")
            continue;
        if (manner == "half")
            list = list.substr(0, 40);
        sendAll(socket, list);
        while (manner == "flood" && sendAll(socket, std::string_view("RVP1\r\nCOMING\r\n", 15)))
            usleep(1000);
    }
    close(socket);
}

int listenOn(std::uint16_t port)
{
    const int socket = ::socket(AF_INET, SOCK_STREAM, 0);
    const int on = 1;
    setsockopt(socket, SOL_SOCKET, SO_REUSEADDR, &on, sizeof on);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(port);
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    if (bind(socket, reinterpret_cast<sockaddr *>(&address), sizeof address) != 0 || listen(socket, 512) != 0)
        fail("server: port " + std::to_string(port) + " cannot be had: " + std::strerror(errno));
    return socket;
}

std::uint16_t portOf(int socket)
{
    sockaddr_in address{};
    socklen_t length = sizeof address;
    getsockname(socket, reinterpret_cast<sockaddr *>(&address), &length);
    return ntohs(address.sin_port);
}

void acceptOn(int listener, const std::function<void(int)> &serve)
{
    for (;;) {
        const int socket = accept(listener, nullptr, nullptr);
        if (socket < 0)
            continue;
        const int on = 1;
        setsockopt(socket, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
        std::thread(serve, socket).detach();
    }
}

int run(const Settings &settings)
{
    const Pens pens = Pens::from(settings);
    const Answers answers(pens);
    const std::string manner = settings.text("rendezvous", "list");
    const int penListener = listenOn(0);
    const std::uint16_t port = portOf(penListener);
    const Bytes list = penList(pens, port);

    std::thread([&] { acceptOn(penListener, [&](int socket) { servePen(socket, answers); }); }).detach();
    if (manner != "absent") {
        const int listener = listenOn(kRendezvousPort);
        std::thread([&, listener] {
            acceptOn(listener, [&](int socket) { serveRendezvous(socket, manner, list.view()); });
        }).detach();
    }
    tell("port", port);
    fflush(stdout);
    for (char byte = 0; read(STDIN_FILENO, &byte, 1) > 0;) {
    }
    std::_Exit(0);
}

} // namespace
} // namespace zel::bench

int main(int count, char *arguments[])
{
    return zel::bench::run(zel::bench::Settings::fromArguments(count, arguments));
}
