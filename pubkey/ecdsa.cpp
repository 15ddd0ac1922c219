// ECDSA (FIPS 186-4): the unit, keys, signing and verifying.
#include "pubkey/ecdsa.hpp"

#include "bigint/euclid.hpp"
#include "bigint/operand.hpp"
#include "bigint/secret_arithmetic.hpp"
#include "core/error.hpp"
#include "core/secret.hpp"
#include "kestrim/memory.h"
#include "kestrim/state.h"
#include "pubkey/ecc.hpp"
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
    return code(ZRC_L_ECDSA, Function, reason);
}

// Everything but the pool and what the unit is used for.
void drop_key(ZRC_ECDSA_UNIT& unit) noexcept
{
    ZRC_Free_DIGEST_Unit(unit.digest);
    ZRC_Free_ECC_CURVE(unit.curve);
    ZRC_Free_ECC_POINT(unit.Q);
    if (unit.d) ZRC_Free_BIGINT(unit.d);
    if (unit.pool) {
        ZRC_Clear_BIGINT_Pool(unit.pool);
        zrc_Init_BIGINT_Pool(unit.pool);
    }

    ZRC_ECDSA_UNIT rest{};
    rest.operation = unit.operation;
    rest.pool = unit.pool;
    wipe(&unit, sizeof unit);
    unit = rest;
}

struct ecdsa_key {
    static constexpr std::uint32_t kNoKeyPair = ZRC_ERR_INVALID_KEY_PAIR;

    owned_curve curve;
    owned_number d;
    owned_point q;

    // Copies. Returns 0 or the reason.
    std::uint32_t copy(const ZRC_ECC_CURVE& from, const ZRC_BIGINT* private_key,
                       const ZRC_ECC_POINT* public_key) noexcept
    {
        curve.reset(ZRC_New_ECC_CURVE());
        if (!curve || ZRC_Copy_ECC_CURVE(curve.get(), &from) != 0) return ZRC_ERR_MEM_ALLOC;
        if (private_key) {
            d = copy_of(private_key);
            if (!d) return ZRC_ERR_COPY_BIGINT_FAIL;
        }
        if (public_key) {
            q.reset(ZRC_New_ECC_POINT());
            if (!q || ZRC_Copy_ECC_POINT(q.get(), public_key) != 0) return ZRC_ERR_COPY_BIGINT_FAIL;
        }
        return 0;
    }

    // Whether d and Q are keys of the curve; Q is made when it is absent. Returns 0 or the reason.
    std::uint32_t complete() noexcept
    {
        if (!d) return !q || ZRC_Check_ECC_POINT(curve.get(), q.get()) == 0 ? 0U : kNoKeyPair;
        if (secret_less(d.get(), ZRC_Value_One_BIGINT()) || !secret_less(d.get(), curve->n)) return kNoKeyPair;
        owned_point product{ZRC_New_ECC_POINT()};
        if (!product || !multiply_base(*product, *curve, *d)) return ZRC_ERR_MEM_ALLOC;
        if (product->infinity != 0) return kNoKeyPair; // the order of G is not n
        if (q && ZRC_Cmp_ECC_POINT(q.get(), product.get()) != 0) return kNoKeyPair;
        q = std::move(product);
        return 0;
    }

    void give_to(ZRC_ECDSA_UNIT& unit) noexcept
    {
        unit.curve = curve.release();
        unit.d = d.release();
        unit.Q = q.release();
    }
};

// x = the abscissa of (z / s) G + (r / s) Q, modulo n. Returns 0 or the reason; without an inverse of s the signature
// is no good one.
std::uint32_t set_abscissa(field_number& x, const ZRC_ECDSA_UNIT& unit, const ZRC_BIGINT& z, const ZRC_BIGINT& r,
                           const ZRC_BIGINT& s) noexcept
{
    const curve_engine& engine = *engine_of(unit.curve);
    plain_point point;
    if (load_point(point, *unit.curve, *unit.Q) != point_state::good || point.infinite) return ZRC_ERR_VERIFY_FAILURE;

    const owned_number inverse{ZRC_New_BIGINT()};
    if (!inverse) return ZRC_ERR_MEM_ALLOC;
    switch (mod_inverse(*inverse, s, *unit.curve->n)) {
    case euclid_outcome::done:
        break;
    case euclid_outcome::no_inverse:
        return ZRC_ERR_VERIFY_FAILURE;
    default:
        return ZRC_ERR_MOD_INVERSE_BIGINT_FAIL;
    }
    field_number w, u1, u2;
    load_number(w, *inverse);
    load_number(u1, z);
    load_number(u2, r);
    engine.operations->multiply_scalars(engine, u1, u1, w);
    engine.operations->multiply_scalars(engine, u2, u2, w);
    engine.operations->multiply_both(engine, point, u1, u2, point);
    if (point.infinite) return ZRC_ERR_VERIFY_FAILURE;
    engine.operations->reduce(engine, x, point.x);
    return 0;
}

