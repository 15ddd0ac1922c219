// Points and curves: their life, and the group law on affine points.
#include "pubkey/ecc.hpp"

#include "bigint/mod_exp.hpp"
#include "bigint/operand.hpp"
#include "core/error.hpp"
#include "core/secret.hpp"
#include "kestrim/memory.h"
#include "pubkey/group_signature.hpp"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <utility>

namespace zrc {
namespace {

struct engine_deleter {
    void operator()(curve_engine* engine) const noexcept { ZRC_Free_Ex(engine, std::uint32_t(engine->bytes)); }
};
using owned_engine = std::unique_ptr<curve_engine, engine_deleter>;

bool is_below(const ZRC_BIGINT& a, const ZRC_BIGINT& b) noexcept
{
    return less(words_of{a}, words_of{b});
}

bool is_odd_above(const ZRC_BIGINT& number, std::uint32_t bound) noexcept
{
    const words_of value{number};
    if (value.is_zero() || (value.data[0] & 1) == 0) return false;
    return value.length > 1 || value.data[0] > bound;
}

// Without zero words on top, which bit lengths would count.
std::uint32_t bits_of(const ZRC_BIGINT& number) noexcept
{
    const words_of value{number};
    if (value.is_zero()) return 0;
    return std::uint32_t(32 * (value.length - 1)) + zrc_Get_BIGINT_Bits_Word(value.data[value.length - 1]);
}

struct parts {
    owned_number p, a, b, n;
    owned_point base;
    owned_engine engine;
    std::uint32_t h;
    std::int32_t known;

    // Makes copies of all numbers. False without memory.
    bool copy(const curve_numbers& from) noexcept
    {
        p = copy_of(from.p);
        a = copy_of(from.a);
        b = copy_of(from.b);
        n = copy_of(from.n);
        base.reset(ZRC_New_ECC_POINT());
        return p && a && b && n && base && ZRC_Set_ECC_POINT(base.get(), from.x, from.y) == 0;
    }

