// Validation of curve parameters and of points (SEC 1, 3.1.1.2.1 and 3.2.2.1).
#include "bigint/secret_arithmetic.hpp"
#include "core/error.hpp"
#include "kestrim/bigint_arithmetic.h"
#include "kestrim/bigint_prime.h"
#include "pubkey/ecc.hpp"
#include "pubkey/group_signature.hpp"

#include <algorithm>
#include <cstdint>
#include <utility>

namespace zrc {
namespace {

// A composite number, made to pass, does so once in 4^40 times.
constexpr std::int32_t kPrimalityRounds = 41;

// The least degree of an extension field that takes discrete logarithms in.
constexpr int kLeastEmbeddingDegree = 101;

std::uint32_t test_prime(const ZRC_BIGINT& number) noexcept
{
    switch (ZRC_Is_BIGINT_Prime_Ex(&number, kPrimalityRounds, nullptr)) {
    case 1:
        return 0;
    case -1:
        return ZRC_ERR_IS_BIGINT_PRIME;
    default: // odd, so the test itself failed
        return ZRC_ERR_SUB_OPERATION_FAILURE;
    }
}

// |n h - (p + 1)| <= 2 sqrt(p).
std::uint32_t test_interval(const ZRC_ECC_CURVE& curve) noexcept
{
    const owned_number order = copy_of(curve.n), middle = copy_of(curve.p), bound = copy_of(curve.p);
    if (!order || !middle || !bound) return ZRC_ERR_MEM_ALLOC;
    const std::uint32_t high = ZRC_Mtp_BIGINT_Word(order.get(), curve.h) | ZRC_Add_BIGINT_Word(middle.get(), 1);
    if (high != 0 || zrc_Left_Shift_BIGINT(bound.get(), bound.get(), 2) != 0) return ZRC_ERR_MEM_ALLOC;
    ZRC_BIGINT *large = order.get(), *small = middle.get();
    if (ZRC_Cmp_BIGINT(large, small) < 0) std::swap(large, small);
    if (ZRC_Sub_BIGINT(large, large, small) != 0) return ZRC_ERR_MEM_ALLOC;
    if (ZRC_Cmp_BIGINT(large, curve.p) > 0) return ZRC_ERR_CMP_BIGINT_FAIL; // before a long square is made
    if (!secret_mul_add(large, large, large, ZRC_Value_Zero_BIGINT())) return ZRC_ERR_MEM_ALLOC;
    return ZRC_Cmp_BIGINT(large, bound.get()) > 0 ? std::uint32_t{ZRC_ERR_CMP_BIGINT_FAIL} : 0U;
}

// Whether discrete logarithms in fields give those on the curve: p^i = 1 modulo n for a small i (A. Menezes, T.
// Okamoto, S. Vanstone, 1993), or n = p (N. Smart, 1999).
bool is_weak(const ZRC_ECC_CURVE& curve) noexcept
{
    const curve_engine& engine = *engine_of(&curve);
    field_number p, power;
    load_number(p, *curve.p);
    engine.operations->reduce(engine, p, p);
    power = p;
    const auto is_small = [&](limb value) {
        return power.v[0] == value && std::all_of(power.v + 1, power.v + engine.limbs, [](limb v) { return v == 0; });
    };
    if (is_small(0)) return true;
    for (int degree = 1; degree < kLeastEmbeddingDegree; ++degree) {
        if (is_small(1)) return true;
        engine.operations->multiply_scalars(engine, power, power, p);
    }
    return false;
}

bool base_has_order_n(const ZRC_ECC_CURVE& curve) noexcept
{
    plain_point base;
    return load_point(base, curve, *curve.G) == point_state::good && has_order_n(curve, base);
}

std::uint32_t test_curve(const ZRC_ECC_CURVE& curve) noexcept
{
    const curve_engine& engine = *engine_of(&curve);
    if (engine.operations->is_singular(engine)) return ZRC_ERR_INVALID_INPUT;
    if (ZRC_Is_On_ECC_CURVE(&curve, curve.G) == 0) return ZRC_ERR_COMPARE_FAIL;
    if (const std::uint32_t reason = test_interval(curve); reason != 0) return reason;
    for (const ZRC_BIGINT* number : {curve.p, curve.n})
        if (const std::uint32_t reason = test_prime(*number); reason != 0) return reason;
    if (!base_has_order_n(curve)) return ZRC_ERR_CMP_BIGINT_FAIL;
    return is_weak(curve) ? std::uint32_t{ZRC_ERR_NOT_SUPPORTED} : 0U;
}

} // namespace
} // namespace zrc

std::uint32_t ZRC_Check_ECC_CURVE(const ZRC_ECC_CURVE* curve)
{
    const auto fail = [](std::uint32_t reason) { return zrc::code(ZRC_L_ECDSA, ZRC_F_CHECK_ECC_CURVE, reason); };

    if (!zrc::engine_of(curve)) return fail(ZRC_ERR_NULL_INPUT);
    const std::uint32_t reason = zrc::test_curve(*curve);
    return reason == 0 ? 0 : fail(reason);
}

std::uint32_t ZRC_Check_ECC_POINT(const ZRC_ECC_CURVE* curve, const ZRC_ECC_POINT* point)
{
    const auto fail = [](std::uint32_t reason) { return zrc::code(ZRC_L_ECDSA, ZRC_F_CHECK_ECC_POINT, reason); };

    if (!zrc::engine_of(curve) || !zrc::is_complete(point)) return fail(ZRC_ERR_NULL_INPUT);
    zrc::plain_point plain;
    switch (zrc::load_point(plain, *curve, *point)) {
    case zrc::point_state::good:
        break;
    case zrc::point_state::out_of_range:
        return fail(ZRC_ERR_INVALID_INPUT);
    case zrc::point_state::off_curve:
        return fail(ZRC_ERR_COMPARE_FAIL);
    }
    if (plain.infinite) return fail(ZRC_ERR_INVALID_INPUT);
    return curve->h == 1 || zrc::has_order_n(*curve, plain) ? 0 : fail(ZRC_ERR_CMP_BIGINT_FAIL);
}
