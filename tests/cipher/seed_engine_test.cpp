// SEED and SEED-256: tables, key schedules and single blocks against the published vectors, and every kernel against
// the portable one.
#include "cipher/seed_engine.hpp"
#include "cipher/seed_tables.hpp"
#include "core/bytes.hpp"
#include "tests/cipher/kernels_equal.hpp"
#include "tests/vector_file.hpp"

#include <gtest/gtest.h>
#include <initializer_list>

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
    const test::bytes &plain = vector["plaintext"], &cipher = vector["ciphertext"];
    test::bytes out(16);
    zrc_SEED_Encrypt_Block(plain.data(), out.data(), &schedule);
    EXPECT_EQ(test::hex(out), test::hex(cipher)) << vector.place;
    zrc_SEED_Decrypt_Block(out.data(), out.data(), &schedule); // in place
    EXPECT_EQ(test::hex(out), test::hex(plain)) << vector.place;
}

TEST(SeedEngine, ComputesThePublishedTables)
{
    const test::stanza tables = test::read_vectors("seed.txt", "SEED tables").at(0);
    EXPECT_EQ(test::bytes(zrc::kSeedS1.begin(), zrc::kSeedS1.end()), tables["s1"]);
    EXPECT_EQ(test::bytes(zrc::kSeedS2.begin(), zrc::kSeedS2.end()), tables["s2"]);
    test::bytes box;
    for (const std::uint32_t word : zrc::SEED_BOX) {
        box.resize(box.size() + 4);
        zrc::store_be32(&*box.end() - 4, word);
    }
    test::bytes expected;
    for (const char* name : {"ss0", "ss1", "ss2", "ss3"})
        expected.insert(expected.end(), tables[name].begin(), tables[name].end());
    EXPECT_EQ(test::hex(box), test::hex(expected));
}

TEST(SeedEngine, GivesThePublishedRoundKeysAndBlocks)
{
    for (const test::stanza& vector : test::read_vectors("seed.txt", "SEED rounds")) {
        const ZRC_SEED_KEY schedule = schedule_of(vector["key"]);
        const bool narrow = vector["key"].size() == 16;
        EXPECT_EQ(schedule.rounds, narrow ? 16U : 24U);
        test::bytes keys(sizeof schedule.round_key), expected = vector["round_keys"];
        for (std::size_t i = 0; i < 48; ++i)
            zrc::store_be32(&keys[4 * i], schedule.round_key[i]);
        EXPECT_EQ(expected.size(), narrow ? 128U : 192U);
        expected.resize(sizeof schedule.round_key); // unused ones are zero
        EXPECT_EQ(test::hex(keys), test::hex(expected)) << vector.place;
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
    const test::bytes in(100 * 16, 1), untouched(100 * 16, 2);
    for (const std::uint32_t rounds : {0U, 15U, 20U, 26U, 0xFFFFFFFFU}) {
        schedule.rounds = rounds;
        test::bytes out = untouched, chain(16, 3);
        zrc_SEED_Encrypt_Block(in.data(), out.data(), &schedule);
        zrc_SEED_Decrypt_Block(in.data(), out.data(), &schedule);
        for (const auto& kernel : zrc::seed_kernels.list()) {
            if (!zrc::cpu_has(kernel.needs)) continue;
            for (const zrc::block_mode mode :
                 {zrc::block_mode::ecb_decrypt, zrc::block_mode::ofb, zrc::block_mode::ctr})
                kernel.run(schedule, mode, chain.data(), in.data(), out.data(), 100);
        }
        EXPECT_EQ(out, untouched) << rounds;
        EXPECT_EQ(chain, test::bytes(16, 3)) << rounds;
    }
}

TEST(SeedEngine, KernelsEqualThePortableOne)
{
    test::repeatable random{19};
    for (const std::size_t key_bytes : {16U, 32U}) {
        const ZRC_SEED_KEY schedule = schedule_of(random.data(key_bytes));
        expect_kernels_equal(zrc::seed_kernels, schedule, schedule, 16, 2 * 64 + 5);
    }
}

} // namespace
