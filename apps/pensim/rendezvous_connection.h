#pragma once

#include "rendezvous.h"
#include "server.h"

namespace pensim {

/** A client's messages are short; one that never ends is no client. */
inline constexpr std::size_t kLongestMessage = 4096;

/** One client's connection to the rendezvous server. */
class RendezvousConnection final : public Connection
{
public:
    using Owner = Rendezvous;
    RendezvousConnection(Socket socket, std::uint64_t number, Rendezvous &rendezvous)
        : Connection(std::move(socket), number), m_rendezvous(rendezvous)
    {
    }

    Subscription subscription() const { return m_subscription; }

private:
    void received(std::span<const std::uint8_t> bytes) override;
    void ended() override;
    void failed(const std::string &reason) override;
    Pieces pieces() const override;
    void handle(const std::string &message);

    Rendezvous &m_rendezvous;
    Subscription m_subscription = Subscription::none;
    std::string m_message;
};

} // namespace pensim
