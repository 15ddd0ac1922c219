// The word primitives and the product kernels: plain arithmetic on 32-bit words, each other, and published answers.
#include "bigint/product.hpp"
#include "bigint/steady_division.hpp"
#include "kestrim/bigint_words.h"
#include "tests/vector_file.hpp"

#include <algorithm>
#include <bit>
#include <csignal>
#include <gtest/gtest.h>

namespace {

using words = std::vector<std::uint32_t>;
using limbs = std::vector<zrc::limb>;

constexpr std::uint32_t kGuard = 0xA5C3E197; // behind every result

std::int32_t count(const words& value)
{
    return std::int32_t(value.size());
}

// A big-endian number without zero words on top.
words number(const test::bytes& big_endian)
{
    words value((big_endian.size() + 3) / 4);
    for (std::size_t i = 0; i < big_endian.size(); ++i)
        value[i / 4] |= std::uint32_t{big_endian[big_endian.size() - 1 - i]} << (8 * (i % 4));
    while (!value.empty() && value.back() == 0)
        value.pop_back();
    return value;
}

words resized(words value, std::size_t size)
{
    value.resize(size);
    return value;
}

// Digit by digit, as on paper.
words paper_product(const words& a, const words& b)
{
    words r(a.size() + b.size());
    for (std::size_t i = 0; i < a.size(); ++i) {
        std::uint64_t carry = 0;
        for (std::size_t j = 0; j < b.size(); ++j, carry >>= 32) {
            carry += std::uint64_t{a[i]} * b[j] + r[i + j];
            r[i + j] = std::uint32_t(carry);
        }
        r[i + b.size()] = std::uint32_t(carry);
    }
    return r;
}

// Values that carry far, or hardly ever, among random ones.
class operands {
public:
    explicit operands(std::uint32_t seed) : random_{seed} {}

    std::size_t upto(std::size_t largest) { return random_.upto(largest); }

    template <class Array = words>
    Array next(std::size_t size)
    {
        using unit = typename Array::value_type;
        Array value(size);
        const std::size_t kind = random_.upto(6);
        for (unit& part : value) {
            const test::bytes data = random_.data(sizeof part);
            unit random{};
            for (const std::uint8_t byte : data)
                random = unit(random << 8 | byte);
            const bool rare = random_.upto(7) == 0;
            if (kind == 0) part = unit(-1);
            if (kind == 1) part = rare ? unit(1) << random_.upto(8 * sizeof part - 1) : 0;
            if (kind == 2) part = rare ? random : unit(-1);
            if (kind == 3) part = rare ? random : 0;
            if (kind > 3) part = random;
        }
        return value;
    }

private:
    test::repeatable random_;
};

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
    return result(a.size() + b.size(), 0, [&](std::uint32_t* r, std::uint32_t*) {
        zrc_Mtp_Word_Base(r, a.data(), count(a), b.data(), count(b));
    });
}

words square_base(const words& a)
{
    return result(2 * a.size(), 2 * a.size(),
                  [&](std::uint32_t* r, std::uint32_t* scratch) { zrc_Sqr_Word_Base(r, a.data(), count(a), scratch); });
}

words recursive(const words& a, const words& b, std::size_t n)
{
    return result(2 * n, 4 * n, [&](std::uint32_t* r, std::uint32_t* scratch) {
        zrc_Mtp_Recursive(r, a.data(), b.data(), std::int32_t(n), count(a) - std::int32_t(n),
                          count(b) - std::int32_t(n), scratch);
    });
}

words recursive_p(const words& a, const words& b, std::size_t n)
{
    return result(4 * n, 8 * n, [&](std::uint32_t* r, std::uint32_t* scratch) {
        zrc_Mtp_Recursive_P(r, a.data(), b.data(), std::int32_t(n), count(a) - std::int32_t(n),
                            count(b) - std::int32_t(n), scratch);
    });
}

words square_recursive(const words& a)
{
    return result(2 * a.size(), 2 * a.size(),
                  [&](std::uint32_t* r, std::uint32_t* scratch) { zrc_Sqr_Recursive(r, a.data(), count(a), scratch); });
}

