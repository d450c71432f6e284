#include "questions/question.h"

namespace zel::bench {

void askEnumeration(const Bench &bench, Report &report)
{
    const Server server(bench, {.count = 500});
    report.add(measurePaired(bench, server, "enumerate", "enumerate")
                   .row("zelInitialize to the 500th arrival", 1.15));
}

} // namespace zel::bench
