// The RSA encodings as callers see them: published encodings, bounds from both sides, every code. Encodings with a salt
// or seed of the test's own are in rsa_padding_inner_test.cpp.
#include "tests/pubkey/rsa_encoder.hpp"

#include <algorithm>
#include <cstring>
#include <functional>
#include <string>

namespace {

using test::bytes;
using test::digest_of;
using test::length_of;
using test::number;
using test::read_vectors;
using test::rsa_encoder;

constexpr std::uint32_t kWrong = 0x18100059;
constexpr std::uint8_t kNothing = 0;

bytes without_front(const bytes& value, std::size_t count = 1)
{
    return {value.begin() + std::ptrdiff_t(count), value.end()};
}

bytes without_zeros(const bytes& value)
{
    return {std::ranges::find_if(value, [](std::uint8_t byte) { return byte != 0; }), value.end()};
}

// Calls `check` with each byte of `value` changed in turn.
void with_each_byte_changed(bytes value, const std::function<void(const bytes&)>& check)
{
    for (std::size_t i = 0; i < value.size(); ++i) {
        SCOPED_TRACE(testing::Message() << "byte " << i);
        value[i] ^= 0x40;
        check(value);
        value[i] ^= 0x40;
    }
}

bytes mgf1(std::int32_t digest, const bytes& seed, std::size_t size)
{
    bytes mask(size, 0xEE);
    EXPECT_EQ(PKCS1_MGF1(mask.data(), length_of(mask), seed.empty() ? &kNothing : seed.data(), length_of(seed), digest),
              0U);
    return mask;
}

} // namespace

TEST(RsaPaddingMgf1, Vectors)
{
    for (const auto& stanza : read_vectors("rsa.txt", "mgf1"))
        EXPECT_EQ(mgf1(number(stanza["digest"]), stanza["seed"], stanza["mask"].size()), stanza["mask"])
            << stanza.place;
}

TEST(RsaPaddingMgf1, ArgumentsAtTheirLimits)
{
    const bytes seed(200, 0x5A);
    for (const std::int32_t id : {ZRC_HAS160, ZRC_MDC2}) { // of which there are no vectors
        bytes input = seed;
        input.insert(input.end(), {0, 0, 0, 0});
        EXPECT_EQ(mgf1(id, seed, std::size_t(ZRC_Get_DIGEST_Length(id))), digest_of(id, input));
    }
    for (const std::int32_t unknown : {0, 5, 0x05000600, int{ZRC_HMAC_SHA256}, -1})
        EXPECT_EQ(mgf1(unknown, seed, 50), mgf1(ZRC_SHA1, seed, 50));
    EXPECT_EQ(mgf1(ZRC_SHA256, {}, 32), digest_of(ZRC_SHA256, bytes(4)));

    bytes overlapping = seed;
    EXPECT_EQ(PKCS1_MGF1(overlapping.data(), 190, overlapping.data() + 1, 199, ZRC_SHA256), 0U);
    overlapping.resize(190);
    EXPECT_EQ(overlapping, mgf1(ZRC_SHA256, bytes(199, 0x5A), 190));

    std::uint8_t mask[4] = {1, 2, 3, 4};
    EXPECT_EQ(PKCS1_MGF1(nullptr, 4, mask, 4, ZRC_SHA1), 0x180E0049U);
    EXPECT_EQ(PKCS1_MGF1(mask, 4, nullptr, 0, ZRC_SHA1), 0x180E0049U);
    EXPECT_EQ(PKCS1_MGF1(mask, -1, mask, 4, ZRC_SHA1), 0x180E002BU);
    EXPECT_EQ(PKCS1_MGF1(mask, 4, mask, -1, ZRC_SHA1), 0x180E002BU);
    EXPECT_EQ(PKCS1_MGF1(mask, 4, mask, 0, ZRC_MD5), 0x0A02005BU);
    EXPECT_EQ(PKCS1_MGF1(mask, 0, mask, 4, ZRC_SHA1), 0U);
    EXPECT_EQ(std::memcmp(mask, "\1\2\3\4", 4), 0);
}

