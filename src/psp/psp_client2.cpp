#include "psp/psp_client2.h"

#include "protocol/addresses/page_address.h"
#include "sys/log.h"

namespace zel {

namespace {

/** Makes an instruction code of four characters, the first in the most significant byte. */
consteval std::uint32_t instruction(const char (&characters)[5])
{
    std::uint32_t code = 0;
    for (int i = 0; i < 4; ++i)
        code = code << 8 | static_cast<unsigned char>(characters[i]);
    return code;
}

} // namespace

Value PspClient2::getValueProperty(std::uint16_t id)
{
    // The log text shows the id as a signed number. The request has it unsigned.
    LogDebug("[PspClient2::getValueProperty] ", static_cast<std::int16_t>(id));
    return execute(instruction("R1GP"), id);
}

Value PspClient2::setValueProperty(std::uint16_t id, const Value &value)
{
    LogDebug("[PspClient2::setValueProperty] ", static_cast<std::int16_t>(id));
    // Sends a copy, because copying replaces absent elements by null values.
    return execute(instruction("R1SP"), id, value.copy());
}

void PspClient2::listPages(ResultReader &pages)
{
    executeInto(pages, instruction("U0PI"));
}

Value PspClient2::beginSyncSession()
{
    LogDebug("[PspClient2::beginSyncSession]");
    return execute(instruction("U0YB"));
}

void PspClient2::getPageStf(ResultReader &strokes, const PageAddress &page, std::uint64_t format,
                            std::uint64_t limit)
{
    LogDebug("[PspClient2::getPageStf] PageAddress: ", page.text().view());
    executeInto(strokes, instruction("U0PG"), page.raw(), format, limit);
}

Value PspClient2::getStyloStf()
{
    LogDebug("[PspClient2::getStyloStf]");
    return execute(instruction("U0PY"));
}

void PspClient2::endSyncSession()
{
    LogDebug("[PspClient2::endSyncSession]");
    execute(instruction("U0YE"));
}

Value PspClient2::setMmiState(std::uint16_t state)
{
    LogDebug("[PspClient2::setMmiState] ", state);
    return execute(instruction("R2SM"), state);
}

Value PspClient2::removePage(const PageAddress &page, std::uint64_t format, std::uint64_t limit)
{
    LogDebug(page.text().view()); // only the address; the text is fixed
    return execute(instruction("U0PR"), page.raw(), format, limit);
}

Value PspClient2::clearStrokes(std::uint32_t mode)
{
    LogDebug("[PspClient2::clearStrokes]");
    return execute(instruction("R1DS"), mode);
}

Value PspClient2::penLocked()
{
    LogDebug("[PspClient2::penLocked]");
    return execute(instruction("R1GL"));
}

Value PspClient2::unlock(std::span<const std::uint8_t> hash)
{
    LogDebug("[PspClient2::unlock]");
    return execute(instruction("R1UL"), Value::createSecretBinary(hash));
}

Value PspClient2::setPassword(std::span<const std::uint8_t> hash, const std::string &newPassword)
{
    LogDebug("[PspClient2::setPassword]");
    return execute(instruction("R1PS"), Value::createSecretBinary(hash),
                   Value::createSecretString(newPassword));
}

Value PspClient2::getPasswordHint()
{
    LogDebug("[PspClient2::getPasswordHint]");
    return execute(instruction("R1GT"));
}

Value PspClient2::setPasswordHint(const std::string &hint)
{
    LogDebug("[PspClient2::setPasswordHint]");
    return execute(instruction("R1ST"), Value::createString(hint));
}

// The next three texts end with a blank. They are fixed.

Value PspClient2::hasEncryptedData()
{
    LogDebug("[PspClient2::hasEncryptedData] ");
    return execute(instruction("U0HE"));
}

Value PspClient2::getEncryptedData()
{
    LogDebug("[PspClient2::getEncryptedData] ");
    return execute(instruction("U0PE"));
}

Value PspClient2::clearEncryptedData()
{
    LogDebug("[PspClient2::clearEncryptedData] ");
    return execute(instruction("U0DE"));
}

} // namespace zel
