#include "support/rendezvous_server.h"

#include <utility>

RendezvousServer::RendezvousServer(Conversation conversation)
    : m_endpoint(m_listener.endpoint()),
      m_conversation(std::move(conversation)),
      m_thread([this] { serve(); })
{
}

RendezvousServer::~RendezvousServer()
{
    {
        const std::lock_guard guard(m_lock);
        m_stopping = true;
    }
    m_thread.join();
}

int RendezvousServer::connections() const
{
    const std::lock_guard guard(m_lock);
    return m_connections;
}

bool RendezvousServer::waitForConnections(int count) const
{
    std::unique_lock guard(m_lock);
    return m_changed.wait_for(guard, std::chrono::seconds(20), [&] { return m_connections >= count; });
}

void RendezvousServer::serve()
{
    for (;;) {
        const loopback::OwnedSocket client = m_listener.accept(20);
        {
            const std::lock_guard guard(m_lock);
            if (client)
                ++m_connections;
            if (m_stopping)
                return;
        }
        m_changed.notify_all();
        if (client)
            m_conversation(client);
    }
}

namespace rendezvous_wire {

std::string message(const std::string &text)
{
    return text + '\0';
}

std::string pen(const std::string &command, const std::string &id, const std::string &port)
{
    return message("RVP1\r\n" + command + "\r\npen-id=" + id + "\r\npen-brand=Inkwell\r\npen-swver=0503\r\n" +
                   "service-port=" + port +
                   "\r\nacc-prot=PSP41\r\npen-vid=1209\r\npen-pid=0001\r\npen-dfu=0\r\n");
}

void enumerate(const loopback::OwnedSocket &client, const std::vector<std::string> &pens)
{
    loopback::receiveExactly(client, kSubscribe.size() + kList.size());
    for (const std::string &each : pens)
        loopback::sendAll(client, each);
    loopback::sendAll(client, message("ENDLIST"));
}

void untilClosed(const loopback::OwnedSocket &client)
{
    loopback::receiveAll(client);
}

} // namespace rendezvous_wire