namespace {

std::uint32_t check_pss(rsa_encoder& key, const bytes& recovered, const bytes& hash, std::int32_t salt_bytes)
{
    return ZRC_Check_RSASSA_PKCS1_PSS_Encode(&key.unit, recovered.data(), length_of(recovered), hash.data(),
                                             length_of(hash), salt_bytes, key.unit.digest);
}

std::uint32_t add_pss(rsa_encoder& key, bytes& output, const bytes& hash, std::int32_t salt_bytes)
{
    return ZRC_Add_RSASSA_PKCS1_PSS_Encode(&key.unit, output.data(), length_of(output), hash.data(), length_of(hash),
                                           salt_bytes, key.unit.digest);
}

} // namespace

TEST(RsaPaddingPss, Vectors)
{
    for (const auto& stanza : read_vectors("rsa.txt", "pss")) {
        SCOPED_TRACE(stanza.place);
        rsa_encoder key{number(stanza["bits"]), number(stanza["digest"]), number(stanza["mgf"])};
        const bytes hash = digest_of(number(stanza["digest"]), stanza["message"]);
        const std::int32_t salt_bytes = length_of(stanza["salt"]);
        const bytes& em = stanza["em"];

        // Two rules of this library's own: an empty salt is never found, and with a modulus of 8 j + 1 bits the
        // encoded message must begin with a zero byte.
        const bool wanted = salt_bytes != 0 && (key.k() == length_of(em) || em[0] == 0);
        EXPECT_EQ(check_pss(key, em, hash, salt_bytes), wanted ? 0U : kWrong);
        EXPECT_EQ(check_pss(key, without_zeros(em), hash, salt_bytes), wanted ? 0U : kWrong);
        for (const std::int32_t other : {salt_bytes - 1, salt_bytes + 1})
            EXPECT_EQ(check_pss(key, em, hash, other), kWrong);
        EXPECT_EQ(check_pss(key, em, digest_of(number(stanza["digest"]), {1}), salt_bytes), kWrong);
        if (key.k() == 128)
            with_each_byte_changed(
                em, [&](auto& changed) { EXPECT_EQ(check_pss(key, changed, hash, salt_bytes), kWrong); });
    }
    for (const auto& stanza : read_vectors("rsa.txt", "pss invalid")) {
        rsa_encoder key{number(stanza["bits"]), number(stanza["digest"]), number(stanza["mgf"])};
        const bytes hash = digest_of(number(stanza["digest"]), stanza["message"]);
        EXPECT_EQ(check_pss(key, stanza["em"], hash, number(stanza["salt_bytes"])), kWrong) << stanza.place;
    }
}

TEST(RsaPaddingPss, EncodingsPassTheCheckFromTheShortestModulusOn)
{
    for (const std::int32_t id : {ZRC_SHA1, ZRC_SHA256, ZRC_SHA512, ZRC_MD5, ZRC_HAS160, ZRC_MDC2}) {
        const bytes hash = digest_of(id, {1, 2, 3});
        for (const std::int32_t salt_bytes : {1, 20, 64}) {
            const std::int32_t shortest = length_of(hash) + salt_bytes + 2; // bytes of the encoded message
            for (std::int32_t bits = 8 * shortest - 9; bits < 8 * shortest + 10; ++bits) {
                SCOPED_TRACE(testing::Message() << std::hex << id << std::dec << ", " << salt_bytes << ", " << bits);
                rsa_encoder key{bits, id, id};
                const bytes before(std::size_t(key.k()), 0xEE);
                bytes em = before;
                // With bits = 8 shortest - 7 the modulus has enough bytes, but the encoded message one too few.
                if (bits < 8 * shortest - 6) {
                    EXPECT_EQ(add_pss(key, em, hash, salt_bytes), 0x180F002BU);
                    EXPECT_EQ(em, before);
                    EXPECT_EQ(check_pss(key, em, hash, salt_bytes), kWrong);
                    continue;
                }
                EXPECT_EQ(add_pss(key, em, hash, salt_bytes), 0U);
                if (bits % 8 == 1) continue;
                EXPECT_EQ(em[0] >> ((bits + 7) % 8), 0);
                EXPECT_EQ(check_pss(key, em, hash, salt_bytes), 0U);
                bytes again = before;
                EXPECT_EQ(add_pss(key, again, hash, salt_bytes), 0U);
                EXPECT_TRUE(em != again || salt_bytes == 1);
            }
        }
    }
    rsa_encoder key{1024, ZRC_SHA256, ZRC_SHA256};
    bytes em(128);
    EXPECT_EQ(add_pss(key, em, bytes(32), 0), 0U) << "without a salt nothing is asked of the generator";
}

