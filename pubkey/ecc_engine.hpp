// Curve arithmetic behind the exported functions: everything that a curve is computed with, prepared once.
#pragma once

#include "bigint/limb.hpp"
#include "core/kernel.hpp"
#include "kestrim/bigint.h"

#include <cstddef>
#include <cstdint>

namespace zrc {

// Fields come in these sizes; a curve uses the first that p and n fit.
inline constexpr std::size_t kFieldBits[] = {256, 384, 32 * 17, 1024};
inline constexpr std::size_t kMostCurveBits = 1024;
inline constexpr std::size_t kMostFieldLimbs = kMostCurveBits / kLimbBits;

// Multipliers may be longer than n, by a cofactor for instance.
inline constexpr std::size_t kMostScalarWords = 2 * kMostCurveBits / 32;

// A number in as many limbs as the engine has; the rest is not looked at.
struct field_number {
    limb v[kMostFieldLimbs];
};

struct plain_point {
    field_number x, y; // below p
    bool infinite;
};

struct curve_numbers {
    const ZRC_BIGINT* p; // odd, above 3
    const ZRC_BIGINT* a; // below p, like all below but n
    const ZRC_BIGINT* b;
    const ZRC_BIGINT* x;
    const ZRC_BIGINT* y;
    const ZRC_BIGINT* n; // odd, above 1
};

struct secret_scalar {
    const limb* v;
    std::size_t bits; // public; more than v has are not read
};

struct curve_engine;

// Called `secret`: no branch and no address depends on the scalar or on what comes of it, but for whether that is
// infinite, or whether there is an inverse. All others are for public values. Results may be operands.
struct curve_operations {
    bool (*is_on_curve)(const curve_engine& engine, const plain_point& point) noexcept;
    bool (*is_singular)(const curve_engine& engine) noexcept;
    void (*add)(const curve_engine& engine, plain_point& r, const plain_point& a, const plain_point& b) noexcept;
    void (*multiply_secret)(const curve_engine& engine, plain_point& r, const secret_scalar& k,
                            const plain_point& a) noexcept;
    // k G, for k of `base_bits` bits.
    void (*multiply_base_secret)(const curve_engine& engine, plain_point& r, const field_number& k) noexcept;
    // u G + v Q.
    void (*multiply_both)(const curve_engine& engine, plain_point& r, const field_number& u, const field_number& v,
                          const plain_point& q) noexcept;
    // Modulo n, secret, for a below 2^(kLimbBits limbs) and other factors below n.
    void (*reduce)(const curve_engine& engine, field_number& r, const field_number& a) noexcept;
    void (*multiply_scalars)(const curve_engine& engine, field_number& r, const field_number& a,
                             const field_number& b) noexcept;
    // 1 / a, secret; false if there is none.
    bool (*invert_scalar)(const curve_engine& engine, field_number& r, const field_number& a) noexcept;
    // (a + b c) d
    void (*combine_scalars)(const curve_engine& engine, field_number& r, const field_number& a, const field_number& b,
                            const field_number& c, const field_number& d) noexcept;
};

// One block of `bytes` bytes without pointers into itself, so it can be copied as it is. Nothing in it is secret.
struct curve_engine {
    const curve_operations* operations;
    std::size_t bytes;
    std::size_t limbs;
    std::size_t base_bits; // n's, rounded up to words
};

// An engine for a curve, to be released with ZRC_Free_Ex; null without memory. p and n have kMostCurveBits at most.
using curve_maker = curve_engine* (*)(const curve_numbers& numbers) noexcept;
curve_engine* new_curve_engine_portable(const curve_numbers& numbers) noexcept;
#if KESTRIM_X86_64_KERNELS
curve_engine* new_curve_engine_adx(const curve_numbers& numbers) noexcept;
#endif

// Which well-known prime p is, for ZRC_ECC_CURVE.known.
std::int32_t known_prime(const ZRC_BIGINT& p) noexcept;

// The list, best first, and the choice made from it.
extern kernel_choice<curve_maker> curve_makers;

} // namespace zrc
