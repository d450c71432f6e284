#include "files/mapped_file.h"

#include <system_error>
#include <windows.h>

#include <fmt/format.h>

#include "exit_code.h"
#include "failure.h"
#include "files/atomic_file.h"
#include "ui/printable.h"

namespace penctl {

namespace {

/** With the reason of the call that failed last. */
[[noreturn]] void failOn(const std::string &name)
{
    const std::error_code error(static_cast<int>(GetLastError()), std::system_category());
    throw Failure(kNoInput, fmt::format("cannot read {}: {}", printable(name), error.message()));
}

} // namespace

MappedFile::MappedFile(const std::string &name)
{
    const std::filesystem::path path = pathFromUtf8(name);
    std::error_code ignored;
    if (isDeviceName(path) ||
        (std::filesystem::exists(path, ignored) && !std::filesystem::is_regular_file(path, ignored)))
        throw Failure(kNoInput, fmt::format("cannot read {}: it is not a regular file", printable(name)));
    const HANDLE file = CreateFileW(path.c_str(), GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_DELETE, nullptr,
                                    OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
    if (file == INVALID_HANDLE_VALUE)
        failOn(name);
    LARGE_INTEGER size{};
    const bool known = GetFileSizeEx(file, &size) != 0;
    // A mapping of no bytes cannot be made.
    const HANDLE mapping = known && size.QuadPart > 0
                               ? CreateFileMappingW(file, nullptr, PAGE_READONLY, 0, 0, nullptr)
                               : nullptr;
    if (mapping)
        m_data = static_cast<const uint8_t *>(MapViewOfFile(mapping, FILE_MAP_READ, 0, 0, 0));
    if (m_data)
        m_size = static_cast<std::size_t>(size.QuadPart);
    const DWORD error = GetLastError();
    if (mapping)
        CloseHandle(mapping); // the view keeps it
    CloseHandle(file);
    SetLastError(error);
    if (!m_data && !(known && size.QuadPart == 0))
        failOn(name);
}

MappedFile::~MappedFile()
{
    if (m_data)
        UnmapViewOfFile(m_data);
}

} // namespace penctl
