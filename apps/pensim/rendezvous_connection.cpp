#include "rendezvous_connection.h"

#include <utility>

namespace pensim {

namespace {

Subscription subscriptionOf(std::string_view message)
{
    if (message.starts_with("RVA1\r\nsubscribe=RVP\r\n"))
        return Subscription::ordinary;
    if (message.starts_with("DVA1\r\nsubscribe=DVP\r\n"))
        return Subscription::dfu;
    return Subscription::none;
}

} // namespace

void RendezvousConnection::received(std::span<const std::uint8_t> bytes)
{
    for (const std::uint8_t byte : bytes) {
        if (byte != 0)
            m_message += static_cast<char>(byte);
        else
            handle(std::exchange(m_message, {}));
        if (!isOpen())
            return;
        if (m_message.size() > kLongestMessage) {
            fail("sent a message that is too long");
            return;
        }
    }
}

void RendezvousConnection::handle(const std::string &message)
{
    m_rendezvous.received(number(), message);
    if (isDeaf())
        return;
    if (const Subscription wanted = subscriptionOf(message); wanted != Subscription::none) {
        m_subscription = wanted;
        m_rendezvous.subscriptionsChanged();
    } else if (message == "LIST") {
        send(m_rendezvous.listAnswer(m_subscription));
    }
}

void RendezvousConnection::ended()
{
    m_rendezvous.subscriptionsChanged();
}

void RendezvousConnection::failed(const std::string &reason)
{
    m_rendezvous.gaveUp(number(), reason);
}

Connection::Pieces RendezvousConnection::pieces() const
{
    return {m_rendezvous.m_fragment, m_rendezvous.m_fragmentPause};
}

} // namespace pensim
