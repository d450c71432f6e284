#pragma once

#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <memory>
#include <optional>
#include <span>
#include <string>

namespace penctl {

/** What the standard library cannot do portably with files, and with names that processes share. */

/** A path from a UTF-8 text. */
inline std::filesystem::path pathFromUtf8(const std::string &text)
{
    return {std::u8string(text.begin(), text.end())};
}

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

/** Flushes what was written to the disk itself. Whether that worked. */
bool flushToDisk(std::FILE *file);

/** Flushes the entries of a folder (a renamed file) to the disk, on platforms that need it. */
void flushFolder(const std::filesystem::path &folder);

/** The bytes of a file, mapped into memory: the system loads the parts that are read. The file must not be
 * shortened meanwhile. */
class MappedFile
{
public:
    /** Raises Failure (66) for what cannot be read, and for what is no regular file. */
    explicit MappedFile(const std::string &name);
    ~MappedFile();
    MappedFile(const MappedFile &) = delete;
    MappedFile &operator=(const MappedFile &) = delete;

    std::span<const uint8_t> bytes() const { return {static_cast<const uint8_t *>(m_data), m_size}; }

private:
    void *m_data = nullptr; // as the system gave it; nobody writes there
    std::size_t m_size = 0;
};

/** A name that one process at a time may have, among all users of the machine. The claim ends with the
 * process at the latest, however that ends. */
class NameClaim
{
public:
    explicit NameClaim(const std::string &name);
    ~NameClaim();
    NameClaim(const NameClaim &) = delete;
    NameClaim &operator=(const NameClaim &) = delete;

    /** Whether another process has the name; false when the claim could not be made at all. */
    bool isTaken() const { return m_taken; }

private:
    std::optional<intptr_t> m_handle;
    bool m_taken = false;
};

} // namespace penctl
