// Random generators without memory: every code, nothing lost, nothing leaked, nothing left unwiped.
#include "kestrim_crypto.h"
#include "tests/allocator.hpp"

#include <cstring>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>
#include <utility>

namespace {

using test::distinct_codes;

std::uint8_t seeded[1];
const std::uint8_t kBytes[160] = {0xC1, 2, 3, 4, 5};

using codes = std::vector<std::uint32_t>;

// Runs `scenario` in a child process; true when it returned true there.
bool in_a_child(const std::function<bool()>& scenario)
{
    const pid_t child = fork();
    if (child == 0) _exit(scenario() ? 7 : 8);
    int status = 0;
    return waitpid(child, &status, 0) == child && WIFEXITED(status) && WEXITSTATUS(status) == 7;
}

} // namespace

// Without memory there is no entropy: the generators do not start, and the approved one stays locked.
TEST(RandomWithoutMemory, CodesOfEveryStep)
{
    std::int32_t length = 0;
    std::uint8_t *entropy = nullptr, *nonce = nullptr;
    std::int32_t entropy_length = 0, nonce_length = 0;
    EXPECT_EQ(distinct_codes([&] { return zrc_Get_ENTROPY_Input(&entropy, &length, 16, 1); }), (codes{0x1C050014, 0}));
    EXPECT_EQ(length, 32);
    ZRC_Free_Ex(std::exchange(entropy, nullptr), 32);
    EXPECT_EQ(distinct_codes([&] {
                  return zrc_Get_ENTROPY_Input_With_Nonce_Input(&entropy, &entropy_length, &nonce, &nonce_length, 32,
                                                                1);
              }),
              (codes{0x1C060014, 0}));
    ZRC_Free_Ex(entropy, std::uint32_t(entropy_length));
    ZRC_Free_Ex(nonce, std::uint32_t(nonce_length));

    ZRC_PRNG_UNIT* prng = ZRC_New_PRNG_Unit();
    EXPECT_EQ(distinct_codes([=] { return ZRC_Init_PRNG(prng, ZRC_SHA1, nullptr); }), (codes{0x14010014, 0}));
    EXPECT_TRUE(in_a_child([=] { // where the key needs fresh entropy
        std::uint8_t out[4] = {7, 7, 7, 7};
        const std::uint8_t untouched[4] = {7, 7, 7, 7};
        test::allocations_until_failure = 0;
        const bool failed = ZRC_Get_Rand(prng, out, 4) == 0x14040014 && std::memcmp(out, untouched, 4) == 0;
        test::allocations_until_failure = -1;
        return failed && distinct_codes([&] { return ZRC_Get_Rand(prng, out, 4); }) == codes{0x14040014, 0};
    }));
    ZRC_Free_PRNG_Unit(prng);

    ZRC_DRBG_UNIT* unit = zrc_New_DRBG_Unit();
    EXPECT_EQ(distinct_codes([=] { return zrc_Init_HashDRBG(unit, ZRC_SHA256); }), (codes{0x0B07003A, 0}));
    ASSERT_EQ(zrc_Init_DRBG(unit, ZRC_SHA256, 0, 0, 1), 0u);
    EXPECT_EQ(distinct_codes([=] { return zrc_Instantiate_DRBG(unit); }), (codes{0x0B020059, 0}));
    EXPECT_EQ(distinct_codes([=] { return zrc_Set_Instantiate_DRBG_Param(unit, kBytes, 32, kBytes, 16, kBytes, 5); }),
              (codes{0x0B02003A, 0}));
    EXPECT_EQ(zrc_Instantiate_DRBG(unit), 0u);
    EXPECT_EQ(distinct_codes([=] { return zrc_Reseed_DRBG(unit); }), (codes{0x0B030059, 0}));
    EXPECT_EQ(distinct_codes([=] { return zrc_Set_Reseed_DRBG_Param(unit, kBytes, 5, kBytes, 32); }),
              (codes{0x0B03003A, 0}));
    EXPECT_EQ(zrc_Reseed_DRBG(unit), 0u);
    EXPECT_EQ(distinct_codes([=] { return zrc_Set_Generate_DRBG_Param(unit, kBytes, 5, kBytes, 32); }),
              (codes{0x0B04003A, 0}));
    std::uint8_t output[40];
    EXPECT_EQ(zrc_Generate_DRBG(unit, output, 40), 0u);
    unit->prediction_resistance = 1;
    EXPECT_EQ(distinct_codes([&] { return zrc_Generate_DRBG(unit, output, 40); }), (codes{0x0B040059, 0}));
    zrc_Free_DRBG_Unit(unit);
}

