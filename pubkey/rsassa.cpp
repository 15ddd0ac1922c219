// RSA signatures: RSASSA-PSS, RSASSA-PKCS1-v1_5 and the bare operation on a digest (RFC 8017, 8).
#include "bigint/operand.hpp"
#include "bigint/secret_arithmetic.hpp"
#include "core/bytes.hpp"
#include "core/error.hpp"
#include "core/secret.hpp"
#include "kestrim_crypto.h"
#include "pubkey/rsa_key.hpp"
#include "pubkey/rsa_scheme.hpp"
#include "pubkey/secret_buffer.hpp"
#include "pubkey/secret_frame.hpp"

namespace zrc {
namespace {

constexpr std::int32_t kDefaultSaltBytes = 20;

// A finished digest.
class message_hash {
public:
    // False when the digest was not started.
    bool finish(ZRC_DIGEST_UNIT* digest) noexcept
    {
        return ZRC_Final_DIGEST(digest, bytes_.data(), &length_) == 0; // refuses null, too
    }

    const std::uint8_t* data() noexcept { return bytes_.data(); }
    std::int32_t length() const noexcept { return length_; }

private:
    secret_array<std::uint8_t, 64> bytes_; // the longest digest
    std::int32_t length_ = 0;
};

std::int32_t salt_length(const ZRC_RSA_UNIT& unit) noexcept
{
    const auto length = std::int32_t(unit.mode >> 16 & 0xFF);
    return length != 0 ? length : kDefaultSaltBytes;
}

// What is signed, as a number below the modulus. `block` is as long as that. Returns 0 or the reason of the failure.
std::uint32_t encode(ZRC_RSA_UNIT& unit, message_hash& hash, std::span<std::uint8_t> block, ZRC_BIGINT* m) noexcept
{
    const auto k = std::int32_t(block.size());
    byte_span encoded = block;

    switch (encoding_of(unit)) {
    case ZRC_RSASSA_PKCS1_V15:
        if (in_proven_mode()) return ZRC_ERR_NOT_PROVEN_ALGORITHM;
        if (ZRC_Add_EMSA_PKCS1_v1_5_Encode(block.data(), k, hash.data(), hash.length(), unit.digest->algorithm_id) !=
            0) {
            return ZRC_ERR_ENCODING_FAILURE;
        }
        break;
    case ZRC_RSASSA_PSS:
        if (ZRC_Add_RSASSA_PKCS1_PSS_Encode(&unit, block.data(), k, hash.data(), hash.length(), salt_length(unit),
                                            unit.digest) != 0) {
            return ZRC_ERR_ENCODING_FAILURE;
        }
        break;
    case ZRC_RSASSA_NO_ENCODE:
        if (in_proven_mode()) return ZRC_ERR_NOT_PROVEN_ALGORITHM;
        encoded = {hash.data(), std::size_t(hash.length())};
        break;
    default:
        return ZRC_ERR_INVALID_ENCODE_MODE;
    }

    if (!ZRC_Binary_To_BIGINT(encoded.data(), std::int32_t(encoded.size()), m)) return ZRC_ERR_BINARY_TO_BIGINT_FAIL;
    return secret_less(m, unit.n) ? 0 : std::uint32_t{ZRC_ERR_MESSAGE_TOO_LONG};
}

// Looks whether m, which a signature gave, stands for the message; `m` and `block` are used up. Returns 0 or a code
// of ZRC_Verify_RSASSA.
std::uint32_t check(ZRC_RSA_UNIT& unit, message_hash& hash, std::span<std::uint8_t> block, ZRC_BIGINT* m,
                    ZRC_BIGINT* expected) noexcept
{
    const auto fail = [](std::uint32_t reason) { return code(ZRC_L_RSA, ZRC_F_VERIFY_RSASSA, reason); };
    const auto k = std::int32_t(block.size());

    switch (encoding_of(unit)) {
    case ZRC_RSASSA_PKCS1_V15: {
        if (in_proven_mode()) return fail(ZRC_ERR_NOT_PROVEN_ALGORITHM);
        const std::int32_t length = ZRC_BIGINT_To_Binary_Unsigned(m, block.data());
        const std::uint32_t failed = ZRC_Check_EMSA_PKCS1_v1_5_Encode(block.data(), length, k, hash.data(),
                                                                      hash.length(), unit.digest->algorithm_id);
        return failed != 0 ? fail(ZRC_ERR_INVALID_INPUT) : 0;
    }
    case ZRC_RSASSA_PSS:
        write_left_padded(block, *m);
        return ZRC_Check_RSASSA_PKCS1_PSS_Encode(&unit, block.data(), k, hash.data(), hash.length(), salt_length(unit),
                                                 unit.digest);
    case ZRC_RSASSA_NO_ENCODE:
        if (in_proven_mode()) return fail(ZRC_ERR_NOT_PROVEN_ALGORITHM);
        if (!ZRC_Binary_To_BIGINT(hash.data(), hash.length(), expected)) return fail(ZRC_ERR_MALLOC);
        return ZRC_Cmp_BIGINT(m, expected) != 0 ? fail(ZRC_ERR_DECODING_FAILURE) : 0;
    default:
        return fail(ZRC_ERR_DECODING_FAILURE);
    }
}

} // namespace
} // namespace zrc

