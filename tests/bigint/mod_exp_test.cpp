// Modular exponentiation and Montgomery form: vectors, every kernel against plain multiplication, quirks and codes.
#include "bigint/mod_exp.hpp"
#include "core/owned.hpp"
#include "kestrim/bigint_arithmetic.h"
#include "tests/bigint/number_source.hpp"
#include "tests/runnable.hpp"

#include <array>

namespace {

using test::bigint;
using test::copy_of;
using test::fixed_value;
using test::of;
using test::of_bytes;
using test::word_list;
using test::words_of;
using context = zrc::owned<ZRC_BIGINT_MONT, zrc_Free_BIGINT_MONT>;
using ModExp = test::with_pool;

// A number of one word, or zero.
bigint small(std::uint32_t word)
{
    return word != 0 ? of({word}) : of({});
}

// a^e mod m with one multiplication and division for each bit.
bigint plain_power(const bigint& a, const bigint& e, const bigint& m)
{
    const test::pool_ptr pool{ZRC_New_BIGINT_Pool()};
    bigint power = small(1);
    for (auto bit = std::int32_t(ZRC_Get_BIGINT_Bits_Length(e)); bit-- > 0;) {
        EXPECT_EQ(ZRC_Mod_Mtp_BIGINT(power, power, power, m, pool), 0U);
        if (ZRC_Is_BIGINT_Bit_Set(e, bit) == 0) continue;
        EXPECT_EQ(ZRC_Mod_Mtp_BIGINT(power, power, a, m, pool), 0U);
    }
    return power;
}

// The public and the secret form with all kernels, into another object and over each operand. a mod m is not 0.
void expect_power(const bigint& a, const bigint& e, const bigint& m, const bigint& power)
{
    const word_list expected = words_of(power);
    test::with_each_kernel(zrc::mod_exp_kernels, [&] {
        const bigint r = small(7), first = copy_of(a), second = copy_of(e), third = copy_of(m);
        const auto bound = ZRC_Get_BIGINT_Bits_Length(e);
        EXPECT_EQ(ZRC_Mod_Exp_Mont_BIGINT(r, a, e, m, nullptr), 0U);
        EXPECT_TRUE(zrc::secret_mod_exp({first, first, e, m, bound}));
        EXPECT_TRUE(zrc::secret_mod_exp_pair({second, a, second, m, bound}, {third, a, e, third, bound + 1}));
        for (const bigint* found : {&r, &first, &second, &third})
            EXPECT_EQ(words_of(*found), expected) << "public, secret, pair";
    });
}

TEST_F(ModExp, Vectors)
{
    for (const test::stanza& vector : test::read_vectors("modexp.txt", "modexp odd modulus")) {
        SCOPED_TRACE(vector.place);
        expect_power(of_bytes(vector["a"]), of_bytes(vector["e"]), of_bytes(vector["m"]), of_bytes(vector["power"]));
    }
}

TEST_F(ModExp, KernelsAgreeWithPlainMultiplication)
{
    test::number_source random{1};
    const auto compare = [&](std::size_t a_bits, std::size_t e_bits, std::size_t m_bits) {
        SCOPED_TRACE(testing::Message() << a_bits << " to the power of " << e_bits << " mod " << m_bits);
        const bigint a = random.number(a_bits), e = random.number(e_bits), m = random.odd(m_bits);
        expect_power(a, e, m, plain_power(a, e, m));
    };
    for (std::size_t limbs = 1; limbs <= 70; ++limbs) {
        const std::size_t bits = 64 * limbs - (limbs % 3 == 0 ? random.upto(63) : 0);
        compare(bits - std::min(bits - 1, random.upto(70)), 23 + limbs % 3, bits);
    }
    for (const std::size_t width_ends_at : {1U, 2U, 6U, 17U, 24U, 80U, 240U, 306U, 672U, 1024U})
        for (std::size_t bits = std::max<std::size_t>(width_ends_at - 1, 1); bits <= width_ends_at + 1; ++bits)
            compare(150, bits, 161);
    for (const std::size_t bits : {33U, 64U, 65U, 500U, 512U, 1025U}) // not reduced
        for (const std::size_t more : {0U, 1U, 31U, 64U, 512U, 600U})
            compare(bits + more, 30, bits);
}

TEST_F(ModExp, PairOfDifferentLengths)
{
    test::number_source random{4};
    test::with_each_kernel(zrc::mod_exp_kernels, [&] {
        for (const auto& [first_bits, second_bits] :
             {std::pair{512U, 512U}, {1024U, 1024U}, {960U, 1024U}, {1024U, 511U}}) {
            const bigint m1 = random.odd(first_bits), m2 = random.odd(second_bits), r1 = of({}), r2 = of({});
            const bigint a = random.number(1400), e1 = random.number(200), e2 = random.number(77);
            ASSERT_TRUE(zrc::secret_mod_exp_pair({r1, a, e1, m1, 0}, {r2, a, e2, m2, 100}));
            EXPECT_EQ(words_of(r1), words_of(plain_power(a, e1, m1)));
            EXPECT_EQ(words_of(r2), words_of(plain_power(a, e2, m2)));
        }
    });
}

// a^e b^f mod m, into another object and over each operand, with all kernels.
void expect_product(const std::array<const bigint*, 5>& operands)
{
    const auto& [a, e, b, f, m] = operands;
    const test::pool_ptr pool{ZRC_New_BIGINT_Pool()};
    const bigint expected = of({});
    ASSERT_EQ(ZRC_Mod_Mtp_BIGINT(expected, plain_power(*a, *e, *m), plain_power(*b, *f, *m), *m, pool), 0U);
    test::with_each_kernel(zrc::mod_exp_kernels, [&] {
        for (std::size_t over = 0; over <= operands.size(); ++over) {
            const bigint r = over < 5 ? copy_of(*operands[over]) : small(7);
            const auto x = [&](std::size_t i) { return i == over ? r.get() : operands[i]->get(); };
            EXPECT_EQ(zrc::open_mod_exp_product(r, x(0), x(1), x(2), x(3), x(4)), zrc::mod_exp_outcome::done);
            EXPECT_EQ(words_of(r), words_of(expected)) << over;
        }
    });
}

TEST_F(ModExp, ProductOfTwoPowers)
{
    constexpr std::array<std::size_t, 5> kBits[] = {
        {2048, 256, 2040, 256, 2048}, {64, 1, 64, 1, 64},      {500, 2, 33, 90, 33},  {380, 700, 385, 1, 384},
        {7, 5, 2050, 300, 1025},      {60, 30, 1, 30, 127},    {512, 0, 40, 33, 512}, {600, 33, 512, 0, 512},
        {10, 0, 20, 0, 320},          {50, 40, 4160, 17, 4160}};
    test::number_source random{6};
    for (const auto& bits : kBits) {
        SCOPED_TRACE(testing::Message() << bits[4] << ", " << bits[1] << ", " << bits[3]);
        const bigint a = random.number(bits[0]), e = random.number(bits[1]), b = random.number(bits[2]);
        const bigint f = random.number(bits[3]), m = random.odd(bits[4]);
        expect_product({&a, &e, &b, &f, &m});
        expect_product({&a, &e, &a, &e, &m});
    }
}

TEST_F(ModExp, Quirks)
{
    // An exponent of 0 gives 1 for every modulus; a base that reduces to 0 leaves the result as it was.
    constexpr std::array<std::uint32_t, 4> kCases[] = {{4, 0, 0, 1},  {4, 0, 1, 1},   {4, 0, 6, 1},   {4, 0, 35, 1},
                                                       {0, 3, 35, 9}, {35, 3, 35, 9}, {70, 3, 35, 9}, {5, 3, 1, 9}};
    const bigint r = small(9), m = small(35);
    for (const auto& [a, e, modulus, expected] : kCases) {
        EXPECT_EQ(ZRC_Set_BIGINT_Word(r, 9), 0U);
        EXPECT_EQ(ZRC_Mod_Exp_Mont_BIGINT(r, small(a), small(e), small(modulus), nullptr), 0U);
        EXPECT_EQ(words_of(r), word_list{expected}) << a << '^' << e << " mod " << modulus;
    }
    EXPECT_TRUE(zrc::secret_mod_exp({r, small(4), small(0), m, 40}));
    EXPECT_EQ(words_of(r), word_list{1});
    EXPECT_TRUE(zrc::secret_mod_exp({r, small(70), small(3), m, 0}));
    EXPECT_EQ(words_of(r), word_list{}) << "the secret form has no such habit";
    expect_power(small(15), small(4), small(2025), of({})); // 0 arises on the way: 15^4 mod 45^2
}

TEST_F(ModExp, RefusesArguments)
{
    using enum zrc::mod_exp_outcome;
    const bigint r = small(9), two = small(2), m = small(35), even = small(34), zero = small(0), one = small(1);
    fixed_value full{{}};
    test::expect_codes({{ZRC_Mod_Exp_Mont_BIGINT(r, two, two, even, nullptr), 0x040A003E},
                        {ZRC_Mod_Exp_Mont_BIGINT(r, two, two, zero, nullptr), 0x040A003E},
                        {ZRC_Mod_Exp_Mont_BIGINT(r, two, two, ZRC_Value_Zero_BIGINT(), nullptr), 0x040A003E},
                        {ZRC_Mod_Exp_Mont_BIGINT(full, two, two, m, nullptr), 0x040A0002}});
    EXPECT_EQ(zrc::open_mod_exp_product(full, two, two, two, two, m), no_room);
    for (const bigint* modulus : {&zero, &one, &even})
        EXPECT_FALSE(zrc::secret_mod_exp({r, two, two, *modulus, 0}));
    EXPECT_FALSE(zrc::secret_mod_exp({r, nullptr, two, two, 0}) || zrc::secret_mod_exp({full, two, two, m, 0}));
    EXPECT_EQ(words_of(r), word_list{9});
}

class Montgomery : public test::with_pool {
protected:
    std::uint32_t set(const ZRC_BIGINT* m) { return zrc_Set_BIGINT_MONT(mont.get(), m, pool()); }
    std::uint32_t multiply(ZRC_BIGINT* r, const ZRC_BIGINT* a, const ZRC_BIGINT* b)
    {
        return zrc_Mod_Mul_BIGINT_Montgomery(r, a, b, mont.get(), pool());
    }
    std::uint32_t back(ZRC_BIGINT* r, const ZRC_BIGINT* a)
    {
        return zrc_BIGINT_from_Montgomery(r, a, mont.get(), pool());
    }

