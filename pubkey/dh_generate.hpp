// Diffie-Hellman parameters that are generated or derived from the sets of the library.
#pragma once

#include "kestrim/dh.h"
#include "pubkey/dsa_generate.hpp"

#include <cstdint>

namespace zrc {

// Sets number `index`, below kDhSets, of p_bits bits, 1024 or 2048, in a domain made for SHA-256 and that size: p, q
// and g are derived as a generation does. Returns 0, a reason, or dsa_domain::kUnfit if the set is none.
std::uint32_t derive_dh_set(dsa_domain& domain, std::int32_t p_bits, std::uint32_t index) noexcept;

} // namespace zrc
