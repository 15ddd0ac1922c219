// White-box tests of what no caller can provoke from outside: failing allocations, checks that fail, threads that meet
// at the gate, memory that must be clean when it is released.
#include "kestrim/block_modes.h"
#include "kestrim_crypto.h"
#include "selftest/fault.hpp"
#include "tests/allocator.hpp"
#include "tests/fresh_process.hpp"

#include <atomic>
#include <chrono>
#include <cstdint>
#include <cstring>
#include <functional>
#include <gtest/gtest.h>
#include <iterator>
#include <thread>
#include <utility>
#include <vector>

namespace {

using test::allocations_until_failure;
using test::codes_with_failing_allocations;
using test::dirty_releases;
using test::in_a_fresh_process;
using test::on_allocation;

const std::uint8_t kKey[200] = {1, 2, 3};
const std::uint8_t kData[3] = {'a', 'b', 'c'};
std::uint8_t output[64];

} // namespace

TEST(Allocation, EveryFailureHasItsCodeAndLeaksNothing)
{
    ASSERT_EQ(ZRC_Crypto_Initialize(), 0u);
    std::int32_t length = 0;
    std::uint8_t record[ZRC_BLOCK_CIPHER_RECORD_BYTES];
    // Units that live through all the failures: each Init releases what the last one left, and the unit refuses to work
    // until one succeeds.
    ZRC_DIGEST_UNIT* const digest = ZRC_New_DIGEST_Unit();
    ZRC_HMAC_UNIT* const hmac = ZRC_New_HMAC_Unit();
    ZRC_BLOCK_CIPHER_UNIT* const cipher = ZRC_New_BLOCK_CIPHER_Unit();
    ZRC_CBC_MAC_UNIT* const mac = ZRC_New_CBC_MAC_Unit();
    const auto init_hmac = [=] {
        const std::uint32_t code = ZRC_Init_HMAC(hmac, ZRC_SHA256, kKey, 3);
        EXPECT_EQ(ZRC_Update_HMAC(hmac, kData, 3), code ? 0x0F02005Bu : 0u);
        EXPECT_EQ(ZRC_Final_HMAC(hmac, output, nullptr), code ? 0x0F030018u : 0u);
        return code;
    };
    const auto init_mac = [=] {
        const std::uint32_t code = ZRC_Init_CBC_MAC(mac, ZRC_DES, kKey);
        EXPECT_EQ(ZRC_Update_CBC_MAC(mac, kKey, 0), code ? 0x0602005Au : 0u);
        EXPECT_EQ(ZRC_Final_CBC_MAC(mac, output, nullptr), code ? 0x0603005Au : 0u);
        return code;
    };
    const auto init_record = [&] {
        std::uint32_t size = sizeof record;
        return ZRC_Init_Advanced_BLOCK_CIPHER(ZRC_AES_128, kKey, nullptr, 1, record, &size);
    };
    const auto gives = [](char* text) { // 0 or 1
        const std::uint32_t code = text ? 0 : 1;
        ZRC_Free(text);
        return code;
    };
    const struct {
        std::function<std::uint32_t()> operation;
        std::vector<std::uint32_t> codes;
    } cases[] = {
        {[] { return ZRC_DIGEST(ZRC_SHA256, kData, 3, output, nullptr); }, {0x0A05003A, 0x0A050022, 0}},
        {[=] { return ZRC_Init_DIGEST(digest, ZRC_SHA256); }, {0x0A010022, 0}},
        {[] { return ZRC_HMAC(ZRC_SHA512, kKey, 200, kData, 3, output, nullptr); },
         {0x0F04003B, 0x0F040023, 0x0F040023, 0x0F040023, 0x0F040023, 0}},
        {init_hmac, {0x0F010022, 0x0F010022, 0x0F010059, 0x0F010059, 0}},
        {[&] { return ZRC_BLOCK_CIPHER(ZRC_ARIA_128, 1, kKey, nullptr, kKey, 16, output, &length); },
         {0x0508003B, 0x05080021, 0}},
        {[=] { return ZRC_Init_BLOCK_CIPHER(cipher, ZRC_SEED, kKey, nullptr, 1); }, {0x0501003A, 0}},
        {init_record, {0x050A0059, 0x050A0021, 0}},
        {[&] { return ZRC_DoFinal_Advanced_BLOCK_CIPHER(record, sizeof record, kKey, 16, output, &length); },
         {0x050B0059, 0x050B0059, 0}},
        {[] { return ZRC_CBC_MAC(ZRC_LEA_128, kKey, kKey, 32, output, nullptr); },
         {0x0604003B, 0x0604003B, 0x06040023, 0}},
        {init_mac, {0x06010021, 0}},
        {[] { return ZRC_DES_MAC(kKey, kKey, 12, output); }, {0x0901003C, 0x09010021, 0}},
        {[=] { return gives(ZRC_Get_HMAC_Name(ZRC_HMAC_SHA256)); }, {1, 0}},
        {[=] { return gives(zrc_Dump_HEX(kData, 3)); }, {1, 0}},
    };
    for (const auto& c : cases)
        EXPECT_EQ(codes_with_failing_allocations(c.operation), c.codes) << &c - cases;
    allocations_until_failure = 0;
    EXPECT_EQ(ZRC_DES_MAC(nullptr, nullptr, 0, nullptr), 0x0901003Cu) << "before the arguments";
    allocations_until_failure = -1;
    ZRC_Free_DIGEST_Unit(digest);
    ZRC_Free_HMAC_Unit(hmac);
    ZRC_Free_BLOCK_CIPHER_Unit(cipher);
    ZRC_Free_CBC_MAC_Unit(mac);
}

