// ECDSA in proven mode, in which a process begins.
#include "kestrim/ecdsa.h"
#include "kestrim_crypto.h"
#include "tests/fresh_process.hpp"

#include <cstdint>
#include <gtest/gtest.h>

namespace {

TEST(EcdsaProvenMode, IsRefused)
{
    test::in_a_fresh_process([] {
        ZRC_ECDSA_UNIT* const unit = ZRC_New_ECDSA();
        for (const std::uint32_t operation : {0U, 1U})
            for (const std::int32_t id : {int{ZRC_SHA1}, int{ZRC_SHA256}, 77})
                EXPECT_EQ(ZRC_Init_ECDSA(unit, operation, id), 0x210100F0U);
        EXPECT_EQ(ZRC_Init_ECDSA(nullptr, 1, ZRC_SHA256), 0x21010049U);
        EXPECT_TRUE(unit->proven == 1 && !unit->digest);
        ZRC_Free_ECDSA(unit);
    });
}

TEST(EcdsaProvenMode, IsServedWithoutIt)
{
    test::in_a_fresh_process([] {
        ASSERT_EQ(ZRC_Change_Non_Proven_Mode(), 0U);
        ZRC_ECDSA_UNIT* const unit = ZRC_New_ECDSA();
        EXPECT_EQ(ZRC_Init_ECDSA(unit, 1, ZRC_SHA256), 0U);
        EXPECT_EQ(unit->proven, 0);
        ZRC_Free_ECDSA(unit);
    });
}

} // namespace
