#pragma once

#include "host/dfu_device.h"
#include "host/pen_claim.h"
#include "host/pen_events.h"
#include "host/pen_finder.h"

namespace penctl {

/** The library's firmware-upgrade mode: from zelDfuInit to zelDfuExit. Connections must end before it does.
 */
class DfuLibrary
{
public:
    DfuLibrary();
    ~DfuLibrary();
    DfuLibrary(const DfuLibrary &) = delete;
    DfuLibrary &operator=(const DfuLibrary &) = delete;

    PenEvents &events() { return m_events; }

private:
    PenEvents m_events;
};

/** A connection to a pen in this mode. Every operation raises Failure with the library's code when it fails.
 */
class DfuConnection
{
public:
    explicit DfuConnection(const DiscoveryHandle &record);
    ~DfuConnection();
    DfuConnection(const DfuConnection &) = delete;
    DfuConnection &operator=(const DfuConnection &) = delete;

    DfuStatus status();
    DfuDescriptor descriptor();
    void download(uint16_t number, std::span<const uint8_t> data);
    void clearStatus();
    void abort();
    void resetPort();
    void detach();
    void detachBoot();

private:
    DfuPenHandle *m_handle = nullptr;
};

/** Everything between a command and its pen, taken down in the right order at its end. Raises Failure (75)
 * while another penctl has the pen. */
class DfuSession
{
public:
    explicit DfuSession(const PenChoice &choice);

    const PenIdentity &identity() const { return m_pen.identity; }
    const DiscoveryHandle &record() const { return *m_pen.record; }
    DfuConnection &connection() { return m_connection; }

private:
    DfuLibrary m_library;
    PresentPen m_pen;
    PenClaim m_claim;
    DfuConnection m_connection;
};

} // namespace penctl
