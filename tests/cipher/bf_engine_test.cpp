// The engine of Blowfish: key expansion and single blocks against the published values, kernels against single blocks.
#include "cipher/bf_engine.hpp"
#include "core/bytes.hpp"
#include "kestrim_crypto.h"
#include "tests/cipher/engine.hpp"

namespace {

using test::bytes;

ZRC_BF_KEY keyed(const bytes& key)
{
    return test::schedule_for<ZRC_BF_KEY>(zrc_Init_Encrypt_BF_Key, key);
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

TEST(BlowfishEngine, ExpandsKeysAndTransformsBlocksAsPublished)
{
    for (const test::stanza& vector : test::read_vectors("blowfish.txt", "Blowfish key schedule")) {
        const ZRC_BF_KEY schedule = keyed(vector["key"]);
        EXPECT_EQ(test::hex_words<std::uint32_t>(schedule.p), test::hex(vector["p"])) << vector.place;
        EXPECT_EQ(checksum(schedule), test::hex(vector["sha256_p_then_s"])) << vector.place;
    }
    for (const test::stanza& vector : test::read_vectors("blowfish.txt", "Blowfish ECB")) {
        const ZRC_BF_KEY schedule = keyed(vector["key"]);
        test::expect_vector(zrc_BF_Encrypt_Block, schedule, zrc_BF_Decrypt_Block, schedule, vector);
    }
}

TEST(BlowfishEngine, BadArgumentsLeaveTheScheduleAlone)
{
    test::expect_refusals<ZRC_BF_KEY>(zrc_Init_Encrypt_BF_Key, 0x0301002B, {0, 73, UINT32_MAX});
    // A key goes round and round: the longest may be a shorter one, repeated.
    bytes longest(72), shorter(36);
    for (std::size_t i = 0; i < longest.size(); ++i)
        longest[i] = shorter[i % 36] = std::uint8_t(i % 36);
    EXPECT_TRUE(test::same(keyed(longest), keyed(shorter)));

    zrc_BF_Encrypt_Block(nullptr, nullptr, nullptr);
    zrc_BF_Decrypt_Block(nullptr, nullptr, nullptr);
}

TEST(BlowfishEngine, KernelsDoTheModesOfSingleBlocks)
{
    const ZRC_BF_KEY key = keyed(test::read_vectors("blowfish.txt", "Blowfish key schedule").back()["key"]);
    test::expect_modes_of_single_blocks<zrc::bf_cipher>(zrc::bf_kernels, key, key, 13);
}

} // namespace
