// The modes of every cipher: published vectors through the unit and through the ciphers' own functions, what each
// mode does with lengths, directions, counters and bits, and every code of kestrim/block_modes.h.
#include "kestrim/block_cipher.h"
#include "kestrim/block_modes.h"
#include "kestrim_crypto.h"
#include "tests/support.hpp"
#include "tests/vector_file.hpp"

#include <cstring>

namespace {

using test::bytes;
using test::hex;
using unit_t = ZRC_BLOCK_CIPHER_UNIT;
using mode_fn = std::uint32_t (*)(unit_t*, std::uint8_t*, const std::uint8_t*, std::int32_t);
using init_fn = std::uint32_t (*)(unit_t*, const std::uint8_t*, const std::uint8_t*, std::uint32_t);

// Places of a cipher's functions.
constexpr std::size_t kEcb = 0, kCbc = 1, kCfb = 2, kOfb = 3, kCtr = 4, kCfbr = 5, kCfb1 = 6, kCfb8 = 7, kCfb16 = 8;
constexpr std::size_t kCfb32 = 9, kCfb64 = 10, kFunctions = 11;

struct family_facts {
    std::uint32_t id, key_bytes, block_bytes; // of its smallest key
    std::uint32_t module, numbers[5];         // in the codes of ECB, CBC, CFB and all CFBn, OFB, CTR
    init_fn init;
    std::uint32_t no_key; // what init answers to a null key
};

// One cipher's own functions; null where it has none.
struct family : family_facts {
    mode_fn run[kFunctions];