TEST(RsaPaddingPss, ModuliOf8jPlus1BitsPassByChance)
{
    rsa_encoder key{2049, ZRC_SHA256, 0};
    const bytes hash = digest_of(ZRC_SHA256, {1});
    bytes em(257);
    int passed = 0;
    for (int i = 0; i < 5000; ++i) {
        ASSERT_EQ(add_pss(key, em, hash, 20), 0U);
        ASSERT_EQ(em[0], 0);
        ASSERT_EQ(check_pss(key, em, hash, 20), em[1] == 0 ? 0U : kWrong);
        if (em[1] != 0) continue;
        ++passed;
        em[0] = 0x77; // not checked
        EXPECT_EQ(check_pss(key, em, hash, 20), 0U);
    }
    EXPECT_GT(passed, 0);
    EXPECT_LT(passed, 100);
}

TEST(RsaPaddingPss, Codes)
{
    rsa_encoder key{1024, ZRC_SHA256, ZRC_SHA256};
    ZRC_RSA_UNIT no_modulus = key.unit;
    no_modulus.n = nullptr;
    ZRC_DIGEST_UNIT fresh{};
    bytes em(128), hash(32);
    ASSERT_EQ(add_pss(key, em, hash, 20), 0U);
    const bytes before = em;

    ZRC_RSA_UNIT* const unit = &key.unit;
    ZRC_DIGEST_UNIT* const digest = key.unit.digest;
    constexpr std::uint32_t kNull = 0x18100049;
    struct {
        ZRC_RSA_UNIT* unit;
        std::uint8_t* em;
        std::int32_t size;
        const std::uint8_t* hash;
        std::int32_t hash_bytes, salt_bytes;
        ZRC_DIGEST_UNIT* digest;
        std::uint32_t check;
    } const kRefused[] = {
        {nullptr, em.data(), 128, hash.data(), 32, 20, digest, kNull},
        {unit, nullptr, 128, hash.data(), 32, 20, digest, kNull},
        {unit, em.data(), 128, nullptr, 32, 20, digest, kNull},
        {unit, em.data(), 128, hash.data(), 32, 20, nullptr, kNull},
        {unit, em.data(), 128, hash.data(), 32, 20, &fresh, kWrong},
        {&no_modulus, em.data(), 128, hash.data(), 32, 20, digest, kWrong},
        {unit, em.data(), -1, hash.data(), 32, 20, digest, kWrong},
        {unit, em.data(), 0, hash.data(), 32, 20, digest, kWrong},
        {unit, em.data(), 127, hash.data(), 32, 20, digest, kWrong},
        {unit, em.data(), 129, hash.data(), 32, 20, digest, kWrong},
        {unit, em.data(), 128, hash.data(), -1, 20, digest, kWrong},
        {unit, em.data(), 128, hash.data(), 31, 20, digest, kWrong},
        {unit, em.data(), 128, hash.data(), 33, 20, digest, kWrong},
        {unit, em.data(), 128, hash.data(), 32, -1, digest, kWrong},
        {unit, em.data(), 128, hash.data(), 32, 95, digest, kWrong},
        {unit, em.data(), 128, hash.data(), 32, INT32_MAX, digest, kWrong},
    };
    for (const auto& row : kRefused) {
        SCOPED_TRACE(testing::Message() << "row " << &row - kRefused);
        EXPECT_EQ(ZRC_Check_RSASSA_PKCS1_PSS_Encode(row.unit, row.em, row.size, row.hash, row.hash_bytes,
                                                    row.salt_bytes, row.digest),
                  row.check);
        EXPECT_EQ(ZRC_Add_RSASSA_PKCS1_PSS_Encode(row.unit, row.em, row.size, row.hash, row.hash_bytes, row.salt_bytes,
                                                  row.digest),
                  0x180F002BU);
    }
    EXPECT_EQ(em, before);
    EXPECT_EQ(check_pss(key, em, hash, 20), 0U);
}

