// Curves over fields of the four sizes in portable C++, and the choice of the engine.
#include "pubkey/ecc_engine.hpp"

#include "pubkey/ecc_prepared.hpp"

#include <algorithm>
#include <cstddef>

namespace zrc {
namespace {

// 2^bits, plus powers of 2 with these exponents (the power counts negative where its exponent is; 0: none), plus 1 or
// minus 1.
struct known_form {
    std::int32_t bits;
    std::int32_t terms[3];
    std::int32_t units;
};

constexpr known_form kKnownPrimes[] = {{192, {-64, 0, 0}, -1},
                                       {224, {-96, 0, 0}, 1},
                                       {256, {-224, 192, 96}, -1},
                                       {384, {-128, -96, 32}, -1},
                                       {521, {0, 0, 0}, -1}};

bool has_form(const words_of& p, const known_form& form) noexcept
{
    std::int64_t rest[521 / 32 + 1] = {}; // words with signs, to be those of p
    const std::int32_t words = form.bits / 32 + 1;
    const auto add = [&](std::int32_t exponent, std::int64_t sign) {
        rest[exponent / 32] += sign * (std::int64_t{1} << (exponent % 32));
    };
    add(form.bits, 1);
    for (const std::int32_t term : form.terms)
        if (term != 0) add(term < 0 ? -term : term, term < 0 ? -1 : 1);
    rest[0] += form.units;
    std::int64_t carry = 0;
    for (std::int32_t i = 0; i < words; ++i) {
        carry += rest[i];
        const std::uint32_t word = i < p.length ? p.data[i] : 0;
        if (std::uint32_t(carry & UINT32_MAX) != word) return false;
        carry >>= 32;
    }
    return p.length <= words;
}

template <std::size_t Bits>
curve_engine* make_of_size(const curve_numbers& numbers) noexcept
{
    return curves::prepared_curve<prime_field<(Bits + kLimbBits - 1) / kLimbBits>>::make(numbers);
}

constexpr kernel<curve_maker> kMakers[] = {
#if KESTRIM_X86_64_KERNELS
    {"adx", cpu_feature::adx, new_curve_engine_adx},
#endif
    {"portable", cpu_feature::none, new_curve_engine_portable},
};

} // namespace

std::int32_t known_prime(const ZRC_BIGINT& p) noexcept
{
    for (const known_form& form : kKnownPrimes)
        if (has_form(words_of{p}, form)) return form.bits;
    return 0;
}

curve_engine* new_curve_engine_portable(const curve_numbers& numbers) noexcept
{
    const std::size_t bits = curves::field_bits(numbers);
    if (bits <= kFieldBits[0]) return make_of_size<kFieldBits[0]>(numbers);
    if (bits <= kFieldBits[1]) return make_of_size<kFieldBits[1]>(numbers);
    if (bits <= kFieldBits[2] && known_prime(*numbers.p) == 521)
        return curves::prepared_curve<prime_field<p521_limbs::kLimbs, modular<p521_limbs>>>::make(numbers);
    if (bits <= kFieldBits[2]) return make_of_size<kFieldBits[2]>(numbers);
    return make_of_size<kFieldBits[3]>(numbers);
}

constinit kernel_choice<curve_maker> curve_makers{kMakers};

} // namespace zrc