    std::uint32_t code(std::size_t f) const { return module << 24 | numbers[f < kCfbr ? f : kCfb] << 16 | 0x2B; }
};

// In the order of the places, up to CFB32.
#define KESTRIM_MODES(cipher, ctr)                                                                                     \
    zrc_Do_##cipher##_ECB, zrc_Do_##cipher##_CBC, zrc_Do_##cipher##_CFB, zrc_Do_##cipher##_OFB, ctr,                   \
        zrc_Do_##cipher##_CFBR, zrc_Do_##cipher##_CFB1, zrc_Do_##cipher##_CFB8, zrc_Do_##cipher##_CFB16,               \
        zrc_Do_##cipher##_CFB32

constexpr family kFamilies[] = {
    {{ZRC_AES_128, 16, 16, 0x01, {3, 4, 5, 6, 7}, zrc_Init_AES, 0x02020024},
     {KESTRIM_MODES(AES, zrc_Do_AES_CTR), zrc_Do_AES_CFB64}},
    {{ZRC_ARIA_128, 16, 16, 0x02, {3, 4, 5, 6, 7}, zrc_Init_ARIA, 0},
     {KESTRIM_MODES(ARIA, zrc_Do_ARIA_CTR), zrc_Do_ARIA_CFB64}},
    {{ZRC_SEED, 16, 16, 0x19, {5, 3, 4, 6, 7}, zrc_Init_SEED, 0x19020023},
     {KESTRIM_MODES(SEED, zrc_Do_SEED_CTR), zrc_Do_SEED_CFB64}},
    {{ZRC_LEA_128, 16, 16, 0x1F, {3, 4, 5, 6, 7}, zrc_Init_LEA, 0x1F020023},
     {KESTRIM_MODES(LEA, zrc_Do_LEA_CTR), zrc_Do_LEA_CFB64}},
    {{ZRC_DES, 8, 8, 0x08, {2, 3, 4, 5, 6}, zrc_Init_DES, 0}, {KESTRIM_MODES(DES, zrc_Do_DES_CTR)}},
    {{ZRC_DES_EDE2, 16, 8, 0x07, {2, 3, 4, 5, 6}, zrc_Init_DES_EDE, 0}, {KESTRIM_MODES(DES_EDE, zrc_Do_DES_EDE_CTR)}},
    {{ZRC_RC2_40, 5, 8, 0x15, {}, zrc_Init_RC2, 0x15000023}, {KESTRIM_MODES(RC2, nullptr)}},
    {{ZRC_RC5, 16, 8, 0x17, {2, 3, 4, 5, 6}, zrc_Init_RC5, 0x17020023},
     {KESTRIM_MODES(RC5, zrc_Do_RC5_CTR), zrc_Do_RC5_CFB64}},
    {{ZRC_BLOWFISH, 16, 8, 0x03, {3, 4, 5, 6, 7}, zrc_Init_BF, 0x03020023}, {KESTRIM_MODES(BF, zrc_Do_BF_CTR)}},
};

struct cipher {
    std::uint32_t id, key_bytes;
    const char *file, *section;
    std::size_t of; // family
    std::uint32_t effective_bits = 0;
};

constexpr cipher kCiphers[] = {
    {ZRC_AES_128, 16, "aes.txt", "AES-128", 0},    {ZRC_AES_192, 24, "aes.txt", "AES-192", 0},
    {ZRC_AES_256, 32, "aes.txt", "AES-256", 0},    {ZRC_ARIA_128, 16, "aria.txt", "ARIA-128", 1},
    {ZRC_ARIA_192, 24, "aria.txt", "ARIA-192", 1}, {ZRC_ARIA_256, 32, "aria.txt", "ARIA-256", 1},
    {ZRC_SEED, 16, "seed.txt", "SEED-128", 2},     {ZRC_SEED_256, 32, "seed.txt", "SEED-256", 2},
    {ZRC_LEA_128, 16, "lea.txt", "LEA-128", 3},    {ZRC_LEA_192, 24, "lea.txt", "LEA-192", 3},
    {ZRC_LEA_256, 32, "lea.txt", "LEA-256", 3},    {ZRC_DES, 8, "des.txt", "DES", 4},
    {ZRC_DES_EDE2, 16, "des.txt", "DES-EDE2", 5},  {ZRC_DES_EDE, 24, "des.txt", "DES-EDE3", 5},
    {ZRC_DES_EDE3, 24, "des.txt", "DES-EDE3", 5},  {ZRC_RC2_40, 5, "rc2.txt", "RC2", 6, 40},
    {ZRC_RC2_64, 8, "rc2.txt", "RC2", 6, 64},      {ZRC_RC2_128, 16, "rc2.txt", "RC2", 6, 128},
    {ZRC_RC5, 16, "rc5.txt", "RC5-32/16/16", 7},   {ZRC_BLOWFISH, 16, "blowfish.txt", "Blowfish", 8},
};

struct mode {
    const char* name;
    std::uint32_t bits; // of the identifier; for CFBn that of CFB, whose key schedule they use
    std::size_t function, step;
};

constexpr mode kModes[] = {
    {"ECB", ZRC_MODE_ECB, kEcb, 16},    {"CBC", ZRC_MODE_CBC, kCbc, 16},    {"CFB", ZRC_MODE_CFB, kCfb, 1},
    {"OFB", ZRC_MODE_OFB, kOfb, 1},     {"CTR", ZRC_MODE_CTR, kCtr, 1},     {"CFB1", ZRC_MODE_CFB, kCfb1, 1},
    {"CFB8", ZRC_MODE_CFB, kCfb8, 1},   {"CFB16", ZRC_MODE_CFB, kCfb16, 2}, {"CFB32", ZRC_MODE_CFB, kCfb32, 4},
    {"CFB64", ZRC_MODE_CFB, kCfb64, 8},
};

using unit_ptr = test::owned<unit_t, ZRC_Free_BLOCK_CIPHER_Unit>;

unit_ptr unit_for(std::uint32_t id, const bytes& key, const bytes& iv, std::uint32_t encrypt)
{
    unit_ptr unit{ZRC_New_BLOCK_CIPHER_Unit()};
    EXPECT_EQ(ZRC_Init_BLOCK_CIPHER(unit, id, key.data(), iv.empty() ? nullptr : iv.data(), encrypt), 0U);
    return unit;
}

// A decimal number, of which the vector file holds two digits a byte.
std::uint32_t decimal(const bytes& digits)
{
    std::uint32_t value = 0;
    for (const std::uint8_t two : digits)
        value = value * 100 + (two >> 4) * 10U + (two & 15U);
    return value;
}

// The vectors of a section that the cipher's identifier can be keyed for.
std::vector<test::stanza> vectors_for(const cipher& c, const std::string& section)
{
    auto vectors = test::read_vectors(c.file, std::string{c.section} + " " + section);
    std::erase_if(vectors, [&](const test::stanza& v) {
        return v["key"].size() != c.key_bytes ||
               (c.effective_bits != 0 && decimal(v["effective_bits"]) != c.effective_bits);
    });
    EXPECT_FALSE(vectors.empty()) << c.section << " " << section;
    return vectors;
}

bytes iv_of(const test::stanza& v)
{
    return v.values.contains("iv") ? v["iv"] : bytes{};
}

const bytes& from_of(const test::stanza& v, std::uint32_t encrypt)
{
    return v[encrypt ? "plaintext" : "ciphertext"];
}

// The unit does the vector's message at once, in place, and in pieces; one keyed unit for all of them.
void expect_unit(std::uint32_t id, const test::stanza& v, std::uint32_t encrypt, test::repeatable& random)
{
    SCOPED_TRACE(v.place + (encrypt ? ", encryption" : ", decryption"));
    const unit_ptr unit = unit_for(id, v["key"], iv_of(v), encrypt);
    for (const std::size_t longest : {std::size_t{0}, std::size_t{1}, std::size_t{20}, std::size_t{1} << 20}) {
        const bytes& from = from_of(v, encrypt);
        bytes out = from;
        std::size_t written = 0;
        std::int32_t length = -1;
        const auto update = [&](const std::uint8_t* in, std::size_t size) {
            EXPECT_EQ(ZRC_Update_BLOCK_CIPHER(unit, &out[written], &length, in, std::int32_t(size)), 0U);
            written += std::size_t(length);
        };
        out.resize(from.size() + 32, 0xEE);
        if (longest == 0)
            update(out.data(), from.size()); // in place: promised for one call
        else
            random.pieces(from, std::min(longest, 1 + from.size()), [&](auto p) { update(p.data(), p.size()); });
        EXPECT_EQ(ZRC_Final_BLOCK_CIPHER(unit, &out[written], &length), 0U);
        out.resize(written + std::size_t(length));
        EXPECT_EQ(hex(out), hex(from_of(v, !encrypt))) << "pieces of up to " << longest;
    }
}

TEST(Modes, PublishedVectorsThroughTheUnit)
{
    test::repeatable random{41};
    for (const cipher& c : kCiphers) {
        for (const mode& m : kModes) {
            const family& f = kFamilies[c.of];
            if (m.function > kCtr || !f.run[m.function]) continue;
            const bool streams = m.step == 1;
            for (const test::stanza& v : vectors_for(c, m.name)) {
                expect_unit(c.id | m.bits | ZRC_NO_PADDING, v, 1, random);
                expect_unit(c.id | m.bits | ZRC_NO_PADDING, v, 0, random);
                if (streams) expect_unit(c.id | m.bits, v, 1, random); // encryption does not look at the flag
                if (m.function != kCfb || f.block_bytes != 16) continue;
                expect_unit(c.id | ZRC_MODE_CFB128 | ZRC_NO_PADDING, v, 1, random);
                if (c.of != 0) expect_unit(c.id | ZRC_MODE_CFB128 | ZRC_NO_PADDING, v, 0, random);
            }
            if (streams) continue;
            for (const test::stanza& v : vectors_for(c, std::string{m.name} + " PKCS7")) {
                expect_unit(c.id | m.bits, v, 1, random);
                expect_unit(c.id | m.bits, v, 0, random);
            }
        }
    }
}

// The cipher's own function makes `to` of `from` in whole steps, in place and not, and writes nothing behind them.
void expect_function(const cipher& c, const mode& m, const test::stanza& v, std::uint32_t encrypt,
                     test::repeatable& random)
{
    const bytes& from = from_of(v, encrypt);
    SCOPED_TRACE(v.place + (encrypt ? ", encryption" : ", decryption"));
    const std::size_t step = std::min<std::size_t>(m.step, kFamilies[c.of].block_bytes), steps = from.size() / step;
    const std::size_t bits = v.values.contains("bits") ? decimal(v["bits"]) : from.size() * 8;
    for (const std::size_t most : {steps, std::size_t{1}, std::size_t{5}, std::size_t{40}}) {
        for (const bool in_place : {false, true}) {
            const unit_ptr unit = unit_for(c.id | m.bits | ZRC_NO_PADDING, v["key"], iv_of(v), encrypt);
            bytes out(from.size() + 1, 0xEE);
            if (in_place) std::ranges::copy(from, out.begin());
            for (std::size_t done = 0; done < from.size();) {
                const std::size_t wanted = most == steps ? from.size() : step * (1 + random.upto(most - 1));
                const std::size_t size = std::min(from.size() - done, wanted);
                const std::size_t length = m.function == kCfb1 ? std::min(size * 8, bits - done * 8) : size;
                const std::uint8_t* const in = in_place ? out.data() : from.data();
                ASSERT_EQ(kFamilies[c.of].run[m.function](unit, &out[done], in + done, std::int32_t(length)), 0U);
                done += size;
            }
            EXPECT_EQ(out.back(), 0xEE);
            out.pop_back();
            EXPECT_EQ(hex(out), hex(from_of(v, !encrypt)))
                << "up to " << most << " steps at once" << (in_place ? ", in place" : "");
        }
    }
}

TEST(Modes, PublishedVectorsThroughTheFunctionsOfEachCipherInPiecesOfAnySize)
{
    test::repeatable random{42};
    for (const cipher& c : kCiphers) {
        for (const mode& m : kModes) {
            if (!kFamilies[c.of].run[m.function]) continue;
            const bool cfb64_is_cfb = m.function == kCfb64 && kFamilies[c.of].block_bytes == 8;
            for (const test::stanza& v : vectors_for(c, cfb64_is_cfb ? "CFB" : m.name)) {
                if (cfb64_is_cfb && v["plaintext"].size() % 8 != 0) continue;
                expect_function(c, m, v, 1, random);
                expect_function(c, m, v, 0, random);
            }
        }
    }
}

// ---- What each mode does beyond whole messages, for every cipher ----

// A keyed cipher with data for a few blocks.
struct bench {
    const family& f;
    std::size_t block = f.block_bytes;
    test::repeatable random{43};
    bytes key = random.data(f.key_bytes), iv = random.data(block), text = random.data(4 * block);

