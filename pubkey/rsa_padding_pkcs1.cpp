// The encodings of PKCS #1 v1.5: block types 1 and 2 for encryption (RFC 8017, 7.2), EMSA-PKCS1-v1_5 for signatures
// (RFC 8017, 9.2).
#include "core/error.hpp"
#include "core/secret.hpp"
#include "kestrim_crypto.h"
#include "pubkey/constant_time.hpp"
#include "pubkey/rsa_padding.hpp"
#include "pubkey/secret_buffer.hpp"

#include <algorithm>
#include <cstring>

namespace zrc {
namespace {

constexpr std::size_t kLeastPadding = 8; // bytes
constexpr std::size_t kFrame = 3;        // zero, type, and the zero behind the padding

bool fill_with_nonzero_random(std::span<std::uint8_t> bytes) noexcept
{
    if (ZRC_Rand_Bytes(bytes.data(), std::int32_t(bytes.size())) != 0) return false;
    for (std::uint8_t& byte : bytes) {
        while (byte == 0)
            if (ZRC_Rand_Bytes(&byte, 1) != 0) return false;
    }
    return true;
}

// What stands before a digest: DigestInfo of RFC 8017, 9.2, without its value. Those of SHA-384 and SHA-512 name
// SHA-256 (the object identifier ends in 1), on purpose: the signatures that this library makes and checks depend on
// it.
struct digest_prefix {
    std::int32_t digest_id;
    std::uint8_t size; // bytes
    std::uint8_t bytes[19];

    byte_span span() const noexcept { return {bytes, size}; }
};

// clang-format off
constexpr digest_prefix kDigestPrefixes[] = {
    {ZRC_SHA1, 15, {0x30, 0x21, 0x30, 0x09, 0x06, 0x05, 0x2B, 0x0E, 0x03, 0x02, 0x1A, 0x05, 0x00, 0x04, 0x14}},
    {ZRC_SHA256, 19, {0x30, 0x31, 0x30, 0x0D, 0x06, 0x09, 0x60, 0x86, 0x48, 0x01, 0x65, 0x03, 0x04, 0x02, 0x01,
                      0x05, 0x00, 0x04, 0x20}},
    {ZRC_SHA384, 19, {0x30, 0x41, 0x30, 0x0D, 0x06, 0x09, 0x60, 0x86, 0x48, 0x01, 0x65, 0x03, 0x04, 0x02, 0x01,
                      0x05, 0x00, 0x04, 0x30}},
    {ZRC_SHA512, 19, {0x30, 0x51, 0x30, 0x0D, 0x06, 0x09, 0x60, 0x86, 0x48, 0x01, 0x65, 0x03, 0x04, 0x02, 0x01,
                      0x05, 0x00, 0x04, 0x40}},
    {ZRC_MD5, 18, {0x30, 0x20, 0x30, 0x0C, 0x06, 0x08, 0x2A, 0x86, 0x48, 0x86, 0xF7, 0x0D, 0x02, 0x05, 0x05, 0x00,
                   0x04, 0x10}},
};
// clang-format on

const digest_prefix* find_prefix(std::int32_t digest_id) noexcept
{
    for (const digest_prefix& prefix : kDigestPrefixes) {
        if (prefix.digest_id == digest_id) return &prefix;
    }
    return nullptr;
}

constexpr std::int32_t kModulusTooShort = 43, kNoEncoding = -1;

} // namespace

std::size_t find_pkcs1_message(byte_span block, std::size_t bound) noexcept
{
    if (block.empty()) return 0;

    // Either type is taken, whichever key was used.
    const ct_mask type_is_good = ct_equal(block[0], 1) | ct_equal(block[0], 2);
    ct_mask in_padding = ~ct_mask{0};
    std::size_t separator = 0; // where no block has one
    for (std::size_t i = 1; i < block.size(); ++i) {
        const ct_mask here = in_padding & ct_is_zero(block[i]);
        separator |= here & i;
        in_padding &= ~here;
    }
    const std::size_t length = block.size() - 1 - separator;
    const ct_mask fits = ~ct_less(std::min(bound, block.size()), length);
    const ct_mask padding_is_good = ~ct_less(separator, 1 + kLeastPadding);
    return length & type_is_good & padding_is_good & fits;
}

} // namespace zrc

