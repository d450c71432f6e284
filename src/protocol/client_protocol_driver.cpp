#include "protocol/client_protocol_driver.h"

namespace zel {

std::unique_ptr<RequestEncoder>
ClientProtocolDriverV1_0::createRequestEncoder(const PidgetAddress &address) const
{
    return std::make_unique<RequestEncoderV1_0>(address);
}

std::unique_ptr<ResponseDecoder> ClientProtocolDriverV1_0::createResponseDecoder(std::istream &stream) const
{
    return std::make_unique<ResponseDecoderV1_0>(stream);
}

} // namespace zel
