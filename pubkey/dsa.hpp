// The steps of DSA behind its exported functions (FIPS 186-4).
#pragma once

#include "kestrim/dsa.h"
#include "pubkey/group_signature.hpp"

#include <cstdint>

namespace zrc {

// y = g^x mod p, with secret x. False when p is even or below 3, or without memory.
bool dsa_public_key(ZRC_BIGINT& y, const ZRC_DSA_UNIT& unit, const ZRC_BIGINT& x) noexcept;

// A signature in two steps, with the nonce k given; z are the leftmost bits of the digest. k and x are secret. Either
// number may come out as 0, which is no signature. Each returns 0 or the reason that ZRC_Sign_DSA has for its
// failure.
std::uint32_t dsa_r(ZRC_BIGINT& r, const ZRC_DSA_UNIT& unit, const ZRC_BIGINT& k) noexcept; // (g^k mod p) mod q
std::uint32_t dsa_s(ZRC_BIGINT& s, const ZRC_DSA_UNIT& unit, const ZRC_BIGINT& z, const ZRC_BIGINT& r,
                    const ZRC_BIGINT& k) noexcept; // k^-1 (z + x r) mod q

// Both.
std::uint32_t sign_dsa_with_nonce(ZRC_BIGINT& r, ZRC_BIGINT& s, const ZRC_DSA_UNIT& unit, const ZRC_BIGINT& z,
                                  const ZRC_BIGINT& k) noexcept;

} // namespace zrc