TEST(Wiping, UnitsAreCleanWhenTheyAreReleased)
{
    ASSERT_EQ(ZRC_Crypto_Initialize(), 0u);
    test::release_watch watch;

    EXPECT_EQ(ZRC_HMAC(ZRC_SHA256, kKey, 100, kData, 3, output, nullptr), 0u);
    EXPECT_EQ(ZRC_HMAC(ZRC_SHA256, kKey, 10, nullptr, 3, output, nullptr), 0x0F04005Cu);
    EXPECT_EQ(ZRC_DIGEST(ZRC_SHA512, kData, 3, output, nullptr), 0u);
    EXPECT_EQ(ZRC_DIGEST(ZRC_SHA1, kData, 3, nullptr, nullptr), 0x0A050018u);
    static std::uint8_t text[64], record[ZRC_BLOCK_CIPHER_RECORD_BYTES];
    std::int32_t length = 0;
    std::uint32_t record_length = sizeof record;
    for (const std::uint32_t id :
         {ZRC_AES_256, ZRC_ARIA_256, ZRC_SEED, ZRC_LEA_256, ZRC_DES_EDE3, ZRC_RC2_128, ZRC_RC5}) {
        EXPECT_EQ(ZRC_BLOCK_CIPHER(id | ZRC_MODE_CBC, 1, kKey, kKey, kKey, 37, text, &length), 0u);
        EXPECT_EQ(ZRC_BLOCK_CIPHER(id | ZRC_MODE_CBC, 0, kKey, kKey, text, length - 1, text, &length), 0x05080017u);
        EXPECT_EQ(ZRC_Init_Advanced_BLOCK_CIPHER(id, kKey, nullptr, 1, record, &record_length), 0u);
        EXPECT_EQ(ZRC_DoFinal_Advanced_BLOCK_CIPHER(record, sizeof record, kKey, 16, text, &length), 0u);
    }
    EXPECT_EQ(ZRC_BLOCK_CIPHER(ZRC_BLOWFISH, 1, kKey, nullptr, kKey, 37, text, &length), 0u);
    EXPECT_EQ(ZRC_DES_MAC(kKey, kKey, 37, text), 0u);

    // A schedule that another one replaces: shorter, longer, as long, from a record, by a new binding.
    ZRC_BLOCK_CIPHER_UNIT* unit = ZRC_New_BLOCK_CIPHER_Unit();
    for (const std::uint32_t id : {ZRC_DES, ZRC_LEA_128, ZRC_LEA_256, ZRC_SEED})
        EXPECT_EQ(ZRC_Init_BLOCK_CIPHER(unit, id, kKey, nullptr, 0), 0u);
    for (int twice = 0; twice < 2; ++twice) // the record holds the last cipher of above
        EXPECT_EQ(blockcipher_BinaryKey_to_Unit(record, sizeof record, unit), 0u);
    EXPECT_EQ(ZRC_Init_BLOCK_CIPHER(unit, ZRC_DES, nullptr, nullptr, 1), 0u);
    std::memset(text, 0, sizeof text);
    EXPECT_EQ(std::memcmp(unit->key_schedule, text, 64), 0) << "allocated cleared";
    EXPECT_EQ(ZRC_Init_BLOCK_CIPHER(unit, ZRC_DES, kKey, nullptr, 0), 0u);
    EXPECT_EQ(zrc_Init_Block_Alg(unit, ZRC_LEA_128), 0u);
    EXPECT_EQ(unit->key_schedule, nullptr);
    EXPECT_EQ(zrc_Init_LEA(unit, kKey, nullptr, 1), 0x1F020023u);

    // What waits in a unit is gone behind Final.
    EXPECT_EQ(ZRC_Init_BLOCK_CIPHER(unit, ZRC_SEED, kKey, nullptr, 0), 0u);
    EXPECT_EQ(ZRC_Update_BLOCK_CIPHER(unit, text, &length, kKey, 16), 0u);
    EXPECT_NE(std::memcmp(unit->held_block, text + 32, 16), 0);
    EXPECT_EQ(ZRC_Final_BLOCK_CIPHER(unit, text, &length), 0x05050009u);
    EXPECT_EQ(std::memcmp(unit->held_block, text + 32, 32), 0);
    EXPECT_EQ(ZRC_Update_BLOCK_CIPHER(unit, text, &length, kKey, 15), 0u);
    EXPECT_NE(std::memcmp(unit->buffer, text + 32, 15), 0);
    EXPECT_EQ(ZRC_Final_BLOCK_CIPHER(unit, text, &length), 0x05050009u);
    EXPECT_EQ(std::memcmp(unit->buffer, text + 32, 32), 0);
    ZRC_Free_BLOCK_CIPHER_Unit(unit);

    ZRC_CBC_MAC_UNIT* mac = ZRC_New_CBC_MAC_Unit();
    EXPECT_EQ(ZRC_Init_CBC_MAC(mac, ZRC_AES_128, kKey), 0u);
    EXPECT_EQ(ZRC_Update_CBC_MAC(mac, kKey, 32), 0u);
    std::memset(mac->block, 0xA5, sizeof mac->block);
    mac->count = 3;
    ZRC_Clean_CBC_MAC_Unit(mac);
    EXPECT_EQ(mac->cipher->key_schedule, nullptr);
    ZRC_Free_BLOCK_CIPHER_Unit(std::exchange(mac->cipher, nullptr)); // a pointer is left in a unit otherwise
    ZRC_Free_CBC_MAC_Unit(mac);

    ZRC_RC4_UNIT* rc4 = ZRC_New_RC4_Unit();
    EXPECT_EQ(ZRC_Init_RC4(rc4, kKey, 16), 0u);
    ZRC_Free_RC4_Unit(rc4);

    auto* block = static_cast<std::uint8_t*>(ZRC_Malloc(100));
    std::memset(block, 0xA5, 100);
    ZRC_Free_Ex(block, 100);
    EXPECT_EQ(dirty_releases, 0);

    block = static_cast<std::uint8_t*>(ZRC_Malloc(100)); // shows that this test can see what is not wiped
    std::memset(block, 0xA5, 100);
    ZRC_Free(block);
    EXPECT_EQ(dirty_releases, 1);

    EXPECT_EQ(watch.live_blocks(), 0u);
}

