// Curves, points and ECDSA units for tests.
#pragma once

#include "tests/pubkey/pubkey_fixture.hpp"

namespace test {

using ecc_point = owned<ZRC_ECC_POINT, ZRC_Free_ECC_POINT>;
using ecc_curve = owned<ZRC_ECC_CURVE, ZRC_Free_ECC_CURVE>;
using ecdsa_unit = owned<ZRC_ECDSA_UNIT, ZRC_Free_ECDSA>;

inline ecc_point infinity()
{
    return ecc_point{ZRC_New_ECC_POINT()};
}

inline ecc_point point(const bigint& x, const bigint& y)
{
    ecc_point p = infinity();
    EXPECT_EQ(ZRC_Set_ECC_POINT(p, x, y), 0U);
    return p;
}

// The point of two values, infinity without them.
inline ecc_point point(const stanza& values, const std::string& x, const std::string& y)
{
    return values.values.contains(x) ? point(of_bytes(values[x]), of_bytes(values[y])) : infinity();
}

inline bool equal(const ecc_point& a, const ecc_point& b)
{
    return ZRC_Cmp_ECC_POINT(a, b) == 0;
}

inline ecc_curve curve_of(const stanza& values)
{
    const auto part = [&](const char* name) { return of_bytes(values[name]); };
    ecc_curve curve{ZRC_New_ECC_CURVE()};
    EXPECT_EQ(
        ZRC_Set_ECC_CURVE(curve, part("p"), part("a"), part("b"), part("gx"), part("gy"), part("n"), values["h"][0]),
        0U);
    return curve;
}

// P-192, P-224, P-256, P-384, P-521, secp256k1.
inline const std::vector<ecc_curve>& known_curves()
{
    static const std::vector<ecc_curve> curves = [] {
        std::vector<ecc_curve> all;
        for (const stanza& values : read_vectors("ecc.txt", "curves"))
            all.push_back(curve_of(values));
        return all;
    }();
    return curves;
}
inline constexpr std::size_t kP256 = 2;

inline const ZRC_ECC_CURVE* curve_in(const stanza& values)
{
    return known_curves().at(values["curve"].at(0)).get();
}

struct small_curve {
    std::uint32_t p, a, b, x, y, n, h;
};

// 19 points: every value can be met.
constexpr small_curve kTiny{17, 2, 2, 5, 1, 19, 1};

inline std::uint32_t set_small_curve(const ecc_curve& curve, const small_curve& c)
{
    return ZRC_Set_ECC_CURVE(curve, of({c.p}), of({c.a}), of({c.b}), of({c.x}), of({c.y}), of({c.n}), c.h);
}

inline ecc_curve curve_of(const small_curve& c)
{
    ecc_curve curve{ZRC_New_ECC_CURVE()};
    EXPECT_EQ(set_small_curve(curve, c), 0U);
    return curve;
}

} // namespace test
