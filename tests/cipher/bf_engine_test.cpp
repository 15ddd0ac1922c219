// The engine of Blowfish: tables, key expansion and single blocks against the published values, kernels against
// single blocks.
#include "cipher/bf_engine.hpp"
#include "cipher/bf_tables.hpp"
#include "core/bytes.hpp"
#include "kestrim_crypto.h"
#include "tests/cipher/engine.hpp"

namespace {

using test::bytes;

ZRC_BF_KEY keyed(const bytes& key)
{
    auto schedule = test::filled<ZRC_BF_KEY>(0xA5);
    EXPECT_EQ(zrc_Init_Encrypt_BF_Key(key.data(), std::uint32_t(key.size()), &schedule), 0U);
    return schedule;
}

// SHA-256 of all words, most significant byte first, `p` before `s`.
std::string checksum(const ZRC_BF_KEY& schedule)
{
    bytes data;
    const auto append = [&](std::uint32_t word) {
        data.resize(data.size() + 4);
        zrc::store_be32(data.data() + data.size() - 4, word);
    };
    std::ranges::for_each(schedule.p, append);
    for (const auto& box : schedule.s)
        std::ranges::for_each(box, append);
    bytes digest(32);
    EXPECT_EQ(ZRC_DIGEST(ZRC_SHA256, data.data(), std::int32_t(data.size()), digest.data(), nullptr), 0U);
    return test::hex(digest);
}

TEST(BlowfishEngine, TablesAreThoseOfPi)
{
    const test::stanza tables = test::read_vectors("blowfish.txt", "Blowfish tables").front();
    EXPECT_EQ(checksum(zrc::kBlowfishPi), test::hex(tables["sha256_p_then_s"]));
}

TEST(BlowfishEngine, ExpandsKeysAndTransformsBlocksAsPublished)
{
    for (const test::stanza& vector : test::read_vectors("blowfish.txt", "Blowfish key schedule")) {
        const ZRC_BF_KEY schedule = keyed(vector["key"]);
        EXPECT_EQ(test::hex_words<std::uint32_t>(schedule.p), test::hex(vector["p"])) << vector.place;
        EXPECT_EQ(checksum(schedule), test::hex(vector["sha256_p_then_s"])) << vector.place;
    }
    for (const test::stanza& vector : test::read_vectors("blowfish.txt", "Blowfish ECB")) {
        const ZRC_BF_KEY schedule = keyed(vector["key"]);
        test::expect_blocks(zrc_BF_Encrypt_Block, schedule, vector["plaintext"], vector["ciphertext"], vector.place);
        test::expect_blocks(zrc_BF_Decrypt_Block, schedule, vector["ciphertext"], vector["plaintext"], vector.place);
    }
}

TEST(BlowfishEngine, BadArgumentsLeaveTheScheduleAlone)
{
    constexpr std::uint32_t kBad = 0x0301002B;
    const bytes key(73, 0x5C);
    const auto before = test::filled<ZRC_BF_KEY>(0xA5);
    auto schedule = before;

    EXPECT_EQ(zrc_Init_Encrypt_BF_Key(nullptr, 16, &schedule), kBad);
    EXPECT_EQ(zrc_Init_Encrypt_BF_Key(key.data(), 16, nullptr), kBad);
    for (const std::uint32_t length : {0U, 73U, UINT32_MAX})
        EXPECT_EQ(zrc_Init_Encrypt_BF_Key(key.data(), length, &schedule), kBad) << length;
    EXPECT_TRUE(test::same(schedule, before));
    // A key of equal bytes goes round and round: the longest is the shortest.
    EXPECT_EQ(zrc_Init_Encrypt_BF_Key(key.data(), 72, &schedule), 0U);
    EXPECT_TRUE(test::same(schedule, keyed(bytes(1, 0x5C))));

    zrc_BF_Encrypt_Block(nullptr, nullptr, nullptr);
    zrc_BF_Decrypt_Block(nullptr, nullptr, nullptr);
}

TEST(BlowfishEngine, KernelsDoTheModesOfSingleBlocks)
{
    const ZRC_BF_KEY key = keyed(test::read_vectors("blowfish.txt", "Blowfish key schedule").back()["key"]);
    test::expect_modes_of_single_blocks<zrc::bf_cipher>(zrc::bf_kernels, key, key, 13);
}

} // namespace
