// The RSA encodings from inside: published encodings with their salts and seeds, bounds from both sides, every code, and
// that decoding takes no branch and reads no address that depends on the encoded message.
#include "pubkey/rsa_padding.hpp"
#include "tests/pubkey/rsa_unit.hpp"

#include <algorithm>
#include <cstring>
#include <functional>
#include <utility>

#if __has_include(<valgrind/memcheck.h>)
#include <valgrind/memcheck.h>
#define KESTRIM_TEST_VALGRIND 1
#endif

namespace {

using test::bytes;
using test::data_of;
using test::digest_of;
using test::length_of;
using test::number;
using test::read_vectors;
using test::rsa_encoder;
using test::with_each_bad;

constexpr std::uint32_t kWrong = 0x18100059;

bytes without_front(const bytes& value)
{
    return {value.begin() + 1, value.end()};
}

bytes without_zeros(const bytes& value)
{
    return {std::ranges::find_if(value, [](std::uint8_t byte) { return byte != 0; }), value.end()};
}

bytes mgf1(std::int32_t digest, const bytes& seed, std::size_t size)
{
    bytes mask(size, 0xEE);
    EXPECT_EQ(PKCS1_MGF1(mask.data(), length_of(mask), data_of(seed), length_of(seed), digest), 0U);
    return mask;
}

TEST(RsaPadding, Mgf1)
{
    for (const auto& one : read_vectors("rsa.txt", "mgf1"))
        EXPECT_EQ(mgf1(number(one["digest"]), one["seed"], one["mask"].size()), one["mask"]) << one.place;
    const bytes seed(200, 0x5A);
    bytes input = seed, overlapping = seed;
    input.insert(input.end(), {0, 0, 0, 0});
    for (const std::int32_t id : {ZRC_HAS160, ZRC_MDC2}) // of which there are no vectors
        EXPECT_EQ(mgf1(id, seed, std::size_t(ZRC_Get_DIGEST_Length(id))), digest_of(id, input));
    for (const std::int32_t unknown : {0, 5, 0x05000600, int{ZRC_HMAC_SHA256}, -1})
        EXPECT_EQ(mgf1(unknown, seed, 50), mgf1(ZRC_SHA1, seed, 50));
    EXPECT_EQ(mgf1(ZRC_SHA256, {}, 32), digest_of(ZRC_SHA256, bytes(4)));
    EXPECT_EQ(PKCS1_MGF1(overlapping.data(), 190, overlapping.data() + 1, 199, ZRC_SHA256), 0U);
    overlapping.resize(190);
    EXPECT_EQ(overlapping, mgf1(ZRC_SHA256, bytes(199, 0x5A), 190));

    std::uint8_t mask[4] = {1, 2, 3, 4};
    EXPECT_EQ(with_each_bad(PKCS1_MGF1, mask, 0, mask, 4, 0),
              (std::vector{0x180E0049U, 0x180E002BU, 0x180E0049U, 0x180E002BU, 0U}));
    EXPECT_EQ(PKCS1_MGF1(mask, 4, mask, 0, ZRC_MD5), 0x0A02005BU);
    EXPECT_EQ(std::memcmp(mask, "\1\2\3\4", 4), 0);
}

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

TEST(RsaPadding, PssVectors)
{
    for (const auto& one : read_vectors("rsa.txt", "pss")) {
        SCOPED_TRACE(one.place);
        rsa_encoder key{one};
        const bytes hash = digest_of(number(one["digest"]), one["message"]), &em = one["em"];
        const std::int32_t salt_bytes = length_of(one["salt"]);
        const std::size_t k = std::size_t(key.k());
        bytes made(k, 0xEE), expected = em;
        expected.insert(expected.begin(), k - em.size(), 0);
        EXPECT_EQ(ZRC_Update_DIGEST(key.unit.digest, hash.data(), 5), 0U) << "which is dropped";
        EXPECT_EQ(zrc::encode_pss_with_salt(key.unit, made, hash, one["salt"], *key.unit.digest), 0U);
        EXPECT_EQ(made, expected);
        // Two rules of this library's own: an empty salt is never found, and with a modulus of 8 j + 1 bits the
        // encoded message must begin with a zero byte.
        const bool wanted = salt_bytes != 0 && (k == em.size() || em[0] == 0);
        EXPECT_EQ(check_pss(key, without_zeros(em), hash, salt_bytes), wanted ? 0U : kWrong);
        for (const std::int32_t other : {salt_bytes - 1, salt_bytes + 1})
            EXPECT_EQ(check_pss(key, em, hash, other), kWrong);
        EXPECT_EQ(check_pss(key, em, digest_of(number(one["digest"]), {1}), salt_bytes), kWrong);
        for (std::size_t i = 0; i < em.size(); i += k == 128 ? 1 : em.size() - 1) {
            made = em;
            made[i] ^= 0x40;
            EXPECT_EQ(check_pss(key, made, hash, salt_bytes), kWrong) << i;
        }
    }
}

TEST(RsaPadding, PssFromTheShortestModulusOn)
{
    for (const std::int32_t id : {ZRC_SHA512, ZRC_MD5, ZRC_HAS160, ZRC_MDC2}) {
        const bytes hash = digest_of(id, {1, 2, 3});
        for (const std::int32_t salt_bytes : {1, 20}) {
            const std::int32_t shortest = length_of(hash) + salt_bytes + 2; // bytes of the encoded message
            for (std::int32_t bits = 8 * shortest - 9; bits < 8 * shortest + 10; ++bits) {
                SCOPED_TRACE(testing::Message() << std::hex << id << std::dec << ", " << salt_bytes << ", " << bits);
                rsa_encoder key{bits, id, id};
                const bytes before(std::size_t(key.k()), 0xEE);
                bytes em = before, again = before;
                // With bits = 8 shortest - 7 the modulus has enough bytes, but the encoded message one too few.
                const bool fits = bits >= 8 * shortest - 6;
                EXPECT_EQ(add_pss(key, em, hash, salt_bytes), fits ? 0 : 0x180F002BU);
                EXPECT_TRUE(fits ? em[0] >> ((bits + 7) % 8) == 0 : em == before);
                const bool passes = fits && (bits % 8 != 1 || em[1] == 0); // 8 j + 1 bits: by chance
                EXPECT_EQ(check_pss(key, em, hash, salt_bytes), passes ? 0 : kWrong);
                add_pss(key, again, hash, salt_bytes);
                EXPECT_TRUE(em != again || !fits || salt_bytes == 1) << "the salt is random";
            }
        }
    }
    rsa_encoder key{1024, ZRC_SHA256, ZRC_SHA256};
    bytes em(128);
    EXPECT_EQ(add_pss(key, em, bytes(32), 0), 0U) << "without a salt";
}

TEST(RsaPadding, PssCodes)
{
    rsa_encoder key{1024, ZRC_SHA256, ZRC_SHA256};
    ZRC_RSA_UNIT no_modulus = key.unit, *const unit = &key.unit;
    no_modulus.n = nullptr;
    ZRC_DIGEST_UNIT fresh{}, *const digest = key.unit.digest;
    const bytes hash(32);
    const std::uint8_t* const h = hash.data();
    bytes em(128);
    ASSERT_EQ(add_pss(key, em, hash, 20), 0U);
    const bytes before = em;
    EXPECT_EQ(with_each_bad(ZRC_Add_RSASSA_PKCS1_PSS_Encode, unit, em.data(), 128, h, 32, 20, digest),
              std::vector(7, 0x180F002BU));
    EXPECT_EQ(with_each_bad(ZRC_Check_RSASSA_PKCS1_PSS_Encode, unit, em.data(), 128, h, 32, 20, digest),
              (std::vector{0x18100049U, 0x18100049U, kWrong, 0x18100049U, kWrong, kWrong, 0x18100049U}));
    const auto expect_refusal = [&](ZRC_RSA_UNIT* one, std::int32_t size, std::int32_t hash_bytes, std::int32_t salt,
                                    ZRC_DIGEST_UNIT* with) {
        EXPECT_EQ(ZRC_Check_RSASSA_PKCS1_PSS_Encode(one, em.data(), size, h, hash_bytes, salt, with), kWrong);
        EXPECT_EQ(ZRC_Add_RSASSA_PKCS1_PSS_Encode(one, em.data(), size, h, hash_bytes, salt, with), 0x180F002BU);
    };
    expect_refusal(unit, 128, 32, 20, &fresh);
    expect_refusal(&no_modulus, 128, 32, 20, digest);
    for (const std::int32_t size : {0, 127, 129})
        expect_refusal(unit, size, 32, 20, digest);
    for (const std::int32_t hash_bytes : {0, 31, 33})
        expect_refusal(unit, 128, hash_bytes, 20, digest);
    for (const std::int32_t salt : {95, INT32_MAX})
        expect_refusal(unit, 128, 32, salt, digest);
    EXPECT_EQ(em, before);
    EXPECT_EQ(check_pss(key, em, hash, 20), 0U);
}

// What `decode` writes to a buffer of `room` bytes, of which it touches no other.
bytes decoded(std::int32_t room, const std::function<std::int32_t(std::uint8_t*)>& decode)
{
    bytes message(std::size_t(room), 0xEE);
    const std::int32_t length = decode(message.data());
    EXPECT_EQ(std::count(message.begin() + length, message.end(), 0xEE), room - length);
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
    const bytes before = em;
    const auto length = ZRC_Encode_RSAES_OAEP_PADDING(&key.unit, data_of(message), length_of(message), em.data(),
                                                      key.k(), label.data(), length_of(label), form);
    EXPECT_TRUE(length == key.k() - 1 + form || (length == -1 && em == before));
    em.resize(std::size_t(std::max(length, 0)));
    return em;
}

TEST(RsaPadding, OaepVectors)
{
    for (const auto& one : read_vectors("rsa.txt", "oaep")) {
        SCOPED_TRACE(one.place);
        rsa_encoder key{one};
        const bytes &em = one["em"], &message = one["message"];
        const std::int32_t length = length_of(message);
        for (const auto form : {zrc::oaep_form::v20, zrc::oaep_form::v21}) {
            const bytes expected = form == zrc::oaep_form::v20 ? without_front(em) : em;
            bytes made(em.size() + 5, 0xEE);
            std::ranges::copy(message, made.begin() + 3); // the message may overlap the output
            const zrc::byte_span overlapping{made.data() + 3, message.size()};
            EXPECT_EQ(zrc::encode_oaep_with_seed(key.unit, overlapping, made, {}, form, one["seed"]),
                      length_of(expected));
            made.resize(expected.size());
            EXPECT_EQ(made, expected);
        }
        EXPECT_EQ(decode_oaep(key, without_zeros(em), 1), message);
        EXPECT_EQ(decode_oaep(key, without_front(em), 0, length), message);
        EXPECT_EQ(decode_oaep(key, em, 0), bytes{}) << "a byte too long";
        EXPECT_EQ(decode_oaep(key, em, 1, 600, {1}), bytes{}) << "another label";
        if (length < 2) continue;
        bytes first_changed = em;
        first_changed[0] = 0x77;
        EXPECT_EQ(decode_oaep(key, first_changed, 1), message) << "the first byte is not looked at";
        EXPECT_EQ(decode_oaep(key, without_front(em), 0, length - 1), bytes{});
        EXPECT_EQ(decode_oaep(key, em, 1, length - 1), message) << "the longer form takes a byte more than the bound";
        EXPECT_EQ(decode_oaep(key, em, 1, length - 2), bytes{});
    }
    for (const auto& one : read_vectors("rsa.txt", "oaep invalid")) {
        rsa_encoder key{one};
        EXPECT_EQ(decode_oaep(key, one["em"], 1), bytes{}) << one.place;
        EXPECT_EQ(decode_oaep(key, without_front(one["em"]), 0), bytes{}) << one.place;
    }
}

TEST(RsaPadding, OaepLongestMessages)
{
    for (const std::int32_t id : {ZRC_SHA512, ZRC_MD5, ZRC_HAS160, ZRC_MDC2}) {
        const std::int32_t h = ZRC_Get_DIGEST_Length(id);
        for (std::int32_t k = 2 * h - 1; k < 2 * h + 12; ++k) {
            rsa_encoder key{8 * k - 3, id, ZRC_SHA224};
            const std::int32_t longest = k - 2 * h - 2;
            for (std::int32_t size = std::max(longest - 2, 0); size < std::max(longest, 0) + 4; ++size) {
                const bytes message(std::size_t(size), 0x5A), label(std::size_t(size % 3), 0x33);
                for (const std::int32_t form : {0, 1}) {
                    SCOPED_TRACE(testing::Message() << id << ", k = " << k << ", " << size << ", " << form);
                    const bytes em = encode_oaep(key, message, form, label);
                    EXPECT_EQ(em.empty(), size > longest + form);
                    EXPECT_EQ(em.empty() ? bytes{} : decode_oaep(key, em, form, 600, label),
                              size > longest ? bytes{} : message);
                }
            }
        }
    }
}

TEST(RsaPadding, OaepArguments)
{
    rsa_encoder key{1024, ZRC_SHA1, 0};
    ZRC_RSA_UNIT *const unit = &key.unit, no_digest = *unit, no_modulus = *unit, fresh_digest = *unit;
    ZRC_DIGEST_UNIT fresh{};
    no_digest.digest = nullptr;
    no_modulus.n = nullptr;
    fresh_digest.digest = &fresh;
    const bytes em = encode_oaep(key, {7}, 1);
    EXPECT_NE(em, encode_oaep(key, {7}, 1)) << "the seed is random";
    bytes out(200);
    const std::uint8_t* const in = em.data();
    std::uint8_t* const to = out.data();
    EXPECT_EQ(with_each_bad(ZRC_Encode_RSAES_OAEP_PADDING, unit, in, 20, to, 128, in, 1, 1), std::vector(8, -1));
    EXPECT_EQ(with_each_bad(ZRC_Decode_RSAES_OAEP_PADDING, unit, in, 20, to, 128, in, 1, 1), std::vector(8, 0));
    const auto expect_refusal = [&](ZRC_RSA_UNIT* one, std::int32_t length, std::int32_t form) {
        EXPECT_EQ(ZRC_Encode_RSAES_OAEP_PADDING(one, in, length, to, 128, nullptr, 0, form), -1);
        EXPECT_EQ(ZRC_Decode_RSAES_OAEP_PADDING(one, in, length, to, 128, nullptr, 0, form), 0);
    };
    for (ZRC_RSA_UNIT* const one : {&no_digest, &fresh_digest, &no_modulus})
        for (const std::int32_t form : {0, 1})
            expect_refusal(one, 20, form);
    expect_refusal(unit, 20, 2);
    expect_refusal(unit, INT32_MAX, 1);
    // The output holds the encoded message, and no byte of the modulus more.
    for (const std::int32_t form : {0, 1})
        EXPECT_EQ(ZRC_Encode_RSAES_OAEP_PADDING(unit, in, 20, to, 126 + form, nullptr, 0, form), -1);
    EXPECT_EQ(out, bytes(200));
    EXPECT_EQ(ZRC_Encode_RSAES_OAEP_PADDING(unit, in, 20, to, 127, nullptr, 0, 0), 127);
    EXPECT_EQ(out[127], 0);
}

bytes decode_pkcs1(rsa_encoder& key, const bytes& block, std::int32_t bound = 1000)
{
    return decoded(bound, [&](std::uint8_t* message) {
        return ZRC_Decode_RSAES_PKCS1_PADDING(&key.unit, block.data(), length_of(block), message, bound);
    });
}

TEST(RsaPadding, Pkcs1Blocks)
{
    rsa_encoder key{1024, ZRC_SHA1, 0};
    ZRC_RSA_UNIT* const unit = &key.unit;
    for (const auto& one : read_vectors("rsa.txt", "pkcs1 decryption")) {
        const bytes block = without_front(one["em"]), &message = one["message"];
        EXPECT_EQ(decode_pkcs1(key, block), message) << one.place;
        EXPECT_EQ(decode_pkcs1(key, one["em"]), bytes{}) << "with the leading zero byte";
        if (message.empty()) continue;
        EXPECT_EQ(decode_pkcs1(key, block, length_of(message)), message);
        EXPECT_EQ(decode_pkcs1(key, block, length_of(message) - 1), bytes{});
    }
    for (const std::uint32_t operation : {0U, 1U}) { // decoding takes both types, whichever key was used
        unit->operation = operation;
        for (const std::int32_t k : {INT32_MIN, -1, 0, 10, 11, 12, 64, 1000}) {
            const std::int32_t room = std::max(k, 0);
            for (const std::int32_t size : {0, 1, room - 12, room - 11, room - 10, room}) {
                if (size < 0) continue;
                SCOPED_TRACE(testing::Message() << operation << ", " << k << ", " << size);
                const bytes message(std::size_t(size), 0), before(std::size_t(room), 0xEE);
                bytes block = before;
                const bool fits = k >= 11 && size <= k - 11;
                ASSERT_EQ(ZRC_Encode_RSAES_PKCS1_PADDING(unit, data_of(message), size, block.data(), k), fits ? k : 0);
                EXPECT_EQ(block == before, !fits || k <= 0);
                if (!fits) continue;
                const bytes padding(block.begin() + 2, block.end() - size - 1);
                EXPECT_TRUE(block[0] == 0 && block[1] == 2 - operation && block[std::size_t(k - size) - 1] == 0);
                EXPECT_EQ(std::ranges::count(padding, std::uint8_t{0}), 0);
                EXPECT_EQ(padding == bytes(padding.size(), 0xFF), operation == 1);
                EXPECT_EQ(decode_pkcs1(key, without_front(block)), message) << "nothing, when the message is empty";
            }
        }
        for (std::uint32_t type = 0; type < 256; ++type) {
            for (std::size_t padding = 0; padding < 12; ++padding) {
                bytes block(1 + padding, 0x44);
                block[0] = std::uint8_t(type);
                EXPECT_EQ(decode_pkcs1(key, block), bytes{}) << "no separator";
                block.insert(block.end(), {0, 0, 5});
                const bool good = (type == 1 || type == 2) && padding >= 8;
                EXPECT_EQ(decode_pkcs1(key, block), good ? (bytes{0, 5}) : bytes{}) << type << ", " << padding;
            }
        }
    }
    // The message may stand in the output, and the block where the message goes.
    bytes block{9, 8, 7};
    block.resize(20);
    EXPECT_EQ(ZRC_Encode_RSAES_PKCS1_PADDING(unit, block.data(), 3, block.data(), 20), 20);
    EXPECT_EQ(ZRC_Decode_RSAES_PKCS1_PADDING(unit, block.data() + 1, 19, block.data() + 1, 19), 3);
    EXPECT_EQ(std::memcmp(block.data() + 1, "\x09\x08\x07", 3), 0);

    const bytes in{2, 1, 1, 1, 1, 1, 1, 1, 1, 0, 5}, before = block;
    for (const auto call : {ZRC_Encode_RSAES_PKCS1_PADDING, ZRC_Decode_RSAES_PKCS1_PADDING}) {
        EXPECT_EQ(with_each_bad(call, unit, in.data(), 11, block.data(), 22), std::vector(5, 0));
        EXPECT_EQ(call(unit, in.data(), INT32_MIN, block.data(), 20), 0);
    }
    EXPECT_EQ(block, before);
}

std::uint32_t check_emsa(const bytes& recovered, std::int32_t k, const bytes& hash, std::int32_t id)
{
    return ZRC_Check_EMSA_PKCS1_v1_5_Encode(recovered.data(), length_of(recovered), k, hash.data(), length_of(hash),
                                            id);
}

// SHA-384 and SHA-512 carry the object identifier of SHA-256; the others are as in RFC 8017.
TEST(RsaPadding, EmsaPkcs1PrefixesAndBounds)
{
    constexpr struct {
        std::int32_t id, hash_bytes;
        const char* prefix;
    } kDigests[] = {{ZRC_SHA1, 20, "3021300906052b0e03021a05000414"},
                    {ZRC_SHA256, 32, "3031300d060960864801650304020105000420"},
                    {ZRC_SHA384, 48, "3041300d060960864801650304020105000430"},
                    {ZRC_SHA512, 64, "3051300d060960864801650304020105000440"},
                    {ZRC_MD5, 16, "3020300c06082a864886f70d020505000410"}};
    const bytes before(200, 0xEE), hash64(64, 0xAB);
    bytes em;
    const auto add = [&](std::int32_t k, std::int32_t hash_bytes, std::int32_t id) {
        em = before;
        return ZRC_Add_EMSA_PKCS1_v1_5_Encode(em.data(), k, hash64.data(), hash_bytes, id);
    };
    for (const auto& [id, hash_bytes, prefix] : kDigests) {
        const bytes hash(std::size_t(hash_bytes), 0xAB);
        const std::int32_t prefix_bytes = std::int32_t(std::strlen(prefix) / 2);
        const std::int32_t shortest = prefix_bytes + hash_bytes + 3;
        for (const std::int32_t k : {shortest, shortest + 1, 200}) {
            EXPECT_EQ(add(k, hash_bytes, id), 0);
            const std::string padding = test::hex(bytes(std::size_t(k - shortest), 0xFF));
            EXPECT_EQ(test::hex({em.data(), std::size_t(k)}), "0001" + padding + "00" + prefix + test::hex(hash));
            EXPECT_EQ(check_emsa({em.begin() + 1, em.begin() + k}, k, hash, id), 0U);
        }
        // The first bound, prefix + 11, does not count the hash.
        for (const std::int32_t k : {INT32_MIN, -1, 0, prefix_bytes + 10, prefix_bytes + 11, shortest - 1})
            EXPECT_EQ(add(k, hash_bytes, id), 43) << id << ' ' << k;
        EXPECT_EQ(add(prefix_bytes + 10, 0, id), 43);
        EXPECT_EQ(add(100, INT32_MAX, id), 43);
        EXPECT_EQ(add(100, -1, id), -1);
        EXPECT_EQ(em, before);
    }
    for (const std::int32_t id : {int{ZRC_SHA224}, int{ZRC_HAS160}, int{ZRC_MDC2}, int{ZRC_HMAC_SHA256}, 0})
        EXPECT_EQ(add(10, 20, id), -1);
    EXPECT_EQ(with_each_bad(ZRC_Add_EMSA_PKCS1_v1_5_Encode, em.data(), 100, hash64.data(), 32, int{ZRC_SHA256}),
              (std::vector{-1, 43, -1, -1, -1}));
    EXPECT_EQ(em, before);
}

TEST(RsaPadding, EmsaPkcs1CheckCodes)
{
    constexpr std::uint32_t kEncoding = 0x180D0012;
    const bytes hash(32, 1);
    bytes em(60);
    ASSERT_EQ(ZRC_Add_EMSA_PKCS1_v1_5_Encode(em.data(), 60, hash.data(), 32, ZRC_SHA256), 0);
    const bytes recovered = without_front(em);
    for (const std::int32_t k : {INT32_MIN, 0, 29, 53})
        EXPECT_EQ(check_emsa(recovered, k, hash, ZRC_SHA256), kEncoding);
    EXPECT_EQ(check_emsa(recovered, 61, hash, ZRC_SHA256), 0x180D000CU);
    // Every beginning agrees with the block as far as it goes, above all the byte 01, which everybody can make.
    bytes part;
    for (const std::uint8_t byte : recovered) {
        part.push_back(byte);
        bytes changed = recovered;
        changed[part.size() - 1] ^= 0x40;
        EXPECT_EQ(check_emsa(part, 60, hash, ZRC_SHA256), part == recovered ? 0 : 0x180D000CU);
        EXPECT_EQ(check_emsa(changed, 60, hash, ZRC_SHA256), 0x180D000CU);
    }
    part.push_back(0);
    EXPECT_EQ(check_emsa(part, 60, hash, ZRC_SHA256), 0x180D000CU);
    EXPECT_EQ(check_emsa(em, 60, hash, ZRC_SHA256), 0x180D000CU) << "with the leading zero byte";
    EXPECT_EQ(check_emsa({}, 60, hash, ZRC_SHA256), 1U);
    EXPECT_EQ(with_each_bad(ZRC_Check_EMSA_PKCS1_v1_5_Encode, em.data() + 1, 59, 60, hash.data(), 32, int{ZRC_SHA256}),
              (std::vector{1U, 1U, kEncoding, 1U, kEncoding, kEncoding}));
}

#if KESTRIM_TEST_VALGRIND

// The errors while `run` works on a copy of `secret` that is undefined, and its result, which is public again.
template <class Run>
std::pair<unsigned long, std::size_t> with_hidden(bytes secret, Run run)
{
    const unsigned long before = VALGRIND_COUNT_ERRORS;
    VALGRIND_MAKE_MEM_UNDEFINED(secret.data(), secret.size());
    auto result = std::size_t(run(secret));
    VALGRIND_MAKE_MEM_DEFINED(&result, sizeof result);
    return {VALGRIND_COUNT_ERRORS - before, result};
}

TEST(ConstantTimeRsaPadding, EncodingAndFindingTheMessage)
{
    if (!RUNNING_ON_VALGRIND) GTEST_SKIP() << "not under valgrind";
    const auto expect_found = [](const test::stanza& one, auto find) {
        for (const std::size_t bound : {1U, 30U, 256U}) {
            const auto message = one.values.find("message");
            const std::size_t length = message == one.values.end() ? 0 : message->second.size();
            const auto result = with_hidden(one["em"], [&](bytes& em) { return find(em, bound); });
            EXPECT_EQ(result, (std::pair{0UL, length <= bound ? length : 0})) << one.place;
        }
    };
    for (const auto& one : read_vectors("rsa.txt", "pkcs1 decryption"))
        expect_found(one, [](const bytes& em, std::size_t bound) {
            return zrc::find_pkcs1_message(zrc::byte_span{em}.subspan(1), bound);
        });
    for (const char* section : {"oaep", "oaep invalid"})
        for (const auto& one : read_vectors("rsa.txt", section))
            expect_found(one, [&](bytes& em, std::size_t bound) {
                rsa_encoder key{one};
                return zrc::find_oaep_message(key.unit, em, {}, zrc::oaep_form::v21, bound - 1);
            });

    rsa_encoder key{1024, ZRC_SHA256, ZRC_SHA256};
    bytes output(128);
    EXPECT_EQ(with_hidden(bytes(32, 1),
                          [&](const bytes& secret) {
                              return zrc::encode_oaep_with_seed(key.unit, secret, output, {}, zrc::oaep_form::v21,
                                                                secret) == 128 &&
                                     zrc::encode_pss_with_salt(key.unit, output, secret, secret, *key.unit.digest) == 0;
                          }),
              (std::pair{0UL, std::size_t{1}}));
    // The check itself: copying the message takes its length, which the caller is told, and that is seen.
    EXPECT_NE(with_hidden(read_vectors("rsa.txt", "pkcs1 decryption").front()["em"],
                          [&](const bytes& em) {
                              bytes out(256);
                              return ZRC_Decode_RSAES_PKCS1_PADDING(&key.unit, em.data() + 1, length_of(em) - 1,
                                                                    out.data(), 256);
                          })
                  .first,
              0U);
}

#endif

} // namespace
