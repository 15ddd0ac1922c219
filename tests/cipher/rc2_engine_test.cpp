// The engine of RC2: key expansion and single blocks against RFC 2268, kernels against single blocks.
#include "cipher/rc2_engine.hpp"
#include "tests/cipher/engine.hpp"

namespace {

using test::bytes;

ZRC_RC2_KEY keyed(const test::stanza& vector)
{
    const bytes& key = vector["key"];
    auto schedule = test::filled<ZRC_RC2_KEY>(0xA5);
    const auto effective_bits = std::uint32_t(std::stoul(test::hex(vector["effective_bits"]))); // four decimal digits
    EXPECT_EQ(zrc_Init_Encrypt_RC2_Key(key.data(), std::uint32_t(key.size()), effective_bits, &schedule), 0U);
    EXPECT_EQ(schedule.effective_bits, effective_bits);
    return schedule;
}

TEST(Rc2Engine, ExpandsKeysAndTransformsBlocksAsPublished)
{
    for (const test::stanza& vector : test::read_vectors("rc2.txt", "RC2 key schedule")) {
        const ZRC_RC2_KEY schedule = keyed(vector);
        EXPECT_EQ(test::hex_words<std::uint16_t>(schedule.round_key), test::hex(vector["expanded"])) << vector.place;
    }
    for (const test::stanza& vector : test::read_vectors("rc2.txt", "RC2 ECB")) {
        const ZRC_RC2_KEY schedule = keyed(vector);
        test::expect_blocks(zrc_RC2_Encrypt_Block, schedule, vector["plaintext"], vector["ciphertext"], vector.place);
        test::expect_blocks(zrc_RC2_Decrypt_Block, schedule, vector["ciphertext"], vector["plaintext"], vector.place);
    }
}

TEST(Rc2Engine, BadArgumentsLeaveTheScheduleAlone)
{
    constexpr std::uint32_t kBad = 0x1500002B;
    const bytes key(129, 0x5C);
    const auto before = test::filled<ZRC_RC2_KEY>(0xA5);
    auto schedule = before;

    EXPECT_EQ(zrc_Init_Encrypt_RC2_Key(nullptr, 16, 128, &schedule), kBad);
    EXPECT_EQ(zrc_Init_Encrypt_RC2_Key(key.data(), 16, 128, nullptr), kBad);
    for (const std::uint32_t length : {0U, 129U, UINT32_MAX})
        EXPECT_EQ(zrc_Init_Encrypt_RC2_Key(key.data(), length, 128, &schedule), kBad) << length;
    for (const std::uint32_t bits : {0U, 1025U, UINT32_MAX})
        EXPECT_EQ(zrc_Init_Encrypt_RC2_Key(key.data(), 16, bits, &schedule), kBad) << bits;
    EXPECT_TRUE(test::same(schedule, before));

    // The ends of both ranges, each with each.
    for (const std::uint32_t length : {1U, 128U})
        for (const std::uint32_t bits : {1U, 8U, 1024U})
            EXPECT_EQ(zrc_Init_Encrypt_RC2_Key(key.data(), length, bits, &schedule), 0U) << length << " " << bits;

    zrc_RC2_Encrypt_Block(nullptr, nullptr, nullptr);
    zrc_RC2_Decrypt_Block(nullptr, nullptr, nullptr);
}

TEST(Rc2Engine, KernelsDoTheModesOfSingleBlocks)
{
    const ZRC_RC2_KEY key = keyed(test::read_vectors("rc2.txt", "RC2 key schedule").front());
    test::expect_modes_of_single_blocks<zrc::rc2_cipher>(zrc::rc2_kernels, key, key, 133);
}

} // namespace
