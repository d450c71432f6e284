#pragma once

#include <cstdint>
#include <string>

/** Two hosts in sources of their own: one in C++17, one without exceptions. */

/** Fetches every page of a pen; tells how many there were. */
std::size_t cpp17HostFetches(const std::string &serial);

/** What a host without exceptions gets to know of a pen. */
struct PenWithoutExceptions {
    std::string serial;
    std::size_t pages = 0;
    std::uint32_t failure = 0; // of fetching a page that the pen does not have
    std::string sentence;
};
PenWithoutExceptions noExceptionsHostFetches();