    void give_to(ZRC_ECC_CURVE& curve) noexcept
    {
        replace_number(curve.p, std::move(p));
        replace_number(curve.a, std::move(a));
        replace_number(curve.b, std::move(b));
        replace_number(curve.n, std::move(n));
        ZRC_Free_ECC_POINT(curve.G);
        curve.G = base.release();
        const owned_engine old{static_cast<curve_engine*>(curve.engine)};
        curve.engine = engine.release();
        curve.h = h;
        curve.known = known;
    }
};

// What keeps the arithmetic from working, as opposed to meaning something. Returns 0 or the reason.
std::uint32_t refusal_of(const curve_numbers& numbers, std::uint32_t h) noexcept
{
    if (!is_odd_above(*numbers.p, 3) || !is_odd_above(*numbers.n, 1) || h == 0) return ZRC_ERR_INVALID_INPUT;
    for (const ZRC_BIGINT* number : {numbers.a, numbers.b, numbers.x, numbers.y})
        if (!is_below(*number, *numbers.p)) return ZRC_ERR_INVALID_INPUT;
    const bool short_enough = std::max(bits_of(*numbers.p), bits_of(*numbers.n)) <= kMostCurveBits;
    return short_enough ? 0 : ZRC_ERR_NOT_SUPPORTED;
}

// A sum of two points. Returns 0 or the reason.
std::uint32_t add_points(const ZRC_ECC_CURVE* curve, ZRC_ECC_POINT* r, const ZRC_ECC_POINT* a,
                         const ZRC_ECC_POINT* b) noexcept
{
    const curve_engine* const engine = engine_of(curve);
    if (!engine || !r || !is_complete(a) || !is_complete(b)) return ZRC_ERR_NULL_INPUT;
    secret<plain_point> first, second;
    if (load_point(*first, *curve, *a) != point_state::good || load_point(*second, *curve, *b) != point_state::good)
        return ZRC_ERR_COMPARE_FAIL;
    engine->operations->add(*engine, *first, *first, *second);
    return store_point(*r, *curve, *first) ? 0 : ZRC_ERR_COPY_BIGINT_FAIL;
}

} // namespace

void load_number(field_number& r, const ZRC_BIGINT& value) noexcept
{
    std::memset(&r, 0, sizeof r);
    load_limbs(r.v, value.data, std::size_t(std::clamp(value.length, 0, std::int32_t(kMostCurveBits / 32))));
}

bool store_number(ZRC_BIGINT& r, const field_number& value, std::size_t words) noexcept
{
    if (!grow(r, std::int64_t(words))) return false;
    store_normalised(r, value.v, words);
    return true;
}

point_state load_point(plain_point& r, const ZRC_ECC_CURVE& curve, const ZRC_ECC_POINT& point) noexcept
{
    r.infinite = point.infinity != 0;
    if (r.infinite) return point_state::good;
    if (!is_below(*point.x, *curve.p) || !is_below(*point.y, *curve.p)) return point_state::out_of_range;
    for (const auto& [number, from] : {std::pair{&r.x, point.x}, std::pair{&r.y, point.y}}) {
        std::memset(number, 0, sizeof *number);
        load_limbs(number->v, from->data, std::size_t(words_of{*from}.length));
    }
    const curve_engine& engine = *engine_of(&curve);
    return engine.operations->is_on_curve(engine, r) ? point_state::good : point_state::off_curve;
}

bool store_point(ZRC_ECC_POINT& r, const ZRC_ECC_CURVE& curve, const plain_point& point) noexcept
{
    if (point.infinite) return ZRC_Set_ECC_POINT_Infinity(&r) == 0;
    owned_number new_x, new_y;
    if (!r.x) new_x.reset(ZRC_New_BIGINT());
    if (!r.y) new_y.reset(ZRC_New_BIGINT());
    ZRC_BIGINT* const x = r.x ? r.x : new_x.get();
    ZRC_BIGINT* const y = r.y ? r.y : new_y.get();
    const auto words = curve.p->length;
    if (!x || !y || !grow(*x, words) || !grow(*y, words)) return false;
    store_normalised(*x, point.x.v, std::size_t(words));
    store_normalised(*y, point.y.v, std::size_t(words));
    if (new_x) r.x = new_x.release();
    if (new_y) r.y = new_y.release();
    r.infinity = 0;
    return true;
}

bool has_order_n(const ZRC_ECC_CURVE& curve, const plain_point& point) noexcept
{
    const curve_engine& engine = *engine_of(&curve);
    field_number n;
    load_number(n, *curve.n);
    plain_point r;
    engine.operations->multiply_both(engine, r, {}, n, point);
    return r.infinite;
}

bool multiply_base(ZRC_ECC_POINT& r, const ZRC_ECC_CURVE& curve, const ZRC_BIGINT& k) noexcept
{
    const curve_engine& engine = *engine_of(&curve);
    secret<field_number> scalar;
    secret<plain_point> product;
    load_number(*scalar, k);
    engine.operations->multiply_base_secret(engine, *product, *scalar);
    return store_point(r, curve, *product);
}

} // namespace zrc

ZRC_ECC_POINT* ZRC_New_ECC_POINT()
{
    auto* const point = static_cast<ZRC_ECC_POINT*>(ZRC_Calloc(1, sizeof(ZRC_ECC_POINT)));
    if (point) point->infinity = 1;
    return point;
}

void ZRC_Free_ECC_POINT(ZRC_ECC_POINT* point)
{
    if (!point) return;
    for (ZRC_BIGINT* number : {point->x, point->y})
        if (number) ZRC_Free_BIGINT(number);
    ZRC_Free_Ex(point, sizeof *point);
}

