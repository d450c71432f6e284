#pragma once

#include "psp/psp_client_base.h"

#include <cstdint>
#include <memory>
#include <span>
#include <string>

namespace zel {

class PageAddress;

/** The operations of a pen. Each is one exchange, and throws the exceptions of the exchange. Results are
 *  never null pointers.
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

    std::unique_ptr<Value> getValueProperty(std::uint16_t id);
    /** The value is borrowed. */
    std::unique_ptr<Value> setValueProperty(std::uint16_t id, const Value &value);

    void listPages(ResultReader &pages);
    std::unique_ptr<Value> beginSyncSession();
    void getPageStf(ResultReader &strokes, const PageAddress &page, std::uint64_t format,
                    std::uint64_t limit);
    std::unique_ptr<Value> getStyloStf();
    void endSyncSession();
    /** Sets what the pen shows its user: 1 while pages are fetched, then 2 (done) or 3 (failed). */
    std::unique_ptr<Value> setMmiState(std::uint16_t state);
    std::unique_ptr<Value> removePage(const PageAddress &page, std::uint64_t format, std::uint64_t limit);
    std::unique_ptr<Value> clearStrokes(std::uint32_t mode);

    std::unique_ptr<Value> penLocked();
    std::unique_ptr<Value> unlock(std::span<const std::uint8_t> hash);
    std::unique_ptr<Value> setPassword(std::span<const std::uint8_t> hash, const std::string &newPassword);
    std::unique_ptr<Value> getPasswordHint();
    std::unique_ptr<Value> setPasswordHint(const std::string &hint);

    std::unique_ptr<Value> hasEncryptedData();
    std::unique_ptr<Value> getEncryptedData();
    std::unique_ptr<Value> clearEncryptedData();
};

} // namespace zel
