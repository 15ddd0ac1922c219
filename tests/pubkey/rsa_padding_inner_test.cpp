// The RSA encodings from inside: published encodings with their salts and seeds, bounds from both sides, every code,
// and that decoding takes no branch and reads no address that depends on the encoded message.
#include "pubkey/rsa_padding.hpp"
#include "tests/pubkey/inner_fixture.hpp"
#include "tests/pubkey/rsa_unit.hpp"

#include <cstring>

namespace {

using namespace test;

using zrc::oaep_form;

constexpr std::uint32_t kWrong = 0x18100059;

bytes without_front(const bytes& value)
{
    return {value.begin() + 1, value.end()};
}

bytes without_zeros(const bytes& value)
{
    return {std::ranges::find_if(value, [](std::uint8_t byte) { return byte != 0; }), value.end()};
}

// With a byte changed.
bytes altered(bytes value, std::size_t place)
{
    value[place] ^= 0x40;
    return value;
}

bytes mgf1(std::int32_t digest, const bytes& seed, std::size_t size)
{
    bytes mask(size, 0xEE);
    EXPECT_EQ(PKCS1_MGF1(mask.data(), length_of(mask), data_of(seed), length_of(seed), digest), 0U);
    return mask;
}

TEST(RsaPadding, Mgf1)
{
    for (const stanza& one : read_vectors("rsa.txt", "mgf1"))
        EXPECT_EQ(mgf1(number(one["digest"]), one["seed"], one["mask"].size()), one["mask"]) << one.place;
    const bytes seed(200, 0x5A);
    for (const std::int32_t id : {ZRC_HAS160, ZRC_MDC2}) // of which there are no vectors
        EXPECT_EQ(mgf1(id, seed, std::size_t(ZRC_Get_DIGEST_Length(id))), digest_of(id, seed + bytes(4)));
    for (const std::int32_t unknown : {0, 5, 0x05000600, int{ZRC_HMAC_SHA256}, -1})
        EXPECT_EQ(mgf1(unknown, seed, 50), mgf1(ZRC_SHA1, seed, 50));
    EXPECT_EQ(mgf1(ZRC_SHA256, {}, 32), digest_of(ZRC_SHA256, bytes(4)));
    bytes overlapping = seed;
    EXPECT_EQ(PKCS1_MGF1(overlapping.data(), 190, overlapping.data() + 1, 199, ZRC_SHA256), 0U);
    overlapping.resize(190);
    EXPECT_EQ(overlapping, mgf1(ZRC_SHA256, bytes(199, 0x5A), 190));
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
    for (const stanza& one : read_vectors("rsa.txt", "pss")) {
        SCOPED_TRACE(one.place);
        rsa_encoder key{one};
        const bytes hash = digest_of(number(one["digest"]), one["message"]), &em = one["em"];
        const std::int32_t salt_bytes = length_of(one["salt"]);
        const std::size_t k = std::size_t(key.k());
        bytes made(k, 0xEE);
        EXPECT_EQ(ZRC_Update_DIGEST(key.unit.digest, hash.data(), 5), 0U) << "which is dropped";
        EXPECT_EQ(zrc::encode_pss_with_salt(key.unit, made, hash, one["salt"], *key.unit.digest), 0U);
        EXPECT_EQ(made, bytes(k - em.size()) + em);
        // Two rules of this library's own: an empty salt is never found, and with a modulus of 8 j + 1 bits the
        // encoded message must begin with a zero byte.
        const bool wanted = salt_bytes != 0 && (k == em.size() || em[0] == 0);
        EXPECT_EQ(check_pss(key, without_zeros(em), hash, salt_bytes), wanted ? 0U : kWrong);
        for (const std::int32_t other : {salt_bytes - 1, salt_bytes + 1})
            EXPECT_EQ(check_pss(key, em, hash, other), kWrong);
        EXPECT_EQ(check_pss(key, em, digest_of(number(one["digest"]), {1}), salt_bytes), kWrong);
        for (std::size_t i = 0; i < em.size(); i += k == 128 ? 1 : em.size() - 1)
            EXPECT_EQ(check_pss(key, altered(em, i), hash, salt_bytes), kWrong) << i;
    }
}

TEST(RsaPadding, PssFromTheShortestModulusOn)
{
    for (const std::int32_t id : {ZRC_SHA512, ZRC_MD5, ZRC_HAS160, ZRC_MDC2}) {
        const bytes hash = digest_of(id, {1, 2, 3});
        for (const std::int32_t salt_bytes : {0, 1, 20}) {
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
                if (salt_bytes == 0) continue;                             // which is never found
                const bool passes = fits && (bits % 8 != 1 || em[1] == 0); // 8 j + 1 bits: by chance
                EXPECT_EQ(check_pss(key, em, hash, salt_bytes), passes ? 0 : kWrong);
                add_pss(key, again, hash, salt_bytes);
                EXPECT_TRUE(em != again || !fits || salt_bytes == 1) << "the salt is random";
            }
        }
    }
}