std::uint32_t ZRC_Set_ECC_POINT(ZRC_ECC_POINT* point, const ZRC_BIGINT* x, const ZRC_BIGINT* y)
{
    const auto fail = [](std::uint32_t reason) { return zrc::code(ZRC_L_ECDSA, ZRC_F_SET_ECC_POINT, reason); };

    if (!point || !x || !y) return fail(ZRC_ERR_NULL_INPUT);
    zrc::owned_number new_x = zrc::copy_of(x), new_y = zrc::copy_of(y);
    if (!new_x || !new_y) return fail(ZRC_ERR_COPY_BIGINT_FAIL);
    zrc::replace_number(point->x, std::move(new_x));
    zrc::replace_number(point->y, std::move(new_y));
    point->infinity = 0;
    return 0;
}

std::uint32_t ZRC_Set_ECC_POINT_Infinity(ZRC_ECC_POINT* point)
{
    if (!point) return zrc::code(ZRC_L_ECDSA, ZRC_F_SET_ECC_POINT, ZRC_ERR_NULL_INPUT);
    for (ZRC_BIGINT* number : {point->x, point->y})
        if (number) ZRC_Clear_BIGINT(number);
    point->infinity = 1;
    return 0;
}

std::uint32_t ZRC_Copy_ECC_POINT(ZRC_ECC_POINT* destination, const ZRC_ECC_POINT* source)
{
    const auto fail = [](std::uint32_t reason) { return zrc::code(ZRC_L_ECDSA, ZRC_F_COPY_ECC_POINT, reason); };

    if (!destination || !zrc::is_complete(source)) return fail(ZRC_ERR_NULL_INPUT);
    if (source->infinity != 0) return ZRC_Set_ECC_POINT_Infinity(destination);
    return ZRC_Set_ECC_POINT(destination, source->x, source->y) == 0 ? 0 : fail(ZRC_ERR_COPY_BIGINT_FAIL);
}

std::int32_t ZRC_Cmp_ECC_POINT(const ZRC_ECC_POINT* a, const ZRC_ECC_POINT* b)
{
    if (!zrc::is_complete(a) || !zrc::is_complete(b)) return 1;
    if (a->infinity != 0 || b->infinity != 0) return (a->infinity != 0) != (b->infinity != 0);
    return !zrc::same_value(*a->x, *b->x) || !zrc::same_value(*a->y, *b->y);
}

ZRC_ECC_CURVE* ZRC_New_ECC_CURVE()
{
    return static_cast<ZRC_ECC_CURVE*>(ZRC_Calloc(1, sizeof(ZRC_ECC_CURVE)));
}

void ZRC_Free_ECC_CURVE(ZRC_ECC_CURVE* curve)
{
    if (!curve) return;
    zrc::parts{}.give_to(*curve);
    ZRC_Free_Ex(curve, sizeof *curve);
}

std::uint32_t ZRC_Set_ECC_CURVE(ZRC_ECC_CURVE* curve, const ZRC_BIGINT* p, const ZRC_BIGINT* a, const ZRC_BIGINT* b,
                                const ZRC_BIGINT* gx, const ZRC_BIGINT* gy, const ZRC_BIGINT* n, std::uint32_t h)
{
    const auto fail = [](std::uint32_t reason) { return zrc::code(ZRC_L_ECDSA, ZRC_F_SET_ECC_CURVE, reason); };

    if (!curve || !p || !a || !b || !gx || !gy || !n) return fail(ZRC_ERR_NULL_INPUT);
    const zrc::curve_numbers numbers{p, a, b, gx, gy, n};
    if (const std::uint32_t reason = zrc::refusal_of(numbers, h); reason != 0) return fail(reason);
    zrc::parts made;
    if (!made.copy(numbers)) return fail(ZRC_ERR_COPY_BIGINT_FAIL);
    // Of the copies, which are normalised: zero words on top would lead to a field longer than needed.
    made.engine.reset(
        zrc::curve_makers.get()({made.p.get(), made.a.get(), made.b.get(), made.base->x, made.base->y, made.n.get()}));
    if (!made.engine) return fail(ZRC_ERR_MEM_ALLOC);
    made.h = h;
    made.known = zrc::known_prime(*p);
    made.give_to(*curve);
    return 0;
}

