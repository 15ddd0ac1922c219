// ECDSA through the public interface, in non-proven mode: what it does not share with DSA and KCDSA.
#include "tests/pubkey/signature_family.hpp"

namespace {

using namespace test;

const bytes kMessage{'m', 'e', 's', 's', 'a', 'g', 'e'};

TEST(Ecdsa, VerifiesPublishedSignatures)
{
    for (const char* section : {"signatures", "verifications"}) {
        for (const stanza& values : read_vectors("ecdsa.txt", section)) {
            SCOPED_TRACE(values.place);
            const ecdsa_unit unit{ZRC_New_ECDSA()};
            ASSERT_EQ(ZRC_Set_ECDSA_Params(unit, curve_in(values), nullptr, point(values, "qx", "qy")), 0U);
            signature s{values["r"], values["s"]};
            const std::uint32_t code = run(unit, kVerify, number(values["digest"]), values["msg"], s);
            EXPECT_EQ(code == 0, is_good(values)) << std::hex << code;
        }
    }
}

TEST(Ecdsa, KeysAreAllOfTheirRange)
{
    const ecc_curve curve = curve_of(kTiny);
    const ecdsa_unit unit{ZRC_New_ECDSA()};
    std::array<int, 19> seen{};
    for (int i = 0; i < 1800; ++i) {
        ASSERT_EQ(ZRC_Generate_ECDSA_Key_Pair(unit, i == 0 ? curve.get() : nullptr), 0U) << "its own curve";
        ++seen.at(ZRC_Get_BIGINT_Word(unit->d));
    }
    // Each comes 100 times in the mean, with a standard deviation of 10.
    EXPECT_EQ(seen[0], 0);
    EXPECT_GT(*std::min_element(seen.begin() + 1, seen.end()), 40);
}

// Where p is above n, r is an abscissa modulo n.
TEST(Ecdsa, AbscissasAreReduced)
{
    const ecdsa_unit unit{ZRC_New_ECDSA()};
    ASSERT_EQ(ZRC_Set_ECDSA_Params(unit, curve_of({23, 1, 1, 5, 4, 7, 4}), of({3}), nullptr), 0U);
    for (std::uint8_t i = 0; i < 40; ++i) {
        signature s;
        ASSERT_EQ(run(unit, kSign, ZRC_SHA256, {i}, s), 0U);
        EXPECT_EQ(run(unit, kVerify, ZRC_SHA256, {i}, s), 0U);
    }
}

TEST(Ecdsa, RefusesKeysThatAreNone)
{
    const ecc_curve curve = curve_of(kTiny), bare{ZRC_New_ECC_CURVE()}, small = curve_of({23, 1, 1, 5, 4, 7, 4}),
                    wrong_order = curve_of({17, 2, 2, 5, 1, 21, 1}); // G has 19
    const ecdsa_unit unit{ZRC_New_ECDSA()};
    const ecc_point good = point(of({5}), of({1})), hollow = infinity();
    hollow->infinity = 0;
    const auto set = [&](const ecc_curve& on, const bigint& d, const ecc_point& q) {
        const std::uint32_t code = ZRC_Set_ECDSA_Params(unit, on, d, q);
        EXPECT_EQ(code == 0, unit->curve != nullptr);
        return code;
    };
    EXPECT_EQ(set(curve, nullptr, nullptr), 0U);
    EXPECT_EQ(set(curve, of({1, 0}), good), 0U);
    EXPECT_EQ(ZRC_Set_ECDSA_Params(unit, unit->curve, unit->d, unit->Q), 0U) << "its own";
    EXPECT_EQ(set(curve, of({18}), nullptr), 0U);
    expect_codes({{"no curve", set(nullptr, nullptr, nullptr), 0x210F002B},
                  {"an empty curve", set(bare, nullptr, nullptr), 0x210F002B},
                  {"an empty point", set(curve, nullptr, hollow), 0x210F002B},
                  {"d = 0", set(curve, of({0}), nullptr), 0x210F002E},
                  {"d = n", set(curve, of({19}), nullptr), 0x210F002E},
                  {"d of two words", set(curve, of({1, 1}), nullptr), 0x210F002E},
                  {"no pair", set(curve, of({2}), good), 0x210F002E},
                  {"off the curve", set(curve, nullptr, point(of({5}), of({2}))), 0x210F002E},
                  {"x above p", set(curve, nullptr, point(of({22}), of({1}))), 0x210F002E},
                  {"infinity", set(curve, nullptr, infinity()), 0x210F002E},
                  {"order 2", set(small, nullptr, point(of({4}), of({0}))), 0x210F002E},
                  {"wrong order", set(wrong_order, of({19}), nullptr), 0x210F002E},
                  {"wrong order, Q", set(wrong_order, of({19}), infinity()), 0x210F002E},
                  {"set", ZRC_Set_ECDSA_Params(nullptr, curve, nullptr, nullptr), 0x210F0049},
                  {"generate", ZRC_Generate_ECDSA_Key_Pair(nullptr, curve), 0x21100049},
                  {"no curve", ZRC_Generate_ECDSA_Key_Pair(unit, nullptr), 0x21100049},
                  {"an empty curve", ZRC_Generate_ECDSA_Key_Pair(unit, bare), 0x21100049}});
}

// Nothing crashes or hangs on parameters that are no curve; the point at infinity is no good signature.
TEST(Ecdsa, EndsOnAbsurdCurves)
{
    for (const small_curve& c : {small_curve{21, 1, 1, 0, 1, 19, 1},
                                 {17, 0, 0, 0, 0, 19, 1},
                                 {17, 2, 2, 5, 1, 3, 1},
                                 {5, 0, 0, 1, 2, 0x7FFFFFFF, 9},
                                 {0xFFFFFFFF, 5, 6, 7, 8, 9, 1},
                                 {17, 2, 2, 5, 1, 15, 1}}) {
        const ecc_curve curve = curve_of(c);
        const ecdsa_unit unit{ZRC_New_ECDSA()};
        EXPECT_NE(ZRC_Check_ECC_CURVE(curve), 0U);
        if (ZRC_Set_ECDSA_Params(unit, curve, of({2}), nullptr) != 0) continue;
        signature s{{1}, {1}};
        run(unit, kVerify, ZRC_SHA256, kMessage, s);
        run(unit, kSign, ZRC_SHA256, kMessage, s);
    }
}

TEST(Ecdsa, WantsAPublicKey)
{
    const ecdsa_unit unit{ZRC_New_ECDSA()};
    ASSERT_EQ(ZRC_Set_ECDSA_Params(unit, curve_of(kTiny), nullptr, nullptr), 0U);
    signature s{{1}, {1}};
    EXPECT_EQ(run(unit, kVerify, ZRC_SHA256, kMessage, s), 0x21050046U);
    unit->Q = infinity().release();
    unit->Q->infinity = 0; // and no coordinates
    EXPECT_EQ(run(unit, kVerify, ZRC_SHA256, kMessage, s), 0x21050046U);
}

} // namespace
