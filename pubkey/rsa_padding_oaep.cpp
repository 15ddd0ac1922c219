// EME-OAEP (RFC 8017, 7.1; PKCS #1 v2.0 for the form without the leading zero byte).
#include "core/secret.hpp"
#include "kestrim_crypto.h"
#include "pubkey/constant_time.hpp"
#include "pubkey/rsa_key.hpp"
#include "pubkey/rsa_padding.hpp"
#include "pubkey/secret_buffer.hpp"

#include <algorithm>
#include <cstring>

namespace zrc {
namespace {

constexpr std::int32_t kNotEncoded = -1;

// Bytes of the encoded message.
std::size_t encoded_bytes(const ZRC_RSA_UNIT& unit, oaep_form form) noexcept
{
    const std::size_t k = rsa_modulus_bytes(unit);
    return form == oaep_form::v20 && k != 0 ? k - 1 : k;
}

bool has_room(const ZRC_RSA_UNIT& unit, std::size_t message_bytes, std::size_t output_bytes, oaep_form form) noexcept
{
    const std::size_t h = std::size_t(unit.digest->digest_length), size = encoded_bytes(unit, form);
    return size <= output_bytes && size >= 2 * h + 1 && message_bytes <= size - 2 * h - 1;
}

// Seed and data block of an encoded message, which has at least 2 h + 1 bytes for a digest of h bytes: the data block
// has h bytes or more.
struct oaep_parts {
    std::span<std::uint8_t> seed, db;

    oaep_parts(std::span<std::uint8_t> encoded, std::size_t h, oaep_form form) noexcept
    {
        if (form == oaep_form::v21) encoded = encoded.subspan(1);
        seed = encoded.first(h);
        db = encoded.subspan(h);
    }
};

bool add_masks(std::span<std::uint8_t> first, std::span<std::uint8_t> then, std::int32_t digest_id) noexcept
{
    return add_mgf1_mask(first, then, digest_id) == 0 && add_mgf1_mask(then, first, digest_id) == 0;
}

// What the exported functions have in common: a unit that can encode, a form that there is, a label.
bool can_encode(const ZRC_RSA_UNIT* unit, const std::uint8_t* label, std::int32_t label_length,
                std::int32_t form) noexcept
{
    if (!unit || !is_bound(unit->digest)) return false;
    if (form != std::int32_t(oaep_form::v20) && form != std::int32_t(oaep_form::v21)) return false;
    return label_length >= 0 && (label || label_length == 0);
}

} // namespace

std::int32_t encode_oaep_with_seed(ZRC_RSA_UNIT& unit, byte_span message, std::span<std::uint8_t> output,
                                   byte_span label, oaep_form form, byte_span seed) noexcept
{
    const std::size_t h = std::size_t(unit.digest->digest_length);
    if (!has_room(unit, message.size(), output.size(), form)) return kNotEncoded;

    const std::span<std::uint8_t> encoded = output.first(encoded_bytes(unit, form));
    const oaep_parts parts{encoded, h, form};
    const std::span<std::uint8_t> room = parts.db.subspan(h); // behind the label's hash
    if (!message.empty()) std::memmove(parts.db.last(message.size()).data(), message.data(), message.size());
    if (form == oaep_form::v21) encoded[0] = 0;
    std::copy(seed.begin(), seed.end(), parts.seed.begin());
    std::fill_n(room.begin(), room.size() - message.size(), std::uint8_t{0});
    const bool hashed = hash_parts(*unit.digest, {label}, parts.db.data());
    // In the longer form the longest message leaves no room for the 01, which then takes the place of the last byte
    // of the label's hash. Nobody can decode that; the bound is kept as it is.
    parts.db[parts.db.size() - message.size() - 1] = 1;
    if (!hashed || !add_masks(parts.db, parts.seed, mask_digest(unit))) {
        wipe(encoded.data(), encoded.size());
        return kNotEncoded;
    }
    return std::int32_t(encoded.size());
}

std::size_t find_oaep_message(ZRC_RSA_UNIT& unit, std::span<std::uint8_t> block, byte_span label, oaep_form form,
                              std::size_t bound) noexcept
{
    const std::size_t h = std::size_t(unit.digest->digest_length);
    if (block.size() < 2 * h + 1) return 0;
    const oaep_parts parts{block, h, form};
    secret_array<std::uint8_t, kLongestDigest> label_hash;
    if (!add_masks(parts.seed, parts.db, mask_digest(unit))) return 0;
    if (!hash_parts(*unit.digest, {label}, label_hash.data())) return 0;

    std::size_t difference = 0;
    for (std::size_t i = 0; i < h; ++i)
        difference |= std::size_t(parts.db[i] ^ label_hash[i]);

    ct_mask in_zeros = ~ct_mask{0};
    std::size_t separator = 0, separator_value = 0;
    for (std::size_t i = h; i < parts.db.size(); ++i) {
        const ct_mask here = in_zeros & ~ct_is_zero(parts.db[i]);
        separator |= here & i;
        separator_value |= here & parts.db[i];
        in_zeros &= ~here;
    }
    const std::size_t length = parts.db.size() - 1 - separator;
    // The longer form compares one byte less than there is: it lets a message through that is one byte too long.
    const std::size_t longest = std::min(bound, block.size()) + (form == oaep_form::v21 ? 1 : 0);
    return length & ct_is_zero(difference) & ct_equal(separator_value, 1) & ~ct_less(longest, length);
}

} // namespace zrc

