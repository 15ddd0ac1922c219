// What encryption and signatures with RSA share: the rules of proven mode, the start of a scheme.
#pragma once

#include "kestrim/rsa.h"

#include <cstdint>
#include <span>

namespace zrc {

bool in_proven_mode() noexcept;

// A modulus too short for proven mode, in proven mode. Without one there is nothing to refuse yet.
bool refuses_modulus(const ZRC_RSA_UNIT& unit) noexcept;

// Bits 0 to 7 of the mode word.
inline std::uint32_t encoding_of(const ZRC_RSA_UNIT& unit) noexcept
{
    return unit.mode & 0xFF;
}

// Binds the unit's digest, which is made when there is none. Returns 0 or the reason of the failure.
std::uint32_t bind_digest(ZRC_RSA_UNIT& unit, std::int32_t digest_id) noexcept;

// Gives the unit a pool, when it has none, the mode word and the operation; false without memory. A mode word that
// names no digest gets that of the messages folded in.
bool enter_scheme(ZRC_RSA_UNIT& unit, std::uint32_t mode, std::uint32_t operation, std::int32_t digest_id) noexcept;

// 0, or the reason: `key_flags` outlives a key, so the numbers that the operation needs may be missing all the same.
// The private exponent may be dispensable.
std::uint32_t missing_number(const ZRC_RSA_UNIT& unit, bool needs_d) noexcept;

// The number, big-endian, behind zero bytes; it fits. The time depends on how many words it has, not on their values.
void write_left_padded(std::span<std::uint8_t> out, const ZRC_BIGINT& number) noexcept;

} // namespace zrc
