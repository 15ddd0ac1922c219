// Modular exponentiation and Montgomery form: vectors, every kernel against plain multiplication, quirks and codes.
#include "bigint/mod_exp.hpp"
#include "core/cpu.hpp"
#include "core/owned.hpp"
#include "kestrim/bigint_arithmetic.h"
#include "tests/bigint/bigint_value.hpp"
#include "tests/vector_file.hpp"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <gtest/gtest.h>
#include <random>
#include <string>
#include <utility>
#include <vector>

namespace {

using test::bigint;
using test::bytes;
using test::of_bytes;
using pool = test::pool_ptr;
using context = zrc::owned<ZRC_BIGINT_MONT, zrc_Free_BIGINT_MONT>;

bigint small(std::uint32_t word)
{
    bigint value{ZRC_New_BIGINT()};
    ZRC_Set_BIGINT_Word(value.get(), word);
    return value;
}

std::string text(const ZRC_BIGINT* value)
{
    std::string digits;
    for (std::int32_t i = value->length; i-- > 0;) {
        char word[9];
        std::snprintf(word, sizeof word, "%08x", unsigned(value->data[i]));
        digits += word;
    }
    return digits;
}

std::string text(const bigint& value)
{
    return text(value.get());
}

class random_numbers {
public:
    explicit random_numbers(std::uint32_t seed) : engine_{seed} {}

    // Of exactly `bits` bits; runs of ones and zeros as often as anything else, for the carries.
    bigint exactly(std::size_t bits)
    {
        bytes data((bits + 7) / 8);
        const bool dense = engine_() % 2 != 0;
        for (std::uint8_t& byte : data)
            byte = dense ? std::uint8_t(engine_()) : engine_() % 3 == 0 ? 0 : 0xFF;
        data[0] &= std::uint8_t(0xFF >> (8 * data.size() - bits));
        data[0] |= std::uint8_t(1 << ((bits - 1) % 8));
        return of_bytes(data);
    }

    bigint odd(std::size_t bits)
    {
        bigint value = exactly(bits);
        ZRC_Set_BIGINT_Bit(value.get(), 0);
        return value;
    }

    std::size_t upto(std::size_t largest) { return engine_() % (largest + 1); }

private:
    std::mt19937 engine_;
};

// a^e mod m with one multiplication and division for each bit.
bigint plain_power(const bigint& a, const bigint& e, const bigint& m)
{
    const pool scratch{ZRC_New_BIGINT_Pool()};
    bigint power = small(1);
    for (auto bit = std::int32_t(ZRC_Get_BIGINT_Bits_Length(e.get())); bit-- > 0;) {
        EXPECT_EQ(ZRC_Mod_Mtp_BIGINT(power.get(), power.get(), power.get(), m.get(), scratch.get()), 0U);
        if (ZRC_Is_BIGINT_Bit_Set(e.get(), bit) == 0) continue;
        EXPECT_EQ(ZRC_Mod_Mtp_BIGINT(power.get(), power.get(), a.get(), m.get(), scratch.get()), 0U);
    }
    return power;
}

// Runs every kernel that this machine has, by its name.
class each_kernel {
public:
    each_kernel() = default;
    each_kernel(const each_kernel&) = delete;
    each_kernel& operator=(const each_kernel&) = delete;
    ~each_kernel() { zrc::mod_exp_kernels.force(nullptr); }

