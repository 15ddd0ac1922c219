// The engines of DES and triple DES: schedules and single blocks against FIPS 46-3, SP 800-17, SP 800-20 and SP
// 800-67, kernels against single blocks.
#include "cipher/des_engine.hpp"
#include "tests/cipher/engine.hpp"

namespace {

using test::bytes;

constexpr std::uint16_t kEncryption = 1;
constexpr std::uint16_t kDecryption = 0;

ZRC_DES_KEY des_key(const bytes& key, std::uint16_t direction)
{
    auto schedule = test::filled<ZRC_DES_KEY>(0xA5);
    EXPECT_EQ(zrc_Init_Encrypt_DES_Key(key.data(), &schedule, direction), 0U);
    return schedule;
}

ZRC_DES_EDE_KEY ede_key(const bytes& key, std::uint16_t direction)
{
    auto schedule = test::filled<ZRC_DES_EDE_KEY>(0xA5);
    EXPECT_EQ(zrc_Init_Encrypt_DES_EDE_KEY(key.data(), std::uint32_t(key.size()), &schedule, direction), 0U);
    return schedule;
}

bytes parts(std::initializer_list<bytes> keys)
{
    bytes whole;
    for (const bytes& key : keys)
        whole.insert(whole.end(), key.begin(), key.end());
    return whole;
}

TEST(DesEngine, RoundKeysAreThoseOfTheStandard)
{
    for (const test::stanza& vector : test::read_vectors("des.txt", "DES key schedule")) {
        const ZRC_DES_KEY encryption = des_key(vector["key"], kEncryption);
        const ZRC_DES_KEY decryption = des_key(vector["key"], kDecryption);
        bytes round_keys;
        for (std::size_t round = 0; round < 16; ++round) {
            const auto& words = encryption.round_key[round];
            std::uint64_t joined = 0; // six bits for S1, S2, ... S8
            for (int shift = 24; shift >= 0; shift -= 8)
                for (const std::uint32_t word : words)
                    joined = joined << 6 | (word >> shift & 0xFF);
            for (int shift = 40; shift >= 0; shift -= 8)
                round_keys.push_back(std::uint8_t(joined >> shift));
            EXPECT_EQ(0, std::memcmp(words, decryption.round_key[15 - round], sizeof words)) << vector.place;
        }
        EXPECT_EQ(test::hex(round_keys), test::hex(vector["round_keys"])) << vector.place;

        bytes other_parity = vector["key"];
        for (std::uint8_t& byte : other_parity)
            byte ^= 1;
        EXPECT_TRUE(test::same(des_key(other_parity, kEncryption), encryption)) << "parity bits are ignored";
    }
}

TEST(DesEngine, TransformsThePublishedBlocks)
{
    for (const test::stanza& vector : test::read_vectors("des.txt", "DES ECB")) {
        const bytes &key = vector["key"], &plain = vector["plaintext"], &coded = vector["ciphertext"];
        test::expect_blocks(zrc_DES_Encrypt_Block, des_key(key, kEncryption), plain, coded, vector.place);
        test::expect_blocks(zrc_DES_Encrypt_Block, des_key(key, kDecryption), coded, plain, vector.place);
        // K1 = K2 = K3 is single DES.
        const bytes thrice = parts({key, key, key});
        test::expect_blocks(DES_EDE_encrypt_block, ede_key(thrice, kEncryption), plain, coded, vector.place);
        test::expect_blocks(DES_EDE_encrypt_block, ede_key(thrice, kDecryption), coded, plain, vector.place);
    }
    for (const char* section : {"DES-EDE2 ECB", "DES-EDE3 ECB"}) {
        for (const test::stanza& vector : test::read_vectors("des.txt", section)) {
            const bytes &key = vector["key"], &plain = vector["plaintext"], &coded = vector["ciphertext"];
            test::expect_blocks(DES_EDE_encrypt_block, ede_key(key, kEncryption), plain, coded, vector.place);
            test::expect_blocks(DES_EDE_encrypt_block, ede_key(key, kDecryption), coded, plain, vector.place);
        }
    }
}

TEST(DesEngine, WeakKeysAreAccepted)
{
    const bytes plain{0x01, 0x23, 0x45, 0x67, 0x89, 0xAB, 0xCD, 0xEF};
    const auto undoes = [&](const bytes& first, const bytes& second) {
        bytes block(8);
        const ZRC_DES_KEY one = des_key(first, kEncryption), other = des_key(second, kEncryption);
        zrc_DES_Encrypt_Block(plain.data(), block.data(), &one);
        zrc_DES_Encrypt_Block(block.data(), block.data(), &other);
        return block == plain;
    };
    for (const test::stanza& weak : test::read_vectors("des.txt", "DES weak keys"))
        EXPECT_TRUE(undoes(weak["key"], weak["key"])) << weak.place;
    for (const test::stanza& pair : test::read_vectors("des.txt", "DES semi-weak pairs"))
        EXPECT_TRUE(undoes(pair["key1"], pair["key2"])) << pair.place;
}

TEST(DesEngine, BadArgumentsLeaveTheScheduleAlone)
{
    constexpr std::uint32_t kBadDes = 0x0801002B, kBadEde = 0x0807002B;
    const bytes key(32, 0x5C);
    const auto des_before = test::filled<ZRC_DES_KEY>(0xA5);
    const auto ede_before = test::filled<ZRC_DES_EDE_KEY>(0xA5);
    auto des = des_before;
    auto ede = ede_before;

    EXPECT_EQ(zrc_Init_Encrypt_DES_Key(nullptr, &des, kEncryption), kBadDes);
    EXPECT_EQ(zrc_Init_Encrypt_DES_Key(key.data(), nullptr, kEncryption), kBadDes);

    for (const std::uint32_t length : {0U, 8U, 15U, 17U, 23U, 25U, 32U})
        for (std::uint16_t direction = 0; direction <= 2; ++direction)
            EXPECT_EQ(zrc_Init_Encrypt_DES_EDE_KEY(key.data(), length, &ede, direction), kBadEde) << length;
    EXPECT_EQ(zrc_Init_Encrypt_DES_EDE_KEY(nullptr, 24, &ede, kEncryption), kBadEde);
    EXPECT_EQ(zrc_Init_Encrypt_DES_EDE_KEY(key.data(), 24, nullptr, kEncryption), kBadEde);
    for (const std::uint32_t direction : {2U, 0x100U, 0xFFFFU}) {
        EXPECT_EQ(zrc_Init_Encrypt_DES_Key(key.data(), &des, std::uint16_t(direction)), 0U);
        EXPECT_EQ(zrc_Init_Encrypt_DES_EDE_KEY(key.data(), 24, &ede, std::uint16_t(direction)), 0U);
    }
    EXPECT_TRUE(test::same(des, des_before)) << "another direction builds nothing";
    EXPECT_TRUE(test::same(ede, ede_before));

    zrc_DES_Encrypt_Block(nullptr, nullptr, nullptr);
    DES_EDE_encrypt_block(nullptr, nullptr, nullptr);
}

TEST(DesEngine, KernelsDoTheModesOfSingleBlocks)
{
    test::repeatable random{56};
    const bytes key = random.data(24);
    test::expect_modes_of_single_blocks<zrc::des_cipher>(zrc::des_kernels, des_key(key, kEncryption),
                                                         des_key(key, kDecryption), 261);
    test::expect_modes_of_single_blocks<zrc::des_ede_cipher>(zrc::des_ede_kernels, ede_key(key, kEncryption),
                                                             ede_key(key, kDecryption), 261);
}

} // namespace
