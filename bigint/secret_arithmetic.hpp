// Arithmetic on the numbers of private keys: no branch and no address depends on what an operand holds. Public are how
// many words each operand has, that the top word of a modulus is not zero, and how many words a result has.
//
// A result is stored with all the words that it can have: those of m for secret_mod, secret_mod_mul and secret_mod_sub,
// one more than the longer of a b and c for secret_mul_add, those of a for secret_sub_word. Its length leaves out the zero
// words on top, and so tells something of the value; they are set, and a caller may raise the length to that public number.
// Operands may have zero words on top, moduli may not.
#pragma once

#include "kestrim/bigint.h"

#include <cstdint>

namespace zrc {

// Each returns false for a null, for a modulus of 0 or with a top word of zero, or without memory; r is then
// unchanged. r may be any operand. Operands may have any length; they need not be reduced.
bool secret_mod(ZRC_BIGINT* r, const ZRC_BIGINT* a, const ZRC_BIGINT* m) noexcept;                          // a mod m
bool secret_mod_mul(ZRC_BIGINT* r, const ZRC_BIGINT* a, const ZRC_BIGINT* b, const ZRC_BIGINT* m) noexcept; // a b mod m
bool secret_mod_sub(ZRC_BIGINT* r, const ZRC_BIGINT* a, const ZRC_BIGINT* b, const ZRC_BIGINT* m) noexcept; // a - b
bool secret_mul_add(ZRC_BIGINT* r, const ZRC_BIGINT* a, const ZRC_BIGINT* b, const ZRC_BIGINT* c) noexcept; // a b + c

// r = a - w for a >= w. False also for a < w.
bool secret_sub_word(ZRC_BIGINT* r, const ZRC_BIGINT* a, std::uint32_t w) noexcept;

// a = 1, a = b, a < b, without telling where they differ.
bool secret_is_one(const ZRC_BIGINT* a) noexcept;
bool secret_equal(const ZRC_BIGINT* a, const ZRC_BIGINT* b) noexcept;
bool secret_less(const ZRC_BIGINT* a, const ZRC_BIGINT* b) noexcept;

} // namespace zrc
