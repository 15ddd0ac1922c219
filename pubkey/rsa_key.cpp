// The operation with a private RSA key (RFC 8017, 5.1.2 and 5.2.1), blinded, and the check of the key before it.
#include "pubkey/rsa_key.hpp"

#include "bigint/euclid.hpp"
#include "bigint/mod_exp.hpp"
#include "bigint/operand.hpp"
#include "bigint/secret_arithmetic.hpp"
#include "core/error.hpp"
#include "kestrim/bigint_arithmetic.h"
#include "kestrim/drbg.h"
#include "pubkey/secret_frame.hpp"

namespace zrc {
namespace {

constexpr std::uint32_t kFailed = 1;
constexpr std::uint32_t kEncodingMode = 0xFF; // the part of the mode word

// About 2^j draws are needed when the modulus starts with j ones: a caller's modulus must not keep the process busy
// for ever.
constexpr std::int32_t kMostDraws = 1000000;

// The length of a number tells its top bits. A result of the secret arithmetic is stored with all the words that it
// could have, zeros on top: with those counted in, its length is a public one.
void set_public_length(ZRC_BIGINT& result, std::int32_t words) noexcept
{
    result.length = words;
}

// r = a - 1. For an odd number only the lowest bit changes, and not the length: 0 then has a word, which is no modulus
// either.
bool set_predecessor(ZRC_BIGINT* r, const ZRC_BIGINT& a) noexcept
{
    if (a.length < 1 || (a.data[0] & 1) == 0) return secret_sub_word(r, &a, 1);
    if (ZRC_Copy_BIGINT(r, &a) != 0) return false;
    r->data[0] &= ~std::uint32_t{1};
    return true;
}

// r = a random number of the range from n - 1 up to the next power of two. That it is not below n - 1 is a choice of
// this design.
std::uint32_t draw_blinding_factor(ZRC_BIGINT* r, ZRC_BIGINT* least, const ZRC_BIGINT& n) noexcept
{
    if (!set_predecessor(least, n) || is_zero(*least)) return kFailed;
    const auto bits = std::int32_t(ZRC_Get_BIGINT_Bits_Length(least));
    for (std::int32_t left = kMostDraws; left > 0; --left) {
        if (const std::uint32_t code = ZRC_Get_Rand_BIGINT_Ex(r, bits); code != 0) return code;
        if (!secret_less(r, least)) return 0;
    }
    return kFailed;
}

// The key has n and e, and two numbers for the pair.
std::uint32_t make_blinding_pair(ZRC_RSA_UNIT& unit) noexcept
{
    secret_frame frame{unit.pool};
    if (!frame.open()) return kFailed;
    ZRC_BIGINT* const r = frame.get();
    ZRC_BIGINT* const least = frame.get();
    if (!r || !least) return kFailed;
    if (const std::uint32_t code = draw_blinding_factor(r, least, *unit.n); code != 0) return code;
    const std::uint32_t code = ZRC_Mod_Exp_Mont_BIGINT(unit.blinding, r, unit.e, unit.n, unit.pool);
    if (code != 0) return code;
    if (secret_mod_inverse(unit.unblinding, r, unit.n)) return 0;
    return zrc::code(ZRC_L_BIGINT, ZRC_F_MOD_INVERSE_BIGINT, ZRC_ERR_MOD_INVERSE_BIGINT_FAIL);
}

struct exponent_check {
    bool done;
    bool inverse; // e d = 1 modulo prime - 1
    bool trivial; // prime - 1 is 1, where everything is congruent
};

exponent_check check_exponents(const ZRC_RSA_UNIT& unit, const ZRC_BIGINT& prime, secret_frame& frame) noexcept
{
    ZRC_BIGINT* const order = frame.get();
    ZRC_BIGINT* const product = frame.get();
    if (!order || !product || !set_predecessor(order, prime)) return {};
    if (!secret_mod_mul(product, unit.e, unit.d, order)) return {}; // for an order of 0, too
    set_public_length(*product, order->length);
    return {true, secret_is_one(product), secret_is_one(order)};
}

bool has_crt_values(const ZRC_RSA_UNIT& unit) noexcept
{
    return unit.p && unit.q && unit.dP && unit.dQ && unit.qInv;
}

bool takes_crt(const ZRC_RSA_UNIT& unit, const ZRC_BIGINT& base) noexcept
{
    return may_take_crt(unit) && ZRC_Get_BIGINT_Bits_Length(&base) > ZRC_Get_BIGINT_Bits_Length(unit.qInv) + 8;
}

// y = x^d mod n without the primes.
std::uint32_t plain_RSA(const ZRC_RSA_UNIT& unit, ZRC_BIGINT* y, const ZRC_BIGINT* x) noexcept
{
    if (!secret_mod_exp({y, x, unit.d, unit.n, 0})) {
        return code(ZRC_L_BIGINT, ZRC_F_MOD_EXP_MONT_BIGINT, ZRC_ERR_MALLOC); // n is odd: it had a blinding pair
    }
    set_public_length(*y, unit.n->length);
    return 0;
}

} // namespace

std::size_t rsa_modulus_bytes(const ZRC_RSA_UNIT& unit) noexcept
{
    return (std::size_t{ZRC_Get_BIGINT_Bits_Length(unit.n)} + 7) / 8;
}

void drop_blinding(ZRC_RSA_UNIT& unit) noexcept
{
    for (ZRC_BIGINT** half : {&unit.blinding, &unit.unblinding}) {
        ZRC_Free_BIGINT(*half);
        *half = nullptr;
    }
}

std::uint32_t generate_RSA_BLINDING(ZRC_RSA_UNIT* unit) noexcept
{
    if (!unit || !unit->n || !unit->e) return kFailed;
    drop_blinding(*unit);
    unit->blinding = ZRC_New_BIGINT();
    unit->unblinding = ZRC_New_BIGINT();
    const bool missing = !unit->blinding || !unit->unblinding;
    const std::uint32_t failed = missing ? kFailed : make_blinding_pair(*unit);
    if (failed != 0) drop_blinding(*unit);
    return failed;
}

bool has_rsa_key_pair(const ZRC_RSA_UNIT& unit) noexcept
{
    return unit.p && unit.q && unit.n && unit.e && unit.d;
}

bool may_take_crt(const ZRC_RSA_UNIT& unit) noexcept
{
    if (unit.use_crt == 0 || (unit.key_flags & ZRC_RSA_HAS_CRT) == 0 || !has_crt_values(unit)) return false;
    return (unit.mode & kEncodingMode) != 0;
}

// A number is 1 modulo the least common multiple m of p - 1 and q - 1 exactly when it is 1 modulo both and m is not 1
// (modulo 1, everything is 0). m divides (p - 1)(q - 1), and is 1 only if that is 1: what is 1 modulo the product is 1
// modulo m. This needs no greatest common divisor of secrets.
std::uint32_t verify_RSA_KEY(const ZRC_RSA_UNIT* unit) noexcept
{
    if (!unit || !has_rsa_key_pair(*unit)) return kFailed;
    secret_frame frame{unit->pool};
    if (!frame.open()) return kFailed;
    const exponent_check p = check_exponents(*unit, *unit->p, frame), q = check_exponents(*unit, *unit->q, frame);
    if (!p.done || !q.done) return kFailed;
    const bool good = ((p.inverse | p.trivial) & (q.inverse | q.trivial) & !(p.trivial & q.trivial)) != 0;
    return good ? 0 : kFailed;
}

// Garner's formula: m1 = c^dP mod p, m2 = c^dQ mod q, h = (m1 - m2) qInv mod p, m = h q + m2.
std::uint32_t crt_RSA(ZRC_RSA_UNIT* unit, ZRC_BIGINT* result, const ZRC_BIGINT* input) noexcept
{
    if (!unit || !result || !input || !has_crt_values(*unit)) return kFailed;
    secret_frame frame{unit->pool};
    if (!frame.open()) return kFailed;
    ZRC_BIGINT *const m1 = frame.get(), *const m2 = frame.get();
    if (!m1 || !m2) return kFailed;
    const ZRC_BIGINT *const p = unit->p, *const q = unit->q;

    if (!secret_mod_exp_pair({m1, input, unit->dP, p, ZRC_Get_BIGINT_Bits_Length(p)},
                             {m2, input, unit->dQ, q, ZRC_Get_BIGINT_Bits_Length(q)})) {
        return kFailed;
    }
    set_public_length(*m1, p->length);
    set_public_length(*m2, q->length);
    if (!secret_mod_sub(m1, m1, m2, p)) return kFailed;
    set_public_length(*m1, p->length);
    if (!secret_mod_mul(m1, m1, unit->qInv, p)) return kFailed;
    set_public_length(*m1, p->length);
    if (!secret_mul_add(result, m1, q, m2)) return kFailed;
    set_public_length(*result, p->length + q->length);
    return 0;
}

private_outcome rsa_private_operation(ZRC_RSA_UNIT& unit, ZRC_BIGINT& y, const ZRC_BIGINT& x,
                                      bool check_key_pair) noexcept
{
    if (!unit.blinding || !unit.unblinding) {
        if (const std::uint32_t failed = generate_RSA_BLINDING(&unit)) return {private_step::blinding, failed};
    }
    secret_frame frame{unit.pool};
    if (!frame.open()) return {private_step::blinding, kFailed};
    ZRC_BIGINT *const blinded = frame.get(), *const power = frame.get();
    if (!blinded || !power || !secret_mod_mul(blinded, &x, unit.blinding, unit.n)) {
        return {private_step::blinding, kFailed};
    }
    if (check_key_pair && has_rsa_key_pair(unit) && verify_RSA_KEY(&unit) != 0) {
        return {private_step::key_pair, kFailed};
    }
    if (takes_crt(unit, *blinded)) {
        if (const std::uint32_t failed = crt_RSA(&unit, power, blinded)) return {private_step::crt, failed};
    } else {
        if (!unit.d) return {private_step::exponent, kFailed};
        if (const std::uint32_t failed = plain_RSA(unit, power, blinded)) {
            return {private_step::exponentiation, failed};
        }
    }
    if (!secret_mod_mul(&y, power, unit.unblinding, unit.n)) return {private_step::unblinding, kFailed};
    return {private_step::done, 0};
}

} // namespace zrc
