// DSA, ECDSA and Diffie-Hellman in proven mode, in which a process begins.
#include "tests/fresh_process.hpp"
#include "tests/pubkey/signature_family.hpp"

namespace {

using namespace test;

template <class Owned>
void expect_refusal()
{
    const auto& family = kFamily<Owned>;
    const Owned unit{family.make()};
    for (const std::uint32_t operation : {kVerify, kSign})
        for (const std::int32_t id : {int{ZRC_SHA1}, int{ZRC_SHA256}, 77})
            EXPECT_EQ(family.init(unit, operation, id), family.in_init | 0xF0);
    EXPECT_EQ(family.init(nullptr, kSign, ZRC_SHA256), family.in_init | ZRC_ERR_NULL_INPUT);
    EXPECT_TRUE(unit->proven == 1 && !unit->digest);
}

TEST(GroupsProvenMode, AreRefused)
{
    in_a_fresh_process([] {
        expect_refusal<dsa_unit>();
        expect_refusal<ecdsa_unit>();

        const owned<ZRC_DH_UNIT, ZRC_Free_DH> dh{ZRC_New_DH()};
        const ZRC_BIGINT* const one = ZRC_Value_One_BIGINT();
        EXPECT_EQ(ZRC_Init_DH(dh), 0x200100F0U);
        EXPECT_EQ(ZRC_Init_DH(nullptr), 0x20010049U);
        EXPECT_EQ(ZRC_Init_DH_Params(dh, one, one, one), 0x200200F0U);
        EXPECT_EQ(ZRC_Init_DH_Params(dh, nullptr, nullptr, nullptr), 0x200200F0U);
        for (const std::int32_t source : {int{ZRC_DH_GENERATE}, int{ZRC_DH_PRECOMPUTED}, -1})
            EXPECT_EQ(ZRC_Generate_DH_Params(dh, 2048, 256, source), 0x200300F0U);
        EXPECT_TRUE(dh->proven == 1 && !dh->p);
    });
}

} // namespace
