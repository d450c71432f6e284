#include "files/mapped_file.h"

#include <cerrno>
#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>

#include <fmt/format.h>

#include "exit_code.h"
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

MappedFile::MappedFile(const std::string &name)
{
    // A pipe would otherwise be waited for.
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
    m_data = static_cast<const uint8_t *>(data);
    m_size = static_cast<std::size_t>(status.st_size);
}

MappedFile::~MappedFile()
{
    if (m_data)
        munmap(const_cast<uint8_t *>(m_data), m_size);
}

} // namespace penctl
