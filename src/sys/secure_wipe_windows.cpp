#include "sys/secure_wipe.h"

#define WIN32_LEAN_AND_MEAN
#include <windows.h>

namespace zel {

void secureWipe(void *data, std::size_t size) noexcept
{
    SecureZeroMemory(data, size);
}

} // namespace zel
