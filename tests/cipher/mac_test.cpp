// CBC-MAC over every block cipher, and DES-MAC: vectors, messages in pieces, and every code of the headers.
#include "kestrim_crypto.h"
#include "tests/support.hpp"
#include "tests/vector_file.hpp"

namespace {

using test::bytes;
using test::hex;

using unit_ptr = test::owned<ZRC_CBC_MAC_UNIT, ZRC_Free_CBC_MAC_Unit>;

constexpr std::pair<std::int32_t, const char*> kMacs[] = {
    {ZRC_AES_128, "AES-128"},   {ZRC_AES_192, "AES-192"},   {ZRC_AES_256, "AES-256"},  {ZRC_ARIA_128, "ARIA-128"},
    {ZRC_ARIA_192, "ARIA-192"}, {ZRC_ARIA_256, "ARIA-256"}, {ZRC_SEED, "SEED-128"},    {ZRC_SEED_256, "SEED-256"},
    {ZRC_LEA_128, "LEA-128"},   {ZRC_LEA_192, "LEA-192"},   {ZRC_LEA_256, "LEA-256"},  {ZRC_DES, "DES"},
    {ZRC_DES_EDE2, "DES-EDE2"}, {ZRC_DES_EDE3, "DES-EDE3"}, {ZRC_RC5, "RC5-32/16/16"}, {ZRC_BLOWFISH, "Blowfish"},
    {ZRC_RC2_128, "RC2-128"},   {ZRC_RC2_40, "RC2-40"},     {ZRC_RC2_64, "RC2-64"}};
const bytes kKey(16, 0x5A), kMessage(48, 0xC3);

std::string mac_of(std::int32_t id, const bytes& key, const bytes& message)
{
    bytes mac(64);
    std::int32_t length = -1;
    EXPECT_EQ(ZRC_CBC_MAC(id, key.data(), message.data(), std::int32_t(message.size()), mac.data(), &length), 0U);
    mac.resize(std::size_t(length));
    return hex(mac);
}

TEST(CbcMac, Vectors)
{
    for (const auto& [id, name] : kMacs) {
        for (const test::stanza& vector : test::read_vectors("mac.txt", std::string("CBC-MAC ") + name)) {
            EXPECT_EQ(mac_of(id, vector["key"], vector["message"]), hex(vector["mac"])) << vector.place;
            EXPECT_EQ(mac_of(id | ZRC_MODE_CTR | ZRC_NO_PADDING, vector["key"], vector["message"]), hex(vector["mac"]))
                << "mode and padding are not looked at";
        }
    }
}

TEST(CbcMac, TheChainStaysAfterFinalAndRefusedUpdates)
{
    const unit_ptr unit{ZRC_New_CBC_MAC_Unit()};
    const auto init = [&](std::int32_t id) { return ZRC_Init_CBC_MAC(unit, id, kKey.data()); };
    const auto update = [&](std::int32_t length) { return ZRC_Update_CBC_MAC(unit, kMessage.data(), length); };
    for (const std::int32_t id : {ZRC_AES_128, ZRC_DES}) {
        ASSERT_EQ(init(id), 0U);
        EXPECT_EQ(update(16), 0U);
        for (const std::int32_t length : {1, 15, 17, 47, -1, -16})
            EXPECT_EQ(update(length), 0x0602005AU) << length;
        for (const std::size_t absorbed : {16U, 16U, 48U}) {
            EXPECT_EQ(update(absorbed == 48 ? 32 : 0), 0U);
            bytes mac(unit->cipher->block_length);
            EXPECT_EQ(ZRC_Final_CBC_MAC(unit, mac.data(), nullptr), 0U);
            EXPECT_EQ(hex(mac), mac_of(id, kKey, bytes(absorbed, 0xC3)));
        }
        const auto init_without_key = [&] { return ZRC_Init_CBC_MAC(unit, id, nullptr); };
        for (const std::uint32_t expected : {0x06010021U, 0x06010049U}) {
            ASSERT_EQ(init(id), 0U);
            EXPECT_EQ(update(16), 0U);
            EXPECT_EQ(expected == 0x06010021U ? init(0x7F000100) : init_without_key(), expected);
            EXPECT_EQ(update(16), 0x0602005AU) << "the old key is gone";
            EXPECT_EQ(bytes(unit->chain, unit->chain + 64), bytes(64));
            EXPECT_EQ(unit->cipher->initialized, 0);
        }
    }
}

TEST(Macs, Codes)
{
    const unit_ptr good{ZRC_New_CBC_MAC_Unit()}, fresh{ZRC_New_CBC_MAC_Unit()};
    const std::uint8_t *const key = kKey.data(), *const data = kMessage.data();
    std::uint8_t out[16] = {0xEE};
    std::int32_t length = 77;
    ASSERT_EQ(ZRC_Init_CBC_MAC(good, ZRC_AES_128, key), 0U);
    test::expect_codes({
        {ZRC_Init_CBC_MAC(nullptr, ZRC_AES_128, key), 0x06010049},
        {ZRC_Init_CBC_MAC(fresh, ZRC_AES_128, nullptr), 0x06010049},
        {ZRC_Update_CBC_MAC(nullptr, data, 16), 0x0602005A},
        {ZRC_Final_CBC_MAC(nullptr, out, &length), 0x0603005A},
        {ZRC_Update_CBC_MAC(fresh, data, 16), 0x0602005A},
        {ZRC_Update_CBC_MAC(good, nullptr, 16), 0x0602005A},
        {ZRC_Final_CBC_MAC(fresh, out, &length), 0x0603005A},
        {ZRC_Final_CBC_MAC(good, nullptr, &length), 0x0603005A},
        {ZRC_CBC_MAC(0x7F000100, key, data, 16, out, &length), 0x06040023},
        {ZRC_CBC_MAC(ZRC_AES_128, key, data, 20, out, &length), 0x0604005C},
        {ZRC_CBC_MAC(ZRC_AES_128, key, nullptr, 16, out, &length), 0x0604005C},
        {ZRC_CBC_MAC(ZRC_AES_128, key, data, 16, nullptr, &length), 0x06040019},
        {ZRC_DES_MAC(nullptr, data, 3, out), 0x09010049}, // before the zeros of a short message
        {ZRC_DES_MAC(key, nullptr, 8, out), 0x09010049},
        {ZRC_DES_MAC(key, data, 0, out), 0x09010049},
        {ZRC_DES_MAC(key, data, -8, out), 0x09010049},
        {ZRC_DES_MAC(key, data, 3, nullptr), 0x09010049},
        {ZRC_DES_MAC(key, data, 8, nullptr), 0x09010049},
    });
    EXPECT_TRUE(out[0] == 0xEE && length == 77) << "nothing else has changed";
}

TEST(DesMac, VectorsAndLengths)
{
    const auto des_mac = [](const bytes& key, const bytes& message) {
        bytes mac(8, 0xEE);
        EXPECT_EQ(ZRC_DES_MAC(key.data(), message.data(), std::int32_t(message.size()), mac.data()), 0U);
        return hex(mac);
    };
    for (const test::stanza& vector : test::read_vectors("mac.txt", "DES-MAC"))
        EXPECT_EQ(des_mac(vector["key"], vector["message"]), hex(vector["mac"])) << vector.place;
    for (std::size_t size = 1; size < 8; ++size)
        EXPECT_EQ(des_mac(kKey, bytes(size, 1)), std::string(16, '0')) << "MACs of 1 to 7 bytes are zero";
    // Otherwise the CBC-MAC of the message with 1 to 8 zero bytes behind it: E(E(m)) for 8 bytes.
    for (const std::size_t size : {8U, 9U, 12U, 16U, 1016U, 1017U, 1024U, 1025U, 1032U, 4099U}) {
        bytes message = test::repeatable{52}.data(size);
        const std::string mac = des_mac(kKey, message);
        message.resize(size / 8 * 8 + 8);
        EXPECT_EQ(mac, mac_of(ZRC_DES, kKey, message)) << size;
    }
}

} // namespace
