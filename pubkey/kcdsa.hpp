// The steps of KCDSA behind its exported functions (TTAK.KO-12.0001).
#pragma once

#include "core/bytes.hpp"
#include "kestrim/kcdsa.h"
#include "pubkey/group_signature.hpp"

#include <cstddef>
#include <cstdint>

namespace zrc {

// Domain parameters, wherever they are.
struct kcdsa_domain_view {
    const ZRC_BIGINT& p;
    const ZRC_BIGINT& q;
    const ZRC_BIGINT& g;
};

// y = g^(x^-1 mod q) mod p, with secret x. Returns 0, kNoInverse, or the code that ZRC_Mod_Exp_Mont_BIGINT has for the
// same failure.
inline constexpr std::uint32_t kNoInverse = 1;
std::uint32_t kcdsa_public_key(ZRC_BIGINT& y, const kcdsa_domain_view& domain, const ZRC_BIGINT& x) noexcept;

// k: every value from 1 to q - 1 with the same probability, in as many words as q has. Returns 0 or a code under
// ZRC_F_GET_RAND_KCDSA_BIGINT: 0x10030049 for a null, 0x1003002B when q is below 2, 0x1003001D when the generator
// failed, 0x10030016 without memory.
std::uint32_t draw_kcdsa_nonce(ZRC_BIGINT* k, const ZRC_BIGINT* q) noexcept;

// A signature in three steps, with k given. Each returns 0 or the reason that ZRC_Sign_KCDSA has for its failure. Only
// the first and the last see secrets, k and x.
std::uint32_t kcdsa_power(ZRC_BIGINT& w, const ZRC_KCDSA_UNIT& unit, const ZRC_BIGINT& k) noexcept; // g^k mod p
std::uint32_t kcdsa_challenge(ZRC_BIGINT& e, std::uint8_t* r, ZRC_DIGEST_UNIT& digest, byte_span hash,
                              const ZRC_BIGINT& w) noexcept; // r = digest of w, e = hash xor r, not reduced
std::uint32_t kcdsa_response(ZRC_BIGINT& s, const ZRC_KCDSA_UNIT& unit, const ZRC_BIGINT& k,
                             const ZRC_BIGINT& e) noexcept; // x (k - e) mod q

// All three. `hash` is as long as a digest of the unit, and so is r. s may come out as 0, which is no signature.
std::uint32_t sign_kcdsa_with_nonce(ZRC_BIGINT& s, std::uint8_t* r, ZRC_KCDSA_UNIT& unit, byte_span hash,
                                    const ZRC_BIGINT& k) noexcept;

} // namespace zrc
