#pragma once

#include "service.h"

#include <iosfwd>

namespace pensim {

// What a person or a script tells a running service, a line at a time. A pen is named by its serial number,
// its id (0x...) or its number in the list.
class Commands
{
public:
    Commands(Service &service, std::ostream &out);

    // Carries the line out and writes what is to be told, then "ok" or "error: ...". Answers false when the
    // service is to end.
    bool run(const std::string &line);

    // The pens, a line each.
    void list();

private:
    Service &m_service;
    std::ostream &m_out;
};

// The serial numbers and ports of a running service as JSON, for scripts.
std::string readyReport(Service &service);

} // namespace pensim