namespace {

// What `decode` writes to a buffer of `room` bytes, of which it touches no other.
bytes decoded(std::int32_t room, const std::function<std::int32_t(std::uint8_t*)>& decode)
{
    bytes message(std::size_t(room), 0xEE);
    const std::int32_t length = decode(message.data());
    EXPECT_GE(length, 0);
    EXPECT_TRUE(std::all_of(message.begin() + length, message.end(), [](std::uint8_t byte) { return byte == 0xEE; }));
    message.resize(std::size_t(length));
    return message;
}

// Room for one byte more than the bound, which the longer form can use.
bytes decode_oaep(rsa_encoder& key, const bytes& em, std::int32_t form, std::int32_t bound = 600,
                  const bytes& label = {})
{
    return decoded(bound + 1, [&](std::uint8_t* message) {
        return ZRC_Decode_RSAES_OAEP_PADDING(&key.unit, em.data(), length_of(em), message, bound,
                                             label.empty() ? nullptr : label.data(), length_of(label), form);
    });
}

// The encoded message, or nothing.
bytes encode_oaep(rsa_encoder& key, const bytes& message, std::int32_t form, const bytes& label = {})
{
    bytes em(std::size_t(key.k()), 0xEE);
    const std::int32_t length = ZRC_Encode_RSAES_OAEP_PADDING(
        &key.unit, message.empty() ? &kNothing : message.data(), length_of(message), em.data(), key.k(),
        label.empty() ? nullptr : label.data(), length_of(label), form);
    if (length < 0) {
        EXPECT_EQ(length, -1);
        EXPECT_EQ(em, bytes(em.size(), 0xEE));
        return {};
    }
    EXPECT_EQ(length, form == 0 ? key.k() - 1 : key.k());
    em.resize(std::size_t(length));
    return em;
}

} // namespace

TEST(RsaPaddingOaep, Vectors)
{
    for (const auto& stanza : read_vectors("rsa.txt", "oaep")) {
        SCOPED_TRACE(stanza.place);
        rsa_encoder key{number(stanza["bits"]), number(stanza["digest"]), number(stanza["mgf"])};
        const bytes &em = stanza["em"], &message = stanza["message"];
        EXPECT_EQ(decode_oaep(key, em, 1), message);
        EXPECT_EQ(decode_oaep(key, without_zeros(em), 1), message);
        EXPECT_EQ(decode_oaep(key, without_front(em), 0), message);
        EXPECT_EQ(decode_oaep(key, em, 0), bytes{}) << "a byte too long";
        EXPECT_EQ(decode_oaep(key, em, 1, 600, {1}), bytes{}) << "another label";
        if (message.empty()) continue;

        bytes first_changed = em;
        first_changed[0] = 0x77;
        EXPECT_EQ(decode_oaep(key, first_changed, 1), message) << "the first byte is not looked at";
        const std::int32_t length = length_of(message);
        EXPECT_EQ(decode_oaep(key, without_front(em), 0, length), message);
        EXPECT_EQ(decode_oaep(key, without_front(em), 0, length - 1), bytes{});
        EXPECT_EQ(decode_oaep(key, em, 1, length - 1), message) << "the longer form takes a byte more than the bound";
        EXPECT_EQ(decode_oaep(key, em, 1, length - 2), bytes{});
    }
    for (const auto& stanza : read_vectors("rsa.txt", "oaep invalid")) {
        rsa_encoder key{number(stanza["bits"]), number(stanza["digest"]), number(stanza["mgf"])};
        EXPECT_EQ(decode_oaep(key, stanza["em"], 1), bytes{}) << stanza.place;
        EXPECT_EQ(decode_oaep(key, without_front(stanza["em"]), 0), bytes{}) << stanza.place;
    }
}

TEST(RsaPaddingOaep, LongestMessages)
{
    for (const std::int32_t id : {ZRC_SHA1, ZRC_SHA256, ZRC_SHA512, ZRC_MD5, ZRC_HAS160, ZRC_MDC2}) {
        const std::int32_t h = ZRC_Get_DIGEST_Length(id);
        for (std::int32_t k = 2 * h - 1; k < 2 * h + 40; ++k) {
            SCOPED_TRACE(testing::Message() << std::hex << id << std::dec << ", k = " << k);
            rsa_encoder key{8 * k - 3, id, ZRC_SHA224};
            const std::int32_t longest = k - 2 * h - 2;
            for (std::int32_t size = std::max(longest - 2, 0); size < std::max(longest, 0) + 4; ++size) {
                const bytes message(std::size_t(size), 0x5A);
                const bytes label(std::size_t(size % 3), 0x33);
                for (const std::int32_t form : {0, 1}) {
                    const bytes em = encode_oaep(key, message, form, label);
                    // The 01 of the longer form's longest message overwrites the last byte of the label's digest.
                    EXPECT_EQ(em.empty(), size > longest + form) << form << ", " << size;
                    EXPECT_EQ(em.empty() ? bytes{} : decode_oaep(key, em, form, 600, label),
                              size > longest ? bytes{} : message);
                }
            }
        }
    }
}

