// The random generator in proven mode, in which a process begins: each case has one of its own.
#include "kestrim_crypto.h"
#include "tests/fresh_process.hpp"

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <gtest/gtest.h>
#include <pthread.h>
#include <sys/resource.h>
#include <unistd.h>

namespace {

constexpr std::int32_t kSha2[] = {ZRC_SHA224, ZRC_SHA256, ZRC_SHA384, ZRC_SHA512};
constexpr std::int32_t kRefused[] = {ZRC_SHA1, ZRC_HAS160, ZRC_MD5, 0};
constexpr std::int32_t kLegacy[] = {0, ZRC_SHA256, ZRC_DES, 77}; // the default, two algorithms, and none

TEST(DrbgProvenMode, UnitsTakeSha2Only)
{
    test::in_a_fresh_process([] {
        ZRC_DRBG_UNIT* unit = zrc_New_DRBG_Unit();
        std::uint8_t out[4] = {};
        for (const std::int32_t id :
             kSha2) { // the first request runs the self-test before it takes the generator's lock
            EXPECT_EQ(ZRC_Rand_Bytes_DRBG(out, 4, 0, id, 0), 0U);
            EXPECT_EQ(zrc_Init_DRBG(unit, id, 0, 0, 1), 0U);
            EXPECT_EQ(Hash_df(id, out, 4, out, 0), 0x0B08002BU);
        }
        for (const std::int32_t id : kRefused) {
            EXPECT_EQ(zrc_Init_DRBG(unit, id, 0, 0, 1), 0x0B0700F0U);
            EXPECT_EQ(zrc_Init_HashDRBG(unit, id), 0x0B0700F0U);
            EXPECT_EQ(Hash_df(id, out, 4, out, 4), 0x0B0800F0U);
        }
        zrc_Free_DRBG_Unit(unit);
        EXPECT_EQ(ZRC_Rand_Bytes_DRBG(out, 4, 0, ZRC_SHA1, 0), 0x0B050063U);
    });
}

TEST(DrbgProvenMode, TheLegacyGeneratorIsRefused)
{
    test::in_a_fresh_process([] {
        ZRC_PRNG_UNIT refused{};
        refused.proven = 1;
        ZRC_PRNG_UNIT* unit = ZRC_New_PRNG_Unit();
        std::uint8_t out[4] = {};
        for (const std::int32_t id : kLegacy) {
            EXPECT_EQ(ZRC_Init_PRNG(unit, id, nullptr), 0x140100F0U) << id;
            EXPECT_EQ(std::memcmp(unit, &refused, sizeof refused), 0);
            EXPECT_EQ(ZRC_Get_Rand(unit, out, 4), 0x1404004BU);
        }
        ZRC_Free_PRNG_Unit(unit);

        ZRC_BIGINT* r = ZRC_New_BIGINT();
        for (const std::int32_t id : kLegacy) {
            EXPECT_EQ(ZRC_Rand_BIGINT(r, 100, 0, 0, nullptr, id), 0x04180025U);
            EXPECT_EQ(ZRC_Generate_BIGINT_Prime(r, 64, nullptr, id), 0x041E004DU);
        }
        EXPECT_EQ(ZRC_Rand_BIGINT_Ex(r, 100, 0, 0), 0U) << "the approved one is as it was";
        ZRC_Free_BIGINT(r);
    });
}

// Collection level 3 times a fork, level 1 does not. In proven mode the self-test draws twice, and the generator starts
// from the second draw.
TEST(DrbgProvenMode, CollectsSlowlyInProvenModeAndQuicklyOtherwise)
{
    for (const bool proven : {true, false}) {
        test::in_a_fresh_process([proven] {
            static int forks = 0;
            ASSERT_EQ(pthread_atfork(
                          nullptr, [] { ++forks; }, nullptr),
                      0);
            if (!proven) {
                ASSERT_EQ(ZRC_Change_Non_Proven_Mode(), 0U);
            }
            std::uint8_t out[16];
            EXPECT_EQ(ZRC_Rand_Bytes(out, 16), 0U);
            EXPECT_EQ(forks, proven ? 2 : 0);
            EXPECT_EQ(ZRC_Rand_Bytes(out, 16), 0U);
            EXPECT_EQ(forks, proven ? 2 : 0) << "the state goes on";
            EXPECT_EQ(ZRC_Rand_Bytes_DRBG(out, 16, 0, ZRC_SHA256, 1), 0U);
            EXPECT_EQ(forks, proven ? 3 : 0) << "a reseed collects as the start does";
        });
    }
}

// The failing fork is the generator's, whose lock is held: nothing of the program may run that needs it.
TEST(DrbgProvenModeDeathTest, AFailingForkEndsTheProcessAtOnce)
{
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    const auto reseed_without_processes = [] {
        static std::uint8_t out[16];
        alarm(30);
        if (ZRC_Crypto_Initialize() != 0) _exit(98);
        std::atexit([] { ZRC_Rand_Bytes(out, 16); });
        const rlimit none{0, 0};
        if (setrlimit(RLIMIT_NPROC, &none) != 0 || (geteuid() == 0 && setuid(65534) != 0)) _exit(99);
        _exit(ZRC_Rand_Bytes_DRBG(out, 16, 0, ZRC_SHA256, 1) == 0 ? 50 : 51);
    };
    EXPECT_EXIT(reseed_without_processes(), testing::ExitedWithCode(1), "^$");
}

} // namespace
