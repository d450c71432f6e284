#include "host/result.h"

#include <fmt/format.h>
#include <zel/zel.h>

namespace penctl {

std::string_view resultWords(uint32_t code)
{
    switch (code) {
    case ZEL_OK:
        return "done";
    case ZEL_ERR_INVALID_ARGUMENT:
        return "the request was not accepted";
    case ZEL_ERR_PEN_LOCKED:
        return "the pen is locked";
    case ZEL_ERR_COMMUNICATION:
        return "the connection to the pen failed";
    case ZEL_ERR_NOT_SUPPORTED:
        return "the pen does not support this";
    case ZEL_ERR_NOT_INITIALIZED:
        return "the library is not initialised";
    case ZEL_ERR_ALREADY_INITIALIZED:
        return "the library is initialised already";
    case ZEL_ERR_VALUE_OUT_OF_RANGE:
        return "the value is out of range";
    case ZEL_ERR_SYNC_BUSY:
        return "the pen is busy with another retrieval";
    case ZEL_ERR_DEVICE_NOT_SUPPORTED:
        return "the device is not supported";
    case ZEL_ERR_UNEXPECTED:
        return "the pen gave no usable answer";
    default:
        return "unknown result";
    }
}

std::string failureText(uint32_t code, std::string_view what, Meaning invalidArgument)
{
    const bool special = code == ZEL_ERR_INVALID_ARGUMENT && !invalidArgument.empty();
    return fmt::format("{}: {} ({})", what, special ? invalidArgument : resultWords(code), code);
}

void check(uint32_t code, std::string_view what, Meaning invalidArgument)
{
    if (code != ZEL_OK)
        throw Failure(static_cast<int>(code), failureText(code, what, invalidArgument));
}

} // namespace penctl
