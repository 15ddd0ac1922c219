// The RSA encodings in proven mode, in which a process begins.
#include "kestrim_crypto.h"
#include "tests/fresh_process.hpp"

#include <cstdint>
#include <cstring>
#include <gtest/gtest.h>

namespace {

// Schemes that are allowed fall back to SHA-1 for their masks: with 0x00200300, for instance, in place of a digest.
TEST(RsaPaddingProvenMode, Mgf1TakesDigestsThatAreRefusedElsewhere)
{
    test::in_a_fresh_process([] {
        constexpr std::uint8_t kSeed[] = {'f', 'o', 'o'};
        std::uint8_t mask[32], fallback[32];
        for (const std::int32_t id : {ZRC_SHA1, ZRC_MD5, ZRC_HAS160, ZRC_SHA224, ZRC_SHA512}) {
            EXPECT_EQ(PKCS1_MGF1(mask, 32, kSeed, 3, id), 0U);
        }
        EXPECT_EQ(PKCS1_MGF1(mask, 32, kSeed, 3, ZRC_SHA1), 0U);
        EXPECT_EQ(std::memcmp(mask, "\x1A\xC9\x07\x5C\xD4", 5), 0);
        EXPECT_EQ(PKCS1_MGF1(fallback, 32, kSeed, 3, 0x00200300), 0U);
        EXPECT_EQ(std::memcmp(mask, fallback, 32), 0);
        EXPECT_EQ(PKCS1_MGF1(mask, 32, kSeed, 3, ZRC_MDC2), 0x0A0400F0U);

        ZRC_DIGEST_UNIT* digest = ZRC_New_DIGEST_Unit();
        EXPECT_EQ(ZRC_Init_DIGEST(digest, ZRC_SHA1), 0x0A010059U);
        ZRC_Free_DIGEST_Unit(digest);
    });
}

} // namespace
