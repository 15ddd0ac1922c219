// Big numbers without memory: every code, nothing lost, every frame closed again.
#include "bigint/mod_exp.hpp"
#include "core/owned.hpp"
#include "kestrim_crypto.h"
#include "tests/allocator.hpp"
#include "tests/bigint/bigint_value.hpp"
#include "tests/fresh_process.hpp"

#include <algorithm>
#include <cstdint>
#include <functional>
#include <gtest/gtest.h>
#include <utility>
#include <vector>

namespace {

using codes = std::vector<std::uint32_t>;
using test::bigint;

const std::uint8_t kBytes[160] = {0xC1, 2, 3, 4, 5};

class NumbersWithoutMemory : public testing::Test {
protected:
    NumbersWithoutMemory() { m->data[0] |= 1; }

    // What the operation answers until it works, without repetitions. Every result starts without an array, every
    // pool empty; a failed call leaves its frames closed.
    static codes run(const std::function<std::uint32_t(ZRC_BIGINT*, ZRC_BIGINT_POOL*)>& operation)
    {
        codes answers = test::codes_with_failing_allocations([&] {
            const int planned = std::exchange(test::allocations_until_failure, -1);
            const bigint r{ZRC_New_BIGINT()};
            const test::pool_ptr pool{ZRC_New_BIGINT_Pool()};
            test::allocations_until_failure = planned;
            const std::uint32_t code = operation(r.get(), pool.get());
            test::allocations_until_failure = -1;
            EXPECT_EQ(pool->depth, -1);
            EXPECT_EQ(pool->used, 0);
            return code;
        });
        answers.erase(std::unique(answers.begin(), answers.end()), answers.end());
        return answers;
    }

    // The approved generator stays locked when an allocation of its own fails: it is started before.
    static void start_generator()
    {
        std::uint8_t drawn = 0;
        ASSERT_EQ(ZRC_Rand_Bytes(&drawn, 1), 0U);
    }

    const bigint a_{ZRC_Binary_To_BIGINT(kBytes, 160, nullptr)}, m_{ZRC_Binary_To_BIGINT(kBytes, 96, nullptr)};
    ZRC_BIGINT *const a = a_.get(), *const m = m_.get();
};

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
    EXPECT_EQ(run([&](auto*, auto* pool) { return ZRC_Mod_Inverse_BIGINT(nullptr, a, m, pool); }),
              (codes{0x0407001B, 0x0407003A, 0x04070016, 0}));
    EXPECT_EQ(run([&](auto* r, auto* pool) { return zrc_Gcd_BIGINT(r, a, m, pool); }),
              (codes{0x04060015, 0x04060016, 0}));
    using zrc::mod_exp_outcome;
    EXPECT_EQ(run([&](auto* r, auto*) { return std::uint32_t(zrc::open_mod_exp_product(r, a, a, a, m, m)); }),
              (codes{std::uint32_t(mod_exp_outcome::no_memory), std::uint32_t(mod_exp_outcome::no_room), 0}));
    EXPECT_EQ(run([&](auto* r, auto*) { return zrc_Left_Shift_BIGINT(r, a, 77); }), (codes{0x04150016, 0}));
    EXPECT_EQ(run([&](auto* r, auto*) { return zrc_Right_Shift_BIGINT(r, a, 77); }), (codes{0x04160016, 0}));
    EXPECT_EQ(run([&](auto* r, auto*) { return ZRC_Mod_Exp_Mont_BIGINT(r, a, m, m, nullptr); }),
              (codes{0x040A003A, 0x040A0002, 0}));
    EXPECT_EQ(run([&](auto* r, auto* pool) { return ZRC_Mod_Exp_BIGINT(r, a, m, m, pool); }),
              (codes{0x0414001B, 0x0414003E, 0x04140042, 0x0414000D, 0}));
}

TEST_F(NumbersWithoutMemory, MontgomeryContexts)
{
    using context = zrc::owned<ZRC_BIGINT_MONT, zrc_Free_BIGINT_MONT>;
    EXPECT_EQ(run([&](auto*, auto* pool) {
                  const context mont{zrc_New_BIGINT_MONT()};
                  return mont ? zrc_Set_BIGINT_MONT(mont.get(), m, pool) : 1;
              }),
              (codes{1, 0x0409001B, 0x04090052, 0x0409000D, 0x04090010, 0}));
    const context mont{zrc_New_BIGINT_MONT()};
    ASSERT_EQ(zrc_Set_BIGINT_MONT(mont.get(), m, test::pool_ptr{ZRC_New_BIGINT_Pool()}.get()), 0U);
    EXPECT_EQ(run([&](auto* r, auto* pool) { return zrc_Mod_Mul_BIGINT_Montgomery(r, a, a, mont.get(), pool); }),
              (codes{0x040B003A, 0x040B0016, 0}));
    EXPECT_EQ(run([&](auto* r, auto* pool) { return zrc_BIGINT_from_Montgomery(r, a, mont.get(), pool); }),
              (codes{0x040C003A, 0x040C0016, 0}));
}

TEST_F(NumbersWithoutMemory, RandomValuesAndPrimes)
{
    start_generator();
    EXPECT_EQ(run([](auto* r, auto*) { return ZRC_Rand_BIGINT_Ex(r, 500, 0, 1); }), (codes{0x0417003B, 0x04170005, 0}));
    EXPECT_EQ(run([](auto* r, auto* pool) { return ZRC_Rand_BIGINT(r, 500, 0, 1, pool, 0); }),
              (codes{0x0418003B, 0x04180025, 0}));

    // The numbers to test with have memory, then temporaries; then candidates are drawn, shifted, and tested. What
    // fails from there on ends the search with 0.
    EXPECT_EQ(run([](auto* r, auto* pool) { return ZRC_Generate_BIGINT_Prime_Ex(r, 128, pool); }),
              (codes{0x041E001B, 0x041E004D, 0x041E0051, 0x041E004D, 0}));
    EXPECT_EQ(run([](auto* r, auto*) { return ZRC_Generate_BIGINT_Prime_Ex(r, 128, nullptr); }),
              (codes{0x041E0057, 0x041E001B, 0x041E004D, 0x041E0051, 0x041E004D, 0}));

    const bigint prime = test::of({0xFFFFFFFB});
    EXPECT_EQ(run([&](auto*, auto* pool) {
                  const std::int32_t answer = ZRC_Is_BIGINT_Prime_Ex(prime.get(), 3, pool);
                  return answer == 1 ? 0 : std::uint32_t(answer) + 7;
              }),
              (codes{7, 0}));
}

// The first allocation is for the bytes that are drawn, the second one the generator's, which is of no use afterwards.
TEST_F(NumbersWithoutMemory, RandomValuesFromAGeneratorThatCannotStart)
{
    test::in_a_fresh_process([] {
        const bigint r{ZRC_New_BIGINT()};
        std::uint8_t byte;
        ASSERT_EQ(ZRC_Rand_Bytes_DRBG(&byte, 1, 0, ZRC_SHA384, 0), 0U); // the next digest starts anew
        test::allocations_until_failure = 1;
        EXPECT_EQ(ZRC_Rand_BIGINT_Ex(r.get(), 64, 0, 0), 0x0417001DU);
    });
}

} // namespace
