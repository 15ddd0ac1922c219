// The operating modes and the self-test gate. The flags only ever move one way, so each scenario runs in a process of
// its own: "threadsafe" death tests execute this program anew for each of them.
#include "kestrim_crypto.h"
#include "tests/fresh_process.hpp"
#include "tests/sanitized.hpp"

#include <cstdlib>
#include <gtest/gtest.h>
#include <pthread.h>
#include <thread>
#include <unistd.h>

namespace {

using test::in_a_fresh_process;

constexpr std::int32_t kRefused[] = {ZRC_SHA1, ZRC_MD5, ZRC_HAS160, ZRC_MDC2};
constexpr std::int32_t kApproved[] = {ZRC_SHA224, ZRC_SHA256, ZRC_SHA384, ZRC_SHA512};
constexpr std::uint32_t kModeIsFixed = 0x0D0100F1;

const std::uint8_t kData[3] = {'a', 'b', 'c'};
std::uint8_t output[64];

std::uint32_t init_once(std::int32_t id)
{
    ZRC_DIGEST_UNIT* unit = ZRC_New_DIGEST_Unit();
    const std::uint32_t code = ZRC_Init_DIGEST(unit, id);
    ZRC_Free_DIGEST_Unit(unit);
    return code;
}

// A valid AES or ARIA-CTR record, which proven mode does not make: that of ARIA in ECB, rewritten.
std::uint32_t run_forged_record(bool aes, bool proven)
{
    static const std::uint8_t key[16] = {};
    std::uint8_t record[ZRC_BLOCK_CIPHER_RECORD_BYTES];
    std::uint32_t length = sizeof record;
    std::int32_t written = 0;
    EXPECT_EQ(ZRC_Init_Advanced_BLOCK_CIPHER(ZRC_ARIA_128 | ZRC_NO_PADDING, key, nullptr, 1, record, &length), 0u);
    record[872] = proven ? 1 : 0;
    if (aes) {
        record[3] = 0x01;                   // identifier
        record[24] = 0;                     // its index
        record[68 + 240] = 10;              // rounds
        record[856] = 244, record[857] = 0; // schedule
    } else {
        record[20] = ZRC_MODE_CTR;
        record[28] = 4; // its index
    }
    return ZRC_DoFinal_Advanced_BLOCK_CIPHER(record, length, key, 16, output, &written);
}

std::uint32_t hmac_init_once(std::int32_t id)
{
    ZRC_HMAC_UNIT* unit = ZRC_New_HMAC_Unit();
    const std::uint32_t code = ZRC_Init_HMAC(unit, id, kData, sizeof kData);
    ZRC_Free_HMAC_Unit(unit);
    return code;
}

void expect_everything_is_accepted()
{
    for (const auto& ids : {kRefused, kApproved}) {
        for (int i = 0; i < 4; ++i) {
            EXPECT_EQ(init_once(ids[i]), 0u) << std::hex << ids[i];
            EXPECT_EQ(hmac_init_once(ids[i]), 0u) << std::hex << ids[i];
        }
    }
}

} // namespace

TEST(Gate, StartsInProvenModeAndStaysThereOnceTheSelfTestHasPassed)
{
    in_a_fresh_process([] {
        EXPECT_EQ(ZRC_Is_Proven(), 1);
        EXPECT_EQ(init_once(ZRC_SHA256), 0u);
        EXPECT_EQ(ZRC_Change_Non_Proven_Mode(), kModeIsFixed);
        EXPECT_EQ(ZRC_Is_Proven(), 1);
        EXPECT_EQ(init_once(ZRC_SHA1), 0x0A010059u);
    });
}

