#include "pen/answer.h"

#include <fmt/format.h>

#include "failure.h"
#include "ui/text.h"

namespace penctl {

std::string_view resultWords(uint32_t code)
{
    static constexpr std::pair<uint32_t, std::string_view> kWords[] = {
        {ZEL_OK, "done"},
        {ZEL_ERR_INVALID_ARGUMENT, "the request was not accepted"},
        {ZEL_ERR_PEN_LOCKED, "the pen is locked"},
        {ZEL_ERR_COMMUNICATION, "the connection to the pen failed"},
        {ZEL_ERR_NOT_SUPPORTED, "the pen does not support this"},
        {ZEL_ERR_NOT_INITIALIZED, "the library is not initialised"},
        {ZEL_ERR_ALREADY_INITIALIZED, "the library is initialised already"},
        {ZEL_ERR_VALUE_OUT_OF_RANGE, "the value is out of range"},
        {ZEL_ERR_SYNC_BUSY, "the pen is busy with another retrieval"},
        {ZEL_ERR_DEVICE_NOT_SUPPORTED, "the device is not supported"},
        {ZEL_ERR_UNEXPECTED, "the pen gave no usable answer"},
    };
    for (const auto &[known, words] : kWords)
        if (known == code)
            return words;
    return "unknown result";
}

namespace {

/** The library's own codes are exit codes too; other reasons have exit codes of their own. */
int exitCodeOf(const zelpp::Error &error)
{
    if (error.number() <= ZEL_ERR_UNEXPECTED)
        return static_cast<int>(error.number());
    return error.reason() == zelpp::Errc::noPen ? kNoPen : kInternalError;
}

} // namespace

void failOn(const zelpp::Error &error, std::string_view what, Meaning invalidArgument)
{
    const int code = exitCodeOf(error);
    if (code > static_cast<int>(ZEL_ERR_UNEXPECTED))
        throw Failure(code, fmt::format("{}: {}", what, error.sentence()));
    const bool special = error.number() == ZEL_ERR_INVALID_ARGUMENT && !invalidArgument.empty();
    throw Failure(code, fmt::format("{}: {} ({})", what,
                                    special ? invalidArgument : resultWords(error.number()), code));
}

Reading flagReading(const zelpp::Result<bool> &answer, const char *yes, const char *no)
{
    return readingOf(
        answer, [&](bool flag) { return flag ? yes : no; }, [](bool flag) { return flag; });
}

void requireAnswer(const Reading &reading, std::string_view what)
{
    if (reading.code != ZEL_OK)
        failOn({static_cast<zelpp::Errc>(reading.code), "reading"}, what);
}

std::string readingText(const Reading &reading)
{
    return reading.code == ZEL_OK ? reading.text : fmt::format("({})", resultWords(reading.code));
}

Reading readLocked(const zelpp::Pen &pen)
{
    return flagReading(pen.tryIsLocked(), "locked", "not locked");
}

Reading readPasswordHint(const zelpp::Pen &pen)
{
    return readingOf(
        pen.tryPasswordHint(),
        [](const std::string &hint) { return hint.empty() ? "(none)" : printable(hint); },
        [](const std::string &hint) { return hint; });
}

} // namespace penctl
