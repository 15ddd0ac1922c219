// KCDSA through the public interface, in non-proven mode.
#include "kestrim_crypto.h"
#include "tests/pubkey/kcdsa_fixture.hpp"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <gtest/gtest.h>
#include <set>
#include <utility>

namespace {

using test::bigint;
using test::bytes;
using test::kcdsa_unit;
using test::signature;

constexpr std::uint32_t kVerify = 0, kSign = 1;
const bytes kMessage{'m', 'e', 's', 's', 'a', 'g', 'e'};

bytes text(const char* characters)
{
    return {characters, characters + std::strlen(characters)};
}

signature of_values(const bytes& R, const bytes& S)
{
    signature s;
    s.R_length = std::int32_t(R.size());
    s.S_length = std::int32_t(S.size());
    std::ranges::copy(R, s.R);
    std::ranges::copy(S, s.S);
    return s;
}

// A SHA-256 key of a published sample.
kcdsa_unit sample_key()
{
    return test::kcdsa_key(test::kcdsa_vectors("leading zero").back(), true, false);
}

bool is_cut(const test::stanza& values)
{
    return values["R"].size() != std::size_t(ZRC_Get_DIGEST_Length(test::digest_of(values)));
}

TEST(Kcdsa, VerifiesPublishedSignatures)
{
    for (const char* section : {"signatures", "verifications"}) {
        for (const test::stanza& values : test::kcdsa_vectors(section)) {
            SCOPED_TRACE(values.place);
            const bool good = values.values.count("result") == 0 || values["result"] == bytes{0};
            const kcdsa_unit unit = test::kcdsa_key(values, false, true);
            signature s = of_values(values["R"], values["s"]);
            const std::uint32_t code = test::run_kcdsa(unit.get(), kVerify, test::digest_of(values), values["msg"], s);
            EXPECT_EQ(code == 0, good && !is_cut(values)) << std::hex << code;
            if (is_cut(values)) {
                EXPECT_EQ(code, 0x100C005EU) << "R is not cut to the length of q";
            }
        }
    }
}

TEST(Kcdsa, HashesThePowerWithoutLeadingZeroBytes)
{
    for (const test::stanza& values : test::kcdsa_vectors("leading zero")) {
        SCOPED_TRACE(values.place);
        const kcdsa_unit unit = test::kcdsa_key(values, false, true);
        const std::int32_t digest = test::digest_of(values);
        signature stripped = of_values(values["R_stripped"], values["s_stripped"]);
        EXPECT_EQ(test::run_kcdsa(unit.get(), kVerify, digest, values["msg"], stripped), 0U);
        signature whole = of_values(values["R"], values["s"]);
        EXPECT_EQ(test::run_kcdsa(unit.get(), kVerify, digest, values["msg"], whole), 0x100C005EU);
    }
}

TEST(Kcdsa, SignsWithEveryDigestAndSize)
{
    const auto keys = test::kcdsa_vectors("domain parameters");
    for (const test::stanza& values : keys) {
        for (const std::int32_t digest :
             {ZRC_SHA1, ZRC_SHA224, ZRC_SHA256, ZRC_SHA512, ZRC_MD5, ZRC_HAS160, ZRC_MDC2}) {
            if (&values != &keys.front() && digest != test::digest_of(values)) continue;
            SCOPED_TRACE(digest);
            const kcdsa_unit signer = test::kcdsa_key(values, true, false);
            const kcdsa_unit verifier = test::kcdsa_key(values, false, true);
            EXPECT_EQ(ZRC_Cmp_BIGINT(signer->y, verifier->y), 0);
            signature s;
            ASSERT_EQ(test::run_kcdsa(signer.get(), kSign, digest, kMessage, s), 0U);
            EXPECT_EQ(s.R_length, ZRC_Get_DIGEST_Length(digest));
            EXPECT_EQ(test::run_kcdsa(verifier.get(), kVerify, digest, kMessage, s), 0U);
            EXPECT_EQ(test::run_kcdsa(verifier.get(), kVerify, digest, text("massage"), s), 0x100C005EU);
            s.S[s.S_length - 1] ^= 1;
            EXPECT_EQ(test::run_kcdsa(verifier.get(), kVerify, digest, kMessage, s), 0x100C005EU);
        }
    }
}

// In a group of 113 elements, s = 0 comes about once in 113 signatures, and k, R and s are drawn again.
TEST(Kcdsa, NeverSignsWithAnSOfZero)
{
    const kcdsa_unit unit = test::kcdsa_key(test::kTinyGroup, 5);
    for (int i = 0; i < 1000 / test::kShare; ++i) {
        signature s;
        ASSERT_EQ(test::run_kcdsa(unit.get(), kSign, ZRC_SHA256, kMessage, s), 0U);
        EXPECT_TRUE(s.S[0] > 0 && s.S[0] < 113);
        ASSERT_EQ(test::run_kcdsa(unit.get(), kVerify, ZRC_SHA256, kMessage, s), 0U);
    }
    const kcdsa_unit zero = test::kcdsa_key(test::kTinyGroup, 5);
    ASSERT_EQ(ZRC_Set_KCDSA_Params(zero.get(), unit->p, unit->q, unit->g, test::of({113}).get(), unit->y), 0U)
        << "y is not looked at";
    signature s;
    EXPECT_EQ(test::run_kcdsa(zero.get(), kSign, ZRC_SHA256, kMessage, s), 0x100B001DU) << "x = 0: s always is";
}

TEST(Kcdsa, ReportsTheLengthOfSMadeEven)
{
    const kcdsa_unit unit = test::kcdsa_key(test::kSmallGroup, 77777);
    ASSERT_EQ(ZRC_Get_KCDSA_Length(unit.get()), 3U);
    std::set<std::pair<int, int>> lengths; // of s and as reported
    for (int i = 0; i < 20000 && !lengths.contains({2, 2}); ++i) {
        signature s;
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
    ASSERT_EQ(test::run_kcdsa(unit.get(), kSign, ZRC_SHA256, text("abc"), s), 0U);
    const auto verify = [&](const std::vector<bytes>& pieces) {
        EXPECT_EQ(ZRC_Init_KCDSA_Ex(unit.get(), kVerify, ZRC_SHA256), 0U);
        for (const bytes& piece : pieces)
            EXPECT_EQ(ZRC_Update_KCDSA(unit.get(), piece.data(), std::int32_t(piece.size())), 0U);
        return ZRC_Final_KCDSA(unit.get(), s.R, &s.R_length, s.S, &s.S_length);
    };
    EXPECT_EQ(verify({text("abc")}), 0U);
    EXPECT_EQ(verify({text("ab"), text("c")}), 0x100C005EU);

    bytes z(64), joined = text("ab");
    ZRC_BIGINT_To_Binary_Unsigned(unit->z, z.data() + 64 - (ZRC_Get_BIGINT_Bits_Length(unit->z) + 7) / 8);
    joined.insert(joined.end(), z.begin(), z.end());
    joined.push_back('c');
    ASSERT_EQ(test::run_kcdsa(unit.get(), kSign, ZRC_SHA256, joined, s), 0U);
    EXPECT_EQ(verify({text("ab"), text("c")}), 0U);

    // Init leaves the digest where it is.
    ASSERT_EQ(ZRC_Update_KCDSA(unit.get(), joined.data(), 2), 0U);
    EXPECT_EQ(verify({text("c")}), 0U);
}

TEST(Kcdsa, WithoutUpdateNeitherMessageNorKeyIsHashed)
{
    const kcdsa_unit unit = sample_key();
    signature s;
    ASSERT_EQ(test::run_kcdsa(unit.get(), kSign, ZRC_SHA256, {}, s), 0U);
    EXPECT_EQ(unit->z, nullptr);
    EXPECT_EQ(test::run_kcdsa(unit.get(), kVerify, ZRC_SHA256, {}, s), 0U);
}

TEST(Kcdsa, AnSEqualToQIsNotRefusedForItsRange)
{
    const kcdsa_unit unit = sample_key();
    bytes S(32);
    ZRC_BIGINT_To_Binary_Unsigned(unit->q, S.data());
    signature s = of_values(bytes(32), S);
    EXPECT_EQ(test::run_kcdsa(unit.get(), kVerify, ZRC_SHA256, kMessage, s), 0x100C005EU);
    ++s.S[31];
    EXPECT_EQ(test::run_kcdsa(unit.get(), kVerify, ZRC_SHA256, kMessage, s), 0x100C000BU);
}

TEST(Kcdsa, ADigestIsKeptUntilTheUnitIsCleaned)
{
    const kcdsa_unit unit = sample_key();
    signature s;
    ASSERT_EQ(ZRC_Init_KCDSA(unit.get(), kSign), 0U);
    EXPECT_EQ(ZRC_Init_KCDSA_Ex(unit.get(), kSign, 77), 0U) << "the identifier is not looked at";
    ASSERT_EQ(test::run_kcdsa(unit.get(), kSign, ZRC_SHA256, kMessage, s), 0U);
    EXPECT_EQ(s.R_length, 20) << "still HAS-160";
    EXPECT_EQ(test::run_kcdsa(unit.get(), kVerify, ZRC_SHA256, kMessage, s), 0U);

    ASSERT_EQ(ZRC_Set_KCDSA_Params(unit.get(), unit->p, unit->q, unit->g, unit->x, nullptr), 0U) << "its own numbers";
    ASSERT_EQ(test::run_kcdsa(unit.get(), kSign, ZRC_SHA256, kMessage, s), 0U);
    EXPECT_EQ(s.R_length, 32);
    EXPECT_EQ(ZRC_Init_KCDSA(unit.get(), kVerify), 0U);
    EXPECT_EQ(unit->digest->algorithm_id, ZRC_SHA256);
}

// The units that callers get always have a source, so a unit is made to lack it.
TEST(Kcdsa, TheOlderInitMakesALegacyGeneratorAndCleanReplacesIt)
{
    const kcdsa_unit unit = sample_key();
    ZRC_Free(std::exchange(unit->random_input, nullptr));
    ASSERT_EQ(ZRC_Init_KCDSA(unit.get(), kSign), 0U);
    ASSERT_EQ(unit->random_is_legacy, 1U);
    EXPECT_EQ(static_cast<ZRC_PRNG_UNIT*>(unit->random_input)->algorithm_id, ZRC_HAS160);
    ZRC_Clean_KCDSA(unit.get());
    EXPECT_EQ(unit->random_is_legacy, 0U);
    ASSERT_NE(unit->random_input, nullptr);
    EXPECT_EQ(static_cast<ZRC_DRBG_INPUT*>(unit->random_input)->level, 2U);
    EXPECT_NE(unit->pool, nullptr);
    EXPECT_TRUE(!unit->digest && !unit->p && !unit->q && !unit->g && !unit->x && !unit->y);
}

TEST(Kcdsa, LoadsNumbersWithZeroWordsOnTop)
{
    const kcdsa_unit unit{ZRC_New_KCDSA()};
    ASSERT_EQ(ZRC_Set_KCDSA_Params(unit.get(), test::of({227, 0}).get(), test::of({113, 0, 0}).get(),
                                   test::of({4, 0}).get(), test::of({5, 0}).get(), nullptr),
              0U);
    EXPECT_EQ(ZRC_Get_KCDSA_Length(unit.get()), 1U);
    EXPECT_EQ(ZRC_Cmp_BIGINT(unit->y, test::kcdsa_key(test::kTinyGroup, 5)->y), 0);
}

TEST(Kcdsa, RefusesWhatCannotBeLoaded)
{
    const kcdsa_unit unit = sample_key();
    const bigint p = test::of({227}), q = test::of({113}), g = test::of({4}), x = test::of({5}), even = test::of({226}),
                 one = test::of({1});
    const auto set = [&](const bigint& new_p, const bigint& new_q, const bigint& new_g, const bigint& new_x) {
        const std::uint32_t code =
            ZRC_Set_KCDSA_Params(unit.get(), new_p.get(), new_q.get(), new_g.get(), new_x.get(), nullptr);
        EXPECT_EQ(code == 0, unit->p != nullptr);
        return code;
    };
    EXPECT_EQ(set(p, q, g, nullptr), 0U);
    EXPECT_EQ(unit->y, nullptr);
    EXPECT_EQ(set(nullptr, q, g, x), 0x1006002BU);
    EXPECT_EQ(set(p, nullptr, g, x), 0x1006002BU);
    EXPECT_EQ(set(p, q, nullptr, x), 0x1006002BU);
    EXPECT_EQ(set(p, q, g, q), 0x10060059U);
    EXPECT_EQ(set(p, even, g, x), 0x10060059U);
    EXPECT_EQ(set(even, q, g, x), 0x040A003EU);
    EXPECT_EQ(set(one, q, g, x), 0x040A003EU);
    EXPECT_EQ(ZRC_Set_KCDSA_Params(nullptr, p.get(), q.get(), g.get(), nullptr, nullptr), 0x10060049U);
}

TEST(Kcdsa, RefusesMissingArguments)
{
    const kcdsa_unit fresh{ZRC_New_KCDSA()};
    std::uint8_t buffer[64] = {};
    std::int32_t length = 32;
    EXPECT_EQ(ZRC_Init_KCDSA(nullptr, kSign), 0x10080049U);
    EXPECT_EQ(ZRC_Init_KCDSA_Ex(nullptr, kSign, ZRC_SHA256), 0x10070049U);
    EXPECT_EQ(ZRC_Init_KCDSA_Ex(fresh.get(), kSign, 77), 0x10070022U);
    EXPECT_EQ(fresh->digest, nullptr);
    EXPECT_EQ(ZRC_Get_KCDSA_Length(nullptr), 0U);
    EXPECT_EQ(ZRC_Get_KCDSA_Length(fresh.get()), 0U);
    EXPECT_EQ(ZRC_Update_KCDSA(nullptr, buffer, 1), 0x10090049U);
    EXPECT_EQ(ZRC_Update_KCDSA(fresh.get(), buffer, 1), 0x10090049U) << "no digest";
    ASSERT_EQ(ZRC_Init_KCDSA_Ex(fresh.get(), kSign, ZRC_SHA256), 0U);
    EXPECT_EQ(ZRC_Update_KCDSA(fresh.get(), nullptr, 1), 0x10090049U);
    EXPECT_EQ(ZRC_Update_KCDSA(fresh.get(), buffer, 0), 0x10090049U);
    EXPECT_EQ(ZRC_Update_KCDSA(fresh.get(), buffer, -1), 0x10090049U);
    EXPECT_EQ(ZRC_Update_KCDSA(fresh.get(), buffer, 1), 0x10090059U) << "no y";
    EXPECT_EQ(ZRC_Final_KCDSA(fresh.get(), buffer, &length, buffer, &length), 0x100B0049U) << "no key";
    EXPECT_EQ(ZRC_Verify_KCDSA(fresh.get(), buffer, 32, buffer, 32), 0x100C0049U);
    ZRC_Clean_KCDSA(nullptr);
    ZRC_Free_KCDSA(nullptr);

    const kcdsa_unit unit = sample_key();
    const auto final = [&](ZRC_KCDSA_UNIT* on, int missing) {
        return ZRC_Final_KCDSA(on, missing == 1 ? nullptr : buffer, missing == 2 ? nullptr : &length,
                               missing == 3 ? nullptr : buffer, missing == 4 ? nullptr : &length);
    };
    EXPECT_EQ(final(nullptr, 0), 0x100A0049U);
    EXPECT_EQ(final(unit.get(), 0), 0x100C0049U) << "no digest";
    ASSERT_EQ(ZRC_Init_KCDSA_Ex(unit.get(), kSign, ZRC_SHA256), 0U);
    for (int missing = 1; missing <= 4; ++missing)
        EXPECT_EQ(final(unit.get(), missing), 0x100A0049U);
    EXPECT_EQ(ZRC_Sign_KCDSA(unit.get(), nullptr, &length, buffer, &length), 0x100B0049U);
    EXPECT_EQ(ZRC_Verify_KCDSA(unit.get(), buffer, 32, nullptr, 32), 0x100C0049U);

    for (ZRC_BIGINT** number : {&unit->p, &unit->q, &unit->g, &unit->x}) {
        ZRC_BIGINT* const taken = std::exchange(*number, nullptr);
        EXPECT_EQ(final(unit.get(), 0), 0x100B0049U);
        *number = taken;
    }
}

TEST(Kcdsa, RefusesBadKeysAndSignatures)
{
    signature s;
    const kcdsa_unit even = test::kcdsa_key({226, 113, 4}, 5, true);
    EXPECT_EQ(test::run_kcdsa(even.get(), kSign, ZRC_SHA256, kMessage, s), 0x100B0040U);
    const kcdsa_unit one = test::kcdsa_key({227, 1, 4}, 5, true);
    EXPECT_EQ(test::run_kcdsa(one.get(), kSign, ZRC_SHA256, kMessage, s), 0x100B001DU);

    const kcdsa_unit unit = sample_key();
    ASSERT_EQ(test::run_kcdsa(unit.get(), kSign, ZRC_SHA256, kMessage, s), 0U);
    const auto verify = [&](ZRC_KCDSA_UNIT* with, std::int32_t R_length, std::int32_t S_length) {
        EXPECT_EQ(ZRC_Init_KCDSA_Ex(with, kVerify, ZRC_SHA256), 0U);
        EXPECT_EQ(ZRC_Update_KCDSA(with, kMessage.data(), std::int32_t(kMessage.size())), 0U);
        return ZRC_Verify_KCDSA(with, s.R, R_length, s.S, S_length);
    };
    EXPECT_EQ(verify(unit.get(), 32, 32), 0U);
    for (const std::int32_t length : {-1, 0, 31, 33, 64})
        EXPECT_EQ(verify(unit.get(), length, 32), 0x100C005EU) << "nothing of a short R is read";
    EXPECT_EQ(verify(unit.get(), 32, -1), 0x100C0005U);
    EXPECT_EQ(verify(unit.get(), 32, 0), 0x100C0037U);
    EXPECT_EQ(verify(even.get(), 32, 1), s.S[0] == 0 ? 0x100C0037U : s.S[0] > 113 ? 0x100C000BU : 0x100C0040U);
    std::memset(s.S, 0, 32);
    EXPECT_EQ(verify(unit.get(), 32, 32), 0x100C0037U);
    s.S[31] = 1;
    EXPECT_EQ(verify(even.get(), 32, 32), 0x100C0040U);

    while (ZRC_Start_BIGINT_Pool(unit->pool) == 0) {
    }
    EXPECT_EQ(verify(unit.get(), 32, 32), 0x100C0059U) << "no room for a frame";
    EXPECT_EQ(test::run_kcdsa(unit.get(), kSign, ZRC_SHA256, kMessage, s), 0x100B001BU);
}

TEST(Kcdsa, APowerOfZeroIsHashedAsNothing)
{
    const kcdsa_unit unit = test::kcdsa_key({227, 113, 4}, 5, true);
    ASSERT_EQ(ZRC_Set_BIGINT_Word(unit->y, 0), 0U);
    signature s = of_values(bytes(32), {1});
    EXPECT_EQ(ZRC_DIGEST(ZRC_SHA256, s.S, 0, s.R, nullptr), 0U);
    EXPECT_EQ(test::run_kcdsa(unit.get(), kVerify, ZRC_SHA256, kMessage, s), 0U);
    ASSERT_EQ(ZRC_Set_KCDSA_Params(unit.get(), unit->p, unit->q, unit->g, nullptr, unit->y), 0U);
    s.R_length = 20;
    EXPECT_EQ(test::run_kcdsa(unit.get(), kVerify, ZRC_HAS160, kMessage, s), 0x100C005BU);
}

TEST(Kcdsa, GeneratesParametersAndKeysInBothForms)
{
    const kcdsa_unit unit{ZRC_New_KCDSA()}, older{ZRC_New_KCDSA()};
    const bytes user = text("user input");
    ASSERT_EQ(ZRC_Generate_KCDSA_Params_Ex(unit.get(), 512, 168, ZRC_SHA256), 0U);
    ASSERT_EQ(ZRC_Generate_KCDSA_Params(older.get(), 520, 160), 0U);
    EXPECT_EQ(unit->seed_length, 21);
    EXPECT_NE(std::memcmp(unit->seed, older->seed, 20), 0);
    ASSERT_EQ(ZRC_Generate_KCDSA_Key_Pair_Ex(unit.get(), user.data(), 10, ZRC_SHA256), 0U);
    ASSERT_EQ(ZRC_Generate_KCDSA_Key_Pair(older.get(), nullptr, 0), 0U);
    for (const kcdsa_unit* each : {&unit, &older}) {
        ZRC_KCDSA_UNIT& key = **each;
        const bigint x{ZRC_Dup_BIGINT(key.x)}, y{ZRC_Dup_BIGINT(key.y)};
        EXPECT_TRUE(x->length > 0 && ZRC_Cmp_BIGINT(key.x, key.q) < 0);
        ASSERT_EQ(ZRC_Update_KCDSA(&key, kMessage.data(), 7), 0x10090049U);
        signature s;
        ASSERT_EQ(test::run_kcdsa(&key, kSign, ZRC_SHA1, kMessage, s), 0U);
        EXPECT_EQ(test::run_kcdsa(&key, kVerify, ZRC_SHA1, kMessage, s), 0U);

        const kcdsa_unit loaded{ZRC_New_KCDSA()};
        ASSERT_EQ(ZRC_Set_KCDSA_Params(loaded.get(), key.p, key.q, key.g, x.get(), nullptr), 0U);
        EXPECT_EQ(ZRC_Cmp_BIGINT(loaded->y, y.get()), 0);
        EXPECT_EQ(loaded->J, nullptr);

        ASSERT_EQ(ZRC_Generate_KCDSA_Key_Pair_Ex(&key, nullptr, 0, ZRC_SHA512), 0U);
        EXPECT_NE(ZRC_Cmp_BIGINT(x.get(), key.x), 0);
        EXPECT_EQ(key.z, nullptr) << "it was of the old y";
        EXPECT_EQ(test::run_kcdsa(&key, kVerify, ZRC_SHA1, kMessage, s), 0x100C005EU);
    }
}

TEST(Kcdsa, RefusesWhatCannotBeGenerated)
{
    const kcdsa_unit unit = sample_key();
    const bigint y{ZRC_Dup_BIGINT(unit->y)};
    EXPECT_EQ(ZRC_Generate_KCDSA_Params_Ex(nullptr, 2048, 256, ZRC_SHA256), 0x10010049U);
    EXPECT_EQ(ZRC_Generate_KCDSA_Params(nullptr, 1024, 160), 0x10020049U);
    EXPECT_EQ(ZRC_Generate_KCDSA_Params_Ex(unit.get(), 512, 160, 77), 0x10010022U);
    constexpr struct {
        std::int32_t p_bits, q_bits;
    } kSizes[] = {{504, 160}, {4104, 256}, {1024, 152}, {1024, 264}, {1025, 160}, {1024, 161}, {-8, -8}, {0, 0}};
    for (const auto& [p_bits, q_bits] : kSizes) {
        EXPECT_EQ(ZRC_Generate_KCDSA_Params_Ex(unit.get(), p_bits, q_bits, ZRC_SHA256), 0x10010048U);
        EXPECT_EQ(ZRC_Generate_KCDSA_Params(unit.get(), p_bits, q_bits), 0x10020048U);
    }

    std::uint8_t user[1] = {};
    EXPECT_EQ(ZRC_Generate_KCDSA_Key_Pair_Ex(nullptr, user, 1, ZRC_SHA256), 0x10040049U);
    EXPECT_EQ(ZRC_Generate_KCDSA_Key_Pair(nullptr, user, 1), 0x10050049U);
    EXPECT_EQ(ZRC_Generate_KCDSA_Key_Pair_Ex(unit.get(), nullptr, 1, ZRC_SHA256), 0x10040049U);
    EXPECT_EQ(ZRC_Generate_KCDSA_Key_Pair_Ex(unit.get(), user, -1, ZRC_SHA256), 0x1004002BU);
    EXPECT_EQ(ZRC_Generate_KCDSA_Key_Pair_Ex(unit.get(), user, 1, 77), 0x10040022U);
    EXPECT_EQ(ZRC_Cmp_BIGINT(unit->y, y.get()), 0) << "the key is as it was";
    for (ZRC_BIGINT** number : {&unit->p, &unit->q, &unit->g}) {
        ZRC_BIGINT* const taken = std::exchange(*number, nullptr);
        EXPECT_EQ(ZRC_Generate_KCDSA_Key_Pair_Ex(unit.get(), user, 1, ZRC_SHA256), 0x10040049U);
        *number = taken;
    }

    constexpr struct {
        std::uint32_t p, q, code;
    } kDomains[] = {{227, 1, 0x10040048}, {227, 4, 0x10040041}, {226, 113, 0x10040040}};
    for (const auto& [p, q, code] : kDomains) {
        const kcdsa_unit odd = test::kcdsa_key({p, q, 4}, 5, true);
        EXPECT_EQ(ZRC_Generate_KCDSA_Key_Pair_Ex(odd.get(), user, 1, ZRC_SHA256), code);
    }
    ASSERT_EQ(ZRC_Set_BIGINT_Bit(unit->q, 512), 0U);
    EXPECT_EQ(ZRC_Generate_KCDSA_Key_Pair_Ex(unit.get(), user, 1, ZRC_SHA256), 0x10040048U);
}

} // namespace
