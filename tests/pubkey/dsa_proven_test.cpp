// DSA and Diffie-Hellman in proven mode, in which a process begins.
#include "kestrim_crypto.h"
#include "tests/fresh_process.hpp"

#include <cstdint>
#include <gtest/gtest.h>

namespace {

TEST(GroupsProvenMode, AreRefused)
{
    test::in_a_fresh_process([] {
        ZRC_DSA_UNIT* const dsa = ZRC_New_DSA();
        for (const std::uint32_t operation : {0U, 1U})
            for (const std::int32_t id : {int{ZRC_SHA1}, int{ZRC_SHA256}, 77})
                EXPECT_EQ(ZRC_Init_DSA(dsa, operation, id), 0x0C0200F0U);
        EXPECT_EQ(ZRC_Init_DSA(nullptr, 1, ZRC_SHA256), 0x0C020049U);
        EXPECT_TRUE(dsa->proven == 1 && !dsa->digest);
        ZRC_Free_DSA(dsa);

        ZRC_DH_UNIT* const dh = ZRC_New_DH();
        const ZRC_BIGINT* const one = ZRC_Value_One_BIGINT();
        EXPECT_EQ(ZRC_Init_DH(dh), 0x200100F0U);
        EXPECT_EQ(ZRC_Init_DH_Params(dh, one, one, one), 0x200200F0U);
        EXPECT_EQ(ZRC_Init_DH_Params(dh, nullptr, nullptr, nullptr), 0x200200F0U);
        for (const std::int32_t source : {int{ZRC_DH_GENERATE}, int{ZRC_DH_PRECOMPUTED}, -1})
            EXPECT_EQ(ZRC_Generate_DH_Params(dh, 2048, 256, source), 0x200300F0U);
        EXPECT_EQ(ZRC_Init_DH(nullptr), 0x20010049U);
        EXPECT_TRUE(dh->proven == 1 && !dh->p);
        ZRC_Free_DH(dh);
    });
}

} // namespace
