#pragma once

#include "fuzz/fuzz_target.h"

#include <cstddef>
#include <string>
#include <vector>

namespace zel::fuzz {

/** What the peer does next: it gives bytes, at most so many in one receive, and then how it goes on. */
struct PeerStep {
    enum class Then { GoOn, Close, Reset, TimeOut, RefuseConnect, RefuseSend };

    static constexpr std::size_t kAnyNumber = 0;

    Input bytes;
    Then then = Then::GoOn;
    std::size_t atMost = kAnyNumber;
};

/** Steps as an input describes them, each as one byte (its low 3 bits what comes then, the others the most
 *  bytes of one receive), the count of its bytes in two, and the bytes. */
std::vector<PeerStep> stepsFrom(Input script);

/** The other end of every socket that the library opens while this lives: the fuzz programs are linked with
 *  sockets that ask it what happens. A connection goes through the steps from where the one before it got to,
 *  and ends with the step that ends it; after the last step there is nobody. One at a time, one thread. */
class FakePeer
{
public:
    explicit FakePeer(std::vector<PeerStep> steps);
    ~FakePeer();
    FakePeer(const FakePeer &) = delete;
    FakePeer &operator=(const FakePeer &) = delete;

    /** All that was sent to it. */
    const std::string &sent() const noexcept { return m_sent; }
    /** Sockets that the library has created and not closed. */
    int openSockets() const noexcept { return m_openSockets; }

    // For the sockets. Results are those of zel::net.
    int open() noexcept;
    int connect() noexcept;
    int send(const char *data, std::size_t length) noexcept;
    int receive(char *data, std::size_t length) noexcept;
    int close() noexcept;

private:
    PeerStep::Then comesNext() noexcept;

    std::vector<PeerStep> m_steps;
    std::size_t m_step = 0;
    PeerStep::Then m_ended = PeerStep::Then::Close;
    std::string m_sent;
    int m_openSockets = 0;
    int m_sockets = 0;
};

} // namespace zel::fuzz
