// The kernels of a choice that this machine can run.
#pragma once

#include "core/cpu.hpp"
#include "core/kernel.hpp"

#include <algorithm>
#include <gtest/gtest.h>
#include <iterator>
#include <vector>

namespace test {

template <class Run>
std::vector<zrc::kernel<Run>> runnable(const zrc::kernel_choice<Run>& kernels)
{
    std::vector<zrc::kernel<Run>> found;
    std::ranges::copy_if(kernels.list(), std::back_inserter(found),
                         [](const auto& kernel) { return zrc::cpu_has(kernel.needs); });
    return found;
}

// Works with each of them in turn, then lets the library choose again.
template <class Run>
void with_each_kernel(zrc::kernel_choice<Run>& kernels, auto work)
{
    for (const auto& kernel : runnable(kernels)) {
        SCOPED_TRACE(kernel.name);
        kernels.force(kernel.run);
        work();
    }
    kernels.force(nullptr);
}

} // namespace test
