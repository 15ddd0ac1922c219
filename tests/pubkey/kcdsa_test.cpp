// KCDSA through the public interface, in non-proven mode: what it does not share with DSA and ECDSA.
#include "tests/pubkey/signature_family.hpp"

#include <cstring>
#include <set>

namespace {

using namespace test;

constexpr std::uint32_t kRefused = 0x100C005E;
const bytes kMessage{'m', 'e', 's', 's', 'a', 'g', 'e'};

kcdsa_unit key(std::uint32_t p, std::uint32_t q, std::uint32_t g, const bigint& x, const bigint& y = nullptr)
{
    return group_key<kcdsa_unit>(of({p}), of({q}), of({g}), x, y);
}

// A SHA-256 key of a published sample.
kcdsa_unit sample_key()
{
    return group_key<kcdsa_unit>(group_vectors("kcdsa.txt", "leading zero").back(), true);
}

TEST(Kcdsa, TheLengthOfSIsMadeEven)
{
    const kcdsa_unit zero = key(227, 113, 4, of({113}), of({9})), // y is not looked at
        unit = key(201326809, 8388617, 16777216, of({77777}));
    signature s;
    EXPECT_EQ(run(zero, kSign, ZRC_SHA256, kMessage, s), 0x100B001DU) << "x = 0: s always is";
    std::set<std::pair<int, int>> lengths; // of s and as reported
    for (int i = 0; i < 20000 && !lengths.contains({2, 2}); ++i) {
        s.S.fill(0xEE);
        ASSERT_EQ(run(unit, kSign, ZRC_SHA256, {}, s), 0U);
        EXPECT_EQ(s.S[3], 0xEE) << "the field has three bytes";
        lengths.insert({s.S[0] != 0 ? 3 : s.S[1] != 0 ? 2 : 1, s.S_length});
    }
    lengths.erase({1, 2}); // seldom
    EXPECT_EQ(lengths, (std::set<std::pair<int, int>>{{3, 4}, {2, 2}}));
}

TEST(Kcdsa, EachUpdateHashesZOnceMore)
{
    const kcdsa_unit unit = sample_key();
    signature s;
    const auto sign = [&](const bytes& message) { return run(unit, kSign, ZRC_SHA256, message, s); };
    const auto verify = [&](const bytes& first, const bytes& second) { // Init leaves the digest where it is
        EXPECT_EQ(ZRC_Update_KCDSA(unit, first.data(), length_of(first)), 0U);
        s.S_length = 32;
        return run(unit, kVerify, ZRC_SHA256, second, s);
    };
    ASSERT_EQ(sign({}), 0U);
    EXPECT_EQ(unit->z, nullptr) << "without Update neither message nor key is hashed";
    s.S_length = 32;
    EXPECT_EQ(run(unit, kVerify, ZRC_SHA256, {}, s), 0U);
    ASSERT_EQ(sign({'a', 'b', 'c'}), 0U);
    EXPECT_EQ(verify({'a', 'b', 'c'}, {}), 0U);
    EXPECT_EQ(verify({'a', 'b'}, {'c'}), kRefused);
    bytes joined(2 + 64 + 1); // a b z c
    joined[0] = 'a';
    joined[1] = 'b';
    joined[66] = 'c';
    ZRC_BIGINT_To_Binary_Unsigned(unit->z, &joined[66 - (ZRC_Get_BIGINT_Bits_Length(unit->z) + 7) / 8]);
    ASSERT_EQ(sign(joined), 0U);
    EXPECT_EQ(verify({'a', 'b'}, {'c'}), 0U);
}

TEST(Kcdsa, ADigestIsKeptUntilTheUnitIsCleaned)
{
    const kcdsa_unit unit = sample_key();
    signature s;
    ZRC_Free(std::exchange(unit->random_input, nullptr)); // Init makes another one where it is missing
    EXPECT_EQ(ZRC_Init_KCDSA(unit, kSign), 0U);
    EXPECT_EQ(unit->random_is_legacy, 1U);
    EXPECT_EQ(static_cast<ZRC_PRNG_UNIT*>(unit->random_input)->algorithm_id, ZRC_HAS160);
    EXPECT_EQ(ZRC_Init_KCDSA_Ex(unit, kSign, 77), 0U) << "the identifier is not looked at";
    EXPECT_EQ(run(unit, kSign, ZRC_SHA256, kMessage, s), 0U);
    EXPECT_EQ(s.R_length, 20) << "still HAS-160";
    EXPECT_EQ(ZRC_Set_KCDSA_Params(unit, unit->p, unit->q, unit->g, unit->x, nullptr), 0U) << "its own numbers";
    EXPECT_EQ(unit->random_is_legacy, 0U);
    EXPECT_EQ(static_cast<ZRC_DRBG_INPUT*>(unit->random_input)->level, 2U);
    EXPECT_EQ(run(unit, kSign, ZRC_SHA256, kMessage, s), 0U);
    EXPECT_EQ(s.R_length, 32);
    EXPECT_EQ(ZRC_Init_KCDSA(unit, kVerify), 0U);
    EXPECT_EQ(unit->digest->algorithm_id, ZRC_SHA256);

    ASSERT_EQ(ZRC_Init_DIGEST(unit->digest, ZRC_MDC2), 0U); // by somebody else, with a block shorter than z
    EXPECT_EQ(ZRC_Update_KCDSA(unit, kMessage.data(), 7), 0x10090058U);
    ZRC_Free_BIGINT(std::exchange(unit->z, nullptr));
    ZRC_Clean_DIGEST_Unit(unit->digest); // lost, as it is without memory
    EXPECT_EQ(ZRC_Update_KCDSA(unit, kMessage.data(), 7), 0x1009005BU);
    EXPECT_EQ(ZRC_Sign_KCDSA(unit, s.R.data(), &s.R_length, s.S.data(), &s.S_length), 0x100B0018U);
    EXPECT_EQ(ZRC_Verify_KCDSA(unit, s.R.data(), 32, s.S.data(), 3), 0x100C0018U);
    ZRC_Clean_KCDSA(unit);
    EXPECT_TRUE(unit->pool && !unit->digest && !unit->p && !unit->q && !unit->g && !unit->x && !unit->y && !unit->z);
}

TEST(Kcdsa, LoadsKeysAndRefusesOthers)
{
    const bigint p = of({227}), q = of({113}), g = of({4}), x = of({5}), even = of({226}), one = of({1}), none;
    const kcdsa_unit same = tiny_key<kcdsa_unit>(5),
                     unit = group_key<kcdsa_unit>(of({227, 0}), of({113, 0, 0}), of({4, 0}), of({5, 0}), none);
    EXPECT_EQ(ZRC_Get_KCDSA_Length(unit), 1U) << "zero words on top do not count";
    EXPECT_EQ(ZRC_Cmp_BIGINT(unit->y, same->y), 0);
    const auto set = [&](const bigint& new_p, const bigint& new_q, const bigint& new_g, const bigint& new_x) {
        return ZRC_Set_KCDSA_Params(unit, new_p, new_q, new_g, new_x, nullptr);
    };
    EXPECT_EQ(set(p, q, g, none), 0U);
    EXPECT_TRUE(unit->p && !unit->y);
    EXPECT_EQ((codes{set(none, q, g, x), set(p, none, g, x), set(p, q, none, x), set(p, q, g, q), set(p, even, g, x),
                     set(even, q, g, x), set(one, q, g, x), ZRC_Set_KCDSA_Params(nullptr, p, q, g, none, none)}),
              (codes{0x1006002B, 0x1006002B, 0x1006002B, 0x10060059, 0x10060059, 0x040A003E, 0x040A003E, 0x10060049}));
    EXPECT_TRUE(!unit->p && !unit->x);
}

TEST(Kcdsa, RefusesUnitsWithoutANumber)
{
    const kcdsa_unit fresh{ZRC_New_KCDSA()}, unit = sample_key();
    std::uint8_t buffer[64] = {};
    std::int32_t length = 32;
    EXPECT_EQ(ZRC_Init_KCDSA(nullptr, kSign), 0x10080049U);
    ASSERT_EQ(ZRC_Init_KCDSA_Ex(fresh, kSign, ZRC_SHA256) | ZRC_Init_KCDSA_Ex(unit, kSign, ZRC_SHA256), 0U);
    EXPECT_EQ(ZRC_Update_KCDSA(fresh, buffer, 1), 0x10090059U) << "no y";
    for (ZRC_BIGINT** number : {&unit->p, &unit->q, &unit->g, &unit->x, &unit->y}) {
        ZRC_BIGINT* const taken = std::exchange(*number, nullptr);
        EXPECT_TRUE(number == &unit->y || ZRC_Final_KCDSA(unit, buffer, &length, buffer, &length) == 0x100B0049);
        EXPECT_TRUE(number == &unit->x || ZRC_Verify_KCDSA(unit, buffer, 32, buffer, 32) == 0x100C0049);
        *number = taken;
    }
}

TEST(Kcdsa, RefusesBadKeysAndSignatures)
{
    const kcdsa_unit even = key(226, 113, 4, of({5}), of({1})), one = key(227, 1, 4, of({5}), of({1}));
    const bytes R(32), S{1};
    signature s;
    EXPECT_EQ(run(even, kSign, ZRC_SHA256, kMessage, s), 0x100B0040U);
    EXPECT_EQ(run(one, kSign, ZRC_SHA256, kMessage, s), 0x100B001DU);
    s = {R, S};
    EXPECT_EQ(run(even, kVerify, ZRC_SHA256, kMessage, s), 0x100C0040U);

    // A power of 0 is hashed as nothing, which HAS-160 refuses.
    const kcdsa_unit zero = key(227, 113, 4, nullptr, of({0})), refuses = key(227, 113, 4, nullptr, of({0}));
    s = {digest_of(ZRC_SHA256, {}), S};
    EXPECT_EQ(run(zero, kVerify, ZRC_SHA256, kMessage, s), 0U);
    EXPECT_EQ(ZRC_Init_KCDSA(refuses, kVerify), 0U);
    s.R_length = 20;
    EXPECT_EQ(run(refuses, kVerify, ZRC_SHA256, kMessage, s), 0x100C005BU);
}

TEST(Kcdsa, RefusesWhatCannotBeGenerated)
{
    const kcdsa_unit unit = sample_key();
    const bigint y{ZRC_Dup_BIGINT(unit->y)};
    for (const auto& [p, q] : {std::pair{504, 160}, {4104, 256}, {1024, 152}, {1024, 264}, {1025, 160}, {1024, 161}}) {
        EXPECT_EQ(ZRC_Generate_KCDSA_Params_Ex(unit, p, q, ZRC_SHA256), 0x10010048U);
        EXPECT_EQ(ZRC_Generate_KCDSA_Params(unit, p, q), 0x10020048U);
    }
    const std::uint8_t user[1] = {};
    const auto generate = ZRC_Generate_KCDSA_Key_Pair_Ex;
    EXPECT_EQ((codes{ZRC_Generate_KCDSA_Params_Ex(nullptr, 2048, 256, ZRC_SHA256),
                     ZRC_Generate_KCDSA_Params_Ex(unit, 512, 160, 77), ZRC_Generate_KCDSA_Params(nullptr, 512, 160),
                     ZRC_Generate_KCDSA_Key_Pair(nullptr, user, 1), generate(unit, user, 1, 77)}),
              (codes{0x10010049, 0x10010022, 0x10020049, 0x10050049, 0x10040022}));
    EXPECT_EQ((codes{generate(nullptr, user, 1, ZRC_SHA256), generate(unit, nullptr, 1, ZRC_SHA256),
                     generate(unit, user, -1, ZRC_SHA256)}),
              (codes{0x10040049, 0x10040049, 0x1004002B}));
    for (ZRC_BIGINT** number : {&unit->p, &unit->q, &unit->g}) {
        ZRC_BIGINT* const taken = std::exchange(*number, nullptr);
        EXPECT_EQ(generate(unit, user, 1, ZRC_SHA256), 0x10040049U);
        *number = taken;
    }
    ASSERT_EQ(ZRC_Set_BIGINT_Bit(unit->q, 512), 0U);
    EXPECT_EQ(generate(unit, user, 1, ZRC_SHA256), 0x10040048U);
    EXPECT_EQ(ZRC_Cmp_BIGINT(unit->y, y), 0) << "the key is as it was";
    const auto generate_in = [&](std::uint32_t p, std::uint32_t q) {
        return generate(key(p, q, 4, of({5}), of({1})), user, 1, ZRC_SHA256);
    };
    EXPECT_EQ((codes{generate_in(227, 1), generate_in(227, 4), generate_in(226, 113)}),
              (codes{0x10040048, 0x10040041, 0x10040040}));
}

} // namespace