std::uint32_t ZRC_Init_RSASSA(ZRC_RSA_UNIT* unit, std::int32_t digest_id, std::uint32_t mode, std::uint32_t operation)
{
    const auto fail = [](std::uint32_t reason) { return zrc::code(ZRC_L_RSA, ZRC_F_INIT_RSASSA, reason); };

    if (!unit) return fail(ZRC_ERR_NULL_INPUT);
    if (const std::uint32_t failed = ZRC_Crypto_Initialize()) return failed;
    if (zrc::in_proven_mode()) {
        if ((mode & 0xFF) == ZRC_RSASSA_PKCS1_V15) return fail(ZRC_ERR_NOT_PROVEN_ALGORITHM);
        if (zrc::refuses_modulus(*unit)) return fail(ZRC_ERR_NOT_SUPPORTED);
        // What the caller gives is looked at, not what stays of it below.
        if (digest_id != ZRC_SHA224 && digest_id != ZRC_SHA256) return fail(ZRC_ERR_NOT_PROVEN_ALGORITHM);
    }
    digest_id &= 0x0FFFFFFF; // an HMAC identifier names the digest under it
    if (const std::uint32_t reason = zrc::bind_digest(*unit, digest_id)) return fail(reason);
    if (!zrc::enter_scheme(*unit, mode, operation, digest_id)) return fail(ZRC_ERR_SUB_OPERATION_FAILURE);
    return 0;
}

std::uint32_t ZRC_Update_RSASSA(ZRC_RSA_UNIT* unit, const std::uint8_t* data, std::int32_t length)
{
    const auto fail = [](std::uint32_t reason) { return zrc::code(ZRC_L_RSA, ZRC_F_UPDATE_RSASSA, reason); };

    if (!unit) return fail(ZRC_ERR_NULL_INPUT);
    return ZRC_Update_DIGEST(unit->digest, data, length) != 0 ? fail(ZRC_ERR_SUB_OPERATION_FAILURE) : 0;
}

std::uint32_t ZRC_Final_RSASSA(ZRC_RSA_UNIT* unit, std::uint8_t* signature, std::int32_t* signature_length)
{
    const auto fail = [](std::uint32_t reason) { return zrc::code(ZRC_L_RSA, ZRC_F_FINAL_RSASSA, reason); };

    if (!unit || !signature || !signature_length) return fail(ZRC_ERR_NULL_INPUT);
    if (zrc::refuses_modulus(*unit)) return fail(ZRC_ERR_NOT_SUPPORTED);
    if (unit->operation != 0) {
        if (unit->key_flags < ZRC_RSA_HAS_D) return fail(ZRC_ERR_NO_PRIVATE_VALUE);
        return ZRC_Sign_RSASSA(unit, signature, signature_length);
    }
    if (unit->key_flags < (ZRC_RSA_HAS_N | ZRC_RSA_HAS_E)) return fail(ZRC_ERR_NO_PUBLIC_VALUE);
    return ZRC_Verify_RSASSA(unit, signature, *signature_length);
}