TEST(SelfTest, AFailureStopsEveryDigestUntilARunPasses)
{
    in_a_fresh_process([] {
        constexpr std::uint32_t kCode = 0x1A070059;
        zrc::broken_checks = 1u << ZRC_F_DIGEST_CHECK;
        ZRC_DIGEST_UNIT* unit = ZRC_New_DIGEST_Unit();
        EXPECT_EQ(ZRC_Init_DIGEST(unit, ZRC_SHA256), kCode);
        EXPECT_EQ(unit->algorithm_id, 0);
        EXPECT_EQ(unit->state, nullptr);
        EXPECT_EQ(zrc_Init_DIGEST_Alg(unit, ZRC_SHA256), kCode);
        EXPECT_EQ(ZRC_Crypto_Initialize(), kCode);
        EXPECT_EQ(zrc::self_test_runs, 3u) << "nothing is latched: each gated call tests again";

        ZRC_SHA512_STATE state;
        EXPECT_EQ(zrc_Init_SHA1(nullptr), kCode); // SHA passes the gate before it looks at its argument,
        EXPECT_EQ(zrc_Init_SHA512(&state), kCode);
        EXPECT_EQ(zrc_Init_MD5(nullptr), 0x12010049u); // MD5 and HAS-160 look first
        EXPECT_EQ(zrc_Init_HAS160(nullptr), 0x0E010049u);
        EXPECT_EQ(zrc_Init_MDC2(nullptr), kCode);
        EXPECT_EQ(ZRC_Init_HMAC(nullptr, ZRC_SHA256, kKey, 3), kCode);
        EXPECT_EQ(ZRC_Init_DIGEST(nullptr, ZRC_SHA256), 0x0A010049u);
        EXPECT_EQ(ZRC_DIGEST(ZRC_SHA256, kData, 3, output, nullptr), 0x0A050022u);
        EXPECT_EQ(ZRC_HMAC(ZRC_SHA256, kKey, 3, kData, 3, output, nullptr), 0x0F040023u);
        EXPECT_EQ(ZRC_Get_DIGEST_Length(ZRC_SHA256), 0);
        EXPECT_EQ(ZRC_Get_DIGEST_Alg_Name(ZRC_SHA256), nullptr);
        EXPECT_EQ(ZRC_Get_DIGEST_Alg_ID(unit), 0);
        EXPECT_EQ(ZRC_Get_DIGEST_Alg_ID_By_Name("SHA256"), 0);
        EXPECT_EQ(ZRC_Get_HMAC_Name(ZRC_HMAC_SHA256), nullptr);
        EXPECT_EQ(ZRC_Change_Non_Proven_Mode(), 0u) << "a failed self-test leaves the mode open";

        zrc::broken_checks = 0;
        EXPECT_EQ(ZRC_Init_DIGEST(unit, ZRC_SHA256), 0u);
        const std::uint32_t runs = zrc::self_test_runs;
        EXPECT_EQ(ZRC_Init_DIGEST(unit, ZRC_SHA256), 0u);
        EXPECT_EQ(zrc::self_test_runs, runs) << "a pass is remembered";
        ZRC_Free_DIGEST_Unit(unit);
    });
}

