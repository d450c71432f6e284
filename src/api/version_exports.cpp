#include "zel/zel.h"

#include <cstring>
#include <new>

uint32_t zelGetApiVersion(char **text)
{
    static constexpr char kApiVersion[] = "1.0.0.0_6";
    if (text == nullptr)
        return ZEL_ERR_INVALID_ARGUMENT;
    *text = new (std::nothrow) char[sizeof kApiVersion];
    if (*text == nullptr)
        return ZEL_ERR_UNEXPECTED;
    std::memcpy(*text, kApiVersion, sizeof kApiVersion);
    return ZEL_OK;
}