// By every primitive that takes operands of these sizes.
void expect_product(const words& a, const words& b, const words& expected, const std::string& place)
{
    const std::size_t size = std::max(a.size(), b.size()), n = std::bit_floor(size);
    EXPECT_EQ(word_base(a, b), expected) << place;
    if (a.size() == 4 && b.size() == 4) {
        EXPECT_EQ(result(8, 0, [&](auto* r, auto*) { zrc_Mtp_Base(r, a.data(), b.data()); }), expected) << place;
    }
    if (a.size() == 8 && b.size() == 8) {
        EXPECT_EQ(result(16, 0, [&](auto* r, auto*) { zrc_Mtp_Base_Ex(r, a.data(), b.data()); }), expected) << place;
    }
    if (size == n) {
        EXPECT_EQ(recursive(a, b, n), resized(expected, 2 * n)) << place;
    } else if (std::min(a.size(), b.size()) >= n) {
        EXPECT_EQ(recursive_p(a, b, n), resized(expected, 4 * n)) << place;
    }
}

void expect_square(const words& a, const words& expected, const std::string& place)
{
    EXPECT_EQ(square_base(a), expected) << place;
    if (a.size() == 4) {
        EXPECT_EQ(result(8, 0, [&](auto* r, auto*) { zrc_Sqr_Base(r, a.data()); }), expected) << place;
    }
    if (a.size() == 8) {
        EXPECT_EQ(result(16, 0, [&](auto* r, auto*) { zrc_Sqr_Base_Ex(r, a.data()); }), expected) << place;
    }
    if (std::has_single_bit(a.size())) {
        EXPECT_EQ(square_recursive(a), expected) << place;
    }
    expect_product(a, a, expected, place);
}

// With every kernel of this machine, and with one that halves operands as early as the primitives allow.
void with_each_kernel(auto work)
{
    const zrc::product_kernel& portable = zrc::kPortableProduct;
    const zrc::product_kernel eager{portable.multiply, portable.square, portable.add_multiple, 1, 1};
    for (const auto& kernel : zrc::product_kernels.list()) {
        if (!zrc::cpu_has(kernel.needs)) continue;
        zrc::product_kernels.force(kernel.run);
        work(std::string(kernel.name));
    }
    zrc::product_kernels.force(&eager);
    work(std::string("eager"));
    zrc::product_kernels.force(nullptr);
}

TEST(Words, GiveThePublishedOneWordResults)
{
    for (const test::stanza& vector : test::read_vectors("bigint_words.txt", "word")) {
        const words a = number(vector["a"]), single = resized(number(vector["w"]), 1);
        const std::uint32_t w = single[0];
        const std::size_t n = a.size();

        words product(n), added = a, sum(n), quotient(n);
        product.push_back(zrc_Mtp_Words(product.data(), a.data(), std::int32_t(n), w));
        EXPECT_EQ(product, resized(number(vector["product"]), n + 1)) << vector.place;

        sum.push_back(zrc_Add_Words(sum.data(), a.data(), resized(single, n).data(), std::int32_t(n)));
        EXPECT_EQ(sum, resized(number(vector["sum"]), n + 1)) << vector.place;

        // a + a w in one step and in two
        added.push_back(zrc_Mtp_Add_Words(added.data(), a.data(), std::int32_t(n), w));
        words in_steps(n + 1);
        zrc_Add_Words(in_steps.data(), product.data(), resized(a, n + 1).data(), std::int32_t(n + 1));
        EXPECT_EQ(added, in_steps) << vector.place;

        std::uint32_t remainder = 0;
        for (std::size_t i = n; i-- > 0;) {
            quotient[i] = zrc_Div_Words(remainder, a[i], w);
            remainder = a[i] - quotient[i] * w;
        }
        EXPECT_EQ(quotient, resized(number(vector["quotient"]), n)) << vector.place;
        EXPECT_EQ(words{remainder}, resized(number(vector["remainder"]), 1)) << vector.place;
    }
    EXPECT_EQ(zrc_Div_Words(7, 1, 0), 0xFFFFFFFFU);
    EXPECT_EQ(zrc_Div_Words(5, 0, 2), 0x80000000U) << "the low word of 2^33 + 2^31";
}

