// Exponentiation kernels with numbers that random ones never are: long runs of ones and zeros, around the ends of
// digits of 52 bits and of limbs. Carries then run through whole vectors, and results meet the modulus itself.
#include "bigint/mod_exp.hpp"
#include "tests/runnable.hpp"

#include <tuple>

namespace {

using zrc::kLimbBits;
using zrc::limb;
using numbers = std::vector<limb>;

constexpr std::size_t kMostBits = 4096 + kLimbBits;

// Bits from `from` up to `to`, in room for `bits`; those of `flipped` are changed.
numbers ones(std::size_t bits, std::size_t from, std::size_t to, std::initializer_list<std::size_t> flipped = {})
{
    numbers value((bits + kLimbBits - 1) / kLimbBits);
    const auto flip = [&](std::size_t at) { value[at / kLimbBits] ^= limb{1} << (at % kLimbBits); };
    for (std::size_t i = from; i < to; ++i)
        flip(i);
    for (const std::size_t at : flipped)
        flip(at);
    return value;
}

void expect_kernels_to_agree(std::size_t bits, const numbers& m)
{
    const auto flipped_in_m = [&](std::size_t at) {
        numbers value = m;
        value[at / kLimbBits] ^= limb{1} << (at % kLimbBits);
        return value;
    };
    // 0, 1, -1, ...
    for (const numbers& a : {ones(bits, 0, 0), ones(bits, 0, 1), flipped_in_m(0), flipped_in_m(bits - 1),
                             ones(bits, bits - 2, bits - 1), ones(bits, 0, bits / 2)}) {
        // The last step of a public one is a squaring, or a multiplication by the plain base.
        for (const auto& [e, e_bits, part] : {std::tuple<limb, std::size_t, limb>{2, 2, 1}, {11, 4, 8}}) {
            const limb whole = e, high = part, low = e - part;
            const std::size_t bound = e_bits;
            const auto task = [&](numbers& r) {
                return zrc::mod_exp_task{r.data(), a.data(), m.data(), m.size(), &whole, bound};
            };
            numbers expected(m.size());
            ASSERT_TRUE(zrc::kMontPortable.open(task(expected)));
            for (const auto& entry : test::runnable(zrc::mod_exp_kernels)) {
                std::vector<numbers> r(5, numbers(m.size()));
                zrc::mod_exp_task upper = task(r[4]), lower = task(r[4]);
                upper.e = &high, lower.e = &low, lower.e_bits = 2;
                EXPECT_TRUE(entry.run->open(task(r[0])) && entry.run->secret(task(r[1])) &&
                            entry.run->secret_pair(task(r[2]), task(r[3])) && entry.run->open_product(upper, lower));
                EXPECT_EQ(r, std::vector<numbers>(5, expected)) << entry.name << ", " << bits << " bits, " << whole;
            }
        }
    }
}

TEST(ModExpKernels, NumbersOfOnesAndZeros)
{
    for (std::size_t limbs = 2; limbs * kLimbBits <= kMostBits; limbs += limbs < 34 ? 1 : 3) {
        for (const std::size_t bits : {limbs * kLimbBits, (limbs * kLimbBits - 1) / 52 * 52, limbs * kLimbBits - 11}) {
            if (bits <= (limbs - 1) * kLimbBits) continue;
            expect_kernels_to_agree(bits, ones(bits, 0, bits));
            expect_kernels_to_agree(bits, ones(bits, 0, 1, {bits - 1}));
            expect_kernels_to_agree(bits, ones(bits, 0, bits, {52 * (bits / 104) + 1}));
            // For an even number of bits the square of 2^(bits / 2) - 1, which is one of the bases: 0 arises.
            expect_kernels_to_agree(bits, ones(bits, bits / 2 + 1, bits, {0}));
        }
    }
}

} // namespace