std::uint32_t test_signature(const ZRC_ECDSA_UNIT& unit, const ZRC_BIGINT& z, const ZRC_BIGINT& r,
                             const ZRC_BIGINT& s) noexcept
{
    field_number x, expected;
    if (const std::uint32_t reason = set_abscissa(x, unit, z, r, s); reason != 0) return reason;
    load_number(expected, r);
    const std::size_t limbs = engine_of(unit.curve)->limbs;
    return std::equal(x.v, x.v + limbs, expected.v) ? 0U : std::uint32_t{ZRC_ERR_VERIFY_FAILURE};
}

bool has_curve(const ZRC_ECDSA_UNIT& unit) noexcept
{
    return unit.digest && engine_of(unit.curve);
}

} // namespace

std::uint32_t sign_ecdsa_with_nonce(ZRC_BIGINT& r, ZRC_BIGINT& s, const ZRC_ECDSA_UNIT& unit, const ZRC_BIGINT& z,
                                    const ZRC_BIGINT& k) noexcept
{
    const curve_engine& engine = *engine_of(unit.curve);
    const ZRC_BIGINT& n = *unit.curve->n;
    secret<field_number> scalar, inverse, r_limbs, sum, key;
    secret<plain_point> point;
    load_number(*scalar, k);
    if (!engine.operations->invert_scalar(engine, *inverse, *scalar)) return ZRC_ERR_MOD_INVERSE_BIGINT_FAIL;
    engine.operations->multiply_base_secret(engine, *point, *scalar);
    engine.operations->reduce(engine, *r_limbs, point->x);

    load_number(*sum, z);
    load_number(*key, *unit.d);
    engine.operations->reduce(engine, *sum, *sum);
    engine.operations->combine_scalars(engine, *sum, *sum, *r_limbs, *key, *inverse);
    const auto words = std::size_t(n.length);
    return store_number(r, *r_limbs, words) && store_number(s, *sum, words) ? 0U
                                                                            : std::uint32_t{ZRC_ERR_EXPAND_BIGINT_WORD};
}

} // namespace zrc

ZRC_ECDSA_UNIT* ZRC_New_ECDSA()
{
    zrc::owned<ZRC_ECDSA_UNIT, ZRC_Free_ECDSA> unit{
        static_cast<ZRC_ECDSA_UNIT*>(ZRC_Calloc(1, sizeof(ZRC_ECDSA_UNIT)))};
    if (!unit) return nullptr;
    unit->pool = ZRC_New_BIGINT_Pool();
    return unit->pool ? unit.release() : nullptr;
}

void ZRC_Clean_ECDSA(ZRC_ECDSA_UNIT* unit)
{
    if (unit) zrc::drop_key(*unit);
}

void ZRC_Free_ECDSA(ZRC_ECDSA_UNIT* unit)
{
    if (!unit) return;
    zrc::drop_key(*unit);
    if (unit->pool) ZRC_Free_BIGINT_Pool(unit->pool);
    ZRC_Free_Ex(unit, sizeof *unit);
}

std::uint32_t ZRC_Set_ECDSA_Params(ZRC_ECDSA_UNIT* unit, const ZRC_ECC_CURVE* curve, const ZRC_BIGINT* d,
                                   const ZRC_ECC_POINT* Q)
{
    const auto fail = [](std::uint32_t reason) { return zrc::code(ZRC_L_ECDSA, ZRC_F_SET_ECDSA_PARAMS, reason); };

    if (!unit) return fail(ZRC_ERR_NULL_INPUT);
    if (const std::uint32_t failed = ZRC_Crypto_Initialize()) return failed;

    zrc::ecdsa_key key; // made before the unit is cleaned: all of it may be the unit's own
    std::uint32_t reason = ZRC_ERR_INVALID_INPUT;
    if (zrc::engine_of(curve) && (!Q || zrc::is_complete(Q))) reason = key.copy(*curve, d, Q);
    ZRC_Clean_ECDSA(unit);
    if (reason == 0) reason = key.complete();
    if (reason != 0) return fail(reason);
    key.give_to(*unit);
    return 0;
}

