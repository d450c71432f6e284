#include "host/dfu_session.h"

#include <fmt/format.h>

#include "exit_code.h"
#include "host/result.h"
#include "ui/printable.h"

namespace penctl {

DfuLibrary::DfuLibrary()
{
    const uint32_t code = zelDfuInit(&m_events, &PenEvents::announce, &PenEvents::announce);
    if (code != ZEL_OK)
        zelDfuExit(); // A listener that did not start leaves the mode initialised.
    check(code, "cannot start the library's firmware-upgrade mode");
}

DfuLibrary::~DfuLibrary()
{
    zelDfuExit();
}

DfuConnection::DfuConnection(const DiscoveryHandle &record)
{
    const uint32_t code = zelDfuConnectPen(&m_handle, &record);
    if (code != ZEL_OK)
        zelDfuDisconnectPen(&m_handle); // A failed connect may leave a handle too.
    check(code, "cannot connect to the pen");
}

DfuConnection::~DfuConnection()
{
    zelDfuDisconnectPen(&m_handle);
}

DfuStatus DfuConnection::status()
{
    DfuStatusRecord record{};
    check(zelDfuGetStatus(m_handle, record.data()), "cannot read the status",
          "the pen gave no status record");
    return parseDfuStatus(record);
}

DfuDescriptor DfuConnection::descriptor()
{
    DfuDescriptorRecord record{};
    check(zelDfuGetFunctionalDescriptor(m_handle, record.data()), "cannot read the descriptor",
          "the pen gave no functional descriptor");
    return parseDfuDescriptor(record);
}

void DfuConnection::download(uint16_t number, std::span<const uint8_t> data)
{
    check(zelDfuDownload(m_handle, makeDfuBlock(number, data).data()), "cannot send a block",
          "the pen did not take it");
}

void DfuConnection::clearStatus()
{
    check(zelDfuClearStatus(m_handle), "cannot clear the status", "the pen did not answer");
}

void DfuConnection::abort()
{
    check(zelDfuAbort(m_handle), "cannot abort", "the pen did not answer");
}

void DfuConnection::resetPort()
{
    check(zelDfuResetPort(m_handle), "cannot reset the port", "the pen did not answer");
}

void DfuConnection::detach()
{
    check(zelDfuDetach(m_handle), "cannot detach", "the pen did not answer");
}

void DfuConnection::detachBoot()
{
    check(zelDfuDetachBoot(m_handle), "cannot detach to the boot loader", "the pen did not answer");
}

namespace {

const DiscoveryHandle &unlessTaken(const PresentPen &pen, const PenClaim &claim)
{
    if (claim.isTaken())
        throw Failure(
            kPenTaken,
            fmt::format("another penctl works on pen {}; asking the pen now could break an upgrade off",
                        printable(pen.identity.serial)));
    return *pen.record;
}

} // namespace

DfuSession::DfuSession(const PenChoice &choice)
    : m_pen(findPen(m_library.events(), choice)),
      m_claim(m_pen.identity.penId),
      m_connection(unlessTaken(m_pen, m_claim))
{
}

} // namespace penctl
