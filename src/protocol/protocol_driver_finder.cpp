#include "protocol/protocol_driver_finder.h"

#include "sys/exceptions.h"

#include <utility>

namespace zel {

const ClientProtocolDriver &ProtocolDriverFinder::find(const ProtocolVersion &version)
{
    std::call_once(m_filled, [this] { fill(); });
    if (version.major() >= kMajors)
        throw ZELException();
    // Whatever the minor version, the search starts at its row's first column.
    std::size_t place = version.major() * kMinors;
    while (!m_drivers[place])
        ++place; // ends at the latest on 1.0, in the last place
    return *m_drivers[place];
}

void ProtocolDriverFinder::fill()
{
    auto driver = std::make_unique<ClientProtocolDriverV1_0>();
    const ProtocolVersion version = driver->getVersion();
    m_drivers[version.major() * kMinors + version.minor()] = std::move(driver);
}

ProtocolDriverFinder &protocolDriverFinder()
{
    static ProtocolDriverFinder finder;
    return finder;
}

} // namespace zel
