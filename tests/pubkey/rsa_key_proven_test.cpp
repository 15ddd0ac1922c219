// RSA keys in proven mode, in which a process begins: each case has one of its own.
#include "kestrim_crypto.h"
#include "tests/bigint/bigint_value.hpp"
#include "tests/fresh_process.hpp"
#include "tests/pubkey/rsa_unit.hpp"

#include <cstdint>
#include <gtest/gtest.h>

namespace {

using test::of;
using test::rsa_unit;

TEST(RsaKeyProvenMode, GenerationWants2048BitsAndTheApprovedGenerator)
{
    test::in_a_fresh_process([] {
        const rsa_unit unit{ZRC_New_RSA()};
        const test::bigint e = of({65537});
        EXPECT_EQ(ZRC_Generate_RSA_Params_Ex(unit.get(), e.get(), -1, 1), 0x180B002BU);
        EXPECT_EQ(ZRC_Generate_RSA_Params_Ex(nullptr, nullptr, 2047, 9), 0x180B0048U) << "before the arguments";
        EXPECT_EQ(ZRC_Generate_RSA_Params_Ex(nullptr, e.get(), 2048, 1), 0x180B002BU);
        EXPECT_EQ(ZRC_Generate_RSA_Params_Ex(unit.get(), of({65536}).get(), 2048, 1), 0x180B0036U);
        EXPECT_EQ(ZRC_Generate_RSA_Params(unit.get(), e.get(), 2048, 1), 0x180C0036U);
        EXPECT_EQ(ZRC_Generate_RSA_Params(unit.get(), e.get(), 7, 1), 0x180C002BU);
        EXPECT_EQ(unit->key_flags, 0);

        EXPECT_EQ(ZRC_Generate_RSA_Params_Ex(unit.get(), e.get(), 2048, 2), 0U);
        EXPECT_EQ(unit->key_flags, 0x1F);
        EXPECT_EQ(ZRC_Get_RSA_Length(unit.get()), 256U);
        EXPECT_EQ(ZRC_Is_Proven(), 1);
    });
}

} // namespace