// Numbers for which the generator itself needs no memory: it has started, and goes on afterwards.
TEST(RandomWithoutMemory, NumbersFailWithoutLockingTheGenerator)
{
    ASSERT_EQ(ZRC_Rand_Bytes(seeded, 1), 0u);
    const auto number = [](std::int32_t bits) {
        return distinct_codes([=] {
            ZRC_BIGINT r{};
            const std::uint32_t code = ZRC_Get_Rand_BIGINT_Ex(&r, bits);
            ZRC_Free(r.data);
            return code;
        });
    };
    EXPECT_EQ(number(8 * 512), (codes{0x0B060005, 0}));
    EXPECT_EQ(number(8 * 512 + 1), (codes{0x0B06003A, 0x0B060005, 0})) << "its bytes need memory, too";

    std::uint32_t words[2] = {5, 6};
    ZRC_BIGINT fixed{words, 2, 2, ZRC_BIGINT_STATIC};
    EXPECT_EQ(ZRC_Get_Rand_BIGINT_Ex(&fixed, 65), 0x0B060005u) << "not the library's to grow";
    EXPECT_EQ(ZRC_Rand_Bytes(seeded, 1), 0u);
    EXPECT_EQ(ZRC_Get_Rand_BIGINT_Ex(&fixed, 64), 0u);
    EXPECT_EQ(fixed.data, words);
}

TEST(RandomWithoutMemory, NothingIsReleasedUnwiped)
{
    ASSERT_EQ(ZRC_Crypto_Initialize(), 0u); // has nothing to hide
    test::release_watch watch;
    ZRC_DRBG_UNIT* unit = zrc_New_DRBG_Unit();
    EXPECT_EQ(zrc_Init_DRBG(unit, ZRC_SHA512, 0, 1, 2), 0u);
    EXPECT_EQ(zrc_Set_Instantiate_DRBG_Param(unit, nullptr, 0, nullptr, 0, kBytes, 5), 0u);
    EXPECT_EQ(zrc_Instantiate_DRBG(unit), 0u);
    EXPECT_EQ(zrc_Set_Generate_DRBG_Param(unit, kBytes, 160, kBytes, 64), 0u);
    EXPECT_EQ(zrc_Set_Generate_DRBG_Param(unit, kBytes, 16, kBytes, 64), 0u);
    std::uint8_t output[100];
    EXPECT_EQ(zrc_Generate_DRBG(unit, output, 100), 0u);
    EXPECT_EQ(zrc_Set_Reseed_DRBG_Param(unit, kBytes, 16, kBytes, 64), 0u);
    zrc_Free_DRBG_Unit(unit);

    ZRC_PRNG_UNIT* prng = ZRC_New_PRNG_Unit();
    EXPECT_EQ(ZRC_Init_PRNG(prng, ZRC_SHA1, nullptr), 0u);
    EXPECT_EQ(ZRC_Get_Rand(prng, output, 100), 0u);
    ZRC_Free_PRNG_Unit(prng);

    ZRC_BIGINT *a = ZRC_Binary_To_BIGINT(kBytes, 160, nullptr), *r = ZRC_New_BIGINT();
    ZRC_BIGINT_POOL* pool = ZRC_New_BIGINT_Pool();
    a->data[0] |= 1;
    EXPECT_EQ(ZRC_Mtp_BIGINT(r, a, a, pool), 0u);
    EXPECT_EQ(ZRC_Div_BIGINT(r, nullptr, r, a, pool), 0u);
    EXPECT_EQ(ZRC_Set_BIGINT_Bit(r, 5000), 0u);
    EXPECT_EQ(ZRC_Mod_Exp_Mont_BIGINT(r, r, a, a, nullptr), 0u);
    EXPECT_EQ(ZRC_Mod_Exp_BIGINT(r, r, r, a, pool), 0u);
    EXPECT_EQ(ZRC_Rand_BIGINT_Ex(r, 300, 0, 1), 0u);
    EXPECT_NE(ZRC_Mod_Inverse_BIGINT(r, r, a, pool), 1u);
    ZRC_Free_BIGINT(a);
    ZRC_Free_BIGINT(r);
    EXPECT_EQ(test::dirty_releases, 0);
    const int structures = pool->capacity / 8 + 1; // of the pool, which hold no values
    ZRC_Free_BIGINT_Pool(pool);
    EXPECT_EQ(test::dirty_releases, structures);
}
