// Choice among the implementations ("kernels") of one inner operation.
//
// A family lists its kernels once, best first and the portable one last, as data; kernel_choice picks the first that this
// machine can run, on first use, and keeps it. Tests and benchmarks walk the same lists.
#pragma once

#include "core/cpu.hpp"

#include <atomic>
#include <cstddef>
#include <span>

namespace zrc {

template <class Run>
struct kernel {
    const char* name;
    cpu_feature needs;
    Run run; // function pointer
};

template <class Run>
class kernel_choice {
public:
    explicit constexpr kernel_choice(std::span<const kernel<Run>> list) noexcept : list_{list} {}

    // The chosen kernel. Racing threads choose the same one, so no ordering is needed.
    Run get() noexcept
    {
        const Run run = chosen_.load(std::memory_order_relaxed);
        return run != nullptr ? run : choose();
    }

    std::span<const kernel<Run>> list() const noexcept { return list_; }

    // Uses `run` from now on; null returns to the automatic choice. For tests and benchmarks.
    void force(Run run) noexcept { chosen_.store(run, std::memory_order_relaxed); }

private:
    [[gnu::noinline]] Run choose() noexcept
    {
        Run run = list_.back().run;
        for (const kernel<Run>& candidate : list_) {
            if (!cpu_has(candidate.needs)) continue;
            run = candidate.run;
            break;
        }
        chosen_.store(run, std::memory_order_relaxed);
        return run;
    }

    std::span<const kernel<Run>> list_;
    std::atomic<Run> chosen_{nullptr};
};

} // namespace zrc
