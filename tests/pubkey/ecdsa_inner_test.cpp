// ECDSA with its nonces given, without memory, and with secrets that valgrind watches.
#include "core/cpu.hpp"
#include "pubkey/ecc.hpp"
#include "pubkey/ecdsa.hpp"
#include "tests/pubkey/inner_fixture.hpp"
#include "tests/pubkey/signature_family.hpp"

#include <cstring>

namespace {

using namespace test;

// Runs with the published curves and a tiny one, of each kind of arithmetic.
void with_every_kernel(auto run)
{
    for (const auto& entry : zrc::curve_makers.list()) {
        // Valgrind executes ADX instructions, although the processor it shows has none.
        if (!zrc::cpu_has(entry.needs) && !(on_valgrind() && entry.needs == zrc::cpu_feature::adx)) continue;
        SCOPED_TRACE(entry.name);
        zrc::curve_makers.force(entry.run);
        std::vector<ecc_curve> curves;
        for (const stanza& values : read_vectors("ecc.txt", "curves"))
            curves.push_back(curve_of(values));
        curves.push_back(curve_of(kTiny));
        zrc::curve_makers.force(nullptr);
        run(curves);
    }
}

bigint leftmost_bits(const stanza& values, const ZRC_BIGINT& n)
{
    bigint z{ZRC_New_BIGINT()};
    EXPECT_TRUE(zrc::set_leftmost_bits(*z, digest_of(number(values["digest"]), values["msg"]), n));
    return z;
}

TEST(EcdsaSteps, SignaturesWithTheirNonce)
{
    with_every_kernel([](const std::vector<ecc_curve>& curves) {
        for (const stanza& values : read_vectors("ecdsa.txt", "signatures")) {
            SCOPED_TRACE(values.place);
            const ecdsa_unit unit{ZRC_New_ECDSA()};
            const ecc_curve& curve = curves.at(values["curve"][0]);
            const ecc_point q = point(values, "qx", "qy");
            ASSERT_EQ(ZRC_Set_ECDSA_Params(unit, curve, of_bytes(values["d"]), q), 0U) << "a key pair";
            const bigint z = leftmost_bits(values, *curve->n), r{ZRC_New_BIGINT()}, s{ZRC_New_BIGINT()};
            ASSERT_EQ(zrc::sign_ecdsa_with_nonce(*r, *s, *unit, *z, *of_bytes(values["k"])), 0U);
            EXPECT_TRUE(equal(r, values["r"]) && equal(s, values["s"]));
        }
    });
}

TEST(EcdsaSteps, DoubleMultiples)
{
    with_every_kernel([](const std::vector<ecc_curve>& curves) {
        for (const stanza& values : read_vectors("ecc.txt", "double multiples")) {
            SCOPED_TRACE(values.place);
            const ZRC_ECC_CURVE& curve = *curves.at(values["curve"][0]);
            const zrc::curve_engine& engine = *zrc::engine_of(&curve);
            zrc::plain_point q;
            zrc::field_number u1, u2;
            ASSERT_EQ(zrc::load_point(q, curve, *point(values, "qx", "qy")), zrc::point_state::good);
            zrc::load_number(u1, *of_bytes(values["u1"]));
            zrc::load_number(u2, *of_bytes(values["u2"]));
            engine.operations->multiply_both(engine, q, u1, u2, q);
            const ecc_point r = infinity();
            ASSERT_TRUE(zrc::store_point(*r, curve, q));
            EXPECT_TRUE(equal(r, point(values, "x", "y")));
        }
    });
}

// Numbers at the edges of what limbs hold, where carries run.
TEST(EcdsaSteps, KernelsAgreeOnEdges)
{
    std::vector<std::vector<zrc::plain_point>> results;
    with_every_kernel([&](const std::vector<ecc_curve>& curves) {
        results.emplace_back();
        for (const ecc_curve& curve : curves) {
            const zrc::curve_engine& engine = *zrc::engine_of(curve);
            for (const zrc::limb low : {zrc::limb{0}, zrc::limb{1}, ~zrc::limb{0}}) {
                for (const zrc::limb high : {zrc::limb{0}, ~zrc::limb{0}}) {
                    zrc::field_number a{};
                    std::fill_n(a.v, engine.limbs, high);
                    a.v[0] = low;
                    zrc::plain_point r{};
                    engine.operations->reduce(engine, r.x, a);
                    engine.operations->multiply_scalars(engine, r.y, a, r.x);
                    results.back().push_back(r);
                    engine.operations->multiply_base_secret(engine, r, results.back().back().x);
                    results.back().push_back(r);
                }
            }
        }
    });
    for (const auto& other : results)
        for (std::size_t i = 0; i < other.size(); ++i)
            EXPECT_EQ(std::memcmp(&other[i].x, &results[0][i].x, 2 * sizeof other[i].x), 0) << i;
}

TEST(EcdsaSteps, ZeroWordsOnTopMakeNoLongerField)
{
    const ecc_curve good = curve_of(kTiny), curve{ZRC_New_ECC_CURVE()};
    word_list p(20);
    p[0] = kTiny.p;
    ASSERT_EQ(ZRC_Set_ECC_CURVE(curve, of(p), good->a, good->b, good->G->x, good->G->y, good->n, 1), 0U);
    EXPECT_EQ(zrc::engine_of(curve)->limbs, zrc::engine_of(good)->limbs);
}

using EcdsaWithoutMemory = without_memory;
TEST_F(EcdsaWithoutMemory, EveryCodeAndNothingLeftBehind)
{
    const bigint p = of({17}), two = of({2}), x = of({5}), y = of({1}), n = of({19}), d = of({7});
    const ecc_curve curve = curve_of(kTiny), other{ZRC_New_ECC_CURVE()};
    const ecc_point q = point(x, y);
    // Each time with a new point for the result.
    const auto points = [&](auto operation) {
        return all([&] {
            const ecc_point r = with_memory(infinity);
            const std::uint32_t code = operation(r.get());
            allocations_until_failure = -1;
            return code;
        });
    };
    EXPECT_EQ(all([&] { return ZRC_Set_ECC_CURVE(other, p, two, two, x, y, n, 1); }),
              (code_set{0, 0x2108003B, 0x2108000D}));
    EXPECT_EQ(all([&] { return ZRC_Copy_ECC_CURVE(other, curve); }), (code_set{0, 0x2109003B, 0x2109000D}));
    EXPECT_EQ(all([&] {
                  const std::uint32_t code = ZRC_Check_ECC_CURVE(curve);
                  return code == 0x210A0048 ? 0 : code; // too small a curve, in the end
              }),
              (code_set{0, 0x210A003B, 0x210A0059}));
    EXPECT_EQ(points([&](auto* r) { return ZRC_Copy_ECC_POINT(r, q); }), (code_set{0, 0x2107000D}));
    EXPECT_EQ(points([&](auto* r) { return ZRC_Double_ECC_POINT(curve, r, q); }), (code_set{0, 0x210D000D}));
    EXPECT_EQ(points([&](auto* r) { return ZRC_Mtp_ECC_POINT(curve, r, d, q); }), (code_set{0, 0x210E000D}));

    const ecdsa_unit unit{ZRC_New_ECDSA()};
    signature s;
    EXPECT_EQ(all([&] { return ecdsa_unit{ZRC_New_ECDSA()} ? 0 : 1; }), (code_set{0, 1}));
    EXPECT_EQ(all([&] { return ZRC_Set_ECDSA_Params(unit, curve, d, nullptr); }),
              (code_set{0, 0x210F003B, 0x210F000D}));
    EXPECT_EQ(all([&] { return ZRC_Init_ECDSA(unit, kSign, ZRC_SHA256); }), (code_set{0, 0x2101003B, 0x21010022}));
    EXPECT_EQ(all([&] { return ZRC_Generate_ECDSA_Key_Pair(unit, nullptr); }), (code_set{0, 0x2110003B, 0x2110001D}));
    ASSERT_EQ(ZRC_Init_ECDSA(unit, kSign, ZRC_SHA256), 0U);
    const code_set signing =
        all([&] { return ZRC_Sign_ECDSA(unit, s.R.data(), &s.R_length, s.S.data(), &s.S_length); });
    EXPECT_TRUE(signing.contains(0) && signing.contains(0x2104001B) && signing.contains(0x2104001D));
    const code_set verifying = all([&] {
        const std::uint32_t code = ZRC_Verify_ECDSA(unit, s.R.data(), 1, s.S.data(), 1);
        return code == 0x2105005E ? 0 : code;
    });
    EXPECT_TRUE(verifying.contains(0) && verifying.contains(0x2105003B) && verifying.contains(0x21050041));

    const release_watch watch;
    {
        const ecdsa_unit signer = tiny_key<ecdsa_unit>(7);
        ASSERT_EQ(run(signer, kSign, ZRC_SHA256, {'m'}, s), 0U);
        ASSERT_EQ(run(signer, kVerify, ZRC_SHA256, {'m'}, s), 0U);
        expect_clean(*signer->pool);
        ASSERT_EQ(ZRC_Generate_ECDSA_Key_Pair(signer, nullptr), 0U);
    }
    EXPECT_EQ(watch.live_blocks(), 0U);
}

using ConstantTimeCurves = constant_time;
TEST_F(ConstantTimeCurves, SecretMultiples)
{
    with_every_kernel([](const std::vector<ecc_curve>& curves) {
        for (const ecc_curve& curve : curves) {
            SCOPED_TRACE(ZRC_Get_BIGINT_Bits_Length(curve->p));
            const zrc::curve_engine& engine = *zrc::engine_of(curve);
            const bigint k{ZRC_Dup_BIGINT(curve->n)};
            k->data[0] ^= 4;
            zrc::plain_point base, product;
            zrc::field_number scalar;
            ASSERT_EQ(zrc::load_point(base, *curve, *curve->G), zrc::point_state::good);
            hide(k);
            EXPECT_EQ(errors_of([&] {
                          zrc::load_number(scalar, *k);
                          engine.operations->multiply_base_secret(engine, product, scalar);
                          engine.operations->multiply_secret(engine, base, {scalar.v, engine.base_bits}, base);
                          engine.operations->reduce(engine, scalar, base.x);
                          engine.operations->combine_scalars(engine, scalar, scalar, scalar, scalar, scalar);
                      }),
                      0U);
            reveal(k);
            reveal(&base, sizeof base);
            reveal(&product, sizeof product);
            EXPECT_EQ(base.infinite, product.infinite);
            EXPECT_TRUE(std::equal(base.x.v, base.x.v + engine.limbs, product.x.v));
        }
    });
}

// The check itself: the digits of public scalars are branched on, and that is seen.
TEST_F(ConstantTimeCurves, PublicMultiplesAreNot)
{
    const ZRC_ECC_CURVE& curve = *known_curves()[kP256];
    const zrc::curve_engine& engine = *zrc::engine_of(&curve);
    const bigint k{ZRC_Dup_BIGINT(curve.n)};
    zrc::plain_point product;
    zrc::field_number scalar;
    hide(k);
    zrc::load_number(scalar, *k);
    EXPECT_NE(errors_of([&] { engine.operations->multiply_both(engine, product, scalar, {}, {{}, {}, true}); }), 0U);
    reveal(k);
}

// Whether k has an inverse is public.
TEST_F(ConstantTimeCurves, Signing)
{
    for (const stanza& values : read_vectors("ecdsa.txt", "signatures")) {
        const ecdsa_unit unit{ZRC_New_ECDSA()};
        const bigint k = of_bytes(values["k"]), r{ZRC_New_BIGINT()}, s{ZRC_New_BIGINT()};
        ASSERT_EQ(ZRC_Set_ECDSA_Params(unit, curve_in(values), of_bytes(values["d"]), nullptr), 0U);
        const bigint z = leftmost_bits(values, *unit->curve->n);
        hide(unit->d);
        hide(k);
        EXPECT_LE(errors_of([&] { EXPECT_EQ(zrc::sign_ecdsa_with_nonce(*r, *s, *unit, *z, *k), 0U); }), 1U);
        for (const ZRC_BIGINT* number : {k.get(), r.get(), s.get(), unit->d})
            reveal(number);
        EXPECT_TRUE(equal(s, values["s"])) << values.place;
        if (values["curve"][0] == kP256) break; // three curves are enough
    }
}

} // namespace
