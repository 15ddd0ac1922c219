// The LEA engine: schedules and single blocks against the standard, kernels against each other.
#include "cipher/lea_engine.hpp"
#include "tests/cipher/engine.hpp"

namespace {

using test::bytes;

ZRC_LEA_KEY keyed(const bytes& key)
{
    return test::schedule_for<ZRC_LEA_KEY>(zrc_Init_Encrypt_LEA_Key, key);
}

TEST(LeaEngine, ExpandsKeysAndTransformsBlocksAsPublished)
{
    for (const char* section : {"LEA key schedule", "LEA-128 ECB", "LEA-192 ECB", "LEA-256 ECB"}) {
        for (const test::stanza& vector : test::read_vectors("lea.txt", section)) {
            const ZRC_LEA_KEY schedule = keyed(vector["key"]);
            test::expect_vector(zrc_LEA_Encrypt_Block, schedule, zrc_LEA_Decrypt_Block, schedule, vector, 16);
            const std::size_t rounds = 16 + vector["key"].size() / 2;
            EXPECT_EQ(schedule.rounds, rounds);
            if (!vector.values.contains("round_keys")) continue;
            const std::string unused(8 * (192 - 6 * rounds), '0');
            EXPECT_EQ(test::hex_words<std::uint32_t>(schedule.round_key), test::hex(vector["round_keys"]) + unused)
                << vector.place;
        }
    }
}

TEST(LeaEngine, RefusesOtherKeys)
{
    test::expect_refusals<ZRC_LEA_KEY>(zrc_Init_Encrypt_LEA_Key, 0x1F01002B,
                                       {0, 4, 15, 17, 20, 28, 31, 33, 40, 128, 0x20000010, 0xFFFFFFFF});
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
