// SEED and SEED-256: key schedules and single blocks against the published vectors, and every kernel against the
// portable one.
#include "cipher/seed_engine.hpp"
#include "tests/cipher/engine.hpp"

namespace {

ZRC_SEED_KEY schedule_of(const test::bytes& key)
{
    ZRC_SEED_KEY schedule{{}, 1};
    const auto init = key.size() == 16 ? zrc_Init_Encrypt_SEED_Key : zrc_Init_Encrypt_SEED_Key_256;
    EXPECT_EQ(init(key.data(), &schedule), 0U);
    return schedule;
}

void expect_block(const test::stanza& vector)
{
    const ZRC_SEED_KEY schedule = schedule_of(vector["key"]);
    test::expect_vector(zrc_SEED_Encrypt_Block, schedule, zrc_SEED_Decrypt_Block, schedule, vector, 16);
}

TEST(SeedEngine, GivesThePublishedRoundKeysAndBlocks)
{
    for (const test::stanza& vector : test::read_vectors("seed.txt", "SEED rounds")) {
        const ZRC_SEED_KEY schedule = schedule_of(vector["key"]);
        const bool narrow = vector["key"].size() == 16;
        EXPECT_EQ(schedule.rounds, narrow ? 16U : 24U);
        test::bytes expected = vector["round_keys"];
        EXPECT_EQ(expected.size(), narrow ? 128U : 192U);
        expected.resize(sizeof schedule.round_key); // unused ones are zero
        EXPECT_EQ(test::hex_words<std::uint32_t>(schedule.round_key), test::hex(expected)) << vector.place;
        expect_block(vector);
    }
    for (const char* section : {"SEED-128 ECB", "SEED-256 ECB"})
        for (const test::stanza& vector : test::read_vectors("seed.txt", section))
            if (vector["plaintext"].size() == 16) expect_block(vector);
}

TEST(SeedEngine, RefusesNullsAndSchedulesThatAreNone)
{
    ZRC_SEED_KEY schedule = schedule_of(test::bytes(16, 7));
    for (const auto init : {zrc_Init_Encrypt_SEED_Key, zrc_Init_Encrypt_SEED_Key_256}) {
        const test::bytes key(32);
        EXPECT_EQ(init(nullptr, &schedule), 0x1901002BU);
        EXPECT_EQ(init(key.data(), nullptr), 0x1901002BU);
    }
    EXPECT_EQ(schedule.rounds, 16U);
    for (const std::uint32_t rounds : {0U, 15U, 20U, 26U, 0xFFFFFFFFU}) {
        schedule.rounds = rounds;
        test::expect_nothing_done(zrc::seed_kernels, zrc_SEED_Encrypt_Block, zrc_SEED_Decrypt_Block, schedule);
    }
}

TEST(SeedEngine, KernelsEqualThePortableOne)
{
    test::repeatable random{19};
    for (const std::size_t key_bytes : {16U, 32U}) {
        const ZRC_SEED_KEY schedule = schedule_of(random.data(key_bytes));
        test::expect_kernels_equal(zrc::seed_kernels, schedule, schedule, 16, 2 * 64 + 5);
    }
}

} // namespace
