#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace zel {

/** The set of protocol versions that a pen announces, in the order in which they are first named. */
class PenPspVersions
{
public:
    static constexpr std::uint32_t kUnknown = 0;
    static constexpr std::uint32_t kPsp40 = 6;
    static constexpr std::uint32_t kPsp41 = 7;
    static constexpr std::uint32_t kDfuPsp10 = 9;

    PenPspVersions() = default;
    PenPspVersions(const PenPspVersions &) = default;
    PenPspVersions &operator=(const PenPspVersions &) = default;
    PenPspVersions(PenPspVersions &&) = default; // std::vector moves events when it grows
    PenPspVersions &operator=(PenPspVersions &&) = default;
    virtual ~PenPspVersions();

    /** Adds the version that the announced token names; spaces and letter case do not matter. An unknown
     *  token adds kUnknown. */
    virtual void addFromText(std::string_view token);
    virtual void add(std::uint32_t id);
    virtual bool contains(std::uint32_t id) const;
    /** The versions' names, joined with ", ". */
    virtual std::string toText() const;

    const std::vector<std::uint32_t> &ids() const noexcept { return m_ids; }

private:
    std::vector<std::uint32_t> m_ids;
};

} // namespace zel
