// The HMAC unit over every digest: published vectors, messages under one key, and every code of the header.
#include "kestrim_crypto.h"
#include "tests/support.hpp"
#include "tests/vector_file.hpp"

#include <cstring>

namespace {

using test::bytes;
using test::hex;

using unit_ptr = test::owned<ZRC_HMAC_UNIT, ZRC_Free_HMAC_Unit>;

constexpr std::pair<std::int32_t, const char*> kMacs[] = {{ZRC_SHA1, "HMAC SHA-1"},     {ZRC_SHA224, "HMAC SHA-224"},
                                                          {ZRC_SHA256, "HMAC SHA-256"}, {ZRC_SHA384, "HMAC SHA-384"},
                                                          {ZRC_SHA512, "HMAC SHA-512"}, {ZRC_MD5, "HMAC MD5"},
                                                          {ZRC_HAS160, "HMAC HAS-160"}, {ZRC_MDC2, "HMAC MDC-2"}};
const bytes kKey{'k', 'e', 'y'};
const bytes kMessage{'m', 'e', 's', 's', 'a', 'g', 'e'};

std::uint32_t init(const unit_ptr& unit, std::int32_t id, const bytes& key)
{
    const std::uint8_t nothing = 0;
    return ZRC_Init_HMAC(unit, id, key.empty() ? &nothing : key.data(), std::int32_t(key.size()));
}

unit_ptr keyed(std::int32_t id)
{
    unit_ptr unit{ZRC_New_HMAC_Unit()};
    EXPECT_EQ(init(unit, id, kKey), 0U);
    return unit;
}

std::uint32_t update(const unit_ptr& unit, std::span<const std::uint8_t> data)
{
    return ZRC_Update_HMAC(unit, data.data(), std::int32_t(data.size()));
}

std::string finish(const unit_ptr& unit)
{
    bytes mac(64);
    std::int32_t length = -1;
    EXPECT_EQ(ZRC_Final_HMAC(unit, mac.data(), &length), 0U);
    mac.resize(std::size_t(length));
    return hex(mac);
}

std::string mac_of(std::int32_t id, const bytes& key, const bytes& message)
{
    bytes mac(64);
    std::int32_t length = -1;
    const std::uint8_t nothing = 0;
    EXPECT_EQ(ZRC_HMAC(id, key.empty() ? &nothing : key.data(), std::int32_t(key.size()), message.data(),
                       std::int32_t(message.size()), mac.data(), &length),
              0U);
    mac.resize(std::size_t(length));
    return hex(mac);
}

TEST(Hmac, PublishedVectors)
{
    test::repeatable random{11};
    const unit_ptr unit{ZRC_New_HMAC_Unit()};
    for (const auto& [id, section] : kMacs) {
        for (const test::stanza& vector : test::read_vectors("hmac.txt", section)) {
            SCOPED_TRACE(vector.place);
            const bytes& message = vector["message"];
            ASSERT_EQ(init(unit, id, vector["key"]), 0U);
            EXPECT_EQ(unit->algorithm_id, id | ZRC_HMAC_FLAG);
            for (int twice = 0; twice < (message.empty() ? 1 : 2); ++twice) { // a second message under the same key
                random.pieces(message, 1 + random.upto(80), [&](auto piece) { EXPECT_EQ(update(unit, piece), 0U); });
                EXPECT_EQ(finish(unit), hex(vector["mac"])) << twice;
            }
            if (message.empty()) continue;
            EXPECT_EQ(mac_of(id, vector["key"], message), hex(vector["mac"]));
        }
    }
}

TEST(Hmac, LifeOfAUnit)
{
    static constexpr ZRC_HMAC_UNIT kFresh{};
    ZRC_Clean_HMAC_Unit(nullptr);
    ZRC_Free_HMAC_Unit(nullptr);
    const std::string expected = mac_of(ZRC_SHA256, kKey, kMessage);
    const unit_ptr unit = keyed(ZRC_SHA256);
    EXPECT_EQ(unit->status, 1);
    EXPECT_EQ(unit->state_length, 176);
    EXPECT_EQ(unit->key_length, 3);
    EXPECT_EQ(update(unit, kMessage), 0U);
    EXPECT_EQ(unit->status, 2);
    EXPECT_EQ(ZRC_Final_HMAC(unit, nullptr, nullptr), 0x0F030018U); // and the message is still there
    EXPECT_EQ(finish(unit), expected);
    EXPECT_EQ(unit->status, 3);

    // A second Final does not repeat the MAC: its inner hash is that of nothing at all.
    bytes data(64, 0x5C), digest(32);
    for (std::size_t i = 0; i < kKey.size(); ++i)
        data[i] ^= kKey[i];
    ASSERT_EQ(ZRC_DIGEST(ZRC_SHA256, data.data(), 0, digest.data(), nullptr), 0U);
    data.insert(data.end(), digest.begin(), digest.end());
    ASSERT_EQ(ZRC_DIGEST(ZRC_SHA256, data.data(), 96, digest.data(), nullptr), 0U);
    EXPECT_EQ(finish(unit), hex(digest));

    // A refused Update after a Final has already gone back to the inner state.
    EXPECT_EQ(ZRC_Update_HMAC(unit, nullptr, 5), 0x0F02005BU);
    EXPECT_EQ(unit->status, 1);
    EXPECT_EQ(update(unit, kMessage), 0U);
    EXPECT_EQ(finish(unit), expected);

    for (int twice = 0; twice < 2; ++twice) {
        ZRC_Clean_HMAC_Unit(unit);
        EXPECT_EQ(std::memcmp(unit, &kFresh, sizeof kFresh), 0);
    }
}

TEST(Hmac, Codes)
{
    const unit_ptr good = keyed(ZRC_SHA256), fresh{ZRC_New_HMAC_Unit()}, failed{ZRC_New_HMAC_Unit()};
    const std::uint8_t* const key = kKey.data();
    const std::uint8_t* const data = kMessage.data();
    std::uint8_t output[64] = {0xEE};
    std::int32_t length = 77;
    test::expect_codes({
        {"init null unit", ZRC_Init_HMAC(nullptr, ZRC_SHA256, key, 3), 0x0F010049},
        {"init null key", ZRC_Init_HMAC(failed, ZRC_SHA256, nullptr, 3), 0x0F010049},
        {"init null key, length 0", ZRC_Init_HMAC(failed, ZRC_SHA256, nullptr, 0), 0x0F010049},
        {"init unknown digest", ZRC_Init_HMAC(failed, 0x05000600, key, 3), 0x0F010022},
        {"init HMAC identifier", ZRC_Init_HMAC(failed, ZRC_HMAC_SHA256, key, 3), 0x0F010022},
        {"update after a failed init", ZRC_Update_HMAC(failed, data, 7), 0x0F02005B},
        {"final after a failed init", ZRC_Final_HMAC(failed, output, &length), 0x0F030018},
        {"init key length -1", ZRC_Init_HMAC(failed, ZRC_SHA256, key, -1), 0x0F010059},
        {"update null unit", ZRC_Update_HMAC(nullptr, data, 7), 0x0F020049},
        {"update length 0", ZRC_Update_HMAC(good, data, 0), 0x0F02002B},
        {"update length -1", ZRC_Update_HMAC(good, data, -1), 0x0F02002B},
        {"update null data, length 0", ZRC_Update_HMAC(good, nullptr, 0), 0x0F02002B},
        {"update null data", ZRC_Update_HMAC(good, nullptr, 7), 0x0F02005B},
        {"update fresh", ZRC_Update_HMAC(fresh, data, 7), 0x0F02005B},
        {"final null unit", ZRC_Final_HMAC(nullptr, output, &length), 0x0F030049},
        {"final fresh", ZRC_Final_HMAC(fresh, output, &length), 0x0F030018},
        {"final null output", ZRC_Final_HMAC(good, nullptr, &length), 0x0F030018},
        {"one-shot null key", ZRC_HMAC(ZRC_SHA256, nullptr, 3, data, 7, output, &length), 0x0F040023},
        {"one-shot unknown digest", ZRC_HMAC(0x05000600, key, 3, data, 7, output, &length), 0x0F040023},
        {"one-shot key length -1", ZRC_HMAC(ZRC_SHA256, key, -1, data, 7, output, &length), 0x0F040023},
        {"one-shot null data", ZRC_HMAC(ZRC_SHA256, key, 3, nullptr, 7, output, &length), 0x0F04005C},
        {"one-shot empty message", ZRC_HMAC(ZRC_SHA256, key, 3, data, 0, output, &length), 0x0F04005C},
        {"one-shot null output", ZRC_HMAC(ZRC_SHA256, key, 3, data, 7, nullptr, &length), 0x0F040019},
    });
    EXPECT_EQ(output[0], 0xEE);
    EXPECT_EQ(length, 77);
    EXPECT_EQ(init(failed, ZRC_SHA256, kKey), 0U) << "a unit can be used again after a failed Init";
    EXPECT_EQ(update(failed, kMessage), 0U);
    EXPECT_EQ(finish(failed), mac_of(ZRC_SHA256, kKey, kMessage));
    EXPECT_EQ(ZRC_HMAC(ZRC_SHA256, key, 3, data, 7, output, nullptr), 0U);
}

TEST(Hmac, NoMdc2HoldsForTheFirstInitOnly)
{
    const unit_ptr refusing{zrc_New_HMAC_Unit_Ex(1)}, low_byte_zero{zrc_New_HMAC_Unit_Ex(0x100)};
    test::expect_codes({{init(refusing, ZRC_MDC2, kKey), 0x0F010022},
                        {init(refusing, ZRC_MDC2, kKey), 0},
                        {init(low_byte_zero, ZRC_MDC2, kKey), 0}});
}

TEST(Hmac, Names)
{
    const auto name = [](std::int32_t id) {
        char* const text = ZRC_Get_HMAC_Name(id);
        const std::string copy = text ? text : "null";
        ZRC_Free(text);
        return copy;
    };
    for (const auto& [id, section] : kMacs) {
        EXPECT_EQ(name(id | ZRC_HMAC_FLAG), std::string("HMAC_") + ZRC_Get_DIGEST_Alg_Name(id));
        EXPECT_EQ(name(id), "null");
    }
    for (const std::int32_t id : {0x35000300, 0x15000600, ZRC_HMAC_FLAG + 0, 0, -1})
        EXPECT_EQ(name(id), "null") << id;
}

} // namespace
