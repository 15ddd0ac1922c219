// The block cipher unit: identifiers, codes, buffering, padding, one-shot calls and records.
#include "kestrim/block_cipher.h"
#include "kestrim_crypto.h"
#include "tests/support.hpp"
#include "tests/vector_file.hpp"

#include <cstring>
#include <sys/mman.h>

namespace {

using test::bytes;
using test::expect_codes;
using test::hex;
using unit_t = ZRC_BLOCK_CIPHER_UNIT;

struct algorithm {
    std::uint32_t id;
    const char* name;
    std::uint32_t key_bytes, block, schedule_bytes;
    bool takes_no_key = false;
    std::uint32_t rounds = 0; // the last word of the schedule, where the cipher goes by it
};

constexpr algorithm kAlgorithms[] = {
    {ZRC_AES_128, "AES_128", 16, 16, 244, false, 10},
    {ZRC_AES_192, "AES_192", 24, 16, 244, false, 12},
    {ZRC_AES_256, "AES_256", 32, 16, 244, false, 14},
    {ZRC_DES, "ZRC_DES", 8, 8, 128, true},
    {ZRC_DES_EDE, "ZRC_DES_EDE", 24, 8, 384, true},
    {ZRC_DES_EDE2, "ZRC_DES_EDE", 16, 8, 384, true},
    {ZRC_DES_EDE3, "ZRC_DES_EDE", 24, 8, 384, true},
    {ZRC_ARIA_128, "ARIA_128", 16, 16, 548, true, 12},
    {ZRC_ARIA_192, "ARIA_192", 24, 16, 548, true, 14},
    {ZRC_ARIA_256, "ARIA_256", 32, 16, 548, true, 16},
    {ZRC_SEED, "ZRC_SEED", 16, 16, 196, false, 16},
    {ZRC_SEED_256, "SEED_256", 32, 16, 196, false, 24},
    {ZRC_RC5, "ZRC_RC5", 16, 8, 140},
    {ZRC_BLOWFISH, "BlowFish", 16, 8, 4168},
    {ZRC_RC2_128, "ZRC_RC2_128", 16, 8, 144},
    {ZRC_RC2_40, "ZRC_RC2_40", 5, 8, 144},
    {ZRC_RC2_64, "ZRC_RC2_64", 8, 8, 144},
    {ZRC_LEA_128, "LEA_128", 16, 16, 772, false, 24},
    {ZRC_LEA_192, "LEA_192", 24, 16, 772, false, 28},
    {ZRC_LEA_256, "LEA_256", 32, 16, 772, false, 32},
};
constexpr std::uint32_t kUnknownIds[] = {0, 0x01000000, 0x01001100, 0x02000300, 0x09000100, 0x81000100, 0xFFFFFF00};
constexpr std::uint32_t kUnitModes[] = {ZRC_MODE_ECB, ZRC_MODE_CBC, ZRC_MODE_CFB, ZRC_MODE_OFB, ZRC_MODE_CTR};
constexpr std::uint32_t kUnknownModes[] = {0x02, 0x22, 0x4E, 0x62, 0x82, 0xA0, 0xFE};
using ids = std::initializer_list<std::uint32_t>;
constexpr int kCbc = ZRC_ARIA_128 | ZRC_MODE_CBC, kFlag = ZRC_NO_PADDING;

bool is_rc2(const algorithm& a)
{
    return a.schedule_bytes == 144;
}
std::uint32_t rc2_bits(const algorithm& a) // none are set for 128
{
    return a.id == ZRC_RC2_40 ? 40 : a.id == ZRC_RC2_64 ? 64 : 0;
}
bool pads(std::uint32_t id)
{
    return (id & 0xFF) == ZRC_MODE_ECB || (id & 0xFF) == ZRC_MODE_CBC;
}

using unit_ptr = test::owned<unit_t, ZRC_Free_BLOCK_CIPHER_Unit>;

const bytes kKey = test::repeatable{51}.data(32), kIv = test::repeatable{52}.data(16);

unit_ptr fresh_unit()
{
    return unit_ptr{ZRC_New_BLOCK_CIPHER_Unit()};
}

unit_ptr unit_for(std::uint32_t id, std::uint32_t encrypt)
{
    unit_ptr unit = fresh_unit();
    EXPECT_EQ(ZRC_Init_BLOCK_CIPHER(unit, id, kKey.data(), kIv.data(), encrypt), 0U) << std::hex << id;
    return unit;
}

// Output of one Update; checks that nothing is written behind `in.size()` bytes and one block.
bytes update(const unit_ptr& unit, std::span<const std::uint8_t> in)
{
    const std::size_t room = in.size() + unit->block_length;
    bytes out(room + 16, 0xEE);
    std::int32_t length = -1;
    EXPECT_EQ(ZRC_Update_BLOCK_CIPHER(unit, out.data(), &length, in.data(), std::int32_t(in.size())), 0U);
    EXPECT_EQ(std::count(out.begin() + std::ptrdiff_t(room), out.end(), 0xEE), 16);
    out.resize(std::size_t(length));
    return out;
}

bytes final_of(const unit_ptr& unit, std::uint32_t expected = 0)
{
    bytes out(unit->block_length + 16, 0xEE);
    std::int32_t length = 0;
    EXPECT_EQ(ZRC_Final_BLOCK_CIPHER(unit, out.data(), &length), expected);
    EXPECT_EQ(std::count(out.end() - 16, out.end(), 0xEE), 16);
    out.resize(expected == 0 ? std::size_t(length) : 0);
    return out;
}

bytes joined(bytes a, const bytes& b)
{
    a.insert(a.end(), b.begin(), b.end());
    return a;
}

bool same(const unit_t* unit, const unit_t& other)
{
    return std::memcmp(unit, &other, sizeof other) == 0;
}

// Calls `check` for each algorithm in each mode that its units have, but for CFB128.
void for_every_unit(auto check)
{
    for (const algorithm& a : kAlgorithms) {
        for (const std::uint32_t mode : kUnitModes) {
            if (is_rc2(a) && mode == ZRC_MODE_CTR) continue;
            SCOPED_TRACE(testing::Message() << a.name << " " << mode);
            check(a, mode);
        }
    }
}

bytes message_of(const unit_ptr& unit, std::span<const std::uint8_t> in)
{
    const bytes updated = update(unit, in);
    return joined(updated, final_of(unit));
}

bytes processed(std::uint32_t id, std::uint32_t encrypt, std::span<const std::uint8_t> in)
{
    return message_of(unit_for(id, encrypt), in);
}

// ---- Identifiers and the life of a unit ----

TEST(BlockCipher, Queries)
{
    for (const algorithm& a : kAlgorithms) {
        for (const std::uint32_t bits : {0x00U, 0x21U, 0x4CU, 0xFFU}) {
            const std::uint32_t id = a.id | bits;
            const bool answered = a.id != ZRC_SEED_256; // its three lengths are 0, on purpose
            EXPECT_STREQ(ZRC_Get_Block_Alg_Name(id), a.name);
            EXPECT_EQ(ZRC_Get_Key_Length(id), answered ? a.key_bytes : 0) << a.name;
            EXPECT_EQ(ZRC_Get_Block_Length(id), answered ? a.block : 0) << a.name; // Blowfish's in CFB128, too
            EXPECT_EQ(ZRC_Get_IV_Length(id), answered ? a.block : 0) << a.name;
        }
    }
    for (const std::uint32_t id : kUnknownIds) {
        EXPECT_EQ(ZRC_Get_Block_Alg_Name(id), nullptr) << std::hex << id;
        EXPECT_EQ(ZRC_Get_Key_Length(id) | ZRC_Get_Block_Length(id) | ZRC_Get_IV_Length(id), 0U) << std::hex << id;
    }

    EXPECT_EQ(ZRC_Get_Block_Alg_ID(nullptr) | zrc_Get_Mode_Length(nullptr), 0U);
}

TEST(BlockCipher, UnitLife)
{
    static constexpr unit_t kFresh{};
    ZRC_Clean_BLOCK_CIPHER_Unit(nullptr);
    ZRC_Free_BLOCK_CIPHER_Unit(nullptr);
    const unit_ptr unit = fresh_unit(), proven{zrc_New_BLOCK_CIPHER_Unit_Ex(1)};
    EXPECT_TRUE(same(unit, kFresh));
    unit->encrypt = 7;
    ZRC_Clean_BLOCK_CIPHER_Unit(unit);
    EXPECT_EQ(unit->encrypt, 7U) << "a unit that was never initialised is left alone";
    EXPECT_EQ(proven->proven, 1);
    EXPECT_EQ(ZRC_Init_BLOCK_CIPHER(proven, ZRC_AES_128, kKey.data(), nullptr, 1), 0U) << "Init asks the process";
    EXPECT_EQ(proven->proven, 0);

    ASSERT_EQ(ZRC_Init_BLOCK_CIPHER(unit, kCbc, kKey.data(), kIv.data(), 1), 0U);
    EXPECT_EQ(ZRC_Get_Block_Alg_ID(unit), std::uint32_t(ZRC_ARIA_128));
    update(unit, bytes(3)); // waits in the unit
    for (int twice = 0; twice < 2; ++twice) {
        ZRC_Clean_BLOCK_CIPHER_Unit(unit);
        EXPECT_TRUE(same(unit, kFresh));
    }
}

TEST(BlockCipher, BlowfishWithCfb128IsLeaWithBlocksOf16Bytes)
{
    const bytes text = test::repeatable{53}.data(45);
    const unit_ptr unit = unit_for(ZRC_BLOWFISH | ZRC_MODE_CFB128, 1);
    EXPECT_EQ(unit->key_schedule_length, 772U);
    EXPECT_EQ(hex(message_of(unit, text)), hex(processed(ZRC_LEA_128 | ZRC_MODE_CFB128, 1, text)));
}

// ---- Codes ----

void expect_not_ready(const unit_ptr& unit, const char* what)
{
    std::uint8_t block[32] = {}, out[48] = {0xEE};
    std::int32_t length = 77;
    EXPECT_EQ(ZRC_Update_BLOCK_CIPHER(unit, out, &length, block, 16), 0x0502002BU) << what;
    EXPECT_EQ(ZRC_Final_BLOCK_CIPHER(unit, out, &length), 0x0505002BU) << what;
    EXPECT_EQ(out[0], 0xEE);
}

TEST(BlockCipher, AnInitWithoutAKeyLeavesNothingOfTheLastKey)
{
    for (const algorithm& a : kAlgorithms) {
        if (!a.takes_no_key) continue;
        for (const std::uint32_t encrypt : {1U, 0U}) {
            const unit_ptr unit = unit_for(a.id, encrypt);
            ASSERT_EQ(ZRC_Init_BLOCK_CIPHER(unit, a.id | ZRC_MODE_CBC, nullptr, kIv.data(), encrypt), 0U);
            EXPECT_EQ(std::memcmp(unit->key_schedule, bytes(a.schedule_bytes).data(), a.schedule_bytes), 0) << a.name;
            if (a.rounds == 0) { // DES runs on a schedule of zeros, ARIA does not run without a key
                EXPECT_EQ(update(unit, bytes(100)).size(), 100 / a.block * a.block);
                continue;
            }
            bytes out(80, 0xEE);
            std::int32_t length = 77;
            EXPECT_EQ(ZRC_Update_BLOCK_CIPHER(unit, out.data(), &length, bytes(48).data(), 48),
                      encrypt ? 0x0503004CU : 0x0504005CU);
            EXPECT_EQ(length, 0);
            EXPECT_EQ(out, bytes(80, 0xEE));
            update(unit, bytes(5));
            final_of(unit, encrypt ? 0x0505000A : 0x05050009);
        }
    }
}

TEST(BlockCipher, EveryDirectionButZeroEncrypts)
{
    for_every_unit([](const algorithm& a, std::uint32_t mode) {
        const unit_ptr unit = unit_for(a.id | mode, 2), one = unit_for(a.id | mode, 1);
        EXPECT_EQ(unit->encrypt, 2U);
        EXPECT_EQ(std::memcmp(unit->key_schedule, one->key_schedule, a.schedule_bytes), 0);
        const bytes text = test::repeatable{65}.data(2 * a.block), out = update(unit, text);
        EXPECT_EQ(out.size(), text.size()) << "nothing is held back";
        EXPECT_EQ(final_of(unit).size(), pads(mode) ? a.block : 0);
        if (!pads(mode)) {
            EXPECT_EQ(out, update(one, text));
            return;
        }
        const unit_ptr zero = unit_for(a.id | mode | kFlag, 0);
        const bool one_schedule = std::memcmp(unit->key_schedule, zero->key_schedule, a.schedule_bytes) == 0;
        EXPECT_TRUE(!one_schedule || out == update(zero, text)) << "ECB and CBC decipher";
        unit->no_padding = 1;
        update(unit, bytes(1));
        final_of(unit, 0x0505000A);
    });
}

TEST(BlockCipher, InitCodes)
{
    const auto init = [unit = fresh_unit()](std::uint32_t id, bool key = true, bool iv = true) {
        const std::uint32_t code =
            ZRC_Init_BLOCK_CIPHER(unit, id, key ? kKey.data() : nullptr, iv ? kIv.data() : nullptr, 1);
        if (code != 0) expect_not_ready(unit, "a failed Init");
        return code;
    };
    EXPECT_EQ(ZRC_Init_BLOCK_CIPHER(nullptr, ZRC_ARIA_128, kKey.data(), kIv.data(), 1), 0x0501002BU);
    for (const std::uint32_t id : kUnknownIds)
        EXPECT_EQ(init(id | ZRC_MODE_CBC), 0x05010023U) << std::hex << id;
    for (const algorithm& a : kAlgorithms) {
        SCOPED_TRACE(a.name);
        for (const std::uint32_t mode : kUnknownModes)
            EXPECT_EQ(init(a.id | mode | kFlag), 0x05010023U) << std::hex << mode;
        for (const std::uint32_t mode : {ZRC_MODE_CFB1, ZRC_MODE_CFB8, ZRC_MODE_CFB16, ZRC_MODE_CFB32, ZRC_MODE_CFB64})
            EXPECT_EQ(init(a.id | mode), 0x05010023U) << std::hex << mode;
        const bool has_cfb128 = a.block == 16 || a.id == ZRC_BLOWFISH;
        EXPECT_EQ(init(a.id | ZRC_MODE_CFB128), has_cfb128 ? 0U : 0x05010023U);
        EXPECT_EQ(init(a.id | ZRC_MODE_CTR), is_rc2(a) ? 0x05010023U : 0U);
        EXPECT_EQ(init(a.id | ZRC_MODE_CBC, false), a.takes_no_key ? 0U : 0x05010023U);
        EXPECT_EQ(init(a.id | ZRC_MODE_ECB, true, false), 0U);
        for (const std::uint32_t mode : {ZRC_MODE_CBC, ZRC_MODE_CFB, ZRC_MODE_OFB, ZRC_MODE_CTR}) {
            const bool rc2_ctr = is_rc2(a) && mode == ZRC_MODE_CTR;
            EXPECT_EQ(init(a.id | mode, true, false), rc2_ctr ? 0x05010023U : 0x0501004AU) << std::hex << mode;
        }
    }

    const auto bind = [](std::uint32_t id) { return zrc_Init_Block_Alg(fresh_unit(), id); };
    expect_codes({
        {"bind null", zrc_Init_Block_Alg(nullptr, ZRC_ARIA_128), 0x0509002B},
        {"bind", bind(ZRC_AES_128 | ZRC_MODE_CTR), 0},
        {"bind unknown", bind(0x09000100), 0x05090029},
        {"bind unknown mode", bind(ZRC_ARIA_128 | 0x22), 0x05090029},
        {"bind CFB8", bind(ZRC_ARIA_128 | ZRC_MODE_CFB8), 0x05090029},
        {"bind CFB128 of 8-byte blocks", bind(ZRC_DES | ZRC_MODE_CFB128), 0x05090029},
        {"bind RC2-CTR", bind(ZRC_RC2_128 | ZRC_MODE_CTR), 1},
    });
}

TEST(BlockCipher, UpdateAndFinalCodes)
{
    const unit_ptr cleaned = unit_for(ZRC_SEED, 1);
    ZRC_Clean_BLOCK_CIPHER_Unit(cleaned);
    expect_not_ready(fresh_unit(), "fresh");
    expect_not_ready(cleaned, "cleaned");

    const bytes text = test::repeatable{54}.data(64);
    bytes out(96, 0xEE);
    std::int32_t length = 77;
    for (const std::uint32_t encrypt : {1U, 0U}) {
        const std::uint32_t failed = encrypt ? 0x0503004C : 0x0504005C;
        const unit_ptr unit = unit_for(kCbc, encrypt);
        update(unit, std::span{text}.first(21));
        const unit_t before = *unit;
        const auto code = [&](std::uint8_t* to, const std::uint8_t* from, std::int32_t size) {
            length = 77;
            const std::uint32_t refusal = ZRC_Update_BLOCK_CIPHER(unit, to, &length, from, size);
            EXPECT_EQ(length, 0);
            return refusal;
        };
        expect_codes({
            {"null unit", ZRC_Update_BLOCK_CIPHER(nullptr, out.data(), &length, text.data(), 16), 0x0502002B},
            {"null length", ZRC_Update_BLOCK_CIPHER(unit, out.data(), nullptr, text.data(), 16), 0x0502002B},
            {"length 0", code(out.data(), text.data(), 0), 0x0502002B},
            {"length -1", code(out.data(), text.data(), -1), 0x0502002B},
            {"null input, for the buffer", code(out.data(), nullptr, 3), failed},
            {"null input", code(out.data(), nullptr, 27), failed},
            {"null output", code(nullptr, text.data(), 27), failed},
        });
        EXPECT_TRUE(same(unit, before)) << "a refused call changed the unit";
    }
    expect_codes({
        {"final null unit", ZRC_Final_BLOCK_CIPHER(nullptr, out.data(), &length), 0x0505002B},
        {"final null output", ZRC_Final_BLOCK_CIPHER(unit_for(kCbc, 1), nullptr, &length), 0x0505002B},
        {"final null length", ZRC_Final_BLOCK_CIPHER(unit_for(kCbc, 1), out.data(), nullptr), 0x0505002B},
    });
    EXPECT_EQ(out, bytes(96, 0xEE));
}

TEST(BlockCipher, FinalFailsAndTheUnitTakesAnotherMessage)
{
    for_every_unit([](const algorithm& a, std::uint32_t mode) {
        const bytes text = test::repeatable{55}.data(3 * a.block);
        const auto expect_failure = [&](std::uint32_t flag, std::uint32_t encrypt, std::size_t size) {
            SCOPED_TRACE(testing::Message() << "flag " << flag << ", direction " << encrypt << ", bytes " << size);
            const unit_ptr unit = unit_for(a.id | mode | flag, encrypt);
            if (size != 0) update(unit, std::span{text}.first(size));
            final_of(unit, encrypt ? 0x0505000A : 0x05050009);
            EXPECT_EQ(std::memcmp(unit->iv, unit->initial_iv, a.block), 0);
            EXPECT_EQ(unit->buffer_count | unit->held, 0U);
        };
        // Not even padding. Decryption in the stream modes needs the flag, encryption does not look at it.
        for (const std::size_t size :
             {std::size_t{0}, std::size_t{1}, a.block - std::size_t{1}, a.block + std::size_t{1}})
            expect_failure(0, 0, size);
        if (!pads(mode)) {
            expect_failure(0, 0, a.block);
            return;
        }
        for (const std::size_t size : {std::size_t{1}, a.block - std::size_t{1}, a.block + std::size_t{1}}) {
            expect_failure(kFlag, 1, size);
            expect_failure(kFlag, 0, size);
        }
    });
}

// ---- Buffering and padding ----

// With a whole block of padding, too, which comes out of Update when it comes together with the block before it.
TEST(BlockCipher, EverySplitGivesTheWholeAndEveryBlockInTime)
{
    test::repeatable random{56};
    for (const std::uint32_t base : ids{kCbc, ZRC_DES_EDE | ZRC_MODE_CBC, ZRC_LEA_192 | ZRC_MODE_ECB,
                                        ZRC_AES_256 | ZRC_MODE_CTR, ZRC_RC2_64 | ZRC_MODE_CFB}) {
        for (int round = 0; round < 200; ++round) {
            const std::uint32_t id = base | (round & 1), encrypt = round & 2 || (!pads(base) && round % 2 == 0);
            const std::size_t block = ZRC_Get_Block_Length(id);
            const bool whole_blocks = round % 2 != 0 && pads(base);
            const bytes text = random.data(whole_blocks ? 5 * block : 4 * block + random.upto(block));
            const bytes ciphertext = processed(id, 1, text), &in = encrypt ? text : ciphertext;
            const unit_ptr unit = unit_for(id, encrypt);
            std::size_t given = 0;
            bytes out;
            random.pieces(in, 1 + random.upto(3 * block), [&](auto piece) {
                out = joined(out, update(unit, piece));
                given += piece.size();
                const bool one_is_held = !encrypt && !(id & kFlag) && given % block == 0;
                ASSERT_EQ(out.size(), given / block * block - (one_is_held ? block : 0)) << std::hex << id;
            });
            ASSERT_EQ(hex(joined(out, final_of(unit))), hex(encrypt ? ciphertext : text)) << std::hex << id;
        }
    }
    EXPECT_EQ(final_of(unit_for(kCbc, 1)).size(), 16U) << "the empty message is a block of padding";
}

TEST(BlockCipher, PaddingIsChecked)
{
    for (const std::uint32_t id : ids{ZRC_SEED | ZRC_MODE_CBC, ZRC_DES | ZRC_MODE_ECB}) {
        const std::size_t block = ZRC_Get_Block_Length(id);
        const unit_ptr unit = unit_for(id, 0);
        const auto decrypt = [&](const bytes& padded, std::uint32_t expected) {
            EXPECT_EQ(update(unit, processed(id | kFlag, 1, padded)).size(), block);
            return final_of(unit, expected);
        };
        for (std::size_t n = 0; n < 256; ++n) {
            bytes padded = test::repeatable{58}.data(2 * block);
            std::fill_n(padded.rbegin(), std::min(n + (n == 0), block), std::uint8_t(n));
            const bool good = n >= 1 && n <= block;
            const bytes rest = decrypt(padded, good ? 0 : 0x05050009);
            if (!good) continue;
            EXPECT_EQ(hex(rest), hex(bytes(padded.begin() + std::ptrdiff_t(block), padded.end() - std::ptrdiff_t(n))));
            for (std::size_t i = 2; i <= n; ++i) { // one of the n bytes differs
                bytes wrong = padded;
                *(wrong.end() - std::ptrdiff_t(i)) ^= std::uint8_t(1 << i % 8);
                decrypt(wrong, 0x05050009);
            }
        }
    }
}

// In one area with the input `shift` bytes before the output: the right output, or a refusal that changes nothing.
void expect_overlap(std::uint32_t id, std::uint32_t encrypt, const bytes& message, std::size_t waiting,
                    std::size_t size, std::ptrdiff_t shift)
{
    const unit_ptr unit = unit_for(id, encrypt), apart = unit_for(id, encrypt);
    const std::span<const std::uint8_t> data = std::span{message}.subspan(waiting, size);
    if (waiting != 0) {
        update(unit, std::span{message}.first(waiting));
        update(apart, std::span{message}.first(waiting));
    }
    const unit_t before = *unit;
    const bytes expected = update(apart, data);
    bytes area(200, 0xEE);
    std::uint8_t* const in = area.data() + 64;
    std::ranges::copy(data, in);
    const bytes area_before = area;
    std::int32_t length = -1;
    const std::uint32_t code = ZRC_Update_BLOCK_CIPHER(unit, in + shift, &length, in, std::int32_t(size));
    if (code == 0) {
        ASSERT_EQ(hex({in + shift, std::size_t(length)}), hex(expected));
        return;
    }
    ASSERT_EQ(code, !encrypt && pads(id) ? 0x0504005CU : 0x0503004CU);
    ASSERT_EQ(length, 0);
    ASSERT_EQ(area, area_before);
    ASSERT_TRUE(same(unit, before));
    ASSERT_FALSE(shift == 0 && waiting == 0) << "promised";
    ASSERT_FALSE(expected.empty()) << "nothing was to be written";
    ASSERT_LT(std::size_t(std::abs(shift)), size + unit->block_length) << "no overlap";
}

TEST(BlockCipher, OverlappingBuffersGiveTheRightOutputOrAreRefusedWithoutChange)
{
    for (const std::uint32_t id : ids{kCbc, kCbc | kFlag, ZRC_DES | ZRC_MODE_ECB, ZRC_SEED | ZRC_MODE_CTR | kFlag}) {
        const bytes message = processed(id | kFlag, 1, test::repeatable{60}.data(96));
        for (const std::uint32_t encrypt : {1U, 0U})
            for (const std::size_t waiting : {0U, 5U, 16U, 32U})
                for (const std::size_t size : {7U, 16U, 32U, 40U})
                    for (std::ptrdiff_t shift = -50; shift <= 50; ++shift)
                        ASSERT_NO_FATAL_FAILURE(expect_overlap(id, encrypt, message, waiting, size, shift))
                            << std::hex << id << std::dec << " " << waiting << " " << size << " " << shift;
    }
}

// ---- One-shot calls, records, the counter ----

TEST(BlockCipher, OneShot)
{
    const bytes text = test::repeatable{61}.data(43);
    const std::uint8_t *key = kKey.data(), *iv = kIv.data(), *in = text.data();
    bytes out(64, 0xEE), back(64);
    std::uint8_t* const to = out.data();
    std::int32_t length = -1;
    expect_codes({
        {"unknown", ZRC_BLOCK_CIPHER(0x09000120, 1, key, iv, in, 16, to, &length), 0x05080021},
        {"refused mode", ZRC_BLOCK_CIPHER(ZRC_ARIA_192 | ZRC_MODE_CFB8, 1, key, iv, in, 16, to, &length), 0x05080021},
        {"null key", ZRC_BLOCK_CIPHER(ZRC_LEA_192, 1, nullptr, iv, in, 16, to, &length), 0x05080021},
        {"null IV", ZRC_BLOCK_CIPHER(kCbc, 1, key, nullptr, in, 16, to, &length), 0x05080021},
        {"empty", ZRC_BLOCK_CIPHER(kCbc, 1, key, iv, in, 0, to, &length), 0x0508005A},
        {"length -1", ZRC_BLOCK_CIPHER(kCbc, 1, key, iv, in, -1, to, &length), 0x0508005A},
        {"null input", ZRC_BLOCK_CIPHER(kCbc, 1, key, iv, nullptr, 16, to, &length), 0x0508005A},
        {"null output", ZRC_BLOCK_CIPHER(kCbc, 1, key, iv, in, 16, nullptr, &length), 0x0508005A},
        {"null length", ZRC_BLOCK_CIPHER(kCbc, 1, key, iv, in, 16, to, nullptr), 0x0508005A},
        {"no whole blocks", ZRC_BLOCK_CIPHER(kCbc | kFlag, 1, key, iv, in, 15, to, &length), 0x05080017},
    });
    EXPECT_EQ(out, bytes(64, 0xEE));
    EXPECT_EQ(ZRC_BLOCK_CIPHER(kCbc, 1, key, iv, in, 43, to, &length), 0U);
    EXPECT_EQ(hex({to, std::size_t(length)}), hex(processed(kCbc, 1, text)));
    EXPECT_EQ(ZRC_BLOCK_CIPHER(kCbc, 0, key, iv, to, length, back.data(), &length), 0U);
    EXPECT_EQ(hex({back.data(), std::size_t(length)}), hex(text));
}

bytes record_for(std::uint32_t id, std::uint32_t encrypt)
{
    bytes record(ZRC_BLOCK_CIPHER_RECORD_BYTES + 4, 0xEE);
    std::uint32_t length = std::uint32_t(record.size());
    EXPECT_EQ(ZRC_Init_Advanced_BLOCK_CIPHER(id, kKey.data(), kIv.data(), encrypt, record.data(), &length), 0U);
    EXPECT_EQ(length, 876U);
    EXPECT_EQ(bytes(record.end() - 4, record.end()), bytes(4, 0xEE));
    record.resize(876);
    return record;
}

TEST(BlockCipher, MoreOutputThanALengthCanSayIsRefusedUnread)
{
    if (sizeof(void*) < 8) GTEST_SKIP() << "no room for the buffers";
    constexpr std::size_t kHalf = std::size_t{INT32_MAX} + 4097, kSize = 2 * kHalf; // in, out; neither can be touched
    const auto unmap = [](void* area) { munmap(area, kSize); };
    void* const area = mmap(nullptr, kSize, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
    if (area == MAP_FAILED) GTEST_SKIP() << "no address space";
    const std::unique_ptr<void, decltype(unmap)> owner{area, unmap};
    const std::uint8_t* const in = static_cast<std::uint8_t*>(area);
    std::uint8_t* const out = static_cast<std::uint8_t*>(area) + kHalf;
    std::int32_t length = 77;

    const struct {
        std::uint32_t encrypt, waiting, code;
    } updates[] = {{0, 16, 0x0504005C}, {0, 17, 0x0504005C}, {1, 1, 0x0503004C}}; // 16: with the held block
    for (const auto& c : updates) {
        const unit_ptr unit = unit_for(kCbc, c.encrypt);
        update(unit, bytes(c.waiting));
        const unit_t before = *unit;
        length = 77;
        EXPECT_EQ(ZRC_Update_BLOCK_CIPHER(unit, out, &length, in, INT32_MAX), c.code);
        EXPECT_EQ(length, 0);
        EXPECT_TRUE(same(unit, before));
    }
    const bytes record = record_for(kCbc, 1); // here the padding is too much
    EXPECT_EQ(ZRC_BLOCK_CIPHER(kCbc, 1, kKey.data(), kIv.data(), in, INT32_MAX, out, &length), 0x0508005AU);
    EXPECT_EQ(ZRC_DoFinal_Advanced_BLOCK_CIPHER(record.data(), 876, in, INT32_MAX, out, &length), 0x050B005AU);
}

std::uint32_t word(const bytes& record, std::size_t offset)
{
    std::uint32_t value = 0;
    for (std::size_t i = 4; i-- != 0;)
        value = value << 8 | record[offset + i];
    return value;
}

TEST(BlockCipherRecord, HoldsAKeyedUnitAndProcessesWholeMessages)
{
    const bytes text = test::repeatable{62}.data(61);
    const unit_ptr imported = fresh_unit(); // for all, over the algorithm before it
    for_every_unit([&](const algorithm& a, std::uint32_t mode) {
        if (a.id == ZRC_BLOWFISH) return;
        const std::uint32_t id = a.id | mode | (pads(mode) ? 0 : kFlag);
        const bytes ciphertext = processed(id, 1, text);
        for (const std::uint32_t encrypt : {1U, 0U}) {
            const bytes record = record_for(id, encrypt);
            const unit_ptr unit = unit_for(id, encrypt);
            const std::uint32_t words[][2] = {{0, a.id},         {4, a.block},
                                              {8, a.key_bytes},  {12, a.block},
                                              {16, rc2_bits(a)}, {20, mode | (id & 1) << 8},
                                              {32, encrypt},     {856, a.schedule_bytes},
                                              {860, 0},          {864, a.block - 1},
                                              {868, 0xFFFFFFFF}, {872, 0}};
            for (const auto& [offset, expected] : words)
                EXPECT_EQ(word(record, offset), expected) << offset;
            EXPECT_EQ(std::memcmp(&record[36], unit->initial_iv, 16), 0);
            EXPECT_EQ(std::memcmp(&record[52], unit->iv, 16), 0);
            EXPECT_EQ(std::memcmp(&record[68], unit->key_schedule, a.schedule_bytes), 0);

            const bytes &in = encrypt ? text : ciphertext, &expected = encrypt ? ciphertext : text;
            bytes out(in.size() + a.block), exported(876, 0xEE);
            std::int32_t length = -1;
            EXPECT_EQ(ZRC_DoFinal_Advanced_BLOCK_CIPHER(record.data(), 876, in.data(), std::int32_t(in.size()),
                                                        out.data(), &length),
                      0U);
            EXPECT_EQ(hex({out.data(), std::size_t(length)}), hex(expected));
            ASSERT_EQ(blockcipher_BinaryKey_to_Unit(record.data(), 876, imported), 0U);
            EXPECT_EQ(hex(message_of(imported, in)), hex(expected));
            std::uint32_t record_length = 0; // not read
            EXPECT_EQ(blockcipher_Unit_to_BinaryKey(imported, exported.data(), &record_length), 0U);
            EXPECT_EQ(record_length, 876U);
            EXPECT_EQ(exported, record);
        }
    });
}

TEST(BlockCipherRecord, CorruptedFieldsAreRefused)
{
    const bytes text = test::repeatable{63}.data(32);
    const unit_ptr unit = unit_for(ZRC_LEA_256 | ZRC_MODE_CBC, 1);
    const unit_t before = *unit;
    bytes out(64, 0xEE);
    std::int32_t length = 0;
    const auto run = [&](const bytes& record, std::uint32_t size) {
        return ZRC_DoFinal_Advanced_BLOCK_CIPHER(record.data(), size, text.data(), 32, out.data(), &length);
    };
    const auto expect_refused = [&](const bytes& record, std::uint32_t size, const std::string& what) {
        EXPECT_EQ(blockcipher_BinaryKey_to_Unit(record.data(), size, unit), 1U) << what;
        EXPECT_TRUE(same(unit, before)) << what;
        EXPECT_EQ(run(record, size), 0x050B0059U) << what;
    };
    for (const std::uint32_t size : {0U, 1U, 68U, 875U})
        expect_refused(record_for(kCbc, 1), size, "size " + std::to_string(size));
    for (const algorithm& a : kAlgorithms) {
        if (a.id == ZRC_BLOWFISH) continue;
        const bytes good = record_for(a.id | ZRC_MODE_CBC, 1);
        const std::size_t rounds = 68 + a.schedule_bytes - 4;
        for (std::size_t at = 0; at < good.size(); ++at) {
            const bool free = (at >= 32 && at < 856) || (at >= 860 && at < 864) || at >= 872 || at == 22 || at == 23;
            const bool counts_rounds = a.rounds != 0 && at >= rounds && at < rounds + 4;
            for (unsigned bit = at == 21 ? 1 : 0; bit < 8 && (!free || counts_rounds); ++bit) { // 21: either padding
                bytes record = good;
                record[at] ^= std::uint8_t(1 << bit);
                expect_refused(record, 876, std::string{a.name} + ", byte " + std::to_string(at));
            }
        }
        bytes record = good;
        record[868] = record[869] = record[870] = record[871] = 0; // not the flag of a used unit
        expect_refused(record, 876, a.name);
    }
    EXPECT_EQ(out, bytes(64, 0xEE));
}

TEST(BlockCipherRecord, Codes)
{
    const bytes text(32);
    bytes record(876, 0xEE), out(64);
    std::uint32_t size = 876, small = 875;
    std::int32_t length = 0;
    const auto make = [&](std::uint32_t id, bool iv = true) {
        size = 876;
        return ZRC_Init_Advanced_BLOCK_CIPHER(id, kKey.data(), iv ? kIv.data() : nullptr, 1, record.data(), &size);
    };
    const auto init = ZRC_Init_Advanced_BLOCK_CIPHER;
    expect_codes({
        {"init null key", init(kCbc, nullptr, kIv.data(), 1, record.data(), &size), 0x050A0049},
        {"init null record", init(kCbc, kKey.data(), kIv.data(), 1, nullptr, &size), 0x050A0049},
        {"init null length", init(kCbc, kKey.data(), kIv.data(), 1, record.data(), nullptr), 0x050A0049},
        {"init Blowfish, null key", init(ZRC_BLOWFISH, nullptr, nullptr, 1, record.data(), &small), 0x050A0049},
        {"init Blowfish, short record", init(ZRC_BLOWFISH, kKey.data(), nullptr, 1, record.data(), &small), 0x050A0048},
        {"init Blowfish", make(0x06000100), 0x050A0048},
        {"init Blowfish-CBC", make(0x06000120), 0x050A0048},
        {"init Blowfish-CFB128, whose schedule would fit", make(0x0600014C), 0x050A0048},
        {"init short record", init(kCbc, kKey.data(), kIv.data(), 1, record.data(), &small), 0x050A0006},
        {"init unknown", make(0x09000120), 0x050A0021},
        {"init refused mode", make(ZRC_AES_128 | ZRC_MODE_CFB8), 0x050A0021},
        {"init null IV", make(kCbc, false), 0x050A0021},
    });
    EXPECT_EQ(record, bytes(876, 0xEE));

    const unit_ptr aria = unit_for(kCbc, 1), blowfish = unit_for(ZRC_BLOWFISH, 1), fresh = fresh_unit();
    const bytes unpadded = record_for(kCbc | kFlag, 1);
    const auto run = ZRC_DoFinal_Advanced_BLOCK_CIPHER;
    expect_codes({
        {"export null unit", blockcipher_Unit_to_BinaryKey(nullptr, record.data(), &size), 1},
        {"export null record", blockcipher_Unit_to_BinaryKey(aria, nullptr, &size), 1},
        {"export null length", blockcipher_Unit_to_BinaryKey(aria, record.data(), nullptr), 1},
        {"export fresh", blockcipher_Unit_to_BinaryKey(fresh, record.data(), &size), 1},
        {"export Blowfish", blockcipher_Unit_to_BinaryKey(blowfish, record.data(), &size), 1},
        {"import null record", blockcipher_BinaryKey_to_Unit(nullptr, 876, fresh), 1},
        {"import null unit", blockcipher_BinaryKey_to_Unit(unpadded.data(), 876, nullptr), 1},
        {"run null record", run(nullptr, 876, text.data(), 16, out.data(), &length), 0x050B0049},
        {"run null output", run(unpadded.data(), 876, text.data(), 16, nullptr, &length), 0x050B0049},
        {"run null length", run(unpadded.data(), 876, text.data(), 16, out.data(), nullptr), 0x050B0049},
        {"run null input", run(unpadded.data(), 876, nullptr, 16, out.data(), &length), 0x050B005A},
        {"run empty", run(unpadded.data(), 876, text.data(), 0, out.data(), &length), 0x050B005A},
        {"run no whole blocks", run(unpadded.data(), 876, text.data(), 15, out.data(), &length), 0x050B0017},
    });
    EXPECT_EQ(record, bytes(876, 0xEE));
}

} // namespace
