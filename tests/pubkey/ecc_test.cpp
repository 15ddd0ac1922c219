// Curves and points through the public interface; inverses in their fields.
#include "pubkey/field.hpp"
#include "tests/pubkey/ecc_fixture.hpp"

#include <cstddef>
#include <cstdint>
#include <gtest/gtest.h>
#include <vector>

namespace {

using test::bigint;
using test::ecc_curve;
using test::ecc_point;
using test::of;

ecc_point multiple(const ZRC_ECC_CURVE* curve, const bigint& k, const ZRC_ECC_POINT* p)
{
    ecc_point r = test::infinity();
    EXPECT_EQ(ZRC_Mtp_ECC_POINT(curve, r.get(), k.get(), p), 0U);
    return r;
}

ecc_point sum(const ZRC_ECC_CURVE* curve, const ecc_point& a, const ecc_point& b)
{
    ecc_point r = test::infinity();
    EXPECT_EQ(ZRC_Add_ECC_POINT(curve, r.get(), a.get(), b.get()), 0U);
    return r;
}

TEST(Ecc, PublishedCurvesAreGood)
{
    const std::int32_t kKnown[] = {192, 224, 256, 384, 521, 0};
    std::size_t i = 0;
    for (const ecc_curve& curve : test::known_curves()) {
        EXPECT_EQ(ZRC_Check_ECC_CURVE(curve.get()), 0U) << i;
        EXPECT_EQ(ZRC_Check_ECC_POINT(curve.get(), curve->G), 0U);
        EXPECT_EQ(curve->known, kKnown[i++]);
    }
}

TEST(Ecc, MultipliesTheBasePointAndOthers)
{
    for (const char* section : {"key pairs", "multiples"}) {
        for (const test::stanza& values : test::read_vectors("ecc.txt", section)) {
            SCOPED_TRACE(values.place);
            const bool is_key = values.values.contains("d");
            const ZRC_ECC_CURVE* const curve = test::curve_in(values);
            const bigint k = test::of_bytes(values[is_key ? "d" : "k"]);
            const ecc_point expected = is_key ? test::point(values, "qx", "qy") : test::point(values, "x", "y");
            EXPECT_TRUE(test::equal(multiple(curve, k, curve->G), expected));

            // A multiple of another point, and that with a scalar longer than n.
            const bigint longer = test::copy_of(k);
            EXPECT_EQ(ZRC_Mtp_BIGINT_Word(longer.get(), 5), 0U);
            EXPECT_EQ(zrc_Left_Shift_BIGINT(longer.get(), longer.get(), 40), 0U);
            ecc_point other = multiple(curve, of({5, 0, 0}), curve->G);
            const ecc_point fivefold = multiple(curve, of({5}), expected.get());
            EXPECT_TRUE(test::equal(multiple(curve, k, other.get()), fivefold));
            for (int i = 0; i < 40; ++i)
                ASSERT_EQ(ZRC_Double_ECC_POINT(curve, other.get(), i == 0 ? fivefold.get() : other.get()), 0U);
            EXPECT_TRUE(test::equal(multiple(curve, longer, curve->G), other));
        }
    }
}

TEST(Ecc, AddsPoints)
{
    for (const test::stanza& values : test::read_vectors("ecc.txt", "sums")) {
        SCOPED_TRACE(values.place);
        const ZRC_ECC_CURVE* const curve = test::curve_in(values);
        const ecc_point a = test::point(values, "x1", "y1"), b = test::point(values, "x2", "y2"),
                        expected = test::point(values, "x3", "y3");
        EXPECT_TRUE(test::equal(sum(curve, a, b), expected));
        ASSERT_EQ(ZRC_Add_ECC_POINT(curve, b.get(), a.get(), b.get()), 0U) << "into an operand";
        EXPECT_TRUE(test::equal(b, expected));
    }
    for (const test::stanza& values : test::read_vectors("ecc.txt", "double multiples")) {
        SCOPED_TRACE(values.place);
        const ZRC_ECC_CURVE* const curve = test::curve_in(values);
        const ecc_point q = test::point(values, "qx", "qy");
        EXPECT_TRUE(test::equal(sum(curve, multiple(curve, test::of_bytes(values["u1"]), curve->G),
                                    multiple(curve, test::of_bytes(values["u2"]), q.get())),
                                test::point(values, "x", "y")));
    }
}

// 5 (k G) = k (5 G): multiples of G come from tables of their own.
TEST(Ecc, MultipliesTheBasePointByScalarsAtTheEdges)
{
    for (const ecc_curve& curve : test::known_curves()) {
        const ecc_point fivefold = multiple(curve.get(), of({5}), curve->G);
        const auto check = [&](const bigint& k) {
            const ecc_point a = multiple(curve.get(), k, curve->G), b = multiple(curve.get(), k, fivefold.get());
            EXPECT_TRUE(test::equal(multiple(curve.get(), of({5}), a.get()), b)) << k->data[0] << ' ' << k->length;
        };
        const bigint k{ZRC_Dup_BIGINT(curve->n)};
        for (k->data[0] -= 3; k->data[0] != curve->n->data[0] + 3; ++k->data[0])
            check(k);
        for (std::int32_t i = 0; i < 32 * curve->n->length; i += 21) {
            const bigint power = of({1});
            ASSERT_EQ(zrc_Left_Shift_BIGINT(power.get(), power.get(), i), 0U);
            check(power);
            check(of(test::word_list(std::size_t(i / 32 + 1), 0xFFFFFFFF)));
        }
    }
}

// Of numbers with one run of ones; 0 and m - 1 are among them.
template <std::size_t Bits>
void invert_runs_of_ones(const ZRC_BIGINT& m)
{
    constexpr std::size_t kLimbs = (Bits + zrc::kLimbBits - 1) / zrc::kLimbBits;
    zrc::limb plain[kLimbs] = {};
    zrc::load_limbs(plain, m.data, std::size_t(m.length));
    zrc::prime_field<kLimbs> field;
    field.set_modulus(plain);
    zrc::field_element<kLimbs> a, inverse;
    for (std::size_t low = 0; low < Bits; low += 29) {
        for (std::size_t high = low; high <= Bits; high += 31) {
            zrc::limb number[kLimbs] = {};
            for (std::size_t i = low; i < high; ++i)
                number[i / zrc::kLimbBits] |= zrc::limb{1} << (i % zrc::kLimbBits);
            field.enter(a, number);
            if (low == high && low != 0) field.negate(a, field.one());
            field.inverse(inverse, a);
            field.mul(inverse, inverse, a);
            EXPECT_NE(field.equal(inverse, field.is_zero(a) != 0 ? a : field.one()), 0U) << low << ' ' << high;
        }
    }
}

TEST(Ecc, InvertsInFields)
{
    invert_runs_of_ones<256>(*test::known_curves()[test::kP256]->n);
    invert_runs_of_ones<521>(*test::known_curves()[4]->p);
    invert_runs_of_ones<1024>(*of({17}));
    const zrc::limb modulus[4] = {15}; // some numbers have none
    zrc::prime_field<4> field;
    field.set_modulus(modulus);
    for (zrc::limb i = 0; i < 15; ++i) {
        zrc::field_element<4> inverse;
        EXPECT_EQ(field.plain_inverse(inverse, {{i}}) != 0, i % 3 != 0 && i % 5 != 0) << i;
    }
}

// All points of small curves, of even order too, where sums meet every exception; the group law by its definition.
TEST(Ecc, MultipliesEveryPointOfSmallCurves)
{
    for (const test::small_curve& c : {test::small_curve{23, 1, 1, 5, 4, 7, 4},
                                       {17, 2, 2, 5, 1, 19, 1},
                                       {13, 0, 7, 7, 5, 7, 1},
                                       {11, 8, 0, 9, 3, 3, 4},
                                       {31, 0, 3, 1, 2, 43, 1}}) {
        SCOPED_TRACE(c.p);
        const ecc_curve curve = test::curve_of(c);
        int points = 1;
        for (std::uint32_t x = 0; x < c.p; ++x) {
            for (std::uint32_t y = 0; y < c.p; ++y) {
                const ecc_point p = test::point(of({x}), of({y}));
                const bool on_curve = (y * y) % c.p == (x * x * x + c.a * x + c.b) % c.p;
                ASSERT_EQ(ZRC_Is_On_ECC_CURVE(curve.get(), p.get()), on_curve);
                if (!on_curve) continue;
                ++points;
                ecc_point expected = test::infinity();
                for (std::uint32_t k = 0; k < 45; ++k) {
                    ASSERT_TRUE(test::equal(multiple(curve.get(), of({k}), p.get()), expected)) << x << ' ' << k;
                    ASSERT_EQ(ZRC_Add_ECC_POINT(curve.get(), expected.get(), expected.get(), p.get()), 0U);
                }
            }
        }
        EXPECT_GE(points, 7);
    }
}

TEST(Ecc, RefusesBadPublicKeys)
{
    for (const test::stanza& values : test::read_vectors("ecc.txt", "public keys")) {
        SCOPED_TRACE(values.place);
        const std::uint32_t code = ZRC_Check_ECC_POINT(test::curve_in(values), test::point(values, "qx", "qy").get());
        EXPECT_EQ(code == 0, values["result"] == test::bytes{0}) << std::hex << code;
    }
    const ZRC_ECC_CURVE* const curve = test::known_curves()[test::kP256].get();
    const bigint x{ZRC_Dup_BIGINT(curve->G->x)}, y{ZRC_Dup_BIGINT(curve->G->y)}, p{ZRC_Dup_BIGINT(curve->p)};
    EXPECT_EQ(ZRC_Check_ECC_POINT(curve, test::infinity().get()), 0x210B002BU);
    EXPECT_EQ(ZRC_Check_ECC_POINT(curve, test::point(p, y).get()), 0x210B002BU);
    EXPECT_EQ(ZRC_Check_ECC_POINT(curve, test::point(x, of(test::word_list(40, 1))).get()), 0x210B002BU);
    EXPECT_EQ(ZRC_Check_ECC_POINT(curve, test::point(y, x).get()), 0x210B000CU);
    const ecc_curve small = test::curve_of({23, 1, 1, 5, 4, 7, 4});
    EXPECT_EQ(ZRC_Check_ECC_POINT(small.get(), small->G), 0U);
    EXPECT_EQ(ZRC_Check_ECC_POINT(small.get(), test::point(of({4}), of({0})).get()), 0x210B000BU) << "of order 2";
}

TEST(Ecc, RefusesParametersThatCannotBeComputedWith)
{
    const test::small_curve good{17, 2, 2, 5, 1, 19, 1};
    const ecc_curve curve = test::curve_of(good);
    for (const test::small_curve& bad : {test::small_curve{16, 2, 2, 5, 1, 19, 1},
                                         {0, 0, 0, 0, 0, 19, 1},
                                         {3, 1, 1, 1, 1, 5, 1},
                                         {17, 17, 2, 5, 1, 19, 1},
                                         {17, 2, 40, 5, 1, 19, 1},
                                         {17, 2, 2, 17, 1, 19, 1},
                                         {17, 2, 2, 5, 18, 19, 1},
                                         {17, 2, 2, 5, 1, 0, 1},
                                         {17, 2, 2, 5, 1, 1, 1},
                                         {17, 2, 2, 5, 1, 18, 1},
                                         {17, 2, 2, 5, 1, 19, 0}})
        EXPECT_EQ(test::set_small_curve(curve, bad), 0x2108002BU);
    const bigint huge = of(test::word_list(33, 0xFFFFFFFF)), two = of({2}), n = of({19});
    EXPECT_EQ(ZRC_Set_ECC_CURVE(curve.get(), huge.get(), two.get(), two.get(), two.get(), two.get(), n.get(), 1),
              0x21080048U);
    EXPECT_EQ(ZRC_Set_ECC_CURVE(curve.get(), n.get(), two.get(), two.get(), two.get(), two.get(), huge.get(), 1),
              0x21080048U);
    EXPECT_EQ(ZRC_Set_ECC_CURVE(curve.get(), n.get(), two.get(), nullptr, two.get(), two.get(), n.get(), 1),
              0x21080049U);
    EXPECT_EQ(ZRC_Get_BIGINT_Word(curve->p), 17U) << "left as it was";
}

TEST(Ecc, RefusesParametersThatAreNoCurve)
{
    const struct {
        test::small_curve curve;
        std::uint32_t code;
    } kCases[] = {
        {{17, 2, 2, 5, 1, 19, 1}, 0x210A0048},  // far too small: any embedding degree is
        {{17, 0, 0, 1, 1, 19, 1}, 0x210A002B},  // singular: a cusp
        {{17, 14, 2, 0, 6, 19, 1}, 0x210A002B}, // singular: a node
        {{17, 2, 2, 5, 2, 19, 1}, 0x210A000C},  // G not on the curve
        {{17, 2, 2, 5, 1, 19, 2}, 0x210A000B},  // no such order
        {{17, 2, 2, 5, 1, 13, 1}, 0x210A000B},  // not that of G
        {{23, 1, 1, 0, 1, 7, 4}, 0x210A000B},   // G of order 28
        {{17, 2, 2, 5, 1, 21, 1}, 0x210A0036},  // n composite
        {{21, 1, 1, 0, 1, 19, 1}, 0x210A0036},  // p composite
    };
    for (const auto& [curve, code] : kCases)
        EXPECT_EQ(ZRC_Check_ECC_CURVE(test::curve_of(curve).get()), code) << curve.p << ' ' << curve.n;

    // P-256 with other numbers.
    const ZRC_ECC_CURVE* const good = test::known_curves()[test::kP256].get();
    const ecc_curve curve{ZRC_New_ECC_CURVE()};
    const auto check = [&](const ZRC_BIGINT* p, const ZRC_BIGINT* n, std::uint32_t h) {
        EXPECT_EQ(ZRC_Set_ECC_CURVE(curve.get(), p, good->a, good->b, good->G->x, good->G->y, n, h), 0U);
        return ZRC_Check_ECC_CURVE(curve.get());
    };
    EXPECT_EQ(check(good->p, good->n, 1), 0U);
    EXPECT_EQ(check(good->p, good->n, 2), 0x210A000BU);
    EXPECT_EQ(check(good->p, good->n, 0xFFFFFFFF), 0x210A000BU);
    EXPECT_EQ(check(good->p, good->p, 1), 0x210A000BU);
    const bigint other{ZRC_Dup_BIGINT(good->p)};
    other->data[0] -= 2;
    EXPECT_EQ(check(other.get(), good->n, 1), 0x210A000CU);
}

TEST(Ecc, RefusesMissingArguments)
{
    const ecc_curve fresh{ZRC_New_ECC_CURVE()}, copy{ZRC_New_ECC_CURVE()};
    const ZRC_ECC_CURVE* const curve = test::known_curves()[0].get();
    const bigint one = of({1}), too_long = of(test::word_list(65, 1));
    const ecc_point r = test::infinity(), off = test::point(one, one), hollow = test::infinity();
    hollow->infinity = 0;
    EXPECT_EQ(ZRC_Set_ECC_POINT(nullptr, one.get(), one.get()), 0x21060049U);
    EXPECT_EQ(ZRC_Set_ECC_POINT(r.get(), one.get(), nullptr), 0x21060049U);
    EXPECT_EQ(ZRC_Set_ECC_POINT_Infinity(nullptr), 0x21060049U);
    EXPECT_EQ(ZRC_Copy_ECC_POINT(r.get(), hollow.get()), 0x21070049U);
    EXPECT_EQ(ZRC_Copy_ECC_POINT(nullptr, r.get()), 0x21070049U);
    EXPECT_EQ(ZRC_Cmp_ECC_POINT(nullptr, r.get()), 1);
    EXPECT_EQ(ZRC_Cmp_ECC_POINT(off.get(), r.get()), 1);
    EXPECT_EQ(ZRC_Cmp_ECC_POINT(off.get(), test::point(of({1, 0, 0}), one).get()), 0) << "zero words on top";
    const bigint zero{ZRC_New_BIGINT()}; // without an array
    EXPECT_EQ(ZRC_Cmp_ECC_POINT(test::point(zero, one).get(), test::point(zero, one).get()), 0);
    EXPECT_EQ(ZRC_Copy_ECC_CURVE(copy.get(), fresh.get()), 0x21090049U);
    EXPECT_EQ(ZRC_Copy_ECC_CURVE(nullptr, curve), 0x21090049U);
    for (const ZRC_ECC_CURVE* none : {fresh.get(), static_cast<ZRC_ECC_CURVE*>(nullptr)}) {
        EXPECT_EQ(ZRC_Check_ECC_CURVE(none), 0x210A0049U);
        EXPECT_EQ(ZRC_Is_On_ECC_CURVE(none, r.get()), 0);
        EXPECT_EQ(ZRC_Check_ECC_POINT(none, r.get()), 0x210B0049U);
        EXPECT_EQ(ZRC_Add_ECC_POINT(none, r.get(), r.get(), r.get()), 0x210C0049U);
        EXPECT_EQ(ZRC_Double_ECC_POINT(none, r.get(), r.get()), 0x210D0049U);
        EXPECT_EQ(ZRC_Mtp_ECC_POINT(none, r.get(), one.get(), r.get()), 0x210E0049U);
    }
    EXPECT_EQ(ZRC_Check_ECC_POINT(curve, hollow.get()), 0x210B0049U);
    EXPECT_EQ(ZRC_Is_On_ECC_CURVE(curve, nullptr), 0);
    EXPECT_EQ(ZRC_Add_ECC_POINT(curve, r.get(), r.get(), hollow.get()), 0x210C0049U);
    EXPECT_EQ(ZRC_Add_ECC_POINT(curve, r.get(), r.get(), off.get()), 0x210C000CU);
    EXPECT_EQ(ZRC_Double_ECC_POINT(curve, nullptr, r.get()), 0x210D0049U);
    EXPECT_EQ(ZRC_Mtp_ECC_POINT(curve, r.get(), nullptr, curve->G), 0x210E0049U);
    EXPECT_EQ(ZRC_Mtp_ECC_POINT(curve, r.get(), too_long.get(), curve->G), 0x210E002BU);
    EXPECT_EQ(ZRC_Mtp_ECC_POINT(curve, r.get(), one.get(), off.get()), 0x210E000CU);
    ZRC_Free_ECC_CURVE(nullptr);
    ZRC_Free_ECC_POINT(nullptr);

    EXPECT_EQ(ZRC_Copy_ECC_CURVE(copy.get(), curve), 0U);
    EXPECT_EQ(ZRC_Copy_ECC_CURVE(copy.get(), copy.get()), 0U);
    EXPECT_TRUE(test::equal(multiple(copy.get(), of({3}), copy->G), multiple(curve, of({3}), curve->G)));
}

} // namespace
