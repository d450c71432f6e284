#pragma once

#include "protocol/addresses/pidget_address.h"
#include "protocol/frames/protocol_version.h"
#include "protocol/frames/request_encoder.h"
#include "protocol/frames/response_decoder.h"

#include <array>
#include <cstddef>
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

/** Finds the driver for a protocol version: a table with a row for each major version and a column for each
 *  minor. Any thread. */
class ProtocolDriverFinder
{
public:
    constexpr ProtocolDriverFinder() noexcept = default;
    ProtocolDriverFinder(const ProtocolDriverFinder &) = delete;
    ProtocolDriverFinder &operator=(const ProtocolDriverFinder &) = delete;

    /** A version without a driver of its own gets the next driver in the table: versions 0.x get that of 1.0.
     *  Throws ZELException (without text) when the major version is 2 or more. */
    const ClientProtocolDriver &find(const ProtocolVersion &version) const;

private:
    static constexpr std::size_t kMajors = 2;
    static constexpr std::size_t kMinors = 1;

    ClientProtocolDriverV1_0 m_driver1_0;
    std::array<const ClientProtocolDriver *, kMajors * kMinors> m_drivers{nullptr, &m_driver1_0};
};

/** The table of the process. It is never destroyed. */
const ProtocolDriverFinder &protocolDriverFinder() noexcept;

} // namespace zel
