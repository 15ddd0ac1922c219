// Diffie-Hellman through the public interface, in non-proven mode.
#include "tests/pubkey/dsa_fixture.hpp"

#include <cstring>
#include <utility>

namespace {

using test::bigint;
using test::bytes;
using test::dh_unit;

dh_unit loaded(const test::stanza& values, bool with_q = true)
{
    dh_unit unit{ZRC_New_DH()};
    const bigint q = with_q ? test::number_of(values, "q") : nullptr;
    EXPECT_EQ(ZRC_Init_DH(unit.get()), 0U);
    EXPECT_EQ(
        ZRC_Init_DH_Params(unit.get(), test::of_bytes(values["p"]).get(), q.get(), test::of_bytes(values["g"]).get()),
        0U)
        << values.place;
    return unit;
}

dh_unit tiny(std::uint32_t p, std::uint32_t q, std::uint32_t g, std::uint32_t x)
{
    dh_unit unit{ZRC_New_DH()};
    EXPECT_EQ(ZRC_Init_DH_Params(unit.get(), test::of({p}).get(), q == 0 ? nullptr : test::of({q}).get(),
                                 test::of({g}).get()),
              0U);
    EXPECT_EQ(ZRC_Set_DH_Key_Pair(unit.get(), test::of({x}).get(), nullptr), 0U);
    return unit;
}

std::uint32_t compute(const dh_unit& unit, const ZRC_BIGINT* peer, bytes& secret)
{
    std::int32_t length = -1;
    secret.assign(ZRC_Get_DH_Length(unit.get()) + 1, 0xEE);
    const std::uint32_t code = ZRC_Compute_Key(unit.get(), peer, secret.data(), &length);
    EXPECT_EQ(length, code == 0 ? std::int32_t(secret.size() - 1) : -1);
    EXPECT_EQ(secret.back(), 0xEE);
    secret.pop_back();
    return code;
}

TEST(Dh, PublishedAgreements)
{
    for (const test::stanza& values : test::group_vectors("dh.txt", "agreements")) {
        SCOPED_TRACE(values.place);
        const bool good = values["result"] == bytes{0};
        for (const auto& [own, other] : {std::pair{"_a", "_b"}, {"_b", "_a"}}) {
            const dh_unit unit = loaded(values);
            ASSERT_EQ(ZRC_Set_DH_Key_Pair(unit.get(), test::number_of(values, std::string{"x"} + own).get(),
                                          test::number_of(values, std::string{"y"} + own).get()),
                      0U);
            bytes secret;
            ASSERT_EQ(compute(unit, test::number_of(values, std::string{"y"} + other).get(), secret), 0U);
            EXPECT_EQ(secret == values["z"], good);
        }
    }
}

TEST(Dh, PublicValuesAreChecked)
{
    for (const test::stanza& values : test::group_vectors("dh.txt", "public values")) {
        SCOPED_TRACE(values.place);
        const dh_unit unit = loaded(values);
        ASSERT_EQ(ZRC_Generate_DH_Key_Pair(unit.get(), 0), 0U);
        bytes secret;
        const std::uint32_t code = compute(unit, test::number_of(values, "y").get(), secret);
        if (values["result"] == bytes{0}) {
            EXPECT_EQ(code, 0U);
        } else {
            EXPECT_EQ(code, values["q"].empty() ? 0x2005002BU : 0x2005000CU);
        }
    }
    // Without q, what the peer sends may be of a small order: 5^3 = 2^5 = 1 modulo 31.
    const dh_unit known = tiny(227, 113, 4, 112), unknown = tiny(31, 0, 3, 6);
    bytes secret;
    EXPECT_EQ(compute(known, test::of({2}).get(), secret), 0x2005000CU);
    EXPECT_EQ(compute(unknown, test::of({5}).get(), secret), 0x20050030U) << "the secret is 1";
    EXPECT_EQ(compute(unknown, test::of({2}).get(), secret), 0U);
    EXPECT_EQ(secret, bytes{2});
    EXPECT_EQ(compute(tiny(13, 0, 2, 2), test::of({5}).get(), secret), 0x20050030U) << "the secret is p - 1";
    EXPECT_EQ(compute(tiny(81, 0, 2, 4), test::of({3}).get(), secret), 0x20050030U) << "the secret is 0";
    EXPECT_EQ(compute(known, test::of({4, 0, 0}).get(), secret), 0U) << "zero words on top";
    EXPECT_EQ(secret, bytes{57}) << "4^-1";
}

TEST(Dh, GroupsAndPrivateValues)
{
    for (const test::stanza& values : test::group_vectors("dh.txt", "groups")) {
        SCOPED_TRACE(values.place);
        const dh_unit one = loaded(values), other = loaded(values, false);
        ASSERT_EQ(ZRC_Generate_DH_Key_Pair(one.get(), 256), 0U);
        ASSERT_EQ(ZRC_Generate_DH_Key_Pair(other.get(), 161), 0U);
        EXPECT_EQ(ZRC_Get_BIGINT_Bits_Length(one->x), 256U);
        EXPECT_EQ(ZRC_Get_BIGINT_Bits_Length(other->x), 161U);
        bytes secret, same;
        ASSERT_EQ(compute(one, other->y, secret), 0U);
        ASSERT_EQ(compute(other, one->y, same), 0U);
        EXPECT_EQ(secret, same);
    }
}

TEST(Dh, PrivateValuesAreAllOfTheirRange)
{
    const std::pair<dh_unit, std::uint32_t> kGroups[] = {{tiny(23, 11, 4, 3), 9}, {tiny(23, 0, 5, 3), 20}};
    for (const auto& [unit, last] : kGroups) {
        std::vector<int> seen(23);
        for (int i = 0; i < 2000; ++i) {
            ASSERT_EQ(ZRC_Generate_DH_Key_Pair(unit.get(), 0), 0U);
            ++seen.at(unit->x->data[0]);
        }
        for (std::uint32_t x = 0; x < 23; ++x)
            EXPECT_EQ(seen[x] > 0, x >= 2 && x <= last && (last < 11 || x != 11)) << x; // 5^11 = p - 1
    }
}

TEST(Dh, RefusesWhatCannotBeLoaded)
{
    const dh_unit unit{ZRC_New_DH()};
    const auto set = [&](test::word_list p, test::word_list q, test::word_list g) {
        const bigint new_q = q.empty() ? nullptr : test::of(q);
        const std::uint32_t code = ZRC_Init_DH_Params(unit.get(), test::of(p).get(), new_q.get(), test::of(g).get());
        EXPECT_EQ(code == 0, unit->p != nullptr);
        return code;
    };
    const test::word_list p{227}, q{113}, g{4}, none;
    EXPECT_EQ(set(p, q, g), 0U);
    EXPECT_EQ(set(p, none, {225}), 0U);
    for (const test::word_list& bad : {none, {0}, {1}, {2}, {3}, {226}, {0, 1}})
        EXPECT_EQ(set(bad, none, g), 0x2002002BU);
    for (const test::word_list& bad : {none, {0}, {1}, {226}, {227}, {228}})
        EXPECT_EQ(set(p, none, bad), 0x2002002BU);
    for (const test::word_list& bad : {test::word_list{0}, {1}, {2}, {226}, {227}, {111}, {0, 1}})
        EXPECT_EQ(set(p, bad, g), 0x2002002BU);
    EXPECT_EQ(set(test::word_list(513, 1), none, g), 0x20020048U);
    EXPECT_EQ(ZRC_Init_DH_Params(unit.get(), nullptr, nullptr, test::of(g).get()), 0x2002002BU);
    EXPECT_EQ(ZRC_Init_DH_Params(nullptr, nullptr, nullptr, nullptr), 0x20020049U);

    ASSERT_EQ(set(p, q, g), 0U);
    for (const std::uint32_t x : {0U, 113U, 114U})
        EXPECT_EQ(ZRC_Set_DH_Key_Pair(unit.get(), test::of({x}).get(), nullptr), 0x2006002EU);
    EXPECT_EQ(ZRC_Set_DH_Key_Pair(unit.get(), test::of({2}).get(), test::of({17}).get()), 0x2006002EU);
    EXPECT_EQ(ZRC_Set_DH_Key_Pair(tiny(227, 0, 4, 5).get(), test::of({113}).get(), nullptr), 0x20060038U) << "y = 1";
    EXPECT_EQ(unit->x, nullptr);
    EXPECT_EQ(ZRC_Set_DH_Key_Pair(unit.get(), test::of({2}).get(), test::of({16}).get()), 0U);
}

TEST(Dh, RefusesMissingArguments)
{
    const dh_unit fresh{ZRC_New_DH()}, unit = tiny(227, 113, 4, 5);
    std::uint8_t secret[4];
    std::int32_t length = 0;
    EXPECT_EQ(ZRC_Init_DH(nullptr), 0x20010049U);
    EXPECT_EQ(ZRC_Generate_DH_Params(nullptr, 2048, 256, ZRC_DH_GENERATE), 0x20030049U);
    EXPECT_EQ(ZRC_Generate_DH_Key_Pair(nullptr, 0), 0x20040049U);
    EXPECT_EQ(ZRC_Generate_DH_Key_Pair(fresh.get(), 0), 0x20040049U);
    EXPECT_EQ(ZRC_Set_DH_Key_Pair(nullptr, unit->x, nullptr), 0x20060049U);
    EXPECT_EQ(ZRC_Set_DH_Key_Pair(fresh.get(), unit->x, nullptr), 0x20060049U);
    EXPECT_EQ(ZRC_Set_DH_Key_Pair(unit.get(), nullptr, nullptr), 0x20060049U);
    EXPECT_EQ(ZRC_Compute_Key(nullptr, unit->y, secret, &length), 0x20050049U);
    EXPECT_EQ(ZRC_Compute_Key(unit.get(), nullptr, secret, &length), 0x20050049U);
    EXPECT_EQ(ZRC_Compute_Key(unit.get(), unit->y, nullptr, &length), 0x20050049U);
    EXPECT_EQ(ZRC_Compute_Key(unit.get(), unit->y, secret, nullptr), 0x20050049U);
    EXPECT_EQ(ZRC_Compute_Key(fresh.get(), unit->y, secret, &length), 0x20050049U);
    EXPECT_EQ(ZRC_Get_DH_Length(nullptr), 0U);
    EXPECT_EQ(ZRC_Get_DH_Length(fresh.get()), 0U);
    for (const std::int32_t bits : {-1, 1, 7, 159, 160, 2048})
        EXPECT_EQ(ZRC_Generate_DH_Key_Pair(unit.get(), bits), 0x20040048U);
    ZRC_Free_BIGINT(std::exchange(unit->x, nullptr));
    EXPECT_EQ(ZRC_Compute_Key(unit.get(), unit->y, secret, &length), 0x20050045U);

    constexpr struct {
        std::int32_t p_bits, q_bits, source;
        std::uint32_t code;
    } kCases[] = {{1024, 256, 0, 0x20030048}, {2048, 224, 1, 0x20030048},  {512, 160, 0, 0x20030048},
                  {3072, 256, 1, 0x20030048}, {2048, 256, -1, 0x2003002B}, {2048, 256, 102, 0x2003002B}};
    for (const auto& one : kCases)
        EXPECT_EQ(ZRC_Generate_DH_Params(unit.get(), one.p_bits, one.q_bits, one.source), one.code);
    EXPECT_NE(unit->p, nullptr) << "as it was";
    EXPECT_EQ(ZRC_Init_DH(unit.get()), 0U);
    EXPECT_EQ(unit->p, nullptr);
    ZRC_Clean_DH(nullptr);
    ZRC_Free_DH(nullptr);
}

TEST(Dh, GeneratedAndPrecomputedParametersAgreeOnSecrets)
{
    for (const auto& [p_bits, q_bits, source] : {std::tuple{1024, 160, int{ZRC_DH_GENERATE}},
                                                 {1024, 160, ZRC_DH_PRECOMPUTED},
                                                 {2048, 256, ZRC_DH_PRECOMPUTED},
                                                 {2048, 256, ZRC_DH_PRECOMPUTED_SET + 99}}) {
        const dh_unit one{ZRC_New_DH()}, other{ZRC_New_DH()};
        ASSERT_EQ(ZRC_Generate_DH_Params(one.get(), p_bits, q_bits, source), 0U);
        ASSERT_EQ(ZRC_Init_DH_Params(other.get(), one->p, one->q, one->g), 0U);
        ASSERT_EQ(ZRC_Generate_DH_Key_Pair(one.get(), 0), 0U);
        ASSERT_EQ(ZRC_Generate_DH_Key_Pair(other.get(), 0), 0U);
        bytes secret, same;
        ASSERT_EQ(compute(one, other->y, secret), 0U);
        ASSERT_EQ(compute(other, one->y, same), 0U);
        EXPECT_EQ(secret, same);
    }
}

} // namespace
