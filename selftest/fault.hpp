// Breaks checks on purpose, in test builds only, to show that they can fail.
#pragma once

#include <cstdint>
#include <span>

namespace zrc {

#if KESTRIM_TEST_HOOKS

inline std::uint32_t broken_checks = 0;  // bit n: the computed output of the check of number n (ZRC_F_*) is spoilt
inline std::uint32_t self_test_runs = 0; // complete sequences started

inline bool is_broken(std::uint32_t check) noexcept
{
    return (broken_checks >> check & 1) != 0;
}
inline void count_self_test_run() noexcept
{
    ++self_test_runs;
}

#else

constexpr bool is_broken(std::uint32_t) noexcept
{
    return false;
}
constexpr void count_self_test_run() noexcept {}

#endif

// Called on every output that `check` computes, before it is compared.
inline void spoil_if_broken(std::uint32_t check, std::span<std::uint8_t> output) noexcept
{
    if (is_broken(check)) output[0] ^= 1;
}

} // namespace zrc
