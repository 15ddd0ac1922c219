// RC4: RFC 6229, encryptions, pieces, and codes.
#include "kestrim/memory.h"
#include "kestrim/rc4.h"
#include "tests/cipher/engine.hpp"

namespace {

using test::bytes;
using test::same;

constexpr std::uint32_t kBadInput = 0x1600002B;

ZRC_RC4_UNIT keyed(const bytes& key)
{
    ZRC_RC4_UNIT unit = test::filled<ZRC_RC4_UNIT>(0xA5);
    EXPECT_EQ(ZRC_Init_RC4(&unit, key.data(), std::int32_t(key.size())), 0U);
    return unit;
}

bytes crypt(const bytes& key, const bytes& in)
{
    ZRC_RC4_UNIT unit = keyed(key);
    bytes out(in.size());
    EXPECT_EQ(ZRC_Do_RC4(&unit, in.data(), std::uint32_t(in.size()), out.data()), 0U);
    return out;
}

TEST(Rc4, GivesThePublishedKeystreamsAndMessages)
{
    for (const test::stanza& vector : test::read_vectors("rc4.txt", "RC4 keystream")) {
        const bytes keystream = crypt(vector["key"], bytes(4112));
        EXPECT_GE(vector.values.size(), 19U) << vector.place; // the key, and pieces of the keystream
        for (const auto& [name, expected] : vector.values) {
            if (!name.starts_with("at_")) continue;
            const std::size_t offset = std::stoul(name.substr(3));
            EXPECT_EQ(test::hex(std::span{keystream}.subspan(offset, expected.size())), test::hex(expected))
                << vector.place << ", byte " << offset;
        }
    }
    for (const test::stanza& vector : test::read_vectors("rc4.txt", "RC4"))
        EXPECT_EQ(crypt(vector["key"], vector["plaintext"]), vector["ciphertext"]) << vector.place;
}

// In place, from every start within a pass of eight bytes, and over many wraps of the index.
TEST(Rc4, ContinuesOneKeystream)
{
    test::repeatable random{6229};
    const bytes key = random.data(13), plain = random.data(20000), expected = crypt(key, plain);
    for (const std::size_t longest : {1U, 3U, 8U, 13U, 40U, 700U}) {
        ZRC_RC4_UNIT unit = keyed(key);
        bytes data{0};
        data.insert(data.end(), plain.begin(), plain.end());
        std::uint8_t* next = data.data() + 1;
        random.pieces(plain, longest, [&](std::span<const std::uint8_t> piece) {
            EXPECT_EQ(ZRC_Do_RC4(&unit, next, std::uint32_t(piece.size()), next), 0U);
            next += piece.size();
        });
        EXPECT_TRUE(std::equal(expected.begin(), expected.end(), data.begin() + 1)) << "pieces up to " << longest;
        EXPECT_EQ(unit.x, plain.size() % 256);
    }
}

TEST(Rc4, RefusesBadInput)
{
    const std::uint8_t in[4]{};
    std::uint8_t out[4]{};
    const ZRC_RC4_UNIT before = test::filled<ZRC_RC4_UNIT>(0xA5);
    ZRC_RC4_UNIT unit = before;
    EXPECT_EQ(ZRC_Init_RC4(nullptr, in, 4), kBadInput);
    EXPECT_EQ(ZRC_Init_RC4(&unit, nullptr, 4), kBadInput);
    for (const std::int32_t length : {0, -1})
        EXPECT_EQ(ZRC_Init_RC4(&unit, in, length), kBadInput);
    EXPECT_EQ(ZRC_Do_RC4(nullptr, in, 4, out), kBadInput);
    EXPECT_EQ(ZRC_Do_RC4(&unit, nullptr, 4, out), kBadInput);
    EXPECT_EQ(ZRC_Do_RC4(&unit, in, 0, out), kBadInput);
    EXPECT_EQ(ZRC_Do_RC4(&unit, in, 4, nullptr), kBadInput);
    EXPECT_TRUE(same(unit, before));
}

TEST(Rc4, CleansUnits)
{
    ZRC_RC4_UNIT unit = keyed({1, 2, 3});
    ZRC_Clean_RC4_Unit(&unit);
    EXPECT_TRUE(same(unit, test::filled<ZRC_RC4_UNIT>(0)));
    ZRC_Clean_RC4_Unit(nullptr);
    ZRC_Free_RC4_Unit(nullptr);

    ZRC_RC4_UNIT* const allocated = ZRC_New_RC4_Unit();
    ASSERT_NE(allocated, nullptr);
    EXPECT_EQ(ZRC_Init_RC4(allocated, reinterpret_cast<const std::uint8_t*>("key"), 3), 0U);
    ZRC_Free_RC4_Unit(allocated);
}

} // namespace
