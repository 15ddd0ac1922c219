// AES: key schedules and single blocks against the published vectors, and every kernel against the portable one.
#include "cipher/aes_engine.hpp"
#include "core/bytes.hpp"
#include "tests/cipher/kernels_equal.hpp"
#include "tests/vector_file.hpp"

#include <gtest/gtest.h>

namespace {

using test::bytes;
using test::hex;

bytes round_keys(const ZRC_AES_KEY& schedule)
{
    bytes keys(16 * (schedule.rounds + 1));
    for (std::size_t i = 0; i < keys.size() / 4; ++i)
        zrc::store_be32(&keys[4 * i], schedule.round_key[i]);
    return keys;
}

TEST(AesEngine, GivesThePublishedRoundKeys)
{
    for (const test::stanza& vector : test::read_vectors("aes.txt", "AES key schedule")) {
        const bytes& key = vector["key"];
        ZRC_AES_KEY schedule{};
        ASSERT_EQ(zrc_Init_Encrypt_AES_Key(key.data(), std::uint32_t(key.size()), &schedule), 0U);
        EXPECT_EQ(schedule.rounds, key.size() / 4 + 6);
        EXPECT_EQ(hex(round_keys(schedule)), hex(vector["round_keys"])) << vector.place;
        ASSERT_EQ(zrc_Init_Decrypt_AES_Key(key.data(), std::uint32_t(key.size()), &schedule), 0U);
        EXPECT_EQ(hex(round_keys(schedule)), hex(vector["inverse_round_keys"])) << vector.place;
    }
}

TEST(AesEngine, GivesThePublishedBlocks)
{
    for (const char* section : {"AES-128 ECB", "AES-192 ECB", "AES-256 ECB"}) {
        for (const test::stanza& vector : test::read_vectors("aes.txt", section)) {
            const bytes &key = vector["key"], &plain = vector["plaintext"], &cipher = vector["ciphertext"];
            ZRC_AES_KEY encryption, decryption;
            zrc_Init_Encrypt_AES_Key(key.data(), std::uint32_t(key.size()), &encryption);
            zrc_Init_Decrypt_AES_Key(key.data(), std::uint32_t(key.size()), &decryption);
            bytes out = plain;
            for (std::size_t at = 0; at < out.size(); at += 16)
                zrc_AES_Encrypt_Block(&out[at], &out[at], &encryption);
            EXPECT_EQ(hex(out), hex(cipher)) << vector.place;
            for (std::size_t at = 0; at < out.size(); at += 16)
                zrc_AES_Decrypt_Block(&out[at], &out[at], &decryption);
            EXPECT_EQ(hex(out), hex(plain)) << vector.place;
        }
    }
}

TEST(AesEngine, RefusesWhatDoesNotFitAndChangesNothing)
{
    const bytes key(32, 1);
    ZRC_AES_KEY schedule{{7}, 5};
    for (const std::uint32_t length : {0U, 15U, 20U, 33U, 128U}) {
        EXPECT_EQ(zrc_Init_Encrypt_AES_Key(key.data(), length, &schedule), 0x0101002BU);
        EXPECT_EQ(zrc_Init_Decrypt_AES_Key(key.data(), length, &schedule), 0x0101002BU);
    }
    EXPECT_EQ(zrc_Init_Encrypt_AES_Key(nullptr, 16, &schedule), 0x0101002BU);
    EXPECT_EQ(zrc_Init_Decrypt_AES_Key(key.data(), 16, nullptr), 0x0101002BU);
    EXPECT_EQ(schedule.round_key[0], 7U);
    EXPECT_EQ(schedule.rounds, 5U);

    bytes block(16, 9);
    zrc_AES_Encrypt_Block(block.data(), block.data(), &schedule); // no such number of rounds
    zrc_AES_Decrypt_Block(block.data(), block.data(), &schedule);
    zrc_AES_Encrypt_Block(nullptr, block.data(), &schedule);
    zrc_AES_Encrypt_Block(block.data(), block.data(), nullptr);
    EXPECT_EQ(block, bytes(16, 9));
}

TEST(AesEngine, EveryKernelEqualsThePortableOne)
{
    const bytes key = test::repeatable{1}.data(32);
    for (const std::uint32_t length : {16U, 24U, 32U}) {
        ZRC_AES_KEY encryption, decryption;
        zrc_Init_Encrypt_AES_Key(key.data(), length, &encryption);
        zrc_Init_Decrypt_AES_Key(key.data(), length, &decryption);
        expect_kernels_equal(zrc::aes_kernels, encryption, decryption, 16, 2 * 32 + 5);
        // The forward rounds over a decryption schedule: what CFB128 is made of in a unit that decrypts.
        expect_kernels_equal(zrc::aes_kernels, decryption, encryption, 16, 37);
    }
}

} // namespace