TEST(RsaPaddingOaep, ArgumentsOutOfRange)
{
    rsa_encoder key{1024, ZRC_SHA1, 0};
    ZRC_RSA_UNIT no_digest = key.unit, no_modulus = key.unit;
    ZRC_DIGEST_UNIT fresh{};
    ZRC_RSA_UNIT fresh_digest = key.unit;
    no_digest.digest = nullptr;
    no_modulus.n = nullptr;
    fresh_digest.digest = &fresh;
    const bytes em = encode_oaep(key, {7}, 1);
    bytes out(200);
    EXPECT_NE(em, encode_oaep(key, {7}, 1)) << "the seed is random";
    struct {
        ZRC_RSA_UNIT* unit;
        const std::uint8_t* in;
        std::int32_t length;
        std::uint8_t* out;
        std::int32_t size;
        const std::uint8_t* label;
        std::int32_t label_length, form;
    } const kRefused[] = {
        {nullptr, em.data(), 20, out.data(), 128, nullptr, 0, 1},
        {&no_digest, em.data(), 20, out.data(), 128, nullptr, 0, 1},
        {&fresh_digest, em.data(), 20, out.data(), 128, nullptr, 0, 1},
        {&no_modulus, em.data(), 20, out.data(), 128, nullptr, 0, 0},
        {&no_modulus, em.data(), 20, out.data(), 128, nullptr, 0, 1},
        {&key.unit, nullptr, 0, out.data(), 128, nullptr, 0, 1},
        {&key.unit, em.data(), -1, out.data(), 128, nullptr, 0, 1},
        {&key.unit, em.data(), INT32_MAX, out.data(), 128, nullptr, 0, 1},
        {&key.unit, em.data(), 20, nullptr, 128, nullptr, 0, 1},
        {&key.unit, em.data(), 20, out.data(), -1, nullptr, 0, 1},
        {&key.unit, em.data(), 20, out.data(), 128, nullptr, 1, 1},
        {&key.unit, em.data(), 20, out.data(), 128, em.data(), -1, 1},
        {&key.unit, em.data(), 20, out.data(), 128, nullptr, 0, 2},
        {&key.unit, em.data(), 20, out.data(), 128, nullptr, 0, -1},
    };
    for (const auto& [unit, in, length, to, size, label, label_length, form] : kRefused) {
        EXPECT_EQ(ZRC_Encode_RSAES_OAEP_PADDING(unit, in, length, to, size, label, label_length, form), -1);
        EXPECT_EQ(ZRC_Decode_RSAES_OAEP_PADDING(unit, in, length, to, size, label, label_length, form), 0);
    }
    // The output holds the encoded message, and no byte of the modulus more.
    EXPECT_EQ(ZRC_Encode_RSAES_OAEP_PADDING(&key.unit, em.data(), 20, out.data(), 127, nullptr, 0, 1), -1);
    EXPECT_EQ(ZRC_Encode_RSAES_OAEP_PADDING(&key.unit, em.data(), 20, out.data(), 126, nullptr, 0, 0), -1);
    EXPECT_EQ(out, bytes(200));
    EXPECT_EQ(ZRC_Encode_RSAES_OAEP_PADDING(&key.unit, em.data(), 20, out.data(), 127, nullptr, 0, 0), 127);
    EXPECT_EQ(out[127], 0);
    EXPECT_EQ(decode_oaep(key, em, 1), bytes{7}) << "the unit is as good as before";
}

namespace {

bytes decode_pkcs1(rsa_encoder& key, const bytes& block, std::int32_t bound = 1000)
{
    return decoded(bound, [&](std::uint8_t* message) {
        return ZRC_Decode_RSAES_PKCS1_PADDING(&key.unit, block.data(), length_of(block), message, bound);
    });
}

bytes encode_pkcs1(rsa_encoder& key, const bytes& message, std::int32_t k)
{
    bytes block(std::size_t(std::max(k, 0)), 0xEE);
    const std::int32_t length = ZRC_Encode_RSAES_PKCS1_PADDING(&key.unit, message.empty() ? &kNothing : message.data(),
                                                               length_of(message), block.data(), k);
    if (length == 0) {
        EXPECT_EQ(block, bytes(block.size(), 0xEE));
    }
    EXPECT_TRUE(length == 0 || length == k);
    block.resize(std::size_t(length));
    return block;
}

} // namespace

