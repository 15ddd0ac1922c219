// KCDSA through the public interface, in non-proven mode.
#include "kestrim_crypto.h"
#include "tests/pubkey/kcdsa_fixture.hpp"

#include <cstdint>
#include <cstring>
#include <gtest/gtest.h>
#include <set>
#include <utility>

namespace {

using test::bigint;
using test::bytes;
using test::codes;
using test::kcdsa_unit;
using test::of;
using test::signature;

constexpr std::uint32_t kVerify = 0, kSign = 1, kRefused = 0x100C005E;
const bytes kMessage{'m', 'e', 's', 's', 'a', 'g', 'e'};

// A SHA-256 key of a published sample.
kcdsa_unit sample_key()
{
    return test::kcdsa_key(test::kcdsa_vectors("leading zero").back(), true);
}

TEST(Kcdsa, SignsWithEveryDigest)
{
    for (const auto id : {ZRC_SHA1, ZRC_SHA224, ZRC_SHA256, ZRC_SHA512, ZRC_MD5, ZRC_HAS160, ZRC_MDC2}) {
        const kcdsa_unit unit = sample_key();
        signature s;
        EXPECT_EQ(test::run_kcdsa(unit.get(), kSign, id, kMessage, s), 0U) << id;
        EXPECT_EQ(s.R_length, ZRC_Get_DIGEST_Length(id));
        EXPECT_EQ(test::run_kcdsa(unit.get(), kVerify, id, kMessage, s), 0U) << id;
        EXPECT_EQ(test::run_kcdsa(unit.get(), kVerify, id, {'m'}, s), kRefused);
        s.S[31] ^= 1;
        EXPECT_EQ(test::run_kcdsa(unit.get(), kVerify, id, kMessage, s), kRefused);
    }
}

TEST(Kcdsa, SIsNeverZeroAndItsLengthIsMadeEven)
{
    // In a group of 113 elements s = 0 comes about once in 113 signatures; k, R and s are drawn again.
    const kcdsa_unit tiny = test::kcdsa_key(of({227}), of({113}), of({4}), of({5}), nullptr),
                     zero = test::kcdsa_key(of({227}), of({113}), of({4}), of({113}), of({9})), // y is not looked at
        unit = test::kcdsa_key(of({201326809}), of({8388617}), of({16777216}), of({77777}), nullptr);
    signature s;
    for (int i = 0; i < 1000 / test::kShare; ++i) {
        ASSERT_EQ(test::run_kcdsa(tiny.get(), kSign, ZRC_SHA256, kMessage, s), 0U);
        EXPECT_TRUE(s.S[0] > 0 && s.S[0] < 113);
    }
    EXPECT_EQ(test::run_kcdsa(zero.get(), kSign, ZRC_SHA256, kMessage, s), 0x100B001DU) << "x = 0: s always is";
    std::set<std::pair<int, int>> lengths; // of s and as reported
    for (int i = 0; i < 20000 && !lengths.contains({2, 2}); ++i) {
        std::memset(s.S, 0xEE, sizeof s.S);
        ASSERT_EQ(ZRC_Init_KCDSA_Ex(unit.get(), kSign, ZRC_SHA256), 0U);
        ASSERT_EQ(ZRC_Final_KCDSA(unit.get(), s.R, &s.R_length, s.S, &s.S_length), 0U);
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
    const auto sign = [&](const bytes& message) { return test::run_kcdsa(unit.get(), kSign, ZRC_SHA256, message, s); };
    const auto verify = [&](const bytes& first, const bytes& second) {
        EXPECT_EQ(ZRC_Update_KCDSA(unit.get(), first.data(), std::int32_t(first.size())), 0U);
        return test::run_kcdsa(unit.get(), kVerify, ZRC_SHA256, second,
                               s); // Init leaves the digest where it is
    };
    ASSERT_EQ(sign({}), 0U);
    EXPECT_EQ(unit->z, nullptr) << "without Update neither message nor key is hashed";
    EXPECT_EQ(test::run_kcdsa(unit.get(), kVerify, ZRC_SHA256, {}, s), 0U);
    ASSERT_EQ(sign({'a', 'b', 'c'}), 0U);
    EXPECT_EQ(verify({'a', 'b', 'c'}, {}), 0U);
    EXPECT_EQ(verify({'a', 'b'}, {'c'}), kRefused);
    bytes joined(2 + 64 + 1); // a b z c
    joined[0] = 'a', joined[1] = 'b', joined[66] = 'c';
    ZRC_BIGINT_To_Binary_Unsigned(unit->z, &joined[66 - (ZRC_Get_BIGINT_Bits_Length(unit->z) + 7) / 8]);
    ASSERT_EQ(sign(joined), 0U);
    EXPECT_EQ(verify({'a', 'b'}, {'c'}), 0U);
}

TEST(Kcdsa, ADigestIsKeptUntilTheUnitIsCleaned)
{
    const kcdsa_unit owner = sample_key();
    ZRC_KCDSA_UNIT* const unit = owner.get();
    signature s;
    ZRC_Free(std::exchange(unit->random_input,
                           nullptr)); // Init makes another one where it is missing
    EXPECT_EQ(ZRC_Init_KCDSA(unit, kSign), 0U);
    EXPECT_EQ(unit->random_is_legacy, 1U);
    EXPECT_EQ(static_cast<ZRC_PRNG_UNIT*>(unit->random_input)->algorithm_id, ZRC_HAS160);
    EXPECT_EQ(ZRC_Init_KCDSA_Ex(unit, kSign, 77), 0U) << "the identifier is not looked at";
    EXPECT_EQ(test::run_kcdsa(unit, kSign, ZRC_SHA256, kMessage, s), 0U);
    EXPECT_EQ(s.R_length, 20) << "still HAS-160";
    EXPECT_EQ(ZRC_Set_KCDSA_Params(unit, unit->p, unit->q, unit->g, unit->x, nullptr), 0U) << "its own numbers";
    EXPECT_EQ(unit->random_is_legacy, 0U);
    EXPECT_EQ(static_cast<ZRC_DRBG_INPUT*>(unit->random_input)->level, 2U);
    EXPECT_EQ(test::run_kcdsa(unit, kSign, ZRC_SHA256, kMessage, s), 0U);
    EXPECT_EQ(s.R_length, 32);
    EXPECT_EQ(ZRC_Init_KCDSA(unit, kVerify), 0U);
    EXPECT_EQ(unit->digest->algorithm_id, ZRC_SHA256);

    ASSERT_EQ(ZRC_Init_DIGEST(unit->digest, ZRC_MDC2),
              0U); // by somebody else, with a block shorter than z
    EXPECT_EQ(ZRC_Update_KCDSA(unit, kMessage.data(), 7), 0x10090058U);
    ZRC_Free_BIGINT(std::exchange(unit->z, nullptr));
    ZRC_Clean_DIGEST_Unit(unit->digest); // lost, as it is without memory
    EXPECT_EQ(ZRC_Update_KCDSA(unit, kMessage.data(), 7), 0x1009005BU);
    EXPECT_EQ(ZRC_Sign_KCDSA(unit, s.R, &s.R_length, s.S, &s.S_length), 0x100B0018U);
    EXPECT_EQ(ZRC_Verify_KCDSA(unit, s.R, 32, s.S, 3), 0x100C0018U);
    ZRC_Clean_KCDSA(unit);
    EXPECT_TRUE(unit->pool && !unit->digest && !unit->p && !unit->q && !unit->g && !unit->x && !unit->y && !unit->z);
}

TEST(Kcdsa, LoadsKeysAndRefusesOthers)
{
    const bigint p = of({227}), q = of({113}), g = of({4}), x = of({5}), even = of({226}), one = of({1}), none;
    const kcdsa_unit same = test::kcdsa_key(p, q, g, x, none),
                     unit = test::kcdsa_key(of({227, 0}), of({113, 0, 0}), of({4, 0}), of({5, 0}), none);
    EXPECT_EQ(ZRC_Get_KCDSA_Length(unit.get()), 1U) << "zero words on top do not count";
    EXPECT_EQ(ZRC_Cmp_BIGINT(unit->y, same->y), 0);
    const auto set = [&](const bigint& new_p, const bigint& new_q, const bigint& new_g, const bigint& new_x) {
        return ZRC_Set_KCDSA_Params(unit.get(), new_p.get(), new_q.get(), new_g.get(), new_x.get(), nullptr);
    };
    EXPECT_EQ(set(p, q, g, none), 0U);
    EXPECT_TRUE(unit->p && !unit->y);
    EXPECT_EQ((codes{set(none, q, g, x), set(p, none, g, x), set(p, q, none, x), set(p, q, g, q), set(p, even, g, x),
                     set(even, q, g, x), set(one, q, g, x),
                     ZRC_Set_KCDSA_Params(nullptr, p.get(), q.get(), g.get(), nullptr, nullptr)}),
              (codes{0x1006002B, 0x1006002B, 0x1006002B, 0x10060059, 0x10060059, 0x040A003E, 0x040A003E, 0x10060049}));
    EXPECT_TRUE(!unit->p && !unit->x);
}

TEST(Kcdsa, RefusesMissingArguments)
{
    const kcdsa_unit fresh{ZRC_New_KCDSA()}, unit = sample_key();
    std::uint8_t buffer[64] = {};
    std::int32_t length = 32;
    ZRC_Clean_KCDSA(nullptr);
    const auto init = [](ZRC_KCDSA_UNIT* on, std::int32_t id) { return ZRC_Init_KCDSA_Ex(on, kSign, id); };
    const auto update = ZRC_Update_KCDSA;
    const auto verify = [&] { return ZRC_Verify_KCDSA(unit.get(), buffer, 32, buffer, 32); };
    const auto final = [&](ZRC_KCDSA_UNIT* on, int missing) {
        return ZRC_Final_KCDSA(on, missing == 1 ? nullptr : buffer, missing == 2 ? nullptr : &length,
                               missing == 3 ? nullptr : buffer, missing == 4 ? nullptr : &length);
    };
    EXPECT_EQ(ZRC_Get_KCDSA_Length(nullptr) + ZRC_Get_KCDSA_Length(fresh.get()), 0U);
    EXPECT_EQ((codes{ZRC_Init_KCDSA(nullptr, kSign), init(nullptr, ZRC_SHA256), init(fresh.get(), 77)}),
              (codes{0x10080049, 0x10070049, 0x10070022}));
    EXPECT_EQ((codes{update(nullptr, buffer, 1), update(unit.get(), buffer, 1), verify()}),
              (codes{0x10090049, 0x10090049, 0x100C0049}))
        << "no digest";
    ASSERT_EQ(init(fresh.get(), ZRC_SHA256) | init(unit.get(), ZRC_SHA256), 0U);
    EXPECT_EQ((codes{update(unit.get(), nullptr, 1), update(unit.get(), buffer, 0), update(unit.get(), buffer, -1)}),
              (codes(3, 0x10090049)));
    EXPECT_EQ(update(fresh.get(), buffer, 1), 0x10090059U) << "no y";
    EXPECT_EQ((codes{final(nullptr, 0), final(unit.get(), 1), final(unit.get(), 2), final(unit.get(), 3),
                     final(unit.get(), 4)}),
              (codes(5, 0x100A0049)));
    EXPECT_EQ(ZRC_Sign_KCDSA(unit.get(), nullptr, &length, buffer, &length), 0x100B0049U);
    EXPECT_EQ(ZRC_Verify_KCDSA(unit.get(), buffer, 32, nullptr, 32), 0x100C0049U);
    for (ZRC_BIGINT** number : {&unit->p, &unit->q, &unit->g, &unit->x, &unit->y}) {
        ZRC_BIGINT* const taken = std::exchange(*number, nullptr);
        EXPECT_TRUE(number == &unit->y || final(unit.get(), 0) == 0x100B0049);
        EXPECT_TRUE(number == &unit->x || verify() == 0x100C0049);
        *number = taken;
    }
}

TEST(Kcdsa, RefusesBadKeysAndSignatures)
{
    signature s;
    const kcdsa_unit even = test::kcdsa_key(of({226}), of({113}), of({4}), of({5}), of({1})),
                     one = test::kcdsa_key(of({227}), of({1}), of({4}), of({5}), of({1})), unit = sample_key();
    const auto sign = [&](const kcdsa_unit& with) {
        return test::run_kcdsa(with.get(), kSign, ZRC_SHA256, kMessage, s);
    };
    const auto verify = [&](const kcdsa_unit& with, std::int32_t R_length, std::int32_t S_length) {
        s.R_length = R_length, s.S_length = S_length;
        return test::run_kcdsa(with.get(), kVerify, ZRC_SHA256, kMessage, s);
    };
    EXPECT_EQ((codes{sign(even), sign(one), sign(unit)}), (codes{0x100B0040, 0x100B001D, 0}));
    for (const std::int32_t length : {-1, 0, 31, 33, 64})
        EXPECT_EQ(verify(unit, length, 32), kRefused) << "nothing of a short R is read";
    EXPECT_EQ((codes{verify(unit, 32, -1), verify(unit, 32, 0)}), (codes{0x100C0005, 0x100C0037}));
    std::memset(s.S, 0, 32);
    s.S[31] = 1;
    EXPECT_EQ((codes{verify(even, 32, 32), verify(unit, 32, 31)}), (codes{0x100C0040, 0x100C0037}));
    ZRC_BIGINT_To_Binary_Unsigned(unit->q, s.S);
    EXPECT_EQ(verify(unit, 32, 32), kRefused) << "q is not refused for its range";
    ++s.S[31];
    EXPECT_EQ(verify(unit, 32, 32), 0x100C000BU);
    while (ZRC_Start_BIGINT_Pool(unit->pool) == 0) {
    }
    EXPECT_EQ((codes{verify(unit, 32, 32), sign(unit)}), (codes{0x100C0059, 0x100B001B})) << "no room for a frame";

    // A power of 0 is hashed as nothing, which HAS-160 refuses.
    const kcdsa_unit zero = test::kcdsa_key(of({227}), of({113}), of({4}), nullptr, of({0}));
    EXPECT_EQ(ZRC_DIGEST(ZRC_SHA256, s.S, 0, s.R, nullptr), 0U);
    s.S[0] = 1;
    EXPECT_EQ(verify(zero, 32, 1), 0U);
    const kcdsa_unit refuses = test::kcdsa_key(of({227}), of({113}), of({4}), nullptr, of({0}));
    EXPECT_EQ(ZRC_Init_KCDSA(refuses.get(), kVerify), 0U);
    EXPECT_EQ(verify(refuses, 20, 1), 0x100C005BU);
}

TEST(Kcdsa, RefusesWhatCannotBeGenerated)
{
    const kcdsa_unit unit = sample_key();
    const bigint y{ZRC_Dup_BIGINT(unit->y)};
    for (const auto& [p, q] : {std::pair{504, 160}, {4104, 256}, {1024, 152}, {1024, 264}, {1025, 160}, {1024, 161}})
        EXPECT_EQ((codes{ZRC_Generate_KCDSA_Params_Ex(unit.get(), p, q, ZRC_SHA256),
                         ZRC_Generate_KCDSA_Params(unit.get(), p, q)}),
                  (codes{0x10010048, 0x10020048}));
    const std::uint8_t user[1] = {};
    const auto generate = ZRC_Generate_KCDSA_Key_Pair_Ex;
    EXPECT_EQ((codes{ZRC_Generate_KCDSA_Params_Ex(nullptr, 2048, 256, ZRC_SHA256),
                     ZRC_Generate_KCDSA_Params_Ex(unit.get(), 512, 160, 77),
                     ZRC_Generate_KCDSA_Params(nullptr, 512, 160), generate(nullptr, user, 1, ZRC_SHA256),
                     ZRC_Generate_KCDSA_Key_Pair(nullptr, user, 1), generate(unit.get(), nullptr, 1, ZRC_SHA256),
                     generate(unit.get(), user, -1, ZRC_SHA256), generate(unit.get(), user, 1, 77)}),
              (codes{0x10010049, 0x10010022, 0x10020049, 0x10040049, 0x10050049, 0x10040049, 0x1004002B, 0x10040022}));
    for (ZRC_BIGINT** number : {&unit->p, &unit->q, &unit->g}) {
        ZRC_BIGINT* const taken = std::exchange(*number, nullptr);
        EXPECT_EQ(generate(unit.get(), user, 1, ZRC_SHA256), 0x10040049U);
        *number = taken;
    }
    ASSERT_EQ(ZRC_Set_BIGINT_Bit(unit->q, 512), 0U);
    EXPECT_EQ(generate(unit.get(), user, 1, ZRC_SHA256), 0x10040048U);
    EXPECT_EQ(ZRC_Cmp_BIGINT(unit->y, y.get()), 0) << "the key is as it was";
    const auto generate_in = [&](std::uint32_t p, std::uint32_t q) {
        const kcdsa_unit domain = test::kcdsa_key(of({p}), of({q}), of({4}), of({5}), of({1}));
        return generate(domain.get(), user, 1, ZRC_SHA256);
    };
    EXPECT_EQ((codes{generate_in(227, 1), generate_in(227, 4), generate_in(226, 113)}),
              (codes{0x10040048, 0x10040041, 0x10040040}));
}

} // namespace
