#include "support/own_memory.h"

#include <charconv>
#include <cstdlib>
#include <string_view>

#include <fcntl.h>
#include <unistd.h>

namespace zel::test {

namespace {

std::string_view readMaps()
{
    static char s_text[1 << 20];
    const int file = ::open("/proc/self/maps", O_RDONLY | O_CLOEXEC);
    std::size_t length = 0;
    for (ssize_t n = 0; (n = ::read(file, s_text + length, sizeof s_text - length)) > 0;)
        length += static_cast<std::size_t>(n);
    ::close(file);
    if (length == 0 || length == sizeof s_text)
        std::abort(); // what is not known cannot be searched
    return {s_text, length};
}

std::uintptr_t number(std::string_view digits)
{
    std::uintptr_t value = 0;
    std::from_chars(digits.data(), digits.data() + digits.size(), value, 16);
    return value;
}

/** From a line "begin-end rw-p offset device inode   name". */
Region regionOf(std::string_view line)
{
    const std::size_t dash = line.find('-');
    const std::uintptr_t begin = number(line.substr(0, dash));
    const std::uintptr_t end = number(line.substr(dash + 1));
    // NOLINTNEXTLINE(performance-no-int-to-ptr): so the system tells it
    Region region{.bytes = {reinterpret_cast<const std::uint8_t *>(begin), end - begin}, .name = {}};
    const std::size_t name = line.find_last_of(" /") + 1;
    line.substr(name).copy(region.name, sizeof region.name - 1);
    return region;
}

} // namespace

std::size_t writableRegions(std::span<Region> regions) noexcept
{
    std::string_view maps = readMaps();
    std::size_t count = 0;
    while (!maps.empty()) {
        const std::string_view line = maps.substr(0, maps.find('\n'));
        maps.remove_prefix(line.size() + 1);
        if (line.substr(line.find(' ') + 1, 2) != "rw")
            continue;
        if (count == regions.size())
            std::abort();
        regions[count++] = regionOf(line);
    }
    return count;
}

} // namespace zel::test
