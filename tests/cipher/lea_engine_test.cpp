// The LEA engine: schedules and single blocks against the standard, kernels against each other.
#include "cipher/lea_engine.hpp"
#include "tests/cipher/engine.hpp"

namespace {

using test::bytes;

constexpr std::uint32_t kBadInput = 0x1F01002B;

ZRC_LEA_KEY keyed(const bytes& key)
{
    ZRC_LEA_KEY schedule = test::filled<ZRC_LEA_KEY>(0xA5);
    EXPECT_EQ(zrc_Init_Encrypt_LEA_Key(key.data(), std::uint32_t(key.size()), &schedule), 0U);
    return schedule;
}

void expect_blocks(const test::stanza& vector)
{
    const ZRC_LEA_KEY key = keyed(vector["key"]);
    const bytes &plain = vector["plaintext"], &coded = vector["ciphertext"];
    test::expect_blocks(zrc_LEA_Encrypt_Block, key, plain, coded, vector.place, 16);
    test::expect_blocks(zrc_LEA_Decrypt_Block, key, coded, plain, vector.place, 16);
}

TEST(LeaEngine, ExpandsKeys)
{
    for (const test::stanza& vector : test::read_vectors("lea.txt", "LEA key schedule")) {
        const bytes& key = vector["key"];
        bytes misaligned{0};
        misaligned.insert(misaligned.end(), key.begin(), key.end());
        ZRC_LEA_KEY schedule = test::filled<ZRC_LEA_KEY>(0xA5);
        ASSERT_EQ(zrc_Init_Encrypt_LEA_Key(misaligned.data() + 1, std::uint32_t(key.size()), &schedule), 0U);

        const std::size_t rounds = 16 + key.size() / 2;
        EXPECT_EQ(schedule.rounds, rounds);
        EXPECT_EQ(test::hex_words<std::uint32_t>(schedule.round_key),
                  test::hex(vector["round_keys"]) + std::string(8 * (192 - 6 * rounds), '0'))
            << vector.place;
        expect_blocks(vector);
    }
    for (const char* section : {"LEA-128 ECB", "LEA-192 ECB", "LEA-256 ECB"})
        for (const test::stanza& vector : test::read_vectors("lea.txt", section))
            expect_blocks(vector);
}

TEST(LeaEngine, RefusesOtherKeys)
{
    const bytes key(40, 0x11);
    const ZRC_LEA_KEY before = test::filled<ZRC_LEA_KEY>(0xA5);
    ZRC_LEA_KEY schedule = before;
    for (const std::uint32_t length : {0U, 4U, 15U, 17U, 20U, 28U, 31U, 33U, 40U, 128U, 0x20000010U, 0xFFFFFFFFU})
        EXPECT_EQ(zrc_Init_Encrypt_LEA_Key(key.data(), length, &schedule), kBadInput) << length;
    EXPECT_EQ(zrc_Init_Encrypt_LEA_Key(nullptr, 16, &schedule), kBadInput);
    EXPECT_EQ(zrc_Init_Encrypt_LEA_Key(key.data(), 16, nullptr), kBadInput);
    EXPECT_TRUE(test::same(schedule, before));
}

TEST(LeaEngine, DoesNothingWithoutAKey)
{
    for (const std::uint32_t rounds : {0U, 1U, 20U, 25U, 36U, 0xFFFFFFFFU}) {
        ZRC_LEA_KEY schedule = test::filled<ZRC_LEA_KEY>(0);
        schedule.rounds = rounds;
        test::expect_nothing_done(zrc::lea_kernels, zrc_LEA_Encrypt_Block, zrc_LEA_Decrypt_Block, schedule);
    }
}

TEST(LeaEngine, KernelsAreEqual)
{
    test::repeatable random{1223};
    for (const std::size_t length : {16U, 24U, 32U}) {
        const ZRC_LEA_KEY schedule = keyed(random.data(length));
        test::expect_kernels_equal(zrc::lea_kernels, schedule, schedule, 16, 2 * 64 + 5);
    }
}

} // namespace