std::int32_t ZRC_Encode_RSAES_OAEP_PADDING(ZRC_RSA_UNIT* unit, const std::uint8_t* message, std::int32_t message_length,
                                           std::uint8_t* output, std::int32_t output_size, const std::uint8_t* label,
                                           std::int32_t label_length, std::int32_t form)
{
    if (!zrc::can_encode(unit, label, label_length, form)) return zrc::kNotEncoded;
    if (!message || message_length < 0 || !output || output_size < 0) return zrc::kNotEncoded;

    const zrc::byte_span data{message, std::size_t(message_length)};
    const std::span<std::uint8_t> room{output, std::size_t(output_size)};
    if (!zrc::has_room(*unit, data.size(), room.size(), zrc::oaep_form(form))) return zrc::kNotEncoded;

    zrc::secret_array<std::uint8_t, zrc::kLongestDigest> random;
    const zrc::byte_span seed{random.data(), std::size_t(unit->digest->digest_length)};
    if (ZRC_Rand_Bytes(random.data(), unit->digest->digest_length) != 0) return zrc::kNotEncoded;
    return zrc::encode_oaep_with_seed(*unit, data, room, {label, std::size_t(label_length)}, zrc::oaep_form(form),
                                      seed);
}

std::int32_t ZRC_Decode_RSAES_OAEP_PADDING(ZRC_RSA_UNIT* unit, const std::uint8_t* encoded, std::int32_t encoded_length,
                                           std::uint8_t* output, std::int32_t output_bound, const std::uint8_t* label,
                                           std::int32_t label_length, std::int32_t form)
{
    if (!zrc::can_encode(unit, label, label_length, form)) return 0;
    if (!encoded || encoded_length < 0 || !output || output_bound < 0) return 0;

    const std::size_t size = zrc::encoded_bytes(*unit, zrc::oaep_form(form)), given = std::size_t(encoded_length);
    if (size == 0 || given > size) return 0;
    zrc::secret_buffer block{size};
    if (!block) return 0;
    std::memset(block.data(), 0, size - given);
    std::memcpy(block.data() + size - given, encoded, given);
    const std::size_t length = zrc::find_oaep_message(*unit, block.span(), {label, std::size_t(label_length)},
                                                      zrc::oaep_form(form), std::size_t(output_bound));
    std::memcpy(output, block.span().last(length).data(), length);
    return std::int32_t(length);
}
