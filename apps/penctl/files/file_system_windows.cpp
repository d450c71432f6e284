#include "files/file_system.h"

#include <cerrno>
#include <cstdio>
#include <fcntl.h>
#include <io.h>
#include <regex>
#include <system_error>
#include <windows.h>

namespace penctl {

OpenFile createFile(const std::filesystem::path &path, const std::filesystem::path &)
{
    // The file gets its access rights from its folder. _wopen() could not share it for removal.
    const HANDLE handle = CreateFileW(path.c_str(), GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_DELETE,
                                      nullptr, CREATE_NEW, FILE_ATTRIBUTE_NORMAL, nullptr);
    if (handle == INVALID_HANDLE_VALUE) {
        errno = std::error_code(static_cast<int>(GetLastError()), std::system_category())
                    .default_error_condition()
                    .value();
        return nullptr;
    }
    const int descriptor = _open_osfhandle(reinterpret_cast<intptr_t>(handle), _O_WRONLY | _O_BINARY);
    return OpenFile(descriptor < 0 ? nullptr : _fdopen(descriptor, "wb"));
}

bool isDeviceName(const std::filesystem::path &path)
{
    static const std::wregex kDevices(
        L"(CON|PRN|AUX|NUL|CONIN\\$|CONOUT\\$|(COM|LPT)[0-9\u00b9\u00b2\u00b3]) *([.:].*)?",
        std::regex::icase);
    return std::regex_match(path.filename().wstring(), kDevices);
}

bool flushToDisk(std::FILE *file)
{
    return std::fflush(file) == 0 && _commit(_fileno(file)) == 0;
}

void flushFolder(const std::filesystem::path &) {}

} // namespace penctl
