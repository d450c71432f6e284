#include "files/files.h"

#include <cerrno>
#include <fcntl.h>
#include <io.h>
#include <regex>
#include <system_error>
#include <windows.h>

namespace penctl {

namespace {

std::error_code lastError()
{
    return {static_cast<int>(GetLastError()), std::system_category()};
}

} // namespace

OpenFile createFile(const std::filesystem::path &path, const std::filesystem::path &)
{
    // The file inherits its access rights from its folder. _wopen() has no FILE_SHARE_DELETE.
    const HANDLE handle = CreateFileW(path.c_str(), GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_DELETE,
                                      nullptr, CREATE_NEW, FILE_ATTRIBUTE_NORMAL, nullptr);
    if (handle == INVALID_HANDLE_VALUE) {
        errno = lastError().default_error_condition().value();
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

MappedFile::MappedFile(const std::string &name)
{
    const std::filesystem::path path = pathFromUtf8(name);
    std::error_code ignored;
    if (isDeviceName(path) ||
        (std::filesystem::exists(path, ignored) && !std::filesystem::is_regular_file(path, ignored)))
        failOnReading(name, "it is not a regular file");
    const HANDLE file = CreateFileW(path.c_str(), GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_DELETE, nullptr,
                                    OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
    LARGE_INTEGER size{};
    const bool known = file != INVALID_HANDLE_VALUE && GetFileSizeEx(file, &size) != 0;
    // An empty file cannot be mapped.
    const HANDLE mapping = known && size.QuadPart > 0
                               ? CreateFileMappingW(file, nullptr, PAGE_READONLY, 0, 0, nullptr)
                               : nullptr;
    if (mapping)
        m_data = MapViewOfFile(mapping, FILE_MAP_READ, 0, 0, 0);
    const std::error_code error = lastError();
    if (mapping)
        CloseHandle(mapping); // the view keeps the mapping
    if (file != INVALID_HANDLE_VALUE)
        CloseHandle(file);
    if (m_data)
        m_size = static_cast<std::size_t>(size.QuadPart);
    else if (!known || size.QuadPart > 0)
        failOnReading(name, error.message());
}

MappedFile::~MappedFile()
{
    if (m_data)
        UnmapViewOfFile(m_data);
}

/** Creates a mutex that all sessions see. Nobody waits for it; that it exists is the claim. */
NameClaim::NameClaim(const std::string &name)
{
    const HANDLE handle = CreateMutexA(nullptr, FALSE, ("Global\\" + name).c_str());
    const DWORD error = GetLastError();
    if (handle)
        m_handle = reinterpret_cast<intptr_t>(handle);
    // ERROR_ACCESS_DENIED: it belongs to another user.
    m_taken = error == ERROR_ALREADY_EXISTS || error == ERROR_ACCESS_DENIED;
}

NameClaim::~NameClaim()
{
    if (m_handle)
        CloseHandle(reinterpret_cast<HANDLE>(*m_handle));
}

} // namespace penctl
