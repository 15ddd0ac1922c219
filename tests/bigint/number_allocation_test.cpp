// Big numbers without memory: every code, nothing lost, every frame closed again.
#include "bigint/mod_exp.hpp"
#include "core/owned.hpp"
#include "kestrim_crypto.h"
#include "tests/allocator.hpp"
#include "tests/bigint/bigint_value.hpp"
#include "tests/fresh_process.hpp"

#include <functional>

namespace {

using codes = std::vector<std::uint32_t>;
using test::bigint;

const std::uint8_t kBytes[160] = {0xC1, 2, 3, 4, 5};

class NumbersWithoutMemory : public testing::Test {
protected:
    NumbersWithoutMemory() { m->data[0] |= 1; }

    using operation = std::function<std::uint32_t(ZRC_BIGINT*, ZRC_BIGINT_POOL*)>;

    // What the operation answers until it works, without repetitions. Every result starts without an array, every
    // pool empty; a failed call leaves its frames closed.
    static codes run(const operation& operate)
    {
        return test::distinct_codes([&] {
            const int planned = std::exchange(test::allocations_until_failure, -1);
            const bigint r{ZRC_New_BIGINT()};
            const test::pool_ptr pool{ZRC_New_BIGINT_Pool()};
            test::allocations_until_failure = planned;
            const std::uint32_t code = operate(r, pool);
            test::allocations_until_failure = -1;
            EXPECT_TRUE(pool->depth == -1 && pool->used == 0);
            return code;
        });
    }

