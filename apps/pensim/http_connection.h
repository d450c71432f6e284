#pragma once

#include "server.h"

namespace pensim {

/** What a browser's request may grow to. */
inline constexpr std::uint32_t kLongestHttpHeader = 16 << 10;
inline constexpr std::uint64_t kLongestHttpBody = 1 << 20;

struct HttpRequest {
    std::string method;
    std::string target;
    std::string host;
    std::string origin;
    std::string contentType;
    std::string fetchSite; // Sec-Fetch-Site: where the browser says that the request comes from
    std::string body;
};

struct HttpResponse {
    int status = 200;
    std::string type = "text/plain; charset=utf-8";
    std::string body = {};
    std::string fields = {}; // further lines of the header, each with its end
    bool isStream = false;
};

class Desk;

/** A browser's connection. It carries requests one after the other until one asks for the stream of events,
 *  or is refused. */
class HttpConnection final : public Connection
{
public:
    using Owner = Desk;
    HttpConnection(Socket socket, std::uint64_t number, Desk &desk);
    ~HttpConnection() override;

    /** Sends a part of the stream. */
    void sendPart(const std::string &text);
    /** Whether what was sent last has not left yet. */
    bool isBusy() const { return isAnswering(); }

private:
    class Parser;

    void received(std::span<const std::uint8_t> bytes) override;
    void ended() override;
    bool takeRequest();
    void respond(const HttpResponse &response, bool keepAlive);

    Desk &m_desk;
    std::unique_ptr<Parser> m_parser;
    std::string m_input;
    bool m_done = false; // takes no more requests
};

/** The whole response as bytes. */
Bytes encodeHttp(const HttpResponse &response, bool keepAlive);

} // namespace pensim