// What `decode` writes to a buffer of `room` bytes, of which it touches no other.
bytes decoded(std::int32_t room, auto decode)
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
    for (const stanza& one : read_vectors("rsa.txt", "oaep")) {
        SCOPED_TRACE(one.place);
        rsa_encoder key{one};
        const bytes &em = one["em"], &message = one["message"];
        const std::int32_t length = length_of(message);
        for (const oaep_form form : {oaep_form::v20, oaep_form::v21}) {
            const bytes expected = form == oaep_form::v20 ? without_front(em) : em;
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
        EXPECT_EQ(decode_oaep(key, altered(em, 0), 1), message) << "the first byte is not looked at";
        EXPECT_EQ(decode_oaep(key, without_front(em), 0, length - 1), bytes{});
        EXPECT_EQ(decode_oaep(key, em, 1, length - 1), message) << "the longer form takes a byte more than the bound";
        EXPECT_EQ(decode_oaep(key, em, 1, length - 2), bytes{});
    }
    for (const stanza& one : read_vectors("rsa.txt", "oaep invalid")) {
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

bytes decode_pkcs1(rsa_encoder& key, const bytes& block, std::int32_t bound = 1000)
{
    return decoded(bound, [&](std::uint8_t* message) {
        return ZRC_Decode_RSAES_PKCS1_PADDING(&key.unit, block.data(), length_of(block), message, bound);
    });
}

// Decoding takes both types, whichever key was used.
TEST(RsaPadding, Pkcs1Blocks)
{
    rsa_encoder key{1024, ZRC_SHA1, 0};
    for (const stanza& one : read_vectors("rsa.txt", "pkcs1 decryption")) {
        const bytes block = without_front(one["em"]), &message = one["message"];
        EXPECT_EQ(decode_pkcs1(key, block), message) << one.place;
        EXPECT_EQ(decode_pkcs1(key, one["em"]), bytes{}) << "with the leading zero byte";
        if (message.empty()) continue;
        EXPECT_EQ(decode_pkcs1(key, block, length_of(message)), message);
        EXPECT_EQ(decode_pkcs1(key, block, length_of(message) - 1), bytes{});
    }
    for (const std::uint32_t operation : {0U, 1U}) {
        key.unit.operation = operation;
        for (std::uint32_t type = 0; type < 256; ++type) {
            for (std::size_t padding = 0; padding < 12; ++padding) {
                const bytes start = bytes{std::uint8_t(type)} + bytes(padding, 0x44);
                EXPECT_EQ(decode_pkcs1(key, start), bytes{}) << "no separator";
                const bool good = (type == 1 || type == 2) && padding >= 8;
                EXPECT_EQ(decode_pkcs1(key, start + bytes{0, 0, 5}), good ? (bytes{0, 5}) : bytes{}) << type;
            }
        }
    }
}

TEST(RsaPadding, Pkcs1Encoding)
{
    rsa_encoder key{1024, ZRC_SHA1, 0};
    ZRC_RSA_UNIT* const unit = &key.unit;
    for (const std::uint32_t operation : {0U, 1U}) {
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
    }
    // The message may stand in the output, and the block where the message goes.
    bytes block = bytes{9, 8, 7} + bytes(17);
    EXPECT_EQ(ZRC_Encode_RSAES_PKCS1_PADDING(unit, block.data(), 3, block.data(), 20), 20);
    EXPECT_EQ(ZRC_Decode_RSAES_PKCS1_PADDING(unit, block.data() + 1, 19, block.data() + 1, 19), 3);
    EXPECT_EQ(std::memcmp(block.data() + 1, "\x09\x08\x07", 3), 0);
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
            const std::string padding = hex(bytes(std::size_t(k - shortest), 0xFF));
            EXPECT_EQ(hex({em.data(), std::size_t(k)}), "0001" + padding + "00" + prefix + hex(hash));
            EXPECT_EQ(check_emsa({em.begin() + 1, em.begin() + k}, k, hash, id), 0U);
        }
        // The first bound, prefix + 11, does not count the hash.
        for (const std::int32_t k : {INT32_MIN, -1, 0, prefix_bytes + 10, prefix_bytes + 11, shortest - 1})
            EXPECT_EQ(add(k, hash_bytes, id), 43) << id << ' ' << k;
        EXPECT_EQ(add(prefix_bytes + 10, 0, id), 43);
        EXPECT_EQ(add(100, INT32_MAX, id), 43);
        EXPECT_EQ(em, before);
    }
    for (const std::int32_t id : {int{ZRC_SHA224}, int{ZRC_HAS160}, int{ZRC_MDC2}, int{ZRC_HMAC_SHA256}, 0})
        EXPECT_EQ(add(10, 20, id), -1);
}