TEST(RsaPaddingPkcs1, Vectors)
{
    rsa_encoder key{2048, ZRC_SHA1, 0};
    for (const std::uint32_t operation : {0U, 1U}) { // decoding takes both types, whichever key was used
        key.unit.operation = operation;
        for (const char* section : {"pkcs1 type 1", "pkcs1 type 2"}) {
            for (const auto& stanza : read_vectors("rsa.txt", section)) {
                SCOPED_TRACE(stanza.place);
                const bytes &em = stanza["em"], &message = stanza["message"];
                EXPECT_EQ(decode_pkcs1(key, without_front(em)), message);
                EXPECT_EQ(decode_pkcs1(key, em), bytes{}) << "with the leading zero byte";
                EXPECT_EQ(decode_pkcs1(key, without_front(em), length_of(message)), message);
                EXPECT_EQ(decode_pkcs1(key, without_front(em), length_of(message) - 1), bytes{});
                if (operation == 1 && em[1] == 1) {
                    EXPECT_EQ(encode_pkcs1(key, message, length_of(em)), em);
                }
            }
        }
        for (const auto& stanza : read_vectors("rsa.txt", "pkcs1 decryption invalid"))
            EXPECT_EQ(decode_pkcs1(key, without_front(stanza["em"])), bytes{}) << stanza.place;
    }
}

TEST(RsaPaddingPkcs1, Blocks)
{
    rsa_encoder key{1024, ZRC_SHA1, 0};
    for (const std::uint32_t operation : {0U, 1U}) {
        key.unit.operation = operation;
        for (const std::int32_t k : {11, 12, 64, 1000}) {
            for (const std::int32_t size : {0, 1, k - 12, k - 11, k - 10, k}) {
                SCOPED_TRACE(testing::Message() << operation << ", " << k << ", " << size);
                if (size < 0) continue;
                const bytes message(std::size_t(size), 0);
                const bytes block = encode_pkcs1(key, message, k);
                ASSERT_EQ(block.empty(), size > k - 11);
                if (block.empty()) continue;
                const bytes padding(block.begin() + 2, block.end() - size - 1);
                EXPECT_EQ(block[0], 0);
                EXPECT_EQ(block[1], operation == 0 ? 2 : 1);
                EXPECT_EQ(std::ranges::count(padding, std::uint8_t{0}), 0);
                EXPECT_EQ(padding == bytes(padding.size(), 0xFF), operation == 1);
                EXPECT_EQ(block[std::size_t(k - size) - 1], 0);
                EXPECT_EQ(encode_pkcs1(key, message, k) == block, operation == 1);
                EXPECT_EQ(decode_pkcs1(key, without_front(block)), message) << "nothing, when the message is empty";
            }
        }
    }
    for (const std::int32_t k : {-1, 0, 10, INT32_MIN})
        EXPECT_EQ(encode_pkcs1(key, {}, k), bytes{});

    // The message may stand in the output, and the block where the message goes.
    bytes block{9, 8, 7};
    block.resize(20);
    EXPECT_EQ(ZRC_Encode_RSAES_PKCS1_PADDING(&key.unit, block.data(), 3, block.data(), 20), 20);
    EXPECT_EQ(ZRC_Decode_RSAES_PKCS1_PADDING(&key.unit, block.data() + 1, 19, block.data() + 1, 19), 3);
    EXPECT_EQ(std::memcmp(block.data() + 1, "\x09\x08\x07", 3), 0);
}

TEST(RsaPaddingPkcs1, SeparatorAfterEightBytesAtLeast)
{
    rsa_encoder key{1024, ZRC_SHA1, 0};
    for (std::uint32_t type = 0; type < 256; ++type) {
        for (std::size_t padding = 0; padding < 12; ++padding) {
            bytes block(1 + padding, 0x44);
            block[0] = std::uint8_t(type);
            block.insert(block.end(), {0, 0, 5});
            const bool good = (type == 1 || type == 2) && padding >= 8;
            EXPECT_EQ(decode_pkcs1(key, block), good ? (bytes{0, 5}) : bytes{}) << type << ", " << padding;
        }
    }
    for (std::size_t size = 0; size < 30; ++size)
        EXPECT_EQ(decode_pkcs1(key, bytes(size, 2)), bytes{}) << "no separator";
}

