#pragma once

#include <cstdint>
#include <span>
#include <string>

namespace penctl {

/** The bytes of a file that is read in parts, without being held in memory: the system brings the parts that
 * are looked at. For files that nobody cuts meanwhile. */
class MappedFile
{
public:
    /** Raises Failure (66) for what cannot be read, and for what is no regular file. */
    explicit MappedFile(const std::string &name);
    ~MappedFile();
    MappedFile(const MappedFile &) = delete;
    MappedFile &operator=(const MappedFile &) = delete;

    std::span<const uint8_t> bytes() const { return {m_data, m_size}; }

private:
    const uint8_t *m_data = nullptr;
    std::size_t m_size = 0;
};

} // namespace penctl
