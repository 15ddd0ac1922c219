// Montgomery multiplication in portable C++, for moduli of any size.
#pragma once

#include "bigint/mont_limb_core.hpp"

namespace zrc {

struct portable_montgomery {
    static constexpr std::size_t length(std::size_t limbs) noexcept { return limbs; }
    static constexpr std::size_t scratch_limbs(std::size_t n) noexcept { return 2 * n; }
    static void mul(limb* r, const limb* a, const limb* b, const montgomery_modulus& m) noexcept;
    static void sqr(limb* r, const limb* a, const montgomery_modulus& m) noexcept;
    static void leave(limb* r, const limb* a, const montgomery_modulus& m) noexcept;
};

} // namespace zrc
