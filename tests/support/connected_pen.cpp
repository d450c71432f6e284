#include "support/connected_pen.h"

#include "net/socket.h"
#include "session/manager.h"

#include <gtest/gtest.h>

namespace zel::test {

InitializedLibrary::InitializedLibrary()
{
    setManager(std::make_unique<CZELManager>());
}

InitializedLibrary::~InitializedLibrary()
{
    EXPECT_EQ(zelExit(), ZEL_OK);
}

DiscoveryRecord arrivalOf(const ScriptedPen &service, std::uint16_t softwareVersion)
{
    return arrivalAt(service.port(), softwareVersion);
}

DiscoveryRecord arrivalAt(std::uint16_t servicePort, std::uint16_t softwareVersion)
{
    DiscoveryRecord record;
    record.kind = ZEL_PEN_ARRIVED;
    record.penId = kPenId;
    record.serial = kPenSerial;
    record.swVersion = softwareVersion;
    record.serviceAddress = net::toNetworkOrder(std::uint32_t{0x7f000001});
    record.servicePort = servicePort;
    return record;
}

ConnectedPen::ConnectedPen(std::uint16_t softwareVersion) : m_softwareVersion(softwareVersion)
{
    connect();
}

ConnectedPen::~ConnectedPen()
{
    EXPECT_EQ(zelDisconnectPen(&m_handle), ZEL_OK);
}

void ConnectedPen::connect()
{
    m_service.then(wire::result(wire::boolean(false))).then(wire::result(wire::short16(m_softwareVersion)));
    const DiscoveryRecord record = arrivalOf(m_service, m_softwareVersion);
    EXPECT_EQ(zelConnectPen(&record, &m_handle), ZEL_OK);
    m_service.forget();
}

void ConnectedPen::reconnect()
{
    EXPECT_EQ(zelDisconnectPen(&m_handle), ZEL_OK);
    m_service.forget();
    connect();
}

} // namespace zel::test
