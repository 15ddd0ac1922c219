// The mechanism Hash_DRBG (SP 800-90A, 10.1.1) on units whose arrays are there already: nothing here allocates, and
// nothing asks for entropy.
#pragma once

#include "core/bytes.hpp"
#include "kestrim/drbg.h"

#include <cstddef>
#include <cstdint>
#include <span>

namespace zrc {

inline constexpr std::int32_t kMaxDrbgLength = 0x7FFFFFF0;    // bytes of an input or of a request
inline constexpr std::int32_t kMaxDrbgRequests = 100'000'000; // between two reseeds
inline constexpr std::size_t kMaxSeedBytes = 111;             // of V and of C
inline constexpr std::int32_t kHashDrbg = 0;                  // the type of a unit

// Sets the unit's parameters for a digest. Returns 0, or
//   ZRC_ERR_NOT_PROVEN_ALGORITHM  SHA-1, HAS-160 or an unknown digest, in proven mode
//   ZRC_ERR_NOT_SUPPORTED         an unknown digest
std::uint32_t set_hash_drbg_parameters(ZRC_DRBG_UNIT& unit, std::int32_t digest_id) noexcept;

// V and C from the pieces of seed material, one behind the other. True when the digest worked.
bool instantiate_hash_drbg(ZRC_DRBG_UNIT& unit, byte_span entropy, byte_span nonce, byte_span personalization) noexcept;
bool reseed_hash_drbg(ZRC_DRBG_UNIT& unit, byte_span entropy, byte_span additional) noexcept;

// Fills `out`, which is not empty. The unit changes only on success, and on failure `out` is wiped or was never
// written. Returns 0 or a code of ZRC_F_GENERATE_HASHDRBG.
std::uint32_t generate_hash_drbg(ZRC_DRBG_UNIT& unit, byte_span additional, std::span<std::uint8_t> out) noexcept;

} // namespace zrc
