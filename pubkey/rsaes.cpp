// RSA encryption: RSAES-OAEP in two forms, RSAES-PKCS1-v1_5 and the bare operation (RFC 8017, 7).
#include "bigint/mod_exp.hpp"
#include "bigint/secret_arithmetic.hpp"
#include "core/bytes.hpp"
#include "core/error.hpp"
#include "kestrim_crypto.h"
#include "pubkey/constant_time.hpp"
#include "pubkey/rsa_key.hpp"
#include "pubkey/rsa_padding.hpp"
#include "pubkey/rsa_scheme.hpp"
#include "pubkey/secret_buffer.hpp"
#include "pubkey/secret_frame.hpp"

#include <cstring>

namespace zrc {
namespace {

// The last argument of the OAEP encodings.
constexpr auto kFormV20 = std::int32_t(oaep_form::v20), kFormV21 = std::int32_t(oaep_form::v21);

// Lengths of encodings are 0 or less on failure.
struct encoding {
    std::uint32_t failure; // reason; 0: none
    const std::uint8_t* bytes;
    std::int32_t length;
};

// `block` is as long as the modulus.
encoding encode(ZRC_RSA_UNIT& unit, byte_span message, std::span<std::uint8_t> block) noexcept
{
    const auto length = std::int32_t(message.size());
    const auto k = std::int32_t(block.size());

    switch (encoding_of(unit)) {
    case ZRC_RSAES_OAEP_V20:
        if (length > k) return {ZRC_ERR_INVALID_INPUT, nullptr, 0};
        return {0, block.data(),
                ZRC_Encode_RSAES_OAEP_PADDING(&unit, message.data(), length, block.data(), k, nullptr, 0, kFormV20)};
    case ZRC_RSAES_OAEP_V21:
        return {0, block.data(),
                ZRC_Encode_RSAES_OAEP_PADDING(&unit, message.data(), length, block.data(), k, nullptr, 0, kFormV21)};
    case ZRC_RSAES_PKCS1_V15:
        if (in_proven_mode()) return {ZRC_ERR_NOT_PROVEN_ALGORITHM, nullptr, 0};
        return {0, block.data(), ZRC_Encode_RSAES_PKCS1_PADDING(&unit, message.data(), length, block.data(), k)};
    case ZRC_RSAES_NO_PADDING:
        if (in_proven_mode()) return {ZRC_ERR_NOT_PROVEN_ALGORITHM, nullptr, 0};
        if (length > k) return {ZRC_ERR_INVALID_INPUT, nullptr, 0};
        return {0, message.data(), length};
    default:
        return {ZRC_ERR_INVALID_RSA_ENCODING, nullptr, 0};
    }
}

// Moves the block to the front, over its leading zero bytes, fills up with zero bytes, and returns how many there
// were. The time depends on the size of the block only.
std::size_t strip_leading_zeros(std::span<std::uint8_t> block) noexcept
{
    std::size_t zeros = 0;
    ct_mask leading = ~ct_mask{0};
    for (const std::uint8_t byte : block) {
        leading &= ct_is_zero(byte);
        zeros += leading & 1;
    }
    for (std::size_t step = 1; step < block.size(); step *= 2) {
        const std::size_t stays = block.size() - step;
        const auto moves = std::uint8_t(~ct_is_zero(zeros & step));
        for (std::size_t i = 0; i < stays; ++i)
            block[i] = std::uint8_t((block[i + step] & moves) | (block[i] & ~moves));
        for (std::size_t i = stays; i < block.size(); ++i)
            block[i] = std::uint8_t(block[i] & ~moves);
    }
    return zeros;
}

// The decoder wants a block without leading zero bytes, and its time depends on how long that is. So it gets one of
// the full size, with as many zero bytes behind it, which it takes for the end of the message, or for the zero byte
// in front of one; what is left of the message's length without them is then below 1.
std::int32_t decode_pkcs1(ZRC_RSA_UNIT& unit, std::span<std::uint8_t> block, std::uint8_t* message,
                          std::int32_t bound) noexcept
{
    const auto k = std::int32_t(block.size());
    const auto zeros = std::int32_t(strip_leading_zeros(block));
    const std::int32_t length = ZRC_Decode_RSAES_PKCS1_PADDING(&unit, block.data(), k, message, k) - zeros;
    return length <= bound ? length : 0;
}

// The form of k - 1 bytes has no room for the first byte of the block: it must be zero.
std::int32_t decode_oaep_v20(ZRC_RSA_UNIT& unit, std::span<const std::uint8_t> block, std::uint8_t* message,
                             std::int32_t bound) noexcept
{
    const std::span<const std::uint8_t> rest = block.subspan(1);
    const std::int32_t length = ZRC_Decode_RSAES_OAEP_PADDING(&unit, rest.data(), std::int32_t(rest.size()), message,
                                                              bound, nullptr, 0, kFormV20);
    return length & std::int32_t(ct_is_zero(block.front()));
}

// `block` is the result of the operation with all its leading zero bytes, `message` has as much room; no message is
// longer than `bound`.
encoding decode(ZRC_RSA_UNIT& unit, std::span<std::uint8_t> block, std::span<std::uint8_t> message,
                std::int32_t bound) noexcept
{
    const auto k = std::int32_t(block.size());

    switch (encoding_of(unit)) {
    case ZRC_RSAES_OAEP_V20:
        return {0, message.data(), decode_oaep_v20(unit, block, message.data(), bound)};
    case ZRC_RSAES_OAEP_V21:
        return {0, message.data(),
                ZRC_Decode_RSAES_OAEP_PADDING(&unit, block.data(), k, message.data(), bound, nullptr, 0, kFormV21)};
    case ZRC_RSAES_PKCS1_V15:
        if (in_proven_mode()) return {ZRC_ERR_NOT_PROVEN_ALGORITHM, nullptr, 0};
        return {0, message.data(), decode_pkcs1(unit, block, message.data(), bound)};
    case ZRC_RSAES_NO_PADDING:
        if (in_proven_mode()) return {ZRC_ERR_NOT_PROVEN_ALGORITHM, nullptr, 0};
        return {0, block.data(), k - std::int32_t(strip_leading_zeros(block))};
    default:
        return {ZRC_ERR_INVALID_RSA_ENCODING, nullptr, 0};
    }
}

// m = m^e or m^d mod n, without blinding or the Chinese remainder theorem.
bool encrypt(ZRC_RSA_UNIT& unit, ZRC_BIGINT* m) noexcept
{
    if (unit.operation != 0) return secret_mod_exp({m, m, unit.d, unit.n, 0});
    // A base of 0 is left as it is, which is the result.
    return ZRC_Mod_Exp_Mont_BIGINT(m, m, unit.e, unit.n, unit.pool) == 0;
}

// c = c^e or c^d mod n. Returns 0 or a code of ZRC_Decrypt_RSAES.
std::uint32_t decrypt(ZRC_RSA_UNIT& unit, ZRC_BIGINT& c) noexcept
{
    const auto fail = [](std::uint32_t reason) { return code(ZRC_L_RSA, ZRC_F_DECRYPT_RSAES, reason); };

    if (unit.operation == 0) {
        const bool done = ZRC_Mod_Exp_Mont_BIGINT(&c, &c, unit.e, unit.n, unit.pool) == 0; // 0 stays 0
        return done ? 0 : fail(ZRC_ERR_SUB_OPERATION_FAILURE);
    }
    if (has_rsa_key_pair(unit) && verify_RSA_KEY(&unit) != 0) return fail(ZRC_ERR_INVALID_KEY_PAIR);
    switch (rsa_private_operation(unit, c, c, false).failed) {
    case private_step::done:
        // All these words are set; the length without the zeros among them tells of the result.
        c.length = unit.n->length;
        return 0;
    case private_step::exponent:
        return fail(ZRC_ERR_NO_PRIVATE_VALUE);
    case private_step::unblinding: // the function number is that of signing, on purpose
        return code(ZRC_L_RSA, ZRC_F_SIGN_RSASSA, ZRC_ERR_SUB_OPERATION_FAILURE);
    default:
        return fail(ZRC_ERR_SUB_OPERATION_FAILURE);
    }
}

} // namespace
} // namespace zrc

