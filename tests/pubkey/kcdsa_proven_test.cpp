// KCDSA in proven mode, in which a process begins.
#include "tests/fresh_process.hpp"
#include "tests/pubkey/signature_family.hpp"

namespace {

using namespace test;

// What proven mode asks of numbers is their length.
bigint of_bits(int bits)
{
    bigint number{ZRC_New_BIGINT()};
    EXPECT_EQ(ZRC_Set_BIGINT_Bit(number, bits - 1), 0U);
    return number;
}

kcdsa_unit key_of_bits(int x_bits, int y_bits)
{
    return group_key<kcdsa_unit>(of_bits(2048), of_bits(256), of_bits(2048), of_bits(x_bits), of_bits(y_bits));
}

TEST(KcdsaProvenMode, KeysHaveTheirLeastLengthsAndDigestsAreSha2)
{
    in_a_fresh_process([] {
        EXPECT_EQ(ZRC_Init_KCDSA_Ex(kcdsa_unit{ZRC_New_KCDSA()}, kSign, ZRC_SHA256), 0x10070048U);
        signature s{bytes(32), bytes(32)};
        for (const std::uint32_t operation : {kSign, kVerify}) {
            const kcdsa_unit shorter = key_of_bits(208, 2032), longer = key_of_bits(209, 2033);
            EXPECT_EQ(ZRC_Init_KCDSA_Ex(shorter, operation, ZRC_SHA224), 0x10070048U);
            EXPECT_EQ(ZRC_Init_KCDSA(longer, operation), 0x10080022U);
            for (const std::int32_t approved : {ZRC_SHA256, ZRC_SHA224}) {
                for (const auto id : {ZRC_SHA1, ZRC_SHA384, ZRC_SHA512, ZRC_MD5, ZRC_HAS160, ZRC_MDC2}) {
                    EXPECT_EQ(ZRC_Init_KCDSA_Ex(longer, operation, id), 0x100700F0U);
                    EXPECT_EQ(ZRC_Generate_KCDSA_Params_Ex(longer, 2048, 256, id), 0x100100F0U);
                }
                EXPECT_EQ(ZRC_Init_KCDSA_Ex(longer, operation, approved), 0U);
            }
            EXPECT_EQ(ZRC_Init_KCDSA(longer, operation), 0U) << "the digest that is there is an approved one";
            // A short key that comes after Init is found out by Final.
            ASSERT_EQ(ZRC_Set_KCDSA_Params(longer, shorter->p, shorter->q, shorter->g, shorter->x, shorter->y), 0U);
            EXPECT_EQ(ZRC_Final_KCDSA(longer, s.R.data(), &s.R_length, s.S.data(), &s.S_length), 0x100A0048U);
        }
    });
}

TEST(KcdsaProvenMode, GeneratesInThreeSizesFromTheApprovedGenerator)
{
    in_a_fresh_process([] {
        const kcdsa_unit unit{ZRC_New_KCDSA()};
        for (const auto& [p, q] :
             {std::pair{1024, 160}, {2048, 160}, {2048, 232}, {3072, 224}, {2056, 256}, {4096, 256}})
            EXPECT_EQ(ZRC_Generate_KCDSA_Params_Ex(unit, p, q, ZRC_SHA256), 0x10010048U);
        EXPECT_EQ(ZRC_Generate_KCDSA_Params(unit, 2048, 256), 0x10020025U);
        ASSERT_EQ(ZRC_Generate_KCDSA_Params_Ex(unit, 2048, 224, ZRC_SHA224), 0U);
        EXPECT_EQ(ZRC_Generate_KCDSA_Key_Pair(unit, nullptr, 0), 0x10050025U);
        EXPECT_EQ(ZRC_Generate_KCDSA_Key_Pair_Ex(unit, nullptr, 0, ZRC_HAS160), 0x10040022U);
        EXPECT_EQ(ZRC_Generate_KCDSA_Key_Pair_Ex(unit, nullptr, 0, ZRC_SHA224), 0U);
        EXPECT_EQ(ZRC_Init_KCDSA_Ex(unit, kSign, ZRC_SHA224), 0U);
    });
}

} // namespace
