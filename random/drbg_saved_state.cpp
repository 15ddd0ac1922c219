#include "random/drbg_saved_state.hpp"

#include "core/secret.hpp"
#include "kestrim/lock.h"
#include "random/cleared_in_children.hpp"

#include <sched.h>
#include <unistd.h>

namespace zrc {
namespace {

// saved_drbg::entered is twice the process while that makes the lock, and 1 more when the lock can be used.
constexpr std::uint64_t making(std::uint64_t process) noexcept
{
    return process * 2;
}
constexpr std::uint64_t made(std::uint64_t process) noexcept
{
    return process * 2 + 1;
}

// Zero like the page: nobody has entered it.
constinit saved_drbg in_ordinary_memory{};
constinit cleared_in_children<saved_drbg> place{&in_ordinary_memory};
constinit std::atomic<bool> locked_for_good{false}; // in ordinary memory: children inherit it

void forget(saved_drbg& state) noexcept
{
    state.valid = 0;
    wipe(state.V, sizeof state.V);
    wipe(state.C, sizeof state.C);
    wipe(state.last_block, sizeof state.last_block);
}

std::uint32_t make_lock(saved_drbg& state) noexcept
{
    forget(state);
    if (const std::uint32_t failed = zrc_Init_Lock(&state.lock)) return failed;
    return locked_for_good.load(std::memory_order_acquire) ? zrc_Wait_Lock(&state.lock) : 0;
}

} // namespace

saved_drbg_place find_saved_drbg() noexcept
{
    saved_drbg* const state = place.get();
    return {state, state == &in_ordinary_memory ? std::uint64_t(getpid()) : 1};
}

std::uint32_t enter_saved_drbg(saved_drbg& state, std::uint64_t process) noexcept
{
    std::uint64_t seen = state.entered.load(std::memory_order_acquire);
    while (seen != made(process)) {
        if (seen == making(process)) {
            sched_yield();
            seen = state.entered.load(std::memory_order_acquire);
            continue;
        }
        if (!state.entered.compare_exchange_weak(seen, making(process), std::memory_order_acquire)) continue;
        const std::uint32_t failed = make_lock(state);
        seen = failed ? 0 : made(process);
        state.entered.store(seen, std::memory_order_release);
        if (failed) return failed;
    }
    return zrc_Wait_Lock(&state.lock);
}

std::uint32_t leave_saved_drbg(saved_drbg& state) noexcept
{
    return zrc_Release_Lock(&state.lock);
}

void stay_locked() noexcept
{
    locked_for_good.store(true, std::memory_order_release);
}

} // namespace zrc
