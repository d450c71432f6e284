#pragma once

#include "random.h"

#include "pensim/service.h"

#include <atomic>

namespace soak {

/** The pen service of a round: random pens, and everything that can go wrong with them. It never stays
 *  silent where a host would wait for ever: what is not answered is closed. */
class PenWorld
{
public:
    explicit PenWorld(Random &random);

    /** Disturbs pens and rendezvous at random moments until told to end. */
    void disturb(Random random, const std::atomic<bool> &end);
    /** Everything as it should be, all pens docked and unlocked, none with less than a page. */
    void calmDown();

    std::vector<std::uint64_t> penIds();
    /** Strokes that every pen holds after calmDown(). */
    static pensim::Bytes knownStrokes();

private:
    void disturbOnce(Random &random);
    void disturbPen(Random &random, pensim::Pen &pen);
    void disturbRendezvous(Random &random);

    pensim::Service m_service;
};

} // namespace soak
