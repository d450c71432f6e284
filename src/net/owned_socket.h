#pragma once

#include "net/socket.h"

#include <utility>

namespace zel::net {

/** Owns a socket and closes it in its destructor, like std::unique_ptr. One thread at a time. */
class OwnedSocket
{
public:
    OwnedSocket() = default;
    explicit OwnedSocket(SocketHandle handle) noexcept : m_handle(handle) {}
    OwnedSocket(OwnedSocket &&other) noexcept : m_handle(other.release()) {}
    OwnedSocket &operator=(OwnedSocket &&other) noexcept
    {
        if (this != &other)
            reset(other.release());
        return *this;
    }
    ~OwnedSocket() { reset(); }

    SocketHandle get() const noexcept { return m_handle; }
    explicit operator bool() const noexcept { return m_handle != kNoSocket; }
    SocketHandle release() noexcept { return std::exchange(m_handle, kNoSocket); }

    void reset(SocketHandle handle = kNoSocket) noexcept
    {
        if (m_handle != kNoSocket)
            close(m_handle);
        m_handle = handle;
    }

private:
    SocketHandle m_handle = kNoSocket;
};

} // namespace zel::net
