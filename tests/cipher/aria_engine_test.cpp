// The ARIA engine: schedules and single blocks against RFC 5794, kernels against each other.
#include "cipher/aria_engine.hpp"
#include "tests/cipher/engine.hpp"

namespace {

using test::bytes;
using test::same;

ZRC_ARIA_KEY keyed(decltype(zrc_Init_Encrypt_ARIA_Key)* init, const bytes& key)
{
    return test::schedule_for<ZRC_ARIA_KEY>(init, key, 0);
}

std::string hex_words(const std::uint32_t* words, std::size_t count)
{
    return test::hex_words(std::span{words, count});
}

TEST(AriaEngine, ExpandsKeys)
{
    for (const test::stanza& vector : test::read_vectors("aria.txt", "ARIA key schedule")) {
        const bytes& key = vector["key"];
        const auto bits = std::uint32_t(8 * key.size());
        const std::uint32_t rounds = bits / 32 + 8;
        const std::size_t words = 4 * (rounds + 1);
        const std::string encryption = test::hex(vector["encryption_round_keys"]);
        const std::string decryption = test::hex(vector["decryption_round_keys"]);

        bytes misaligned(1 + key.size());
        std::copy(key.begin(), key.end(), misaligned.begin() + 1);
        std::uint32_t round_keys[69];
        round_keys[words] = 0xFEEDBEEF;
        EXPECT_EQ(set_encrypt_key(misaligned.data() + 1, round_keys, bits), rounds);
        EXPECT_EQ(hex_words(round_keys, words), encryption) << vector.place;
        EXPECT_EQ(set_decrypt_key(misaligned.data() + 1, round_keys, bits), rounds);
        EXPECT_EQ(hex_words(round_keys, words), decryption) << vector.place;
        EXPECT_EQ(round_keys[words], 0xFEEDBEEF) << "nothing behind the round keys is written";

        // Each direction fills its own half, to the end, and keeps the other.
        const std::string rest(8 * (68 - words), '0'), other = hex_words(test::filled<ZRC_ARIA_KEY>(0xA5).encrypt, 68);
        auto both = test::schedule_for<ZRC_ARIA_KEY>(zrc_Init_Decrypt_ARIA_Key, key);
        EXPECT_EQ(both.rounds, rounds);
        EXPECT_EQ(hex_words(both.encrypt, 68), other);
        EXPECT_EQ(hex_words(both.decrypt, 68), decryption + rest);
        EXPECT_EQ(zrc_Init_Encrypt_ARIA_Key(key.data(), std::uint32_t(key.size()), &both), 0U);
        EXPECT_EQ(hex_words(both.encrypt, 68), encryption + rest);
        EXPECT_EQ(hex_words(both.decrypt, 68), decryption + rest);

        const ZRC_ARIA_KEY forward = keyed(zrc_Init_Encrypt_ARIA_Key, key);
        const ZRC_ARIA_KEY backward = keyed(zrc_Init_Decrypt_ARIA_Key, key);
        ZRC_ARIA_KEY recovered = test::filled<ZRC_ARIA_KEY>(0xA5);
        zrc::aria_forward_schedule(backward, recovered);
        EXPECT_TRUE(same(recovered, forward)) << vector.place;
    }
}

TEST(AriaEngine, RefusesOtherKeys)
{
    for (const auto init : {zrc_Init_Encrypt_ARIA_Key, zrc_Init_Decrypt_ARIA_Key})
        test::expect_refusals<ZRC_ARIA_KEY>(init, 0x0201002B, {0, 8, 15, 17, 20, 33, 128, 0x20000010, 0xFFFFFFFF});
    const bytes key(40, 0x11);
    std::uint32_t round_keys[68]{}, untouched[68]{};
    for (const auto set : {set_encrypt_key, set_decrypt_key}) {
        for (const std::uint32_t bits : {0U, 16U, 64U, 127U, 129U, 160U, 320U, 0xFFFFFFFFU})
            EXPECT_EQ(set(key.data(), round_keys, bits), 0U) << bits;
        EXPECT_EQ(set(nullptr, round_keys, 128), 0U);
        EXPECT_EQ(set(key.data(), nullptr, 128), 0U);
        EXPECT_EQ(std::memcmp(round_keys, untouched, sizeof untouched), 0);
    }
}

TEST(AriaEngine, CryptsSingleBlocks)
{
    for (const char* section : {"ARIA-128 ECB", "ARIA-192 ECB", "ARIA-256 ECB"}) {
        for (const test::stanza& vector : test::read_vectors("aria.txt", section)) {
            const ZRC_ARIA_KEY forward = keyed(zrc_Init_Encrypt_ARIA_Key, vector["key"]);
            const ZRC_ARIA_KEY backward = keyed(zrc_Init_Decrypt_ARIA_Key, vector["key"]);
            test::expect_vector(zrc_ARIA_Encrypt_Block, forward, zrc_ARIA_Decrypt_Block, backward, vector, 16);
        }
    }
}

TEST(AriaEngine, DoesNothingWithoutAKey)
{
    for (const std::uint32_t rounds : {0U, 1U, 13U, 18U, 0xFFFFFFFFU}) {
        ZRC_ARIA_KEY schedule = test::filled<ZRC_ARIA_KEY>(0);
        schedule.rounds = rounds;
        test::expect_nothing_done(zrc::aria_kernels, zrc_ARIA_Encrypt_Block, zrc_ARIA_Decrypt_Block, schedule);
        ZRC_ARIA_KEY forward = test::filled<ZRC_ARIA_KEY>(0xA5);
        zrc::aria_forward_schedule(schedule, forward);
        EXPECT_TRUE(same(forward, test::filled<ZRC_ARIA_KEY>(0)));
    }
}

TEST(AriaEngine, KernelsAreEqual)
{
    test::repeatable random{5794};
    for (const std::size_t length : {16U, 24U, 32U}) {
        const bytes key = random.data(length);
        test::expect_kernels_equal<ZRC_ARIA_KEY>(zrc::aria_kernels, keyed(zrc_Init_Encrypt_ARIA_Key, key),
                                                 keyed(zrc_Init_Decrypt_ARIA_Key, key), 16, 2 * 64 + 5);
    }
}

TEST(AriaEngine, PrintsBlocks)
{
    const bytes block{0x00, 0x1F, 0xA0, 0xFF, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15};
    testing::internal::CaptureStdout();
    printBlock(block.data());
    printBlockOfLength(block.data(), 3);
    printBlockOfLength(block.data(), 0);
    printBlockOfLength(block.data(), -1);
    printBlockOfLength(nullptr, 3);
    printBlock(nullptr);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "001fa0ff0405060708090a0b0c0d0e0f\n001fa0\n\n");
}

} // namespace
