// Exponentiation kernels with numbers that random ones never are: long runs of ones and zeros, around the ends of
// digits of 52 bits and of limbs. Carries then run through whole vectors, and results meet the modulus itself.
#include "bigint/mod_exp.hpp"
#include "core/cpu.hpp"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <gtest/gtest.h>
#include <tuple>
#include <vector>

namespace {

using zrc::kLimbBits;
using zrc::limb;
using numbers = std::vector<limb>;

constexpr std::size_t kMostBits = 4096 + kLimbBits;

numbers zero(std::size_t bits)
{
    return numbers((bits + kLimbBits - 1) / kLimbBits);
}

// Bits from `from` up to `bits`.
numbers ones(std::size_t bits, std::size_t from = 0)
{
    numbers value = zero(bits);
    for (std::size_t i = from; i < bits; ++i)
        value[i / kLimbBits] |= limb{1} << (i % kLimbBits);
    return value;
}

numbers with_bit_flipped(numbers value, std::size_t at)
{
    value[at / kLimbBits] ^= limb{1} << (at % kLimbBits);
    return value;
}

struct problem {
    numbers a, m, e, r;
    std::size_t e_bits;

    zrc::mod_exp_task task() { return {r.data(), a.data(), m.data(), m.size(), e.data(), e_bits}; }
};

// Numbers below any odd modulus of `bits` bits that has its top bit set: 0, 1, -1, ...
std::vector<numbers> bases(const numbers& m, std::size_t bits)
{
    numbers half = ones(bits / 2);
    half.resize(m.size());
    return {zero(bits),
            with_bit_flipped(zero(bits), 0),
            with_bit_flipped(m, 0),
            with_bit_flipped(m, bits - 1),
            with_bit_flipped(zero(bits), bits - 2),
            half};
}

void expect_kernels_to_agree(const numbers& m, std::size_t bits)
{
    for (const numbers& a : bases(m, bits)) {
        // The last step of a public one is a squaring, or a multiplication by the plain base.
        for (const auto& [e, e_bits, part] : {std::tuple<limb, std::size_t, limb>{2, 2, 1}, {11, 4, 8}}) {
            problem expected{a, m, {e}, zero(bits), e_bits};
            ASSERT_TRUE(zrc::kMontPortable.open(expected.task()));
            for (const auto& entry : zrc::mod_exp_kernels.list()) {
                if (!zrc::cpu_has(entry.needs)) continue;
                SCOPED_TRACE(testing::Message() << entry.name << ", " << bits << " bits, exponent " << e);
                problem open{a, m, {e}, zero(bits), e_bits}, secret{open}, first{open}, second{open};
                EXPECT_TRUE(entry.run->open(open.task()));
                EXPECT_TRUE(entry.run->secret(secret.task()));
                EXPECT_TRUE(entry.run->secret_pair(first.task(), second.task()));
                EXPECT_EQ(open.r, expected.r);
                problem upper{a, m, {part}, zero(bits), e_bits}, lower{a, m, {e - part}, zero(bits), 2};
                EXPECT_TRUE(entry.run->open_product(upper.task(), lower.task()));
                EXPECT_EQ(upper.r, expected.r);
                EXPECT_EQ(secret.r, expected.r);
                EXPECT_EQ(first.r, expected.r);
                EXPECT_EQ(second.r, expected.r);
            }
        }
    }
}

TEST(ModExpKernels, NumbersOfOnesAndZeros)
{
    for (std::size_t limbs = 2; limbs * kLimbBits <= kMostBits; ++limbs) {
        for (const std::size_t bits : {limbs * kLimbBits, (limbs * kLimbBits - 1) / 52 * 52, limbs * kLimbBits - 11}) {
            if (bits <= (limbs - 1) * kLimbBits) continue;
            expect_kernels_to_agree(ones(bits), bits);
            expect_kernels_to_agree(with_bit_flipped(with_bit_flipped(zero(bits), 0), bits - 1), bits);
            expect_kernels_to_agree(with_bit_flipped(ones(bits), 52 * (bits / 104) + 1), bits);
            // For an even number of bits the square of 2^(bits / 2) - 1, which is one of the bases: 0 arises.
            expect_kernels_to_agree(with_bit_flipped(ones(bits, bits / 2 + 1), 0), bits);
        }
    }
}

} // namespace
