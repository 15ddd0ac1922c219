// RSA encryption and signatures as programs use them, in non-proven mode: every code that arguments can provoke, and
// what is peculiar to these schemes and has to stay.
#include "tests/pubkey/rsa_unit.hpp"

namespace {

using namespace test;

const bytes kMessage = {'a', 'b', 'c'};
constexpr std::uint32_t kPublic = 0, kPrivate = 1, kRaw = 0;

class RsaSchemes : public testing::Test {
protected:
    const rsa_key key{1024}; // k = 128
    const rsa_unit unit = key.unit("nedc"), plain = key.unit("ned");
    std::uint8_t buffer[129] = {1};
    std::int32_t length = 128;

    // The bare operation on a block of k bytes.
    bytes power(std::uint32_t operation, const bytes& block)
    {
        return rsa_encrypt(unit, kRaw, operation, block).output;
    }
};

TEST_F(RsaSchemes, TheInitsMakeTheModeWord)
{
    constexpr struct {
        decltype(&ZRC_Init_RSAES) init;
        std::uint32_t mode;
        std::int32_t digest_id;
        std::uint32_t word;
    } kCases[] = {{ZRC_Init_RSAES, 16, ZRC_SHA224, 0x05000210},
                  {ZRC_Init_RSAES, 0x05000110, ZRC_SHA224, 0x05000110},
                  {ZRC_Init_RSAES, 8, 0, 0x05000108},
                  {ZRC_Init_RSAES, 0x06000120, ZRC_SHA256, 0x06000120},
                  {ZRC_Init_RSAES, 0x00000110, ZRC_SHA1, 0x05000010},
                  {nullptr, 0x051C0002, ZRC_SHA224, 0x001C0202},
                  {nullptr, 0x05200002, ZRC_SHA256, 0x00200302},
                  {nullptr, 2, ZRC_HMAC_SHA256, 0x05000302},
                  {nullptr, 0x05FF0402, ZRC_MD5, 0x05FF0402},
                  {nullptr, 0x15000302, ZRC_SHA256, 0x10000002}};
    const rsa_unit one{ZRC_New_RSA()};
    EXPECT_EQ(ZRC_Init_RSASSA(one, 0, 2, 0), 0x18030059U);
    for (const std::int32_t unknown : {0x05000600, 0x15000300})
        EXPECT_EQ(ZRC_Init_RSAES(one, 8, 0, unknown), 0x18080059U);
    EXPECT_FALSE(one->digest);
    for (const auto& [init, mode, digest_id, word] : kCases) {
        for (const std::uint32_t operation : {kPrivate, kPublic}) {
            EXPECT_EQ(init ? init(one, mode, operation, digest_id) : ZRC_Init_RSASSA(one, digest_id, mode, operation),
                      0U);
            EXPECT_TRUE(one->mode == word && one->operation == operation) << std::hex << mode;
        }
    }
    EXPECT_EQ(ZRC_Init_RSASSA(one, 0, 2, 0), 0x18030023U) << "the unit has a digest";
}

TEST_F(RsaSchemes, EncryptionGoesBothWays)
{
    constexpr struct {
        std::uint32_t mode;
        std::int32_t digest_id;
        std::size_t longest, lost; // by the bound of OAEP v2.1 that is a byte too high
    } kCases[] = {{ZRC_RSAES_OAEP_V20, 0, 86, 0},       {ZRC_RSAES_OAEP_V21, ZRC_SHA256, 62, 1},
                  {0x06000110, ZRC_SHA224, 70, 1},      {ZRC_RSAES_OAEP_V21, ZRC_HAS160, 86, 1},
                  {ZRC_RSAES_OAEP_V20, ZRC_MD5, 94, 0}, {ZRC_RSAES_PKCS1_V15, 0, 117, 0}};
    for (const auto& c : kCases) {
        SCOPED_TRACE(testing::Message() << std::hex << c.mode << ' ' << c.digest_id);
        for (const rsa_unit* one : {&unit, &plain}) {
            for (const std::uint32_t operation : {kPublic, kPrivate}) {
                for (const std::size_t size : {std::size_t{1}, c.longest, c.longest + c.lost}) {
                    const rsa_answer sent = rsa_encrypt(*one, c.mode, operation, bytes(size, 9), c.digest_id);
                    EXPECT_EQ(sent.output.size(), 128U);
                    EXPECT_EQ(rsa_decrypt(*one, c.mode, 1 - operation, bytes(size % 2) + sent.output, c.digest_id),
                              size <= c.longest ? (rsa_answer{0, bytes(size, 9)}) : rsa_answer{0x180A000E})
                        << "leading zero bytes do not count";
                }
            }
        }
        EXPECT_EQ(rsa_encrypt(unit, bytes(c.longest + c.lost + 1)).code, 0x18090012U);
        EXPECT_EQ(rsa_encrypt(unit, bytes(129)).code, (c.mode & 0xFF) == ZRC_RSAES_OAEP_V20 ? 0x1809002B : 0x18090012U);
    }
}

TEST_F(RsaSchemes, WithoutPaddingTheMessageIsTheNumber)
{
    const bytes number(126, 9);
    for (const std::uint32_t operation : {kPublic, kPrivate}) {
        const bytes sent = power(operation, number);
        EXPECT_EQ(power(operation, {0}), bytes(128)) << "a power of 0";
        for (const bytes& zero : {bytes{0}, bytes{}})
            EXPECT_EQ(rsa_decrypt(unit, zero).code, 0x180A000EU);
        EXPECT_EQ(rsa_encrypt(unit, {}).code, 0x18090012U);
        EXPECT_EQ(rsa_encrypt(unit, bytes(128, 0xFF)).code, 0x1809003DU);
        EXPECT_EQ(rsa_encrypt(unit, bytes(129)).code, 0x1809002BU);
        EXPECT_EQ(rsa_decrypt(unit, bytes(128, 0xFF)).code, 0x180A003DU);
        // The output may be the input.
        bytes in_place = bytes(2) + number;
        EXPECT_EQ(ZRC_Encrypt_RSAES(unit, in_place.data(), &length, in_place.data(), 128), 0U);
        EXPECT_EQ(in_place, sent);
        unit->operation = 1 - operation;
        EXPECT_EQ(ZRC_Decrypt_RSAES(unit, in_place.data(), &length, in_place.data(), 128), 0U);
        EXPECT_EQ(bytes(in_place.begin(), in_place.begin() + length), number);
    }
}

TEST_F(RsaSchemes, RefuseArguments)
{
    EXPECT_EQ(with_each_bad(ZRC_Encrypt_RSAES, unit, buffer, &length, buffer, 1),
              (codes{0x18090049, 0x1809002B, 0x1809002B, 0x1809002B, 0x1809002B}));
    EXPECT_EQ(with_each_bad(ZRC_Decrypt_RSAES, unit, buffer, &length, buffer, 1),
              (codes{0x180A0049, 0x180A002B, 0x180A002B, 0x180A002B, 0x180A002B}));
    for (const std::uint32_t operation : {kPublic, kPrivate}) {
        for (const std::uint32_t mode : {1U, 7U, 255U}) {
            EXPECT_EQ(rsa_encrypt(unit, mode, operation, kMessage).code, 0x18090033U);
            EXPECT_EQ(rsa_decrypt(unit, kMessage).code, 0x180A0033U);
        }
    }
    const rsa_unit tiny = rsa_key{256}.unit("ned"), no_init = key.unit("ned");
    EXPECT_EQ(ZRC_Init_RSAES(tiny, 8, kPublic, 0), 0U);
    for (const rsa_unit* one : {&tiny, &no_init}) {
        for (const std::uint32_t mode : {ZRC_RSAES_OAEP_V20, ZRC_RSAES_OAEP_V21}) {
            (*one)->mode = mode;
            EXPECT_EQ(rsa_encrypt(*one, kMessage).code, 0x18090012U);
            EXPECT_EQ(rsa_decrypt(*one, kMessage).code, 0x180A000EU);
        }
    }
    EXPECT_EQ(ZRC_Update_RSASSA(no_init, buffer, 1), 0x18040059U);
    EXPECT_EQ(ZRC_Sign_RSASSA(no_init, buffer, &length), 0x18060059U);
    EXPECT_EQ(ZRC_Verify_RSASSA(no_init, buffer, length), 0x18070059U);
    EXPECT_EQ(ZRC_Init_RSASSA(unit, ZRC_MD5, 2, 1), 0U);
    EXPECT_EQ(with_each_bad(ZRC_Update_RSASSA, unit, buffer, 1), (codes{0x18040049, 0x18040059, 0x18040059}));
    EXPECT_EQ(ZRC_Update_RSASSA(unit, buffer, 0), 0x18040059U) << "MD5 takes no nothing";
    EXPECT_EQ(with_each_bad(ZRC_Final_RSASSA, unit, buffer, &length), codes(3, 0x18050049));
    EXPECT_EQ(with_each_bad(ZRC_Sign_RSASSA, unit, buffer, &length), codes(3, 0x18060049));
    EXPECT_EQ(with_each_bad(ZRC_Verify_RSASSA, unit, buffer, 1), (codes{0x18070049, 0x18070049, 0x1807002B}));
}

// Decryption tests the flags the other way round.
TEST_F(RsaSchemes, FlagsOfTheKey)
{
    constexpr std::uint32_t kNoPublic = 0x46, kNoPrivate = 0x45, kGood = 0;
    constexpr struct {
        std::int32_t flags;
        std::uint32_t operation, encryption, decryption;
    } kCases[] = {{0, kPublic, kNoPublic, kNoPrivate}, {0, kPrivate, kNoPrivate, kNoPublic},
                  {1, kPublic, kGood, kGood},          {1, kPrivate, kGood, kGood},
                  {2, kPublic, kGood, kNoPrivate},     {2, kPrivate, kNoPrivate, kGood},
                  {4, kPublic, kNoPublic, kGood},      {4, kPrivate, kGood, kNoPublic},
                  {8, kPublic, kNoPublic, kNoPrivate}, {8, kPrivate, kNoPrivate, kNoPublic}};
    for (const auto& c : kCases) {
        unit->key_flags = c.flags;
        const std::uint32_t encrypted = rsa_encrypt(unit, kRaw, c.operation, kMessage).code;
        EXPECT_EQ(encrypted, c.encryption == kGood ? 0 : 0x18090000 | c.encryption) << c.flags << ' ' << c.operation;
        const std::uint32_t decrypted = rsa_decrypt(unit, kMessage).code;
        EXPECT_EQ(decrypted, c.decryption == kGood ? 0 : 0x180A0000 | c.decryption) << c.flags << ' ' << c.operation;
    }
    for (const std::int32_t flags : {-1, 0, 2, 3, 4}) {
        unit->key_flags = flags;
        EXPECT_EQ(rsa_sign(unit, ZRC_SHA256, 2, kMessage).code, flags < 4 ? 0x18050045U : 0U);
        EXPECT_EQ(rsa_verify(unit, ZRC_SHA256, 2, kMessage, {1}), flags < 3 ? 0x18050046U : 0x18100059U);
    }
}

// The flags of an earlier key stay, its numbers do not. Then keys that do not work, and units without a pool.
TEST_F(RsaSchemes, KeysThatDoNotWork)
{
    const rsa_unit public_only = key.unit("ne"), no_e{ZRC_New_RSA()}, nothing{ZRC_New_RSA()}, no_pool = key.unit("ned");
    EXPECT_EQ(key.load(no_e, "nd"), 0x18010059U);
    ASSERT_EQ(ZRC_Add_BIGINT_Word(key.d, 2), 0U);
    const rsa_unit wrong_pair = key.unit("nedc"), even{ZRC_New_RSA()};
    ASSERT_EQ(ZRC_Add_BIGINT_Word(key.n, 1), 0U);
    EXPECT_EQ(key.load(even, "ned"), 0x18010059U);
    const struct {
        const rsa_unit& unit;
        std::uint32_t operation, encryption, decryption, signature;
    } cases[] = {{public_only, kPrivate, 0x18090045, 0x180A0045, 0x18060059},
                 {no_e, kPublic, 0x18090046, 0x180A0046, 0x18070059},
                 {no_e, kPrivate, 0, 0x180A0059, 0x18060059}, // no blinding
                 {nothing, kPublic, 0x18090046, 0x180A0046, 0x18070059},
                 {nothing, kPrivate, 0x18090045, 0x180A0045, 0x18060059},
                 {wrong_pair, kPrivate, 0, 0x180A002E, 0x1806002E},
                 {even, kPublic, 0x18090059, 0x180A0059, 0x040A003E}, // the last as the arithmetic has it
                 {even, kPrivate, 0x18090059, 0x180A0059, 0x18060059},
                 {no_pool, kPublic, 0x18090059, 0x180A0059, 0x18070059},
                 {no_pool, kPrivate, 0x18090059, 0x180A0059, 0x1806003A}};
    for (const auto& c : cases) {
        SCOPED_TRACE(&c - cases);
        c.unit->key_flags = 0x1F;
        const auto without_pool = [&] {
            if (&c.unit == &no_pool) ZRC_Free_BIGINT_Pool(std::exchange(c.unit->pool, nullptr));
        };
        EXPECT_EQ(ZRC_Init_RSAES(c.unit, kRaw, c.operation, 0), 0U) << "makes a pool";
        without_pool();
        EXPECT_EQ(rsa_encrypt(c.unit, kMessage).code, c.encryption);
        EXPECT_EQ(rsa_decrypt(c.unit, kMessage).code, c.decryption);
        EXPECT_EQ(ZRC_Init_RSASSA(c.unit, ZRC_SHA256, 2, c.operation), 0U);
        without_pool();
        EXPECT_EQ(ZRC_Final_RSASSA(c.unit, buffer, &length), c.signature);
    }
}

// A key of n, e and the CRT values: flags 0x0B. What goes by the primes needs no d; all else does.
TEST_F(RsaSchemes, KeysWithPrimesAndWithoutD)
{
    const rsa_unit primes = key.unit("nec");
    const bytes sent = rsa_encrypt(plain, ZRC_RSAES_OAEP_V21, kPublic, kMessage).output;
    EXPECT_EQ(rsa_decrypt(primes, ZRC_RSAES_OAEP_V21, kPrivate, sent), (rsa_answer{0, kMessage}));
    EXPECT_EQ(rsa_encrypt(primes, kMessage).code, 0x18090045U);
    EXPECT_EQ(rsa_sign(primes, ZRC_SHA256, 1, kMessage), rsa_sign(plain, ZRC_SHA256, 1, kMessage));
    EXPECT_EQ(rsa_sign(primes, ZRC_SHA256, ZRC_RSASSA_NO_ENCODE, kMessage).code, 0x18060059U);
    EXPECT_EQ(rsa_decrypt(primes, kRaw, kPrivate, sent).code, 0x180A0045U);
    ASSERT_EQ(ZRC_Set_BIGINT_Word(primes->blinding, 1), 0U); // and the base is as short as the number
    EXPECT_EQ(rsa_decrypt(primes, ZRC_RSAES_OAEP_V21, kPrivate, kMessage).code, 0x180A0045U);
}

// Moduli that are none, and one that a program has put there itself, with zero words on top.
TEST_F(RsaSchemes, AbsurdModuli)
{
    word_list long_n = words_of(key.n);
    long_n.insert(long_n.end(), 2, 0);
    for (const word_list& words : {word_list{}, {0}, {1}, {2}, {3}, {15}, {0, 0}, {4, 0}, {3, 0}, long_n}) {
        for (const char* parts : {"nedc", "ned"}) {
            const rsa_unit one = key.unit(parts);
            ZRC_Free_BIGINT(std::exchange(one->n, of(words).release()));
            for (const std::uint32_t mode : {0U, 1U, 2U, 8U, 16U, 32U}) {
                if (mode == 8) ZRC_Free_BIGINT(std::exchange(one->blinding, nullptr));
                for (const std::uint32_t operation : {kPublic, kPrivate}) {
                    const bool can_work = mode == kRaw || (words.size() > 30 && operation == kPublic);
                    EXPECT_TRUE(rsa_decrypt(one, mode, operation, {0, 2}).code != 0 || mode == kRaw);
                    EXPECT_TRUE(rsa_encrypt(one, {2}).code != 0 || can_work) << words.size() << ' ' << mode;
                    EXPECT_NE(rsa_verify(one, ZRC_MD5, mode, kMessage, {2}), 0U);
                    EXPECT_NE(rsa_sign(one, ZRC_MD5, mode, kMessage).code, 0U);
                }
            }
        }
    }
}

// Blocks of the number's size that were not encoded by the library.
TEST_F(RsaSchemes, BlocksOfPkcs1)
{
    const bytes message = {0, 9, 0, 0}, end = bytes{0} + message;
    const auto block = [](const bytes& start, const bytes& tail) {
        return start + bytes(128 - start.size() - tail.size(), 7) + tail;
    };
    const std::pair<bytes, bytes> cases[] = {
        // and messages; none: refused
        {block({0, 2}, end), message},
        {block({0, 1}, end), message},
        {block({0, 3}, end), {}},
        {block({0, 0, 0, 2}, end), message},
        {block({1}, end), message},
        {block({3, 2}, end), {}},
        {bytes(60) + bytes{2} + bytes(8, 5) + bytes{0} + bytes(58, 3), bytes(58, 3)},
        {bytes{0, 2} + bytes(7, 5) + bytes{0} + bytes(118, 3), {}},
        {block({0, 0, 0, 0, 2}, {}), {}},
        {block({0, 0, 0, 0, 2}, {0}), {}},
        {block({0, 2}, {0}), {}},
        {bytes(127) + bytes{2}, {}}};
    for (const auto& [sent, wanted] : cases) {
        const rsa_answer expected{wanted.empty() ? 0x180A000EU : 0U, wanted};
        for (const std::uint32_t operation : {kPublic, kPrivate})
            EXPECT_EQ(rsa_decrypt(unit, 32, operation, power(1 - operation, sent)), expected) << hex(sent);
    }
    // The private key pads with type 1 and FF bytes, the public key with type 2.
    EXPECT_EQ(power(kPublic, rsa_encrypt(unit, 32, kPrivate, kMessage).output),
              bytes({0, 1}) + bytes(122, 0xFF) + bytes{0} + kMessage);
    EXPECT_EQ(power(kPrivate, rsa_encrypt(unit, 32, kPublic, kMessage).output)[1], 2);
}

// The ciphertext's length bounds the message's, so leaving off zeros can make a difference.
TEST_F(RsaSchemes, AMessageLongerThanItsCiphertext)
{
    const stanza vector = read_vectors("rsa_keys.txt", "short ciphertext").front();
    const bytes &ciphertext = vector["ciphertext"], &message = vector["message"];
    ASSERT_EQ(ZRC_Set_BIGINT_Word(unit->e, 3), 0U);
    for (const std::size_t size : {std::size_t{128}, message.size(), message.size() - 1, ciphertext.size()}) {
        EXPECT_EQ(rsa_decrypt(unit, ZRC_RSAES_PKCS1_V15, kPublic, bytes(size - ciphertext.size()) + ciphertext),
                  size >= message.size() ? (rsa_answer{0, message}) : rsa_answer{0x180A000E});
    }
}

TEST_F(RsaSchemes, TheFirstByteOfOaepCountsInTheShorterFormOnly)
{
    for (const std::uint32_t mode : {ZRC_RSAES_OAEP_V20, ZRC_RSAES_OAEP_V21}) {
        bytes block = power(kPrivate, rsa_encrypt(unit, mode, kPublic, kMessage).output);
        EXPECT_EQ(std::exchange(block[0], 1), 0);
        EXPECT_EQ(rsa_decrypt(unit, mode, kPrivate, power(kPublic, block)),
                  mode == ZRC_RSAES_OAEP_V21 ? (rsa_answer{0, kMessage}) : rsa_answer{0x180A000E});
    }
}

TEST_F(RsaSchemes, SignaturesOfEveryEncoding)
{
    constexpr std::uint32_t kRefusals[] = {0x1807000E, 0x1807002B, 0x18100059}; // by mode
    constexpr struct {
        std::int32_t digest_id;
        std::uint32_t mode;
    } kCases[] = {{ZRC_SHA1, 1},
                  {ZRC_SHA384, 1},
                  {ZRC_SHA512, 1},
                  {ZRC_MD5, 1},
                  {ZRC_SHA1, 2},
                  {ZRC_SHA224, 0x051C0002},
                  {ZRC_SHA256, 0x05200002},
                  {ZRC_HMAC_SHA256, pss_salt(94)},
                  {ZRC_MDC2, 2},
                  {ZRC_SHA512, pss_salt(62)},
                  {ZRC_HAS160, 0},
                  {ZRC_SHA512, 0}};
    const rsa_unit verifying = key.unit("ne");
    bytes modulus(128);
    ZRC_BIGINT_To_Binary_Unsigned(key.n, modulus.data());
    for (const auto& [digest_id, mode] : kCases) {
        SCOPED_TRACE(testing::Message() << std::hex << mode << ' ' << digest_id);
        const bytes made = rsa_sign(unit, digest_id, mode, kMessage).output;
        ASSERT_EQ(made.size(), 128U);
        EXPECT_EQ(rsa_sign(plain, digest_id, mode, kMessage).output == made, (mode & 0xFF) != ZRC_RSASSA_PSS);
        bytes changed = made;
        changed[64] ^= 0x10;
        for (const bytes& value : {bytes{0}, bytes{1}, bytes{2}, changed}) // the first two are powers of themselves
            EXPECT_EQ(rsa_verify(verifying, digest_id, mode, kMessage, value), kRefusals[mode & 0xFF]);
        EXPECT_EQ(rsa_verify(verifying, digest_id, mode, {'d'}, made), kRefusals[mode & 0xFF]);
        EXPECT_EQ(rsa_verify(verifying, digest_id, mode, kMessage, bytes(5) + made), 0U);
        EXPECT_EQ(rsa_verify(verifying, digest_id, mode, kMessage, {}), 0x1807002BU);
        for (const bytes& value : {modulus, bytes(128, 0xFF)})
            EXPECT_EQ(rsa_verify(verifying, digest_id, mode, kMessage, value), 0x18070055U);
    }
    const bytes signature = rsa_sign(unit, ZRC_SHA256, ZRC_RSASSA_PSS, kMessage).output;
    EXPECT_EQ(zrc_Set_RSASSA_PKCS1_PSS_SALT_Length(unit, 32), 0U); // is not consulted
    for (const std::uint32_t salt : {0U, 19U, 20U, 21U, 32U})      // none means 20
        EXPECT_EQ(rsa_verify(unit, ZRC_SHA256, pss_salt(salt), kMessage, signature), salt % 20 == 0 ? 0 : 0x18100059);
}

TEST_F(RsaSchemes, SignaturesThatCannotBeMade)
{
    const rsa_unit tiny = rsa_key{256}.unit("ned"), small = rsa_key{512}.unit("nedc");
    const struct {
        const rsa_unit& unit;
        std::int32_t digest_id;
        std::uint32_t mode, signing, verifying;
    } cases[] = {{unit, ZRC_SHA224, 1, 0x18060012, 0x1807002B},
                 {small, ZRC_SHA512, 1, 0x18060012, 0x1807002B},
                 {unit, ZRC_SHA256, pss_salt(95), 0x18060012, 0x18100059},
                 {unit, ZRC_SHA256, 3, 0x1806002A, 0x1807000E},
                 {unit, ZRC_SHA256, ZRC_RSAES_OAEP_V20, 0x1806002A, 0x1807000E},
                 {tiny, ZRC_SHA512, 0, 0x1806003D, 0x1807000E}}; // a digest longer than k
    for (const auto& c : cases) {
        EXPECT_EQ(rsa_sign(c.unit, c.digest_id, c.mode, kMessage).code, c.signing) << c.digest_id << ' ' << c.mode;
        EXPECT_EQ(rsa_verify(c.unit, c.digest_id, c.mode, kMessage, {2}), c.verifying) << c.digest_id << ' ' << c.mode;
    }
    // A signature of 0: n = 3^200, where every multiple of 3 has a high power of 0.
    const bigint n = of({1});
    for (int i = 0; i < 200; ++i)
        ASSERT_EQ(ZRC_Mtp_BIGINT_Word(n, 3), 0U);
    const rsa_unit powers{ZRC_New_RSA()};
    int tries = 0, zeros = 0; // one blinding in three has no inverse
    while (load_rsa(powers, n, of({3}), of({200})) != 0)
        ASSERT_LT(++tries, 100);
    for (std::uint8_t i = 0; i < 30; ++i) {
        const std::uint32_t code = rsa_sign(powers, ZRC_MD5, ZRC_RSASSA_NO_ENCODE, {i}).code;
        EXPECT_TRUE(code == 0 || code == 0x18060054) << std::hex << code;
        zeros += code != 0;
    }
    EXPECT_TRUE(zeros > 0 && zeros < 30) << zeros;
}

} // namespace
