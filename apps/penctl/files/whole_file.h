#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "files/file_system.h"
#include "ui/interrupt.h"

namespace penctl {

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

/** The whole of a file, or of standard input for "-". Raises Failure (66) for one that is longer than the
 * limit or unreadable. */
std::vector<uint8_t> readWholeFile(const std::string &name, std::size_t limit);

} // namespace penctl
