#include "http_connection.h"

#include "desk.h"

// The only source that includes this: it takes seconds to compile.
#include <boost/beast/http/parser.hpp>
#include <boost/beast/http/string_body.hpp>
#include <fmt/format.h>

namespace pensim {

namespace {

namespace http = boost::beast::http;

// The page loads nothing from elsewhere, runs no script but its own and is shown in no frame; nobody keeps
// what it got.
constexpr const char *kSafeguards =
    "Content-Security-Policy: default-src 'none'; script-src 'self'; style-src 'self'; img-src 'self'; "
    "connect-src 'self'; base-uri 'none'; form-action 'none'; frame-ancestors 'none'\r\n"
    "X-Content-Type-Options: nosniff\r\n"
    "Referrer-Policy: no-referrer\r\n"
    "Cross-Origin-Opener-Policy: same-origin\r\n"
    "Cross-Origin-Resource-Policy: same-origin\r\n"
    "Cache-Control: no-store\r\n";

HttpResponse refusal(const boost::system::error_code &error)
{
    const bool isLong = error == http::error::header_limit;
    const bool isLarge = error == http::error::body_limit;
    return {.status = isLong ? 431 : (isLarge ? 413 : 400), .body = error.message() + "\n"};
}

} // namespace

class HttpConnection::Parser : public http::request_parser<http::string_body>
{
public:
    Parser()
    {
        eager(true);
        header_limit(kLongestHttpHeader);
        body_limit(kLongestHttpBody);
    }

    HttpRequest request()
    {
        const auto field = [&](auto name) { return std::string(get()[name]); };
        return {std::string(get().method_string()),
                std::string(get().target()),
                field(http::field::host),
                field(http::field::origin),
                field(http::field::content_type),
                field("Sec-Fetch-Site"),
                std::move(get().body())};
    }
};

Bytes encodeHttp(const HttpResponse &response, bool keepAlive)
{
    std::string text = fmt::format(
        "HTTP/1.1 {} {}\r\n{}Content-Type: {}\r\n{}", response.status,
        std::string(http::obsolete_reason(http::int_to_status(static_cast<unsigned>(response.status)))),
        kSafeguards, response.type, response.fields);
    if (!response.isStream)
        text += fmt::format("Content-Length: {}\r\n", response.body.size());
    if (!keepAlive)
        text += "Connection: close\r\n";
    text += "\r\n" + response.body;
    return {text.begin(), text.end()};
}

HttpConnection::HttpConnection(Socket socket, std::uint64_t number, Desk &desk)
    : Connection(std::move(socket), number), m_desk(desk), m_parser(std::make_unique<Parser>())
{
}

HttpConnection::~HttpConnection() = default;

void HttpConnection::received(std::span<const std::uint8_t> bytes)
{
    if (m_done || isDeaf())
        return;
    m_input.append(bytes.begin(), bytes.end());
    while (isOpen() && !m_done && takeRequest()) {
    }
}

// Answers one request; false when the rest of it is still to come.
bool HttpConnection::takeRequest()
{
    if (m_input.empty())
        return false;
    boost::system::error_code error;
    m_input.erase(0, m_parser->put(boost::asio::buffer(m_input), error));
    if (error && error != http::error::need_more) {
        respond(refusal(error), false);
        return false;
    }
    if (!m_parser->is_done())
        return false;
    const bool keepAlive = m_parser->keep_alive();
    const HttpResponse response = m_desk.answer(m_parser->request());
    m_parser = std::make_unique<Parser>();
    respond(response, keepAlive && response.status < 400);
    return true;
}

// A stream goes on until one of the two closes.
void HttpConnection::respond(const HttpResponse &response, bool keepAlive)
{
    m_done = response.isStream || !keepAlive;
    send({{}, encodeHttp(response, !m_done), m_done && !response.isStream ? Ending::close : Ending::none});
    if (response.isStream)
        m_desk.addStream(std::static_pointer_cast<HttpConnection>(shared_from_this()));
}

void HttpConnection::sendPart(const std::string &text)
{
    guarded([&] { send({{}, Bytes(text.begin(), text.end()), Ending::none}); });
}

void HttpConnection::ended()
{
    m_desk.removeStream(this);
}

} // namespace pensim
