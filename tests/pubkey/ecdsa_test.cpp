// ECDSA through the public interface, in non-proven mode.
#include "tests/pubkey/ecc_fixture.hpp"

#include <algorithm>
#include <array>
#include <cstdint>
#include <gtest/gtest.h>
#include <set>
#include <utility>

namespace {

using test::bigint;
using test::bytes;
using test::ecc_curve;
using test::ecc_point;
using test::ecdsa_signature;
using test::ecdsa_unit;
using test::of;

constexpr std::uint32_t kVerify = 0, kSign = 1;
const bytes kMessage{'m', 'e', 's', 's', 'a', 'g', 'e'};

// 19 points: every value can be met.
constexpr test::small_curve kTiny{17, 2, 2, 5, 1, 19, 1};

ecdsa_unit key(const ZRC_ECC_CURVE* curve, const bigint& d, const ecc_point& q)
{
    ecdsa_unit unit{ZRC_New_ECDSA()};
    EXPECT_EQ(ZRC_Set_ECDSA_Params(unit.get(), curve, d.get(), q.get()), 0U);
    return unit;
}

ecdsa_signature of_values(const test::stanza& values)
{
    ecdsa_signature s;
    s.R = values["r"];
    s.S = values["s"];
    s.R_length = std::int32_t(s.R.size());
    s.S_length = std::int32_t(s.S.size());
    return s;
}

TEST(Ecdsa, VerifiesPublishedSignatures)
{
    for (const char* section : {"signatures", "verifications"}) {
        for (const test::stanza& values : test::read_vectors("ecdsa.txt", section)) {
            SCOPED_TRACE(values.place);
            const bool good = values.values.count("result") == 0 || values["result"] == bytes{0};
            const ecdsa_unit unit = key(test::curve_in(values), nullptr, test::point(values, "qx", "qy"));
            ecdsa_signature s = of_values(values);
            const std::uint32_t code = test::run_ecdsa(unit, kVerify, test::ecdsa_digest_of(values), values["msg"], s);
            EXPECT_EQ(code == 0, good) << std::hex << code;
        }
    }
}

TEST(Ecdsa, SignsWithEveryCurveAndDigest)
{
    for (const ecc_curve& curve : test::known_curves()) {
        const ecdsa_unit signer{ZRC_New_ECDSA()};
        ASSERT_EQ(ZRC_Generate_ECDSA_Key_Pair(signer.get(), curve.get()), 0U);
        EXPECT_EQ(ZRC_Check_ECC_POINT(curve.get(), signer->Q), 0U);
        ecc_point q = test::infinity();
        ASSERT_EQ(ZRC_Mtp_ECC_POINT(curve.get(), q.get(), signer->d, curve->G), 0U);
        EXPECT_EQ(ZRC_Cmp_ECC_POINT(q.get(), signer->Q), 0);
        const ecdsa_unit verifier = key(curve.get(), nullptr, q);
        const auto length = std::int32_t(ZRC_Get_BIGINT_Bits_Length(curve->n) + 7) / 8;
        EXPECT_EQ(ZRC_Get_ECDSA_Length(verifier.get()), std::uint32_t(length));
        for (const std::int32_t digest : {ZRC_SHA1, ZRC_SHA256, ZRC_SHA512, ZRC_MD5, ZRC_HAS160}) {
            ecdsa_signature s;
            ASSERT_EQ(test::run_ecdsa(signer, kSign, digest, kMessage, s), 0U);
            EXPECT_TRUE(s.R_length == length && s.S_length == length);
            EXPECT_EQ(test::run_ecdsa(verifier, kVerify, digest, kMessage, s), 0U);
            EXPECT_EQ(test::run_ecdsa(verifier, kVerify, digest, {'m'}, s), 0x2105005EU);
            s.S[std::size_t(length) - 1] ^= 1;
            EXPECT_EQ(test::run_ecdsa(verifier, kVerify, digest, kMessage, s), 0x2105005EU);
        }
    }
}

// With 19 points, r or s of 0 comes about once in 10 signatures, and k is drawn again.
TEST(Ecdsa, NeverSignsWithZero)
{
    const ecc_curve curve = test::curve_of(kTiny);
    const ecdsa_unit unit = key(curve.get(), of({7}), nullptr);
    std::set<std::pair<int, int>> met;
    for (int i = 0; i < 500; ++i) {
        ecdsa_signature s;
        ASSERT_EQ(test::run_ecdsa(unit, kSign, ZRC_SHA256, {std::uint8_t(i)}, s), 0U);
        EXPECT_TRUE(s.R_length == 1 && s.S_length == 1 && s.R[0] > 0 && s.R[0] < 19 && s.S[0] > 0 && s.S[0] < 19);
        ASSERT_EQ(test::run_ecdsa(unit, kVerify, ZRC_SHA256, {std::uint8_t(i)}, s), 0U);
        met.insert({s.R[0], s.S[0]});
    }
    EXPECT_GT(met.size(), 60U);
}

TEST(Ecdsa, KeysAreAllOfTheirRange)
{
    const ecc_curve curve = test::curve_of(kTiny);
    const ecdsa_unit unit{ZRC_New_ECDSA()};
    std::array<int, 19> seen{};
    for (int i = 0; i < 1800; ++i) {
        ASSERT_EQ(ZRC_Generate_ECDSA_Key_Pair(unit.get(), i == 0 ? curve.get() : nullptr), 0U) << "its own curve";
        ++seen.at(ZRC_Get_BIGINT_Word(unit->d));
    }
    // Each comes 100 times in the mean, with a standard deviation of 10.
    EXPECT_EQ(seen[0], 0);
    EXPECT_GT(*std::min_element(seen.begin() + 1, seen.end()), 40);
}

TEST(Ecdsa, RefusesKeysThatAreNone)
{
    const ecc_curve curve = test::curve_of(kTiny), bare{ZRC_New_ECC_CURVE()};
    const ecdsa_unit unit{ZRC_New_ECDSA()};
    const ecc_point good = test::point(of({5}), of({1})), off = test::point(of({5}), of({2})),
                    above = test::point(of({22}), of({1})), hollow = test::infinity();
    hollow->infinity = 0;
    const auto set = [&](const ecc_curve& on, const bigint& d, const ecc_point& q) {
        const std::uint32_t code = ZRC_Set_ECDSA_Params(unit.get(), on.get(), d.get(), q.get());
        EXPECT_EQ(code == 0, unit->curve != nullptr);
        return code;
    };
    EXPECT_EQ(set(curve, nullptr, nullptr), 0U);
    EXPECT_EQ(set(curve, of({1, 0}), good), 0U);
    EXPECT_EQ(ZRC_Set_ECDSA_Params(unit.get(), unit->curve, unit->d, unit->Q), 0U) << "its own";
    EXPECT_EQ(set(curve, of({18}), nullptr), 0U);
    EXPECT_EQ(set(nullptr, nullptr, nullptr), 0x210F002BU);
    EXPECT_EQ(set(bare, nullptr, nullptr), 0x210F002BU);
    EXPECT_EQ(set(curve, nullptr, hollow), 0x210F002BU);
    EXPECT_EQ(set(curve, of({0}), nullptr), 0x210F002EU);
    EXPECT_EQ(set(curve, of({19}), nullptr), 0x210F002EU);
    EXPECT_EQ(set(curve, of({1, 1}), nullptr), 0x210F002EU);
    EXPECT_EQ(set(curve, of({2}), good), 0x210F002EU) << "no pair";
    for (const ecc_point* q : {&off, &above})
        EXPECT_EQ(set(curve, nullptr, *q), 0x210F002EU);
    EXPECT_EQ(set(curve, nullptr, test::infinity()), 0x210F002EU);
    const ecc_curve small = test::curve_of({23, 1, 1, 5, 4, 7, 4});
    EXPECT_EQ(set(small, nullptr, test::point(of({4}), of({0}))), 0x210F002EU) << "of order 2";
    const ecc_curve wrong_order = test::curve_of({17, 2, 2, 5, 1, 21, 1}); // G has 19
    EXPECT_EQ(set(wrong_order, of({19}), nullptr), 0x210F002EU);
    EXPECT_EQ(set(wrong_order, of({19}), test::infinity()), 0x210F002EU);
    EXPECT_EQ(ZRC_Set_ECDSA_Params(nullptr, curve.get(), nullptr, nullptr), 0x210F0049U);
    EXPECT_EQ(ZRC_Generate_ECDSA_Key_Pair(nullptr, curve.get()), 0x21100049U);
    EXPECT_EQ(ZRC_Generate_ECDSA_Key_Pair(unit.get(), nullptr), 0x21100049U);
    EXPECT_EQ(ZRC_Generate_ECDSA_Key_Pair(unit.get(), bare.get()), 0x21100049U);
}

// Nothing crashes or hangs on parameters that are no curve.
TEST(Ecdsa, EndsOnAbsurdCurves)
{
    for (const test::small_curve& c : {test::small_curve{21, 1, 1, 0, 1, 19, 1},
                                       {17, 0, 0, 0, 0, 19, 1},
                                       {17, 2, 2, 5, 1, 3, 1},
                                       {5, 0, 0, 1, 2, 0x7FFFFFFF, 9},
                                       {0xFFFFFFFF, 5, 6, 7, 8, 9, 1},
                                       {17, 2, 2, 5, 1, 15, 1}}) {
        const ecc_curve curve = test::curve_of(c);
        const ecdsa_unit unit{ZRC_New_ECDSA()};
        ecdsa_signature s;
        EXPECT_NE(ZRC_Check_ECC_CURVE(curve.get()), 0U);
        if (ZRC_Set_ECDSA_Params(unit.get(), curve.get(), of({2}).get(), nullptr) != 0) continue;
        test::run_ecdsa(unit, kSign, ZRC_SHA256, kMessage, s);
        s.R_length = s.S_length = 1;
        s.R[0] = s.S[0] = 1;
        test::run_ecdsa(unit, kVerify, ZRC_SHA256, kMessage, s);
    }
}

TEST(Ecdsa, RefusesMissingAndBadArguments)
{
    const ecdsa_unit fresh{ZRC_New_ECDSA()};
    std::uint8_t buffer[64] = {};
    std::int32_t length = 1;
    EXPECT_EQ(ZRC_Init_ECDSA(nullptr, kSign, ZRC_SHA256), 0x21010049U);
    EXPECT_EQ(ZRC_Init_ECDSA(fresh.get(), kSign, 77), 0x21010022U);
    EXPECT_EQ(ZRC_Get_ECDSA_Length(nullptr), 0U);
    EXPECT_EQ(ZRC_Get_ECDSA_Length(fresh.get()), 0U);
    EXPECT_EQ(ZRC_Update_ECDSA(nullptr, buffer, 1), 0x21020049U);
    EXPECT_EQ(ZRC_Update_ECDSA(fresh.get(), buffer, 1), 0x21020049U) << "no digest";
    ASSERT_EQ(ZRC_Init_ECDSA(fresh.get(), kSign, ZRC_SHA256), 0U);
    EXPECT_EQ(ZRC_Update_ECDSA(fresh.get(), nullptr, 1), 0x21020049U);
    EXPECT_EQ(ZRC_Update_ECDSA(fresh.get(), buffer, -1), 0x2102002BU);
    EXPECT_EQ(ZRC_Update_ECDSA(fresh.get(), buffer, 0), 0U);
    EXPECT_EQ(ZRC_Final_ECDSA(fresh.get(), buffer, &length, buffer, &length), 0x21040049U) << "no curve";
    EXPECT_EQ(ZRC_Verify_ECDSA(fresh.get(), buffer, 1, buffer, 1), 0x21050049U);
    ZRC_Clean_ECDSA(nullptr);
    ZRC_Free_ECDSA(nullptr);

    const ecc_curve curve = test::curve_of(kTiny);
    const ecdsa_unit unit = key(curve.get(), nullptr, nullptr);
    ASSERT_EQ(ZRC_Init_ECDSA(unit.get(), kSign, ZRC_SHA256), 0U);
    for (int missing = 0; missing < 5; ++missing)
        EXPECT_EQ(ZRC_Final_ECDSA(missing == 0 ? nullptr : unit.get(), missing == 1 ? nullptr : buffer,
                                  missing == 2 ? nullptr : &length, missing == 3 ? nullptr : buffer,
                                  missing == 4 ? nullptr : &length),
                  0x21030049U);
    EXPECT_EQ(ZRC_Sign_ECDSA(unit.get(), buffer, &length, buffer, &length), 0x21040045U) << "no private key";
    EXPECT_EQ(ZRC_Verify_ECDSA(unit.get(), buffer, 1, buffer, 1), 0x21050046U) << "no public key";

    const ecdsa_unit full = key(curve.get(), of({7}), nullptr);
    ASSERT_EQ(ZRC_Init_ECDSA(full.get(), kVerify, ZRC_SHA256), 0U);
    const auto verify = [&](std::uint8_t r, std::uint8_t s, std::int32_t r_length, std::int32_t s_length) {
        const bytes R{r, 0}, S{s, 0};
        return ZRC_Verify_ECDSA(full.get(), R.data(), r_length, S.data(), s_length);
    };
    EXPECT_EQ(verify(0, 1, 1, 1), 0x21050037U);
    EXPECT_EQ(verify(1, 0, 1, 1), 0x21050037U);
    EXPECT_EQ(verify(1, 1, 1, 0), 0x21050037U);
    EXPECT_EQ(verify(19, 1, 1, 1), 0x2105000BU);
    EXPECT_EQ(verify(1, 19, 1, 1), 0x2105000BU);
    EXPECT_EQ(verify(1, 1, 1, 2), 0x2105000BU);
    EXPECT_EQ(verify(1, 1, -1, 1), 0x21050005U);
    while (ZRC_Start_BIGINT_Pool(full->pool) == 0) {
    }
    EXPECT_EQ(verify(1, 1, 1, 1), 0x2105001BU) << "no room for a frame";
    EXPECT_EQ(ZRC_Sign_ECDSA(full.get(), buffer, &length, buffer, &length), 0x2104001BU);
}

} // namespace
