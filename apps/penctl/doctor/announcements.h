#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "doctor/loopback.h"

namespace penctl {

inline constexpr uint16_t kRendezvousPort = 3715;

/** Which pens the pen service is asked for. */
enum class PenMode { Ordinary, FirmwareUpgrade };

/** One message of the pen service's list, and what the library reads in it (docs/protocols.md). */
struct Announcement {
    explicit Announcement(std::string message);

    bool isOfPen() const;
    /** The pen's serial text; of an identity that has none, the identity; "unknown" where there is no pen. */
    std::string name() const;
    /** What the library makes of the message when it cannot use it; empty when it can. */
    std::string fault() const;
    /** Whether the fault makes the library drop the whole list. */
    bool spoilsList() const;
    /** Whether the library supports a pen of these protocols and this software version. */
    bool isSupported() const;

    std::string text; // as it came, without the zero byte
    uint64_t penId = 0;
    std::string brand;
    uint16_t softwareVersion = 0;
    std::vector<std::string> protocols; // in capitals, without blanks
    uint16_t vendorId = 0;
    uint16_t productId = 0;
    bool firmwareUpgrade = false;
    uint16_t servicePort = 0;
};

/** The answer to the request for a list. */
struct PenListing {
    enum class State {
        Refused,       // nothing listens
        Unreachable,   // or the connection failed in another way
        Silent,        // no answer within the limit
        Closed,        // the connection was closed without an answer
        OtherProtocol, // the answer is none
        Unfinished,    // the list has no end
        Whole,
    };
    State state = State::Unreachable;
    std::vector<Announcement> announcements;
    /** What came and is no list, or the system's words; shortened. */
    std::string detail;
};

/** Asks the pen service for the list as the library does, without the library. */
PenListing listPens(PenMode mode, Limit limit);

} // namespace penctl