TEST(Words, AddAndSubtractInPlaceAndNot)
{
    operands random{1};
    for (std::size_t n = 0; n <= 40; ++n) {
        const words a = random.next(n), b = random.next(n);
        words sum(n), back(n), in_place = a, in_place_b = b;
        const std::uint32_t carry = zrc_Add_Words(sum.data(), a.data(), b.data(), std::int32_t(n));
        EXPECT_EQ(zrc_Add_Words(in_place.data(), in_place.data(), b.data(), std::int32_t(n)), carry);
        EXPECT_EQ(zrc_Add_Words(in_place_b.data(), a.data(), in_place_b.data(), std::int32_t(n)), carry);
        EXPECT_EQ(zrc_Sub_Words(back.data(), sum.data(), b.data(), std::int32_t(n)), carry);
        EXPECT_EQ(back, a);
        EXPECT_EQ(in_place, sum);
        EXPECT_EQ(in_place_b, sum);

        words plain(n);
        std::uint64_t over = 0;
        for (std::size_t i = 0; i < n; ++i, over >>= 32)
            plain[i] = std::uint32_t(over += std::uint64_t{a[i]} + b[i]);
        EXPECT_EQ(sum, plain);
        EXPECT_EQ(carry, over);

        words squares(2 * n);
        zrc_Sqr_Words(squares.data(), a.data(), std::int32_t(n));
        for (std::size_t i = 0; i < n; ++i)
            EXPECT_EQ(std::uint64_t{squares[2 * i + 1]} << 32 | squares[2 * i], std::uint64_t{a[i]} * a[i]);
    }
}

// Both are defined by what they give for operands filled up with zeros.
TEST(Words, CompareAndSubtractOperandsOfDifferentLengths)
{
    operands random{2};
    for (std::size_t a_size = 0; a_size <= 9; ++a_size)
        for (std::size_t b_size = 0; b_size <= 9; ++b_size)
            for (int round = 0; round < 20; ++round) {
                words a = random.next(a_size), b = random.next(b_size);
                if (round % 2 == 0) std::copy_n(a.begin(), std::min(a_size, b_size), b.begin()); // equal low parts
                const std::size_t longer = std::max(a_size, b_size);
                const words whole_a = resized(a, longer), whole_b = resized(b, longer);
                const std::int32_t common = std::int32_t(std::min(a_size, b_size));
                const std::int32_t difference = count(a) - count(b);

                const auto order = std::lexicographical_compare_three_way(whole_a.rbegin(), whole_a.rend(),
                                                                          whole_b.rbegin(), whole_b.rend());
                EXPECT_EQ(zrc_Cmp_Parts(a.data(), b.data(), common, difference), order < 0 ? -1 : order > 0 ? 1 : 0);

                words expected(longer);
                const std::uint32_t borrow =
                    zrc_Sub_Words(expected.data(), whole_a.data(), whole_b.data(), std::int32_t(longer));
                EXPECT_EQ(result(longer, 0,
                                 [&](std::uint32_t* r, std::uint32_t*) {
                                     EXPECT_EQ(zrc_Sub_Part_Words(r, a.data(), b.data(), common, difference), borrow);
                                 }),
                          expected);
            }
}

// Word counts around the thresholds, with and without a word that is no whole limb.
TEST(Words, AgreeWithProductsOnPaper)
{
    with_each_kernel([](const std::string& kernel) {
        operands random{3};
        for (std::size_t size = 1; size <= 67; ++size)
            for (std::size_t lacking = 0; lacking < size; lacking += 1 + random.upto(lacking)) {
                const words a = random.next(size), b = random.next(size - lacking);
                const std::string sizes = kernel + ", " + std::to_string(size) + " and " + std::to_string(b.size());
                const words expected = paper_product(a, b);
                expect_product(a, b, expected, sizes);
                expect_product(b, a, expected, sizes + " swapped");
                if (lacking == 0) expect_square(a, paper_product(a, a), sizes);
            }
    });
    EXPECT_EQ(word_base({}, {1, 2}), words(2));
    EXPECT_EQ(word_base({7}, {}), words(1));
}

