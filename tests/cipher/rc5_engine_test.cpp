// The engine of RC5-32/16: key expansion and single blocks against RFC 2040, kernels against single blocks.
#include "cipher/rc5_engine.hpp"
#include "tests/cipher/engine.hpp"

namespace {

using test::bytes;

ZRC_RC5_KEY keyed(const bytes& key)
{
    const auto schedule = test::schedule_for<ZRC_RC5_KEY>(zrc_Init_Encrypt_RC5_Key, key);
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
        test::expect_vector(zrc_RC5_Encrypt_Block, schedule, zrc_RC5_Decrypt_Block, schedule, vector);
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

TEST(Rc5Engine, NoKeyIsOneWordOfZeros)
{
    auto empty = test::filled<ZRC_RC5_KEY>(0);
    EXPECT_EQ(zrc_Init_Encrypt_RC5_Key(bytes(1).data(), 0, &empty), 0U);
    EXPECT_TRUE(test::same(empty, keyed(bytes(4, 0))));
}

TEST(Rc5Engine, BadArgumentsLeaveTheScheduleAlone)
{
    test::expect_refusals<ZRC_RC5_KEY>(zrc_Init_Encrypt_RC5_Key, 0x1701002B, {256, UINT32_MAX});
    keyed(bytes(255, 0x5C));
    auto schedule = test::filled<ZRC_RC5_KEY>(0);
    EXPECT_EQ(zrc_Init_Encrypt_RC5_Key(nullptr, 0, &schedule), 0x1701002BU);
    zrc_RC5_Encrypt_Block(nullptr, nullptr, nullptr);
    zrc_RC5_Decrypt_Block(nullptr, nullptr, nullptr);
}

TEST(Rc5Engine, KernelsDoTheModesOfSingleBlocks)
{
    const ZRC_RC5_KEY key = keyed(test::read_vectors("rc5.txt", "RC5 key schedule").back()["key"]);
    test::expect_modes_of_single_blocks<zrc::rc5_cipher>(zrc::rc5_kernels, key, key, 133);
}

} // namespace
