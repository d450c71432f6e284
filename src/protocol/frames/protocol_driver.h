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

/** The drivers by protocol version: a flat table with one row per major version, one column per minor.
 *  Any thread. */
class ProtocolDriverFinder
{
public:
    constexpr ProtocolDriverFinder() noexcept = default;
    ProtocolDriverFinder(const ProtocolDriverFinder &) = delete;
    ProtocolDriverFinder &operator=(const ProtocolDriverFinder &) = delete;

    /** A version without a driver of its own gets the next one in the table, so major 0 is served by
     *  1.0. Throws ZELException (without text) on a major of 2 or more. */
    const ClientProtocolDriver &find(const ProtocolVersion &version) const;

private:
    static constexpr std::size_t kMajors = 2;
    static constexpr std::size_t kMinors = 1;

    ClientProtocolDriverV1_0 m_driver1_0;
    std::array<const ClientProtocolDriver *, kMajors * kMinors> m_drivers{nullptr, &m_driver1_0};
};

/** The process's own table, which outlives every thread. */
const ProtocolDriverFinder &protocolDriverFinder() noexcept;

} // namespace zel
