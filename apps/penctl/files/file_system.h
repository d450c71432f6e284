#pragma once

#include <cstdio>
#include <filesystem>
#include <memory>

namespace penctl {

/** What the standard library has no portable way to do with files. */

struct CloseFile {
    void operator()(std::FILE *file) const { std::fclose(file); }
};
using OpenFile = std::unique_ptr<std::FILE, CloseFile>;

/** Creates a file for writing that must not exist yet, with the access rights of the file that it is to
 * replace, if that exists; null when that fails, with the reason in errno. It can be removed while it is
 * open. */
OpenFile createFile(const std::filesystem::path &path, const std::filesystem::path &replaced);

/** Whether a path names a device whatever folder stands before it ("NUL", "com1.txt"). */
bool isDeviceName(const std::filesystem::path &path);

/** Brings what was written to the disk itself; whether that worked. */
bool flushToDisk(std::FILE *file);

/** Brings a folder's entries (a renamed file) to the disk, where that is a thing to do. */
void flushFolder(const std::filesystem::path &folder);

} // namespace penctl
