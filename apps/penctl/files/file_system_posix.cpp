#include "files/file_system.h"

#include <fcntl.h>
#include <sys/stat.h>
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

} // namespace penctl
