#pragma once

#include "runner/bench.h"

namespace zel::bench {

/** A question adds its results to the report as rows; an exception that it throws becomes a row too. */
struct Question {
    const char *name;
    const char *title;
    void (*ask)(const Bench &bench, Report &report);
};

void askExchanges(const Bench &bench, Report &report);
void askRetrieval(const Bench &bench, Report &report);
void askSelection(const Bench &bench, Report &report);
void askEnumeration(const Bench &bench, Report &report);
void askGrowth(const Bench &bench, Report &report);
void askMemory(const Bench &bench, Report &report);
void askCounts(const Bench &bench, Report &report);
void askCodec(const Bench &bench, Report &report);
void askInternals(const Bench &bench, Report &report);
void askLibrary(const Bench &bench, Report &report);
void askCpp(const Bench &bench, Report &report);

} // namespace zel::bench
