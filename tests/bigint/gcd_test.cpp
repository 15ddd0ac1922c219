// Greatest common divisors and modular inverses: published answers, answers that prove themselves, the secret form
// against the public one, every code, aliasing and values that are not normalised.
#include "bigint/euclid.hpp"
#include "kestrim/bigint_arithmetic.h"
#include "tests/bigint/bigint_value.hpp"
#include "tests/vector_file.hpp"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <gtest/gtest.h>
#include <utility>
#include <vector>
#if __has_include(<valgrind/memcheck.h>)
#include <valgrind/memcheck.h>
#endif

namespace {

using test::bigint;
using test::bytes;
using test::copy_of;
using test::of;
using test::of_bytes;
using test::word_list;
using test::words_of;

class Gcd : public test::with_pool {
protected:
    std::uint32_t inverse(const bigint& r, const bigint& a, const bigint& m)
    {
        return ZRC_Mod_Inverse_BIGINT(r.get(), a.get(), m.get(), pool());
    }
    word_list gcd(const bigint& a, const bigint& b)
    {
        const bigint r = of({7, 7, 7});
        EXPECT_EQ(zrc_Gcd_BIGINT(r.get(), a.get(), b.get(), pool()), 0U);
        return words_of(r);
    }

    // Both forms of the inverse agree with each other and with gcd(a, m), and a r mod m is 1. True if there is one.
    bool consistent(const bigint& a, const bigint& m)
    {
        const bigint r = of({9}), product = of({});
        const std::uint32_t code = inverse(r, a, m);
        EXPECT_EQ(code, gcd(a, m) == word_list{1} ? 0U : 0x04070041U);
        if (code == 0) {
            EXPECT_LT(ZRC_Cmp_BIGINT(r.get(), m.get()), 0);
            EXPECT_EQ(ZRC_Mod_Mtp_BIGINT(product.get(), a.get(), r.get(), m.get(), pool()), 0U);
            EXPECT_EQ(words_of(product), word_list{1});
        }
        if (m->data[0] % 2 != 0) {
            const bigint secret = of({9});
            EXPECT_EQ(zrc::secret_mod_inverse(secret.get(), a.get(), m.get()), code == 0);
            EXPECT_EQ(words_of(secret), words_of(r)); // also where both had to stay
        }
        return code == 0;
    }
};

TEST_F(Gcd, Published)
{
    for (const test::stanza& known : test::read_vectors("bigint_gcd.txt", "gcd")) {
        const bigint a = of_bytes(known["a"]), b = of_bytes(known["b"]), expected = of_bytes(known["gcd"]);
        EXPECT_EQ(gcd(a, b), words_of(expected)) << known.place;
        EXPECT_EQ(gcd(b, a), words_of(expected)) << known.place;
    }
}

TEST_F(Gcd, PublishedInverses)
{
    for (const test::stanza& known : test::read_vectors("bigint_gcd.txt", "inverse")) {
        const bigint a = of_bytes(known["a"]), m = of_bytes(known["m"]), r = of({});
        EXPECT_EQ(inverse(r, a, m), 0U) << known.place;
        EXPECT_EQ(words_of(r), words_of(of_bytes(known["inverse"]))) << known.place;
        EXPECT_TRUE(consistent(a, m)) << known.place;
    }
    for (const test::stanza& known : test::read_vectors("bigint_gcd.txt", "no inverse"))
        EXPECT_FALSE(consistent(of_bytes(known["a"]), of_bytes(known["m"]))) << known.place;
}

// Lengths of a to both sides of the length of m, and of both around whole limbs; runs of ones and zeros among the
// bits.
TEST_F(Gcd, RandomOperandsOfEveryLength)
{
    test::repeatable random{1};
    const auto number = [&](std::size_t bits) {
        bytes data = random.data((bits + 7) / 8);
        if (random.upto(2) == 0) std::fill_n(data.begin() + std::ptrdiff_t(data.size() / 4), data.size() / 2, 0xFF);
        if (random.upto(2) == 0) std::fill_n(data.begin() + std::ptrdiff_t(data.size() / 3), data.size() / 3, 0);
        data[0] = std::uint8_t((data[0] | 0x80) >> ((8 - bits % 8) % 8));
        return data;
    };
    std::size_t found = 0, tried = 0;
    for (std::size_t limbs = 1; limbs <= 70; limbs += limbs < 8 ? 1 : 7)
        for (const std::size_t bits : {64 * limbs - 33, 64 * limbs - 31, 64 * limbs - 1, 64 * limbs, 64 * limbs + 1})
            for (const std::size_t a_bits : {bits, bits - 1 - random.upto(bits - 2), bits + random.upto(130)}) {
                bytes m = number(bits);
                if (random.upto(3) != 0) m.back() |= 1;
                const bool invertible = consistent(of_bytes(number(a_bits)), of_bytes(m));
                found += std::size_t{invertible};
                ++tried;
            }
    EXPECT_GT(found, tried / 3);
    EXPECT_LT(found, tried);
}

// Continued fractions with small and with huge quotients, up to many limbs: a, b = a q + b, a.
TEST_F(Gcd, QuotientsOfEverySize)
{
    test::repeatable random{2};
    for (const std::size_t quotient_bits : {1U, 2U, 30U, 31U, 32U, 33U, 34U, 62U, 63U, 64U, 65U, 200U})
        for (const bool start_with_factor : {false, true}) {
            bigint a = of({start_with_factor ? 3U : 1U}), b = of({});
            while (ZRC_Get_BIGINT_Bits_Length(a.get()) < 1400) {
                const bigint q = of({}), product = of({});
                ASSERT_EQ(ZRC_Set_BIGINT_Bit(q.get(), std::int32_t(quotient_bits) - 1), 0U);
                const std::uint32_t less = quotient_bits > 1 && random.upto(1) != 0 ? 1 : 0;
                ASSERT_EQ(ZRC_Sub_BIGINT_Word(q.get(), less), 0U);
                ASSERT_EQ(ZRC_Mtp_BIGINT(product.get(), a.get(), q.get(), pool()), 0U);
                ASSERT_EQ(ZRC_Add_BIGINT(b.get(), product.get(), b.get()), 0U);
                std::swap(a, b);
            }
            EXPECT_EQ(consistent(b, a), !start_with_factor) << quotient_bits;
            EXPECT_EQ(consistent(a, b), !start_with_factor) << quotient_bits;
        }
}

TEST_F(Gcd, SmallNumbersAll)
{
    for (std::uint32_t m = 2; m < 40; ++m)
        for (std::uint32_t a = 0; a < 80; ++a)
            consistent(a != 0 ? of({a}) : of({}), of({m}));
}

TEST_F(Gcd, ZeroOneAndLeadingZeroWords)
{
    const bigint none = of({}), zero = of({0, 0}), one = of({1}), five = of({5, 0, 0}), seven = of({7, 0});
    EXPECT_EQ(gcd(none, zero), word_list{});
    EXPECT_EQ(gcd(zero, five), word_list{5});
    EXPECT_EQ(gcd(five, none), word_list{5});

    const bigint r = of({9});
    EXPECT_EQ(inverse(r, five, seven), 0U);
    EXPECT_EQ(words_of(r), word_list{3});
    for (const bigint* a : {&none, &zero, &one, &five}) { // all is 0 modulo 1
        EXPECT_EQ(ZRC_Set_BIGINT_Word(r.get(), 9), 0U);
        EXPECT_EQ(inverse(r, *a, one), 0U);
        EXPECT_EQ(words_of(r), word_list{});
    }
}

TEST_F(Gcd, ResultsMayBeOperands)
{
    test::repeatable random{3};
    const bigint a = of_bytes(random.data(70)), m = of_bytes(random.data(40)), r = of({});
    m->data[0] |= 1;
    ASSERT_TRUE(consistent(a, m));
    ASSERT_EQ(inverse(r, a, m), 0U);
    const word_list expected = words_of(r), divisor = gcd(a, m);
    for (const bool into_a : {true, false}) {
        const auto with_copies = [&](auto operation) {
            const bigint x = copy_of(a), y = copy_of(m);
            const bigint& result = into_a ? x : y;
            operation(result.get(), x.get(), y.get());
            return words_of(result);
        };
        EXPECT_EQ(with_copies([&](auto* to, auto* x, auto* y) { ZRC_Mod_Inverse_BIGINT(to, x, y, pool()); }), expected);
        EXPECT_EQ(with_copies([&](auto* to, auto* x, auto* y) { zrc::secret_mod_inverse(to, x, y); }), expected);
        EXPECT_EQ(with_copies([&](auto* to, auto* x, auto* y) { zrc_Gcd_BIGINT(to, x, y, pool()); }), divisor);
    }
    const bigint same = of({6, 1});
    EXPECT_EQ(zrc_Gcd_BIGINT(same.get(), same.get(), same.get(), pool()), 0U);
    EXPECT_EQ(words_of(same), (word_list{6, 1}));
}

TEST_F(Gcd, Codes)
{
    const bigint two = of({2}), three = of({3}), six = of({6}), zero = of({}), r = of({9});
    const auto inverse_of = [&](const bigint& a, const bigint& m) {
        return ZRC_Mod_Inverse_BIGINT(nullptr, a.get(), m.get(), pool()); // a null result only asks
    };
    EXPECT_EQ(inverse_of(two, three), 0U);
    EXPECT_EQ(inverse_of(two, six), 0x04070041U);
    EXPECT_EQ(inverse_of(zero, six), 0x04070041U);
    EXPECT_EQ(inverse_of(two, zero), 0x0407003EU);
    EXPECT_EQ(ZRC_Mod_Inverse_BIGINT(r.get(), nullptr, three.get(), pool()), 0x04070049U);
    EXPECT_EQ(ZRC_Mod_Inverse_BIGINT(r.get(), two.get(), nullptr, pool()), 0x04070049U);
    EXPECT_EQ(ZRC_Mod_Inverse_BIGINT(r.get(), two.get(), three.get(), nullptr), 0x04070057U);
    EXPECT_EQ(zrc_Gcd_BIGINT(nullptr, two.get(), six.get(), pool()), 0x04060049U);
    EXPECT_EQ(zrc_Gcd_BIGINT(r.get(), nullptr, six.get(), pool()), 0x04060049U);
    EXPECT_EQ(zrc_Gcd_BIGINT(r.get(), two.get(), nullptr, pool()), 0x04060049U);
    EXPECT_EQ(zrc_Gcd_BIGINT(r.get(), two.get(), six.get(), nullptr), 0x04060057U);
    EXPECT_EQ(words_of(r), word_list{9});

    std::uint32_t word = 9;
    ZRC_BIGINT small{&word, 1, 1, ZRC_BIGINT_STATIC};
    const bigint large = of({2, 5});
    EXPECT_EQ(ZRC_Mod_Inverse_BIGINT(&small, three.get(), large.get(), pool()), 0x04070016U);
    EXPECT_EQ(zrc_Gcd_BIGINT(&small, large.get(), large.get(), pool()), 0x04060016U);
    EXPECT_EQ(small.length, 1);
    // Nothing but the result has to fit.
    EXPECT_EQ(zrc_Gcd_BIGINT(&small, of({12}).get(), of({18}).get(), pool()), 0U);
    EXPECT_EQ(word, 6U);
    EXPECT_EQ(ZRC_Mod_Inverse_BIGINT(&small, of({0x55555557, 3}).get(), of({2, 5}).get(), pool()), 0U);
    EXPECT_EQ(word, 3U);
    EXPECT_EQ(small.length, 1);

    for (const bigint* m : {&zero, &two, &six})
        EXPECT_FALSE(zrc::secret_mod_inverse(r.get(), three.get(), m->get()));
    EXPECT_FALSE(zrc::secret_mod_inverse(r.get(), two.get(), of({1}).get()));
    EXPECT_FALSE(zrc::secret_mod_inverse(r.get(), two.get(), of({3, 0}).get()));
    EXPECT_FALSE(zrc::secret_mod_inverse(nullptr, two.get(), three.get()));
    EXPECT_FALSE(zrc::secret_mod_inverse(r.get(), nullptr, three.get()));
    EXPECT_FALSE(zrc::secret_mod_inverse(r.get(), two.get(), nullptr));
    EXPECT_EQ(words_of(r), word_list{9});
}

TEST_F(Gcd, EuclidGivesATemporaryOfTheCallersFrame)
{
    const bigint a = of({12}), b = of({18});
    EXPECT_EQ(zrc_Euclid(a.get(), b.get(), nullptr), nullptr);
    ASSERT_EQ(ZRC_Start_BIGINT_Pool(pool()), 0U);
    EXPECT_EQ(zrc_Euclid(nullptr, b.get(), pool()), nullptr);
    EXPECT_EQ(zrc_Euclid(a.get(), nullptr, pool()), nullptr);
    const ZRC_BIGINT* const divisor = zrc_Euclid(a.get(), b.get(), pool());
    ASSERT_NE(divisor, nullptr);
    EXPECT_EQ(pool()->used, 1);
    EXPECT_EQ(ZRC_Get_BIGINT_Word(divisor), 6U);
    EXPECT_EQ(ZRC_Finish_BIGINT_Pool(pool()), 0U);
}

#if __has_include(<valgrind/memcheck.h>)

// Under valgrind (otherwise skipped), with operands undefined but for the lowest and the top word of the modulus, one
// condition depends on them: whether there is an inverse.
TEST(ConstantTimeInverse, OnlyTheAnswerIsSeen)
{
    if (!RUNNING_ON_VALGRIND) GTEST_SKIP() << "not under valgrind";
    test::repeatable random{4};
    for (const std::size_t words : {2U, 3U, 8U, 33U}) {
        const bigint a = of_bytes(random.data(4 * words + 4)), m = of_bytes(random.data(4 * words)), r = of({});
        m->data[0] |= 1;
        const bigint expected = of({});
        const std::uint32_t code =
            ZRC_Mod_Inverse_BIGINT(expected.get(), a.get(), m.get(), test::pool_ptr{ZRC_New_BIGINT_Pool()}.get());

        VALGRIND_MAKE_MEM_UNDEFINED(a->data, 4 * std::size_t(a->length));
        VALGRIND_MAKE_MEM_UNDEFINED(m->data + 1, 4 * std::size_t(m->length - 2));
        const auto before = VALGRIND_COUNT_ERRORS;
        const bool found = zrc::secret_mod_inverse(r.get(), a.get(), m.get());
        EXPECT_EQ(VALGRIND_COUNT_ERRORS - before, 1U);
        VALGRIND_MAKE_MEM_DEFINED(r.get(), sizeof *r);
        VALGRIND_MAKE_MEM_DEFINED(r->data, 4 * std::size_t(r->allocated));
        VALGRIND_MAKE_MEM_DEFINED(&found, sizeof found);
        EXPECT_EQ(found, code == 0);
        EXPECT_EQ(words_of(r), words_of(expected));
    }
}

#endif

} // namespace