TEST(RsaPaddingPkcs1, ArgumentsOutOfRange)
{
    rsa_encoder key{1024, ZRC_SHA1, 0};
    bytes in{2, 1, 1, 1, 1, 1, 1, 1, 1, 0, 5}, out(32);
    struct {
        ZRC_RSA_UNIT* unit;
        const std::uint8_t* in;
        std::int32_t length;
        std::uint8_t* out;
        std::int32_t size;
    } const kRefused[] = {
        {nullptr, in.data(), 11, out.data(), 32},   {&key.unit, nullptr, 0, out.data(), 32},
        {&key.unit, in.data(), -1, out.data(), 32}, {&key.unit, in.data(), INT32_MIN, out.data(), 32},
        {&key.unit, in.data(), 11, nullptr, 32},    {&key.unit, in.data(), 11, out.data(), -1},
    };
    for (const auto& [unit, from, length, to, size] : kRefused) {
        EXPECT_EQ(ZRC_Encode_RSAES_PKCS1_PADDING(unit, from, length, to, size), 0);
        EXPECT_EQ(ZRC_Decode_RSAES_PKCS1_PADDING(unit, from, length, to, size), 0);
    }
    EXPECT_EQ(out, bytes(32));
    EXPECT_EQ(decode_pkcs1(key, in), bytes{5});
}

namespace {

std::uint32_t check_emsa(const bytes& recovered, std::int32_t k, const bytes& hash, std::int32_t id)
{
    return ZRC_Check_EMSA_PKCS1_v1_5_Encode(recovered.data(), length_of(recovered), k, hash.data(), length_of(hash),
                                            id);
}

} // namespace

TEST(RsaPaddingEmsaPkcs1, Vectors)
{
    for (const auto& stanza : read_vectors("rsa.txt", "pkcs1 signature")) {
        SCOPED_TRACE(stanza.place);
        const std::int32_t id = number(stanza["digest"]), k = length_of(stanza["em"]);
        const bytes hash = digest_of(id, stanza["message"]);
        bytes em(stanza["em"].size());
        EXPECT_EQ(ZRC_Add_EMSA_PKCS1_v1_5_Encode(em.data(), k, hash.data(), length_of(hash), id), 0);
        EXPECT_EQ(em, stanza["em"]);
        EXPECT_EQ(check_emsa(without_front(em), k, hash, id), 0U);
        with_each_byte_changed(without_front(em),
                               [&](auto& changed) { EXPECT_EQ(check_emsa(changed, k, hash, id), 0x180D000CU); });
    }
    for (const auto& stanza : read_vectors("rsa.txt", "pkcs1 signature invalid")) {
        const std::int32_t id = number(stanza["digest"]);
        EXPECT_EQ(
            check_emsa(without_zeros(stanza["em"]), length_of(stanza["em"]), digest_of(id, stanza["message"]), id),
            0x180D000CU)
            << stanza.place;
    }
}

// SHA-384 and SHA-512 carry the object identifier of SHA-256; the others are as in RFC 8017.
TEST(RsaPaddingEmsaPkcs1, Sha384AndSha512CarryTheObjectIdentifierOfSha256)
{
    constexpr struct {
        std::int32_t id, hash_bytes;
        const char* prefix;
    } kDigests[] = {
        {ZRC_SHA1, 20, "3021300906052b0e03021a05000414"},
        {ZRC_SHA256, 32, "3031300d060960864801650304020105000420"},
        {ZRC_SHA384, 48, "3041300d060960864801650304020105000430"},
        {ZRC_SHA512, 64, "3051300d060960864801650304020105000440"},
        {ZRC_MD5, 16, "3020300c06082a864886f70d020505000410"},
    };
    for (const auto& [id, hash_bytes, prefix] : kDigests) {
        const bytes hash(std::size_t(hash_bytes), 0xAB);
        const std::int32_t shortest = std::int32_t(std::strlen(prefix) / 2) + hash_bytes + 3;
        for (const std::int32_t k : {shortest, shortest + 1, 200}) {
            bytes em(std::size_t(k), 0xEE);
            EXPECT_EQ(ZRC_Add_EMSA_PKCS1_v1_5_Encode(em.data(), k, hash.data(), hash_bytes, id), 0);
            const std::string expected =
                "0001" + test::hex(bytes(std::size_t(k - shortest), 0xFF)) + "00" + prefix + test::hex(hash);
            EXPECT_EQ(test::hex(em), expected);
            EXPECT_EQ(check_emsa(without_front(em), k, hash, id), 0U);
        }
    }
}