std::uint32_t ZRC_Init_RSAES(ZRC_RSA_UNIT* unit, std::uint32_t mode, std::uint32_t operation, std::int32_t digest_id)
{
    const auto fail = [](std::uint32_t reason) { return zrc::code(ZRC_L_RSA, ZRC_F_INIT_RSAES, reason); };

    if (!unit) return fail(ZRC_ERR_NULL_INPUT);
    if (const std::uint32_t failed = ZRC_Crypto_Initialize()) return failed;
    if (zrc::refuses_modulus(*unit)) return fail(ZRC_ERR_NOT_SUPPORTED);
    const std::uint32_t encoding = mode & 0xFF;
    if (zrc::in_proven_mode() && (encoding == ZRC_RSAES_NO_PADDING || encoding == ZRC_RSAES_PKCS1_V15)) {
        return fail(ZRC_ERR_NOT_PROVEN_ALGORITHM);
    }
    if (digest_id == 0) digest_id = ZRC_SHA1;
    if (zrc::bind_digest(*unit, digest_id) != 0) return fail(ZRC_ERR_SUB_OPERATION_FAILURE);
    if (!zrc::enter_scheme(*unit, mode, operation, digest_id)) return fail(ZRC_ERR_SUB_OPERATION_FAILURE);
    return 0;
}

