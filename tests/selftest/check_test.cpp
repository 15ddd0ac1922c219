// Every check of the self-test fails when it should: on a wrong result, without memory, without entropy.
#include "kestrim_crypto.h"
#include "selftest/fault.hpp"
#include "tests/allocator.hpp"
#include "tests/fresh_process.hpp"

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

// The linker puts this in place of the entropy source that the checks call.
namespace {

// What the next draws give, in this order: entropy and nonce of 4 bytes each, a zero for a missing buffer. Empty: the
// source itself is asked.
std::vector<std::uint8_t*> prepared_draws;

} // namespace

extern "C" {
std::uint32_t __real_zrc_Get_ENTROPY_Input_With_Nonce_Input(std::uint8_t**, std::int32_t*, std::uint8_t**,
                                                            std::int32_t*, std::int32_t, std::uint32_t);

std::uint32_t __wrap_zrc_Get_ENTROPY_Input_With_Nonce_Input(std::uint8_t** entropy, std::int32_t* entropy_length,
                                                            std::uint8_t** nonce, std::int32_t* nonce_length,
                                                            std::int32_t strength, std::uint32_t level)
{
    if (prepared_draws.empty())
        return __real_zrc_Get_ENTROPY_Input_With_Nonce_Input(entropy, entropy_length, nonce, nonce_length, strength,
                                                             level);
    const auto take = [](std::uint8_t** buffer, std::int32_t* length) {
        *buffer = prepared_draws.front();
        *length = *buffer ? 4 : 0;
        prepared_draws.erase(prepared_draws.begin());
    };
    take(entropy, entropy_length);
    take(nonce, nonce_length);
    return 0;
}
}

