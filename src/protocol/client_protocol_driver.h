#pragma once

#include "pages/pidget_address.h"
#include "protocol/protocol_version.h"
#include "protocol/request_encoder.h"
#include "protocol/response_decoder.h"

#include <istream>
#include <memory>

namespace zel {

/** Makes the encoders and decoders of one protocol version. Stateless: any thread. */
class ClientProtocolDriver
{
public:
    constexpr virtual ~ClientProtocolDriver() = default;

    virtual std::unique_ptr<RequestEncoder> createRequestEncoder(const PidgetAddress &address) const = 0;
    /** Reads the whole response at once. */
    virtual std::unique_ptr<ResponseDecoder> createResponseDecoder(std::istream &stream) const = 0;
    virtual ProtocolVersion getVersion() const = 0;
};

class ClientProtocolDriverV1_0 : public ClientProtocolDriver
{
public:
    // NOLINTNEXTLINE(modernize-use-equals-default): GCC 12 would define it too late
    constexpr ~ClientProtocolDriverV1_0() override {}
    std::unique_ptr<RequestEncoder> createRequestEncoder(const PidgetAddress &address) const override;
    std::unique_ptr<ResponseDecoder> createResponseDecoder(std::istream &stream) const override;
    ProtocolVersion getVersion() const override { return kProtocolVersion1_0; }
};

} // namespace zel
