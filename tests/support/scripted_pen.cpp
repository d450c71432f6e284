#include "support/scripted_pen.h"

#include <asio.hpp>

#include <algorithm>
#include <atomic>
#include <condition_variable>
#include <deque>
#include <future>
#include <map>
#include <mutex>
#include <optional>
#include <set>
#include <string>
#include <thread>

namespace zel::test {

namespace {

/** Reads the frame of a request far enough to find its end. */
class FrameScanner
{
public:
    explicit FrameScanner(const Bytes &bytes) : m_bytes(bytes) {}

    /** The length of the request at the start of the bytes; nothing while it is incomplete. */
    std::optional<std::size_t> requestLength()
    {
        constexpr std::size_t kInstructionCode = 4;
        skip(kInstructionCode);
        for (std::uint64_t arguments = number(1); arguments > 0 && m_complete; --arguments) {
            skip(1);
            skipValue();
        }
        return m_complete ? std::optional(m_position) : std::nullopt;
    }

private:
    void skip(std::uint64_t count)
    {
        m_complete = m_complete && count <= m_bytes.size() - m_position;
        if (m_complete)
            m_position += static_cast<std::size_t>(count);
    }

    std::uint64_t number(std::size_t width)
    {
        const std::size_t start = m_position;
        skip(width);
        std::uint64_t value = 0;
        for (std::size_t i = start; m_complete && i < start + width; ++i)
            value = value << 8 | m_bytes[i];
        return value;
    }

    void skipValue()
    {
        switch (number(1)) {
        case 1:
        case 2:
            return skip(1);
        case 3:
            return skip(2);
        case 4:
            return skip(4);
        case 5:
            return skip(8);
        case 6:
            return skip(number(2));
        case 7:
            return skip(number(4));
        case 8:
            for (std::uint64_t elements = number(2); elements > 0 && m_complete; --elements)
                skipValue();
            return;
        default:
            return;
        }
    }

    const Bytes &m_bytes;
    std::size_t m_position = 0;
    bool m_complete = true;
};

} // namespace

class ScriptedPen::Service
{
public:
    Service() : m_acceptor(m_io, {asio::ip::address_v4::loopback(), 0})
    {
        accept();
        m_thread = std::thread([this] { m_io.run(); });
    }

    ~Service()
    {
        m_io.stop();
        m_thread.join();
    }

    std::uint16_t port() const { return m_port; }

    /** Runs an action on the service's thread and waits for it. */
    template <class Action>
    void onThread(Action action)
    {
        std::promise<void> done;
        asio::post(m_io, [&] {
            action();
            done.set_value();
        });
        done.get_future().wait();
    }

    void stopListening()
    {
        asio::error_code ignored;
        m_acceptor.close(ignored);
        dropConnections();
    }

    void dropConnections()
    {
        for (const auto &connection : std::set(m_connections))
            end(connection, Answer::Then::Close);
    }

    mutable std::mutex mutex;
    mutable std::condition_variable changed;
    std::deque<Answer> script;
    std::map<std::string, Answer, std::less<>> standing;
    std::vector<Bytes> requests;
    std::size_t accepted = 0;
    bool closeOnAccept = false;
    bool lastClosed = false;

private:
    struct Connection {
        explicit Connection(asio::ip::tcp::socket accepted)
            : socket(std::move(accepted)), timer(socket.get_executor())
        {
        }
        asio::ip::tcp::socket socket;
        asio::steady_timer timer;
        Bytes received;
        Bytes chunk = Bytes(65536);
        std::size_t number = 0;
    };
    using ConnectionPtr = std::shared_ptr<Connection>;

    void accept()
    {
        m_acceptor.async_accept([this](asio::error_code error, asio::ip::tcp::socket socket) {
            if (error)
                return;
            welcome(std::make_shared<Connection>(std::move(socket)));
            accept();
        });
    }

    void welcome(const ConnectionPtr &connection)
    {
        connection->socket.set_option(asio::ip::tcp::no_delay(true));
        m_connections.insert(connection);
        bool close = false;
        {
            const std::lock_guard lock(mutex);
            connection->number = ++accepted;
            lastClosed = false;
            close = closeOnAccept;
        }
        if (close)
            end(connection, Answer::Then::Close);
        else
            receive(connection);
    }

    void receive(const ConnectionPtr &connection)
    {
        connection->socket.async_read_some(
            asio::buffer(connection->chunk), [this, connection](asio::error_code error, std::size_t count) {
                if (error)
                    return end(connection, Answer::Then::Close);
                connection->received.insert(connection->received.end(), connection->chunk.begin(),
                                            connection->chunk.begin() + static_cast<std::ptrdiff_t>(count));
                serve(connection);
            });
    }

