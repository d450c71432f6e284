#include "questions/question.h"

namespace zel::bench {

void askSelection(const Bench &bench, Report &report)
{
    const Pens pens{.pages = 8'000, .pageSize = 200};
    const Server server(bench, pens);
    report.add(
        measurePaired(bench, server, "select", "retrieve").row("all of 8,000 pages, each named", 1.25));
    // In this list every page's address is only a part of a longer one, so each has to be searched for.
    report.add(measurePaired(bench, server, "select-longer", "retrieve")
                   .row("all of 8,000 pages, each within a longer address", 1.40));
    // The bare client only fetches the list; the library also makes a text of it.
    report.add(
        measurePaired(bench, server, "list", "list").row("zelGetPageList of 8,000 pages", std::nullopt));
}

} // namespace zel::bench
