// Greatest common divisors and modular inverses: published answers, answers that prove themselves, the secret form
// against the public one, every code, and values that are not normalised.
#include "bigint/euclid.hpp"
#include "kestrim/bigint_arithmetic.h"
#include "tests/bigint/number_source.hpp"

namespace {

using test::bigint;
using test::fixed_value;
using test::of;
using test::of_bytes;
using test::word_list;
using test::words_of;

class Gcd : public test::with_pool {
protected:
    std::uint32_t inverse(ZRC_BIGINT* r, const ZRC_BIGINT* a, const ZRC_BIGINT* m)
    {
        return ZRC_Mod_Inverse_BIGINT(r, a, m, pool());
    }
    word_list gcd(const ZRC_BIGINT* a, const ZRC_BIGINT* b)
    {
        const bigint r = of({7, 7, 7});
        EXPECT_EQ(zrc_Gcd_BIGINT(r, a, b, pool()), 0U);
        return words_of(r);
    }

    // Both forms of the inverse agree with each other and with gcd(a, m), and a r mod m is 1. True if there is one.
    bool consistent(const bigint& a, const bigint& m)
    {
        const bigint r = of({9}), secret = of({9}), product = of({});
        const std::uint32_t code = inverse(r, a, m);
        EXPECT_EQ(code, gcd(a, m) == word_list{1} ? 0U : 0x04070041U);
        if (code == 0) {
            EXPECT_LT(ZRC_Cmp_BIGINT(r, m), 0);
            EXPECT_EQ(ZRC_Mod_Mtp_BIGINT(product, a, r, m, pool()), 0U);
            EXPECT_EQ(words_of(product), word_list{1});
        }
        if (m->data[0] % 2 != 0) {
            EXPECT_EQ(zrc::secret_mod_inverse(secret, a, m), code == 0);
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
    for (const test::stanza& known : test::read_vectors("bigint_gcd.txt", "inverse")) {
        const bigint a = of_bytes(known["a"]), m = of_bytes(known["m"]), r = of({});
        EXPECT_EQ(inverse(r, a, m), 0U) << known.place;
        EXPECT_EQ(words_of(r), words_of(of_bytes(known["inverse"]))) << known.place;
        EXPECT_TRUE(consistent(a, m)) << known.place;
    }
    for (const test::stanza& known : test::read_vectors("bigint_gcd.txt", "no inverse"))
        EXPECT_FALSE(consistent(of_bytes(known["a"]), of_bytes(known["m"]))) << known.place;
}

// Lengths of a to both sides of the length of m, and of both around whole limbs.
TEST_F(Gcd, RandomOperandsOfEveryLength)
{
    test::number_source random{1};
    std::size_t found = 0, tried = 0;
    for (std::size_t limbs = 1; limbs <= 70; limbs += limbs < 8 ? 1 : 7)
        for (const std::size_t bits : {64 * limbs - 33, 64 * limbs - 31, 64 * limbs - 1, 64 * limbs, 64 * limbs + 1})
            for (const std::size_t a_bits : {bits, bits - 1 - random.upto(bits - 2), bits + random.upto(130)}) {
                const bigint m = random.number(bits, random.upto(3) != 0);
                found += std::size_t{consistent(random.number(a_bits), m)};
                ++tried;
            }
    EXPECT_TRUE(found > tried / 3 && found < tried) << found << " of " << tried;

    for (std::uint32_t m = 2; m < 40; ++m)
        for (std::uint32_t a = 0; a < 80; ++a)
            consistent(a != 0 ? of({a}) : of({}), of({m}));
}

// Continued fractions with small and with huge quotients, up to many limbs: a, b = a q + b, a.
TEST_F(Gcd, QuotientsOfEverySize)
{
    test::repeatable random{2};
    for (const std::int32_t quotient_bits : {1, 2, 30, 31, 32, 33, 34, 62, 63, 64, 65, 200})
        for (const std::uint32_t factor : {1U, 3U}) {
            bigint a = of({factor}), b = of({});
            while (ZRC_Get_BIGINT_Bits_Length(a) < 1400) {
                const bigint q = of({}), product = of({});
                ASSERT_EQ(ZRC_Set_BIGINT_Bit(q, quotient_bits - 1), 0U);
                ASSERT_EQ(ZRC_Sub_BIGINT_Word(q, quotient_bits > 1 && random.upto(1) != 0 ? 1 : 0), 0U);
                ASSERT_EQ(ZRC_Mtp_BIGINT(product, a, q, pool()) | ZRC_Add_BIGINT(b, product, b), 0U);
                std::swap(a, b);
            }
            EXPECT_EQ(consistent(b, a), factor == 1) << quotient_bits;
            EXPECT_EQ(consistent(a, b), factor == 1) << quotient_bits;
        }
}

TEST_F(Gcd, ZeroOneAndLeadingZeroWords)
{
    const bigint none = of({}), zero = of({0, 0}), one = of({1}), five = of({5, 0, 0}), seven = of({7, 0}), r = of({9});
    EXPECT_EQ(gcd(none, zero), word_list{});
    EXPECT_EQ(gcd(zero, five), word_list{5});
    EXPECT_EQ(gcd(five, none), word_list{5});
    EXPECT_EQ(inverse(r, five, seven), 0U);
    EXPECT_EQ(words_of(r), word_list{3});
    for (const bigint* a : {&none, &zero, &one, &five}) { // all is 0 modulo 1
        EXPECT_EQ(ZRC_Set_BIGINT_Word(r, 9) | inverse(r, *a, one), 0U);
        EXPECT_EQ(words_of(r), word_list{});
    }
}

TEST_F(Gcd, Codes)
{
    const bigint two = of({2}), three = of({3}), six = of({6}), zero = of({}), r = of({9}), large = of({2, 5});
    fixed_value one_word{{9}}, fits{{9}};
    test::expect_codes({
        {inverse(nullptr, two, three), 0}, // a null result only asks
        {inverse(nullptr, two, six), 0x04070041},
        {inverse(nullptr, zero, six), 0x04070041},
        {inverse(nullptr, two, zero), 0x0407003E},
        {inverse(r, nullptr, three), 0x04070049},
        {inverse(r, two, nullptr), 0x04070049},
        {ZRC_Mod_Inverse_BIGINT(r, two, three, nullptr), 0x04070057},
        {inverse(one_word, three, large), 0x04070016},
        {zrc_Gcd_BIGINT(one_word, large, large, pool()), 0x04060016},
        {inverse(fits, of({0x55555557, 3}), large), 0}, // nothing but the result has to fit
        {ZRC_Get_BIGINT_Word(fits), 3},
    });
    for (const bigint* m : {&zero, &two, &six})
        EXPECT_FALSE(zrc::secret_mod_inverse(r, three, *m));
    EXPECT_FALSE(zrc::secret_mod_inverse(r, two, of({1})) || zrc::secret_mod_inverse(r, two, of({3, 0})));
    EXPECT_FALSE(zrc::secret_mod_inverse(nullptr, two, three) || zrc::secret_mod_inverse(r, nullptr, three) ||
                 zrc::secret_mod_inverse(r, two, nullptr));
    EXPECT_TRUE(words_of(r) == word_list{9} && words_of(one_word.bn) == word_list{9});

    ASSERT_EQ(ZRC_Start_BIGINT_Pool(pool()), 0U);
    EXPECT_TRUE(!zrc_Euclid(two, six, nullptr) && !zrc_Euclid(nullptr, six, pool()) &&
                !zrc_Euclid(two, nullptr, pool()));
    EXPECT_EQ(ZRC_Get_BIGINT_Word(zrc_Euclid(two, six, pool())), 2U);
    EXPECT_EQ(pool()->used, 1) << "the caller's frame takes it back";
    EXPECT_EQ(ZRC_Finish_BIGINT_Pool(pool()), 0U);
}

} // namespace