std::uint32_t ZRC_Encrypt_RSAES(ZRC_RSA_UNIT* unit, std::uint8_t* output, std::int32_t* output_length,
                                const std::uint8_t* input, std::int32_t input_length)
{
    const auto fail = [](std::uint32_t reason) { return zrc::code(ZRC_L_RSA, ZRC_F_ENCRYPT_RSAES, reason); };

    if (!unit) return fail(ZRC_ERR_NULL_INPUT);
    if (!input || input_length < 0 || !output || !output_length) return fail(ZRC_ERR_INVALID_INPUT);
    const bool is_private = unit->operation != 0;
    if (is_private && (unit->key_flags & (ZRC_RSA_HAS_N | ZRC_RSA_HAS_D)) == 0) return fail(ZRC_ERR_NO_PRIVATE_VALUE);
    if (!is_private && (unit->key_flags & (ZRC_RSA_HAS_N | ZRC_RSA_HAS_E)) == 0) return fail(ZRC_ERR_NO_PUBLIC_VALUE);
    if (const std::uint32_t missing = zrc::missing_number(*unit, true)) return fail(missing);
    if (zrc::refuses_modulus(*unit)) return fail(ZRC_ERR_NOT_SUPPORTED);

    const std::size_t k = zrc::rsa_modulus_bytes(*unit);
    zrc::secret_frame frame{unit->pool};
    if (!frame.open()) return fail(ZRC_ERR_SUB_OPERATION_FAILURE);
    ZRC_BIGINT* const m = frame.get();
    zrc::secret_buffer block{k};
    if (!m || !block) return fail(ZRC_ERR_MALLOC);

    const zrc::encoding encoded = zrc::encode(*unit, {input, std::size_t(input_length)}, block.span());
    if (encoded.failure != 0) return fail(encoded.failure);
    if (encoded.length < 1) return fail(ZRC_ERR_ENCODING_FAILURE);
    if (!ZRC_Binary_To_BIGINT(encoded.bytes, encoded.length, m)) return fail(ZRC_ERR_SUB_OPERATION_FAILURE);
    if (!zrc::secret_less(m, unit->n)) return fail(ZRC_ERR_MESSAGE_TOO_LONG);
    if (!zrc::encrypt(*unit, m)) return fail(ZRC_ERR_SUB_OPERATION_FAILURE);

    zrc::write_left_padded({output, k}, *m);
    *output_length = std::int32_t(k);
    return 0;
}

std::uint32_t ZRC_Decrypt_RSAES(ZRC_RSA_UNIT* unit, std::uint8_t* output, std::int32_t* output_length,
                                const std::uint8_t* input, std::int32_t input_length)
{
    const auto fail = [](std::uint32_t reason) { return zrc::code(ZRC_L_RSA, ZRC_F_DECRYPT_RSAES, reason); };

    if (!unit) return fail(ZRC_ERR_NULL_INPUT);
    if (!input || input_length < 0 || !output || !output_length) return fail(ZRC_ERR_INVALID_INPUT);
    // The two tests stand the other way round than in ZRC_Encrypt_RSAES, on purpose.
    const bool is_private = unit->operation != 0;
    if (is_private && (unit->key_flags & (ZRC_RSA_HAS_N | ZRC_RSA_HAS_E)) == 0) return fail(ZRC_ERR_NO_PUBLIC_VALUE);
    if (!is_private && (unit->key_flags & (ZRC_RSA_HAS_N | ZRC_RSA_HAS_D)) == 0) return fail(ZRC_ERR_NO_PRIVATE_VALUE);
    if (const std::uint32_t missing = zrc::missing_number(*unit, !zrc::may_take_crt(*unit))) return fail(missing);
    if (zrc::refuses_modulus(*unit)) return fail(ZRC_ERR_NOT_SUPPORTED);

    const std::size_t k = zrc::rsa_modulus_bytes(*unit);
    zrc::secret_frame frame{unit->pool};
    if (!frame.open()) return fail(ZRC_ERR_SUB_OPERATION_FAILURE);
    ZRC_BIGINT* const c = frame.get();
    zrc::secret_buffer blocks{2 * k};
    if (!c || !blocks) return fail(ZRC_ERR_MALLOC);

    if (!ZRC_Binary_To_BIGINT(input, input_length, c)) return fail(ZRC_ERR_SUB_OPERATION_FAILURE);
    if (ZRC_Cmp_BIGINT(c, unit->n) >= 0) return fail(ZRC_ERR_MESSAGE_TOO_LONG);
    if (const std::uint32_t failed = zrc::decrypt(*unit, *c)) return failed;

    const std::span<std::uint8_t> block = blocks.span().first(k);
    zrc::write_left_padded(block, *c);
    const zrc::encoding decoded = zrc::decode(*unit, block, blocks.span().last(k), input_length);
    if (decoded.failure != 0) return fail(decoded.failure);
    if (decoded.length < 1) return fail(ZRC_ERR_DECODING_FAILURE);
    std::memcpy(output, decoded.bytes, std::size_t(decoded.length));
    *output_length = decoded.length;
    return 0;
}
