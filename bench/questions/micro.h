#pragma once

#include "runner/bench.h"

#include <map>
#include <string>

namespace zel::bench {

/** One benchmark of a Google Benchmark program: its times in seconds, one for each repetition. */
struct MicroResult {
    std::vector<double> seconds;
    double nodes = 1;
};

/** The benchmarks by name, which includes the size: "sort/zel/40000". */
using MicroResults = std::map<std::string, MicroResult>;

MicroResults runMicro(const Bench &bench, const std::string &program);

} // namespace zel::bench
