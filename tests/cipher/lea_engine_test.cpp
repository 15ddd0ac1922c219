// The LEA engine: schedules and single blocks against the standard, kernels against each other.
#include "cipher/lea_engine.hpp"
#include "tests/cipher/kernels_equal.hpp"
#include "tests/vector_file.hpp"

#include <cstring>
#include <gtest/gtest.h>

namespace {

using test::bytes;

constexpr std::uint32_t kBadInput = 0x1F01002B;

ZRC_LEA_KEY filled(std::uint8_t value)
{
    ZRC_LEA_KEY schedule;
    std::memset(&schedule, value, sizeof schedule);
    return schedule;
}

ZRC_LEA_KEY keyed(const bytes& key)
{
    ZRC_LEA_KEY schedule = filled(0xA5);
    EXPECT_EQ(zrc_Init_Encrypt_LEA_Key(key.data(), std::uint32_t(key.size()), &schedule), 0U);
    return schedule;
}

std::string hex_words(std::span<const std::uint32_t> words)
{
    bytes data;
    for (const std::uint32_t word : words)
        for (int shift = 24; shift >= 0; shift -= 8)
            data.push_back(std::uint8_t(word >> shift));
    return test::hex(data);
}

// Misaligned, into another buffer and back in place.
void expect_blocks(const test::stanza& vector)
{
    const ZRC_LEA_KEY schedule = keyed(vector["key"]);
    const bytes &plaintext = vector["plaintext"], &ciphertext = vector["ciphertext"];
    ASSERT_EQ(plaintext.size(), ciphertext.size()) << vector.place;
    for (std::size_t i = 0; i < plaintext.size(); i += 16) {
        const std::string plain = test::hex(std::span{plaintext}.subspan(i, 16));
        std::uint8_t block[18]{};
        zrc_LEA_Encrypt_Block(plaintext.data() + i, block + 1, &schedule);
        EXPECT_EQ(test::hex(block), "00" + test::hex(std::span{ciphertext}.subspan(i, 16)) + "00") << vector.place;
        zrc_LEA_Decrypt_Block(block + 1, block + 1, &schedule);
        EXPECT_EQ(test::hex(block), "00" + plain + "00") << vector.place;
    }
}

TEST(LeaEngine, ExpandsKeys)
{
    for (const test::stanza& vector : test::read_vectors("lea.txt", "LEA key schedule")) {
        const bytes& key = vector["key"];
        bytes misaligned{0};
        misaligned.insert(misaligned.end(), key.begin(), key.end());
        ZRC_LEA_KEY schedule = filled(0xA5);
        ASSERT_EQ(zrc_Init_Encrypt_LEA_Key(misaligned.data() + 1, std::uint32_t(key.size()), &schedule), 0U);

        const std::size_t rounds = 16 + key.size() / 2;
        EXPECT_EQ(schedule.rounds, rounds);
        EXPECT_EQ(hex_words(schedule.round_key),
                  test::hex(vector["round_keys"]) + std::string(8 * (192 - 6 * rounds), '0'))
            << vector.place;
        expect_blocks(vector);
    }
}

TEST(LeaEngine, EncryptsAndDecryptsBlocks)
{
    for (const char* section : {"LEA-128 ECB", "LEA-192 ECB", "LEA-256 ECB"})
        for (const test::stanza& vector : test::read_vectors("lea.txt", section))
            expect_blocks(vector);
}

TEST(LeaEngine, RefusesOtherKeys)
{
    const bytes key(40, 0x11);
    const ZRC_LEA_KEY before = filled(0xA5);
    ZRC_LEA_KEY schedule = before;
    for (const std::uint32_t length : {0U, 4U, 15U, 17U, 20U, 28U, 31U, 33U, 40U, 128U, 0x20000010U, 0xFFFFFFFFU})
        EXPECT_EQ(zrc_Init_Encrypt_LEA_Key(key.data(), length, &schedule), kBadInput) << length;
    EXPECT_EQ(zrc_Init_Encrypt_LEA_Key(nullptr, 16, &schedule), kBadInput);
    EXPECT_EQ(zrc_Init_Encrypt_LEA_Key(key.data(), 16, nullptr), kBadInput);
    EXPECT_EQ(std::memcmp(&schedule, &before, sizeof schedule), 0);
}

TEST(LeaEngine, DoesNothingWithoutAKey)
{
    for (const std::uint32_t rounds : {0U, 1U, 20U, 25U, 36U, 0xFFFFFFFFU}) {
        ZRC_LEA_KEY schedule = filled(0);
        schedule.rounds = rounds;
        const bytes in(16 * 70, 0x11), before(in.size(), 0x22), iv(16, 0x33);
        bytes out = before, chain = iv;
        zrc_LEA_Encrypt_Block(in.data(), out.data(), &schedule);
        zrc_LEA_Decrypt_Block(in.data(), out.data(), &schedule);
        for (const auto& kernel : zrc::lea_kernels.list()) {
            if (!zrc::cpu_has(kernel.needs)) continue;
            for (int mode = 0; mode <= int(zrc::block_mode::ctr); ++mode)
                kernel.run(schedule, zrc::block_mode(mode), chain.data(), in.data(), out.data(), 70);
        }
        EXPECT_EQ(out, before);
        EXPECT_EQ(chain, iv);
    }
}

TEST(LeaEngine, KernelsAreEqual)
{
    test::repeatable random{1223};
    for (const std::size_t length : {16U, 24U, 32U}) {
        const ZRC_LEA_KEY schedule = keyed(random.data(length));
        expect_kernels_equal(zrc::lea_kernels, schedule, schedule, 16, 2 * 64 + 5);
    }
}

} // namespace