std::uint32_t ZRC_Sign_RSASSA(ZRC_RSA_UNIT* unit, std::uint8_t* signature, std::int32_t* signature_length)
{
    const auto fail = [](std::uint32_t reason) { return zrc::code(ZRC_L_RSA, ZRC_F_SIGN_RSASSA, reason); };

    if (!unit || !signature || !signature_length) return fail(ZRC_ERR_NULL_INPUT);
    if (!unit->n || (!unit->d && !zrc::may_take_crt(*unit))) return fail(ZRC_ERR_SUB_OPERATION_FAILURE);

    const std::size_t k = zrc::rsa_modulus_bytes(*unit);
    zrc::secret_frame frame{unit->pool};
    if (!frame.open()) return fail(ZRC_ERR_MALLOC);
    ZRC_BIGINT* const m = frame.get();
    zrc::secret_buffer block{k};
    if (!m || !block) return fail(ZRC_ERR_MALLOC);

    zrc::message_hash hash;
    if (!hash.finish(unit->digest)) return fail(ZRC_ERR_SUB_OPERATION_FAILURE);
    if (const std::uint32_t reason = zrc::encode(*unit, hash, block.span(), m)) return fail(reason);

    const zrc::private_outcome outcome = zrc::rsa_private_operation(*unit, *m, *m, true);
    switch (outcome.failed) {
    case zrc::private_step::done:
        break;
    case zrc::private_step::key_pair:
        return fail(ZRC_ERR_INVALID_KEY_PAIR);
    case zrc::private_step::exponentiation:
        return outcome.code;
    default:
        return fail(ZRC_ERR_SUB_OPERATION_FAILURE);
    }
    if (zrc::is_zero(*m)) return fail(ZRC_ERR_SIGN_FAILURE);

    zrc::write_left_padded({signature, k}, *m);
    *signature_length = std::int32_t(k);
    return 0;
}

std::uint32_t ZRC_Verify_RSASSA(ZRC_RSA_UNIT* unit, const std::uint8_t* signature, std::int32_t signature_length)
{
    const auto fail = [](std::uint32_t reason) { return zrc::code(ZRC_L_RSA, ZRC_F_VERIFY_RSASSA, reason); };

    if (!unit || !signature) return fail(ZRC_ERR_NULL_INPUT);
    if (!unit->n || !unit->e) return fail(ZRC_ERR_SUB_OPERATION_FAILURE);

    zrc::secret_frame frame{unit->pool};
    if (!frame.open()) return fail(ZRC_ERR_SUB_OPERATION_FAILURE);
    ZRC_BIGINT* const m = frame.get();
    ZRC_BIGINT* const expected = frame.get();
    zrc::secret_buffer block{zrc::rsa_modulus_bytes(*unit)};
    if (!m || !expected || !block) return fail(ZRC_ERR_MALLOC);

    zrc::message_hash hash;
    if (!hash.finish(unit->digest)) return fail(ZRC_ERR_SUB_OPERATION_FAILURE);
    if (signature_length <= 0) return fail(ZRC_ERR_INVALID_INPUT);
    if (!ZRC_Binary_To_BIGINT(signature, signature_length, m)) return fail(ZRC_ERR_SUB_OPERATION_FAILURE);
    if (ZRC_Cmp_BIGINT(m, unit->n) >= 0) return fail(ZRC_ERR_SIGNATURE_TOO_LONG);

    // A signature of 0 is left as it is, which is the result.
    const std::uint32_t failed = ZRC_Mod_Exp_Mont_BIGINT(m, m, unit->e, unit->n, unit->pool);
    return failed != 0 ? failed : zrc::check(*unit, hash, block.span(), m, expected);
}