    const bigint a{ZRC_Binary_To_BIGINT(kBytes, 160, nullptr)}, m{ZRC_Binary_To_BIGINT(kBytes, 96, nullptr)};
    const bigint halved{ZRC_Binary_To_BIGINT(kBytes, 128, nullptr)}; // of a number of words that is a power of two
};

TEST_F(NumbersWithoutMemory, EveryOperationAnswersItsCode)
{
    using zrc::mod_exp_outcome;
    const std::pair<operation, codes> cases[] = {
        {[&](auto* r, auto*) { return ZRC_Copy_BIGINT(r, a); }, {0x041F0016}},
        {[&](auto* r, auto*) { return ZRC_Set_BIGINT_Word(r, 7); }, {0x04200016}},
        {[&](auto* r, auto*) { return ZRC_Set_BIGINT_Bit(r, 100); }, {0x04210016}},
        {[&](auto* r, auto*) { return ZRC_Add_BIGINT(r, a, m); }, {0x040D0016}},
        {[&](auto* r, auto*) { return ZRC_Sub_BIGINT(r, a, m); }, {0x040E0016}},
        {[&](auto* r, auto* p) { return ZRC_Mtp_BIGINT(r, a, m, p); }, {0x04120016}},
        {[&](auto* r, auto* p) { return ZRC_Mtp_BIGINT(r, a, a, p); }, {0x0412001B, 0x04120016}},
        {[&](auto* r, auto* p) { return ZRC_Copy_BIGINT(r, m) != 0 ? 1 : ZRC_Mtp_BIGINT(r, r, a, p); },
         {1, 0x0412001B, 0x04120016, 0x0412000D}},
        {[&](auto* r, auto* p) { return ZRC_Sqr_BIGINT(r, a, p); }, {0x04110016}},
        {[&](auto* r, auto* p) { return ZRC_Sqr_BIGINT(r, halved, p); }, {0x04110016, 0x0411001B, 0x04110016}},
        {[&](auto* r, auto* p) { return ZRC_Div_BIGINT(r, nullptr, a, m, p); }, {0x04100057, 0x04100039, 0x0410003A}},
        {[&](auto* r, auto*) { return ZRC_Div_BIGINT(nullptr, r, a, m, nullptr); },
         {0x0410003A, 0x04100039, 0x0410003A}},
        {[&](auto* r, auto* p) { return ZRC_Mod_Mtp_BIGINT(r, a, a, m, p); }, {0x0413001B, 0x04130044, 0x0413003E}},
        {[&](auto* r, auto* p) { return ZRC_Mod_Sub_BIGINT(r, m, a, m, p); },
         {0x040F001B, 0x040F003E, 0x040F0001, 0x040F0058}},
        {[&](auto* r, auto* p) { return ZRC_Mod_Inverse_BIGINT(r, a, m, p); }, {0x0407003A, 0x04070016}},
        {[&](auto*, auto* p) { return ZRC_Mod_Inverse_BIGINT(nullptr, a, m, p); },
         {0x0407001B, 0x0407003A, 0x04070016}},
        {[&](auto* r, auto* p) { return zrc_Gcd_BIGINT(r, a, m, p); }, {0x04060015, 0x04060016}},
        {[&](auto* r, auto*) { return std::uint32_t(zrc::open_mod_exp_product(r, a, a, a, m, m)); },
         {std::uint32_t(mod_exp_outcome::no_memory), std::uint32_t(mod_exp_outcome::no_room)}},
        {[&](auto* r, auto*) { return zrc_Left_Shift_BIGINT(r, a, 77); }, {0x04150016}},
        {[&](auto* r, auto*) { return zrc_Right_Shift_BIGINT(r, a, 77); }, {0x04160016}},
        {[&](auto* r, auto*) { return ZRC_Mod_Exp_Mont_BIGINT(r, a, m, m, nullptr); }, {0x040A003A, 0x040A0002}},
        {[&](auto* r, auto* p) { return ZRC_Mod_Exp_BIGINT(r, a, m, m, p); },
         {0x0414001B, 0x0414003E, 0x04140042, 0x0414000D}},
    };
    for (const auto& [operate, failures] : cases) {
        codes expected = failures;
        expected.push_back(0);
        EXPECT_EQ(run(operate), expected) << std::hex << failures[0];
    }
}

TEST_F(NumbersWithoutMemory, MontgomeryContexts)
{
    using context = zrc::owned<ZRC_BIGINT_MONT, zrc_Free_BIGINT_MONT>;
    const operation set = [&](auto*, auto* pool) {
        const context mont{zrc_New_BIGINT_MONT()};
        return mont ? zrc_Set_BIGINT_MONT(mont.get(), m, pool) : 1;
    };
    EXPECT_EQ(run(set), (codes{1, 0x0409001B, 0x04090052, 0x0409000D, 0x04090010, 0}));
    const context mont{zrc_New_BIGINT_MONT()};
    ASSERT_EQ(zrc_Set_BIGINT_MONT(mont.get(), m, test::pool_ptr{ZRC_New_BIGINT_Pool()}), 0U);
    EXPECT_EQ(run([&](auto* r, auto* pool) { return zrc_Mod_Mul_BIGINT_Montgomery(r, a, a, mont.get(), pool); }),
              (codes{0x040B003A, 0x040B0016, 0}));
    EXPECT_EQ(run([&](auto* r, auto* pool) { return zrc_BIGINT_from_Montgomery(r, a, mont.get(), pool); }),
              (codes{0x040C003A, 0x040C0016, 0}));
}

TEST_F(NumbersWithoutMemory, RandomValuesAndPrimes)
{
    std::uint8_t drawn = 0; // the generator stays locked when an allocation of its own fails: it is started before
    ASSERT_EQ(ZRC_Rand_Bytes(&drawn, 1), 0U);
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
    const operation is_no_prime = [&](auto*, auto* pool) -> std::uint32_t {
        const std::int32_t answer = ZRC_Is_BIGINT_Prime_Ex(prime, 3, pool);
        return answer == 1 ? 0 : answer == 0 ? 7 : 6;
    };
    EXPECT_EQ(run(is_no_prime), (codes{7, 0}));
}

// The first allocation is for the bytes that are drawn, the second one the generator's, which is of no use afterwards.
TEST_F(NumbersWithoutMemory, RandomValuesFromAGeneratorThatCannotStart)
{
    test::in_a_fresh_process([] {
        const bigint r{ZRC_New_BIGINT()};
        std::uint8_t byte;
        ASSERT_EQ(ZRC_Rand_Bytes_DRBG(&byte, 1, 0, ZRC_SHA384, 0), 0U); // the next digest starts anew
        test::allocations_until_failure = 1;
        EXPECT_EQ(ZRC_Rand_BIGINT_Ex(r, 64, 0, 0), 0x0417001DU);
    });
}

} // namespace
