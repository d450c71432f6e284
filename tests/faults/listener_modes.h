#pragma once

#include "rendezvous/rendezvous_listener.h"

#include "zel/zel.h"

#include <cstdint>
#include <gtest/gtest.h>
#include <iosfwd>

namespace faults {

/** The modes differ in what holds their listener. */
struct ListenerMode {
    const char *name;
    /** What its thread logs first. */
    const char *started;
    /** The library as initialised, with a listener for this server. */
    zel::RendezvousListener &(*create)(const zel::net::Endpoint &);
    /** Once all is set, with this callback for arrivals and departures; the server is the usual one. */
    std::uint32_t (*initialise)(PenArrivedCallback announced);
    std::uint32_t (*exit)();
};

extern const ListenerMode kPens;
extern const ListenerMode kFirmware;

void PrintTo(const ListenerMode &mode, std::ostream *out);
std::string nameOfMode(const testing::TestParamInfo<ListenerMode> &mode);

} // namespace faults
