#pragma once

#include "control.h"
#include "http_connection.h"
#include "journal.h"

namespace pensim {

/** The page in a browser on which the pens lie, on the desk or in the drawer. It shows the service as it is
 *  and steers it by the commands of Control. Only programs on this machine reach it, and only those that know
 *  its address, which has a random token; of other pages in a browser it takes nothing. */
class Desk
{
public:
    /** The others outlive the desk. `scenario` is the file that the service started with; empty for the
     *  built-in pens. Throws std::system_error when the port is taken. */
    Desk(Service &service, Control &control, const Journal &journal, std::uint16_t port,
         const std::string &scenario);
    ~Desk();
    Desk(const Desk &) = delete;
    Desk &operator=(const Desk &) = delete;

    std::uint16_t port() const { return m_port; }
    std::string address() const;

private:
    friend class HttpConnection;
    friend class Server<HttpConnection>;

    /** A browser that is told what changes, and what it knows already. */
    struct Stream {
        std::weak_ptr<HttpConnection> connection;
        std::uint64_t version = 0; // of the pens
        std::uint64_t nextLine = 0;
    };
    /** A pen as browsers are told it, and since which version it is so. */
    struct Shown {
        std::string text;
        std::uint64_t version = 0;
    };

    std::optional<Outgoing> connected(std::uint64_t connection);
    void cannotAccept(const std::string &) {}
    HttpResponse answer(const HttpRequest &request);
    void addStream(const std::shared_ptr<HttpConnection> &connection);
    void removeStream(const HttpConnection *connection);

    bool comesFromThePage(const HttpRequest &request) const;
    HttpResponse get(const std::string &name);
    HttpResponse runCommand(const HttpRequest &request);
    HttpResponse scenario();
    HttpResponse commands() const;
    HttpResponse image(const std::string &pen);

    void record(const nlohmann::json &command);
    void tick();
    void refresh();
    void tell(Stream &stream);
    std::string news(Stream &stream);

    Service &m_service;
    Control &m_control;
    const Journal &m_journal;
    const std::string m_token;
    const std::shared_ptr<Server<HttpConnection>> m_server;
    std::uint16_t m_port = 0;

    // Touched on the service's thread:
    asio::steady_timer m_timer;
    bool m_ticking = false;
    std::vector<std::shared_ptr<Stream>> m_streams;
    std::uint64_t m_version = 0;
    std::map<std::uint64_t, Shown> m_pens; // by id
    Shown m_order;
    Shown m_rendezvous;
    std::deque<nlohmann::json> m_commands; // since the pens were loaded
    std::size_t m_commandsLost = 0;
};

} // namespace pensim
