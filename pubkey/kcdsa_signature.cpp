// KCDSA: drawing k, signing, verifying (TTAK.KO-12.0001).
#include "bigint/euclid.hpp"
#include "bigint/mod_exp.hpp"
#include "bigint/operand.hpp"
#include "bigint/secret_arithmetic.hpp"
#include "core/error.hpp"
#include "core/secret.hpp"
#include "pubkey/kcdsa.hpp"
#include "pubkey/secret_frame.hpp"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>

namespace zrc {
namespace {

std::uint32_t bits_of(const ZRC_BIGINT& number) noexcept
{
    return ZRC_Get_BIGINT_Bits_Length(&number);
}

std::uint8_t byte_of(const ZRC_BIGINT& number, std::size_t i) noexcept
{
    return std::uint8_t(number.data[i / 4] >> (8 * (i % 4)));
}

// The digest of w in as few big-endian bytes as it needs, of 0 in none. Returns 0 or the reason.
std::uint32_t hash_number(ZRC_DIGEST_UNIT& digest, const ZRC_BIGINT& w, std::uint8_t* output) noexcept
{
    if (ZRC_Init_DIGEST(&digest, digest.algorithm_id) != 0) return ZRC_ERR_INIT_DIGEST_FAIL;
    std::array<std::uint8_t, 512> chunk;
    std::size_t left = (bits_of(w) + 7) / 8;
    do {
        const std::size_t size = std::min(left, chunk.size());
        for (std::size_t i = 0; i < size; ++i)
            chunk[i] = byte_of(w, left - 1 - i);
        if (ZRC_Update_DIGEST(&digest, chunk.data(), std::int32_t(size)) != 0) return ZRC_ERR_UPDATE_DIGEST_FAIL;
        left -= size;
    } while (left != 0);
    return ZRC_Final_DIGEST(&digest, output, nullptr) == 0 ? 0 : ZRC_ERR_FINAL_DIGEST_FAIL;
}

// e = hash xor r as a number, not reduced. False without memory.
bool set_challenge(ZRC_BIGINT* e, byte_span hash, const std::uint8_t* r) noexcept
{
    secret_array<std::uint8_t, kMostDigestBytes> sum;
    for (std::size_t i = 0; i < hash.size(); ++i)
        sum[i] = hash[i] ^ r[i];
    return ZRC_Binary_To_BIGINT(sum.data(), std::int32_t(hash.size()), e) != nullptr;
}

// The code that ZRC_Mod_Exp_Mont_BIGINT has where secret_mod_exp fails.
std::uint32_t power_failure(const ZRC_BIGINT& p) noexcept
{
    const bool good_modulus = bits_of(p) > 1 && (p.data[0] & 1) != 0;
    return code(ZRC_L_BIGINT, ZRC_F_MOD_EXP_MONT_BIGINT, good_modulus ? ZRC_ERR_MALLOC : ZRC_ERR_MOD_BIGINT_FAIL);
}

// Writes s into `bytes` bytes, 1 or more, zeros in front, and returns the length to be reported: that of s without
// them, made even.
std::int32_t write_s(std::uint8_t* output, std::size_t bytes, const ZRC_BIGINT& s) noexcept
{
    const std::size_t significant = (bits_of(s) + 7) / 8;
    std::memset(output, 0, bytes);
    ZRC_BIGINT_To_Binary_Unsigned(&s, output + (bytes - significant));
    return std::int32_t(significant + significant % 2);
}

} // namespace

std::uint32_t kcdsa_public_key(ZRC_BIGINT& y, const kcdsa_domain_view& domain, const ZRC_BIGINT& x) noexcept
{
    const owned_number inverse{ZRC_New_BIGINT()};
    if (!inverse || !clear_words(*inverse, domain.q.length)) return kNoInverse;
    if (!secret_mod_inverse(inverse.get(), &x, &domain.q)) return kNoInverse;
    inverse->length = domain.q.length;
    if (!secret_mod_exp({&y, &domain.g, inverse.get(), &domain.p, bits_of(domain.q)})) return power_failure(domain.p);
    return 0;
}

std::uint32_t draw_kcdsa_nonce(ZRC_BIGINT* k, const ZRC_BIGINT* q) noexcept
{
    const auto fail = [](std::uint32_t reason) { return code(ZRC_L_KCDSA, ZRC_F_GET_RAND_KCDSA_BIGINT, reason); };

    if (!k || !q) return fail(ZRC_ERR_NULL_INPUT);
    const std::uint32_t reason = draw_nonce(*k, *q);
    return reason == 0 ? 0 : fail(reason);
}

std::uint32_t kcdsa_power(ZRC_BIGINT& w, const ZRC_KCDSA_UNIT& unit, const ZRC_BIGINT& k) noexcept
{
    const bool done = secret_mod_exp({&w, unit.g, &k, unit.p, bits_of(*unit.q)});
    return done ? 0 : ZRC_ERR_MOD_EXP_MONT_BIGINT_FAIL;
}

std::uint32_t kcdsa_challenge(ZRC_BIGINT& e, std::uint8_t* r, ZRC_DIGEST_UNIT& digest, byte_span hash,
                              const ZRC_BIGINT& w) noexcept
{
    if (const std::uint32_t reason = hash_number(digest, w, r); reason != 0) return reason;
    return set_challenge(&e, hash, r) ? 0 : ZRC_ERR_BINARY_TO_BIGINT_FAIL;
}

std::uint32_t kcdsa_response(ZRC_BIGINT& s, const ZRC_KCDSA_UNIT& unit, const ZRC_BIGINT& k,
                             const ZRC_BIGINT& e) noexcept
{
    secret_frame frame{unit.pool};
    ZRC_BIGINT* const difference = frame.get();
    if (!difference) return ZRC_ERR_GET_BIGINT_POOL_FAIL;
    if (!clear_words(*difference, unit.q->length)) return ZRC_ERR_SUB_BIGINT_FAIL;
    if (!secret_mod_sub(difference, &k, &e, unit.q)) return ZRC_ERR_SUB_BIGINT_FAIL;
    difference->length = unit.q->length;
    return secret_mod_mul(&s, unit.x, difference, unit.q) ? 0 : ZRC_ERR_MOD_MTP_BIGINT_FAIL;
}

std::uint32_t sign_kcdsa_with_nonce(ZRC_BIGINT& s, std::uint8_t* r, ZRC_KCDSA_UNIT& unit, byte_span hash,
                                    const ZRC_BIGINT& k) noexcept
{
    secret_frame frame{unit.pool};
    ZRC_BIGINT *const w = frame.get(), *const e = frame.get();
    if (!w || !e) return ZRC_ERR_GET_BIGINT_POOL_FAIL;
    if (const std::uint32_t reason = kcdsa_power(*w, unit, k); reason != 0) return reason;
    if (const std::uint32_t reason = kcdsa_challenge(*e, r, *unit.digest, hash, *w); reason != 0) return reason;
    return kcdsa_response(s, unit, k, *e);
}

} // namespace zrc

