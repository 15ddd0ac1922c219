// The generator's state between two requests, one for the whole process, and the lock around it.
#pragma once

#include <atomic>
#include <cstdint>
#include <pthread.h>

namespace zrc {

struct saved_drbg {
    std::atomic<std::uint64_t> entered; // by which process: see enter_saved_drbg
    pthread_mutex_t lock;

    // Guarded by the lock.
    std::int32_t valid; // 0: the next request instantiates anew
    std::int32_t digest_id;
    std::int32_t reseed_counter;
    std::int32_t last_block_length; // bytes of last_block
    std::uint8_t V[111];
    std::uint8_t C[111];
    std::uint8_t last_block[64];
};

// Where the saved state lies, and the process that uses it.
struct saved_drbg_place {
    saved_drbg* state;
    std::uint64_t process; // never 0
};

// A child process must not continue its parent's stream. So the state lies in a page that the kernel clears in every
// child, however it was made; to look at that page is all that a request has to do. Where the kernel cannot do that
// (before Linux 4.14) the state lies in ordinary memory and belongs to the process with a certain id; what is not
// noticed there is a descendant that happens to have the id of a dead ancestor.
saved_drbg_place find_saved_drbg() noexcept;

// Takes the lock of the state as `process`, and waits as long as that takes. The first to come makes the lock: in a
// child process it is a new one, free even if the parent's was held by another thread in the moment of the fork, and
// the state is no longer valid. After stay_locked() this never returns, neither in this process nor in its children.
// Returns 0 or the code of the lock function that failed.
std::uint32_t enter_saved_drbg(saved_drbg& state, std::uint64_t process) noexcept;

// Gives the lock back. Returns 0 or the code of zrc_Release_Lock.
std::uint32_t leave_saved_drbg(saved_drbg& state) noexcept;

// To be called with the lock held, which is then kept for good.
void stay_locked() noexcept;

} // namespace zrc
