#include "files/file_system.h"

#include <cstdio>
#include <fcntl.h>
#include <io.h>
#include <sys/stat.h>

namespace penctl {

OpenFile createFile(const std::filesystem::path &path)
{
    const int descriptor =
        _wopen(path.c_str(), _O_CREAT | _O_EXCL | _O_WRONLY | _O_BINARY, _S_IREAD | _S_IWRITE);
    return OpenFile(descriptor < 0 ? nullptr : _fdopen(descriptor, "wb"));
}

bool flushToDisk(std::FILE *file)
{
    return std::fflush(file) == 0 && _commit(_fileno(file)) == 0;
}

void flushFolder(const std::filesystem::path &) {}

} // namespace penctl