std::uint32_t ZRC_Sign_KCDSA(ZRC_KCDSA_UNIT* unit, std::uint8_t* R, std::int32_t* R_length, std::uint8_t* S,
                             std::int32_t* S_length)
{
    const auto fail = [](std::uint32_t reason) { return zrc::code(ZRC_L_KCDSA, ZRC_F_SIGN_KCDSA, reason); };

    if (!unit || !R || !R_length || !S || !S_length) return fail(ZRC_ERR_NULL_INPUT);
    if (!unit->p || !unit->q || !unit->x || !unit->g || !unit->digest) return fail(ZRC_ERR_NULL_INPUT);
    zrc::secret_array<std::uint8_t, zrc::kMostDigestBytes> hash;
    std::int32_t length = 0;
    if (ZRC_Final_DIGEST(unit->digest, hash.data(), &length) != 0) return fail(ZRC_ERR_FINAL_DIGEST_FAIL);

    zrc::secret_frame frame{unit->pool};
    ZRC_BIGINT *const s = frame.get(), *const k = frame.get();
    if (!frame.open() || !s || !k) return fail(ZRC_ERR_GET_BIGINT_POOL_FAIL);

    std::array<std::uint8_t, zrc::kMostDigestBytes> r;
    for (int draws = 0; zrc::is_zero(*s); ++draws) {
        if (draws == zrc::kMostDraws) return fail(ZRC_ERR_GET_RAND_FAIL);
        if (zrc::draw_kcdsa_nonce(k, unit->q) != 0) return fail(ZRC_ERR_GET_RAND_FAIL);
        const zrc::byte_span message_hash{hash.data(), std::size_t(length)};
        const std::uint32_t reason = zrc::sign_kcdsa_with_nonce(*s, r.data(), *unit, message_hash, *k);
        if (reason != 0) return fail(reason);
    }
    std::memcpy(R, r.data(), std::size_t(length));
    *R_length = length;
    *S_length = zrc::write_s(S, (ZRC_Get_BIGINT_Bits_Length(unit->q) + 7) / 8, *s);
    return 0;
}

