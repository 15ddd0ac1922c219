// Big numbers and random generators without memory: every code, nothing lost, nothing leaked, nothing left unwiped.
#include "kestrim_crypto.h"
#include "tests/allocator.hpp"

#include <algorithm>
#include <cstdint>
#include <functional>
#include <gtest/gtest.h>
#include <utility>
#include <vector>

namespace {

using test::codes_with_failing_allocations;

std::uint8_t seeded[1];
const std::uint8_t kBytes[160] = {0xC1, 2, 3, 4, 5};

// What the operation answers until it works, without repetitions.
std::vector<std::uint32_t> distinct_codes(const std::function<std::uint32_t()>& operation)
{
    auto codes = codes_with_failing_allocations(operation);
    codes.erase(std::unique(codes.begin(), codes.end()), codes.end());
    return codes;
}

class NumbersWithoutMemory : public testing::Test {
protected:
    NumbersWithoutMemory()
    {
        a = ZRC_Binary_To_BIGINT(kBytes, 160, nullptr);
        m = ZRC_Binary_To_BIGINT(kBytes, 96, nullptr);
        m->data[0] |= 1;
    }
    ~NumbersWithoutMemory() override
    {
        ZRC_Free_BIGINT(a);
        ZRC_Free_BIGINT(m);
    }

    // Every result starts without an array, every pool empty; a failed call leaves its frames closed.
    static std::vector<std::uint32_t> run(const std::function<std::uint32_t(ZRC_BIGINT*, ZRC_BIGINT_POOL*)>& operation)
    {
        return distinct_codes([&] {
            const int planned = std::exchange(test::allocations_until_failure, -1);
            ZRC_BIGINT* r = ZRC_New_BIGINT();
            ZRC_BIGINT_POOL* pool = ZRC_New_BIGINT_Pool();
            test::allocations_until_failure = planned;
            const std::uint32_t code = operation(r, pool);
            test::allocations_until_failure = -1;
            EXPECT_EQ(pool->depth, -1);
            EXPECT_EQ(pool->used, 0);
            ZRC_Free_BIGINT(r);
            ZRC_Free_BIGINT_Pool(pool);
            return code;
        });
    }

    ZRC_BIGINT *a, *m;
};

using codes = std::vector<std::uint32_t>;

} // namespace

TEST_F(NumbersWithoutMemory, EveryOperationAnswersItsCode)
{
    EXPECT_EQ(run([&](auto* r, auto*) { return ZRC_Copy_BIGINT(r, a); }), (codes{0x041F0016, 0}));
    EXPECT_EQ(run([&](auto* r, auto*) { return ZRC_Set_BIGINT_Word(r, 7); }), (codes{0x04200016, 0}));
    EXPECT_EQ(run([&](auto* r, auto*) { return ZRC_Set_BIGINT_Bit(r, 100); }), (codes{0x04210016, 0}));
    EXPECT_EQ(run([&](auto* r, auto*) { return ZRC_Add_BIGINT(r, a, m); }), (codes{0x040D0016, 0}));
    EXPECT_EQ(run([&](auto* r, auto*) { return ZRC_Sub_BIGINT(r, a, m); }), (codes{0x040E0016, 0}));
    EXPECT_EQ(run([&](auto* r, auto* pool) { return ZRC_Mtp_BIGINT(r, a, m, pool); }), (codes{0x04120016, 0}));
    EXPECT_EQ(run([&](auto* r, auto* pool) { return ZRC_Sqr_BIGINT(r, a, pool); }), (codes{0x04110016, 0}));
    EXPECT_EQ(run([&](auto* r, auto* pool) { return ZRC_Div_BIGINT(r, nullptr, a, m, pool); }),
              (codes{0x04100057, 0x04100039, 0x0410003A, 0}));
    EXPECT_EQ(run([&](auto* r, auto*) { return ZRC_Div_BIGINT(nullptr, r, a, m, nullptr); }),
              (codes{0x0410003A, 0x04100039, 0x0410003A, 0}));
    EXPECT_EQ(run([&](auto* r, auto* pool) { return ZRC_Mod_Mtp_BIGINT(r, a, a, m, pool); }),
              (codes{0x0413001B, 0x04130044, 0x0413003E, 0}));
    EXPECT_EQ(run([&](auto* r, auto* pool) { return ZRC_Mod_Sub_BIGINT(r, m, a, m, pool); }),
              (codes{0x040F001B, 0x040F003E, 0x040F0001, 0x040F0058, 0}));
    EXPECT_EQ(run([&](auto* r, auto* pool) { return ZRC_Mod_Inverse_BIGINT(r, a, m, pool); }),
              (codes{0x0407003A, 0x04070016, 0}));
    EXPECT_EQ(run([&](auto* r, auto* pool) { return zrc_Gcd_BIGINT(r, a, m, pool); }),
              (codes{0x04060015, 0x04060016, 0}));
    EXPECT_EQ(run([&](auto* r, auto*) { return zrc_Left_Shift_BIGINT(r, a, 77); }), (codes{0x04150016, 0}));
    EXPECT_EQ(run([&](auto* r, auto*) { return zrc_Right_Shift_BIGINT(r, a, 77); }), (codes{0x04160016, 0}));
    EXPECT_EQ(run([&](auto* r, auto*) { return ZRC_Mod_Exp_Mont_BIGINT(r, a, m, m, nullptr); }),
              (codes{0x040A003A, 0x040A0002, 0}));
    EXPECT_EQ(run([&](auto* r, auto* pool) { return ZRC_Mod_Exp_BIGINT(r, a, m, m, pool); }),
              (codes{0x0414001B, 0x0414003E, 0x04140042, 0x0414000D, 0}));
    EXPECT_EQ(run([&](auto*, auto* pool) {
                  ZRC_BIGINT_MONT* mont = zrc_New_BIGINT_MONT();
                  const std::uint32_t code = mont ? zrc_Set_BIGINT_MONT(mont, m, pool) : 1;
                  if (mont) zrc_Free_BIGINT_MONT(mont);
                  return code;
              }),
              (codes{1, 0x0409001B, 0x04090052, 0x0409000D, 0x04090010, 0}));
    ASSERT_EQ(ZRC_Rand_Bytes(seeded, 1), 0u) << "the generator does not answer again after a failure of its own";
    EXPECT_EQ(run([&](auto* r, auto*) { return ZRC_Rand_BIGINT_Ex(r, 500, 0, 1); }),
              (codes{0x0417003B, 0x04170005, 0}));
    EXPECT_EQ(run([&](auto* r, auto* pool) { return ZRC_Rand_BIGINT(r, 500, 0, 1, pool, 0); }),
              (codes{0x0418003B, 0x04180025, 0}));
}

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
    ZRC_Free_PRNG_Unit(prng);

    ZRC_DRBG_UNIT* unit = zrc_New_DRBG_Unit();
    ASSERT_EQ(zrc_Init_DRBG(unit, ZRC_SHA256, 0, 0, 1), 0u);
    EXPECT_EQ(distinct_codes([=] { return zrc_Set_Instantiate_DRBG_Param(unit, kBytes, 32, kBytes, 16, kBytes, 5); }),
              (codes{0x0B02003A, 0}));
    EXPECT_EQ(zrc_Instantiate_DRBG(unit), 0u);
    EXPECT_EQ(distinct_codes([=] { return zrc_Reseed_DRBG(unit); }), (codes{0x0B030059, 0}));
    zrc_Free_DRBG_Unit(unit);
}

TEST(RandomWithoutMemory, NothingIsReleasedUnwiped)
{
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
