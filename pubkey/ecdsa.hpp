// The steps of ECDSA behind its exported functions (FIPS 186-4).
#pragma once

#include "kestrim/ecdsa.h"
#include "pubkey/group_signature.hpp"

#include <cstdint>

namespace zrc {

// r and s of one nonce k, below n and in as many words as n has, and the leftmost bits z of the digest; k and d are
// secret. Either may come out as 0, which is no signature. Returns 0 or the reason that ZRC_Sign_ECDSA has for its
// failure.
std::uint32_t sign_ecdsa_with_nonce(ZRC_BIGINT& r, ZRC_BIGINT& s, const ZRC_ECDSA_UNIT& unit, const ZRC_BIGINT& z,
                                    const ZRC_BIGINT& k) noexcept;

} // namespace zrc