    void operator()(auto run)
    {
        for (const auto& entry : zrc::mod_exp_kernels.list()) {
            if (!zrc::cpu_has(entry.needs)) continue;
            SCOPED_TRACE(entry.name);
            zrc::mod_exp_kernels.force(entry.run);
            run();
        }
    }
};

// The public and the secret form with all kernels, into another object and over each operand. a mod m is not 0.
void expect_power(const bigint& a, const bigint& e, const bigint& m, const std::string& expected)
{
    each_kernel{}([&] {
        bigint r = small(7);
        EXPECT_EQ(ZRC_Mod_Exp_Mont_BIGINT(r.get(), a.get(), e.get(), m.get(), nullptr), 0U);
        EXPECT_EQ(text(r), expected) << "public";

        bigint first = test::copy_of(a), second = test::copy_of(e), third = test::copy_of(m);
        const auto bound = ZRC_Get_BIGINT_Bits_Length(e.get());
        EXPECT_TRUE(zrc::secret_mod_exp({first.get(), first.get(), e.get(), m.get(), bound}));
        EXPECT_EQ(text(first), expected) << "secret";
        EXPECT_TRUE(zrc::secret_mod_exp_pair({second.get(), a.get(), second.get(), m.get(), bound},
                                             {third.get(), a.get(), e.get(), third.get(), bound + 1}));
        EXPECT_EQ(text(second), expected) << "first of a pair";
        EXPECT_EQ(text(third), expected) << "second of a pair";
    });
}

TEST(ModExp, Vectors)
{
    for (const test::stanza& vector : test::read_vectors("modexp.txt", "modexp odd modulus")) {
        SCOPED_TRACE(vector.place);
        expect_power(of_bytes(vector["a"]), of_bytes(vector["e"]), of_bytes(vector["m"]),
                     text(of_bytes(vector["power"])));
    }
}

TEST(ModExp, KernelsAgreeWithPlainMultiplicationForModuliOfEveryLength)
{
    random_numbers random{1};
    for (std::size_t limbs = 1; limbs <= 70; ++limbs) {
        const std::size_t bits = 64 * limbs - (limbs % 3 == 0 ? random.upto(63) : 0);
        SCOPED_TRACE(bits);
        const bigint a = random.exactly(bits - std::min(bits - 1, random.upto(70))), e = random.exactly(23 + limbs % 3);
        const bigint m = random.odd(bits);
        expect_power(a, e, m, text(plain_power(a, e, m)));
    }
}

TEST(ModExp, ExponentLengthsAroundEachWindowWidth)
{
    random_numbers random{2};
    for (const std::size_t limit : {1U, 2U, 6U, 17U, 24U, 80U, 240U, 306U, 672U, 1024U}) {
        for (const std::size_t bits : {std::max(limit - 1, std::size_t{1}), limit, limit + 1}) {
            SCOPED_TRACE(bits);
            const bigint a = random.exactly(150), e = random.exactly(bits), m = random.odd(161);
            expect_power(a, e, m, text(plain_power(a, e, m)));
        }
    }
}

TEST(ModExp, BasesThatAreNotReduced)
{
    random_numbers random{3};
    for (const std::size_t bits : {33U, 64U, 65U, 500U, 512U, 1025U}) {
        for (const std::size_t more : {0U, 1U, 31U, 64U, 512U, 600U}) {
            SCOPED_TRACE(testing::Message() << bits << " and " << more);
            const bigint a = random.exactly(bits + more), e = random.exactly(30), m = random.odd(bits);
            expect_power(a, e, m, text(plain_power(a, e, m)));
        }
    }
}

TEST(ModExp, PairOfDifferentLengths)
{
    random_numbers random{4};
    each_kernel{}([&] {
        for (const auto& [first_bits, second_bits] :
             {std::pair{512U, 512U}, {1024U, 1024U}, {960U, 1024U}, {1024U, 511U}}) {
            const bigint m1 = random.odd(first_bits), m2 = random.odd(second_bits);
            const bigint a = random.exactly(1400), e1 = random.exactly(200), e2 = random.exactly(77);
            bigint r1 = small(0), r2 = small(0);
            ASSERT_TRUE(zrc::secret_mod_exp_pair({r1.get(), a.get(), e1.get(), m1.get(), 0},
                                                 {r2.get(), a.get(), e2.get(), m2.get(), 100}));
            EXPECT_EQ(text(r1), text(plain_power(a, e1, m1)));
            EXPECT_EQ(text(r2), text(plain_power(a, e2, m2)));
        }
    });
}

// a^e b^f mod m, into another object and over each operand, with all kernels.
void expect_product(const std::array<const bigint*, 5>& operands)
{
    const auto& [a, e, b, f, m] = operands;
    const pool scratch{ZRC_New_BIGINT_Pool()};
    const bigint expected = small(0), first = plain_power(*a, *e, *m), second = plain_power(*b, *f, *m);
    ASSERT_EQ(ZRC_Mod_Mtp_BIGINT(expected.get(), first.get(), second.get(), m->get(), scratch.get()), 0U);
    each_kernel{}([&] {
        for (std::size_t over = 0; over <= operands.size(); ++over) {
            const ZRC_BIGINT* x[5];
            std::transform(operands.begin(), operands.end(), x, [](const bigint* operand) { return operand->get(); });
            const bigint r = over < 5 ? test::copy_of(*operands[over]) : small(7);
            if (over < 5) x[over] = r.get();
            EXPECT_EQ(zrc::open_mod_exp_product(r.get(), x[0], x[1], x[2], x[3], x[4]), zrc::mod_exp_outcome::done);
            EXPECT_EQ(text(r), text(expected)) << over;
        }
    });
}

TEST(ModExp, ProductOfTwoPowers)
{
    constexpr struct {
        std::size_t m, a, e, b, f;
    } kBits[] = {{2048, 2048, 256, 2040, 256}, {64, 64, 1, 64, 1},      {33, 500, 2, 33, 90},  {384, 380, 700, 385, 1},
                 {1025, 7, 5, 2050, 300},      {127, 60, 30, 1, 30},    {512, 512, 0, 40, 33}, {512, 600, 33, 512, 0},
                 {320, 10, 0, 20, 0},          {4160, 50, 40, 4160, 17}};
    random_numbers random{6};
    for (const auto& bits : kBits) {
        SCOPED_TRACE(testing::Message() << bits.m << ", " << bits.e << ", " << bits.f);
        const auto number = [&](std::size_t length) { return length == 0 ? small(0) : random.exactly(length); };
        const bigint a = number(bits.a), e = number(bits.e), b = number(bits.b), f = number(bits.f);
        const bigint m = random.odd(bits.m);
        expect_product({&a, &e, &b, &f, &m});
        expect_product({&a, &e, &a, &e, &m});
    }
}

TEST(ModExp, ProductWithoutAPower)
{
    using zrc::mod_exp_outcome;
    constexpr struct {
        std::uint32_t a, e, b, f, m;
        mod_exp_outcome outcome;
        std::uint32_t result; // 9: as before
    } kCases[] = {
        {0, 3, 2, 3, 35, mod_exp_outcome::base_is_zero, 9}, {2, 3, 70, 3, 35, mod_exp_outcome::base_is_zero, 9},
        {35, 0, 2, 3, 35, mod_exp_outcome::done, 8},        {2, 3, 0, 0, 35, mod_exp_outcome::done, 8},
        {0, 0, 0, 0, 35, mod_exp_outcome::done, 1},         {2, 0, 2, 0, 1, mod_exp_outcome::base_is_zero, 9},
        {2, 3, 2, 3, 1, mod_exp_outcome::base_is_zero, 9},  {2, 3, 2, 3, 34, mod_exp_outcome::bad_modulus, 9},
        {2, 0, 2, 0, 34, mod_exp_outcome::bad_modulus, 9},  {2, 3, 2, 3, 0, mod_exp_outcome::bad_modulus, 9},
        {15, 1, 15, 1, 225, mod_exp_outcome::done, 0},
    };
    for (const auto& item : kCases) {
        const bigint r = small(9);
        EXPECT_EQ(zrc::open_mod_exp_product(r.get(), small(item.a).get(), small(item.e).get(), small(item.b).get(),
                                            small(item.f).get(), small(item.m).get()),
                  item.outcome);
        EXPECT_EQ(ZRC_Get_BIGINT_Word(r.get()), item.result) << &item - kCases;
    }
    ZRC_BIGINT full{nullptr, 0, 0, ZRC_BIGINT_STATIC};
    const bigint two = small(2), m = small(35);
    EXPECT_EQ(zrc::open_mod_exp_product(&full, two.get(), two.get(), two.get(), two.get(), m.get()),
              mod_exp_outcome::no_room);
}

TEST(ModExp, ExponentZeroGivesOneForEveryModulus)
{
    for (const std::uint32_t modulus : {0U, 1U, 6U, 35U}) {
        bigint r = small(9);
        const bigint a = small(4), m = small(modulus);
        EXPECT_EQ(ZRC_Mod_Exp_Mont_BIGINT(r.get(), a.get(), ZRC_Value_Zero_BIGINT(), m.get(), nullptr), 0U);
        EXPECT_EQ(text(r), "00000001");
    }
    bigint r = small(9);
    const bigint a = small(4), zero = small(0), m = small(35);
    EXPECT_TRUE(zrc::secret_mod_exp({r.get(), a.get(), zero.get(), m.get(), 40}));
    EXPECT_EQ(text(r), "00000001");
}

TEST(ModExp, BaseThatReducesToZeroLeavesTheResultUntouched)
{
    const bigint e = small(3);
    for (const auto& [base, modulus] : {std::pair{0U, 35U}, {35U, 35U}, {70U, 35U}, {5U, 1U}}) {
        bigint r = small(9);
        const bigint a = small(base), m = small(modulus);
        EXPECT_EQ(ZRC_Mod_Exp_Mont_BIGINT(r.get(), a.get(), e.get(), m.get(), nullptr), 0U);
        EXPECT_EQ(text(r), "00000009") << base << " mod " << modulus;
    }
    bigint r = small(9);
    const bigint a = small(70), m = small(35);
    EXPECT_TRUE(zrc::secret_mod_exp({r.get(), a.get(), e.get(), m.get(), 0}));
    EXPECT_EQ(text(r), "") << "the secret form has no such habit";
}

// 0 arises on the way: 15^4 mod 45^2.
TEST(ModExp, PowersThatVanish)
{
    const bigint a = small(15), e = small(4), m = small(2025);
    expect_power(a, e, m, "");
}

TEST(ModExp, OperandsWithZeroWordsOnTop)
{
    bigint a{ZRC_HEX_To_BIGINT("000000000000000000000003")}, e{ZRC_HEX_To_BIGINT("0000000000000004")};
    bigint m{ZRC_HEX_To_BIGINT("000000000000000000000000000000000000000000000047")}, r = small(0);
    EXPECT_EQ(ZRC_Mod_Exp_Mont_BIGINT(r.get(), a.get(), e.get(), m.get(), nullptr), 0U);
    EXPECT_EQ(text(r), "0000000a"); // 81 mod 71
}

TEST(ModExp, RefusesArguments)
{
    bigint r = small(9);
    const bigint two = small(2), zero = small(0), one = small(1), even = small(34);
    ZRC_BIGINT* const n = nullptr;
    EXPECT_EQ(ZRC_Mod_Exp_Mont_BIGINT(n, two.get(), two.get(), two.get(), nullptr), 0x040A0049U);
    EXPECT_EQ(ZRC_Mod_Exp_Mont_BIGINT(r.get(), n, two.get(), two.get(), nullptr), 0x040A0049U);
    EXPECT_EQ(ZRC_Mod_Exp_Mont_BIGINT(r.get(), two.get(), n, two.get(), nullptr), 0x040A0049U);
    EXPECT_EQ(ZRC_Mod_Exp_Mont_BIGINT(r.get(), two.get(), two.get(), n, nullptr), 0x040A0049U);
    EXPECT_EQ(ZRC_Mod_Exp_Mont_BIGINT(r.get(), two.get(), two.get(), even.get(), nullptr), 0x040A003EU);
    EXPECT_EQ(ZRC_Mod_Exp_Mont_BIGINT(r.get(), two.get(), two.get(), zero.get(), nullptr), 0x040A003EU);
    EXPECT_EQ(ZRC_Mod_Exp_Mont_BIGINT(r.get(), two.get(), two.get(), ZRC_Value_Zero_BIGINT(), nullptr), 0x040A003EU);

    for (const bigint* modulus : {&zero, &one, &even})
        EXPECT_FALSE(zrc::secret_mod_exp({r.get(), two.get(), two.get(), modulus->get(), 0}));
    EXPECT_FALSE(zrc::secret_mod_exp({r.get(), nullptr, two.get(), two.get(), 0}));
    EXPECT_EQ(text(r), "00000009");

    ZRC_BIGINT full{nullptr, 0, 0, ZRC_BIGINT_STATIC};
    const bigint m = small(35);
    EXPECT_EQ(ZRC_Mod_Exp_Mont_BIGINT(&full, two.get(), two.get(), m.get(), nullptr), 0x040A0002U);
    EXPECT_FALSE(zrc::secret_mod_exp({&full, two.get(), two.get(), m.get(), 0}));
}

TEST(Montgomery, Vectors)
{
    const pool scratch{ZRC_New_BIGINT_Pool()};
    const context mont{zrc_New_BIGINT_MONT()};
    for (const test::stanza& vector : test::read_vectors("modexp.txt", "montgomery")) {
        SCOPED_TRACE(vector.place);
        const bigint m = of_bytes(vector["m"]), a = of_bytes(vector["a"]), b = of_bytes(vector["b"]);
        ASSERT_EQ(zrc_Set_BIGINT_MONT(mont.get(), m.get(), scratch.get()), 0U);
        EXPECT_EQ(mont->ri, 32 * m->length);
        EXPECT_EQ(mont->ninv0, ZRC_Get_BIGINT_Word(of_bytes(vector["ninv0"]).get()));
        EXPECT_EQ(text(&mont->RR), text(of_bytes(vector["rr"])));
        EXPECT_EQ(text(&mont->N), text(m));
        EXPECT_EQ(mont->Ni.length, 0);

        bigint r = test::copy_of(a), over = test::copy_of(b);
        EXPECT_EQ(zrc_Mod_Mul_BIGINT_Montgomery(r.get(), r.get(), b.get(), mont.get(), scratch.get()), 0U);
        EXPECT_EQ(text(r), text(of_bytes(vector["abr"])));
        EXPECT_EQ(zrc_Mod_Mul_BIGINT_Montgomery(over.get(), a.get(), over.get(), mont.get(), scratch.get()), 0U);
        EXPECT_EQ(text(over), text(of_bytes(vector["abr"])));
        EXPECT_EQ(zrc_BIGINT_from_Montgomery(r.get(), a.get(), mont.get(), scratch.get()), 0U);
        EXPECT_EQ(text(r), text(of_bytes(vector["ar"])));
    }
    EXPECT_EQ(scratch->depth, -1);
    EXPECT_EQ(scratch->used, 0);
}

TEST(Montgomery, OperandsThatAreNotReduced)
{
    random_numbers random{5};
    const pool scratch{ZRC_New_BIGINT_Pool()};
    const context mont{zrc_New_BIGINT_MONT()};
    for (const std::size_t bits : {20U, 32U, 64U, 96U, 250U, 288U}) {
        const bigint m = random.odd(bits), a = random.exactly(bits + 40), b = random.exactly(2 * bits + 1);
        ASSERT_EQ(zrc_Set_BIGINT_MONT(mont.get(), m.get(), scratch.get()), 0U);
        bigint r = small(0), expected = small(0);
        // (a b R^-1) R^2 R^-1 = a b
        EXPECT_EQ(zrc_Mod_Mul_BIGINT_Montgomery(r.get(), a.get(), b.get(), mont.get(), scratch.get()), 0U);
        EXPECT_EQ(zrc_Mod_Mul_BIGINT_Montgomery(r.get(), r.get(), &mont->RR, mont.get(), scratch.get()), 0U);
        EXPECT_EQ(ZRC_Mod_Mtp_BIGINT(expected.get(), a.get(), b.get(), m.get(), scratch.get()), 0U);
        EXPECT_EQ(text(r), text(expected)) << bits;

        const bigint zero = small(0);
        EXPECT_EQ(zrc_Mod_Mul_BIGINT_Montgomery(r.get(), a.get(), zero.get(), mont.get(), scratch.get()), 0U);
        EXPECT_EQ(text(r), "");
    }
}

TEST(Montgomery, ModuliWithALowWordOfOne)
{
    const pool scratch{ZRC_New_BIGINT_Pool()};
    const context mont{zrc_New_BIGINT_MONT()};
    for (const char* modulus : {"00000001", "0000000500000001"}) {
        const bigint m{ZRC_HEX_To_BIGINT(modulus)};
        EXPECT_EQ(zrc_Set_BIGINT_MONT(mont.get(), m.get(), scratch.get()), 0U);
        EXPECT_EQ(mont->ninv0, 0xFFFFFFFFU);
    }
}

TEST(Montgomery, RefusesArguments)
{
    const pool scratch{ZRC_New_BIGINT_Pool()};
    const context mont{zrc_New_BIGINT_MONT()};
    const bigint seven = small(7), six = small(6);
    bigint r = small(9);

    EXPECT_EQ(zrc_Free_BIGINT_MONT(nullptr), 0x04080049U);
    EXPECT_EQ(zrc_Set_BIGINT_MONT(nullptr, seven.get(), scratch.get()), 0x04090049U);
    EXPECT_EQ(zrc_Set_BIGINT_MONT(mont.get(), nullptr, scratch.get()), 0x04090049U);
    EXPECT_EQ(zrc_Set_BIGINT_MONT(mont.get(), seven.get(), nullptr), 0x04090057U);
    EXPECT_EQ(zrc_Set_BIGINT_MONT(mont.get(), six.get(), scratch.get()), 0x04090041U);
    EXPECT_EQ(zrc_Set_BIGINT_MONT(mont.get(), ZRC_Value_Zero_BIGINT(), scratch.get()), 0x04090041U);

    const auto multiply = [&](const ZRC_BIGINT* a, const ZRC_BIGINT_MONT* in, ZRC_BIGINT_POOL* from) {
        return zrc_Mod_Mul_BIGINT_Montgomery(r.get(), a, seven.get(), in, from);
    };
    EXPECT_EQ(multiply(seven.get(), mont.get(), scratch.get()), 0x040B003EU) << "a context that is not set up";
    EXPECT_EQ(zrc_BIGINT_from_Montgomery(r.get(), seven.get(), mont.get(), scratch.get()), 0x040C003EU);
    ASSERT_EQ(zrc_Set_BIGINT_MONT(mont.get(), seven.get(), scratch.get()), 0U);
    EXPECT_EQ(multiply(nullptr, mont.get(), scratch.get()), 0x040B0049U);
    EXPECT_EQ(multiply(seven.get(), nullptr, scratch.get()), 0x040B0049U);
    EXPECT_EQ(multiply(seven.get(), mont.get(), nullptr), 0x040B0057U);
    EXPECT_EQ(zrc_BIGINT_from_Montgomery(nullptr, seven.get(), mont.get(), scratch.get()), 0x040C0049U);
    EXPECT_EQ(zrc_BIGINT_from_Montgomery(r.get(), seven.get(), mont.get(), nullptr), 0x040C0057U);
    EXPECT_EQ(text(r), "00000009");

    ZRC_BIGINT full{nullptr, 0, 0, ZRC_BIGINT_STATIC};
    EXPECT_EQ(zrc_Mod_Mul_BIGINT_Montgomery(&full, six.get(), six.get(), mont.get(), scratch.get()), 0x040B0016U);
    EXPECT_EQ(zrc_BIGINT_from_Montgomery(&full, six.get(), mont.get(), scratch.get()), 0x040C0016U);
    EXPECT_EQ(scratch->depth, -1);
}

} // namespace