// Every number of missing words, and operands that make each sign of the differences of halves.
TEST(Words, HalveOperandsOfAllLengths)
{
    with_each_kernel([](const std::string& kernel) {
        operands random{4};
        for (const std::size_t n : {4U, 8U, 16U, 32U, 64U, 128U, 512U})
            for (int round = 0; round < 40; ++round) {
                words a = random.next(n - (round % 4 == 0 ? 0 : random.upto(n / (round % 3 == 0 ? 1 : 8))));
                words b = random.next(n - (round % 5 == 0 ? 0 : random.upto(n / (round % 3 == 0 ? 1 : 8))));
                if (round % 8 == 0) std::copy_n(a.begin(), n / 2, a.begin() + std::ptrdiff_t(n) / 2); // no difference
                EXPECT_EQ(recursive(a, b, n), resized(paper_product(a, b), 2 * n))
                    << kernel << ", " << a.size() << " and " << b.size() << " of " << n;
                if (a.size() == n) {
                    EXPECT_EQ(square_recursive(a), paper_product(a, a)) << kernel << ", " << n;
                }

                a = random.next(n + random.upto(n));
                b = random.next(std::min(2 * n, round % 2 == 0 ? a.size() + 1 : n + random.upto(n)));
                EXPECT_EQ(recursive_p(a, b, n), resized(paper_product(a, b), 4 * n))
                    << kernel << ", " << a.size() << " and " << b.size() << " above " << n;
            }
    });
}

limbs limb_product(const zrc::product_kernel& kernel, const limbs& a, const limbs& b)
{
    limbs r(a.size() + b.size() + 1, kGuard);
    kernel.multiply(r.data(), a.data(), a.size(), b.data(), b.size());
    EXPECT_EQ(r.back(), kGuard);
    return r;
}

limbs limb_square(const zrc::product_kernel& kernel, const limbs& a)
{
    limbs r(2 * a.size() + 1, kGuard);
    kernel.square(r.data(), a.data(), a.size());
    EXPECT_EQ(r.back(), kGuard);
    return r;
}

TEST(ProductKernels, EqualThePortableOne)
{
    const auto& kernels = zrc::product_kernels.list();
    ASSERT_EQ(kernels.back().run, &zrc::kPortableProduct);
    operands random{5};
    const auto expect_equal = [&](std::size_t na, std::size_t nb) {
        const limbs a = random.next<limbs>(na), b = random.next<limbs>(nb);
        const limbs product = limb_product(zrc::kPortableProduct, a, b);
        const limbs square = limb_square(zrc::kPortableProduct, a);
        for (const auto& kernel : kernels) {
            if (!zrc::cpu_has(kernel.needs)) continue;
            ASSERT_EQ(limb_product(*kernel.run, a, b), product) << kernel.name << ", " << na << " and " << nb;
            ASSERT_EQ(limb_square(*kernel.run, a), square) << kernel.name << ", " << na;
        }
    };
    for (std::size_t na = 1; na <= 70; ++na)
        for (std::size_t nb = 1; nb <= 70; ++nb)
            expect_equal(na, nb);
    for (const std::size_t na : {71U, 79U, 80U, 96U, 127U, 128U, 129U, 200U})
        for (const std::size_t nb : {1U, 7U, 64U, 81U, 105U, 128U, 130U})
            expect_equal(na, nb);
    for (std::size_t n = 1; n <= 128; ++n) { // the longest carries
        const limbs a(n, zrc::limb(-1));
        for (const auto& kernel : kernels) {
            if (!zrc::cpu_has(kernel.needs)) continue;
            limbs r = limb_square(*kernel.run, a);
            ASSERT_EQ(limb_product(*kernel.run, a, a), r) << kernel.name << ", " << n;
            for (std::size_t i = 0; i < 2 * n; ++i) // (B - 1)^2 = (B - 2) B + 1
                ASSERT_EQ(r[i], i == 0 ? 1 : i < n ? 0 : i == n ? zrc::limb(-2) : zrc::limb(-1)) << kernel.name;
        }
    }
}