TEST(RsaPadding, EmsaPkcs1CheckCodes)
{
    constexpr std::uint32_t kEncoding = 0x180D0012, kDiffers = 0x180D000C;
    const bytes hash(32, 1);
    bytes em(60);
    ASSERT_EQ(ZRC_Add_EMSA_PKCS1_v1_5_Encode(em.data(), 60, hash.data(), 32, ZRC_SHA256), 0);
    const bytes recovered = without_front(em);
    for (const std::int32_t k : {INT32_MIN, 0, 29, 53})
        EXPECT_EQ(check_emsa(recovered, k, hash, ZRC_SHA256), kEncoding);
    EXPECT_EQ(check_emsa(recovered, 61, hash, ZRC_SHA256), kDiffers);
    // Every beginning agrees with the block as far as it goes, above all the byte 01, which everybody can make.
    for (std::size_t i = 1; i < recovered.size(); ++i) {
        EXPECT_EQ(check_emsa({recovered.begin(), recovered.begin() + std::ptrdiff_t(i)}, 60, hash, ZRC_SHA256),
                  kDiffers);
        EXPECT_EQ(check_emsa(altered(recovered, i), 60, hash, ZRC_SHA256), kDiffers);
    }
    EXPECT_EQ(check_emsa(recovered, 60, hash, ZRC_SHA256), 0U);
    EXPECT_EQ(check_emsa(recovered + bytes{0}, 60, hash, ZRC_SHA256), kDiffers);
    EXPECT_EQ(check_emsa(em, 60, hash, ZRC_SHA256), kDiffers) << "with the leading zero byte";
    EXPECT_EQ(check_emsa({}, 60, hash, ZRC_SHA256), 1U);
}

