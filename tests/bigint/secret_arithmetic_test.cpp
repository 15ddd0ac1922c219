// Arithmetic on private numbers: the same results as the ordinary functions, over every operand, and nothing by halves.
#include "bigint/secret_arithmetic.hpp"
#include "kestrim/bigint_arithmetic.h"
#include "tests/allocator.hpp"
#include "tests/bigint/number_source.hpp"

#include <functional>

namespace {

using test::bigint;
using test::word_list;
using operands = std::vector<const ZRC_BIGINT*>;
using operation = std::function<bool(ZRC_BIGINT*, const operands&)>;

const operation kMod = [](auto* r, auto& x) { return zrc::secret_mod(r, x[0], x[1]); };
const operation kModMul = [](auto* r, auto& x) { return zrc::secret_mod_mul(r, x[0], x[1], x[2]); };
const operation kModSub = [](auto* r, auto& x) { return zrc::secret_mod_sub(r, x[0], x[1], x[2]); };
const operation kMulAdd = [](auto* r, auto& x) { return zrc::secret_mul_add(r, x[0], x[1], x[2]); };
const operation kSubWord = [](auto* r, auto& x) { return zrc::secret_sub_word(r, x[0], 5); };

// Into another object, and over each operand.
void expect_result(const operation& run, const operands& x, const bigint& expected, const char* what)
{
    for (std::size_t over = 0; over <= x.size(); ++over) {
        operands arguments = x;
        const bigint r = over < x.size() ? bigint{ZRC_Dup_BIGINT(x[over])} : test::of({9});
        if (over < x.size()) arguments[over] = r;
        EXPECT_TRUE(run(r, arguments));
        EXPECT_EQ(test::words_of(r), test::words_of(expected)) << what << " over operand " << over;
    }
}

// Moduli have no zero words on top, as other numbers may. Some are ones behind a top just above 2^63, where estimated
// quotients have the largest errors.
class number_source : public test::number_source {
public:
    using test::number_source::number_source;

    bigint number(std::size_t words, bool modulus = false)
    {
        word_list value = this->words(words);
        if (modulus && words > 2 && below(4) == 0) {
            std::fill(value.begin(), value.end() - 2, UINT32_MAX);
            value[words - 2] = below(1 << 24);
            value.back() = 0x80000000U;
        }
        if (modulus) value.back() |= below(2) == 0 ? 1 : 0x80000000U;
        if (words > 1 && !modulus && below(4) == 0) value.back() = value[words / 2] = 0;
        return test::of(value);
    }
};

using SecretArithmetic = test::with_pool;

TEST_F(SecretArithmetic, AgreesWithTheOrdinaryFunctions)
{
    number_source source{1};
    const bigint r = test::of({}), sum = test::of({}), five = test::of({5});
    for (const std::size_t n : {1U, 2U, 3U, 4U, 5U, 7U, 8U, 16U, 17U, 32U, 33U, 63U, 64U, 65U, 128U}) {
        for (const std::size_t a_words : {std::size_t{0}, std::size_t{1}, n - 1, n, n + 1, 2 * n, 2 * n + 3}) {
            for (const std::size_t b_words : {std::size_t{0}, n / 2, n, n + 2}) {
                SCOPED_TRACE(testing::Message() << a_words << ", " << b_words << " mod " << n);
                const bigint a = source.number(a_words), b = source.number(b_words), m = source.number(n, true);
                ASSERT_EQ(ZRC_Div_BIGINT(nullptr, r, a, m, pool()), 0U);
                expect_result(kMod, {a, m}, r, "mod");
                ASSERT_EQ(ZRC_Mod_Mtp_BIGINT(r, a, b, m, pool()), 0U);
                expect_result(kModMul, {a, b, m}, r, "mod_mul");
                ASSERT_EQ(ZRC_Mod_Sub_BIGINT(r, a, b, m, pool()), 0U);
                expect_result(kModSub, {a, b, m}, r, "mod_sub");
                ASSERT_EQ(ZRC_Mtp_BIGINT(r, b, m, pool()), 0U);
                if (b_words == 0) r->length = 0; // ZRC_Mtp_BIGINT gives 1
                ASSERT_EQ(ZRC_Add_BIGINT(sum, r, a), 0U);
                expect_result(kMulAdd, {b, m, a}, sum, "mul_add");
                if (zrc::secret_less(a, five)) continue;
                ASSERT_EQ(ZRC_Sub_BIGINT(r, a, five), 0U);
                expect_result(kSubWord, {a}, r, "sub_word");
            }
        }
    }
    // What the iteration for its reciprocal lacks in the end is as much as it can be, and a quotient depends on that.
    const bigint m{ZRC_HEX_To_BIGINT("800000004E32D3E50000000000000000")};
    const bigint a{ZRC_HEX_To_BIGINT("FF5FFFFF3AFF9AFFFFFFFFFFFFFFFFFFFFFFFF35FFFFFFFF"
                                     "FF34FFFFFFFFFFFFFFFFE7FFFFFFFFFFFFFFFFFF41FF56FF")};
    ASSERT_EQ(ZRC_Div_BIGINT(nullptr, r, a, m, pool()), 0U);
    expect_result(kMod, {a, m}, r, "mod");
}

TEST_F(SecretArithmetic, Comparisons)
{
    const word_list ascending[] = {{}, {1}, {2}, {UINT32_MAX}, {0, 1}, {1, 1}, {0, 2}, {5, 0, 7}, {4, 1, 7}};
    for (std::size_t i = 0; i < std::size(ascending); ++i)
        for (std::size_t j = 0; j < std::size(ascending); ++j)
            for (const std::size_t zeros : {0U, 1U, 3U}) { // on top
                word_list longer = ascending[i];
                longer.resize(longer.size() + zeros);
                const bigint a = test::of(longer), b = test::of(ascending[j]);
                EXPECT_EQ(zrc::secret_equal(a, b), i == j) << i << ' ' << j;
                EXPECT_EQ(zrc::secret_equal(b, a), i == j) << i << ' ' << j;
                EXPECT_EQ(zrc::secret_less(a, b), i < j) << i << ' ' << j;
                EXPECT_EQ(zrc::secret_less(b, a), j < i) << i << ' ' << j;
                EXPECT_EQ(zrc::secret_is_one(a), i == 1) << i;
            }
}

TEST_F(SecretArithmetic, WithoutMemoryTheResultIsAsBeforeAndNothingStaysBehind)
{
    number_source source{1};
    const bigint a = source.number(40), b = source.number(30, true), m = source.number(32, true);
    for (const operation& run : {kMod, kModMul, kModSub, kMulAdd, kSubWord}) {
        int failures = 0;
        for (bool done = false; !done; ++failures) {
            const bigint r = test::of({9});
            {
                const test::release_watch watch;
                test::allocations_until_failure = failures;
                done = run(r, {a, b, m});
                test::allocations_until_failure = -1;
                EXPECT_LE(watch.live_blocks(), done ? 1U : 0U);
            }
            EXPECT_EQ(test::dirty_releases, 0);
            EXPECT_TRUE(done || test::words_of(r) == word_list{9});
        }
        EXPECT_EQ(failures, 3) << "scratch memory, then the result";
    }
}

} // namespace