TEST(ProductKernels, RowOperationsUndoEachOther)
{
    operands random{6};
    for (std::size_t n = 0; n <= 20; ++n) {
        const limbs a = random.next<limbs>(n), b = random.next<limbs>(n);
        for (const zrc::limb w : {zrc::limb{0}, zrc::limb{1}, zrc::limb(-1), random.next<limbs>(1)[0]}) {
            limbs r = b, product(n), sum(n);
            const zrc::limb above = zrc::addmul_1(r.data(), a.data(), n, w);
            const zrc::limb high = zrc::mul_1(product.data(), a.data(), n, w);
            EXPECT_EQ(zrc::limb(high + zrc::add_n(sum.data(), b.data(), product.data(), n)), above);
            EXPECT_EQ(r, sum);
            for (const auto& kernel : zrc::product_kernels.list()) {
                if (!zrc::cpu_has(kernel.needs)) continue;
                limbs same = b;
                EXPECT_EQ(kernel.run->add_multiple(same.data(), a.data(), n, w), above) << kernel.name;
                EXPECT_EQ(same, sum) << kernel.name;
            }
            EXPECT_EQ(zrc::submul_1(r.data(), a.data(), n, w), above);
            EXPECT_EQ(r, b);
            EXPECT_EQ(zrc::limb(high + zrc::sub_n(sum.data(), sum.data(), product.data(), n)), above);
            EXPECT_EQ(sum, b);
            EXPECT_EQ(zrc::subtract_masked(sum.data(), a.data(), 0, n), 0U);
            EXPECT_EQ(sum, b);
            EXPECT_EQ(zrc::subtract_masked(sum.data(), a.data(), zrc::limb(-1), n),
                      zrc::sub_n(r.data(), r.data(), a.data(), n));
            EXPECT_EQ(sum, r);
        }
    }
}

TEST(WordsDeathTest, NegativeCountsOfOneWordProductsAbort)
{
    words r{1, 2}, a{3, 4};
    EXPECT_EXIT(zrc_Mtp_Words(r.data(), a.data(), -1, 5), testing::KilledBySignal(SIGABRT), "num >= 0");
    EXPECT_EXIT(zrc_Mtp_Add_Words(r.data(), a.data(), INT32_MIN, 5), testing::KilledBySignal(SIGABRT), "num >= 0");
}

TEST(Words, OtherCountsOutOfRangeDoNothing)
{
    words r(8, kGuard), scratch(8, kGuard);
    const words a(8, 3), untouched = r;
    for (const std::int32_t bad : {-1, INT32_MIN}) {
        EXPECT_EQ(zrc_Add_Words(r.data(), a.data(), a.data(), bad), 0U);
        EXPECT_EQ(zrc_Sub_Words(r.data(), a.data(), a.data(), bad), 0U);
        EXPECT_EQ(zrc_Sub_Part_Words(r.data(), a.data(), a.data(), bad, 1), 0U);
        EXPECT_EQ(zrc_Cmp_Parts(a.data(), a.data(), bad, 1), 0);
        zrc_Sqr_Words(r.data(), a.data(), bad);
        zrc_Mtp_Word_Base(r.data(), a.data(), bad, a.data(), 1);
        zrc_Mtp_Word_Base(r.data(), a.data(), 1, a.data(), bad);
        zrc_Sqr_Word_Base(r.data(), a.data(), bad, scratch.data());
        zrc_Mtp_Recursive(r.data(), a.data(), a.data(), bad, 0, 0, scratch.data());
        zrc_Mtp_Recursive_P(r.data(), a.data(), a.data(), bad, 0, 0, scratch.data());
        zrc_Mtp_Recursive_P(r.data(), a.data(), a.data(), 2, bad, 0, scratch.data());
        zrc_Sqr_Recursive(r.data(), a.data(), bad, scratch.data());
    }
    zrc_Mtp_Recursive(r.data(), a.data(), a.data(), 2, 1, 0, scratch.data());
    zrc_Mtp_Recursive_P(r.data(), a.data(), a.data(), 2, 0, 3, scratch.data());
    EXPECT_EQ(r, untouched);
    EXPECT_EQ(scratch, untouched);
}

} // namespace
