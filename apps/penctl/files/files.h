#pragma once

#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "ui/interrupt.h"

namespace penctl {

/** What the standard library cannot do, or not portably, with files, and with names that processes share. */

/** The whole of a file, or of standard input for "-". Raises Failure (66) for one that is longer than the
 * limit or unreadable. */
std::vector<uint8_t> readWholeFile(const std::string &name, std::size_t limit);

struct CloseFile {
    void operator()(std::FILE *file) const { std::fclose(file); }
};
using OpenFile = std::unique_ptr<std::FILE, CloseFile>;

/** A file that gets its name only when it is complete: it is written under another name in the same folder,
 * flushed to the disk, and renamed by publish(). Until then an older file of that name stays unchanged.
 * Without publish(), or after an interruption, nothing is left. */
class AtomicFile
{
public:
    /** Creates the file, so that a folder without write access fails before the work is done. */
    explicit AtomicFile(const std::string &name);
    ~AtomicFile();
    AtomicFile(const AtomicFile &) = delete;
    AtomicFile &operator=(const AtomicFile &) = delete;

    void write(std::span<const uint8_t> bytes);
    void publish();

private:
    void removeTemporary() const;
    [[noreturn]] void giveUp(const std::string &reason) const;

    std::filesystem::path m_target;
    std::filesystem::path m_temporary;
    std::optional<OnInterrupt> m_onInterrupt;
    OpenFile m_file;
};

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

/** What the classes above are made with. */

/** A path from a UTF-8 text. */
inline std::filesystem::path pathFromUtf8(const std::string &text)
{
    return {std::u8string(text.begin(), text.end())};
}

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

/** Raises Failure (66): "cannot read pages.zel: it is not a regular file". */
[[noreturn]] void failOnReading(const std::string &name, const std::string &reason);

} // namespace penctl