    const context mont{zrc_New_BIGINT_MONT()};
};

TEST_F(Montgomery, Vectors)
{
    for (const test::stanza& vector : test::read_vectors("modexp.txt", "montgomery")) {
        SCOPED_TRACE(vector.place);
        const bigint m = of_bytes(vector["m"]), a = of_bytes(vector["a"]), b = of_bytes(vector["b"]);
        ASSERT_EQ(set(m), 0U);
        EXPECT_EQ(mont->ri, 32 * m->length);
        EXPECT_EQ(mont->ninv0, ZRC_Get_BIGINT_Word(of_bytes(vector["ninv0"])));
        EXPECT_EQ(words_of(mont->RR), words_of(of_bytes(vector["rr"])));
        EXPECT_TRUE(words_of(mont->N) == words_of(m) && mont->Ni.length == 0);

        const bigint r = copy_of(a), over = copy_of(b);
        const word_list product = words_of(of_bytes(vector["abr"]));
        EXPECT_EQ(multiply(r, r, b) | multiply(over, a, over), 0U);
        EXPECT_TRUE(words_of(r) == product && words_of(over) == product);
        EXPECT_EQ(back(r, a), 0U);
        EXPECT_EQ(words_of(r), words_of(of_bytes(vector["ar"])));
    }
    for (const word_list& modulus : {word_list{1}, {1, 5}, {1, 5, 0}}) {
        EXPECT_EQ(set(of(modulus)), 0U);
        EXPECT_NE(words_of(mont->N).back(), 0U);
        EXPECT_EQ(mont->ninv0, 0xFFFFFFFFU) << "a low word of 1";
    }
}

TEST_F(Montgomery, RefusesArguments)
{
    const bigint seven = small(7), six = small(6), r = small(9);
    ZRC_BIGINT_MONT* const in = mont.get();
    fixed_value full{{}};
    test::expect_codes({
        {zrc_Free_BIGINT_MONT(nullptr), 0x04080049},
        {zrc_Set_BIGINT_MONT(nullptr, seven, pool()), 0x04090049},
        {set(nullptr), 0x04090049},
        {zrc_Set_BIGINT_MONT(in, seven, nullptr), 0x04090057},
        {set(six), 0x04090041},
        {set(ZRC_Value_Zero_BIGINT()), 0x04090041},
        {multiply(r, seven, seven), 0x040B003E}, // a context that is not set up
        {back(r, seven), 0x040C003E},
        {set(seven), 0},
        {multiply(r, nullptr, seven), 0x040B0049},
        {zrc_Mod_Mul_BIGINT_Montgomery(r, seven, seven, nullptr, pool()), 0x040B0049},
        {zrc_Mod_Mul_BIGINT_Montgomery(r, seven, seven, in, nullptr), 0x040B0057},
        {back(nullptr, seven), 0x040C0049},
        {zrc_BIGINT_from_Montgomery(r, seven, in, nullptr), 0x040C0057},
        {multiply(full, six, six), 0x040B0016},
        {back(full, six), 0x040C0016},
    });
    EXPECT_EQ(words_of(r), word_list{9});
}

} // namespace
