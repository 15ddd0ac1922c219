// Curves, points and ECDSA units for tests.
#pragma once

#include "kestrim/ecdsa.h"
#include "kestrim_crypto.h"
#include "tests/bigint/bigint_value.hpp"
#include "tests/vector_file.hpp"

#include <cstdint>
#include <gtest/gtest.h>
#include <memory>
#include <string>
#include <vector>

namespace test {

struct ecc_releaser {
    void operator()(ZRC_ECC_POINT* point) const { ZRC_Free_ECC_POINT(point); }
    void operator()(ZRC_ECC_CURVE* curve) const { ZRC_Free_ECC_CURVE(curve); }
    void operator()(ZRC_ECDSA_UNIT* unit) const { ZRC_Free_ECDSA(unit); }
};
using ecc_point = std::unique_ptr<ZRC_ECC_POINT, ecc_releaser>;
using ecc_curve = std::unique_ptr<ZRC_ECC_CURVE, ecc_releaser>;
using ecdsa_unit = std::unique_ptr<ZRC_ECDSA_UNIT, ecc_releaser>;

inline ecc_point infinity()
{
    return ecc_point{ZRC_New_ECC_POINT()};
}

inline ecc_point point(const bigint& x, const bigint& y)
{
    ecc_point p = infinity();
    EXPECT_EQ(ZRC_Set_ECC_POINT(p.get(), x.get(), y.get()), 0U);
    return p;
}

// The point of two values, infinity without them.
inline ecc_point point(const stanza& values, const std::string& x, const std::string& y)
{
    return values.values.contains(x) ? point(of_bytes(values[x]), of_bytes(values[y])) : infinity();
}

inline bool equal(const ecc_point& a, const ecc_point& b)
{
    return ZRC_Cmp_ECC_POINT(a.get(), b.get()) == 0;
}

inline ecc_curve curve_of(const stanza& values)
{
    ecc_curve curve{ZRC_New_ECC_CURVE()};
    const bigint p = of_bytes(values["p"]), a = of_bytes(values["a"]), b = of_bytes(values["b"]),
                 x = of_bytes(values["gx"]), y = of_bytes(values["gy"]), n = of_bytes(values["n"]);
    EXPECT_EQ(ZRC_Set_ECC_CURVE(curve.get(), p.get(), a.get(), b.get(), x.get(), y.get(), n.get(), values["h"][0]), 0U);
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

inline std::uint32_t set_small_curve(const ecc_curve& curve, const small_curve& c)
{
    return ZRC_Set_ECC_CURVE(curve.get(), of({c.p}).get(), of({c.a}).get(), of({c.b}).get(), of({c.x}).get(),
                             of({c.y}).get(), of({c.n}).get(), c.h);
}

inline ecc_curve curve_of(const small_curve& c)
{
    ecc_curve curve{ZRC_New_ECC_CURVE()};
    EXPECT_EQ(set_small_curve(curve, c), 0U);
    return curve;
}

struct ecdsa_signature {
    bytes R = bytes(66), S = bytes(66);
    std::int32_t R_length = 0, S_length = 0;
};

inline std::int32_t ecdsa_digest_of(const stanza& values)
{
    return std::int32_t(ZRC_Get_BIGINT_Word(of_bytes(values["digest"]).get()));
}

inline std::uint32_t run_ecdsa(const ecdsa_unit& unit, std::uint32_t operation, std::int32_t digest,
                               const bytes& message, ecdsa_signature& s)
{
    std::uint32_t code = ZRC_Init_ECDSA(unit.get(), operation, digest);
    if (code == 0) code = ZRC_Update_ECDSA(unit.get(), message.data(), std::int32_t(message.size()));
    if (code == 0) code = ZRC_Final_ECDSA(unit.get(), s.R.data(), &s.R_length, s.S.data(), &s.S_length);
    return code;
}

} // namespace test