TEST(Gate, ProvenModeRefusesEachUnapprovedDigestUnderTheCodeOfEachFunction)
{
    in_a_fresh_process([] {
        for (const std::int32_t id : kApproved) {
            EXPECT_EQ(init_once(id), 0u);
            EXPECT_EQ(hmac_init_once(id), 0u);
        }
        for (const std::int32_t id : kRefused) {
            SCOPED_TRACE(id);
            EXPECT_EQ(init_once(id), 0x0A010059u);
            EXPECT_EQ(ZRC_DIGEST(id, kData, 3, output, nullptr), 0x0A050022u);
            EXPECT_EQ(hmac_init_once(id), 0x0F010022u);
            EXPECT_EQ(ZRC_HMAC(id, kData, 3, kData, 3, output, nullptr), 0x0F040023u);
            EXPECT_GT(ZRC_Get_DIGEST_Length(id), 0); // queries do not ask for the mode
            EXPECT_NE(ZRC_Get_DIGEST_Alg_Name(id), nullptr);

            // The refusal comes before the one by no_mdc2, keeps the identifier and fills nothing else.
            ZRC_DIGEST_UNIT* unit = zrc_New_DIGEST_Unit_Ex(1);
            EXPECT_EQ(zrc_Init_DIGEST_Alg(unit, id), 0x0A0400F0u);
            EXPECT_EQ(unit->algorithm_id, id);
            EXPECT_EQ(unit->state_length, 0);
            EXPECT_EQ(unit->init_fn, nullptr);
            EXPECT_EQ(ZRC_Init_DIGEST(unit, id), 0x0A010059u);
            EXPECT_EQ(ZRC_Update_DIGEST(unit, kData, 3), 0x0A02005Bu);
            EXPECT_EQ(ZRC_Final_DIGEST(unit, output, nullptr), 0x0A030018u);
            ZRC_Free_DIGEST_Unit(unit);
        }
        EXPECT_EQ(zrc_Init_MDC2(nullptr), 0x130100F0u); // tested before anything else
        ZRC_SHA1_STATE sha1;
        EXPECT_EQ(zrc_Init_SHA1(&sha1), 0u); // the units refuse, the functions under them do not
    });
}

TEST(Gate, ProvenModeAllowsAriaAndSeedAndRefusesEveryOtherCipher)
{
    in_a_fresh_process([] {
        static const std::uint8_t key[32] = {}, iv[16] = {};
        ZRC_BLOCK_CIPHER_UNIT* unit = ZRC_New_BLOCK_CIPHER_Unit();
        struct {
            std::uint32_t id, alg_code, init_code;
        } const cases[] = {
            {ZRC_ARIA_128, 0, 0},
            {ZRC_ARIA_192 | ZRC_MODE_CBC, 0, 0},
            {ZRC_ARIA_256 | ZRC_MODE_CFB128, 0, 0},
            {ZRC_SEED | ZRC_MODE_OFB, 0, 0},
            {ZRC_ARIA_128 | ZRC_MODE_CTR, 0, 0x050100F0},
            {ZRC_SEED | ZRC_MODE_CTR, 0, 0x050100F0},
            {ZRC_SEED | ZRC_MODE_CFB8, 0x05090029, 0x05010023},
            {ZRC_AES_128 | ZRC_MODE_CFB1, 0x05090029, 0x05010023}, // the mode is looked at before the approval
            {ZRC_SEED_256, 0x050900F0, 0x05010023},
            {ZRC_AES_128 | ZRC_MODE_CBC, 0x050900F0, 0x05010023},
            {ZRC_LEA_256 | ZRC_MODE_CTR, 0x050900F0, 0x05010023},
            {ZRC_DES, 0x050900F0, 0x05010023},
            {ZRC_DES_EDE3 | ZRC_MODE_CBC, 0x050900F0, 0x05010023},
            {ZRC_RC2_128, 0x050900F0, 0x05010023},
            {ZRC_RC5, 0x050900F0, 0x05010023},
            {ZRC_BLOWFISH, 0x050900F0, 0x05010023},
        };
        for (const auto& c : cases) {
            EXPECT_EQ(ZRC_Init_BLOCK_CIPHER(unit, c.id, key, iv, 1), c.init_code) << std::hex << c.id;
            EXPECT_EQ(unit->proven, 1);
            ZRC_Clean_BLOCK_CIPHER_Unit(unit);
            unit->proven = 1;
            EXPECT_EQ(zrc_Init_Block_Alg(unit, c.id), c.alg_code) << std::hex << c.id;
            EXPECT_EQ(ZRC_BLOCK_CIPHER(c.id | 1, 1, key, iv, key, 16, output, nullptr),
                      c.init_code ? 0x05080021u : 0x0508005Au);
        }
        ZRC_Free_BLOCK_CIPHER_Unit(unit);

        EXPECT_EQ(ZRC_Init_CBC_MAC(nullptr, ZRC_ARIA_128, key), 0x060100F0u); // before anything else
        EXPECT_EQ(ZRC_CBC_MAC(ZRC_ARIA_128, key, key, 16, output, nullptr), 0x06040023u);
        EXPECT_EQ(ZRC_DES_MAC(nullptr, kData, 3, output), 0x090100F0u);
    });
}

