// The word primitives and the product kernels: plain arithmetic on 32-bit words, each other, and published answers.
#include "bigint/product.hpp"
#include "kestrim/bigint_words.h"
#include "tests/bigint/number_source.hpp"
#include "tests/runnable.hpp"

#include <bit>
#include <csignal>
#include <cstring>

namespace {

using words = std::vector<std::uint32_t>;
using limbs = std::vector<zrc::limb>;

constexpr std::uint32_t kGuard = 0xA5C3E197; // behind every result

std::int32_t count(const words& value)
{
    return std::int32_t(value.size());
}

// A big-endian number, in `size` words or without zero words on top.
words number(const test::bytes& big_endian, std::size_t size = 0)
{
    words value((big_endian.size() + 3) / 4);
    for (std::size_t i = 0; i < big_endian.size(); ++i)
        value[i / 4] |= std::uint32_t{big_endian[big_endian.size() - 1 - i]} << (8 * (i % 4));
    while (!value.empty() && value.back() == 0)
        value.pop_back();
    if (size != 0) value.resize(size);
    return value;
}

words resized(words value, std::size_t size)
{
    value.resize(size);
    return value;
}

// Digit by digit, as on paper, filled up to `size` words.
words paper_product(const words& a, const words& b, std::size_t size = 0)
{
    words r(std::max(size, a.size() + b.size()));
    for (std::size_t i = 0; i < a.size(); ++i) {
        std::uint64_t carry = 0;
        for (std::size_t j = 0; j < b.size(); ++j, carry >>= 32)
            r[i + j] = std::uint32_t(carry += std::uint64_t{a[i]} * b[j] + r[i + j]);
        r[i + b.size()] = std::uint32_t(carry);
    }
    return r;
}

limbs random_limbs(test::number_source& random, std::size_t size)
{
    limbs value(size);
    if (size != 0)
        std::memcpy(value.data(), random.words(size * sizeof(zrc::limb) / 4).data(), size * sizeof(zrc::limb));
    return value;
}

// Runs `work` on room for `size` words and on scratch memory, both aligned as words only, and sees that it writes
// before and behind neither.
words result(std::size_t size, std::size_t scratch_size, auto work)
{
    words r(size + 2, kGuard), scratch(scratch_size + 2, kGuard);
    work(r.data() + 1, scratch.data() + 1);
    for (const words& memory : {r, scratch})
        EXPECT_TRUE(memory.front() == kGuard && memory.back() == kGuard) << "outside of its memory";
    return {r.begin() + 1, r.end() - 1};
}

words word_base(const words& a, const words& b)
{
    return result(a.size() + b.size(), 0,
                  [&](auto* r, auto*) { zrc_Mtp_Word_Base(r, a.data(), count(a), b.data(), count(b)); });
}

words square(const words& a, decltype(zrc_Sqr_Recursive)* work)
{
    return result(2 * a.size(), 2 * a.size(), [&](auto* r, auto* scratch) { work(r, a.data(), count(a), scratch); });
}

// zrc_Mtp_Recursive, and above it zrc_Mtp_Recursive_P for operands of n words and more.
words recursive(const words& a, const words& b, std::size_t n, bool above = false)
{
    const auto work = above ? zrc_Mtp_Recursive_P : zrc_Mtp_Recursive;
    const auto half = std::int32_t(n);
    return result((above ? 4 : 2) * n, (above ? 8 : 4) * n, [&](auto* r, auto* scratch) {
        work(r, a.data(), b.data(), half, count(a) - half, count(b) - half, scratch);
    });
}

// By every primitive that takes operands of these sizes. In zrc_Mtp_Recursive, words are missing up to a power of two.
void expect_product(const words& a, const words& b)
{
    SCOPED_TRACE(testing::Message() << a.size() << " and " << b.size());
    const words product = paper_product(a, b);
    const auto expect = [&](const words& found) { EXPECT_EQ(found, resized(product, found.size())); };
    const std::size_t size = std::max(a.size(), b.size()), least = std::min(a.size(), b.size());
    const std::size_t n = std::bit_floor(size);
    expect(word_base(a, b));
    expect(recursive(a, b, std::bit_ceil(size)));
    if (least >= n) expect(recursive(a, b, n, true));
    const bool four = size == 4, base = least == size && (four || size == 8);
    const auto multiply_base = four ? zrc_Mtp_Base : zrc_Mtp_Base_Ex;
    const auto square_base = four ? zrc_Sqr_Base : zrc_Sqr_Base_Ex;
    if (base) expect(result(2 * size, 0, [&](auto* r, auto*) { multiply_base(r, a.data(), b.data()); }));
    if (&a != &b) return;
    expect(square(a, zrc_Sqr_Word_Base));
    if (size == n) expect(square(a, zrc_Sqr_Recursive));
    if (base) expect(result(2 * size, 0, [&](auto* r, auto*) { square_base(r, a.data()); }));
}

// With every kernel of this machine, and with one that halves operands as early as the primitives allow.
void with_each_product(auto work)
{
    test::with_each_kernel(zrc::product_kernels, work);
    zrc::product_kernel eager = zrc::kPortableProduct;
    eager.multiply_halving_limbs = eager.square_halving_limbs = 1;
    zrc::product_kernels.force(&eager);
    work();
    zrc::product_kernels.force(nullptr);
}

TEST(Words, GiveThePublishedOneWordResults)
{
    for (const test::stanza& vector : test::read_vectors("bigint_words.txt", "word")) {
        SCOPED_TRACE(vector.place);
        const words a = number(vector["a"]), single = number(vector["w"], 1);
        const std::uint32_t w = single[0];
        const std::size_t n = a.size();

        words product(n), added = a, sum(n), quotient(n), in_steps(n + 1);
        product.push_back(zrc_Mtp_Words(product.data(), a.data(), count(a), w));
        EXPECT_EQ(product, number(vector["product"], n + 1));
        sum.push_back(zrc_Add_Words(sum.data(), a.data(), resized(single, n).data(), count(a)));
        EXPECT_EQ(sum, number(vector["sum"], n + 1));

        const words w_alone = resized(single, n + 1);
        EXPECT_EQ(zrc_Sub_Words(sum.data(), sum.data(), w_alone.data(), count(sum)), 0U);
        EXPECT_EQ(sum, resized(a, n + 1));

        // a + a w in one step and in two
        added.push_back(zrc_Mtp_Add_Words(added.data(), a.data(), count(a), w));
        zrc_Add_Words(in_steps.data(), product.data(), resized(a, n + 1).data(), count(in_steps));
        EXPECT_EQ(added, in_steps);

        words squares(2 * n);
        zrc_Sqr_Words(squares.data(), a.data(), count(a));
        for (std::size_t i = 0; i < n; ++i)
            EXPECT_EQ(std::uint64_t{squares[2 * i + 1]} << 32 | squares[2 * i], std::uint64_t{a[i]} * a[i]);

        std::uint32_t remainder = 0;
        for (std::size_t i = n; i-- > 0; remainder = a[i] - quotient[i] * w)
            quotient[i] = zrc_Div_Words(remainder, a[i], w);
        EXPECT_EQ(quotient, number(vector["quotient"], n));
        EXPECT_EQ(words{remainder}, number(vector["remainder"], 1));
    }
    EXPECT_EQ(zrc_Div_Words(7, 1, 0), 0xFFFFFFFFU);
    EXPECT_EQ(zrc_Div_Words(5, 0, 2), 0x80000000U) << "the low word of 2^33 + 2^31";
}

// Word counts around the thresholds, with and without a word that is no whole limb, then longer ones.
TEST(Words, AgreeWithProductsOnPaper)
{
    std::vector<std::size_t> sizes{127, 128, 129, 200, 255, 256, 500, 512, 1000};
    for (std::size_t size = 1; size <= 67; ++size)
        sizes.push_back(size);
    with_each_product([&] {
        test::number_source random{3};
        for (const std::size_t size : sizes)
            for (std::size_t lacking = 0; lacking < size; lacking += 1 + random.upto(lacking)) {
                const words a = random.words(size), b = random.words(size - lacking);
                expect_product(a, b);
                expect_product(b, a);
                if (lacking == 0) expect_product(a, a);
            }
    });
    EXPECT_EQ(word_base({}, {1, 2}), words(2));
    EXPECT_EQ(word_base({7}, {}), words(1));
}

TEST(ProductKernels, EqualThePortableOne)
{
    auto kernels = test::runnable(zrc::product_kernels);
    std::ranges::reverse(kernels);
    ASSERT_EQ(kernels.front().run, &zrc::kPortableProduct);
    test::number_source random{5};
    const auto expect_equal = [&](const limbs& a, const limbs& b) {
        std::vector<limbs> expected;
        for (const auto& kernel : kernels) {
            limbs product(a.size() + b.size() + 1, kGuard), square(2 * a.size() + 1, kGuard), sum = product;
            kernel.run->multiply(product.data(), a.data(), a.size(), b.data(), b.size());
            kernel.run->square(square.data(), a.data(), a.size());
            sum[a.size()] = kernel.run->add_multiple(sum.data(), a.data(), a.size(), b[0]);
            EXPECT_TRUE(product.back() == kGuard && square.back() == kGuard) << kernel.name;
            if (expected.empty()) expected = {product, square, sum};
            ASSERT_EQ((std::vector{product, square, sum}), expected) << kernel.name << a.size() << " " << b.size();
        }
    };
    for (std::size_t na = 1; na <= 70; ++na)
        for (std::size_t nb = 1; nb <= 70; ++nb)
            expect_equal(random_limbs(random, na), random_limbs(random, nb));
    for (const std::size_t na : {71U, 79U, 80U, 96U, 127U, 128U, 129U, 200U})
        for (const std::size_t nb : {1U, 7U, 64U, 81U, 105U, 128U, 130U})
            expect_equal(random_limbs(random, na), random_limbs(random, nb));
    for (std::size_t n = 1; n <= 128; ++n) // the longest carries
        expect_equal(limbs(n, zrc::limb(-1)), limbs(n, zrc::limb(-1)));
}

TEST(WordsDeathTest, NegativeCountsOfOneWordProductsAbort)
{
    words r{1, 2}, a{3, 4};
    EXPECT_EXIT(zrc_Mtp_Words(r.data(), a.data(), -1, 5), testing::KilledBySignal(SIGABRT), "num >= 0");
    EXPECT_EXIT(zrc_Mtp_Add_Words(r.data(), a.data(), INT32_MIN, 5), testing::KilledBySignal(SIGABRT), "num >= 0");
}

TEST(Words, OtherCountsOutOfRangeDoNothing)
{
    words r(8, kGuard), work(8, kGuard), x(8, 3);
    const std::uint32_t* const a = x.data();
    const auto expect_nothing = [&](std::int32_t bad) {
        EXPECT_EQ(zrc_Add_Words(r.data(), a, a, bad) | zrc_Sub_Words(r.data(), a, a, bad) |
                      zrc_Sub_Part_Words(r.data(), a, a, bad, 1),
                  0U);
        EXPECT_EQ(zrc_Cmp_Parts(a, a, bad, 1), 0);
        zrc_Sqr_Words(r.data(), a, bad);
        zrc_Mtp_Word_Base(r.data(), a, bad, a, 1);
        zrc_Mtp_Word_Base(r.data(), a, 1, a, bad);
        zrc_Sqr_Word_Base(r.data(), a, bad, work.data());
        zrc_Mtp_Recursive(r.data(), a, a, bad, 0, 0, work.data());
        zrc_Mtp_Recursive_P(r.data(), a, a, bad, 0, 0, work.data());
        zrc_Mtp_Recursive_P(r.data(), a, a, 2, bad, 0, work.data());
        zrc_Sqr_Recursive(r.data(), a, bad, work.data());
    };
    expect_nothing(-1);
    expect_nothing(INT32_MIN);
    zrc_Mtp_Recursive(r.data(), a, a, 2, 1, 0, work.data());
    zrc_Mtp_Recursive_P(r.data(), a, a, 2, 0, 3, work.data());
    EXPECT_TRUE(r == words(8, kGuard) && work == r);
}

} // namespace
