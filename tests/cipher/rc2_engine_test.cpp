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
        test::expect_vector(zrc_RC2_Encrypt_Block, schedule, zrc_RC2_Decrypt_Block, schedule, vector);
    }
}

TEST(Rc2Engine, BadArgumentsLeaveTheScheduleAlone)
{
    const auto with_bits = [](std::uint32_t bits) {
        return [bits](const std::uint8_t* key, std::uint32_t length, ZRC_RC2_KEY* schedule) {
            return zrc_Init_Encrypt_RC2_Key(key, length, bits, schedule);
        };
    };
    test::expect_refusals<ZRC_RC2_KEY>(with_bits(128), 0x1500002B, {0, 129, UINT32_MAX});
    for (const std::uint32_t bits : {0U, 1025U, UINT32_MAX})
        test::expect_refusals<ZRC_RC2_KEY>(with_bits(bits), 0x1500002B, {1, 16, 128});
    for (const std::uint32_t bits : {1U, 8U, 1024U}) // the ends of both ranges, each with each
        for (const std::size_t length : {1U, 128U})
            test::schedule_for<ZRC_RC2_KEY>(with_bits(bits), bytes(length, 0x5C));

    zrc_RC2_Encrypt_Block(nullptr, nullptr, nullptr);
    zrc_RC2_Decrypt_Block(nullptr, nullptr, nullptr);
}

TEST(Rc2Engine, KernelsDoTheModesOfSingleBlocks)
{
    const ZRC_RC2_KEY key = keyed(test::read_vectors("rc2.txt", "RC2 key schedule").front());
    test::expect_modes_of_single_blocks<zrc::rc2_cipher>(zrc::rc2_kernels, key, key, 133);
}

} // namespace
