// AES: key schedules and single blocks against the published vectors, and every kernel against the portable one.
#include "cipher/aes_engine.hpp"
#include "tests/cipher/engine.hpp"

namespace {

using test::bytes;
using test::hex;

ZRC_AES_KEY keyed(decltype(zrc_Init_Encrypt_AES_Key)* init, const bytes& key)
{
    ZRC_AES_KEY schedule{};
    EXPECT_EQ(init(key.data(), std::uint32_t(key.size()), &schedule), 0U);
    EXPECT_EQ(schedule.rounds, key.size() / 4 + 6);
    return schedule;
}

TEST(AesEngine, GivesThePublishedRoundKeysAndBlocks)
{
    for (const test::stanza& vector : test::read_vectors("aes.txt", "AES key schedule")) {
        const auto round_keys = [&](decltype(zrc_Init_Encrypt_AES_Key)* init) {
            const ZRC_AES_KEY schedule = keyed(init, vector["key"]);
            return test::hex_words(std::span<const std::uint32_t>{schedule.round_key}.first(4 * (schedule.rounds + 1)));
        };
        EXPECT_EQ(round_keys(zrc_Init_Encrypt_AES_Key), hex(vector["round_keys"])) << vector.place;
        EXPECT_EQ(round_keys(zrc_Init_Decrypt_AES_Key), hex(vector["inverse_round_keys"])) << vector.place;
    }
    for (const char* section : {"AES-128 ECB", "AES-192 ECB", "AES-256 ECB"}) {
        for (const test::stanza& v : test::read_vectors("aes.txt", section)) {
            const bytes &plain = v["plaintext"], &coded = v["ciphertext"];
            test::expect_blocks(zrc_AES_Encrypt_Block, keyed(zrc_Init_Encrypt_AES_Key, v["key"]), plain, coded, v.place,
                                16);
            test::expect_blocks(zrc_AES_Decrypt_Block, keyed(zrc_Init_Decrypt_AES_Key, v["key"]), coded, plain, v.place,
                                16);
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
    for (const std::size_t length : {16U, 24U, 32U}) {
        const bytes key = test::repeatable{1}.data(length);
        const ZRC_AES_KEY encryption = keyed(zrc_Init_Encrypt_AES_Key, key);
        const ZRC_AES_KEY decryption = keyed(zrc_Init_Decrypt_AES_Key, key);
        test::expect_kernels_equal(zrc::aes_kernels, encryption, decryption, 16, 2 * 32 + 5);
        // The forward rounds over a decryption schedule: what CFB128 is made of in a unit that decrypts.
        test::expect_kernels_equal(zrc::aes_kernels, decryption, encryption, 16, 37);
    }
}

} // namespace