std::uint32_t ZRC_Generate_ECDSA_Key_Pair(ZRC_ECDSA_UNIT* unit, const ZRC_ECC_CURVE* curve)
{
    const auto fail = [](std::uint32_t reason) {
        return zrc::code(ZRC_L_ECDSA, ZRC_F_GENERATE_ECDSA_KEY_PAIR, reason);
    };

    if (!unit) return fail(ZRC_ERR_NULL_INPUT);
    if (const std::uint32_t failed = ZRC_Crypto_Initialize()) return failed;
    if (!curve) curve = unit->curve;
    if (!zrc::engine_of(curve)) return fail(ZRC_ERR_NULL_INPUT);

    zrc::ecdsa_key key;
    if (const std::uint32_t reason = key.copy(*curve, nullptr, nullptr); reason != 0) return fail(reason);
    key.d.reset(ZRC_New_BIGINT());
    if (!key.d) return fail(ZRC_ERR_MEM_ALLOC);
    if (zrc::draw_nonce(*key.d, *key.curve->n) != 0) return fail(ZRC_ERR_GET_RAND_FAIL);
    if (const std::uint32_t reason = key.complete(); reason != 0) return fail(reason);
    zrc::set_length(*key.d, key.d->length);
    ZRC_Clean_ECDSA(unit);
    key.give_to(*unit);
    return 0;
}

std::uint32_t ZRC_Init_ECDSA(ZRC_ECDSA_UNIT* unit, std::uint32_t operation, std::int32_t digest_id)
{
    return zrc::init_signature(unit, operation, digest_id, zrc::failure<ZRC_F_INIT_ECDSA>);
}

std::uint32_t ZRC_Update_ECDSA(ZRC_ECDSA_UNIT* unit, const std::uint8_t* data, std::int32_t length)
{
    return zrc::update_signature(unit, data, length, zrc::failure<ZRC_F_UPDATE_ECDSA>);
}

std::uint32_t ZRC_Final_ECDSA(ZRC_ECDSA_UNIT* unit, std::uint8_t* R, std::int32_t* R_length, std::uint8_t* S,
                              std::int32_t* S_length)
{
    return zrc::final_signature<ZRC_Sign_ECDSA, ZRC_Verify_ECDSA>(unit, {R, R_length, S, S_length},
                                                                  zrc::failure<ZRC_F_FINAL_ECDSA>);
}

std::uint32_t ZRC_Sign_ECDSA(ZRC_ECDSA_UNIT* unit, std::uint8_t* R, std::int32_t* R_length, std::uint8_t* S,
                             std::int32_t* S_length)
{
    const auto fail = [](std::uint32_t reason) { return zrc::code(ZRC_L_ECDSA, ZRC_F_SIGN_ECDSA, reason); };

    if (!unit || !R || !R_length || !S || !S_length || !zrc::has_curve(*unit)) return fail(ZRC_ERR_NULL_INPUT);
    if (!unit->d) return fail(ZRC_ERR_NO_PRIVATE_VALUE);
    const auto sign = [unit](ZRC_BIGINT& r, ZRC_BIGINT& s, const ZRC_BIGINT& z, const ZRC_BIGINT& k) {
        return zrc::sign_ecdsa_with_nonce(r, s, *unit, z, k);
    };
    const std::uint32_t reason = zrc::sign_message(*unit, *unit->curve->n, {R, R_length, S, S_length},
                                                   {ZRC_ERR_GET_RAND_FAIL, ZRC_ERR_SIGN_FAILURE}, sign);
    return reason == 0 ? 0 : fail(reason);
}

std::uint32_t ZRC_Verify_ECDSA(ZRC_ECDSA_UNIT* unit, const std::uint8_t* R, std::int32_t R_length,
                               const std::uint8_t* S, std::int32_t S_length)
{
    const auto fail = [](std::uint32_t reason) { return zrc::code(ZRC_L_ECDSA, ZRC_F_VERIFY_ECDSA, reason); };

    if (!unit || !R || !S || !zrc::has_curve(*unit)) return fail(ZRC_ERR_NULL_INPUT);
    if (!zrc::is_complete(unit->Q)) return fail(ZRC_ERR_NO_PUBLIC_VALUE);
    const auto test = [unit](const ZRC_BIGINT& z, const ZRC_BIGINT& r, const ZRC_BIGINT& s) {
        return zrc::test_signature(*unit, z, r, s);
    };
    const std::uint32_t reason = zrc::verify_message(*unit, *unit->curve->n, {R, R_length, S, S_length}, test);
    return reason == 0 ? 0 : fail(reason);
}

std::uint32_t ZRC_Get_ECDSA_Length(const ZRC_ECDSA_UNIT* unit)
{
    if (ZRC_Crypto_Initialize() != 0 || !unit || !unit->curve || !unit->curve->n) return 0;
    return std::uint32_t(zrc::bytes_in(*unit->curve->n));
}
