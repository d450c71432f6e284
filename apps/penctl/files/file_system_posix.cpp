#include "files/file_system.h"

#include <fcntl.h>
#include <unistd.h>

namespace penctl {

OpenFile createFile(const std::filesystem::path &path)
{
    return OpenFile(std::fopen(path.c_str(), "wbx"));
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
