// DSA (FIPS 186-4): the unit, keys, signing and verifying. Generation is in dsa_generate.cpp.
#include "pubkey/dsa.hpp"

#include "bigint/euclid.hpp"
#include "bigint/mod_exp.hpp"
#include "bigint/operand.hpp"
#include "bigint/secret_arithmetic.hpp"
#include "core/error.hpp"
#include "core/secret.hpp"
#include "kestrim/memory.h"
#include "kestrim/state.h"
#include "pubkey/secret_frame.hpp"
#include "pubkey/signature_stream.hpp"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <utility>

namespace zrc {
namespace {

template <std::uint32_t Function>
std::uint32_t failure(std::uint32_t reason) noexcept
{
    return code(ZRC_L_DSA, Function, reason);
}

// Everything but the pool and what the unit is used for.
void drop_key(ZRC_DSA_UNIT& unit) noexcept
{
    ZRC_Free_DIGEST_Unit(unit.digest);
    for (ZRC_BIGINT* number : {unit.p, unit.q, unit.g, unit.x, unit.y})
        if (number) ZRC_Free_BIGINT(number);
    if (unit.pool) {
        ZRC_Clear_BIGINT_Pool(unit.pool);
        zrc_Init_BIGINT_Pool(unit.pool);
    }

    ZRC_DSA_UNIT rest{};
    rest.operation = unit.operation;
    rest.pool = unit.pool;
    wipe(&unit, sizeof unit);
    unit = rest;
}

bool power_of_generator(ZRC_BIGINT& w, const number_group& group, const ZRC_BIGINT& secret) noexcept
{
    return secret_mod_exp({&w, &group.g, &secret, &group.p, ZRC_Get_BIGINT_Bits_Length(group.q)});
}

// A key that is being loaded, all numbers normalised.
struct loaded_key {
    owned_number p, q, g, x, y;

    number_group group() const noexcept { return {*p, q.get(), *g}; }

    // Whether x and y are keys of the group; y is made when it is absent. Returns 0 or the reason.
    std::uint32_t complete() noexcept
    {
        if (!x) return y ? test_public_key() : 0;
        if (secret_less(x.get(), ZRC_Value_One_BIGINT()) || !secret_less(x.get(), q.get()))
            return ZRC_ERR_INVALID_KEY_PAIR;
        owned_number power{ZRC_New_BIGINT()};
        if (!power || !power_of_generator(*power, group(), *x)) return ZRC_ERR_MOD_EXP_MONT_BIGINT_FAIL;
        if (y && ZRC_Cmp_BIGINT(y.get(), power.get()) != 0) return ZRC_ERR_INVALID_KEY_PAIR;
        y = std::move(power);
        return 0;
    }