TEST(RsaPadding, RefusedArgumentsChangeNothing)
{
    rsa_encoder key{1024, ZRC_SHA256, ZRC_SHA1};
    ZRC_RSA_UNIT *const unit = &key.unit, no_digest = *unit, no_modulus = *unit, fresh_digest = *unit;
    ZRC_DIGEST_UNIT fresh{}, *const digest = key.unit.digest;
    no_digest.digest = nullptr;
    no_modulus.n = nullptr;
    fresh_digest.digest = &fresh;
    bytes out(128), em = bytes{2} + bytes(8, 1) + bytes{0, 5} + bytes(117);
    const std::uint8_t* const in = em.data();
    std::uint8_t* const to = out.data();
    EXPECT_EQ(with_each_bad(PKCS1_MGF1, to, 0, in, 4, 0), (codes{0x180E0049, 0x180E002B, 0x180E0049, 0x180E002B, 0}));
    EXPECT_EQ(PKCS1_MGF1(to, 4, in, 0, ZRC_MD5), 0x0A02005BU);
    for (const auto call : {ZRC_Encode_RSAES_PKCS1_PADDING, ZRC_Decode_RSAES_PKCS1_PADDING}) {
        EXPECT_EQ(with_each_bad(call, unit, in, 11, to, 22), std::vector(5, 0));
        EXPECT_EQ(call(unit, in, INT32_MIN, to, 20), 0);
    }
    EXPECT_EQ(with_each_bad(ZRC_Add_EMSA_PKCS1_v1_5_Encode, to, 100, in, 32, int{ZRC_SHA256}),
              (std::vector{-1, 43, -1, -1, -1}));
    EXPECT_EQ(with_each_bad(ZRC_Check_EMSA_PKCS1_v1_5_Encode, in, 59, 60, in, 32, int{ZRC_SHA256}),
              (codes{1, 1, 0x180D0012, 1, 0x180D0012, 0x180D0012}));

    EXPECT_EQ(with_each_bad(ZRC_Encode_RSAES_OAEP_PADDING, unit, in, 20, to, 128, in, 1, 1), std::vector(8, -1));
    EXPECT_EQ(with_each_bad(ZRC_Decode_RSAES_OAEP_PADDING, unit, in, 20, to, 128, in, 1, 1), std::vector(8, 0));
    const std::tuple<ZRC_RSA_UNIT*, std::int32_t, std::int32_t> no_oaep[] = {
        {&no_digest, 20, 0},  {&no_digest, 20, 1},  {&fresh_digest, 20, 0}, {&fresh_digest, 20, 1},
        {&no_modulus, 20, 0}, {&no_modulus, 20, 1}, {unit, 20, 2},          {unit, INT32_MAX, 1}};
    for (const auto& [one, length, form] : no_oaep) {
        EXPECT_EQ(ZRC_Encode_RSAES_OAEP_PADDING(one, in, length, to, 128, nullptr, 0, form), -1);
        EXPECT_EQ(ZRC_Decode_RSAES_OAEP_PADDING(one, in, length, to, 128, nullptr, 0, form), 0);
    }

    EXPECT_EQ(with_each_bad(ZRC_Add_RSASSA_PKCS1_PSS_Encode, unit, to, 128, in, 32, 20, digest), codes(7, 0x180F002B));
    EXPECT_EQ(with_each_bad(ZRC_Check_RSASSA_PKCS1_PSS_Encode, unit, in, 128, in, 32, 20, digest),
              (codes{0x18100049, 0x18100049, kWrong, 0x18100049, kWrong, kWrong, 0x18100049}));
    const struct {
        ZRC_RSA_UNIT* unit;
        std::int32_t size, hash_bytes, salt;
        ZRC_DIGEST_UNIT* digest;
    } no_pss[] = {{unit, 128, 32, 20, &fresh},       {&no_modulus, 128, 32, 20, digest}, {unit, 0, 32, 20, digest},
                  {unit, 127, 32, 20, digest},       {unit, 129, 32, 20, digest},        {unit, 128, 0, 20, digest},
                  {unit, 128, 31, 20, digest},       {unit, 128, 33, 20, digest},        {unit, 128, 32, 95, digest},
                  {unit, 128, 32, INT32_MAX, digest}};
    for (const auto& [one, size, hash_bytes, salt, with] : no_pss) {
        EXPECT_EQ(ZRC_Check_RSASSA_PKCS1_PSS_Encode(one, in, size, in, hash_bytes, salt, with), kWrong);
        EXPECT_EQ(ZRC_Add_RSASSA_PKCS1_PSS_Encode(one, to, size, in, hash_bytes, salt, with), 0x180F002BU);
    }
    EXPECT_EQ(out, bytes(128));

    // The output holds the encoded message, and no byte of the modulus more.
    for (const std::int32_t form : {0, 1})
        EXPECT_EQ(ZRC_Encode_RSAES_OAEP_PADDING(unit, in, 20, to, 126 + form, nullptr, 0, form), -1);
    EXPECT_EQ(ZRC_Encode_RSAES_OAEP_PADDING(unit, in, 20, to, 127, nullptr, 0, 0), 127);
    EXPECT_EQ(out[127], 0);
    bytes again(128);
    EXPECT_EQ(ZRC_Encode_RSAES_OAEP_PADDING(unit, in, 20, again.data(), 127, nullptr, 0, 0), 127);
    EXPECT_NE(again, out) << "the seed is random";
}

