// Greatest common divisors and modular inverses.
#pragma once

#include "kestrim/bigint.h"

namespace zrc {

enum class euclid_outcome {
    done,
    no_inverse,
    no_memory,
    no_room, // r cannot grow
};

// r = gcd(a, b), where gcd(a, 0) = a; r may be an operand. The time depends on the values.
euclid_outcome greatest_common_divisor(ZRC_BIGINT& r, const ZRC_BIGINT& a, const ZRC_BIGINT& b) noexcept;

// r = a^-1 mod m for any a and m above 0, in 0 to m - 1; r may be an operand. The time depends on the values.
euclid_outcome mod_inverse(ZRC_BIGINT& r, const ZRC_BIGINT& a, const ZRC_BIGINT& m) noexcept;

// The same for secret values and an odd modulus above 1 that may be secret, too: no branch and no address depends
// on them. Returns false for nulls, another modulus, no inverse, or without memory; r is then unchanged. Public
// are: how many words each operand has, that m is odd and its top word not zero, whether there is an inverse, and
// how many words it has.
bool secret_mod_inverse(ZRC_BIGINT* r, const ZRC_BIGINT* a, const ZRC_BIGINT* m) noexcept;

} // namespace zrc
