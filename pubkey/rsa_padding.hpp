// Inner side of the RSA encodings.
#pragma once

#include "core/bytes.hpp"
#include "kestrim/rsa.h"

#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <span>

namespace zrc {

// The bits of a mode word that can name the digest of MGF1.
inline constexpr std::uint32_t kMaskDigestBits = 0xFF00FF00;

inline constexpr std::size_t kLongestDigest = 64; // bytes

inline std::int32_t mask_digest(const ZRC_RSA_UNIT& unit) noexcept
{
    return std::int32_t(unit.mode & kMaskDigestBits);
}

// The two forms of EME-OAEP: an encoded message one byte shorter than the modulus, or as long, behind a zero byte.
enum class oaep_form {
    v20,
    v21
};

// EMSA-PSS (RFC 8017, 9.1.1) over `output`, which has as many bytes as the modulus of `unit`, with a salt of the
// caller's. Returns what ZRC_Add_RSASSA_PKCS1_PSS_Encode returns.
std::uint32_t encode_pss_with_salt(ZRC_RSA_UNIT& unit, std::span<std::uint8_t> output, byte_span hash, byte_span salt,
                                   ZRC_DIGEST_UNIT& digest) noexcept;

// EME-OAEP (RFC 8017, 7.1.1, step 2) into the start of `output` with a seed of the caller's, which has as many bytes
// as the digest of `unit`. Returns the bytes of the encoded message, or -1 with nothing left in `output`.
std::int32_t encode_oaep_with_seed(ZRC_RSA_UNIT& unit, byte_span message, std::span<std::uint8_t> output,
                                   byte_span label, oaep_form form, byte_span seed) noexcept;

// The bytes of the message at the end of a block that was encoded for encryption, without its leading zero; 0 when it
// is empty, longer than `bound`, or the block is not sound. What is in the block decides neither on a branch nor on
// an address.
std::size_t find_pkcs1_message(byte_span block, std::size_t bound) noexcept;

// The same for EME-OAEP. `block` is the encoded message in its full length; it is unmasked where it stands.
std::size_t find_oaep_message(ZRC_RSA_UNIT& unit, std::span<std::uint8_t> block, byte_span label, oaep_form form,
                              std::size_t bound) noexcept;

// XORs the mask that MGF1 makes of `seed` onto `target`. Returns what PKCS1_MGF1 returns.
std::uint32_t add_mgf1_mask(std::span<std::uint8_t> target, byte_span seed, std::int32_t digest_id) noexcept;

// True for a digest unit that is bound to an algorithm.
inline bool is_bound(const ZRC_DIGEST_UNIT* digest) noexcept
{
    return digest && digest->state;
}

// The digest of all parts, one behind the other, to `output`. What the unit held before is dropped, and the unit is
// left ready for another message.
bool hash_parts(ZRC_DIGEST_UNIT& digest, std::initializer_list<byte_span> parts, std::uint8_t* output) noexcept;

} // namespace zrc
