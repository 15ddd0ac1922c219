// Stack that is no longer in use. What a compiler keeps there between two instructions has no name, so no destructor
// reaches it; only the caller of the function that left it can wipe it.
#pragma once

#include "core/secret.hpp"

#include <array>
#include <cstddef>
#include <cstdint>

namespace zrc {

// Wipes the `Bytes` bytes below the frame of the caller, where the function that it called last had its frame. Such a
// function must not be inlined, either, and takes its arguments in registers.
template <std::size_t Bytes>
__attribute__((noinline, no_stack_protector)) void wipe_dead_stack() noexcept
{
    constexpr std::size_t kStep = 64; // a few stores for the compiler; more become a slow instruction or a call
    static_assert(Bytes % kStep == 0);
    std::array<std::uint8_t, Bytes> dead;
    for (std::size_t at = 0; at < Bytes; at += kStep)
        wipe(dead.data() + at, kStep);
}

} // namespace zrc