TEST(SelfTest, AFailureStopsEveryCipher)
{
    in_a_fresh_process([] {
        constexpr std::uint32_t kCode = 0x1A030059;
        zrc::broken_checks = 1u << ZRC_F_VERSION_CHECK;
        ZRC_BLOCK_CIPHER_UNIT unit{}, before{};
        unit.algorithm_id = before.algorithm_id = ZRC_ARIA_128;
        unit.block_length = before.block_length = unit.iv_length = before.iv_length = 16;
        EXPECT_EQ(ZRC_Get_IV_Length(ZRC_ARIA_128), 0xFFFFFFFFu);
        EXPECT_EQ(ZRC_Get_Key_Length(ZRC_ARIA_128), 0u);
        EXPECT_EQ(ZRC_Get_Block_Length(ZRC_ARIA_128), 0u);
        EXPECT_EQ(ZRC_Get_Block_Alg_ID(&unit), 0u);
        EXPECT_EQ(zrc_Get_Mode_Length(&unit), 0u);
        EXPECT_EQ(ZRC_Get_Block_Alg_Name(ZRC_ARIA_128), nullptr);
        EXPECT_EQ(ZRC_Get_Mode_Name(ZRC_MODE_CBC), nullptr);

        EXPECT_EQ(zrc_Init_Block_Alg(&unit, ZRC_SEED), kCode);
        for (const auto init : {zrc_Init_AES, zrc_Init_ARIA, zrc_Init_SEED, zrc_Init_LEA, zrc_Init_DES,
                                zrc_Init_DES_EDE, zrc_Init_RC2, zrc_Init_RC5, zrc_Init_BF})
            EXPECT_EQ(init(&unit, kKey, kKey, 1), kCode);
        EXPECT_EQ(std::memcmp(&unit, &before, sizeof unit), 0);

        unit.initialized = -1; // used, and cleaned by Init
        EXPECT_EQ(ZRC_Init_BLOCK_CIPHER(&unit, ZRC_ARIA_128, kKey, nullptr, 1), kCode);
        EXPECT_EQ(unit.algorithm_id | unit.block_length, 0u);
        EXPECT_EQ(unit.key_schedule, nullptr);
        std::int32_t length = 0;
        EXPECT_EQ(ZRC_Update_BLOCK_CIPHER(&unit, output, &length, kKey, 16), 0x0502002Bu);
        EXPECT_EQ(ZRC_Init_BLOCK_CIPHER(nullptr, ZRC_ARIA_128, kKey, nullptr, 1), 0x0501002Bu) << "before the gate";

        EXPECT_EQ(ZRC_Init_CBC_MAC(nullptr, ZRC_AES_128, nullptr), kCode);
        EXPECT_EQ(ZRC_DES_MAC(nullptr, nullptr, 0, nullptr), kCode);
        EXPECT_EQ(ZRC_BLOCK_CIPHER(ZRC_ARIA_128, 1, kKey, nullptr, kKey, 16, output, &length), 0x05080021u);
        std::uint8_t record[ZRC_BLOCK_CIPHER_RECORD_BYTES];
        std::uint32_t size = sizeof record;
        EXPECT_EQ(ZRC_Init_Advanced_BLOCK_CIPHER(ZRC_ARIA_128, kKey, nullptr, 1, record, &size), 0x050A0021u);
        EXPECT_EQ(ZRC_CBC_MAC(ZRC_AES_128, kKey, kKey, 16, output, nullptr), 0x06040023u);
        EXPECT_GT(zrc::self_test_runs, 20u);
    });
}

