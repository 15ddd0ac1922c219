// RSA in proven mode, in which a process begins: each case has one of its own.
#include "tests/fresh_process.hpp"
#include "tests/pubkey/rsa_unit.hpp"

#include <cstdlib>

namespace {

using namespace test;

const bytes kMessage = {'a', 'b', 'c'};

TEST(RsaProvenMode, GenerationWants2048BitsAndTheApprovedGenerator)
{
    in_a_fresh_process([] {
        const rsa_unit unit{ZRC_New_RSA()};
        const bigint e = of({65537});
        EXPECT_EQ(ZRC_Generate_RSA_Params_Ex(unit, e, -1, 1), 0x180B002BU);
        EXPECT_EQ(ZRC_Generate_RSA_Params_Ex(nullptr, nullptr, 2047, 9), 0x180B0048U) << "before the arguments";
        EXPECT_EQ(ZRC_Generate_RSA_Params_Ex(nullptr, e, 2048, 1), 0x180B002BU);
        EXPECT_EQ(ZRC_Generate_RSA_Params(unit, e, 2048, 1), 0x180C0036U);
        EXPECT_EQ(ZRC_Generate_RSA_Params(unit, e, 7, 1), 0x180C002BU);
        EXPECT_EQ(unit->key_flags, 0);
        EXPECT_EQ(ZRC_Generate_RSA_Params_Ex(unit, e, 2048, 2), 0U);
        EXPECT_EQ(ZRC_Get_RSA_Length(unit), 256U);
    });
}

// Schemes that are allowed fall back to SHA-1 for their masks: with 0x00200300, for instance, in place of a digest.
TEST(RsaProvenMode, Mgf1TakesDigestsThatAreRefusedElsewhere)
{
    in_a_fresh_process([] {
        const auto mask = [](std::int32_t digest_id, std::uint32_t code = 0) {
            bytes made(32);
            EXPECT_EQ(PKCS1_MGF1(made.data(), 32, kMessage.data(), 3, digest_id), code);
            return made;
        };
        for (const std::int32_t id : {ZRC_SHA1, ZRC_MD5, ZRC_HAS160, ZRC_SHA512})
            EXPECT_NE(mask(id), bytes(32));
        EXPECT_EQ(mask(0x00200300), mask(ZRC_SHA1));
        EXPECT_EQ(mask(ZRC_MDC2, 0x0A0400F0), bytes(32));
    });
}

TEST(RsaProvenMode, InitsLookAtTheirArgumentsInOrder)
{
    in_a_fresh_process([] {
        const rsa_unit empty{ZRC_New_RSA()}, is_short = rsa_key{2040}.unit("ne"), is_long = rsa_key{2041}.unit("ne");
        for (const std::uint32_t mode : {0U, 32U, 8U})
            EXPECT_EQ(ZRC_Init_RSAES(is_short, mode, 0, 0), 0x18080048U) << mode;
        for (const std::uint32_t mode : {0U, 1U, 2U})
            EXPECT_EQ(ZRC_Init_RSASSA(is_short, ZRC_SHA1, mode, 0), mode == 1 ? 0x180300F0U : 0x18030048U);
        for (const rsa_unit* unit : {&empty, &is_long}) {
            for (const std::uint32_t mode : {0U, 32U, 0x05000320U, 0x00200000U})
                EXPECT_EQ(ZRC_Init_RSAES(*unit, mode, 0, ZRC_SHA256), 0x180800F0U) << mode;
            for (const std::int32_t digest_id : {0, int{ZRC_SHA1}, int{ZRC_MD5}, 1})
                EXPECT_EQ(ZRC_Init_RSAES(*unit, 8, 0, digest_id), 0x18080059U) << digest_id;
            for (const std::uint32_t mode : {8U, 16U, 0x05000110U, 7U})
                EXPECT_EQ(ZRC_Init_RSAES(*unit, mode, 0, ZRC_SHA512), 0U) << mode;
            EXPECT_EQ(ZRC_Init_RSASSA(*unit, ZRC_SHA256, 0x05200001, 0), 0x180300F0U);
            // The identifier of an HMAC is not one of the two digests, though it would be used as one.
            for (const std::int32_t digest_id : {int{ZRC_SHA1}, int{ZRC_SHA384}, int{ZRC_HMAC_SHA256}, 0})
                EXPECT_EQ(ZRC_Init_RSASSA(*unit, digest_id, 2, 0), 0x180300F0U) << digest_id;
            for (const std::uint32_t mode : {0U, 2U, 3U})
                EXPECT_EQ(ZRC_Init_RSASSA(*unit, mode == 0 ? ZRC_SHA224 : ZRC_SHA256, mode, 0), 0U);
        }
    });
}

// Short keys that were loaded after the Init, and encodings that no Init would take.
TEST(RsaProvenMode, OperationsRefuseShortModuliAndEncodings)
{
    in_a_fresh_process([] {
        const rsa_unit is_short = rsa_key{2040}.unit("ned"), unit = rsa_key{2048}.unit("nedc");
        std::uint8_t signature[256] = {1};
        std::int32_t length = 255;
        for (const std::uint32_t operation : {0U, 1U}) {
            is_short->operation = operation;
            is_short->key_flags = 7;
            EXPECT_EQ(rsa_encrypt(is_short, kMessage).code, 0x18090048U);
            EXPECT_EQ(rsa_decrypt(is_short, kMessage).code, 0x180A0048U);
            is_short->key_flags = 0;
            EXPECT_EQ(rsa_encrypt(is_short, kMessage).code, operation == 0 ? 0x18090046U : 0x18090045U) << "first";
            EXPECT_EQ(rsa_decrypt(is_short, kMessage).code, operation == 0 ? 0x180A0045U : 0x180A0046U) << "first";
            EXPECT_EQ(ZRC_Final_RSASSA(is_short, signature, &length), 0x18050048U) << "before the flags";
            for (const std::uint32_t mode : {0U, 32U}) {
                unit->mode = mode;
                unit->operation = operation;
                EXPECT_EQ(rsa_encrypt(unit, kMessage).code, 0x180900F0U);
                EXPECT_EQ(rsa_encrypt(unit, bytes(257)).code, 0x180900F0U) << "before the length";
                EXPECT_EQ(rsa_decrypt(unit, kMessage).code, 0x180A00F0U);
                EXPECT_EQ(rsa_decrypt(unit, bytes(256, 0xFF)).code, 0x180A003DU) << "first";
            }
            for (const std::uint32_t mode : {0U, 1U}) {
                EXPECT_EQ(ZRC_Init_RSASSA(unit, ZRC_SHA256, 0, operation), 0U);
                unit->mode = mode;
                EXPECT_EQ(ZRC_Final_RSASSA(unit, signature, &length), operation == 1 ? 0x180600F0U : 0x180700F0U);
            }
        }
    });
}

// The mode words that the self-test uses, with its keys: the primes are there, but none of the values that go with
// them. Each leads to SHA-1 or SHA-224 in MGF1.
TEST(RsaProvenMode, ApprovedSchemesWork)
{
    in_a_fresh_process([] {
        const rsa_key key{2048};
        const rsa_unit unit = key.unit("ned");
        unit->p = ZRC_Dup_BIGINT(key.p);
        unit->q = ZRC_Dup_BIGINT(key.q);
        for (const auto& [mode, digest_id] : {std::pair{0x05000110U, ZRC_SHA224}, {8U, ZRC_SHA512}}) {
            unit->key_flags = 3;
            const rsa_answer sent = rsa_encrypt(unit, mode, 0, bytes(62, 7), digest_id);
            unit->key_flags = 5;
            EXPECT_EQ(rsa_decrypt(unit, mode, 1, sent.output, digest_id), (rsa_answer{0, bytes(62, 7)})) << mode;
        }
        for (const auto& [mode, digest_id] : {std::pair{0x051C0002U, ZRC_SHA224}, {0x05200002U, ZRC_SHA256}}) {
            unit->key_flags = 5;
            const rsa_answer made = rsa_sign(unit, digest_id, mode, kMessage);
            unit->key_flags = 3;
            EXPECT_EQ(rsa_verify(unit, digest_id, mode, kMessage, made.output), 0U) << std::hex << mode;
        }
    });
}

TEST(RsaProvenMode, TheGateStandsBehindTheTestOfTheUnitAndTestModeRefusesNothing)
{
    in_a_fresh_process([] {
        unsetenv("LD_LIBRARY_PATH"); // the self-test does not find the library's file
        const rsa_unit unit{ZRC_New_RSA()};
        EXPECT_EQ(ZRC_Init_RSAES(nullptr, 0, 0, 0), 0x18080049U);
        EXPECT_EQ(ZRC_Init_RSASSA(nullptr, ZRC_SHA1, 1, 0), 0x18030049U);
        EXPECT_EQ(ZRC_Init_RSAES(unit, 0, 0, 0), 0x1A010050U);
        EXPECT_EQ(ZRC_Init_RSASSA(unit, ZRC_SHA1, 1, 0), 0x1A010050U);
        EXPECT_FALSE(unit->digest);
    });
    in_a_fresh_process([] {
        unsetenv("LD_LIBRARY_PATH");
        ZRC_Change_Test_Mode();
        const rsa_unit unit = rsa_key{512}.unit("nedc");
        EXPECT_EQ(rsa_encrypt(unit, 32, 0, kMessage).code, 0U);
        EXPECT_EQ(rsa_verify(unit, ZRC_SHA1, 1, kMessage, rsa_sign(unit, ZRC_SHA1, 1, kMessage).output), 0U);
    });
}

} // namespace
