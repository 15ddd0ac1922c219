// The engine of RC5-32/16: key expansion and single blocks against RFC 2040, kernels against single blocks.
#include "cipher/rc5_engine.hpp"
#include "tests/cipher/engine.hpp"

namespace {

using test::bytes;

ZRC_RC5_KEY keyed(const bytes& key)
{
    auto schedule = test::filled<ZRC_RC5_KEY>(0xA5);
    EXPECT_EQ(zrc_Init_Encrypt_RC5_Key(key.data(), std::uint32_t(key.size()), &schedule), 0U);
    EXPECT_EQ(schedule.rounds, 16U);
    return schedule;
}

TEST(Rc5Engine, ExpandsKeysAndTransformsBlocksAsPublished)
{
    for (const test::stanza& vector : test::read_vectors("rc5.txt", "RC5 key schedule")) {
        const ZRC_RC5_KEY schedule = keyed(vector["key"]);
        EXPECT_EQ(test::hex_words<std::uint32_t>(schedule.round_key), test::hex(vector["expanded"])) << vector.place;
    }
    for (const test::stanza& vector : test::read_vectors("rc5.txt", "RC5-32/16/16 ECB")) {
        const ZRC_RC5_KEY schedule = keyed(vector["key"]);
        test::expect_blocks(zrc_RC5_Encrypt_Block, schedule, vector["plaintext"], vector["ciphertext"], vector.place);
        test::expect_blocks(zrc_RC5_Decrypt_Block, schedule, vector["ciphertext"], vector["plaintext"], vector.place);
    }
    // Keys of other lengths; single blocks in CBC mode.
    for (const test::stanza& vector : test::read_vectors("rc5.txt", "RC5-32 CBC")) {
        const ZRC_RC5_KEY schedule = keyed(vector["key"]);
        bytes block = vector["plaintext"];
        for (std::size_t i = 0; i < block.size(); ++i)
            block[i] ^= vector["iv"].at(i);
        test::expect_blocks(zrc_RC5_Encrypt_Block, schedule, block, vector["ciphertext"], vector.place);
        test::expect_blocks(zrc_RC5_Decrypt_Block, schedule, vector["ciphertext"], block, vector.place);
    }
}

TEST(Rc5Engine, KeysEndInZeroBytesUpToAWholeWord)
{
    const bytes key{1, 2, 3, 4, 5, 0, 0, 0};
    const ZRC_RC5_KEY whole = keyed(key);
    for (std::uint32_t length = 5; length < 8; ++length) {
        auto schedule = test::filled<ZRC_RC5_KEY>(0);
        EXPECT_EQ(zrc_Init_Encrypt_RC5_Key(key.data(), length, &schedule), 0U);
        EXPECT_TRUE(test::same(schedule, whole)) << length;
    }
    auto empty = test::filled<ZRC_RC5_KEY>(0);
    EXPECT_EQ(zrc_Init_Encrypt_RC5_Key(key.data(), 0, &empty), 0U);
    EXPECT_TRUE(test::same(empty, keyed(bytes(4, 0)))) << "no key is one word of zeros";
}

TEST(Rc5Engine, BadArgumentsLeaveTheScheduleAlone)
{
    constexpr std::uint32_t kBad = 0x1701002B;
    const bytes key(256, 0x5C);
    const auto before = test::filled<ZRC_RC5_KEY>(0xA5);
    auto schedule = before;

    EXPECT_EQ(zrc_Init_Encrypt_RC5_Key(nullptr, 16, &schedule), kBad);
    EXPECT_EQ(zrc_Init_Encrypt_RC5_Key(nullptr, 0, &schedule), kBad);
    EXPECT_EQ(zrc_Init_Encrypt_RC5_Key(key.data(), 16, nullptr), kBad);
    for (const std::uint32_t length : {256U, UINT32_MAX})
        EXPECT_EQ(zrc_Init_Encrypt_RC5_Key(key.data(), length, &schedule), kBad) << length;
    EXPECT_TRUE(test::same(schedule, before));
    EXPECT_EQ(zrc_Init_Encrypt_RC5_Key(key.data(), 255, &schedule), 0U);

    zrc_RC5_Encrypt_Block(nullptr, nullptr, nullptr);
    zrc_RC5_Decrypt_Block(nullptr, nullptr, nullptr);
}

TEST(Rc5Engine, KernelsDoTheModesOfSingleBlocks)
{
    const ZRC_RC5_KEY key = keyed(test::read_vectors("rc5.txt", "RC5 key schedule").back()["key"]);
    test::expect_modes_of_single_blocks<zrc::rc5_cipher>(zrc::rc5_kernels, key, key, 133);
}

} // namespace
