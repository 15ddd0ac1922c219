// AES: key schedules and single blocks against the published vectors, and every kernel against the portable one.
#include "cipher/aes_engine.hpp"
#include "tests/cipher/engine.hpp"

namespace {

using test::bytes;
using test::hex;

ZRC_AES_KEY keyed(decltype(zrc_Init_Encrypt_AES_Key)* init, const bytes& key)
{
    const auto schedule = test::schedule_for<ZRC_AES_KEY>(init, key);
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
    for (const char* section : {"AES-128 ECB", "AES-192 ECB", "AES-256 ECB"})
        for (const test::stanza& v : test::read_vectors("aes.txt", section))
            test::expect_vector(zrc_AES_Encrypt_Block, keyed(zrc_Init_Encrypt_AES_Key, v["key"]), zrc_AES_Decrypt_Block,
                                keyed(zrc_Init_Decrypt_AES_Key, v["key"]), v, 16);
}

TEST(AesEngine, RefusesWhatDoesNotFitAndChangesNothing)
{
    for (const auto init : {zrc_Init_Encrypt_AES_Key, zrc_Init_Decrypt_AES_Key})
        test::expect_refusals<ZRC_AES_KEY>(init, 0x0101002B, {0, 15, 20, 33, 128});

    const ZRC_AES_KEY five_rounds{{7}, 5}; // no such number
    bytes block(16, 9);
    zrc_AES_Encrypt_Block(block.data(), block.data(), &five_rounds);
    zrc_AES_Decrypt_Block(block.data(), block.data(), &five_rounds);
    zrc_AES_Encrypt_Block(nullptr, block.data(), &five_rounds);
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
