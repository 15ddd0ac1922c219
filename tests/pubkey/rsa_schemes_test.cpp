// RSA encryption and signatures as programs use them, in non-proven mode: every code that arguments can provoke, and
// what is peculiar to these schemes and has to stay.
#include "tests/pubkey/rsa_unit.hpp"

#include <algorithm>
#include <functional>
#include <string>

namespace {

using test::bytes;
using test::pss_salt;
using test::rsa_answer;
using test::rsa_decrypt;
using test::rsa_encrypt;
using test::rsa_key;
using test::rsa_sign;
using test::rsa_unit;
using test::rsa_verify;

const bytes kMessage = {'a', 'b', 'c'};
constexpr std::uint32_t kPublic = 0, kPrivate = 1;

bytes counted(std::size_t size)
{
    bytes data(size);
    for (std::size_t i = 0; i < size; ++i)
        data[i] = std::uint8_t(i + 1);
    return data;
}

bytes operator+(bytes a, const bytes& b)
{
    a.insert(a.end(), b.begin(), b.end());
    return a;
}

rsa_answer encrypt(const rsa_unit& unit, std::uint32_t mode, std::uint32_t operation, const bytes& message,
                   std::int32_t digest_id = 0)
{
    EXPECT_EQ(ZRC_Init_RSAES(unit.get(), mode, operation, digest_id), 0U);
    return rsa_encrypt(unit, message);
}

rsa_answer decrypt(const rsa_unit& unit, std::uint32_t mode, std::uint32_t operation, const bytes& ciphertext,
                   std::int32_t digest_id = 0)
{
    EXPECT_EQ(ZRC_Init_RSAES(unit.get(), mode, operation, digest_id), 0U);
    return rsa_decrypt(unit, ciphertext);
}

// The bare operation on a block of k bytes.
bytes power(const rsa_unit& unit, std::uint32_t operation, const bytes& block)
{
    const rsa_answer answer = encrypt(unit, ZRC_RSAES_NO_PADDING, operation, block);
    EXPECT_EQ(answer.code, 0U);
    return answer.output;
}

class RsaSchemes : public testing::Test {
protected:
    const rsa_key key{1024}; // k = 128
    const rsa_unit unit = key.with_everything();
};

TEST_F(RsaSchemes, TheInitsMakeTheModeWord)
{
    const struct {
        bool signing;
        std::uint32_t mode;
        std::int32_t digest_id;
        std::uint32_t word;
    } cases[] = {
        {false, 16, ZRC_SHA224, 0x05000210},
        {false, 0x05000110, ZRC_SHA224, 0x05000110},
        {false, 8, 0, 0x05000108},
        {false, 0x06000120, ZRC_SHA256, 0x06000120},
        {false, 0x00000110, ZRC_SHA1, 0x05000010},
        {true, 0x051C0002, ZRC_SHA224, 0x001C0202},
        {true, 0x05200002, ZRC_SHA256, 0x00200302},
        {true, 0x00200002, ZRC_SHA256, 0x05200302},
        {true, 2, ZRC_HMAC_SHA256, 0x05000302},
        {true, 0x05FF0402, ZRC_MD5, 0x05FF0402},
        {true, 0x15000302, ZRC_SHA256, 0x10000002},
    };
    const rsa_unit fresh{ZRC_New_RSA()};
    for (const auto& c : cases) {
        for (const std::uint32_t operation : {kPublic, kPrivate}) {
            EXPECT_EQ(c.signing ? ZRC_Init_RSASSA(fresh.get(), c.digest_id, c.mode, operation)
                                : ZRC_Init_RSAES(fresh.get(), c.mode, operation, c.digest_id),
                      0U);
            EXPECT_EQ(fresh->mode, c.word) << std::hex << c.mode;
            EXPECT_EQ(fresh->operation, operation);
        }
    }
}

TEST_F(RsaSchemes, InitRefusesUnknownDigestsAndNulls)
{
    EXPECT_EQ(ZRC_Init_RSAES(nullptr, 8, 0, 0), 0x18080049U);
    EXPECT_EQ(ZRC_Init_RSASSA(nullptr, ZRC_SHA256, 2, 0), 0x18030049U);
    for (const std::int32_t unknown : {0x05000600, 0x15000300}) {
        const rsa_unit fresh{ZRC_New_RSA()};
        EXPECT_EQ(ZRC_Init_RSAES(fresh.get(), 8, 0, unknown), 0x18080059U);
        EXPECT_FALSE(fresh->digest);
    }
    const rsa_unit fresh{ZRC_New_RSA()};
    EXPECT_EQ(ZRC_Init_RSASSA(fresh.get(), 0, 2, 0), 0x18030059U);
    EXPECT_FALSE(fresh->digest);
    EXPECT_EQ(ZRC_Init_RSASSA(fresh.get(), ZRC_SHA1, 2, 0), 0U);
    EXPECT_EQ(ZRC_Init_RSASSA(fresh.get(), 0, 2, 0), 0x18030023U) << "the unit has a digest by now";
    EXPECT_EQ(ZRC_Init_RSAES(fresh.get(), 8, 0, 1), 0x18080059U);
}

TEST_F(RsaSchemes, EncryptionGoesBothWays)
{
    const struct {
        std::uint32_t mode;
        std::int32_t digest_id;
        std::size_t longest;
    } cases[] = {{ZRC_RSAES_OAEP_V20, 0, 86},          {ZRC_RSAES_OAEP_V20, ZRC_SHA256, 62},
                 {ZRC_RSAES_OAEP_V21, ZRC_SHA256, 62}, {ZRC_RSAES_OAEP_V21, ZRC_MD5, 94},
                 {0x06000110, ZRC_SHA224, 70},         {ZRC_RSAES_OAEP_V21, ZRC_HAS160, 86},
                 {ZRC_RSAES_PKCS1_V15, 0, 117}};
    const rsa_unit plain = key.with_private_exponent();
    for (const auto& c : cases) {
        SCOPED_TRACE(testing::Message() << std::hex << c.mode << ' ' << c.digest_id);
        for (const rsa_unit& one : {std::cref(unit), std::cref(plain)}) {
            for (const std::uint32_t operation : {kPublic, kPrivate}) {
                for (const std::size_t size : {std::size_t{1}, c.longest}) {
                    const rsa_answer sent = encrypt(one, c.mode, operation, counted(size), c.digest_id);
                    EXPECT_EQ(sent.output.size(), 128U);
                    const rsa_answer whole{0, counted(size)};
                    EXPECT_EQ(decrypt(one, c.mode, 1 - operation, sent.output, c.digest_id), whole);
                    EXPECT_EQ(rsa_decrypt(one, bytes(3) + sent.output), whole) << "leading zero bytes do not count";
                }
            }
        }
        EXPECT_EQ(encrypt(unit, c.mode, kPublic, counted(c.longest + 2), c.digest_id).code, 0x18090012U);
    }
}

// The bound of the longer form of OAEP is one byte too high: such a message is encoded and lost.
TEST_F(RsaSchemes, TheLongestMessageOfOaepV21CannotBeDecrypted)
{
    const rsa_answer sent = encrypt(unit, ZRC_RSAES_OAEP_V21, kPublic, counted(63), ZRC_SHA256);
    EXPECT_EQ(sent.code, 0U);
    EXPECT_EQ(decrypt(unit, ZRC_RSAES_OAEP_V21, kPrivate, sent.output, ZRC_SHA256).code, 0x180A000EU);
    EXPECT_EQ(encrypt(unit, ZRC_RSAES_OAEP_V20, kPublic, counted(63), ZRC_SHA256).code, 0x18090012U);
}

TEST_F(RsaSchemes, WithoutPaddingTheMessageIsTheNumber)
{
    const bytes block = bytes(2) + counted(126);
    for (const std::uint32_t operation : {kPublic, kPrivate}) {
        const bytes sent = power(unit, operation, block);
        EXPECT_EQ(decrypt(unit, ZRC_RSAES_NO_PADDING, 1 - operation, sent), (rsa_answer{0, counted(126)}));
        EXPECT_EQ(power(unit, operation, counted(126)), sent);

        EXPECT_EQ(power(unit, operation, {0}), bytes(128)) << "a power of 0";
        EXPECT_EQ(decrypt(unit, ZRC_RSAES_NO_PADDING, operation, {0}).code, 0x180A000EU);
        EXPECT_EQ(rsa_decrypt(unit, {}).code, 0x180A000EU);
        EXPECT_EQ(encrypt(unit, ZRC_RSAES_NO_PADDING, operation, {}).code, 0x18090012U);
        EXPECT_EQ(rsa_encrypt(unit, bytes(128, 0xFF)).code, 0x1809003DU);
        EXPECT_EQ(rsa_encrypt(unit, bytes(129)).code, 0x1809002BU);
        EXPECT_EQ(rsa_decrypt(unit, bytes(128, 0xFF)).code, 0x180A003DU);
    }
    bytes in_place = block;
    std::int32_t length = 0;
    EXPECT_EQ(ZRC_Init_RSAES(unit.get(), ZRC_RSAES_NO_PADDING, kPublic, 0), 0U);
    EXPECT_EQ(ZRC_Encrypt_RSAES(unit.get(), in_place.data(), &length, in_place.data(), 128), 0U);
    EXPECT_EQ(in_place, power(unit, kPublic, block));
}

TEST_F(RsaSchemes, EncryptionRefusesArguments)
{
    std::uint8_t buffer[129] = {};
    std::int32_t length = 0;
    const auto all_nulls = [&](auto call, std::uint32_t function) {
        EXPECT_EQ(call(nullptr, buffer, &length, buffer, 1), function | 0x49);
        EXPECT_EQ(call(unit.get(), nullptr, &length, buffer, 1), function | 0x2B);
        EXPECT_EQ(call(unit.get(), buffer, nullptr, buffer, 1), function | 0x2B);
        EXPECT_EQ(call(unit.get(), buffer, &length, nullptr, 1), function | 0x2B);
        EXPECT_EQ(call(unit.get(), buffer, &length, buffer, -1), function | 0x2B);
    };
    all_nulls(ZRC_Encrypt_RSAES, 0x18090000);
    all_nulls(ZRC_Decrypt_RSAES, 0x180A0000);
    for (const std::uint32_t operation : {kPublic, kPrivate}) {
        for (const std::uint32_t mode : {1U, 7U, 255U}) {
            EXPECT_EQ(encrypt(unit, mode, operation, kMessage).code, 0x18090033U);
            EXPECT_EQ(decrypt(unit, mode, operation, kMessage).code, 0x180A0033U);
        }
    }
    EXPECT_EQ(encrypt(unit, ZRC_RSAES_OAEP_V20, kPublic, bytes(129)).code, 0x1809002BU);
    EXPECT_EQ(encrypt(unit, ZRC_RSAES_OAEP_V21, kPublic, bytes(129)).code, 0x18090012U);
    EXPECT_EQ(encrypt(unit, ZRC_RSAES_PKCS1_V15, kPublic, bytes(118)).code, 0x18090012U);

    const rsa_key tiny{256};
    EXPECT_EQ(encrypt(tiny.with_public_values(), ZRC_RSAES_OAEP_V21, kPublic, kMessage).code, 0x18090012U);
    EXPECT_EQ(decrypt(tiny.with_private_exponent(), ZRC_RSAES_OAEP_V20, kPrivate, kMessage).code, 0x180A000EU);

    const rsa_unit without_init = key.with_private_exponent();
    for (const std::uint32_t mode : {ZRC_RSAES_OAEP_V20, ZRC_RSAES_OAEP_V21}) {
        without_init->mode = mode;
        EXPECT_EQ(rsa_encrypt(without_init, kMessage).code, 0x18090012U);
        EXPECT_EQ(rsa_decrypt(without_init, kMessage).code, 0x180A000EU);
    }
}

// Decryption tests the flags the other way round.
TEST_F(RsaSchemes, FlagsOfTheKey)
{
    const struct {
        std::int32_t flags;
        std::uint32_t operation, encryption, decryption;
    } cases[] = {
        {0, kPublic, 0x18090046, 0x180A0045},
        {0, kPrivate, 0x18090045, 0x180A0046},
        {1, kPublic, 0, 0},
        {1, kPrivate, 0, 0},
        {2, kPublic, 0, 0x180A0045},
        {2, kPrivate, 0x18090045, 0},
        {4, kPublic, 0x18090046, 0},
        {4, kPrivate, 0, 0x180A0046},
        {8, kPublic, 0x18090046, 0x180A0045},
        {8, kPrivate, 0x18090045, 0x180A0046},
    };
    for (const auto& c : cases) {
        unit->key_flags = c.flags;
        EXPECT_EQ(encrypt(unit, ZRC_RSAES_NO_PADDING, c.operation, kMessage).code, c.encryption) << c.flags;
        EXPECT_EQ(rsa_decrypt(unit, kMessage).code, c.decryption) << c.flags;
    }
    for (const std::int32_t flags : {-1, 0, 3, 4}) {
        unit->key_flags = flags;
        EXPECT_EQ(rsa_sign(unit, ZRC_SHA256, 2, kMessage).code, flags < 4 ? 0x18050045U : 0U);
    }
    for (const std::int32_t flags : {0, 2, 3}) {
        unit->key_flags = flags;
        EXPECT_EQ(rsa_verify(unit, ZRC_SHA256, 2, kMessage, {1}), flags < 3 ? 0x18050046U : 0x18100059U);
    }
}

// The flags of an earlier key stay, its numbers do not.
TEST_F(RsaSchemes, NumbersThatAreMissing)
{
    const rsa_unit public_only = key.with_public_values();
    const rsa_unit without_e{ZRC_New_RSA()};
    EXPECT_EQ(ZRC_Set_RSA_Params(without_e.get(), key.n.get(), nullptr, key.d.get(), nullptr, nullptr, nullptr, nullptr,
                                 nullptr),
              0x18010059U);
    const rsa_unit nothing{ZRC_New_RSA()};
    const struct {
        const char* name;
        const rsa_unit& unit;
        std::uint32_t operation, encryption, decryption, signature;
    } cases[] = {
        {"public only", public_only, kPrivate, 0x18090045, 0x180A0045, 0x18060059},
        {"no e", without_e, kPublic, 0x18090046, 0x180A0046, 0x18070059},
        {"no e, so no blinding", without_e, kPrivate, 0, 0x180A0059, 0x18060059},
        {"nothing, public", nothing, kPublic, 0x18090046, 0x180A0046, 0x18070059},
        {"nothing, private", nothing, kPrivate, 0x18090045, 0x180A0045, 0x18060059},
    };
    for (const auto& c : cases) {
        c.unit->key_flags = 0x1F;
        EXPECT_EQ(encrypt(c.unit, ZRC_RSAES_NO_PADDING, c.operation, kMessage).code, c.encryption) << c.name;
        EXPECT_EQ(rsa_decrypt(c.unit, kMessage).code, c.decryption) << c.name;
        EXPECT_EQ(ZRC_Init_RSASSA(c.unit.get(), ZRC_SHA256, 2, c.operation), 0U);
        std::uint8_t signature[128] = {1};
        std::int32_t length = 128;
        EXPECT_EQ(ZRC_Final_RSASSA(c.unit.get(), signature, &length), c.signature) << c.name;
    }
}

TEST_F(RsaSchemes, KeysThatDoNotWork)
{
    ASSERT_EQ(ZRC_Add_BIGINT_Word(key.d.get(), 2), 0U);
    const rsa_unit wrong_pair = key.with_everything();
    EXPECT_EQ(decrypt(wrong_pair, ZRC_RSAES_OAEP_V20, kPrivate, kMessage).code, 0x180A002EU);
    EXPECT_EQ(rsa_sign(wrong_pair, ZRC_SHA256, 2, kMessage).code, 0x1806002EU);

    ASSERT_EQ(ZRC_Add_BIGINT_Word(key.n.get(), 1), 0U);
    const rsa_unit even = key.with_public_values();
    EXPECT_EQ(encrypt(even, ZRC_RSAES_NO_PADDING, kPublic, kMessage).code, 0x18090059U);
    EXPECT_EQ(rsa_decrypt(even, kMessage).code, 0x180A0059U);
    EXPECT_EQ(rsa_verify(even, ZRC_SHA256, 2, kMessage, {1}), 0x040A003EU) << "as the arithmetic has it";
    EXPECT_EQ(ZRC_Set_RSA_Params(even.get(), key.n.get(), key.e.get(), key.d.get(), nullptr, nullptr, nullptr, nullptr,
                                 nullptr),
              0x18010059U);
    EXPECT_EQ(encrypt(even, ZRC_RSAES_NO_PADDING, kPrivate, kMessage).code, 0x18090059U);
    EXPECT_EQ(rsa_decrypt(even, kMessage).code, 0x180A0059U);
}

TEST_F(RsaSchemes, UnitsWithoutAPool)
{
    for (const std::uint32_t operation : {kPublic, kPrivate}) {
        EXPECT_EQ(ZRC_Init_RSASSA(unit.get(), ZRC_SHA256, 2, operation), 0U);
        EXPECT_EQ(ZRC_Free_BIGINT_Pool(unit->pool), 0U);
        unit->pool = nullptr;
        EXPECT_EQ(rsa_encrypt(unit, kMessage).code, 0x18090059U);
        EXPECT_EQ(rsa_decrypt(unit, kMessage).code, 0x180A0059U);
        std::uint8_t signature[128] = {1};
        std::int32_t length = 128;
        EXPECT_EQ(ZRC_Final_RSASSA(unit.get(), signature, &length), operation == kPrivate ? 0x1806003AU : 0x18070059U);
        EXPECT_EQ(encrypt(unit, ZRC_RSAES_OAEP_V20, kPublic, kMessage).code, 0U) << "the Init makes one";
    }
}

// Blocks of the number's size that were not encoded by the library.
TEST_F(RsaSchemes, BlocksOfPkcs1)
{
    const bytes padding = counted(120), message = {0, 9, 0, 0};
    const auto block = [](const bytes& start, bytes end) {
        return start + bytes(128 - start.size() - end.size(), 7) + end;
    };
    const bytes end = bytes{0} + message, eight(8, 5);
    const struct {
        const char* name;
        bytes block;
        bytes message; // empty: refused
    } cases[] = {
        {"type 2", block({0, 2}, end), message},
        {"type 1, as readily", block({0, 1}, end), message},
        {"type 3", block({0, 3}, end), {}},
        {"more zeros in front", block({0, 0, 0, 2}, end), message},
        {"no zero in front, type 1", block({1}, end), message},
        {"a byte in front", block({1, 2}, end), bytes(message)},
        {"a first byte that is no type", block({3, 2}, end), {}},
        {"8 bytes of padding", bytes{0, 2} + eight + bytes{0} + bytes(117, 3), bytes(117, 3)},
        {"7 bytes of padding", bytes{0, 2} + bytes(7, 5) + bytes{0} + bytes(118, 3), {}},
        {"8 bytes and more zeros in front", bytes(60) + bytes{2} + eight + bytes{0} + bytes(58, 3), bytes(58, 3)},
        {"zero behind the type", bytes{0, 2, 0} + bytes(125, 3), {}},
        {"no zero behind the padding", block({0, 2}, {}), {}},
        {"no zero, and zeros in front", block({0, 0, 0, 0, 2}, {}), {}},
        {"an empty message", block({0, 2}, {0}), {}},
        {"an empty message, and zeros in front", block({0, 0, 0, 0, 2}, {0}), {}},
        {"a message of a zero byte", block({0, 2}, {0, 0}), {0}},
        {"only zeros in front", bytes(127) + bytes{2}, {}},
    };
    for (const auto& c : cases) {
        const rsa_answer expected{c.message.empty() ? 0x180A000EU : 0U, c.message};
        ASSERT_EQ(c.block.size(), 128U) << c.name;
        EXPECT_EQ(decrypt(unit, ZRC_RSAES_PKCS1_V15, kPrivate, power(unit, kPublic, c.block)), expected) << c.name;
        EXPECT_EQ(decrypt(unit, ZRC_RSAES_PKCS1_V15, kPublic, power(unit, kPrivate, c.block)), expected) << c.name;
    }
    EXPECT_EQ(encrypt(unit, ZRC_RSAES_PKCS1_V15, kPublic, {}).code, 0U);
    EXPECT_EQ(rsa_decrypt(unit, encrypt(unit, ZRC_RSAES_PKCS1_V15, kPublic, {}).output).code, 0x180A000EU);
}

// The private key pads with type 1 and FF bytes, the public key with type 2 and random bytes.
TEST_F(RsaSchemes, BlockTypesThatAreMade)
{
    const bytes signed_block = power(unit, kPublic, encrypt(unit, ZRC_RSAES_PKCS1_V15, kPrivate, kMessage).output);
    EXPECT_EQ(signed_block, bytes({0, 1}) + bytes(122, 0xFF) + bytes{0} + kMessage);
    const bytes sent = power(unit, kPrivate, encrypt(unit, ZRC_RSAES_PKCS1_V15, kPublic, kMessage).output);
    EXPECT_EQ(bytes(sent.begin(), sent.begin() + 2), (bytes{0, 2}));
    EXPECT_EQ(std::count(sent.begin(), sent.end(), 0), 2) << "the first byte, and the one behind the padding";
}

// The ciphertext's length bounds the message's, so leaving off zeros can make a difference.
TEST_F(RsaSchemes, AMessageLongerThanItsCiphertext)
{
    const test::stanza vector = test::read_vectors("rsa_keys.txt", "short ciphertext").front();
    const bytes &ciphertext = vector["ciphertext"], &message = vector["message"];
    const rsa_unit cubes{ZRC_New_RSA()};
    ASSERT_EQ(ZRC_Set_RSA_Public_Params(cubes.get(), key.n.get(), test::of({3}).get()), 0U);
    const auto with_length = [&](std::size_t length) { return bytes(length - ciphertext.size()) + ciphertext; };
    EXPECT_EQ(decrypt(cubes, ZRC_RSAES_PKCS1_V15, kPublic, with_length(128)), (rsa_answer{0, message}));
    EXPECT_EQ(rsa_decrypt(cubes, with_length(message.size())), (rsa_answer{0, message}));
    EXPECT_EQ(rsa_decrypt(cubes, with_length(message.size() - 1)).code, 0x180A000EU);
    EXPECT_EQ(rsa_decrypt(cubes, ciphertext).code, 0x180A000EU);
}

TEST_F(RsaSchemes, TheFirstByteOfOaepCountsInTheShorterFormOnly)
{
    for (const std::uint32_t mode : {ZRC_RSAES_OAEP_V20, ZRC_RSAES_OAEP_V21}) {
        bytes block = power(unit, kPrivate, encrypt(unit, mode, kPublic, kMessage).output);
        EXPECT_EQ(block[0], 0);
        block[0] = 1;
        const bytes sent = power(unit, kPublic, block);
        EXPECT_EQ(decrypt(unit, mode, kPrivate, sent),
                  mode == ZRC_RSAES_OAEP_V21 ? (rsa_answer{0, kMessage}) : (rsa_answer{0x180A000E, {}}));
        block[0] = 0;
        block[1] ^= 1;
        EXPECT_EQ(decrypt(unit, mode, kPrivate, power(unit, kPublic, block)).code, 0x180A000EU);
    }
}

TEST_F(RsaSchemes, SignaturesOfEveryEncoding)
{
    const struct {
        std::int32_t digest_id;
        std::uint32_t mode, refusal;
    } cases[] = {
        {ZRC_SHA1, ZRC_RSASSA_PKCS1_V15, 0x1807002B},   {ZRC_SHA256, ZRC_RSASSA_PKCS1_V15, 0x1807002B},
        {ZRC_SHA384, ZRC_RSASSA_PKCS1_V15, 0x1807002B}, {ZRC_SHA512, ZRC_RSASSA_PKCS1_V15, 0x1807002B},
        {ZRC_MD5, ZRC_RSASSA_PKCS1_V15, 0x1807002B},    {ZRC_SHA1, ZRC_RSASSA_PSS, 0x18100059},
        {ZRC_SHA224, pss_salt(28), 0x18100059},         {ZRC_SHA224, 0x051C0002, 0x18100059},
        {ZRC_SHA256, 0x05200002, 0x18100059},           {ZRC_HMAC_SHA256, pss_salt(94), 0x18100059},
        {ZRC_SHA384, pss_salt(1), 0x18100059},          {ZRC_SHA512, pss_salt(62), 0x18100059},
        {ZRC_MDC2, ZRC_RSASSA_PSS, 0x18100059},         {ZRC_HAS160, ZRC_RSASSA_NO_ENCODE, 0x1807000E},
        {ZRC_SHA512, ZRC_RSASSA_NO_ENCODE, 0x1807000E},
    };
    const rsa_unit plain = key.with_private_exponent(), verifying = key.with_public_values();
    for (const auto& c : cases) {
        SCOPED_TRACE(testing::Message() << std::hex << c.mode << ' ' << c.digest_id);
        const rsa_answer made = rsa_sign(unit, c.digest_id, c.mode, kMessage);
        ASSERT_EQ(made.code, 0U);
        ASSERT_EQ(made.output.size(), 128U);
        const bool random = (c.mode & 0xFF) == ZRC_RSASSA_PSS;
        EXPECT_EQ(rsa_sign(plain, c.digest_id, c.mode, kMessage).output == made.output, !random);

        const auto verify = [&](const bytes& message, const bytes& signature) {
            return rsa_verify(verifying, c.digest_id, c.mode, message, signature);
        };
        EXPECT_EQ(verify(kMessage, made.output), 0U);
        EXPECT_EQ(verify(kMessage, bytes(5) + made.output), 0U);
        EXPECT_EQ(verify({'a', 'b', 'd'}, made.output), c.refusal);
        for (const std::size_t place : {127U, 64U, 1U}) {
            bytes changed = made.output;
            changed[place] ^= 0x10;
            EXPECT_EQ(verify(kMessage, changed), c.refusal);
        }
        for (const bytes& value : {bytes{0}, bytes{1}, bytes{2}})
            EXPECT_EQ(verify(kMessage, value), c.refusal) << "a power that is the value of nothing";
        EXPECT_EQ(verify(kMessage, {}), 0x1807002BU);
        EXPECT_EQ(verify(kMessage, bytes(128, 0xFF)), 0x18070055U);
    }
}

TEST_F(RsaSchemes, SignaturesThatHaveNoEncoding)
{
    const rsa_unit tiny = rsa_key{256}.with_private_exponent(), small = rsa_key{512}.with_everything();
    const struct {
        const rsa_unit& unit;
        std::int32_t digest_id;
        std::uint32_t mode, signing, verifying;
    } cases[] = {
        {unit, ZRC_SHA224, ZRC_RSASSA_PKCS1_V15, 0x18060012, 0x1807002B},
        {unit, ZRC_HAS160, ZRC_RSASSA_PKCS1_V15, 0x18060012, 0x1807002B},
        {small, ZRC_SHA512, ZRC_RSASSA_PKCS1_V15, 0x18060012, 0x1807002B},
        {tiny, ZRC_SHA256, ZRC_RSASSA_PKCS1_V15, 0x18060012, 0x1807002B},
        {unit, ZRC_SHA256, pss_salt(95), 0x18060012, 0x18100059},
        {small, ZRC_SHA384, ZRC_RSASSA_PSS, 0x18060012, 0x18100059},
        {unit, ZRC_SHA256, 3, 0x1806002A, 0x1807000E},
        {unit, ZRC_SHA256, ZRC_RSAES_OAEP_V20, 0x1806002A, 0x1807000E},
        {tiny, ZRC_SHA512, ZRC_RSASSA_NO_ENCODE, 0x1806003D, 0x1807000E}, // a digest longer than k
    };
    for (const auto& c : cases) {
        EXPECT_EQ(rsa_sign(c.unit, c.digest_id, c.mode, kMessage).code, c.signing) << c.digest_id << ' ' << c.mode;
        EXPECT_EQ(rsa_verify(c.unit, c.digest_id, c.mode, kMessage, {2}), c.verifying) << c.digest_id << ' ' << c.mode;
    }
}

TEST_F(RsaSchemes, SigningRefusesArguments)
{
    std::uint8_t signature[128] = {};
    std::int32_t length = 128;
    EXPECT_EQ(ZRC_Update_RSASSA(nullptr, signature, 1), 0x18040049U);
    EXPECT_EQ(ZRC_Update_RSASSA(unit.get(), signature, 1), 0x18040059U) << "no Init";
    EXPECT_EQ(ZRC_Sign_RSASSA(unit.get(), signature, &length), 0x18060059U);
    EXPECT_EQ(ZRC_Verify_RSASSA(unit.get(), signature, length), 0x18070059U);
    EXPECT_EQ(ZRC_Init_RSASSA(unit.get(), ZRC_MD5, 2, 1), 0U);
    EXPECT_EQ(ZRC_Update_RSASSA(unit.get(), nullptr, 1), 0x18040059U);
    EXPECT_EQ(ZRC_Update_RSASSA(unit.get(), signature, -1), 0x18040059U);
    EXPECT_EQ(ZRC_Update_RSASSA(unit.get(), signature, 0), 0x18040059U) << "MD5 takes no nothing";
    const auto all_nulls = [&](auto call, std::uint32_t function) {
        EXPECT_EQ(call(nullptr, signature, &length), function | 0x49);
        EXPECT_EQ(call(unit.get(), nullptr, &length), function | 0x49);
        EXPECT_EQ(call(unit.get(), signature, nullptr), function | 0x49);
    };
    all_nulls(ZRC_Final_RSASSA, 0x18050000);
    all_nulls(ZRC_Sign_RSASSA, 0x18060000);
    EXPECT_EQ(ZRC_Verify_RSASSA(nullptr, signature, 1), 0x18070049U);
    EXPECT_EQ(ZRC_Verify_RSASSA(unit.get(), nullptr, 1), 0x18070049U);
    EXPECT_EQ(ZRC_Verify_RSASSA(unit.get(), signature, -1), 0x1807002BU);
}

TEST_F(RsaSchemes, LeadingZeroBytesOfASignatureMayBeLeftOff)
{
    bytes message(4), signature;
    do {
        ASSERT_NE(++message[0] == 0 ? ++message[1] : 1, 32) << "no such signature among thousands";
        signature = rsa_sign(unit, ZRC_SHA256, ZRC_RSASSA_PKCS1_V15, message).output;
    } while (signature.at(0) != 0);
    EXPECT_EQ(signature.size(), 128U);
    signature.erase(signature.begin());
    EXPECT_EQ(rsa_verify(unit, ZRC_SHA256, ZRC_RSASSA_PKCS1_V15, message, signature), 0U);
}

// The object identifier of SHA-384 ends with the 1 of SHA-256. The proper one is refused.
TEST_F(RsaSchemes, Sha384IsNamedSha256)
{
    bytes hash(48);
    std::int32_t length = 0;
    ASSERT_EQ(ZRC_DIGEST(ZRC_SHA384, kMessage.data(), 3, hash.data(), &length), 0U);
    bytes name = {0x30, 0x41, 0x30, 0x0D, 0x06, 0x09, 0x60, 0x86, 0x48, 0x01,
                  0x65, 0x03, 0x04, 0x02, 0x01, 0x05, 0x00, 0x04, 0x30};
    const auto block = [&] { return bytes{0, 1} + bytes(58, 0xFF) + bytes{0} + name + hash; };
    const rsa_answer made = rsa_sign(unit, ZRC_SHA384, ZRC_RSASSA_PKCS1_V15, kMessage);
    EXPECT_EQ(test::hex(power(unit, kPublic, made.output)), test::hex(block()));
    name[14] = 2;
    EXPECT_EQ(rsa_verify(unit, ZRC_SHA384, ZRC_RSASSA_PKCS1_V15, kMessage, power(unit, kPrivate, block())),
              0x1807002BU);
}

TEST_F(RsaSchemes, NoSaltLengthMeansTwentyBytesAndExactlyThat)
{
    const bytes signature = rsa_sign(unit, ZRC_SHA256, ZRC_RSASSA_PSS, kMessage).output;
    for (const std::uint32_t length : {0U, 19U, 20U, 21U, 32U}) {
        EXPECT_EQ(rsa_verify(unit, ZRC_SHA256, pss_salt(length), kMessage, signature),
                  length == 0 || length == 20 ? 0U : 0x18100059U);
    }
    EXPECT_EQ(zrc_Set_RSASSA_PKCS1_PSS_SALT_Length(unit.get(), 32), 0U);
    EXPECT_EQ(rsa_verify(unit, ZRC_SHA256, ZRC_RSASSA_PSS, kMessage, signature), 0U) << "that field is not consulted";
}

// Each passes with a probability of 1 in 256.
TEST_F(RsaSchemes, PssWithAModulusOf8jPlus1BitsFailsItsOwnVerification)
{
    const rsa_unit odd = rsa_key{2049}.with_everything();
    int good = 0;
    for (int i = 0; i < 12; ++i) {
        const rsa_answer made = rsa_sign(odd, ZRC_SHA256, ZRC_RSASSA_PSS, kMessage);
        EXPECT_EQ(made.code, 0U);
        EXPECT_EQ(power(odd, kPublic, made.output)[0], 0);
        const std::uint32_t code = rsa_verify(odd, ZRC_SHA256, ZRC_RSASSA_PSS, kMessage, made.output);
        EXPECT_TRUE(code == 0 || code == 0x18100059) << std::hex << code;
        good += code == 0;
    }
    EXPECT_LT(good, 6);
}

TEST_F(RsaSchemes, RawSignaturesNeverTakeTheRemaindersOfThePrimes)
{
    ASSERT_EQ(ZRC_Add_BIGINT_Word(unit->dP, 2), 0U);
    for (const std::uint32_t mode : {ZRC_RSASSA_NO_ENCODE, ZRC_RSASSA_PKCS1_V15}) {
        const bytes signature = rsa_sign(unit, ZRC_SHA256, mode, kMessage).output;
        EXPECT_EQ(rsa_verify(unit, ZRC_SHA256, mode, kMessage, signature) == 0, mode == ZRC_RSASSA_NO_ENCODE);
    }
}

// n = 3^200, where every multiple of 3 has a high power of 0.
TEST_F(RsaSchemes, ASignatureOfZeroIsAFailure)
{
    const test::bigint n = test::of({1}), three = test::of({3}), d = test::of({200});
    for (int i = 0; i < 200; ++i)
        ASSERT_EQ(ZRC_Mtp_BIGINT_Word(n.get(), 3), 0U);
    const rsa_unit powers{ZRC_New_RSA()};
    int tries = 0; // one blinding in three has no inverse
    while (ZRC_Set_RSA_Params(powers.get(), n.get(), three.get(), d.get(), nullptr, nullptr, nullptr, nullptr,
                              nullptr) != 0)
        ASSERT_LT(++tries, 100);
    int zeros = 0;
    for (std::uint8_t i = 0; i < 30; ++i) {
        const std::uint32_t code = rsa_sign(powers, ZRC_MD5, ZRC_RSASSA_NO_ENCODE, {i}).code;
        EXPECT_TRUE(code == 0 || code == 0x18060054) << std::hex << code;
        zeros += code != 0;
    }
    EXPECT_TRUE(zeros > 0 && zeros < 30) << zeros;
}

} // namespace
