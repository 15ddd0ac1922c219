// ECDSA with its nonces given, without memory, and with secrets that valgrind watches.
#include "core/cpu.hpp"
#include "pubkey/ecc.hpp"
#include "pubkey/ecdsa.hpp"
#include "tests/allocator.hpp"
#include "tests/pubkey/ecc_fixture.hpp"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <gtest/gtest.h>
#include <set>
#include <utility>
#include <vector>

#if __has_include(<valgrind/memcheck.h>)
#include <valgrind/memcheck.h>
#define KESTRIM_TEST_VALGRIND 1
#endif

namespace {

bool on_valgrind()
{
#if KESTRIM_TEST_VALGRIND
    return RUNNING_ON_VALGRIND != 0;
#else
    return false;
#endif
}

using test::bigint;
using test::bytes;
using test::ecc_curve;
using test::ecdsa_unit;
using test::of;

constexpr test::small_curve kTiny{17, 2, 2, 5, 1, 19, 1};

// Runs with the published curves of each kind of arithmetic.
void with_every_kernel(auto run)
{
    for (const auto& entry : zrc::curve_makers.list()) {
        // Valgrind executes ADX instructions, although the processor it shows has none.
        if (!zrc::cpu_has(entry.needs) && !(on_valgrind() && entry.needs == zrc::cpu_feature::adx)) continue;
        SCOPED_TRACE(entry.name);
        zrc::curve_makers.force(entry.run);
        std::vector<ecc_curve> curves;
        for (const test::stanza& values : test::read_vectors("ecc.txt", "curves"))
            curves.push_back(test::curve_of(values));
        curves.push_back(test::curve_of(kTiny));
        zrc::curve_makers.force(nullptr);
        run(curves);
    }
}

bigint leftmost_bits(const test::stanza& values, const ZRC_BIGINT& n)
{
    bytes hash(64);
    std::int32_t length = 0;
    EXPECT_EQ(ZRC_DIGEST(test::ecdsa_digest_of(values), values["msg"].data(), std::int32_t(values["msg"].size()),
                         hash.data(), &length),
              0U);
    bigint z{ZRC_New_BIGINT()};
    EXPECT_TRUE(zrc::set_leftmost_bits(*z, {hash.data(), std::size_t(length)}, n));
    return z;
}

TEST(EcdsaSteps, SignaturesWithTheirNonce)
{
    with_every_kernel([](const std::vector<ecc_curve>& curves) {
        for (const test::stanza& values : test::read_vectors("ecdsa.txt", "signatures")) {
            SCOPED_TRACE(values.place);
            const ecdsa_unit unit{ZRC_New_ECDSA()};
            const bigint d = test::of_bytes(values["d"]), r{ZRC_New_BIGINT()}, s{ZRC_New_BIGINT()};
            const test::ecc_point q = test::point(values, "qx", "qy");
            const ZRC_ECC_CURVE* const curve = curves.at(values["curve"][0]).get();
            ASSERT_EQ(ZRC_Set_ECDSA_Params(unit.get(), curve, d.get(), q.get()), 0U) << "a key pair";
            const bigint z = leftmost_bits(values, *curve->n), k = test::of_bytes(values["k"]);
            ASSERT_EQ(zrc::sign_ecdsa_with_nonce(*r, *s, *unit, *z, *k), 0U);
            EXPECT_EQ(ZRC_Cmp_BIGINT(r.get(), test::of_bytes(values["r"]).get()), 0);
            EXPECT_EQ(ZRC_Cmp_BIGINT(s.get(), test::of_bytes(values["s"]).get()), 0);
        }
    });
}

TEST(EcdsaSteps, DoubleMultiples)
{
    with_every_kernel([](const std::vector<ecc_curve>& curves) {
        for (const test::stanza& values : test::read_vectors("ecc.txt", "double multiples")) {
            SCOPED_TRACE(values.place);
            const ZRC_ECC_CURVE& curve = *curves.at(values["curve"][0]);
            const zrc::curve_engine& engine = *zrc::engine_of(&curve);
            zrc::plain_point q;
            zrc::field_number u1, u2;
            ASSERT_EQ(zrc::load_point(q, curve, *test::point(values, "qx", "qy")), zrc::point_state::good);
            zrc::load_number(u1, *test::of_bytes(values["u1"]));
            zrc::load_number(u2, *test::of_bytes(values["u2"]));
            engine.operations->multiply_both(engine, q, u1, u2, q);
            const test::ecc_point r = test::infinity();
            ASSERT_TRUE(zrc::store_point(*r, curve, q));
            EXPECT_TRUE(test::equal(r, test::point(values, "x", "y")));
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
            const zrc::curve_engine& engine = *zrc::engine_of(curve.get());
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
    const ecc_curve good = test::curve_of(kTiny), curve{ZRC_New_ECC_CURVE()};
    std::vector<std::uint32_t> words(20);
    words[0] = kTiny.p;
    ASSERT_EQ(ZRC_Set_ECC_CURVE(curve.get(), of(words).get(), good->a, good->b, good->G->x, good->G->y, good->n, 1),
              0U);
    EXPECT_EQ(zrc::engine_of(curve.get())->limbs, zrc::engine_of(good.get())->limbs);
}

TEST(EcdsaWithoutMemory, EveryCodeAndNothingLeftBehind)
{
    std::uint8_t drawn = 0; // the generator stays locked when an allocation of its own fails
    ASSERT_EQ(ZRC_Rand_Bytes(&drawn, 1), 0U);
    using set = std::set<std::uint32_t>;
    const auto all = [](auto operation) {
        const auto codes = test::codes_with_failing_allocations(operation);
        return set{codes.begin(), codes.end()};
    };
    const bigint p = of({17}), two = of({2}), x = of({5}), y = of({1}), n = of({19}), d = of({7});
    const ecc_curve curve = test::curve_of(kTiny), other{ZRC_New_ECC_CURVE()};
    const test::ecc_point q = test::point(x, y);
    const auto fresh_point = [](auto operation) {
        const int planned = std::exchange(test::allocations_until_failure, -1);
        const test::ecc_point r = test::infinity();
        test::allocations_until_failure = planned;
        const std::uint32_t code = operation(r.get());
        test::allocations_until_failure = -1;
        return code;
    };
    EXPECT_EQ(all([&] {
                  return ZRC_Set_ECC_CURVE(other.get(), p.get(), two.get(), two.get(), x.get(), y.get(), n.get(), 1);
              }),
              (set{0, 0x2108003B, 0x2108000D}));
    EXPECT_EQ(all([&] { return ZRC_Copy_ECC_CURVE(other.get(), curve.get()); }), (set{0, 0x2109003B, 0x2109000D}));
    EXPECT_EQ(all([&] {
                  const std::uint32_t code = ZRC_Check_ECC_CURVE(curve.get());
                  return code == 0x210A0048 ? 0 : code; // too small a curve, in the end
              }),
              (set{0, 0x210A003B, 0x210A0059}));
    EXPECT_EQ(all([&] { return fresh_point([&](auto* r) { return ZRC_Copy_ECC_POINT(r, q.get()); }); }),
              (set{0, 0x2107000D}));
    EXPECT_EQ(all([&] { return fresh_point([&](auto* r) { return ZRC_Double_ECC_POINT(curve.get(), r, q.get()); }); }),
              (set{0, 0x210D000D}));
    EXPECT_EQ(
        all([&] { return fresh_point([&](auto* r) { return ZRC_Mtp_ECC_POINT(curve.get(), r, d.get(), q.get()); }); }),
        (set{0, 0x210E000D}));

    const ecdsa_unit unit{ZRC_New_ECDSA()};
    test::ecdsa_signature s;
    EXPECT_EQ(all([&] { return ecdsa_unit{ZRC_New_ECDSA()} ? 0 : 1; }), (set{0, 1}));
    EXPECT_EQ(all([&] { return ZRC_Set_ECDSA_Params(unit.get(), curve.get(), d.get(), nullptr); }),
              (set{0, 0x210F003B, 0x210F000D}));
    EXPECT_EQ(all([&] { return ZRC_Init_ECDSA(unit.get(), 1, ZRC_SHA256); }), (set{0, 0x2101003B, 0x21010022}));
    const set generating = all([&] { return ZRC_Generate_ECDSA_Key_Pair(unit.get(), nullptr); });
    EXPECT_EQ(generating, (set{0, 0x2110003B, 0x2110001D}));
    ASSERT_EQ(ZRC_Init_ECDSA(unit.get(), 1, ZRC_SHA256), 0U);
    const set signing =
        all([&] { return ZRC_Sign_ECDSA(unit.get(), s.R.data(), &s.R_length, s.S.data(), &s.S_length); });
    EXPECT_TRUE(signing.contains(0) && signing.contains(0x2104001B) && signing.contains(0x2104001D));
    s.R_length = s.S_length = 1;
    s.R[0] = s.S[0] = 1;
    const set verifying = all([&] {
        const std::uint32_t code = ZRC_Verify_ECDSA(unit.get(), s.R.data(), 1, s.S.data(), 1);
        return code == 0x2105005E ? 0 : code;
    });
    EXPECT_TRUE(verifying.contains(0) && verifying.contains(0x2105003B) && verifying.contains(0x21050041));

    const test::release_watch watch;
    {
        const ecc_curve own = test::curve_of(kTiny);
        const ecdsa_unit signer{ZRC_New_ECDSA()};
        ASSERT_EQ(ZRC_Set_ECDSA_Params(signer.get(), own.get(), d.get(), nullptr), 0U);
        ASSERT_EQ(test::run_ecdsa(signer, 1, ZRC_SHA256, {'m'}, s), 0U);
        ASSERT_EQ(test::run_ecdsa(signer, 0, ZRC_SHA256, {'m'}, s), 0U);
        for (const ZRC_BIGINT& bn : signer->pool->head->bigint)
            EXPECT_TRUE(std::all_of(bn.data, bn.data + bn.allocated, [](std::uint32_t word) { return word == 0; }));
        ASSERT_EQ(ZRC_Generate_ECDSA_Key_Pair(signer.get(), nullptr), 0U);
    }
    EXPECT_EQ(watch.live_blocks(), 0U);
}

#if KESTRIM_TEST_VALGRIND

class ConstantTimeCurves : public testing::Test {
protected:
    void SetUp() override
    {
        if (!RUNNING_ON_VALGRIND) GTEST_SKIP() << "not under valgrind";
    }

    // Errors since the last call.
    static unsigned long errors()
    {
        static unsigned long before = 0;
        const unsigned long now = VALGRIND_COUNT_ERRORS;
        return now - std::exchange(before, now);
    }

    static void hide(const bigint& number)
    {
        VALGRIND_MAKE_MEM_UNDEFINED(number->data, std::size_t(number->length) * sizeof(std::uint32_t));
    }
    static void reveal(const bigint& number)
    {
        VALGRIND_MAKE_MEM_DEFINED(number.get(), sizeof *number);
        VALGRIND_MAKE_MEM_DEFINED(number->data, std::size_t(number->allocated) * sizeof(std::uint32_t));
    }
};

TEST_F(ConstantTimeCurves, SecretMultiples)
{
    with_every_kernel([](const std::vector<ecc_curve>& curves) {
        for (const ecc_curve& owned : curves) {
            const ZRC_ECC_CURVE* const curve = owned.get();
            SCOPED_TRACE(ZRC_Get_BIGINT_Bits_Length(curve->p));
            const zrc::curve_engine& engine = *zrc::engine_of(curve);
            const bigint k{ZRC_Dup_BIGINT(curve->n)};
            k->data[0] ^= 4;
            zrc::plain_point base, product;
            zrc::field_number scalar;
            ASSERT_EQ(zrc::load_point(base, *curve, *curve->G), zrc::point_state::good);
            errors();
            hide(k);
            zrc::load_number(scalar, *k);
            engine.operations->multiply_base_secret(engine, product, scalar);
            EXPECT_EQ(errors(), 0U);
            engine.operations->multiply_secret(engine, base, {scalar.v, engine.base_bits}, base);
            EXPECT_EQ(errors(), 0U);
            engine.operations->reduce(engine, scalar, base.x);
            engine.operations->combine_scalars(engine, scalar, scalar, scalar, scalar, scalar);
            EXPECT_EQ(errors(), 0U);
            reveal(k);
            VALGRIND_MAKE_MEM_DEFINED(&base, sizeof base);
            VALGRIND_MAKE_MEM_DEFINED(&product, sizeof product);
            EXPECT_EQ(base.infinite, product.infinite);
            EXPECT_TRUE(std::equal(base.x.v, base.x.v + engine.limbs, product.x.v));
        }
    });
}

// The check itself: the digits of public scalars are branched on, and that is seen.
TEST_F(ConstantTimeCurves, PublicMultiplesAreNot)
{
    const ZRC_ECC_CURVE& curve = *test::known_curves()[test::kP256];
    const zrc::curve_engine& engine = *zrc::engine_of(&curve);
    const bigint k{ZRC_Dup_BIGINT(curve.n)};
    zrc::plain_point product;
    zrc::field_number scalar;
    errors();
    hide(k);
    zrc::load_number(scalar, *k);
    engine.operations->multiply_both(engine, product, scalar, {}, {{}, {}, true});
    EXPECT_NE(errors(), 0U);
    reveal(k);
}

// Whether k has an inverse is public.
TEST_F(ConstantTimeCurves, Signing)
{
    for (const test::stanza& values : test::read_vectors("ecdsa.txt", "signatures")) {
        const ecdsa_unit unit{ZRC_New_ECDSA()};
        const bigint d = test::of_bytes(values["d"]), k = test::of_bytes(values["k"]), r{ZRC_New_BIGINT()},
                     s{ZRC_New_BIGINT()};
        ASSERT_EQ(ZRC_Set_ECDSA_Params(unit.get(), test::curve_in(values), d.get(), nullptr), 0U);
        const bigint z = leftmost_bits(values, *unit->curve->n);
        VALGRIND_MAKE_MEM_UNDEFINED(unit->d->data, std::size_t(unit->d->length) * sizeof(std::uint32_t));
        hide(k);
        errors();
        EXPECT_EQ(zrc::sign_ecdsa_with_nonce(*r, *s, *unit, *z, *k), 0U);
        EXPECT_LE(errors(), 1U);
        for (const bigint* number : {&k, &r, &s})
            reveal(*number);
        VALGRIND_MAKE_MEM_DEFINED(unit->d->data, std::size_t(unit->d->length) * sizeof(std::uint32_t));
        EXPECT_EQ(ZRC_Cmp_BIGINT(s.get(), test::of_bytes(values["s"]).get()), 0) << values.place;
        if (values["curve"][0] == test::kP256) break; // three curves are enough
    }
}

#endif

} // namespace