    std::uint32_t test_public_key() const noexcept
    {
        if (!is_in_range(*y, *p)) return ZRC_ERR_INVALID_KEY_PAIR;
        const std::uint32_t reason = test_order(*y, *q, *p);
        return reason == ZRC_ERR_COMPARE_FAIL ? std::uint32_t{ZRC_ERR_INVALID_KEY_PAIR} : reason;
    }
};

bool has_domain(const ZRC_DSA_UNIT& unit) noexcept
{
    return unit.p && unit.q && unit.g && unit.digest;
}

// v = (g^(z / s) y^(r / s) mod p) mod q. Returns 0 or the reason; without an inverse of s the signature is no good
// one.
std::uint32_t set_v(ZRC_BIGINT& v, const ZRC_DSA_UNIT& unit, const ZRC_BIGINT& z, const ZRC_BIGINT& r,
                    const ZRC_BIGINT& s) noexcept
{
    pool_frame frame{unit.pool};
    ZRC_BIGINT *const w = frame.get(), *const u1 = frame.get(), *const u2 = frame.get();
    if (!w || !u1 || !u2) return ZRC_ERR_GET_BIGINT_POOL_FAIL;
    switch (mod_inverse(*w, s, *unit.q)) {
    case euclid_outcome::done:
        break;
    case euclid_outcome::no_inverse:
        return ZRC_ERR_VERIFY_FAILURE;
    default:
        return ZRC_ERR_MOD_INVERSE_BIGINT_FAIL;
    }
    if (!secret_mod_mul(u1, &z, w, unit.q) || !secret_mod_mul(u2, &r, w, unit.q)) return ZRC_ERR_MOD_MTP_BIGINT_FAIL;
    switch (open_mod_exp_product(&v, unit.g, u1, unit.y, u2, unit.p)) {
    case mod_exp_outcome::done:
        return secret_mod(&v, &v, unit.q) ? 0U : std::uint32_t{ZRC_ERR_MOD_BIGINT_FAIL};
    case mod_exp_outcome::base_is_zero:
        return ZRC_ERR_VERIFY_FAILURE;
    default:
        return ZRC_ERR_MOD_EXP_MONT_BIGINT_FAIL;
    }
}

std::uint32_t test_signature(const ZRC_DSA_UNIT& unit, const ZRC_BIGINT& z, const ZRC_BIGINT& r,
                             const ZRC_BIGINT& s) noexcept
{
    pool_frame frame{unit.pool};
    ZRC_BIGINT* const v = frame.get();
    if (!v) return ZRC_ERR_GET_BIGINT_POOL_FAIL;
    if (const std::uint32_t reason = set_v(*v, unit, z, r, s); reason != 0) return reason;
    return ZRC_Cmp_BIGINT(v, &r) == 0 ? 0U : std::uint32_t{ZRC_ERR_VERIFY_FAILURE};
}

} // namespace

bool dsa_public_key(ZRC_BIGINT& y, const ZRC_DSA_UNIT& unit, const ZRC_BIGINT& x) noexcept
{
    return power_of_generator(y, {*unit.p, unit.q, *unit.g}, x);
}

std::uint32_t dsa_r(ZRC_BIGINT& r, const ZRC_DSA_UNIT& unit, const ZRC_BIGINT& k) noexcept
{
    secret_frame frame{unit.pool};
    ZRC_BIGINT* const w = frame.get();
    if (!w) return ZRC_ERR_GET_BIGINT_POOL_FAIL;
    const std::int32_t words = unit.p->length;
    if (!clear_words(*w, words) || !power_of_generator(*w, {*unit.p, unit.q, *unit.g}, k))
        return ZRC_ERR_MOD_EXP_MONT_BIGINT_FAIL;
    w->length = words;
    return secret_mod(&r, w, unit.q) ? 0U : std::uint32_t{ZRC_ERR_MOD_BIGINT_FAIL};
}

std::uint32_t dsa_s(ZRC_BIGINT& s, const ZRC_DSA_UNIT& unit, const ZRC_BIGINT& z, const ZRC_BIGINT& r,
                    const ZRC_BIGINT& k) noexcept
{
    secret_frame frame{unit.pool};
    ZRC_BIGINT *const inverse = frame.get(), *const sum = frame.get();
    if (!inverse || !sum) return ZRC_ERR_GET_BIGINT_POOL_FAIL;
    const std::int32_t words = unit.q->length, sum_words = std::max(unit.x->length + r.length, z.length) + 1;
    if (!clear_words(*inverse, words) || !secret_mod_inverse(inverse, &k, unit.q))
        return ZRC_ERR_MOD_INVERSE_BIGINT_FAIL;
    inverse->length = words;
    if (!clear_words(*sum, sum_words) || !secret_mul_add(sum, unit.x, &r, &z)) return ZRC_ERR_MOD_MTP_BIGINT_FAIL;
    sum->length = sum_words;
    return secret_mod_mul(&s, inverse, sum, unit.q) ? 0U : std::uint32_t{ZRC_ERR_MOD_MTP_BIGINT_FAIL};
}

std::uint32_t sign_dsa_with_nonce(ZRC_BIGINT& r, ZRC_BIGINT& s, const ZRC_DSA_UNIT& unit, const ZRC_BIGINT& z,
                                  const ZRC_BIGINT& k) noexcept
{
    const std::uint32_t reason = dsa_r(r, unit, k);
    return reason == 0 ? dsa_s(s, unit, z, r, k) : reason;
}

} // namespace zrc

ZRC_DSA_UNIT* ZRC_New_DSA()
{
    zrc::owned<ZRC_DSA_UNIT, ZRC_Free_DSA> unit{static_cast<ZRC_DSA_UNIT*>(ZRC_Calloc(1, sizeof(ZRC_DSA_UNIT)))};
    if (!unit) return nullptr;
    unit->pool = ZRC_New_BIGINT_Pool();
    return unit->pool ? unit.release() : nullptr;
}

void ZRC_Clean_DSA(ZRC_DSA_UNIT* unit)
{
    if (unit) zrc::drop_key(*unit);
}

void ZRC_Free_DSA(ZRC_DSA_UNIT* unit)
{
    if (!unit) return;
    zrc::drop_key(*unit);
    if (unit->pool) ZRC_Free_BIGINT_Pool(unit->pool);
    ZRC_Free_Ex(unit, sizeof *unit);
}

