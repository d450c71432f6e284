#include "protocol/frames/protocol_driver.h"

#include "sys/exceptions.h"

namespace zel {

namespace {

// A constant, so that it has no destructor: threads of the host may still retrieve pages while the process
// exits.
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
    // The search starts in the first column of the row; the minor version is ignored.
    std::size_t place = version.major() * kMinors;
    while (m_drivers[place] == nullptr)
        ++place; // the last entry, 1.0, is never null
    return *m_drivers[place];
}

const ProtocolDriverFinder &protocolDriverFinder() noexcept
{
    return kFinder;
}

} // namespace zel
