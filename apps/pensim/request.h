#pragma once

#include "value.h"

#include <string_view>

namespace pensim {

/** An instruction code from its four characters: fourCc("R1GP"). */
constexpr std::uint32_t fourCc(std::string_view text)
{
    std::uint32_t code = 0;
    for (const char character : text)
        code = code << 8 | static_cast<std::uint8_t>(character);
    return code;
}

struct Argument {
    std::uint8_t index = 0;
    Value value;
};

/** One instruction as it arrived. */
struct Request {
    std::uint32_t code = 0;
    std::vector<Argument> arguments; // in order of arrival

    /** The value under an index; the null value when the request has none. */
    Value argument(std::uint8_t index) const
    {
        for (const Argument &argument : arguments)
            if (argument.index == index)
                return argument.value;
        return Value::null();
    }
};

namespace instruction {
inline constexpr std::uint32_t getProperty = fourCc("R1GP");
inline constexpr std::uint32_t setProperty = fourCc("R1SP");
inline constexpr std::uint32_t listPages = fourCc("U0PI");
inline constexpr std::uint32_t beginSyncSession = fourCc("U0YB");
inline constexpr std::uint32_t endSyncSession = fourCc("U0YE");
inline constexpr std::uint32_t getPage = fourCc("U0PG");
inline constexpr std::uint32_t getStylo = fourCc("U0PY");
inline constexpr std::uint32_t setMmiState = fourCc("R2SM");
inline constexpr std::uint32_t removePage = fourCc("U0PR");
inline constexpr std::uint32_t clearStrokes = fourCc("R1DS");
inline constexpr std::uint32_t lockStatus = fourCc("R1GL");
inline constexpr std::uint32_t unlock = fourCc("R1UL");
inline constexpr std::uint32_t setPassword = fourCc("R1PS");
inline constexpr std::uint32_t getHint = fourCc("R1GT");
inline constexpr std::uint32_t setHint = fourCc("R1ST");
inline constexpr std::uint32_t hasEncryptedData = fourCc("U0HE");
inline constexpr std::uint32_t getEncryptedData = fourCc("U0PE");
inline constexpr std::uint32_t clearEncryptedData = fourCc("U0DE");
inline constexpr std::uint32_t dfuDetach = fourCc("V000");
inline constexpr std::uint32_t dfuDetachBoot = fourCc("V001");
inline constexpr std::uint32_t dfuFunctionalDescriptor = fourCc("V002");
inline constexpr std::uint32_t dfuDownload = fourCc("V003");
inline constexpr std::uint32_t dfuGetStatus = fourCc("V005");
inline constexpr std::uint32_t dfuClearStatus = fourCc("V006");
inline constexpr std::uint32_t dfuAbort = fourCc("V007");
inline constexpr std::uint32_t dfuGetState = fourCc("V008");
inline constexpr std::uint32_t dfuResetPort = fourCc("V009");
} // namespace instruction

namespace status {
// Fixed by the protocol.
inline constexpr std::int32_t unknownInstruction = -9001;
inline constexpr std::int32_t locked = -9003;
inline constexpr std::int32_t propertyRefused = -4013;

// This service's own: hosts take any other negative number as a plain failure.
inline constexpr std::int32_t noSuchPage = -4001;
inline constexpr std::int32_t noSession = -4002;
inline constexpr std::int32_t badArguments = -4003;
inline constexpr std::int32_t stalled = -4004; // a firmware-upgrade request that the state does not allow
} // namespace status

} // namespace pensim