std::uint32_t ZRC_Copy_ECC_CURVE(ZRC_ECC_CURVE* destination, const ZRC_ECC_CURVE* source)
{
    const auto fail = [](std::uint32_t reason) { return zrc::code(ZRC_L_ECDSA, ZRC_F_COPY_ECC_CURVE, reason); };

    const zrc::curve_engine* const engine = zrc::engine_of(source);
    if (!destination || !engine) return fail(ZRC_ERR_NULL_INPUT);
    zrc::parts made;
    made.engine.reset(static_cast<zrc::curve_engine*>(ZRC_Malloc(std::uint32_t(engine->bytes))));
    if (!made.engine) return fail(ZRC_ERR_MEM_ALLOC);
    std::memcpy(static_cast<void*>(made.engine.get()), engine, engine->bytes);
    if (!made.copy({source->p, source->a, source->b, source->G->x, source->G->y, source->n}))
        return fail(ZRC_ERR_COPY_BIGINT_FAIL);
    made.h = source->h;
    made.known = source->known;
    made.give_to(*destination);
    return 0;
}

std::int32_t ZRC_Is_On_ECC_CURVE(const ZRC_ECC_CURVE* curve, const ZRC_ECC_POINT* point)
{
    if (!zrc::engine_of(curve) || !zrc::is_complete(point)) return 0;
    zrc::plain_point plain;
    return zrc::load_point(plain, *curve, *point) == zrc::point_state::good;
}

std::uint32_t ZRC_Add_ECC_POINT(const ZRC_ECC_CURVE* curve, ZRC_ECC_POINT* r, const ZRC_ECC_POINT* a,
                                const ZRC_ECC_POINT* b)
{
    const std::uint32_t reason = zrc::add_points(curve, r, a, b);
    return reason == 0 ? 0 : zrc::code(ZRC_L_ECDSA, ZRC_F_ADD_ECC_POINT, reason);
}

std::uint32_t ZRC_Double_ECC_POINT(const ZRC_ECC_CURVE* curve, ZRC_ECC_POINT* r, const ZRC_ECC_POINT* a)
{
    const std::uint32_t reason = zrc::add_points(curve, r, a, a);
    return reason == 0 ? 0 : zrc::code(ZRC_L_ECDSA, ZRC_F_DOUBLE_ECC_POINT, reason);
}

std::uint32_t ZRC_Mtp_ECC_POINT(const ZRC_ECC_CURVE* curve, ZRC_ECC_POINT* r, const ZRC_BIGINT* k,
                                const ZRC_ECC_POINT* a)
{
    const auto fail = [](std::uint32_t reason) { return zrc::code(ZRC_L_ECDSA, ZRC_F_MTP_ECC_POINT, reason); };

    const zrc::curve_engine* const engine = zrc::engine_of(curve);
    if (!engine || !r || !k || !zrc::is_complete(a)) return fail(ZRC_ERR_NULL_INPUT);
    const auto words = std::size_t(std::max(k->length, 0));
    if (words > zrc::kMostScalarWords) return fail(ZRC_ERR_INVALID_INPUT);
    zrc::secret<zrc::plain_point> point;
    if (zrc::load_point(*point, *curve, *a) != zrc::point_state::good) return fail(ZRC_ERR_COMPARE_FAIL);

    bool stored;
    if (words * 32 <= engine->base_bits && ZRC_Cmp_ECC_POINT(a, curve->G) == 0) {
        stored = zrc::multiply_base(*r, *curve, *k);
    } else {
        zrc::secret_array<zrc::limb, zrc::kMostScalarWords / zrc::kWordsPerLimb> scalar;
        std::ranges::fill(scalar.span(), zrc::limb{0});
        zrc::load_limbs(scalar.data(), k->data, words);
        const zrc::secret_scalar multiplier{scalar.data(), std::max(words * 32, engine->base_bits)};
        engine->operations->multiply_secret(*engine, *point, multiplier, *point);
        stored = zrc::store_point(*r, *curve, *point);
    }
    return stored ? 0 : fail(ZRC_ERR_COPY_BIGINT_FAIL);
}