namespace {

using test::codes_with_failing_allocations;

// Each fails in its turn: the checks run in this order, and the first one that fails ends the self-test.
TEST(SelfTest, ChecksRunInTheirOrderAndEachCanFail)
{
    struct {
        std::uint32_t check, code;
        bool in_proven_mode_only;
    } const order[] = {
        {1, 0x1A010019, false},  {2, 0x1A020059, false},  {3, 0x1A030059, false},  {4, 0x1A040014, true},
        {5, 0x1A050059, false},  {6, 0x1A060059, false},  {7, 0x1A070059, false},  {9, 0x1A090059, false},
        {11, 0x1A0B0059, false}, {12, 0x1A0C0059, false}, {13, 0x1A0D0059, false},
    };
    const auto in_order = [&order](bool proven) {
        zrc::broken_checks = ~0u;
        for (const auto& next : order) {
            if (next.in_proven_mode_only && !proven) continue;
            EXPECT_EQ(ZRC_Crypto_Initialize(), next.code);
            zrc::broken_checks &= ~(1u << next.check);
        }
        EXPECT_EQ(ZRC_Crypto_Initialize(), 0u);
        EXPECT_EQ(ZRC_Is_Proven(), proven ? 1 : 0);
    };
    test::in_a_fresh_process([&] { in_order(false); });
    test::in_a_fresh_proven_process([&] { in_order(true); });
}

TEST(SelfTest, ConditionalChecksCanFail)
{
    test::in_a_fresh_process([] { // where no length of a key is to be had, and no random byte
        zrc::broken_checks = 1u << ZRC_F_VERSION_CHECK;
        EXPECT_EQ(zrc_Sym_Key_Check(), 0x1A080059u);
        EXPECT_EQ(zrc_Asym_Key_Check(), 0x1A0A0059u);
        zrc::broken_checks = 0;
        EXPECT_EQ(zrc_Sym_Key_Check(), 0u) << "the generator is not locked";
    });
    EXPECT_EQ(zrc_Asym_Key_Check(), 0u);
    zrc::broken_checks = 1u << ZRC_F_ASYMMETIC_KEY_CHECK;
    EXPECT_EQ(zrc_Asym_Key_Check(), 0x1A0A0059u);
    zrc::broken_checks = 0;
}

// The random generator of this process has started, so it needs no memory.
TEST(SelfTest, EveryFailingAllocationGivesTheCodeOfTheCheckAndLeaksNothing)
{
    ASSERT_EQ(ZRC_Crypto_Initialize(), 0u);
    struct {
        std::uint32_t (*check)();
        std::vector<std::uint32_t> codes; // without repetitions
    } const cases[] = {
        {zrc_Verify_DLL, {0x1A01003B, 0x1A010050, 0x1A010023, 0x1A010019, 0}},
        {zrc_Context_Check, {0x1A020059, 0}},
        {zrc_Entropy_Check, {0x1A040014, 0}},
        {zrc_DRBG_Check, {0x1A050059, 0}},
        {zrc_HMAC_Check, {0x1A060059, 0}},
        {zrc_DIGEST_Check, {0x1A070059, 0}},
        {zrc_Sym_Check, {0x1A090059, 0}},
        {zrc_RSAES_Check, {0x1A0B0059, 0}},
        {zrc_RSASSA_Check, {0x1A0C0059, 0}},
        {zrc_KCDSA_Check, {0x1A0D0059, 0}},
    };
    for (const auto& c : cases) {
        const test::release_watch watch;
        auto codes = codes_with_failing_allocations(c.check);
        codes.erase(std::unique(codes.begin(), codes.end()), codes.end());
        EXPECT_EQ(codes, c.codes);
        EXPECT_EQ(watch.live_blocks(), 0u) << std::hex << c.codes[0];
    }
    for (const int successes : {0, 1, 2, 20, 50}) { // some: a search for primes takes its time
        const test::release_watch watch;
        test::allocations_until_failure = successes;
        EXPECT_EQ(zrc_Asym_Key_Check(), 0x1A0A0059u) << successes;
        test::allocations_until_failure = -1;
        EXPECT_EQ(watch.live_blocks(), 0u) << successes;
    }
}

// Runs the check in a child process, where the generator has to start anew and finds no memory: 0 means that the
// check ended before it came to that.
std::uint32_t entropy_check_without_a_generator(const std::vector<std::uint8_t*>& draws)
{
    const pid_t child = fork();
    if (child == 0) {
        prepared_draws = draws;
        test::allocations_until_failure = 0;
        const std::uint32_t code = zrc_Entropy_Check();
        _exit(code == 0 ? 7 : code == 0x1A040014 ? 8 : 9);
    }
    int status = 0;
    if (waitpid(child, &status, 0) != child || !WIFEXITED(status)) return 1;
    return WEXITSTATUS(status) == 7 ? 0 : WEXITSTATUS(status) == 8 ? 0x1A040014 : 1;
}

TEST(SelfTest, EqualOrMissingEntropyPasses)
{
    ASSERT_EQ(ZRC_Crypto_Initialize(), 0u);
    const auto block = [](std::uint8_t value) {
        auto* bytes = static_cast<std::uint8_t*>(ZRC_Calloc(1, 4));
        bytes[3] = value;
        return bytes;
    };
    std::uint8_t* const a = block(1);
    std::uint8_t* const same_as_a = block(1);
    std::uint8_t* const b = block(2);
    std::uint8_t* const c = block(3);
    std::uint8_t* const d = block(4);
    EXPECT_EQ(entropy_check_without_a_generator({a, b, c, d}), 0x1A040014u) << "different: generated from";
    EXPECT_EQ(entropy_check_without_a_generator({a, b, same_as_a, c}), 0u) << "entropy";
    EXPECT_EQ(entropy_check_without_a_generator({b, a, c, same_as_a}), 0u) << "nonce";
    EXPECT_EQ(entropy_check_without_a_generator({a, b, nullptr, c}), 0u);
    EXPECT_EQ(entropy_check_without_a_generator({a, b, c, nullptr}), 0u);
    for (std::uint8_t* bytes : {a, same_as_a, b, c, d})
        ZRC_Free(bytes);
}

} // namespace
