#include "sys/secure_wipe.h"

#include <cstring>

namespace zel {

void secureWipe(void *data, std::size_t size) noexcept
{
    if (size != 0)
        explicit_bzero(data, size);
}

} // namespace zel
