// KCDSA in proven mode, in which a process begins: each case has one of its own.
#include "kestrim_crypto.h"
#include "tests/fresh_process.hpp"

#include <cstdint>
#include <cstring>
#include <gtest/gtest.h>

namespace {

constexpr std::uint32_t kVerify = 0, kSign = 1;
const std::uint8_t kMessage[3] = {'a', 'b', 'c'};

// 2 to the power of bits - 1: what proven mode asks of numbers is their length.
ZRC_BIGINT* of_bits(int bits)
{
    ZRC_BIGINT* const number = ZRC_New_BIGINT();
    EXPECT_EQ(ZRC_Set_BIGINT_Bit(number, bits - 1), 0U);
    return number;
}

ZRC_KCDSA_UNIT* key_of_bits(int x_bits, int y_bits)
{
    ZRC_KCDSA_UNIT* const unit = ZRC_New_KCDSA();
    ZRC_BIGINT *const p = of_bits(2048), *const q = of_bits(256), *const x = of_bits(x_bits),
                      *const y = of_bits(y_bits);
    EXPECT_EQ(ZRC_Set_KCDSA_Params(unit, p, q, p, x, y), 0U);
    for (ZRC_BIGINT* number : {p, q, x, y})
        ZRC_Free_BIGINT(number);
    return unit;
}

TEST(KcdsaProvenMode, KeysHaveTheirLeastLengths)
{
    test::in_a_fresh_process([] {
        ZRC_KCDSA_UNIT *const shorter = key_of_bits(208, 2032), *const longer = key_of_bits(209, 2033);
        for (const std::int32_t id : {ZRC_SHA224, ZRC_SHA256}) {
            EXPECT_EQ(ZRC_Init_KCDSA_Ex(shorter, kSign, id), 0x10070048U);
            EXPECT_EQ(ZRC_Init_KCDSA_Ex(shorter, kVerify, id), 0x10070048U);
            EXPECT_EQ(ZRC_Init_KCDSA_Ex(longer, kSign, id), 0U);
            EXPECT_EQ(ZRC_Init_KCDSA_Ex(longer, kVerify, id), 0U);
        }
        ZRC_KCDSA_UNIT* const fresh = ZRC_New_KCDSA();
        EXPECT_EQ(ZRC_Init_KCDSA_Ex(fresh, kSign, ZRC_SHA256), 0x10070048U);
        ZRC_Free_KCDSA(fresh);

        // A short key that comes after Init is found out by Final.
        std::uint8_t R[32] = {}, S[32] = {};
        std::int32_t length = 32;
        for (const std::uint32_t operation : {kSign, kVerify}) {
            ASSERT_EQ(ZRC_Init_KCDSA_Ex(longer, operation, ZRC_SHA256), 0U);
            ASSERT_EQ(ZRC_Set_KCDSA_Params(longer, shorter->p, shorter->q, shorter->g, shorter->x, shorter->y), 0U);
            EXPECT_EQ(ZRC_Final_KCDSA(longer, R, &length, S, &length), 0x100A0048U);
            ZRC_BIGINT *const x = of_bits(209), *const y = of_bits(2033);
            ASSERT_EQ(ZRC_Set_KCDSA_Params(longer, longer->p, longer->q, longer->g, x, y), 0U);
            ZRC_Free_BIGINT(x);
            ZRC_Free_BIGINT(y);
        }
        ZRC_Free_KCDSA(shorter);
        ZRC_Free_KCDSA(longer);
    });
}

TEST(KcdsaProvenMode, OtherDigestsAreRefused)
{
    test::in_a_fresh_process([] {
        ZRC_KCDSA_UNIT* const unit = key_of_bits(209, 2033);
        EXPECT_EQ(ZRC_Init_KCDSA(unit, kSign), 0x10080022U);
        for (int kept = 0; kept < 2; ++kept) {
            for (const std::int32_t id : {ZRC_SHA1, ZRC_SHA384, ZRC_SHA512, ZRC_MD5, ZRC_HAS160, ZRC_MDC2}) {
                EXPECT_EQ(ZRC_Init_KCDSA_Ex(unit, kVerify, id), 0x100700F0U);
                EXPECT_EQ(ZRC_Generate_KCDSA_Params_Ex(unit, 2048, 256, id), 0x100100F0U);
            }
            EXPECT_EQ(ZRC_Init_KCDSA_Ex(unit, kVerify, ZRC_SHA224), 0U);
        }
        EXPECT_EQ(ZRC_Init_KCDSA(unit, kSign), 0U) << "the digest that is there is an approved one";
        ZRC_Free_KCDSA(unit);
    });
}

TEST(KcdsaProvenMode, GeneratesInThreeSizesFromTheApprovedGenerator)
{
    test::in_a_fresh_process([] {
        ZRC_KCDSA_UNIT* const unit = ZRC_New_KCDSA();
        constexpr struct {
            std::int32_t p_bits, q_bits;
        } kSizes[] = {{1024, 160}, {2048, 160}, {2048, 232}, {3072, 224}, {2056, 256}, {4096, 256}};
        for (const auto& [p_bits, q_bits] : kSizes)
            EXPECT_EQ(ZRC_Generate_KCDSA_Params_Ex(unit, p_bits, q_bits, ZRC_SHA256), 0x10010048U);
        EXPECT_EQ(ZRC_Generate_KCDSA_Params(unit, 2048, 256), 0x10020025U);
        ASSERT_EQ(ZRC_Generate_KCDSA_Params_Ex(unit, 2048, 224, ZRC_SHA224), 0U);
        EXPECT_EQ(ZRC_Generate_KCDSA_Key_Pair(unit, kMessage, 3), 0x10050025U);
        EXPECT_EQ(ZRC_Generate_KCDSA_Key_Pair_Ex(unit, kMessage, 3, ZRC_HAS160), 0x10040022U);
        ASSERT_EQ(ZRC_Generate_KCDSA_Key_Pair_Ex(unit, kMessage, 3, ZRC_SHA224), 0U);

        std::uint8_t R[28], S[28];
        std::int32_t R_length = 0, S_length = 0;
        ASSERT_EQ(ZRC_Init_KCDSA_Ex(unit, kSign, ZRC_SHA224), 0U);
        ASSERT_EQ(ZRC_Update_KCDSA(unit, kMessage, 3), 0U);
        ASSERT_EQ(ZRC_Final_KCDSA(unit, R, &R_length, S, &S_length), 0U);
        ASSERT_EQ(ZRC_Init_KCDSA_Ex(unit, kVerify, ZRC_SHA224), 0U);
        ASSERT_EQ(ZRC_Update_KCDSA(unit, kMessage, 3), 0U);
        S_length = 28;
        EXPECT_EQ(ZRC_Final_KCDSA(unit, R, &R_length, S, &S_length), 0U);
        ZRC_Free_KCDSA(unit);
    });
}

} // namespace
