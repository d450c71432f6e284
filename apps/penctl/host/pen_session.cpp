#include "host/pen_session.h"

#include "host/result.h"

namespace penctl {

PenConnection::PenConnection(const DiscoveryHandle &record)
{
    const uint32_t code = zelConnectPen(&record, &m_handle);
    if (code != ZEL_OK)
        zelDisconnectPen(&m_handle); // A failed connect may leave a handle too.
    check(code, "cannot connect to the pen");
}

PenConnection::~PenConnection()
{
    zelDisconnectPen(&m_handle);
}

PenSession::PenSession(const PenChoice &choice)
    : m_pen(findPen(m_library.events(), choice)), m_connection(*m_pen.record)
{
}

} // namespace penctl