std::uint32_t ZRC_Verify_KCDSA(ZRC_KCDSA_UNIT* unit, const std::uint8_t* R, std::int32_t R_length,
                               const std::uint8_t* S, std::int32_t S_length)
{
    const auto fail = [](std::uint32_t reason) { return zrc::code(ZRC_L_KCDSA, ZRC_F_VERIFY_KCDSA, reason); };

    if (!unit || !R || !S) return fail(ZRC_ERR_NULL_INPUT);
    if (!unit->p || !unit->q || !unit->y || !unit->g || !unit->digest) return fail(ZRC_ERR_NULL_INPUT);
    zrc::secret_array<std::uint8_t, zrc::kMostDigestBytes> hash;
    std::int32_t length = 0;
    if (ZRC_Final_DIGEST(unit->digest, hash.data(), &length) != 0) return fail(ZRC_ERR_FINAL_DIGEST_FAIL);
    if (R_length != length) return fail(ZRC_ERR_VERIFY_FAILURE);

    zrc::secret_frame frame{unit->pool};
    if (!frame.open()) return fail(ZRC_ERR_SUB_OPERATION_FAILURE);
    ZRC_BIGINT *const s = frame.get(), *const w = frame.get(), *const e = frame.get();
    if (!s || !w || !e) return fail(ZRC_ERR_GET_BIGINT_POOL_FAIL);

    if (!ZRC_Binary_To_BIGINT(S, S_length, s)) return fail(ZRC_ERR_BINARY_TO_BIGINT_FAIL);
    if (zrc::is_zero(*s)) return fail(ZRC_ERR_IS_BIGINT_ZERO_FAIL);
    if (ZRC_Cmp_BIGINT(s, unit->q) > 0) return fail(ZRC_ERR_CMP_BIGINT_FAIL); // s = q passes
    if (!zrc::set_challenge(e, {hash.data(), std::size_t(length)}, R)) return fail(ZRC_ERR_BINARY_TO_BIGINT_FAIL);

    switch (zrc::open_mod_exp_product(w, unit->y, s, unit->g, e, unit->p)) {
    case zrc::mod_exp_outcome::done:
        break;
    case zrc::mod_exp_outcome::base_is_zero:
        w->length = 0;
        break;
    default:
        return fail(ZRC_ERR_MOD_EXP_MONT_BIGINT_FAIL);
    }

    std::array<std::uint8_t, zrc::kMostDigestBytes> r;
    if (const std::uint32_t reason = zrc::hash_number(*unit->digest, *w, r.data()); reason != 0) return fail(reason);
    return std::memcmp(r.data(), R, std::size_t(length)) == 0 ? 0 : fail(ZRC_ERR_VERIFY_FAILURE);
}
