#pragma once

#include "host/pen_events.h"

namespace penctl {

/** The initialised library: from zelInitialize to zelExit. Connections must end before it does. */
class Library
{
public:
    Library();
    ~Library();
    Library(const Library &) = delete;
    Library &operator=(const Library &) = delete;

    PenEvents &events() { return m_events; }

private:
    PenEvents m_events;
};

} // namespace penctl
