// Secret exponentiation and arithmetic take no branch and read no address that depends on a secret. Secrets are
// marked undefined for valgrind, whose memcheck then reports each use of one in a condition or an address; outside of
// valgrind the tests are skipped:   valgrind <program> --gtest_filter='ConstantTime*'
#include "bigint/euclid.hpp"
#include "bigint/mod_exp.hpp"
#include "bigint/product.hpp"
#include "bigint/secret_arithmetic.hpp"
#include "core/cpu.hpp"
#include "kestrim/bigint_arithmetic.h"
#include "tests/bigint/bigint_value.hpp"

#include <random>

#if __has_include(<valgrind/memcheck.h>)

#include <valgrind/memcheck.h>

namespace {

using test::bigint;
void hide(auto* data, std::size_t count)
{
    VALGRIND_MAKE_MEM_UNDEFINED(data, count * sizeof *data);
}

void reveal(auto* data, std::size_t count)
{
    VALGRIND_MAKE_MEM_DEFINED(data, count * sizeof *data);
}

void hide(const bigint& secret)
{
    hide(secret->data, std::size_t(secret->length));
}

// The lowest word of a modulus (it is odd) and its top word (it is not zero) are public.
void hide_modulus(const bigint& m)
{
    if (m->length > 2) hide(m->data + 1, std::size_t(m->length) - 2);
}

void reveal(const bigint& number)
{
    reveal(number.get(), 1);
    reveal(number->data, std::size_t(number->allocated));
}

// Valgrind executes ADX instructions, although the processor it shows has none; it knows no AVX-512.
bool runs(zrc::cpu_feature needs)
{
    return zrc::cpu_has(needs) || needs == zrc::cpu_feature::adx;
}

class ConstantTime : public testing::Test {
protected:
    void SetUp() override
    {
        if (!RUNNING_ON_VALGRIND) GTEST_SKIP() << "not under valgrind";
    }

    // Errors since the last call.
    static unsigned long errors()
    {
        static unsigned long before = 0;
        const unsigned long now = VALGRIND_COUNT_ERRORS;
        return now - std::exchange(before, now);
    }

    bigint random_number(std::size_t words)
    {
        test::word_list value(words);
        std::generate(value.begin(), value.end(), [&] { return std::uint32_t(random_()) | 1; });
        return test::of(value);
    }

private:
    std::mt19937 random_{1};
};

TEST_F(ConstantTime, SecretExponentiation)
{
    struct {
        std::size_t words, a_words;
        std::uint32_t e_bits;
    } const sizes[] = {{2, 2, 5}, {4, 3, 128}, {13, 14, 70}, {16, 16, 512}, {18, 33, 300}, {32, 32, 320}, {33, 34, 40}};
    for (const auto& entry : zrc::mod_exp_kernels.list()) {
        if (!runs(entry.needs)) continue;
        zrc::mod_exp_kernels.force(entry.run);
        for (const auto& [words, a_words, e_bits] : sizes) {
            SCOPED_TRACE(testing::Message() << entry.name << ", " << words << " words, " << e_bits << " bits");
            const bigint a = random_number(a_words), e = random_number((e_bits + 31) / 32), m = random_number(words);
            const bigint expected = test::of({}), found[] = {test::of({}), test::of({}), test::of({})};
            if (e_bits % 32 != 0) (e->data[e->length - 1] >>= 32 - e_bits % 32) |= 1;
            ASSERT_EQ(ZRC_Mod_Exp_Mont_BIGINT(expected, a, e, m, nullptr), 0U);
            hide(a);
            hide(e);
            hide_modulus(m);
            errors();
            EXPECT_TRUE(zrc::secret_mod_exp({found[0], a, e, m, e_bits}));
            EXPECT_TRUE(zrc::secret_mod_exp_pair({found[1], a, e, m, e_bits}, {found[2], a, e, m, e_bits}));
            EXPECT_EQ(errors(), 0U);
            for (const bigint& r : found) {
                reveal(r);
                EXPECT_EQ(test::words_of(r), test::words_of(expected));
            }
        }
    }
    zrc::mod_exp_kernels.force(nullptr);
}

// The check itself: sliding windows branch on the exponent, and that is seen.
TEST_F(ConstantTime, PublicExponentiationIsNot)
{
    const bigint a = random_number(4), e = random_number(4), m = random_number(4), r = test::of({});
    hide(e->data, 1);
    errors();
    EXPECT_EQ(ZRC_Mod_Exp_Mont_BIGINT(r, a, e, m, nullptr), 0U);
    EXPECT_NE(errors(), 0U);
}

TEST_F(ConstantTime, SecretArithmetic)
{
    for (const auto& entry : zrc::product_kernels.list()) {
        if (!runs(entry.needs)) continue;
        SCOPED_TRACE(entry.name);
        zrc::product_kernels.force(entry.run);
        for (const std::size_t words : {1U, 2U, 5U, 16U, 37U}) {
            const bigint x = random_number(2 * words + 1), y = random_number(words), m = random_number(words);
            const bigint r = test::of(test::word_list(3 * words + 2));
            hide(x);
            hide(y);
            hide(m->data, words - 1);
            errors();
            EXPECT_TRUE(zrc::secret_mod(r, x, m) && zrc::secret_mod_mul(r, x, y, m) &&
                        zrc::secret_mod_sub(r, x, y, m) && zrc::secret_mul_add(r, x, y, x));
            bool answers[] = {zrc::secret_is_one(x), zrc::secret_equal(x, y), zrc::secret_less(x, y)};
            EXPECT_EQ(errors(), 0U);
            reveal(answers, 3);
            EXPECT_FALSE(answers[0] || answers[1] || answers[2]);
            EXPECT_TRUE(zrc::secret_sub_word(r, x, 1));
            EXPECT_LE(errors(), 1U) << "nothing but whether there was enough to subtract from";
        }
    }
    zrc::product_kernels.force(nullptr);
}

// One condition depends on the operands: whether there is an inverse.
TEST_F(ConstantTime, OfAnInverseOnlyTheAnswerIsSeen)
{
    for (const std::size_t words : {2U, 3U, 8U, 33U}) {
        const bigint a = random_number(words + 1), m = random_number(words), r = test::of({}), expected = test::of({});
        const test::pool_ptr pool{ZRC_New_BIGINT_Pool()};
        const std::uint32_t code = ZRC_Mod_Inverse_BIGINT(expected, a, m, pool);
        hide(a);
        hide_modulus(m);
        errors();
        bool found = zrc::secret_mod_inverse(r, a, m);
        EXPECT_EQ(errors(), 1U);
        reveal(r);
        reveal(&found, 1);
        EXPECT_EQ(found, code == 0);
        EXPECT_EQ(test::words_of(r), test::words_of(expected));
    }
}

} // namespace

#endif
