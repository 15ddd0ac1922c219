// The three process-wide flags, the self-test gate and the mode switches.
#include "core/error.hpp"
#include "core/mutex_guard.hpp"
#include "kestrim_crypto.h"

#include <atomic>
#include <cstdint>
#include <pthread.h>

namespace zrc {
namespace {

constinit std::atomic<std::uint8_t> test_mode{1};       // the gate is armed; 0 while the self-test runs
constinit std::atomic<std::uint8_t> initialize_flag{1}; // the self-test has not passed yet
constinit std::atomic<std::uint8_t> statusisproven{1};  // proven mode is in force

// Guards the run of the self-test, its result and the mode switches. The flags are read without it.
constinit pthread_mutex_t gate_mutex = PTHREAD_MUTEX_INITIALIZER;
constinit std::atomic<pthread_t> tester{};          // the thread that runs the self-test, while test_mode is 0
constinit std::atomic<std::uint32_t> runs_ended{0}; // self-test runs so far
constinit std::uint32_t last_result = 0;            // of the last run

// The self-test makes gated calls itself; they pass. `tester` is stored before `test_mode` is cleared, so whoever sees the
// cleared flag sees the thread that belongs to it.
bool this_thread_is_testing() noexcept
{
    return test_mode.load(std::memory_order_acquire) == 0 &&
           pthread_equal(tester.load(std::memory_order_relaxed), pthread_self()) != 0;
}

// With gate_mutex held, which a thread that is cancelled in the middle would never give back.
std::uint32_t run_self_test() noexcept
{
    int cancel_state;
    pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, &cancel_state);
    tester.store(pthread_self(), std::memory_order_relaxed);
    test_mode.store(0, std::memory_order_release);
    last_result = ZRC_Crypto_Self_Test();
    if (last_result == 0) initialize_flag.store(0, std::memory_order_release);
    test_mode.store(1, std::memory_order_release);
    runs_ended.fetch_add(1, std::memory_order_release);
    pthread_setcancelstate(cancel_state, &cancel_state);
    return last_result;
}

} // namespace
} // namespace zrc

std::uint32_t ZRC_Crypto_Initialize()
{
    using namespace zrc;

    if (initialize_flag.load(std::memory_order_acquire) == 0) return 0;
    if (this_thread_is_testing()) return 0;

    const std::uint32_t runs_before = runs_ended.load(std::memory_order_acquire);
    const mutex_guard guard{gate_mutex};
    if (initialize_flag.load(std::memory_order_acquire) == 0) return 0;
    if (runs_ended.load(std::memory_order_relaxed) != runs_before)
        return last_result; // waited for another thread's run
    return run_self_test();
}

std::uint8_t ZRC_Is_Proven()
{
    return zrc::statusisproven.load(std::memory_order_acquire);
}

std::uint32_t ZRC_Change_Non_Proven_Mode()
{
    const zrc::mutex_guard guard{zrc::gate_mutex};
    if (zrc::initialize_flag.load(std::memory_order_acquire) == 0) {
        return zrc::code(ZRC_L_FOUNDATION, ZRC_F_CHANGE_NON_PROVENMODE, ZRC_ERR_NOT_CHANGE_NONPROVEN);
    }
    zrc::statusisproven.store(0, std::memory_order_release);
    return 0;
}

void ZRC_Change_Test_Mode()
{
    const zrc::mutex_guard guard{zrc::gate_mutex};
    zrc::test_mode.store(0, std::memory_order_release);
    zrc::statusisproven.store(0, std::memory_order_release);
    zrc::initialize_flag.store(0, std::memory_order_release);
}