    void serve(const ConnectionPtr &connection)
    {
        const auto length = FrameScanner(connection->received).requestLength();
        if (!length)
            return receive(connection);
        const auto end = connection->received.begin() + static_cast<std::ptrdiff_t>(*length);
        const Bytes request(connection->received.begin(), end);
        connection->received.erase(connection->received.begin(), end);

        auto answer = std::make_shared<Answer>(answerTo(request));
        answer->bytes.resize(std::min(answer->bytes.size(), answer->cutAfter));
        if (answer->delay.count() == 0)
            return respond(connection, answer);
        connection->timer.expires_after(answer->delay);
        connection->timer.async_wait([this, connection, answer](asio::error_code error) {
            if (!error)
                respond(connection, answer);
        });
    }

    Answer answerTo(const Bytes &request)
    {
        const std::lock_guard lock(mutex);
        requests.push_back(request);
        if (!script.empty()) {
            Answer answer = std::move(script.front());
            script.pop_front();
            return answer;
        }
        // Of two beginnings that fit the longer one comes later.
        const auto found = std::find_if(standing.rbegin(), standing.rend(), [&](const auto &each) {
            return std::string_view(reinterpret_cast<const char *>(request.data()), request.size())
                .starts_with(each.first);
        });
        return found != standing.rend() ? found->second : closing();
    }

    void respond(const ConnectionPtr &connection, const std::shared_ptr<Answer> &answer)
    {
        asio::async_write(connection->socket, asio::buffer(answer->bytes),
                          [this, connection, answer](asio::error_code error, std::size_t) {
                              if (error || answer->then != Answer::Then::Stay)
                                  return end(connection, answer->then);
                              serve(connection);
                          });
    }

    void end(const ConnectionPtr &connection, Answer::Then how)
    {
        if (m_connections.erase(connection) == 0)
            return;
        asio::error_code ignored;
        if (how == Answer::Then::Reset)
            connection->socket.set_option(asio::socket_base::linger(true, 0), ignored);
        connection->socket.close(ignored);
        const std::lock_guard lock(mutex);
        if (connection->number == accepted)
            lastClosed = true;
        changed.notify_all();
    }

    asio::io_context m_io{1};
    asio::ip::tcp::acceptor m_acceptor;
    std::uint16_t m_port = m_acceptor.local_endpoint().port();
    std::set<ConnectionPtr> m_connections;
    std::thread m_thread;
};

ScriptedPen::ScriptedPen() : m_service(std::make_unique<Service>()) {}

ScriptedPen::~ScriptedPen() = default;

std::uint16_t ScriptedPen::port() const
{
    return m_service->port();
}

ScriptedPen &ScriptedPen::then(Answer answer)
{
    const std::lock_guard lock(m_service->mutex);
    m_service->script.push_back(std::move(answer));
    return *this;
}

ScriptedPen &ScriptedPen::always(std::string_view beginning, Answer answer)
{
    const std::lock_guard lock(m_service->mutex);
    m_service->standing[std::string(beginning)] = std::move(answer);
    return *this;
}

void ScriptedPen::closeOnAccept(bool close)
{
    const std::lock_guard lock(m_service->mutex);
    m_service->closeOnAccept = close;
}

void ScriptedPen::stopListening()
{
    m_service->onThread([this] { m_service->stopListening(); });
}

void ScriptedPen::dropConnections()
{
    m_service->onThread([this] { m_service->dropConnections(); });
}

std::vector<Bytes> ScriptedPen::requests() const
{
    const std::lock_guard lock(m_service->mutex);
    return m_service->requests;
}

std::vector<std::string> ScriptedPen::instructions() const
{
    std::vector<std::string> codes;
    for (const Bytes &request : requests())
        codes.emplace_back(request.begin(), request.begin() + 4);
    return codes;
}

void ScriptedPen::forget()
{
    const std::lock_guard lock(m_service->mutex);
    m_service->requests.clear();
    m_service->script.clear();
}

std::size_t ScriptedPen::connections() const
{
    const std::lock_guard lock(m_service->mutex);
    return m_service->accepted;
}

bool ScriptedPen::waitUntilClosed() const
{
    std::unique_lock lock(m_service->mutex);
    return m_service->changed.wait_for(lock, std::chrono::seconds(2),
                                       [this] { return m_service->lastClosed; });
}

} // namespace zel::test
