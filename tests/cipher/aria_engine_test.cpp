// The ARIA engine: tables, schedules and single blocks against RFC 5794, kernels against each other.
#include "cipher/aria_engine.hpp"
#include "cipher/aria_tables.hpp"
#include "tests/cipher/engine.hpp"

namespace {

using test::bytes;
using test::same;

constexpr std::uint32_t kBadInput = 0x0201002B;

ZRC_ARIA_KEY keyed(decltype(zrc_Init_Encrypt_ARIA_Key)* init, const bytes& key)
{
    ZRC_ARIA_KEY schedule = test::filled<ZRC_ARIA_KEY>(0);
    EXPECT_EQ(init(key.data(), std::uint32_t(key.size()), &schedule), 0U);
    return schedule;
}

std::string hex_words(const std::uint32_t* words, std::size_t count)
{
    return test::hex_words(std::span{words, count});
}

TEST(AriaEngine, TablesAreThoseOfTheStandard)
{
    const test::stanza tables = test::read_vectors("aria.txt", "ARIA tables").front();
    const struct {
        const char* name;
        const zrc::aria_word_box& box;
        std::uint32_t pattern; // bytes that hold the entry
    } kBoxes[]{
        {"sb1", zrc::S1, 0x00010101},
        {"sb2", zrc::S2, 0x01000101},
        {"sb3", zrc::X1, 0x01010001},
        {"sb4", zrc::X2, 0x01010100},
    };
    for (const auto& [name, box, pattern] : kBoxes)
        for (std::size_t x = 0; x < 256; ++x)
            ASSERT_EQ(box[x], tables[name].at(x) * pattern) << name << " " << x;

    static_assert(sizeof zrc::KRK == 48);
    EXPECT_EQ(hex_words(zrc::KRK[0], 12), test::hex(tables["c1"]) + test::hex(tables["c2"]) + test::hex(tables["c3"]));
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
        for (const bool encryption_first : {true, false}) {
            ZRC_ARIA_KEY both = test::filled<ZRC_ARIA_KEY>(0xA5);
            for (const bool encrypting : {encryption_first, !encryption_first}) {
                const auto init = encrypting ? zrc_Init_Encrypt_ARIA_Key : zrc_Init_Decrypt_ARIA_Key;
                EXPECT_EQ(init(key.data(), std::uint32_t(key.size()), &both), 0U);
                EXPECT_EQ(both.rounds, rounds);
                const bool second = encrypting != encryption_first;
                EXPECT_EQ(hex_words(both.encrypt, 68), encrypting || second ? encryption + rest : other);
                EXPECT_EQ(hex_words(both.decrypt, 68), !encrypting || second ? decryption + rest : other);
            }
        }

        const ZRC_ARIA_KEY forward = keyed(zrc_Init_Encrypt_ARIA_Key, key);
        const ZRC_ARIA_KEY backward = keyed(zrc_Init_Decrypt_ARIA_Key, key);
        ZRC_ARIA_KEY recovered = test::filled<ZRC_ARIA_KEY>(0xA5);
        zrc::aria_forward_schedule(backward, recovered);
        EXPECT_TRUE(same(recovered, forward)) << vector.place;
    }
}

TEST(AriaEngine, RefusesOtherKeys)
{
    const bytes key(40, 0x11);
    std::uint32_t round_keys[68]{}, untouched[68]{};
    const ZRC_ARIA_KEY before = test::filled<ZRC_ARIA_KEY>(0xA5);
    for (const auto init : {zrc_Init_Encrypt_ARIA_Key, zrc_Init_Decrypt_ARIA_Key}) {
        ZRC_ARIA_KEY schedule = before;
        for (const std::uint32_t length : {0U, 8U, 15U, 17U, 20U, 31U, 33U, 40U, 128U, 0x20000010U, 0xFFFFFFFFU})
            EXPECT_EQ(init(key.data(), length, &schedule), kBadInput) << length;
        EXPECT_EQ(init(nullptr, 16, &schedule), kBadInput);
        EXPECT_EQ(init(key.data(), 16, nullptr), kBadInput);
        EXPECT_TRUE(same(schedule, before));
    }
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
            const bytes& plain = vector["plaintext"];
            const ZRC_ARIA_KEY forward = keyed(zrc_Init_Encrypt_ARIA_Key, vector["key"]);
            const ZRC_ARIA_KEY backward = keyed(zrc_Init_Decrypt_ARIA_Key, vector["key"]);
            const bytes& coded = vector["ciphertext"];
            test::expect_blocks(zrc_ARIA_Encrypt_Block, forward, plain, coded, vector.place, 16);
            test::expect_blocks(zrc_ARIA_Decrypt_Block, backward, coded, plain, vector.place, 16);

            // Keyed for the other direction: no crash, and not the right answer.
            bytes data(16);
            zrc_ARIA_Decrypt_Block(coded.data(), data.data(), &forward);
            EXPECT_NE(std::memcmp(data.data(), plain.data(), 16), 0);
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
