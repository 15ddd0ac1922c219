#include "bigint/miller_rabin.hpp"

#include "bigint/mont_limb_core.hpp"
#include "bigint/operand.hpp"
#include "bigint/steady_division.hpp"

#include <algorithm>
#include <bit>

namespace zrc {

witnessed_number::witnessed_number(std::size_t words) noexcept : memory_{3 * aligned_limbs(limbs_for_words(words))}
{
    if (memory_.missing()) return;
    const std::size_t piece = aligned_limbs(limbs_for_words(words));
    n_ = memory_.take(piece);
    d_ = memory_.take(piece);
    x_ = memory_.take(piece);
}

void witnessed_number::set(const ZRC_BIGINT& n) noexcept
{
    const words_of value{n};
    limbs_ = limbs_for_words(std::size_t(value.length));
    load_limbs(n_, value.data, std::size_t(value.length));
    bits_ = kLimbBits * limbs_ - std::size_t(std::countl_zero(n_[limbs_ - 1]));

    // n is odd: but for bit 0, n and n - 1 are the same.
    std::size_t skip = 0;
    limb low = n_[0] - 1;
    while (low == 0)
        low = n_[++skip];
    const auto shift = unsigned(std::countr_zero(low));
    s_ = kLimbBits * skip + shift;
    std::fill_n(d_, limbs_, limb{0});
    for (std::size_t i = skip; i < limbs_; ++i) {
        const limb above = i + 1 < limbs_ ? n_[i + 1] << 1 << (kLimbBits - 1 - shift) : 0;
        d_[i - skip] = (i == skip ? low : n_[i]) >> shift | above;
    }
}

void witnessed_number::set_witness(const ZRC_BIGINT& witness) noexcept
{
    load_limbs(x_, witness.data, std::size_t(witness.length));
    std::fill(x_ + limbs_for_words(std::size_t(witness.length)), x_ + limbs_, limb{0});
    --n_[0]; // n - 1; n is odd
    reduce_once(x_, 0, n_, limbs_);
    if (std::all_of(x_, x_ + limbs_, [](limb value) { return value == 0; })) std::copy_n(n_, limbs_, x_);
    ++n_[0];
}

bool witnessed_number::is_one() const noexcept
{
    return x_[0] == 1 && std::all_of(x_ + 1, x_ + limbs_, [](limb value) { return value == 0; });
}

bool witnessed_number::is_minus_one() const noexcept
{
    return x_[0] == n_[0] - 1 && std::equal(x_ + 1, x_ + limbs_, n_ + 1);
}

verdict witnessed_number::after_power() noexcept
{
    if (is_one()) return verdict::probable_prime;
    for (std::size_t squarings = 0; !is_minus_one(); ++squarings) {
        if (squarings + 1 >= s_) return verdict::composite;
        constexpr limb kTwo = 2;
        if (!mod_exp_kernels.get()->secret({x_, x_, n_, limbs_, &kTwo, 2})) return verdict::failed;
    }
    return verdict::probable_prime;
}

verdict test_witness(witnessed_number& number) noexcept
{
    if (!mod_exp_kernels.get()->secret(number.power())) return verdict::failed;
    return number.after_power();
}

verdict_pair test_witnesses(witnessed_number& first, witnessed_number& second) noexcept
{
    if (!mod_exp_kernels.get()->secret_pair(first.power(), second.power())) return {verdict::failed, verdict::failed};
    return {first.after_power(), second.after_power()};
}

} // namespace zrc
