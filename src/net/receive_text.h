#pragma once

#include <cstddef>
#include <span>

namespace zel::net {

/** What recvText() does, with the system's own call for one byte: it returns 1, or what recvText() then
 *  returns. Compiled into each platform's sockets, because it runs for every byte of a message. */
template <class ReceiveByte>
int receiveText(std::span<char> buffer, ReceiveByte receiveByte) noexcept
{
    const std::size_t last = buffer.size() - 1;
    for (std::size_t length = 0;;) {
        char &byte = buffer[length];
        const int received = receiveByte(&byte);
        if (received <= 0)
            return received;
        if (byte == '\0')
            return static_cast<int>(length) + 1;
        if (length < last)
            ++length;
    }
}

} // namespace zel::net