TEST(Gate, ProvenModeRefusesRecordsThatItWouldNotMake)
{
    for (const bool proven : {false, true}) {
        in_a_fresh_process([proven] {
            EXPECT_EQ(proven ? 0u : ZRC_Change_Non_Proven_Mode(), 0u);
            for (const bool aes : {true, false}) {
                for (const bool flag : {true, false})
                    EXPECT_EQ(run_forged_record(aes, flag), proven ? 0x050B0059u : 0u) << aes << flag;
            }
        });
    }
}

TEST(Gate, Rc4StandsOutsideIt)
{
    in_a_fresh_process([] {
        ZRC_RC4_UNIT* unit = ZRC_New_RC4_Unit();
        EXPECT_EQ(ZRC_Init_RC4(unit, kData, 3), 0u);
        EXPECT_EQ(ZRC_Do_RC4(unit, kData, 3, output), 0u);
        ZRC_Free_RC4_Unit(unit);
        EXPECT_EQ(ZRC_Change_Non_Proven_Mode(), 0u) << "no gated call was made";
    });
}

TEST(Gate, ProvenModeCanBeLeftUntilTheFirstGatedCall)
{
    in_a_fresh_process([] {
        EXPECT_EQ(ZRC_Change_Non_Proven_Mode(), 0u);
        EXPECT_EQ(ZRC_Is_Proven(), 0);
        EXPECT_EQ(ZRC_Change_Non_Proven_Mode(), 0u);
        expect_everything_is_accepted();
        EXPECT_EQ(ZRC_Change_Non_Proven_Mode(), kModeIsFixed);
        EXPECT_EQ(ZRC_Is_Proven(), 0);
    });
}

TEST(Gate, TestModeSwitchesEverythingOff)
{
    in_a_fresh_process([] {
        ZRC_Change_Test_Mode();
        EXPECT_EQ(ZRC_Is_Proven(), 0);
        EXPECT_EQ(ZRC_Change_Non_Proven_Mode(), kModeIsFixed);
        expect_everything_is_accepted();
    });
}

TEST(Gate, ChecksCanBeCalledBeforeAnyGatedCall)
{
    in_a_fresh_process([] {
        EXPECT_EQ(zrc_Version_Check(), 0u);
        EXPECT_EQ(zrc_Context_Check(), 0u); // makes no gated call: the mode is still open
        EXPECT_EQ(ZRC_Change_Non_Proven_Mode(), 0u);
        EXPECT_EQ(zrc_HMAC_Check(), 0u); // its first Init runs the whole self-test
        EXPECT_EQ(ZRC_Change_Non_Proven_Mode(), kModeIsFixed);
        EXPECT_EQ(zrc_DIGEST_Check(), 0u);
        EXPECT_EQ(ZRC_Crypto_Self_Test(), 0u);
    });
    for (const auto check :
         {zrc_Verify_DLL, zrc_Entropy_Check, zrc_DRBG_Check, zrc_Sym_Key_Check, zrc_Sym_Check, zrc_Asym_Key_Check,
          zrc_RSAES_Check, zrc_RSASSA_Check, zrc_KCDSA_Check, ZRC_Crypto_Self_Test}) {
        in_a_fresh_process([check] {
            EXPECT_EQ(check(), 0u);
            EXPECT_EQ(ZRC_Is_Proven(), 1);
            EXPECT_EQ(ZRC_Change_Non_Proven_Mode(), kModeIsFixed);
        });
    }
}

TEST(Gate, ACancelledThreadDoesNotKeepItClosed)
{
    if (test::kSanitized) GTEST_SKIP() << "a sanitizer follows threads to their end in its own way";
    in_a_fresh_process([] {
        alarm(20);
        std::thread{[] {
            pthread_cancel(pthread_self());
            EXPECT_EQ(init_once(ZRC_SHA256), 0u);
            int before;
            pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, &before);
        }}.join();
        EXPECT_EQ(init_once(ZRC_SHA256), 0u);
    });
}
