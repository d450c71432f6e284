#pragma once

#include "server.h"
#include "wire_codec.h"

namespace pensim {

class Pen;

/** How many bytes are kept while a request is not answered yet. */
inline constexpr std::size_t kLongestBacklog = 1 << 20;

/** One host's connection to a pen: answers requests one after the other. */
class PenConnection final : public Connection
{
public:
    using Owner = Pen;
    PenConnection(Socket socket, std::uint64_t number, Pen &pen)
        : Connection(std::move(socket), number), m_pen(pen)
    {
    }

private:
    void received(std::span<const std::uint8_t> bytes) override;
    void left() override;
    void idle() override { answerNext(); }
    void ended() override;
    void failed(const std::string &reason) override;
    void answerNext();

    Pen &m_pen;
    RequestDecoder m_decoder;
    Bytes m_backlog;
    std::size_t m_taken = 0; // from the front of the backlog
};

} // namespace pensim
