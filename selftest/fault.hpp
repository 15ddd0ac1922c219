// Breaks a check on purpose, in test builds only, to show that the check can fail.
#pragma once

#include <cstdint>
#include <span>

namespace zrc {

#if KESTRIM_TEST_HOOKS

inline std::uint32_t broken_check = 0;   // ZRC_F_*: the check whose computed output is spoilt; 0 for none
inline std::uint32_t self_test_runs = 0; // complete sequences started

inline bool is_broken(std::uint32_t check) noexcept
{
    return check == broken_check;
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
