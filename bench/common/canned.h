#pragma once

#include "common/bytes.h"
#include "common/settings.h"

#include <cstdint>
#include <string>
#include <vector>

namespace zel::bench {

/** What the pens of a run hold. The server makes its answers of it, and the bare client knows it too. */
struct Pens {
    std::uint32_t count = 1;
    std::uint32_t pages = 0;
    std::uint32_t pageSize = 0;
    /** plain: strokes as pens write them; nested: binaries within binaries to the last byte;
     *  almost: an encoded list of lists that is valid except for a wrong type near its end. */
    std::string strokes = "plain";

    static Pens from(const Settings &settings);
    /** The same as arguments for the command line of another program. */
    std::vector<std::string> words() const;
};

namespace instruction {
inline constexpr std::uint32_t kGetProperty = 0x52314750;
inline constexpr std::uint32_t kSetProperty = 0x52315350;
inline constexpr std::uint32_t kListPages = 0x55305049;
inline constexpr std::uint32_t kBeginSession = 0x55305942;
inline constexpr std::uint32_t kGetPage = 0x55305047;
inline constexpr std::uint32_t kGetStyloPages = 0x55305059;
inline constexpr std::uint32_t kEndSession = 0x55305945;
inline constexpr std::uint32_t kSetMmiState = 0x5232534d;
inline constexpr std::uint32_t kPenLocked = 0x5231474c;
} // namespace instruction

inline constexpr std::uint16_t kRendezvousPort = 3715;
inline constexpr std::uint16_t kSoftwareVersion = 0x0600;
/** The property of the small exchange: a short. */
inline constexpr std::uint16_t kSmallProperty = 0x202a;

/** The properties that a retrieval reads in addition to the pages, in the order in which it reads them. */
inline constexpr std::uint16_t kCollectedProperties[] = {0x0022, 0x0001, 0x0021, 0x2009, 0x200a,
                                                         0x200b, 0x200c, 0x0023, 0x0024, 0x001f};

/** Raw address of a page; ascending. */
std::uint64_t pageAddress(std::uint32_t index);
/** The address as texts show it. */
std::string pageAddressText(std::uint32_t index);

/** The strokes of each page; all pages of a run hold the same. */
std::string strokesOf(const Pens &pens);

/** The whole answer to an instruction; `property` matters only for kGetProperty. */
Bytes answerTo(std::uint32_t instruction, std::uint16_t property, const Pens &pens);

/** The answer of the rendezvous server to a request for the list. */
Bytes penList(const Pens &pens, std::uint16_t servicePort);

} // namespace zel::bench
