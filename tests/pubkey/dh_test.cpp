// Diffie-Hellman through the public interface, in non-proven mode.
#include "tests/pubkey/pubkey_fixture.hpp"

namespace {

using namespace test;
using dh_unit = owned<ZRC_DH_UNIT, ZRC_Free_DH>;

// Null for a value of no bytes.
bigint part(const stanza& values, const std::string& name)
{
    return values[name].empty() ? nullptr : of_bytes(values[name]);
}

dh_unit loaded(const stanza& values, bool with_q = true)
{
    dh_unit unit{ZRC_New_DH()};
    EXPECT_EQ(ZRC_Init_DH(unit), 0U);
    EXPECT_EQ(ZRC_Init_DH_Params(unit, part(values, "p"), with_q ? part(values, "q") : nullptr, part(values, "g")), 0U)
        << values.place;
    return unit;
}

dh_unit tiny(std::uint32_t p, std::uint32_t q, std::uint32_t g, std::uint32_t x)
{
    dh_unit unit{ZRC_New_DH()};
    EXPECT_EQ(ZRC_Init_DH_Params(unit, of({p}), q == 0 ? nullptr : of({q}), of({g})), 0U);
    EXPECT_EQ(ZRC_Set_DH_Key_Pair(unit, of({x}), nullptr), 0U);
    return unit;
}

std::uint32_t compute(const dh_unit& unit, const ZRC_BIGINT* peer, bytes& secret)
{
    std::int32_t length = -1;
    secret.assign(ZRC_Get_DH_Length(unit) + 1, 0xEE);
    const std::uint32_t code = ZRC_Compute_Key(unit, peer, secret.data(), &length);
    EXPECT_EQ(length, code == 0 ? std::int32_t(secret.size() - 1) : -1);
    EXPECT_EQ(secret.back(), 0xEE);
    secret.pop_back();
    return code;
}

void expect_agreement(const dh_unit& one, const dh_unit& other)
{
    bytes secret, same;
    ASSERT_EQ(compute(one, other->y, secret), 0U);
    ASSERT_EQ(compute(other, one->y, same), 0U);
    EXPECT_EQ(secret, same);
}

TEST(Dh, PublishedAgreements)
{
    for (const stanza& values : group_vectors("dh.txt", "agreements")) {
        for (const auto& [own, other] : {std::pair{"_a", "_b"}, {"_b", "_a"}}) {
            SCOPED_TRACE(values.place);
            const std::string x = "x", y = "y";
            const dh_unit unit = loaded(values);
            bytes secret;
            ASSERT_EQ(ZRC_Set_DH_Key_Pair(unit, part(values, x + own), part(values, y + own)), 0U);
            ASSERT_EQ(compute(unit, part(values, y + other), secret), 0U);
            EXPECT_EQ(secret == values["z"], is_good(values));
        }
    }
}

TEST(Dh, PublicValuesAreChecked)
{
    bytes secret;
    for (const stanza& values : group_vectors("dh.txt", "public values")) {
        const dh_unit unit = loaded(values);
        ASSERT_EQ(ZRC_Generate_DH_Key_Pair(unit, 0), 0U);
        EXPECT_EQ(compute(unit, part(values, "y"), secret), is_good(values)       ? 0U
                                                            : values["q"].empty() ? 0x2005002BU
                                                                                  : 0x2005000CU)
            << values.place;
    }
    // Without q, what the peer sends may be of a small order: 5^3 = 2^5 = 1 modulo 31.
    const dh_unit known = tiny(227, 113, 4, 112), unknown = tiny(31, 0, 3, 6);
    EXPECT_EQ(compute(known, of({2}), secret), 0x2005000CU);
    EXPECT_EQ(compute(unknown, of({5}), secret), 0x20050030U) << "the secret is 1";
    EXPECT_EQ(compute(unknown, of({2}), secret), 0U);
    EXPECT_EQ(secret, bytes{2});
    EXPECT_EQ(compute(tiny(13, 0, 2, 2), of({5}), secret), 0x20050030U) << "the secret is p - 1";
    EXPECT_EQ(compute(tiny(81, 0, 2, 4), of({3}), secret), 0x20050030U) << "the secret is 0";
    EXPECT_EQ(compute(known, of({4, 0, 0}), secret), 0U) << "zero words on top";
    EXPECT_EQ(secret, bytes{57}) << "4^-1";
    known->p->data[0] = 226;
    EXPECT_EQ(compute(known, of({4}), secret), 0x20050040U) << "an even p";
}

TEST(Dh, PrivateValuesAreOfTheirLength)
{
    for (const stanza& values : group_vectors("dh.txt", "groups")) {
        SCOPED_TRACE(values.place);
        const dh_unit one = loaded(values), other = loaded(values, false);
        ASSERT_EQ(ZRC_Generate_DH_Key_Pair(one, 256), 0U);
        ASSERT_EQ(ZRC_Generate_DH_Key_Pair(other, 161), 0U);
        EXPECT_EQ(ZRC_Get_BIGINT_Bits_Length(one->x), 256U);
        EXPECT_EQ(ZRC_Generate_DH_Key_Pair(one, std::int32_t(ZRC_Get_BIGINT_Bits_Length(one->q))), 0x20040048U);
        EXPECT_EQ(ZRC_Get_BIGINT_Bits_Length(other->x), 161U);
        expect_agreement(one, other);
    }
}

TEST(Dh, PrivateValuesAreAllOfTheirRange)
{
    const std::pair<dh_unit, std::uint32_t> kGroups[] = {{tiny(23, 11, 4, 3), 9}, {tiny(23, 0, 5, 3), 20}};
    for (const auto& [unit, last] : kGroups) {
        std::vector<int> seen(23);
        for (int i = 0; i < 2000; ++i) {
            ASSERT_EQ(ZRC_Generate_DH_Key_Pair(unit, 0), 0U);
            ++seen.at(unit->x->data[0]);
        }
        for (std::uint32_t x = 0; x < 23; ++x)
            EXPECT_EQ(seen[x] > 0, x >= 2 && x <= last && (last < 11 || x != 11)) << x; // 5^11 = p - 1
    }
}

TEST(Dh, RefusesWhatCannotBeLoaded)
{
    const dh_unit unit{ZRC_New_DH()};
    const auto set = [&](const bigint& p, const bigint& q, const bigint& g) {
        const std::uint32_t code = ZRC_Init_DH_Params(unit, p, q, g);
        EXPECT_EQ(code == 0, unit->p != nullptr);
        return code;
    };
    const bigint p = of({227}), q = of({113}), g = of({4}), none;
    EXPECT_EQ(set(p, q, g), 0U);
    EXPECT_EQ(set(p, none, of({225})), 0U);
    for (const word_list& bad : {word_list{}, {0}, {1}, {2}, {3}, {226}, {0, 1}})
        EXPECT_EQ(set(of(bad), none, g), 0x2002002BU);
    for (const word_list& bad : {word_list{}, {0}, {1}, {226}, {227}, {228}})
        EXPECT_EQ(set(p, none, of(bad)), 0x2002002BU);
    for (const word_list& bad : {word_list{0}, {1}, {2}, {226}, {227}, {111}, {0, 1}})
        EXPECT_EQ(set(p, of(bad), g), 0x2002002BU);
    EXPECT_EQ(set(of(word_list(513, 1)), none, g), 0x20020048U);
    EXPECT_EQ(set(none, none, g), 0x2002002BU);
    EXPECT_EQ(ZRC_Init_DH_Params(nullptr, nullptr, nullptr, nullptr), 0x20020049U);

    ASSERT_EQ(set(p, q, g), 0U);
    for (const std::uint32_t x : {0U, 113U, 114U})
        EXPECT_EQ(ZRC_Set_DH_Key_Pair(unit, of({x}), nullptr), 0x2006002EU);
    EXPECT_EQ(ZRC_Set_DH_Key_Pair(unit, of({2}), of({17})), 0x2006002EU);
    EXPECT_EQ(ZRC_Set_DH_Key_Pair(tiny(227, 0, 4, 5), of({113}), nullptr), 0x20060038U) << "y = 1";
    EXPECT_EQ(unit->x, nullptr);
    EXPECT_EQ(ZRC_Set_DH_Key_Pair(unit, of({2}), of({16})), 0U);
}

TEST(Dh, RefusesMissingArguments)
{
    const dh_unit fresh{ZRC_New_DH()}, unit = tiny(227, 113, 4, 5);
    std::uint8_t secret[4];
    std::int32_t length = 0;
    ZRC_Clean_DH(nullptr);
    ZRC_Free_DH(nullptr);
    EXPECT_EQ(ZRC_Init_DH(nullptr), 0x20010049U);
    EXPECT_EQ(ZRC_Generate_DH_Params(nullptr, 2048, 256, ZRC_DH_GENERATE), 0x20030049U);
    EXPECT_EQ(ZRC_Get_DH_Length(nullptr) + ZRC_Get_DH_Length(fresh), 0U);
    for (ZRC_DH_UNIT* const none : {static_cast<ZRC_DH_UNIT*>(nullptr), fresh.get()}) {
        EXPECT_EQ(ZRC_Generate_DH_Key_Pair(none, 0), 0x20040049U);
        EXPECT_EQ(ZRC_Set_DH_Key_Pair(none, unit->x, nullptr), 0x20060049U);
        EXPECT_EQ(ZRC_Compute_Key(none, unit->y, secret, &length), 0x20050049U);
    }
    EXPECT_EQ(ZRC_Set_DH_Key_Pair(unit, nullptr, nullptr), 0x20060049U);
    EXPECT_EQ(with_each_bad(ZRC_Compute_Key, unit, unit->y, secret, &length), codes(4, 0x20050049));
    for (const std::int32_t bits : {-1, 1, 7, 159, 160, 2048})
        EXPECT_EQ(ZRC_Generate_DH_Key_Pair(unit, bits), 0x20040048U);
    ZRC_Free_BIGINT(std::exchange(unit->x, nullptr));
    EXPECT_EQ(ZRC_Compute_Key(unit, unit->y, secret, &length), 0x20050045U);

    constexpr struct {
        std::int32_t p_bits, q_bits, source;
        std::uint32_t code;
    } kCases[] = {{1024, 256, 0, 0x20030048}, {2048, 224, 1, 0x20030048},  {512, 160, 0, 0x20030048},
                  {3072, 256, 1, 0x20030048}, {2048, 256, -1, 0x2003002B}, {2048, 256, 102, 0x2003002B}};
    for (const auto& one : kCases)
        EXPECT_EQ(ZRC_Generate_DH_Params(unit, one.p_bits, one.q_bits, one.source), one.code);
    EXPECT_NE(unit->p, nullptr) << "as it was";
    EXPECT_EQ(ZRC_Init_DH(unit), 0U);
    EXPECT_EQ(unit->p, nullptr);
}

// A number of a set is tested from inside.
TEST(Dh, GeneratesParametersOrDrawsThem)
{
    for (const std::int32_t source : {ZRC_DH_GENERATE, ZRC_DH_PRECOMPUTED}) {
        const dh_unit one = tiny(227, 113, 4, 5), other{ZRC_New_DH()};
        ASSERT_EQ(ZRC_Generate_DH_Params(one, 1024, 160, source), 0U);
        EXPECT_FALSE(one->x || one->y) << "they were of other parameters";
        ASSERT_EQ(ZRC_Init_DH_Params(other, one->p, one->q, one->g), 0U);
        ASSERT_EQ(ZRC_Generate_DH_Key_Pair(one, 0) | ZRC_Generate_DH_Key_Pair(other, 0), 0U);
        expect_agreement(one, other);
    }
}

} // namespace
