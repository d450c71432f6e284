#include "files/files.h"

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

namespace penctl {

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
    struct stat status {
    };
    const bool regular = file >= 0 && fstat(file, &status) == 0 && S_ISREG(status.st_mode);
    // An empty file cannot be mapped.
    m_size = regular ? static_cast<std::size_t>(status.st_size) : 0;
    if (m_size > 0)
        m_data = mmap(nullptr, m_size, PROT_READ, MAP_PRIVATE, file, 0);
    const std::error_code error(errno, std::generic_category());
    if (file >= 0)
        close(file);
    if (file < 0 || m_data == MAP_FAILED)
        failOnReading(name, error.message());
    if (!regular)
        failOnReading(name, "it is not a regular file");
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
