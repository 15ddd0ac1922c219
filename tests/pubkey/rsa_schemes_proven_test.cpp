// RSA encryption and signatures in proven mode, in which a process begins: each case has one of its own.
#include "tests/fresh_process.hpp"
#include "tests/pubkey/rsa_unit.hpp"

#include <cstdlib>
#include <functional>
#include <utility>

namespace {

using test::bytes;
using test::pss_salt;
using test::rsa_answer;
using test::rsa_decrypt;
using test::rsa_encrypt;
using test::rsa_key;
using test::rsa_sign;
using test::rsa_unit;
using test::rsa_verify;

const bytes kMessage = {'a', 'b', 'c'};

TEST(RsaProvenMode, InitOfEncryptionLooksAtTheSizeAndThenAtTheEncoding)
{
    test::in_a_fresh_process([] {
        const rsa_unit empty{ZRC_New_RSA()}, is_short = rsa_key{2040}.with_public_values(),
                                             is_long = rsa_key{2041}.with_public_values();
        for (const std::uint32_t mode : {0U, 32U, 8U, 16U, 0x05000320U})
            EXPECT_EQ(ZRC_Init_RSAES(is_short.get(), mode, 0, ZRC_SHA256), 0x18080048U) << mode;
        for (const rsa_unit& unit : {std::cref(empty), std::cref(is_long)}) {
            for (const std::uint32_t mode : {0U, 32U, 0x05000320U, 0x00200000U})
                EXPECT_EQ(ZRC_Init_RSAES(unit.get(), mode, 0, ZRC_SHA256), 0x180800F0U) << mode;
            for (const std::int32_t digest_id : {0, int{ZRC_SHA1}, int{ZRC_MD5}, 1})
                EXPECT_EQ(ZRC_Init_RSAES(unit.get(), 8, 0, digest_id), 0x18080059U) << digest_id;
            for (const std::uint32_t mode : {8U, 16U, 0x05000110U, 7U})
                EXPECT_EQ(ZRC_Init_RSAES(unit.get(), mode, 0, ZRC_SHA512), 0U) << mode;
        }
    });
}

TEST(RsaProvenMode, InitOfSignaturesLooksAtPkcs1AndThenAtTheSizeAndThenAtTheDigest)
{
    test::in_a_fresh_process([] {
        const rsa_unit empty{ZRC_New_RSA()}, is_short = rsa_key{2040}.with_public_values(),
                                             is_long = rsa_key{2041}.with_public_values();
        for (const std::int32_t digest_id : {int{ZRC_SHA1}, int{ZRC_SHA256}}) {
            EXPECT_EQ(ZRC_Init_RSASSA(is_short.get(), digest_id, 1, 0), 0x180300F0U);
            EXPECT_EQ(ZRC_Init_RSASSA(is_short.get(), digest_id, 2, 0), 0x18030048U);
            EXPECT_EQ(ZRC_Init_RSASSA(is_short.get(), digest_id, 0, 0), 0x18030048U);
        }
        for (const rsa_unit& unit : {std::cref(empty), std::cref(is_long)}) {
            EXPECT_EQ(ZRC_Init_RSASSA(unit.get(), ZRC_SHA256, 0x05200001, 0), 0x180300F0U);
            // The identifier of an HMAC is not one of the two digests, though it would be used as one.
            for (const std::int32_t digest_id :
                 {int{ZRC_SHA1}, int{ZRC_SHA384}, int{ZRC_SHA512}, int{ZRC_HMAC_SHA256}, 0})
                EXPECT_EQ(ZRC_Init_RSASSA(unit.get(), digest_id, 2, 0), 0x180300F0U) << digest_id;
            for (const std::int32_t digest_id : {int{ZRC_SHA224}, int{ZRC_SHA256}}) {
                for (const std::uint32_t mode : {0U, 2U, 3U})
                    EXPECT_EQ(ZRC_Init_RSASSA(unit.get(), digest_id, mode, 0), 0U);
            }
        }
    });
}

// A short key that is loaded after the Init, and units that never had one.
TEST(RsaProvenMode, OperationsRefuseShortModuli)
{
    test::in_a_fresh_process([] {
        const rsa_unit unit = rsa_key{2040}.with_private_exponent();
        std::uint8_t signature[255] = {1};
        std::int32_t length = 255;
        for (const std::uint32_t operation : {0U, 1U}) {
            unit->operation = operation;
            EXPECT_EQ(rsa_encrypt(unit, kMessage).code, 0x18090048U);
            EXPECT_EQ(rsa_decrypt(unit, kMessage).code, 0x180A0048U);
            unit->key_flags = 0;
            EXPECT_EQ(rsa_encrypt(unit, kMessage).code, operation == 0 ? 0x18090046U : 0x18090045U) << "comes first";
            EXPECT_EQ(rsa_decrypt(unit, kMessage).code, operation == 0 ? 0x180A0045U : 0x180A0046U) << "comes first";
            EXPECT_EQ(ZRC_Final_RSASSA(unit.get(), signature, &length), 0x18050048U) << "comes before the flags";
            unit->key_flags = 7;
        }
    });
}

TEST(RsaProvenMode, OperationsRefuseEncodings)
{
    test::in_a_fresh_process([] {
        const rsa_unit unit = rsa_key{2048}.with_everything();
        for (const std::uint32_t operation : {0U, 1U}) {
            for (const std::uint32_t mode : {0U, 32U}) {
                unit->mode = mode;
                unit->operation = operation;
                EXPECT_EQ(rsa_encrypt(unit, kMessage).code, 0x180900F0U);
                EXPECT_EQ(rsa_encrypt(unit, bytes(257)).code, 0x180900F0U) << "comes before the length";
                EXPECT_EQ(rsa_decrypt(unit, kMessage).code, 0x180A00F0U);
                EXPECT_EQ(rsa_decrypt(unit, bytes(256, 0xFF)).code, 0x180A003DU) << "comes first";
            }
        }
        for (const std::uint32_t mode : {0U, 1U}) {
            std::uint8_t signature[256] = {1};
            std::int32_t length = 256;
            for (const std::uint32_t operation : {0U, 1U}) {
                EXPECT_EQ(ZRC_Init_RSASSA(unit.get(), ZRC_SHA256, 0, operation), 0U);
                unit->mode = mode;
                EXPECT_EQ(ZRC_Final_RSASSA(unit.get(), signature, &length), operation == 1 ? 0x180600F0U : 0x180700F0U);
            }
        }
    });
}

// The mode words that the self-test uses, with its keys: the primes are there, but none of the values that go with
// them. Each leads to SHA-1 or SHA-224 in MGF1.
TEST(RsaProvenMode, ApprovedSchemesWork)
{
    test::in_a_fresh_process([] {
        const rsa_key key{2048};
        const rsa_unit unit = key.with_private_exponent();
        unit->p = ZRC_Dup_BIGINT(key.p.get());
        unit->q = ZRC_Dup_BIGINT(key.q.get());
        for (const auto& [mode, digest_id] :
             {std::pair{0x05000110U, ZRC_SHA224}, {0x05000210U, ZRC_SHA256}, {8U, ZRC_SHA512}}) {
            unit->key_flags = 3;
            EXPECT_EQ(ZRC_Init_RSAES(unit.get(), mode, 0, digest_id), 0U);
            const rsa_answer sent = rsa_encrypt(unit, bytes(62, 7));
            unit->key_flags = 5;
            EXPECT_EQ(ZRC_Init_RSAES(unit.get(), mode, 1, digest_id), 0U);
            EXPECT_EQ(rsa_decrypt(unit, sent.output), (rsa_answer{0, bytes(62, 7)})) << std::hex << mode;
        }
        for (const auto& [mode, digest_id] :
             {std::pair{0x051C0002U, ZRC_SHA224}, {0x05200002U, ZRC_SHA256}, {pss_salt(0), ZRC_SHA256}}) {
            unit->key_flags = 5;
            const rsa_answer made = rsa_sign(unit, digest_id, mode, kMessage);
            EXPECT_EQ(made.code, 0U);
            unit->key_flags = 3;
            EXPECT_EQ(rsa_verify(unit, digest_id, mode, kMessage, made.output), 0U) << std::hex << mode;
        }
    });
}

TEST(RsaProvenMode, TheGateStandsBehindTheTestOfTheUnit)
{
    test::in_a_fresh_process([] {
        unsetenv("LD_LIBRARY_PATH"); // the self-test does not find the library's file
        const rsa_unit unit{ZRC_New_RSA()};
        EXPECT_EQ(ZRC_Init_RSAES(nullptr, 0, 0, 0), 0x18080049U);
        EXPECT_EQ(ZRC_Init_RSASSA(nullptr, ZRC_SHA1, 1, 0), 0x18030049U);
        EXPECT_EQ(ZRC_Init_RSAES(unit.get(), 0, 0, 0), 0x1A010050U);
        EXPECT_EQ(ZRC_Init_RSASSA(unit.get(), ZRC_SHA1, 1, 0), 0x1A010050U);
        EXPECT_FALSE(unit->digest);
    });
}

TEST(RsaProvenMode, TestModeRefusesNothing)
{
    test::in_a_fresh_process([] {
        unsetenv("LD_LIBRARY_PATH");
        ZRC_Change_Test_Mode();
        const rsa_unit unit = rsa_key{512}.with_everything();
        for (const std::uint32_t mode : {0U, 32U}) {
            EXPECT_EQ(ZRC_Init_RSAES(unit.get(), mode, 0, 0), 0U);
            const rsa_answer sent = rsa_encrypt(unit, kMessage);
            EXPECT_EQ(ZRC_Init_RSAES(unit.get(), mode, 1, 0), 0U);
            EXPECT_EQ(rsa_decrypt(unit, sent.output), (rsa_answer{0, kMessage}));
        }
        for (const std::uint32_t mode : {0U, 1U, 2U}) {
            const rsa_answer made = rsa_sign(unit, ZRC_SHA1, mode, kMessage);
            EXPECT_EQ(rsa_verify(unit, ZRC_SHA1, mode, kMessage, made.output), 0U);
        }
    });
}

} // namespace
