// Secret exponentiation and arithmetic take no branch and read no address that depends on a secret. Secrets are marked
// undefined for valgrind, whose memcheck then reports each use of one in a condition or an address; outside of
// valgrind the tests are skipped:   valgrind <program> --gtest_filter='ConstantTime.*'
#include "bigint/mod_exp.hpp"
#include "bigint/product.hpp"
#include "bigint/secret_arithmetic.hpp"
#include "core/cpu.hpp"
#include "kestrim/bigint_arithmetic.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <gtest/gtest.h>
#include <random>
#include <utility>
#include <vector>

#if __has_include(<valgrind/memcheck.h>)

#include <valgrind/memcheck.h>

namespace {

using zrc::limb;
using numbers = std::vector<limb>;

template <class T>
void hide(std::vector<T>& secret)
{
    VALGRIND_MAKE_MEM_UNDEFINED(secret.data(), secret.size() * sizeof(T));
}

template <class T>
void reveal(std::vector<T>& secret)
{
    VALGRIND_MAKE_MEM_DEFINED(secret.data(), secret.size() * sizeof(T));
}

numbers random_number(std::mt19937_64& random, std::size_t limbs)
{
    numbers value(limbs);
    std::generate(value.begin(), value.end(), [&] { return limb(random()); });
    return value;
}

struct problem {
    numbers a, e, m, r;
    std::size_t e_bits;

    problem(std::mt19937_64& random, std::size_t limbs, std::size_t bits)
        : a{random_number(random, limbs)}, e{random_number(random, (bits + zrc::kLimbBits - 1) / zrc::kLimbBits)},
          m{random_number(random, limbs)}, r(limbs), e_bits{bits}
    {
        m.front() |= 1;
        m.back() |= 2; // above 1
        a.back() = 0;
        e.back() &= ~limb{0} >> (e.size() * zrc::kLimbBits - bits);
    }

    zrc::mod_exp_task task() { return {r.data(), a.data(), m.data(), m.size(), e.data(), e_bits}; }

    // Runs with everything but the lengths undefined, and gives the result.
    numbers hidden(auto run)
    {
        for (numbers* number : {&a, &e, &m})
            hide(*number);
        const bool done = run(task());
        for (numbers* number : {&a, &e, &m, &r})
            reveal(*number);
        EXPECT_TRUE(done);
        return r;
    }
};

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
};

TEST_F(ConstantTime, SecretKernels)
{
    constexpr struct {
        std::size_t limbs, e_bits;
    } kSizes[] = {{1, 5}, {2, 128}, {7, 70}, {8, 512}, {9, 300}, {16, 320}, {17, 40}};

    std::mt19937_64 random{1};
    for (const auto& entry : zrc::mod_exp_kernels.list()) {
        // Valgrind executes ADX instructions, although the processor it shows has none; it knows no AVX-512.
        if (!zrc::cpu_has(entry.needs) && entry.needs != zrc::cpu_feature::adx) continue;
        for (const auto& [limbs, e_bits] : kSizes) {
            SCOPED_TRACE(testing::Message() << entry.name << ", " << limbs << " limbs, " << e_bits << " bits");
            problem one{random, limbs, e_bits};
            errors();
            const numbers alone = one.hidden(entry.run->secret);
            const numbers first_of_two = one.hidden([&](const zrc::mod_exp_task& task) {
                problem two{one};
                return entry.run->secret_pair(task, two.task());
            });
            EXPECT_EQ(errors(), 0U);
            ASSERT_TRUE(zrc::kMontPortable.open(one.task()));
            EXPECT_EQ(alone, one.r);
            EXPECT_EQ(first_of_two, one.r);
        }
    }
}

ZRC_BIGINT bigint(std::vector<std::uint32_t>& words)
{
    return {words.data(), std::int32_t(words.size()), std::int32_t(words.size()), ZRC_BIGINT_STATIC};
}

std::vector<std::uint32_t> random_words(std::mt19937_64& random, std::size_t count)
{
    std::vector<std::uint32_t> words(count);
    std::generate(words.begin(), words.end(), [&] { return std::uint32_t(random()) | 1; });
    return words;
}

// Lengths, the lowest word of the modulus (it is odd) and its top word (it is not zero) are public.
TEST_F(ConstantTime, SecretBigints)
{
    std::mt19937_64 random{2};
    std::vector<std::uint32_t> a = random_words(random, 33), e = random_words(random, 9), m = random_words(random, 17);
    std::vector<std::uint32_t> r(17);
    ZRC_BIGINT base = bigint(a), exponent = bigint(e), modulus = bigint(m), result = bigint(r);

    errors();
    hide(a);
    hide(e);
    VALGRIND_MAKE_MEM_UNDEFINED(m.data() + 1, (m.size() - 2) * sizeof m[0]);
    ASSERT_TRUE(zrc::secret_mod_exp({&result, &base, &exponent, &modulus, 280}));
    EXPECT_EQ(errors(), 0U);
    for (auto* number : {&a, &e, &m, &r})
        reveal(*number);
    VALGRIND_MAKE_MEM_DEFINED(&result, sizeof result);

    std::vector<std::uint32_t> expected(17);
    ZRC_BIGINT power = bigint(expected);
    ASSERT_EQ(ZRC_Mod_Exp_Mont_BIGINT(&power, &base, &exponent, &modulus, nullptr), 0U);
    EXPECT_EQ(ZRC_Cmp_BIGINT(&result, &power), 0);
}

TEST_F(ConstantTime, SecretArithmetic)
{
    std::mt19937_64 random{4};
    for (const auto& entry : zrc::product_kernels.list()) {
        if (!zrc::cpu_has(entry.needs) && entry.needs != zrc::cpu_feature::adx) continue;
        SCOPED_TRACE(entry.name);
        zrc::product_kernels.force(entry.run);
        for (const std::size_t words : {1U, 2U, 5U, 16U, 37U}) {
            std::vector<std::uint32_t> a = random_words(random, 2 * words + 1), b = random_words(random, words),
                                       m = random_words(random, words), r(3 * words + 2);
            const ZRC_BIGINT x = bigint(a), y = bigint(b), modulus = bigint(m);
            ZRC_BIGINT result = bigint(r);
            bool answers[3];
            errors();
            hide(a);
            hide(b);
            VALGRIND_MAKE_MEM_UNDEFINED(m.data(), (words - 1) * sizeof m[0]);
            EXPECT_TRUE(zrc::secret_mod(&result, &x, &modulus) && zrc::secret_mod_mul(&result, &x, &y, &modulus) &&
                        zrc::secret_mod_sub(&result, &x, &y, &modulus) && zrc::secret_mul_add(&result, &x, &y, &x));
            answers[0] = zrc::secret_is_one(&x);
            answers[1] = zrc::secret_equal(&x, &y);
            answers[2] = zrc::secret_less(&x, &y);
            EXPECT_EQ(errors(), 0U);
            VALGRIND_MAKE_MEM_DEFINED(answers, sizeof answers);
            EXPECT_FALSE(answers[0] || answers[1] || answers[2]);
            EXPECT_TRUE(zrc::secret_sub_word(&result, &x, 1));
            EXPECT_LE(errors(), 1U) << "nothing but whether there was enough to subtract from";
        }
    }
    zrc::product_kernels.force(nullptr);
}

// The check itself: sliding windows branch on the exponent, and that is seen.
TEST_F(ConstantTime, PublicExponentiationIsNot)
{
    std::mt19937_64 random{3};
    problem one{random, 2, 100};
    errors();
    one.hidden(zrc::kMontPortable.open);
    EXPECT_NE(errors(), 0U);
}

} // namespace

#endif