TEST(SelfTest, MacsAskForTheModeInTheirOrder)
{
    test::in_a_fresh_proven_process([] {
        zrc::broken_checks = 1u << ZRC_F_VERSION_CHECK;
        EXPECT_EQ(ZRC_Init_CBC_MAC(nullptr, ZRC_AES_128, kKey), 0x060100F0u); // the mode, the gate, the arguments
        EXPECT_EQ(ZRC_DES_MAC(nullptr, kKey, 3, output), 0x1A030059u);        // the gate,
        zrc::broken_checks = 0;
        EXPECT_EQ(ZRC_Crypto_Initialize(), 0u);
        EXPECT_EQ(ZRC_DES_MAC(nullptr, kKey, 3, output), 0x090100F0u); // the mode, the arguments;
        allocations_until_failure = 0;
        EXPECT_EQ(ZRC_DES_MAC(kKey, kKey, 3, output), 0x0901003Cu); // the memory comes before both
        allocations_until_failure = -1;
    });
}

// The first calls that threads make at once, of different families.
TEST(SelfTest, ThreadsWaitForTheOneThatTests)
{
    static std::atomic<int> entered, returned;
    static std::atomic<bool> held;
    static constexpr std::uint32_t (*kFirstCalls[])() = {
        ZRC_Crypto_Initialize,
        [] {
            std::uint8_t byte;
            return ZRC_Rand_Bytes(&byte, 1);
        },
        [] {
            ZRC_SHA256_STATE state;
            return zrc_Init_SHA256(&state);
        },
        [] {
            ZRC_RSA_UNIT unit{};
            const std::uint32_t code = ZRC_Set_RSA_Public_Params(&unit, nullptr, nullptr);
            return code == 0x1802002B ? 0 : code; // what it answers behind the gate
        },
    };
    constexpr int kThreads = int(std::size(kFirstCalls));
    const auto in_each_mode = [](bool broken, auto scenario) {
        in_a_fresh_process([=] { scenario(broken); });
        test::in_a_fresh_proven_process([=] { scenario(broken); });
    };
    for (const bool broken : {false, true}) {
        in_each_mode(broken, [](bool breaking) {
            zrc::broken_checks = breaking ? 1u << ZRC_F_DIGEST_CHECK : 0;
            // The first allocation inside the self-test holds it until all threads are at the gate, and a bit longer.
            on_allocation = [] {
                if (entered == 0 || held.exchange(true)) return;
                while (entered < kThreads)
                    std::this_thread::yield();
                std::this_thread::sleep_for(std::chrono::milliseconds(300));
                EXPECT_EQ(returned, 0) << "a thread slipped through while the self-test ran";
            };
            std::vector<std::thread> threads;
            std::vector<std::uint32_t> codes(kThreads, 1);
            for (int i = 0; i < kThreads; ++i) {
                threads.emplace_back([&code = codes[std::size_t(i)], i] {
                    ++entered;
                    code = kFirstCalls[i]();
                    ++returned;
                });
            }
            for (std::thread& thread : threads)
                thread.join();
            on_allocation = nullptr;
            EXPECT_TRUE(held);
            EXPECT_EQ(zrc::self_test_runs, 1u);
            EXPECT_EQ(codes, std::vector<std::uint32_t>(kThreads, breaking ? 0x1A070059 : 0));
        });
    }
}
