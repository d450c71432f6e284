#pragma once

#include "random.h"

#include "zel/zel.h"

#include <cstddef>
#include <vector>

namespace soak {

/** One call that a host makes on a connected pen, with random arguments. It releases what the call hands
 *  out, and throws Failure where the call broke a promise of its own: outputs that are not as its code
 *  says. */
struct HostCall {
    const char *name;
    std::uint32_t (*make)(PenHandle *pen, Random &random);
};

/** Every exported function that takes a connected pen. */
const std::vector<HostCall> &hostCalls();

/** Throws Failure when a host that initialised the library and passes what it should can't get this code. */
void expectPossible(const char *call, std::uint32_t code);

} // namespace soak
