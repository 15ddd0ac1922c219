#include "bench/comparison.hpp"

#include <limits>
#include <map>
#include <regex>

namespace bench {
namespace {

// Keeps the best time of each benchmark, in seconds for one run of the work.
class best_times : public benchmark::BenchmarkReporter {
public:
    bool ReportContext(const Context& context) override
    {
        if (!context_printed_) PrintBasicContext(&GetErrorStream(), context);
        context_printed_ = true;
        return true;
    }

    void ReportRuns(const std::vector<Run>& runs) override
    {
        for (const Run& run : runs) {
            if (run.run_type != Run::RT_Iteration || run.iterations == 0) continue;
            const double seconds = run.cpu_accumulated_time / double(run.iterations);
            const auto [best, fresh] = best_.emplace(run.run_name.function_name, seconds);
            if (!fresh) best->second = std::min(best->second, seconds);
        }
    }

    double of(const std::string& name) const
    {
        const auto found = best_.find(name);
        return found == best_.end() ? std::numeric_limits<double>::quiet_NaN() : found->second;
    }

private:
    bool context_printed_ = false;
    std::map<std::string, double> best_;
};

} // namespace

int comparison::run(int argc, char** argv)
{
    // Defaults in front, so that the command line has the last word.
    std::vector<std::string> arguments{argv[0], "--benchmark_repetitions=9", "--benchmark_min_time=0.01",
                                       "--benchmark_enable_random_interleaving=true"};
    arguments.insert(arguments.end(), argv + 1, argv + argc);
    std::vector<char*> pointers;
    for (std::string& argument : arguments)
        pointers.push_back(argument.data());
    int count = int(pointers.size());
    pointers.push_back(nullptr);
    benchmark::Initialize(&count, pointers.data());
    if (benchmark::ReportUnrecognizedArguments(count, pointers.data())) return 1;

    const std::string wanted = benchmark::GetBenchmarkFilter();
    const std::regex filter{wanted.empty() || wanted == "all" ? "." : wanted};
    best_times times;
    std::printf("%-44s %12s %12s %8s\n", "row/peer", "ours MB/s", "peer MB/s", "ratio");
    for (const row& r : rows_) {
        if (!std::regex_search(r.name, filter)) continue;
        benchmark::RunSpecifiedBenchmarks(&times, "^" + r.name + "/(ours|peer)$"); // only these two take turns
        const auto speed = [&](const char* side) { return double(r.bytes) / 1e6 / times.of(r.name + side); };
        if (r.has_peer) {
            std::printf("%-44s %12.1f %12.1f %8.2f\n", r.name.c_str(), speed("/ours"), speed("/peer"),
                        speed("/ours") / speed("/peer"));
        } else {
            std::printf("%-44s %12.1f %12s %8s\n", r.name.c_str(), speed("/ours"), "-", "-");
        }
        std::fflush(stdout);
    }
    benchmark::Shutdown();
    return 0;
}

} // namespace bench
