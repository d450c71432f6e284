#pragma once

#include "sys/thread.h"

namespace zel {

class RendezvousListener;

/** The ordinary listener's thread: serves again after every rendezvous failure until a stop is
 *  requested. */
class RendezvousThread : public LThread
{
public:
    /** The listener is borrowed and outlives the thread. */
    explicit RendezvousThread(RendezvousListener &listener) : LThread(false), m_listener(&listener) {}

    void run() override;

private:
    void serveOnce();

    RendezvousListener *m_listener;
};

} // namespace zel
