#pragma once

#include "psp/psp_client_base.h"

#include <cstdint>
#include <span>
#include <string>

namespace zel {

class PageAddress;

/** The operations of a pen. Each is one exchange, and throws the exceptions of the exchange. Results are
 *  never absent.
 *
 *      const auto brand = client.getValueProperty(property::PEN_BRAND);
 */
class PspClient2 : public PspClientBase
{
public:
    using PspClientBase::PspClientBase;

    /** The limit to pass when a page's strokes may have any size. */
    static constexpr std::uint64_t kNoLimit = 0x7fffffffffffffff;
    static constexpr std::uint64_t kStrokeFormat = 2;

    Value getValueProperty(std::uint16_t id);
    /** The value is borrowed. */
    Value setValueProperty(std::uint16_t id, const Value &value);

    void listPages(ResultReader &pages);
    Value beginSyncSession();
    void getPageStf(ResultReader &strokes, const PageAddress &page, std::uint64_t format,
                    std::uint64_t limit);
    Value getStyloStf();
    void endSyncSession();
    /** Sets what the pen shows its user: 1 while pages are fetched, then 2 (done) or 3 (failed). */
    Value setMmiState(std::uint16_t state);
    Value removePage(const PageAddress &page, std::uint64_t format, std::uint64_t limit);
    Value clearStrokes(std::uint32_t mode);

    Value penLocked();
    Value unlock(std::span<const std::uint8_t> hash);
    Value setPassword(std::span<const std::uint8_t> hash, const std::string &newPassword);
    Value getPasswordHint();
    Value setPasswordHint(const std::string &hint);

    Value hasEncryptedData();
    Value getEncryptedData();
    Value clearEncryptedData();
};

} // namespace zel