    unit_ptr unit(std::uint32_t mode, std::uint32_t encrypt) const
    {
        return unit_for(f.id | mode | ZRC_NO_PADDING, key, iv, encrypt);
    }
    // `length` as the function counts; the bytes behind those that it writes stay 0xEE.
    bytes run(const unit_ptr& unit, std::size_t function, const bytes& in, std::size_t length) const
    {
        bytes out(in.size() + block, 0xEE);
        EXPECT_EQ(f.run[function](unit, out.data(), in.data(), std::int32_t(length)), 0U);
        return out;
    }
    bytes enciphered(const bytes& blocks) const
    {
        bytes out = run(unit(ZRC_MODE_ECB, 1), kEcb, blocks, blocks.size());
        out.resize(blocks.size());
        return out;
    }
    bytes register_of(const unit_ptr& unit) const { return bytes(unit->iv, unit->iv + block); }
};

bytes first(const bytes& data, std::size_t size)
{
    return bytes(data.begin(), data.begin() + std::ptrdiff_t(size));
}

// `data` up to `size`, then the fill of outputs.
bytes filled_up(const bytes& data, std::size_t size, std::size_t whole)
{
    bytes result = first(data, size);
    result.resize(whole, 0xEE);
    return result;
}

void for_every_family(auto check)
{
    for (const family& f : kFamilies) {
        SCOPED_TRACE(ZRC_Get_Block_Alg_Name(f.id));
        check(bench{f});
    }
}

TEST(Modes, EcbIgnoresAnIncompleteBlock)
{
    for_every_family([](const bench& b) {
        const bytes whole = b.enciphered(b.text);
        for (const std::size_t length : {std::size_t{1}, b.block - 1, b.block + 1, 3 * b.block - 1}) {
            const bytes out = b.run(b.unit(ZRC_MODE_ECB, 1), kEcb, b.text, length);
            EXPECT_EQ(hex(out), hex(filled_up(whole, length / b.block * b.block, out.size()))) << length;
        }
    });
}

TEST(Modes, CbcEncryptionOfAPartialBlockWritesAWholeBlockAndDecryptionWritesOnlyTheBytesThatAreThere)
{
    for_every_family([](const bench& b) {
        for (std::size_t length = 1; length < 3 * b.block; ++length) {
            if (length % b.block == 0) continue;
            const std::size_t whole = (length / b.block + 1) * b.block;
            bytes text = first(b.text, length);
            const unit_ptr partial = b.unit(ZRC_MODE_CBC, 1), back = b.unit(ZRC_MODE_CBC, 0);
            const bytes out = b.run(partial, kCbc, text, length); // reads no more than `length`
            text.resize(whole);                                   // XORed with zeros: the register unchanged
            const bytes expected = first(b.run(b.unit(ZRC_MODE_CBC, 1), kCbc, text, whole), whole);
            EXPECT_EQ(hex(first(out, std::min(whole, out.size()))), hex(expected)) << length;
            EXPECT_EQ(b.register_of(partial), bytes(expected.end() - std::ptrdiff_t(b.block), expected.end()));
            const bytes plain = b.run(back, kCbc, expected, length);
            EXPECT_EQ(hex(plain), hex(filled_up(text, length, plain.size()))) << length;
            EXPECT_EQ(b.register_of(back), b.register_of(partial)) << length;
        }
    });
}

TEST(Modes, CtrCountsOverOneBlockWithCarriesAndAWrap)
{
    for_every_family([](bench b) {
        if (!b.f.run[kCtr]) return;
        for (const std::size_t low_bytes_ff : {std::size_t{1}, b.block - 1, b.block}) {
            b.iv.assign(b.block, 0);
            std::fill_n(b.iv.rbegin(), low_bytes_ff, std::uint8_t{0xFF});
            bytes next(b.block, 0);
            if (low_bytes_ff < b.block) next[b.block - 1 - low_bytes_ff] = 1;
            bytes expected = b.enciphered(b.iv);
            const bytes mask = b.enciphered(next);
            expected.insert(expected.end(), mask.begin(), mask.end());
            const unit_ptr unit = b.unit(ZRC_MODE_CTR, 1);
            std::fill_n(unit->iv + b.block, 16 - b.block, std::uint8_t{0x5A});
            EXPECT_EQ(hex(first(b.run(unit, kCtr, bytes(2 * b.block), 2 * b.block), 2 * b.block)), hex(expected));
            ++next.back();
            EXPECT_EQ(hex(b.register_of(unit)), hex(next));
            EXPECT_EQ(std::count(unit->iv + b.block, unit->iv + 16, 0x5A), 16 - std::ptrdiff_t(b.block));
        }
    });
}

TEST(Modes, CfbrTakesOneSegmentOfOneToBlockBits)
{
    const auto bit = [](const bytes& data, std::size_t i) { return data[i / 8] >> (7 - i % 8) & 1; };
    for_every_family([&](const bench& b) {
        const bytes mask = b.enciphered(b.iv);
        for (std::size_t bits = 1; bits <= 8 * b.block; ++bits) {
            const std::size_t size = (bits + 7) / 8;
            bytes expected = first(b.text, size);
            for (std::size_t i = 0; i < size; ++i)
                expected[i] ^= mask[i];
            bytes chain = b.iv, shifted(b.block);
            chain.insert(chain.end(), expected.begin(), expected.end());
            for (std::size_t i = 0; i < 8 * b.block; ++i)
                shifted[i / 8] = std::uint8_t(shifted[i / 8] << 1 | bit(chain, bits + i));

            const unit_ptr forth = b.unit(ZRC_MODE_CFB, 1), back = b.unit(ZRC_MODE_CFB, 0);
            const bytes out = b.run(forth, kCfbr, b.text, bits);
            ASSERT_EQ(hex(out), hex(filled_up(expected, size, out.size()))) << bits;
            ASSERT_EQ(hex(b.register_of(forth)), hex(shifted)) << bits;
            ASSERT_EQ(hex(first(b.run(back, kCfbr, out, bits), size)), hex(first(b.text, size))) << bits;
            ASSERT_EQ(hex(b.register_of(back)), hex(shifted)) << bits;
        }
        for (const std::size_t bits : {std::size_t{0}, 8 * b.block + 1, std::size_t{129}, std::size_t{INT32_MAX}}) {
            const unit_ptr unit = b.unit(ZRC_MODE_CFB, 1);
            bytes out(32, 0xEE);
            EXPECT_EQ(b.f.run[kCfbr](unit, out.data(), b.text.data(), std::int32_t(bits)), b.f.code(kCfbr));
            EXPECT_EQ(out, bytes(32, 0xEE));
            EXPECT_EQ(b.register_of(unit), b.iv);
        }
    });
}

TEST(Modes, AnIncompleteCfbSegmentIsFollowedByZerosAndNothingIsWrittenThere)
{
    for_every_family([](const bench& b) {
        for (const mode& m : kModes) {
            if (m.function < kCfb16 || !b.f.run[m.function]) continue;
            for (const std::uint32_t encrypt : {1U, 0U}) {
                for (std::size_t length = 1; length < 2 * m.step; ++length) {
                    bytes text = first(b.text, length);
                    const unit_ptr partial = b.unit(m.bits, encrypt), complete = b.unit(m.bits, encrypt);
                    const bytes out = b.run(partial, m.function, text, length);
                    text.resize((length + m.step - 1) / m.step * m.step);
                    const bytes expected = b.run(complete, m.function, text, text.size());
                    EXPECT_EQ(hex(out), hex(filled_up(expected, length, out.size()))) << m.name << " " << length;
                    EXPECT_EQ(hex(b.register_of(partial)), hex(b.register_of(complete))) << m.name << " " << length;
                }
            }
        }
    });
}

TEST(Modes, AesCfb128KeyedForDecryptionHasTheDecryptionSchedule)
{
    const bench b{kFamilies[0]};
    const unit_ptr cfb = b.unit(ZRC_MODE_CFB128, 0), ecb = b.unit(ZRC_MODE_ECB, 0);
    EXPECT_EQ(std::memcmp(cfb->key_schedule, ecb->key_schedule, ecb->key_schedule_length), 0);
}

TEST(Modes, Codes)
{
    for_every_family([](const bench& b) {
        const unit_ptr unit = b.unit(ZRC_MODE_CFB, 1), fresh{ZRC_New_BLOCK_CIPHER_Unit()};
        const unit_ptr unkeyed = b.unit(ZRC_MODE_ECB, 1);
        std::memset(unkeyed->key_schedule, 0, unkeyed->key_schedule_length);
        const bool is_aria = b.f.module == 0x02; // which knows that it has no key
        const unit_t before = *unit, unkeyed_before = *unkeyed;
        bytes out(64, 0xEE);
        for (std::size_t i = 0; i < kFunctions; ++i) {
            const mode_fn run = b.f.run[i];
            if (!run) continue;
            const std::uint32_t code = b.f.code(i);
            EXPECT_EQ(run(nullptr, out.data(), b.text.data(), 16), code) << i;
            EXPECT_EQ(run(unit, nullptr, b.text.data(), 16), code) << i;
            EXPECT_EQ(run(unit, out.data(), nullptr, 16), code) << i;
            EXPECT_EQ(run(fresh, out.data(), b.text.data(), 16), code) << i << ", no key schedule";
            EXPECT_TRUE(!is_aria || run(unkeyed, out.data(), b.text.data(), 16) == code) << i;
            if (i == kCfbr) continue;
            EXPECT_EQ(run(unit, out.data(), b.text.data(), 0), 0U) << i;
            EXPECT_EQ(run(unit, out.data(), b.text.data(), -1), 0U) << i;
        }
        EXPECT_EQ(out, bytes(64, 0xEE));
        EXPECT_EQ(std::memcmp(unit, &before, sizeof before), 0) << "a refused call changed the unit";
        EXPECT_EQ(std::memcmp(unkeyed, &unkeyed_before, sizeof before), 0);

        // Init without an IV goes back to the one it has; a null key is refused, but for ARIA and (triple) DES.
        b.run(unit, kCfb, b.text, b.block);
        EXPECT_NE(b.register_of(unit), b.iv);
        EXPECT_EQ(b.f.init(unit, b.key.data(), nullptr, 1), 0U);
        EXPECT_EQ(b.register_of(unit), b.iv);
        EXPECT_EQ(b.f.init(unit, b.key.data(), b.text.data(), 0), 0U);
        EXPECT_EQ(b.register_of(unit), first(b.text, b.block));
        EXPECT_EQ(unit->encrypt, 0U);
        EXPECT_EQ(b.f.init(unit, nullptr, b.iv.data(), 1), b.f.no_key);
    });
}

TEST(Modes, KeysThatAreNoneOrOfAnotherLength)
{
    const bytes key(32, 0x3C), iv(16, 0x5A);
    const auto unit_with = [](std::size_t of, std::uint32_t length) {
        unit_ptr unit = bench{kFamilies[of]}.unit(ZRC_MODE_CBC, 1);
        unit->key_length = length;
        return unit;
    };
    const auto init = [&](std::size_t of, std::uint32_t length) {
        const unit_ptr unit = unit_with(of, length);
        const std::uint32_t code = kFamilies[of].init(unit, key.data(), iv.data(), 0);
        EXPECT_EQ(unit->iv[7], 0x5A) << "the IV comes before the key";
        EXPECT_EQ(unit->encrypt, of == 1 ? 1U : 0U) << "ARIA notes the direction behind the key";
        return code;
    };
    const unit_ptr fresh{ZRC_New_BLOCK_CIPHER_Unit()};
    test::expect_codes({
        {init(0, 20), 0x02020024},
        {init(1, 20), 0x02020023},
        {init(2, 24), 0x19020023},
        {init(3, 20), 0x1F020023},
        {init(5, 20), 0}, // what the key function says is not passed on
        {zrc_Init_DES(fresh, key.data(), iv.data(), 1), 0},
        {zrc_Init_DES_EDE(fresh, key.data(), iv.data(), 1), 0},
        {zrc_Init_DES_Key(fresh, key.data(), 1), 0x08010024},
        {zrc_Init_DES_EDE_key(fresh, key.data(), 1), 0x07010024},
        {zrc_Init_DES_Key(unit_with(4, 8), nullptr, 1), 0x08010024},
        {zrc_Init_RC2_Key(unit_with(6, 5), nullptr), 0x15000024},
        {zrc_Init_RC5_Key(unit_with(7, 16), nullptr), 0x17010024},
        {zrc_Init_BF_Key(unit_with(8, 16), nullptr), 0x03010024},
    });
    for (const std::uint8_t* const k : {key.data(), static_cast<const std::uint8_t*>(nullptr)}) { // of 20 bytes, none
        test::expect_codes({
            {zrc_Init_AES_Key(unit_with(0, k ? 20 : 16), k, 1), 0x01010024},
            {zrc_Init_ARIA_Key(unit_with(1, k ? 20 : 16), k, 1), 0x02010024},
            {zrc_Init_SEED_Key(unit_with(2, k ? 20 : 16), k), 0x19010024},
            {zrc_Init_LEA_Key(unit_with(3, k ? 20 : 16), k), 0x1F010024},
            {zrc_Init_DES_EDE_key(unit_with(5, k ? 20 : 16), k, 1), 0x07010024},
        });
    }
}

} // namespace