// The errors while `run` works on a copy of `secret` that is undefined, and its result, which is public again.
std::pair<unsigned long, std::size_t> with_hidden(bytes secret, auto run)
{
    std::size_t result = 0;
    hide(secret.data(), secret.size());
    const auto errors = errors_of([&] { result = std::size_t(run(secret)); });
    reveal(&result, sizeof result);
    return {errors, result};
}

using ConstantTimeRsaPadding = constant_time;
TEST_F(ConstantTimeRsaPadding, EncodingAndFindingTheMessage)
{
    const auto expect_found = [](const stanza& one, auto find) {
        for (const std::size_t bound : {1U, 30U, 256U}) {
            const std::size_t length = one.values.contains("message") ? one["message"].size() : 0;
            const auto result = with_hidden(one["em"], [&](bytes& em) { return find(em, bound); });
            EXPECT_EQ(result, (std::pair{0UL, length <= bound ? length : 0})) << one.place;
        }
    };
    const std::vector<stanza> blocks = read_vectors("rsa.txt", "pkcs1 decryption");
    for (const stanza& one : blocks)
        expect_found(one, [](const bytes& em, std::size_t bound) {
            return zrc::find_pkcs1_message(zrc::byte_span{em}.subspan(1), bound);
        });
    for (const char* section : {"oaep", "oaep invalid"})
        for (const stanza& one : read_vectors("rsa.txt", section))
            expect_found(one, [&](bytes& em, std::size_t bound) {
                rsa_encoder key{one};
                return zrc::find_oaep_message(key.unit, em, {}, oaep_form::v21, bound - 1);
            });

    rsa_encoder key{1024, ZRC_SHA256, ZRC_SHA256};
    bytes out(256);
    const auto encodes = [&](const bytes& secret) {
        const std::span<std::uint8_t> block{out.data(), 128};
        return zrc::encode_oaep_with_seed(key.unit, secret, block, {}, oaep_form::v21, secret) == 128 &&
               zrc::encode_pss_with_salt(key.unit, block, secret, secret, *key.unit.digest) == 0;
    };
    EXPECT_EQ(with_hidden(bytes(32, 1), encodes), (std::pair{0UL, std::size_t{1}}));
    // The check itself: copying the message takes its length, which the caller is told, and that is seen.
    const auto decodes = [&](const bytes& em) {
        return ZRC_Decode_RSAES_PKCS1_PADDING(&key.unit, em.data() + 1, length_of(em) - 1, out.data(), 256);
    };
    EXPECT_NE(with_hidden(blocks.front()["em"], decodes).first, 0U);
}

} // namespace
