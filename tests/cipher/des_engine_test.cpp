// The engines of DES and triple DES: schedules and single blocks against FIPS 46-3, SP 800-17, SP 800-20 and SP
// 800-67, kernels against single blocks.
#include "cipher/des_engine.hpp"
#include "tests/cipher/engine.hpp"

namespace {

using test::bytes;

constexpr std::uint16_t kEncryption = 1;
constexpr std::uint16_t kDecryption = 0;

// The exported functions with one direction.
auto des_init(std::uint16_t direction)
{
    return [direction](const std::uint8_t* key, std::uint32_t, ZRC_DES_KEY* schedule) {
        return zrc_Init_Encrypt_DES_Key(key, schedule, direction);
    };
}
auto ede_init(std::uint16_t direction)
{
    return [direction](const std::uint8_t* key, std::uint32_t length, ZRC_DES_EDE_KEY* schedule) {
        return zrc_Init_Encrypt_DES_EDE_KEY(key, length, schedule, direction);
    };
}

ZRC_DES_KEY des_key(const bytes& key, std::uint16_t direction)
{
    return test::schedule_for<ZRC_DES_KEY>(des_init(direction), key);
}
ZRC_DES_EDE_KEY ede_key(const bytes& key, std::uint16_t direction)
{
    return test::schedule_for<ZRC_DES_EDE_KEY>(ede_init(direction), key);
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
    const auto expect_ede = [](const bytes& key, const test::stanza& vector) {
        test::expect_vector(DES_EDE_encrypt_block, ede_key(key, kEncryption), DES_EDE_encrypt_block,
                            ede_key(key, kDecryption), vector);
    };
    for (const test::stanza& vector : test::read_vectors("des.txt", "DES ECB")) {
        const bytes& key = vector["key"];
        test::expect_vector(zrc_DES_Encrypt_Block, des_key(key, kEncryption), zrc_DES_Encrypt_Block,
                            des_key(key, kDecryption), vector);
        bytes thrice = key; // K1 = K2 = K3 is single DES
        thrice.insert(thrice.end(), key.begin(), key.end());
        thrice.insert(thrice.end(), key.begin(), key.end());
        expect_ede(thrice, vector);
    }
    for (const char* section : {"DES-EDE2 ECB", "DES-EDE3 ECB"})
        for (const test::stanza& vector : test::read_vectors("des.txt", section))
            expect_ede(vector["key"], vector);
}

TEST(DesEngine, BadArgumentsLeaveTheScheduleAlone)
{
    test::expect_refusals<ZRC_DES_KEY>(des_init(kEncryption), 0x0801002B, {});
    for (std::uint16_t direction = 0; direction <= 2; ++direction)
        test::expect_refusals<ZRC_DES_EDE_KEY>(ede_init(direction), 0x0807002B, {0, 8, 15, 17, 23, 25, 32});
    for (const std::uint16_t direction : {std::uint16_t{2}, std::uint16_t{0xFFFF}}) { // build nothing
        EXPECT_TRUE(test::same(des_key(bytes(8, 1), direction), test::filled<ZRC_DES_KEY>(0xA5)));
        EXPECT_TRUE(test::same(ede_key(bytes(24, 1), direction), test::filled<ZRC_DES_EDE_KEY>(0xA5)));
    }
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
