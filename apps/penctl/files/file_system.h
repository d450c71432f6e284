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

/** Creates a file for writing that must not exist yet; null when that fails, with the reason in errno. */
OpenFile createFile(const std::filesystem::path &path);

/** Brings what was written to the disk itself; whether that worked. */
bool flushToDisk(std::FILE *file);

/** Brings a folder's entries (a renamed file) to the disk, where that is a thing to do. */
void flushFolder(const std::filesystem::path &folder);

} // namespace penctl
