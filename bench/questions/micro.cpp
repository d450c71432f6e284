#include "questions/micro.h"

#include <nlohmann/json.hpp>

namespace zel::bench {

MicroResults runMicro(const Bench &bench, const std::string &program)
{
    const Output output =
        runProgram({bench.program(program), "--benchmark_format=json", "--benchmark_min_time=0.05",
                    "--benchmark_repetitions=" + std::to_string(bench.rounds()),
                    "--benchmark_enable_random_interleaving=true"});
    MicroResults results;
    const nlohmann::json all = nlohmann::json::parse(output.text);
    for (const nlohmann::json &run : all["benchmarks"]) {
        if (run["run_type"].get<std::string>() != "iteration")
            continue;
        if (run.contains("error_message"))
            throw std::runtime_error(run["error_message"].get<std::string>());
        MicroResult &result = results[run["run_name"].get<std::string>()];
        result.seconds.push_back(run["cpu_time"].get<double>() * 1e-9);
        if (run.contains("nodes"))
            result.nodes = run["nodes"].get<double>();
    }
    return results;
}

} // namespace zel::bench
