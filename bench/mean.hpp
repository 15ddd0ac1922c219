// For work that is a matter of luck, as the search for primes: each side counts with the mean of many runs, in turns.
#pragma once

#include <benchmark/benchmark.h>
#include <cmath>
#include <cstdio>
#include <ctime>
#include <regex>
#include <string>

namespace bench {

inline double thread_seconds()
{
    timespec now{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
    return double(now.tv_sec) + double(now.tv_nsec) / 1e9;
}

class mean {
public:
    void add(double x)
    {
        ++count_;
        sum_ += x;
        squares_ += x * x;
    }
    double value() const { return sum_ / count_; }
    // The relative standard error.
    double error() const { return std::sqrt((squares_ / count_ / value() / value() - 1) / count_); }

private:
    double count_ = 0, sum_ = 0, squares_ = 0;
};

// Whether --benchmark_filter selects a row that stands outside of the table; after comparison::run().
inline bool selected(const std::string& row)
{
    const std::string wanted = benchmark::GetBenchmarkFilter();
    return wanted.empty() || wanted == "all" || std::regex_search(row, std::regex{wanted});
}

// One row: both sides `count` times. Each callable returns false when its result is wrong; what it returns as soon as
// it is done is timed, and its check is not.
inline bool compare_means(const std::string& row, int count, auto ours, auto peers)
{
    mean our_time, peer_time;
    for (int i = 0; i < count; ++i) {
        const double start = thread_seconds();
        const auto our_check = ours();
        const double middle = thread_seconds();
        const auto peer_check = peers();
        const double end = thread_seconds();
        our_time.add(middle - start);
        peer_time.add(end - middle);
        if (our_check() && peer_check()) continue;
        std::fprintf(stderr, "%s: a wrong result\n", row.c_str());
        return false;
    }
    const double ratio = peer_time.value() / our_time.value();
    std::printf("%-44s %12.1f %12.1f %8.2f +- %.2f\n", row.c_str(), 1 / our_time.value(), 1 / peer_time.value(), ratio,
                ratio * std::hypot(our_time.error(), peer_time.error()));
    return true;
}

} // namespace bench
