#include "host/library.h"

#include "host/result.h"

namespace penctl {

Library::Library()
{
    const uint32_t code = zelInitialize(&PenEvents::announce, &PenEvents::announce, &m_events);
    if (code != ZEL_OK)
        zelExit(); // A listener that did not start leaves the library initialised.
    check(code, "cannot start the library");
}

Library::~Library()
{
    zelExit();
}

} // namespace penctl