TEST(RsaPaddingEmsaPkcs1, Codes)
{
    constexpr std::int32_t kSha256Needs = 54;
    bytes hash(64, 1), em(100, 0xEE);
    const auto add = [&](std::int32_t k, std::int32_t hash_bytes, std::int32_t id) {
        const std::int32_t result = ZRC_Add_EMSA_PKCS1_v1_5_Encode(em.data(), k, hash.data(), hash_bytes, id);
        EXPECT_EQ(result != 0, em == bytes(100, 0xEE));
        return result;
    };
    for (const std::int32_t k : {INT32_MIN, -1, 0, 29, 30, 53}) // 30 is prefix + 11, which does not count the hash
        EXPECT_EQ(add(k, 32, ZRC_SHA256), 43) << k;
    EXPECT_EQ(add(29, 0, ZRC_SHA256), 43);
    EXPECT_EQ(add(37, 20, ZRC_SHA1), 43);
    EXPECT_EQ(add(69, 48, ZRC_SHA384), 43);
    EXPECT_EQ(add(85, 64, ZRC_SHA512), 43);
    EXPECT_EQ(add(28, 16, ZRC_MD5), 43);
    EXPECT_EQ(add(36, 16, ZRC_MD5), 43);
    EXPECT_EQ(add(100, INT32_MAX, ZRC_MD5), 43);
    for (const std::int32_t id : {int{ZRC_SHA224}, int{ZRC_HAS160}, int{ZRC_MDC2}, int{ZRC_HMAC_SHA256}, 0})
        for (const std::int32_t k : {100, 10})
            EXPECT_EQ(add(k, 20, id), -1);
    EXPECT_EQ(add(100, -1, ZRC_SHA256), -1);
    EXPECT_EQ(ZRC_Add_EMSA_PKCS1_v1_5_Encode(nullptr, 100, hash.data(), 32, ZRC_SHA256), -1);
    EXPECT_EQ(ZRC_Add_EMSA_PKCS1_v1_5_Encode(em.data(), 100, nullptr, 32, ZRC_SHA256), -1);
    EXPECT_EQ(add(kSha256Needs, 32, ZRC_SHA256), 0);

    hash.resize(32);
    em.resize(kSha256Needs);
    const bytes recovered = without_front(em);
    EXPECT_EQ(check_emsa(recovered, kSha256Needs, hash, ZRC_SHA256), 0U);
    for (const std::int32_t k : {INT32_MIN, -1, 0, 29, 53})
        EXPECT_EQ(check_emsa(recovered, k, hash, ZRC_SHA256), 0x180D0012U);
    EXPECT_EQ(check_emsa(recovered, kSha256Needs, hash, ZRC_SHA224), 0x180D0012U);
    EXPECT_EQ(check_emsa(recovered, kSha256Needs + 1, hash, ZRC_SHA256), 0x180D000CU);

    // Every beginning agrees with the block as far as it goes, above all the byte 01, which everybody can make.
    for (std::size_t size = 1; size < recovered.size(); ++size)
        EXPECT_EQ(
            check_emsa({recovered.begin(), recovered.begin() + std::ptrdiff_t(size)}, kSha256Needs, hash, ZRC_SHA256),
            0x180D000CU);
    EXPECT_EQ(check_emsa(em, kSha256Needs, hash, ZRC_SHA256), 0x180D000CU) << "with the leading zero byte";
    bytes longer = recovered;
    longer.push_back(0);
    EXPECT_EQ(check_emsa(longer, kSha256Needs, hash, ZRC_SHA256), 0x180D000CU);

    EXPECT_EQ(ZRC_Check_EMSA_PKCS1_v1_5_Encode(nullptr, 53, 54, hash.data(), 32, ZRC_SHA256), 1U);
    EXPECT_EQ(ZRC_Check_EMSA_PKCS1_v1_5_Encode(em.data(), 53, 54, nullptr, 32, ZRC_SHA256), 1U);
    for (const std::int32_t size : {0, -1})
        EXPECT_EQ(ZRC_Check_EMSA_PKCS1_v1_5_Encode(em.data(), size, 54, hash.data(), 32, ZRC_SHA256), 1U);
}
