#include "random/drbg_saved_state.hpp"

#include "core/secret.hpp"
#include "kestrim/lock.h"

#include <cstddef>
#include <sched.h>
#include <sys/mman.h>
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
constinit std::atomic<saved_drbg*> place{nullptr};
constinit std::atomic<bool> locked_for_good{false}; // in ordinary memory: children inherit it

saved_drbg* cleared_in_children() noexcept
{
#if defined(MADV_WIPEONFORK)
    void* page = mmap(nullptr, sizeof(saved_drbg), PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (page == MAP_FAILED) return nullptr;
    if (madvise(page, sizeof(saved_drbg), MADV_WIPEONFORK) == 0) {
        madvise(page, sizeof(saved_drbg), MADV_DONTDUMP); // best effort: keep the state out of core files
        return static_cast<saved_drbg*>(page);
    }
    munmap(page, sizeof(saved_drbg));
#endif
    return nullptr;
}

saved_drbg* choose_place() noexcept
{
    saved_drbg* const page = cleared_in_children();
    saved_drbg* const mine = page ? page : &in_ordinary_memory;
    saved_drbg* chosen = nullptr;
    if (place.compare_exchange_strong(chosen, mine, std::memory_order_acq_rel)) return mine;
    if (page) munmap(page, sizeof(saved_drbg)); // another thread was faster
    return chosen;
}

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
    saved_drbg* state = place.load(std::memory_order_acquire);
    if (!state) state = choose_place();
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
