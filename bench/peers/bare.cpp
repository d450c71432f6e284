// The bare client: makes the same exchanges as the library, byte for byte, with nothing but send and recv. No
// library can be faster; this is what ours is compared with.
//
//   zel_bench_bare WORK port=PORT pens=N pages=N size=BYTES exchanges=N
//
// Works: exchanges, large-exchanges, retrieve, list, enumerate, arrival.

#include "common/canned.h"
#include "common/measured.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <thread>

namespace zel::bench {
namespace {

int connectTo(std::uint16_t port)
{
    const int socket = ::socket(AF_INET, SOCK_STREAM, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(port);
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    if (connect(socket, reinterpret_cast<sockaddr *>(&address), sizeof address) != 0)
        fail("bare client: port " + std::to_string(port) + ": " + std::strerror(errno));
    return socket;
}

void sendOnce(int socket, const Bytes &request)
{
    if (send(socket, request.data(), request.size(), MSG_NOSIGNAL) != static_cast<ssize_t>(request.size()))
        fail("bare client: send failed");
}

/** One block of bytes that doubles when it is full. */
class GrowingBlock
{
public:
    ~GrowingBlock() { std::free(m_bytes); }

    /** Room for that many bytes. added() then says how many of them were written. */
    char *room(std::size_t count)
    {
        if (m_size + count > m_capacity) {
            m_capacity = std::max<std::size_t>(65536, 2 * (m_size + count));
            m_bytes = static_cast<char *>(std::realloc(m_bytes, m_capacity));
        }
        return m_bytes + m_size;
    }
    void added(std::size_t count) { m_size += count; }

    void append(const char *bytes, std::size_t count)
    {
        std::memcpy(room(count), bytes, count);
        added(count);
    }

    std::size_t size() const { return m_size; }

private:
    char *m_bytes = nullptr;
    std::size_t m_size = 0;
    std::size_t m_capacity = 0;
};

/** A request and the length of its answer; both are known in advance. */
struct Exchange {
    Bytes request;
    std::size_t answerLength;
};

Exchange plainExchange(std::uint32_t code, const Pens &pens)
{
    return {Bytes().u32(code).u8(0), answerTo(code, 0, pens).size()};
}

Exchange getProperty(std::uint16_t id)
{
    return {Bytes().u32(instruction::kGetProperty).u8(1).u8(0).shortValue(id),
            answerTo(instruction::kGetProperty, id, {}).size()};
}

Exchange setMmiState(std::uint16_t state)
{
    return {Bytes().u32(instruction::kSetMmiState).u8(1).u8(0).shortValue(state),
            answerTo(instruction::kSetMmiState, 0, {}).size()};
}

/** The address, at kPageAddressAt, is filled in page by page. */
Exchange getPage(const Pens &pens)
{
    Bytes request;
    request.u32(instruction::kGetPage).u8(3);
    request.u8(0).longValue(0).u8(1).longValue(2).u8(2).longValue(0x7fffffffffffffff);
    return {request, answerTo(instruction::kGetPage, 0, pens).size()};
}
constexpr std::size_t kPageAddressAt = 7;

class BareClient
{
public:
    explicit BareClient(std::uint16_t port) : m_socket(connectTo(port))
    {
        const int on = 1;
        setsockopt(m_socket, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
    }

    void exchange(const Exchange &exchange)
    {
        sendOnce(m_socket, exchange.request);
        for (std::size_t missing = exchange.answerLength; missing > 0;)
            missing -= receive();
    }

    /** Keeps what follows the first bytes of the answer. If at least a buffer's size of it is still to come,
     * it is received directly into its final place. */
    void fetch(const Exchange &exchange, std::size_t skip, GrowingBlock &kept)
    {
        sendOnce(m_socket, exchange.request);
        for (std::size_t missing = exchange.answerLength; missing > 0;) {
            if (skip == 0 && missing >= sizeof m_buffer) {
                const std::size_t count = receive(kept.room(missing), missing);
                kept.added(count);
                missing -= count;
                continue;
            }
            const std::size_t count = receive();
            const std::size_t skipped = std::min(skip, count);
            kept.append(m_buffer + skipped, count - skipped);
            skip -= skipped;
            missing -= count;
        }
    }

private:
    std::size_t receive() { return receive(m_buffer, sizeof m_buffer); }

    std::size_t receive(char *target, std::size_t length)
    {
        const ssize_t count = recv(m_socket, target, length, 0);
        if (count <= 0)
            fail("bare client: recv failed");
        return static_cast<std::size_t>(count);
    }

    int m_socket;
    char m_buffer[4096];
};

/** All exchanges of a retrieval of every page. */
class Retrieval
{
public:
    explicit Retrieval(const Pens &pens)
        : m_pens(pens), m_page(getPage(pens)), m_pageHeader(m_page.answerLength - strokesOf(pens).size())
    {
        m_before = {plainExchange(instruction::kBeginSession, pens), setMmiState(1),
                    plainExchange(instruction::kListPages, pens)};
        m_after = {plainExchange(instruction::kGetStyloPages, pens)};
        for (const std::uint16_t id : kCollectedProperties)
            m_after.push_back(getProperty(id));
        m_after.push_back(plainExchange(instruction::kEndSession, pens));
        m_after.push_back(setMmiState(2));
    }

    void run(BareClient &client, GrowingBlock &strokes)
    {
        for (const Exchange &exchange : m_before)
            client.exchange(exchange);
        for (std::uint32_t i = 0; i < m_pens.pages; ++i) {
            m_page.request.overwrite64(kPageAddressAt, pageAddress(i));
            client.fetch(m_page, m_pageHeader, strokes);
        }
        for (const Exchange &exchange : m_after)
            client.exchange(exchange);
    }

private:
    const Pens m_pens;
    Exchange m_page;
    std::size_t m_pageHeader;
    std::vector<Exchange> m_before;
    std::vector<Exchange> m_after;
};

/** Reads one message of the rendezvous server, one byte per recv: it ends with a NUL, and nothing after that
 * may be read. */
bool readMessage(int socket, char (&message)[1024])
{
    for (std::size_t at = 0;; ++at) {
        if (recv(socket, message + std::min(at, sizeof message - 1), 1, 0) != 1)
            fail("bare client: the rendezvous server left");
        if (message[std::min(at, sizeof message - 1)] == '\0')
            return std::strncmp(message, "ENDLIST", 7) != 0;
    }
}

/** Subscribes, asks for the list and reads that many messages of it. */
void listPens(std::uint32_t messages)
{
    const int socket = connectTo(kRendezvousPort);
    sendOnce(socket, Bytes().raw("RVA1\r\nsubscribe=RVP\r\n").u8(0));
    sendOnce(socket, Bytes().raw("LIST").u8(0));
    char message[1024];
    for (std::uint32_t i = 0; i < messages && readMessage(socket, message); ++i) {
    }
}

template <class Work>
void measure(const Settings &settings, Work work)
{
    Measured measured(settings);
    work();
    measured.stop();
}

void repeat(BareClient &client, const Exchange &exchange, const Settings &settings)
{
    const std::uint64_t count = settings.number("exchanges", 1);
    measure(settings, [&] {
        for (std::uint64_t i = 0; i < count; ++i)
            client.exchange(exchange);
    });
}

/** Sends a certificate of about 6,000 bytes, in the two parts that the library's 4,096-byte buffer makes of
 * it. */
void repeatLarge(BareClient &client, const Settings &settings)
{
    const std::uint64_t count = settings.number("exchanges", 1);
    constexpr std::size_t kBuffer = 4096;
    Bytes request;
    request.u32(instruction::kSetProperty).u8(2).u8(0).shortValue(0x2209).u8(1);
    request.binaryValue(std::string(6000, 'c'));
    const Exchange first{Bytes().raw(request.view().substr(0, kBuffer)), 0};
    const Exchange second{Bytes().raw(request.view().substr(kBuffer)),
                          answerTo(instruction::kSetProperty, 0, {}).size()};
    measure(settings, [&] {
        for (std::uint64_t i = 0; i < count; ++i) {
            client.exchange(first);
            client.exchange(second);
        }
    });
}

void retrieve(BareClient &client, const Pens &pens, const Settings &settings)
{
    Retrieval retrieval(pens);
    GrowingBlock strokes;
    measure(settings, [&] { retrieval.run(client, strokes); });
    if (strokes.size() != std::size_t{pens.pages} * pens.pageSize)
        fail("bare client: strokes are missing");
}

void run(const Settings &settings)
{
    const Pens pens = Pens::from(settings);
    const std::string work = settings.text("work", "");
    if (work == "enumerate")
        return measure(settings, [&] { listPens(pens.count); });
    if (work == "arrival")
        return measure(settings, [&] { listPens(1); });

    BareClient client(static_cast<std::uint16_t>(settings.number("port", 0)));
    if (work == "exchanges")
        return repeat(client, getProperty(kSmallProperty), settings);
    if (work == "large-exchanges")
        return repeatLarge(client, settings);
    if (work == "retrieve")
        return retrieve(client, pens, settings);
    if (work == "list")
        return repeat(client, plainExchange(instruction::kListPages, pens), settings);
    fail("bare client: no such work: " + work);
}

/** Gives the process a second thread, which waits. Whoever hears of pens while it talks to one has such a
 * thread, and pays for it: the system then counts the references to a descriptor in each call, and each call
 * of the C library becomes one that can be cancelled. */
void waitOnSecondThread()
{
    std::thread([] {
        for (;;)
            pause();
    }).detach();
}

} // namespace
} // namespace zel::bench

int main(int count, char *arguments[])
{
    zel::bench::waitOnSecondThread();
    zel::bench::run(zel::bench::Settings::fromArguments(count, arguments));
    return 0;
}