std::uint32_t ZRC_Set_DSA_Params(ZRC_DSA_UNIT* unit, const ZRC_BIGINT* p, const ZRC_BIGINT* q, const ZRC_BIGINT* g,
                                 const ZRC_BIGINT* x, const ZRC_BIGINT* y)
{
    const auto fail = [](std::uint32_t reason) { return zrc::code(ZRC_L_DSA, ZRC_F_SET_DSA_PARAMS, reason); };

    if (!unit) return fail(ZRC_ERR_NULL_INPUT);
    if (const std::uint32_t failed = ZRC_Crypto_Initialize()) return failed;

    zrc::owned_number copies[5]; // made before the unit is cleaned: the numbers may be its own
    const ZRC_BIGINT* const given[] = {p, q, g, x, y};
    const bool copied = zrc::copy_numbers(copies, given);
    ZRC_Clean_DSA(unit);
    if (!p || !q || !g) return fail(ZRC_ERR_INVALID_INPUT);
    if (!copied) return fail(ZRC_ERR_COPY_BIGINT_FAIL);

    zrc::loaded_key key{std::move(copies[0]), std::move(copies[1]), std::move(copies[2]), std::move(copies[3]),
                        std::move(copies[4])};
    if (const std::uint32_t reason = zrc::test_group(key.group()); reason != 0) return fail(reason);
    if (const std::uint32_t reason = key.complete(); reason != 0) return fail(reason);
    unit->p = key.p.release();
    unit->q = key.q.release();
    unit->g = key.g.release();
    unit->x = key.x.release();
    unit->y = key.y.release();
    return 0;
}

std::uint32_t ZRC_Init_DSA(ZRC_DSA_UNIT* unit, std::uint32_t operation, std::int32_t digest_id)
{
    return zrc::init_signature(unit, operation, digest_id, zrc::failure<ZRC_F_INIT_DSA>);
}

std::uint32_t ZRC_Update_DSA(ZRC_DSA_UNIT* unit, const std::uint8_t* data, std::int32_t length)
{
    return zrc::update_signature(unit, data, length, zrc::failure<ZRC_F_UPDATE_DSA>);
}

std::uint32_t ZRC_Final_DSA(ZRC_DSA_UNIT* unit, std::uint8_t* R, std::int32_t* R_length, std::uint8_t* S,
                            std::int32_t* S_length)
{
    return zrc::final_signature<ZRC_Sign_DSA, ZRC_Verify_DSA>(unit, {R, R_length, S, S_length},
                                                              zrc::failure<ZRC_F_FINAL_DSA>);
}

std::uint32_t ZRC_Sign_DSA(ZRC_DSA_UNIT* unit, std::uint8_t* R, std::int32_t* R_length, std::uint8_t* S,
                           std::int32_t* S_length)
{
    const auto fail = [](std::uint32_t reason) { return zrc::code(ZRC_L_DSA, ZRC_F_SIGN_DSA, reason); };

    if (!unit || !R || !R_length || !S || !S_length || !zrc::has_domain(*unit)) return fail(ZRC_ERR_NULL_INPUT);
    if (!unit->x) return fail(ZRC_ERR_NO_PRIVATE_VALUE);
    const auto sign = [unit](ZRC_BIGINT& r, ZRC_BIGINT& s, const ZRC_BIGINT& z, const ZRC_BIGINT& k) {
        return zrc::sign_dsa_with_nonce(r, s, *unit, z, k);
    };
    const std::uint32_t reason = zrc::sign_message(*unit, *unit->q, {R, R_length, S, S_length},
                                                   {ZRC_ERR_GET_RAND_DSA_BIGINT_FAIL, ZRC_ERR_SIGN_DSA_FAIL}, sign);
    return reason == 0 ? 0 : fail(reason);
}

std::uint32_t ZRC_Verify_DSA(ZRC_DSA_UNIT* unit, const std::uint8_t* R, std::int32_t R_length, const std::uint8_t* S,
                             std::int32_t S_length)
{
    const auto fail = [](std::uint32_t reason) { return zrc::code(ZRC_L_DSA, ZRC_F_VERIFY_DSA, reason); };

    if (!unit || !R || !S || !zrc::has_domain(*unit)) return fail(ZRC_ERR_NULL_INPUT);
    if (!unit->y) return fail(ZRC_ERR_NO_PUBLIC_VALUE);
    const auto test = [unit](const ZRC_BIGINT& z, const ZRC_BIGINT& r, const ZRC_BIGINT& s) {
        return zrc::test_signature(*unit, z, r, s);
    };
    const std::uint32_t reason = zrc::verify_message(*unit, *unit->q, {R, R_length, S, S_length}, test);
    return reason == 0 ? 0 : fail(reason);
}

std::uint32_t ZRC_Get_DSA_Length(const ZRC_DSA_UNIT* unit)
{
    if (ZRC_Crypto_Initialize() != 0 || !unit) return 0;
    return (ZRC_Get_BIGINT_Bits_Length(unit->q) + 7) / 8;
}
