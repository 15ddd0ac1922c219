// A table of speeds: each row times the same work done by this library and by a peer, in turns, and gives the ratio.
//
// Times are processor time of the thread, and each side counts with the best of its repetitions, so neither other
// processes nor a slow moment decide.
#pragma once

#include <algorithm>
#include <array>
#include <benchmark/benchmark.h>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

namespace bench {

using output = std::array<std::uint8_t, 64>;

class comparison {
public:
    // `make_ours` and `make_peers` each set up one side and return a callable that does the work once, into an
    // output. Both have to give the same bytes. Names hold letters, digits, '-', '_' and '/' only.
    void add(const std::string& row, const std::string& peer, std::size_t bytes, auto make_ours, auto make_peers)
    {
        output ours{}, peers{};
        make_ours()(ours);
        make_peers()(peers);
        if (ours != peers) {
            std::fprintf(stderr, "%s: the two sides differ\n", row.c_str());
            std::exit(1);
        }
        rows_.push_back({row + "/" + peer, peer, bytes, true});
        time(rows_.back().name + "/ours", make_ours);
        time(rows_.back().name + "/peer", make_peers);
    }

    void add_alone(const std::string& row, std::size_t bytes, auto make_ours)
    {
        rows_.push_back({row + "/none", "none", bytes, false});
        time(rows_.back().name + "/ours", make_ours);
    }

    // Runs the rows that --benchmark_filter selects and prints the table.
    int run(int argc, char** argv);

private:
    struct row {
        std::string name, peer;
        std::size_t bytes;
        bool has_peer;
    };

    static void time(const std::string& name, auto make)
    {
        benchmark::RegisterBenchmark(name.c_str(), [make](benchmark::State& state) {
            auto work = make();
            output result{};
            for (auto _ : state) {
                work(result);
                benchmark::DoNotOptimize(result);
            }
        });
    }

    std::vector<row> rows_;
};

} // namespace bench