std::int32_t ZRC_Encode_RSAES_PKCS1_PADDING(ZRC_RSA_UNIT* unit, const std::uint8_t* input, std::int32_t input_length,
                                            std::uint8_t* output, std::int32_t output_length)
{
    if (!unit || !input || !output || input_length < 0) return 0;
    if (output_length < 0 || output_length - input_length < std::int32_t(zrc::kFrame + zrc::kLeastPadding)) return 0;

    const std::span<std::uint8_t> block{output, std::size_t(output_length)};
    const auto padding = block.subspan(2, block.size() - zrc::kFrame - std::size_t(input_length));
    const bool private_key = unit->operation != 0;
    std::memmove(padding.data() + padding.size() + 1, input, std::size_t(input_length));
    padding.data()[padding.size()] = 0;
    block[0] = 0;
    block[1] = private_key ? 1 : 2;
    if (private_key) {
        std::fill(padding.begin(), padding.end(), std::uint8_t{0xFF});
    } else if (!zrc::fill_with_nonzero_random(padding)) {
        zrc::wipe(block.data(), block.size());
        return 0;
    }
    return output_length;
}

std::int32_t ZRC_Decode_RSAES_PKCS1_PADDING(ZRC_RSA_UNIT* unit, const std::uint8_t* input, std::int32_t input_length,
                                            std::uint8_t* output, std::int32_t output_length)
{
    if (!unit || !input || !output || input_length < 0 || output_length < 0) return 0;
    const zrc::byte_span block{input, std::size_t(input_length)};
    const std::size_t length = zrc::find_pkcs1_message(block, std::size_t(output_length));
    std::memmove(output, block.last(length).data(), length);
    return std::int32_t(length);
}

std::int32_t ZRC_Add_EMSA_PKCS1_v1_5_Encode(std::uint8_t* output, std::int32_t k, const std::uint8_t* hash,
                                            std::int32_t hash_length, std::int32_t digest_id)
{
    const zrc::digest_prefix* prefix = zrc::find_prefix(digest_id);
    if (!prefix || !output || !hash || hash_length < 0) return zrc::kNoEncoding;

    // The first bound does not count the hash; below the second the padding would have less than no bytes. It may
    // have fewer than the eight of the standard.
    if (k < prefix->size + std::int32_t(zrc::kFrame + zrc::kLeastPadding)) return zrc::kModulusTooShort;
    if (k - hash_length < prefix->size + std::int32_t(zrc::kFrame)) return zrc::kModulusTooShort;

    const std::size_t hash_bytes = std::size_t(hash_length);
    const std::size_t padding_bytes = std::size_t(k) - zrc::kFrame - prefix->size - hash_bytes;
    std::uint8_t* next = output;
    *next++ = 0;
    *next++ = 1;
    next = std::fill_n(next, padding_bytes, std::uint8_t{0xFF});
    *next++ = 0;
    next = std::copy_n(prefix->bytes, prefix->size, next);
    std::copy_n(hash, hash_bytes, next);
    return 0;
}

// A recovered value of k - 1 bytes is compared, and no other: a shorter one that agrees in all its bytes, such as the
// single byte 01, would make a signature of nothing.
std::uint32_t ZRC_Check_EMSA_PKCS1_v1_5_Encode(const std::uint8_t* recovered, std::int32_t recovered_length,
                                               std::int32_t k, const std::uint8_t* hash, std::int32_t hash_length,
                                               std::int32_t digest_id)
{
    const auto fail = [](std::uint32_t reason) { return zrc::code(ZRC_L_RSA, ZRC_F_CHECK_PKCS1_v1_5_ENCODE, reason); };

    if (!recovered || !hash || recovered_length < 1) return 1;
    if (k < 1) return fail(ZRC_ERR_ENCODING_FAILURE);
    zrc::secret_buffer expected{std::size_t(k)};
    if (!expected) return fail(ZRC_ERR_MALLOC);
    if (ZRC_Add_EMSA_PKCS1_v1_5_Encode(expected.data(), k, hash, hash_length, digest_id) != 0) {
        return fail(ZRC_ERR_ENCODING_FAILURE);
    }
    if (recovered_length != k - 1) return fail(ZRC_ERR_COMPARE_FAIL);
    if (std::memcmp(recovered, expected.data() + 1, std::size_t(recovered_length)) != 0) {
        return fail(ZRC_ERR_COMPARE_FAIL);
    }
    return 0;
}
