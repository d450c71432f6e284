#pragma once

#include "host/library.h"
#include "host/pen_finder.h"

namespace penctl {

/** A connection to a pen: from zelConnectPen to zelDisconnectPen. Used by one thread at a time. */
class PenConnection
{
public:
    explicit PenConnection(const DiscoveryHandle &record);
    ~PenConnection();
    PenConnection(const PenConnection &) = delete;
    PenConnection &operator=(const PenConnection &) = delete;

    PenHandle *handle() const { return m_handle; }

private:
    PenHandle *m_handle = nullptr;
};

/** Everything between a command and its pen, taken down in the right order at its end: the library, the pen
 * found, the connection to it. */
class PenSession
{
public:
    explicit PenSession(const PenChoice &choice);

    const PenIdentity &identity() const { return m_pen.identity; }
    PenHandle *handle() const { return m_connection.handle(); }

private:
    Library m_library;
    PresentPen m_pen;
    PenConnection m_connection;
};

} // namespace penctl
