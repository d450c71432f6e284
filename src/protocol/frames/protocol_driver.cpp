#include "protocol/frames/protocol_driver.h"

#include "sys/exceptions.h"

namespace zel {

namespace {

// A constant: a host's threads may still retrieve pages while the process ends.
constexpr ProtocolDriverFinder kFinder;

} // namespace

std::unique_ptr<RequestEncoder>
ClientProtocolDriverV1_0::createRequestEncoder(const PidgetAddress &address) const
{
    return std::make_unique<RequestEncoderV1_0>(address);
}

std::unique_ptr<ResponseDecoder> ClientProtocolDriverV1_0::createResponseDecoder(std::istream &stream) const
{
    return std::make_unique<ResponseDecoderV1_0>(stream);
}

const ClientProtocolDriver &ProtocolDriverFinder::find(const ProtocolVersion &version) const
{
    if (version.major() >= kMajors)
        throw ZELException();
    // Whatever the minor version, the search starts at its row's first column.
    std::size_t place = version.major() * kMinors;
    while (m_drivers[place] == nullptr)
        ++place; // ends at the latest on 1.0, in the last place
    return *m_drivers[place];
}

const ProtocolDriverFinder &protocolDriverFinder() noexcept
{
    return kFinder;
}

} // namespace zel
