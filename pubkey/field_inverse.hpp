// Inverses modulo an odd number of a fixed number of limbs. No branch and no address depends on the number; the modulus
// is public.
#pragma once

#include "bigint/divsteps.hpp"
#include "bigint/limb.hpp"
#include "core/secret.hpp"
#include "pubkey/field_mask.hpp"

#include <algorithm>
#include <cstddef>

namespace zrc {

// r = the inverse of a modulo m, if there is one, and else 0 or another number below m. a is below m; n0 = -m^-1 mod B;
// `matrices` is divsteps::matrices_for the bits of m. All ones if it is the inverse.
template <std::size_t N>
limb_mask set_inverse(limb (&r)[N], const limb (&a)[N], const limb (&m)[N], limb n0, std::size_t matrices) noexcept
{
    constexpr std::size_t kDigits = divsteps::digits_for(N * kLimbBits);
    struct state {
        limb f[kDigits], g[kDigits], d[kDigits], e[kDigits];
    };
    limb modulus[kDigits];
    secret<state> s;
    *s = {};
    for (std::size_t i = 0; i < kDigits; ++i) {
        modulus[i] = divsteps::digit_of(m, N, i);
        s->g[i] = divsteps::digit_of(a, N, i);
    }
    std::copy_n(modulus, kDigits, s->f);
    s->e[0] = 1;
    const divsteps::numbers numbers{s->f, s->g, s->d, s->e, modulus, kDigits};
    numbers.run(matrices, 0 - n0);
    numbers.finish();
    divsteps::join(r, N, s->d, kDigits);
    return numbers.found();
}

} // namespace zrc
