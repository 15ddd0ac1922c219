// The random generator in proven mode, in which a process begins: each case has one of its own.
#include "kestrim/digest.h"
#include "kestrim/drbg.h"
#include "tests/fresh_process.hpp"

#include <cstdint>
#include <gtest/gtest.h>

namespace {

constexpr std::int32_t kSha2[] = {ZRC_SHA224, ZRC_SHA256, ZRC_SHA384, ZRC_SHA512};
constexpr std::int32_t kRefused[] = {ZRC_SHA1, ZRC_HAS160, ZRC_MD5, 0};

TEST(DrbgProvenMode, UnitsTakeSha2Only)
{
    test::in_a_fresh_process([] {
        ZRC_DRBG_UNIT* unit = zrc_New_DRBG_Unit();
        std::uint8_t out[4] = {};
        for (const std::int32_t id : kSha2) {
            EXPECT_EQ(zrc_Init_DRBG(unit, id, 0, 0, 1), 0U);
            EXPECT_EQ(Hash_df(id, out, 4, out, 0), 0x0B08002BU);
        }
        for (const std::int32_t id : kRefused) {
            EXPECT_EQ(zrc_Init_DRBG(unit, id, 0, 0, 1), 0x0B0700F0U);
            EXPECT_EQ(zrc_Init_HashDRBG(unit, id), 0x0B0700F0U);
            EXPECT_EQ(Hash_df(id, out, 4, out, 4), 0x0B0800F0U);
        }
        zrc_Free_DRBG_Unit(unit);
    });
}

// The first request of a process runs the self-test before it takes the generator's lock.
TEST(DrbgProvenMode, RequestsAreAnsweredFromTheFirstOneOn)
{
    test::in_a_fresh_process([] {
        std::uint8_t out[16] = {};
        for (const std::int32_t id : kSha2)
            EXPECT_EQ(ZRC_Rand_Bytes_DRBG(out, 16, 0, id, 0), 0U);
        EXPECT_EQ(ZRC_Rand_Bytes(out, 16), 0U);
        EXPECT_EQ(ZRC_Rand_Bytes_DRBG(out, 16, 0, ZRC_SHA1, 0), 0x0B050063U);
    });
}

} // namespace
