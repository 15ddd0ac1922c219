// Modular exponentiation for odd moduli on limbs, inside the exported functions and private-key code.
#pragma once

#include "bigint/limb.hpp"
#include "core/kernel.hpp"
#include "kestrim/bigint.h"

#include <cstddef>
#include <cstdint>

namespace zrc {

// r = a^e mod m. m is odd and above 1, its top limb not zero; a < m. r may be a.
struct mod_exp_task {
    limb* r;
    const limb* a;
    const limb* m;
    std::size_t limbs; // of r, a and m
    const limb* e;
    std::size_t e_bits; // 1 or more; in the secret form the time depends on this number, but on no bit of e, a or m
};

// What a kernel offers. Each returns false only when there was no memory for its tables. They are wiped in the end.
struct mod_exp_kernel {
    bool (*open)(const mod_exp_task& task) noexcept; // public exponent: sliding windows, the time depends on e
    // first.r = the product of both powers, with one run of squarings; of one modulus.
    bool (*open_product)(const mod_exp_task& first, const mod_exp_task& second) noexcept;
    bool (*secret)(const mod_exp_task& task) noexcept; // fixed windows, whole-table reads, no secret-dependent branch
    // Two secret ones side by side, as for the two primes of an RSA key; the sizes may differ.
    bool (*secret_pair)(const mod_exp_task& first, const mod_exp_task& second) noexcept;
};

// Any size.
extern const mod_exp_kernel kMontPortable;

#if KESTRIM_X86_64_KERNELS
extern const mod_exp_kernel kMontAdx;  // any size
extern const mod_exp_kernel kMontIfma; // any size; scalar_mod_exp_kernel() does what its vectors do not suit
#endif

// The list, best first, and the choice made from it.
extern kernel_choice<const mod_exp_kernel*> mod_exp_kernels;

// The best kernel that needs no vector instructions: for what a vector kernel does not cover.
const mod_exp_kernel& scalar_mod_exp_kernel() noexcept;

// r = a^e mod m for any operands; r may be any of them. The time depends on all of them. Only `done` changes r.
enum class mod_exp_outcome {
    done,
    exponent_is_zero, // nothing else was looked at
    base_is_zero,     // a mod m is 0, as everything is modulo 1
    bad_modulus,      // even or zero
    no_memory,
    no_room, // r cannot grow
};
mod_exp_outcome open_mod_exp(ZRC_BIGINT* r, const ZRC_BIGINT* a, const ZRC_BIGINT* e, const ZRC_BIGINT* m) noexcept;

// r = a^e b^f mod m for any public operands: one simultaneous exponentiation, whose squarings serve both. r may be any
// operand. exponent_is_zero is not returned: an exponent of 0 makes its power 1. base_is_zero: the product is 0.
mod_exp_outcome open_mod_exp_product(ZRC_BIGINT* r, const ZRC_BIGINT* a, const ZRC_BIGINT* e, const ZRC_BIGINT* b,
                                     const ZRC_BIGINT* f, const ZRC_BIGINT* m) noexcept;

// r = a^e mod m for a secret exponent, any a, e and an odd m above 1; r may be any operand. `e_bits` is the public
// bound on the length of e that fixes the time (0: the length of m); a longer e is served too, in a time that tells
// its number of words. Returns false without memory or for operands outside of this; r is then unchanged. Public are:
// how many words each operand has, that m is odd, that its top word is not zero.
struct secret_exponentiation {
    ZRC_BIGINT* r;
    const ZRC_BIGINT* a;
    const ZRC_BIGINT* e;
    const ZRC_BIGINT* m;
    std::uint32_t e_bits;
};
bool secret_mod_exp(const secret_exponentiation& one) noexcept;
bool secret_mod_exp_pair(const secret_exponentiation& first, const secret_exponentiation& second) noexcept;

// r = the number in `result`, normalised without a branch on it: only r.length tells something. r has room for
// `words` words.
void store_normalised(ZRC_BIGINT& r, const limb* result, std::size_t words) noexcept;

} // namespace zrc
