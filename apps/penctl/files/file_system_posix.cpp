#include "files/file_system.h"

#include <cerrno>
#include <cstddef>
#include <cstring>
#include <fcntl.h>
#include <sys/mman.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <system_error>
#include <unistd.h>

#include <fmt/format.h>

#include "failure.h"
#include "ui/printable.h"

namespace penctl {

namespace {

[[noreturn]] void failOn(const std::string &name, const std::string &reason)
{
    throw Failure(kNoInput, fmt::format("cannot read {}: {}", printable(name), reason));
}

std::string systemReason()
{
    return std::generic_category().message(errno);
}

} // namespace

OpenFile createFile(const std::filesystem::path &path, const std::filesystem::path &replaced)
{
    OpenFile file(std::fopen(path.c_str(), "wbxe"));
    struct stat before {
    };
    if (file && stat(replaced.c_str(), &before) == 0)
        fchmod(fileno(file.get()), before.st_mode & 07777);
    return file;
}

bool isDeviceName(const std::filesystem::path &)
{
    return false;
}

bool flushToDisk(std::FILE *file)
{
    return std::fflush(file) == 0 && fsync(fileno(file)) == 0;
}

void flushFolder(const std::filesystem::path &folder)
{
    const int descriptor = open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (descriptor < 0)
        return;
    fsync(descriptor);
    close(descriptor);
}

MappedFile::MappedFile(const std::string &name)
{
    // O_NONBLOCK: opening a pipe would wait for a writer.
    const int file = open(name.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
    if (file < 0)
        failOn(name, systemReason());
    struct stat status {
    };
    void *data = MAP_FAILED;
    const bool regular = fstat(file, &status) == 0 && S_ISREG(status.st_mode);
    if (regular && status.st_size > 0)
        data = mmap(nullptr, static_cast<std::size_t>(status.st_size), PROT_READ, MAP_PRIVATE, file, 0);
    const std::string reason = regular ? systemReason() : "it is not a regular file";
    close(file);
    if (regular && status.st_size == 0)
        return;
    if (data == MAP_FAILED)
        failOn(name, reason);
    m_data = data;
    m_size = static_cast<std::size_t>(status.st_size);
}

MappedFile::~MappedFile()
{
    if (m_data)
        munmap(m_data, m_size);
}

/** Binds a socket in the abstract namespace: it needs no file, all users share it, and it belongs to the
 * network namespace, as the address of the pen service does. */
NameClaim::NameClaim(const std::string &name)
{
    const int handle = socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    if (handle < 0)
        return;
    m_handle = handle;
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    std::memcpy(address.sun_path + 1, name.data(), name.size());
    const auto length = static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + 1 + name.size());
    m_taken = bind(handle, reinterpret_cast<const sockaddr *>(&address), length) != 0 && errno == EADDRINUSE;
}

NameClaim::~NameClaim()
{
    if (m_handle)
        close(static_cast<int>(*m_handle));
}

} // namespace penctl
