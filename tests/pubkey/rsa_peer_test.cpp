// RSA signatures and encryption against OpenSSL, both ways, over many sizes of moduli, with keys that OpenSSL made. Its
// <openssl/rsa.h> cannot be included: it has a PKCS1_MGF1, too. Options are set by name instead.
#include "tests/pubkey/rsa_unit.hpp"

#include <algorithm>
#include <map>
#include <openssl/bn.h>
#include <openssl/core_names.h>
#include <openssl/evp.h>
#include <openssl/param_build.h>
#include <string>
#include <utility>
#include <vector>

namespace {

using test::bytes;
using test::rsa_answer;
using test::rsa_unit;

struct evp_releaser {
    void operator()(EVP_PKEY* key) const { EVP_PKEY_free(key); }
    void operator()(EVP_PKEY_CTX* context) const { EVP_PKEY_CTX_free(context); }
    void operator()(EVP_MD_CTX* context) const { EVP_MD_CTX_free(context); }
    void operator()(BIGNUM* value) const { BN_free(value); }
    void operator()(BN_CTX* context) const { BN_CTX_free(context); }
    void operator()(OSSL_PARAM_BLD* builder) const { OSSL_PARAM_BLD_free(builder); }
    void operator()(OSSL_PARAM* parameters) const { OSSL_PARAM_free(parameters); }
};
template <class T>
using evp = std::unique_ptr<T, evp_releaser>;

struct peer_digest {
    std::int32_t id;
    const EVP_MD* (*md)();

    int size() const { return EVP_MD_get_size(md()); }
};
const peer_digest kSha1{ZRC_SHA1, EVP_sha1}, kSha224{ZRC_SHA224, EVP_sha224}, kSha256{ZRC_SHA256, EVP_sha256},
    kSha384{ZRC_SHA384, EVP_sha384}, kSha512{ZRC_SHA512, EVP_sha512}, kMd5{ZRC_MD5, EVP_md5};

evp<BIGNUM> number()
{
    return evp<BIGNUM>{BN_new()};
}

// The numbers of a key of exactly `bits` bits, which the peer's own generator does not make for odd sizes above 2048.
struct numbers {
    evp<BN_CTX> context{BN_CTX_new()};
    evp<BIGNUM> p = number(), q = number(), n = number(), e = number(), d = number(), dp = number(), dq = number(),
                qinv = number();

    explicit numbers(int bits)
    {
        const evp<BIGNUM> p1 = number(), q1 = number(), order = number();
        BN_set_word(e.get(), 65537);
        do {
            // Both start with two ones: the product has all bits.
            EXPECT_EQ(BN_generate_prime_ex(p.get(), (bits + 1) / 2, 0, nullptr, nullptr, nullptr), 1);
            EXPECT_EQ(BN_generate_prime_ex(q.get(), bits / 2, 0, nullptr, nullptr, nullptr), 1);
            BN_mul(n.get(), p.get(), q.get(), context.get());
            BN_sub(p1.get(), p.get(), BN_value_one());
            BN_sub(q1.get(), q.get(), BN_value_one());
            BN_mul(order.get(), p1.get(), q1.get(), context.get());
        } while (!BN_mod_inverse(d.get(), e.get(), order.get(), context.get()));
        BN_mod(dp.get(), d.get(), p1.get(), context.get());
        BN_mod(dq.get(), d.get(), q1.get(), context.get());
        BN_mod_inverse(qinv.get(), q.get(), p.get(), context.get());
        EXPECT_EQ(BN_num_bits(n.get()), bits);
    }

    EVP_PKEY* peer_key() const
    {
        const evp<OSSL_PARAM_BLD> builder{OSSL_PARAM_BLD_new()};
        for (const auto& [name, value] : {std::pair{OSSL_PKEY_PARAM_RSA_N, &n},
                                          {OSSL_PKEY_PARAM_RSA_E, &e},
                                          {OSSL_PKEY_PARAM_RSA_D, &d},
                                          {OSSL_PKEY_PARAM_RSA_FACTOR1, &p},
                                          {OSSL_PKEY_PARAM_RSA_FACTOR2, &q},
                                          {OSSL_PKEY_PARAM_RSA_EXPONENT1, &dp},
                                          {OSSL_PKEY_PARAM_RSA_EXPONENT2, &dq},
                                          {OSSL_PKEY_PARAM_RSA_COEFFICIENT1, &qinv}})
            EXPECT_EQ(OSSL_PARAM_BLD_push_BN(builder.get(), name, value->get()), 1);
        const evp<OSSL_PARAM> parameters{OSSL_PARAM_BLD_to_param(builder.get())};
        const evp<EVP_PKEY_CTX> made_by{EVP_PKEY_CTX_new_from_name(nullptr, "RSA", nullptr)};
        EVP_PKEY* key = nullptr;
        EXPECT_EQ(EVP_PKEY_fromdata_init(made_by.get()), 1);
        EXPECT_EQ(EVP_PKEY_fromdata(made_by.get(), &key, EVP_PKEY_KEYPAIR, parameters.get()), 1);
        return key;
    }
};

test::bigint ours(const evp<BIGNUM>& value)
{
    bytes data(std::size_t(BN_num_bytes(value.get())));
    BN_bn2bin(value.get(), data.data());
    return test::of_bytes(data);
}

// One key on both sides.
struct both {
    int bits;
    evp<EVP_PKEY> peer;
    rsa_unit whole{ZRC_New_RSA()}, plain{ZRC_New_RSA()}; // with the values of the primes and without

    explicit both(int size) : bits{size}
    {
        const numbers key{size};
        peer.reset(key.peer_key());
        const test::bigint n = ours(key.n), e = ours(key.e), d = ours(key.d);
        EXPECT_EQ(ZRC_Set_RSA_Params(whole.get(), n.get(), e.get(), d.get(), ours(key.p).get(), ours(key.q).get(),
                                     ours(key.dp).get(), ours(key.dq).get(), ours(key.qinv).get()),
                  0U);
        EXPECT_EQ(
            ZRC_Set_RSA_Params(plain.get(), n.get(), e.get(), d.get(), nullptr, nullptr, nullptr, nullptr, nullptr),
            0U);
    }

    int k() const { return (bits + 7) / 8; }
};

// Keys are made once.
const both& key_of(int bits)
{
    static std::map<int, both> keys;
    return keys.try_emplace(bits, bits).first->second;
}

constexpr int kSizes[] = {512, 1023, 1024, 1025, 2047, 2048, 2049, 3071, 4096};

// A PSS salt of -1 stands for PKCS #1 v1.5.
constexpr int kPkcs1 = -1;

void set(EVP_PKEY_CTX* context, const char* option, const std::string& value)
{
    EXPECT_EQ(EVP_PKEY_CTX_ctrl_str(context, option, value.c_str()), 1) << option << ' ' << value;
}

void set_padding(EVP_PKEY_CTX* context, int salt)
{
    set(context, "rsa_padding_mode", salt == kPkcs1 ? "pkcs1" : "pss");
    if (salt != kPkcs1) set(context, "rsa_pss_saltlen", std::to_string(salt));
}

bytes peer_signature(const both& key, const peer_digest& digest, int salt, const bytes& message)
{
    const evp<EVP_MD_CTX> context{EVP_MD_CTX_new()};
    EVP_PKEY_CTX* inner = nullptr;
    EXPECT_EQ(EVP_DigestSignInit(context.get(), &inner, digest.md(), nullptr, key.peer.get()), 1);
    set_padding(inner, salt);
    std::size_t size = std::size_t(key.k());
    bytes signature(size);
    EXPECT_EQ(EVP_DigestSign(context.get(), signature.data(), &size, message.data(), message.size()), 1);
    return signature;
}

bool peer_accepts(const both& key, const peer_digest& digest, int salt, const bytes& message, const bytes& signature)
{
    const evp<EVP_MD_CTX> context{EVP_MD_CTX_new()};
    EVP_PKEY_CTX* inner = nullptr;
    EXPECT_EQ(EVP_DigestVerifyInit(context.get(), &inner, digest.md(), nullptr, key.peer.get()), 1);
    set_padding(inner, salt);
    return EVP_DigestVerify(context.get(), signature.data(), signature.size(), message.data(), message.size()) == 1;
}

std::uint32_t mode_of(int salt)
{
    return salt == kPkcs1 ? std::uint32_t{ZRC_RSASSA_PKCS1_V15} : test::pss_salt(std::uint32_t(salt));
}

class RsaPeer : public testing::Test {
protected:
    // Both units sign, the peer verifies.
    void expect_ours_there(const both& key, const peer_digest& digest, int salt, bool good = true)
    {
        for (const rsa_unit& unit : {std::cref(key.whole), std::cref(key.plain)}) {
            const bytes message = random_.data(1 + random_.upto(200));
            const rsa_answer made = test::rsa_sign(unit, digest.id, mode_of(salt), message);
            ASSERT_EQ(made.code, 0U) << key.bits << ' ' << digest.id;
            EXPECT_EQ(peer_accepts(key, digest, salt, message, made.output), good)
                << key.bits << ' ' << std::hex << digest.id << ' ' << salt;
        }
    }

    // The peer signs. Returns the code of the verification.
    std::uint32_t code_of_theirs(const both& key, const peer_digest& digest, int salt)
    {
        const bytes message = random_.data(1 + random_.upto(200));
        const bytes signature = peer_signature(key, digest, salt, message);
        return test::rsa_verify(key.plain, digest.id, mode_of(salt), message, signature);
    }

    bytes message_up_to(int longest) { return random_.data(1 + random_.upto(std::size_t(longest - 1))); }

    test::repeatable random_{71};
};

// Salts of the digest's length, or the longest that the modulus has room for, and of one byte.
TEST_F(RsaPeer, PssSignatures)
{
    for (const int bits : kSizes) {
        if (bits % 8 == 1) continue;
        for (const peer_digest& digest : {kSha1, kSha224, kSha256, kSha384, kSha512}) {
            const int room = (bits - 1 + 7) / 8 - 2 - digest.size();
            if (room < 1) continue;
            for (const int salt : {std::min(room, digest.size()), 1}) {
                const both& key = key_of(bits);
                expect_ours_there(key, digest, salt);
                EXPECT_EQ(code_of_theirs(key, digest, salt), 0U) << bits << ' ' << digest.size() << ' ' << salt;
            }
        }
    }
}

// With moduli of 8 j + 1 bits the peer takes what this library signs, and this library next to nothing.
TEST_F(RsaPeer, PssWithModuliOf8jPlus1Bits)
{
    int good = 0;
    for (const int bits : {1025, 2049}) {
        for (const peer_digest& digest : {kSha224, kSha256, kSha384, kSha512}) {
            expect_ours_there(key_of(bits), digest, 20);
            for (int i = 0; i < 2; ++i)
                good += code_of_theirs(key_of(bits), digest, 20) == 0;
        }
    }
    EXPECT_LT(good, 6) << "of 16; each has a chance of 1 in 256";
}

// What this library puts before a digest is the standard's, but not for SHA-384 and SHA-512.
TEST_F(RsaPeer, Pkcs1Signatures)
{
    for (const int bits : kSizes) {
        for (const peer_digest& digest : {kSha1, kSha256, kMd5}) {
            expect_ours_there(key_of(bits), digest, kPkcs1);
            EXPECT_EQ(code_of_theirs(key_of(bits), digest, kPkcs1), 0U) << bits << ' ' << digest.size();
        }
    }
    for (const peer_digest& digest : {kSha384, kSha512}) {
        expect_ours_there(key_of(1024), digest, kPkcs1, false);
        EXPECT_EQ(code_of_theirs(key_of(1024), digest, kPkcs1), 0x1807002BU) << digest.size();
    }
}

struct cipher {
    std::uint32_t mode;
    std::int32_t digest_id;
    std::vector<std::pair<const char*, std::string>> options;
    int overhead; // bytes
};

std::vector<cipher> all_ciphers()
{
    std::vector<cipher> ciphers{{ZRC_RSAES_PKCS1_V15, 0, {{"rsa_padding_mode", "pkcs1"}}, 11}};
    for (const peer_digest& label : {kSha1, kSha224, kSha256}) {
        for (const peer_digest& mask : {kSha1, kSha224, kSha256, kSha512}) {
            cipher one{0, label.id, {}, 2 * label.size() + 2};
            one.options = {{"rsa_padding_mode", "oaep"},
                           {"rsa_oaep_md", EVP_MD_get0_name(label.md())},
                           {"rsa_mgf1_md", EVP_MD_get0_name(mask.md())}};
            // Behind the first byte, which is zero either way, the two forms are the same.
            for (const std::uint32_t form : {ZRC_RSAES_OAEP_V20, ZRC_RSAES_OAEP_V21}) {
                one.mode = form | std::uint32_t(mask.id);
                ciphers.push_back(one);
                one.mode = form;
                if (label.id == mask.id) ciphers.push_back(one);
            }
        }
    }
    return ciphers;
}

bytes peer_crypt(const both& key, const cipher& one, bool encrypting, const bytes& input)
{
    const evp<EVP_PKEY_CTX> context{EVP_PKEY_CTX_new(key.peer.get(), nullptr)};
    EXPECT_EQ((encrypting ? EVP_PKEY_encrypt_init : EVP_PKEY_decrypt_init)(context.get()), 1);
    for (const auto& [option, value] : one.options)
        set(context.get(), option, value);
    std::size_t size = std::size_t(key.k());
    bytes output(size);
    EXPECT_EQ((encrypting ? EVP_PKEY_encrypt : EVP_PKEY_decrypt)(context.get(), output.data(), &size, input.data(),
                                                                 input.size()),
              1);
    output.resize(size);
    return output;
}

TEST_F(RsaPeer, Encryption)
{
    for (const int bits : kSizes) {
        const both& key = key_of(bits);
        for (const cipher& one : all_ciphers()) {
            if (key.k() - one.overhead < 1) continue;
            SCOPED_TRACE(testing::Message() << bits << ' ' << std::hex << one.mode << ' ' << one.digest_id);
            const rsa_unit& unit = random_.upto(1) == 0 ? key.whole : key.plain;
            for (const bytes& message :
                 {message_up_to(key.k() - one.overhead), random_.data(std::size_t(key.k() - one.overhead))}) {
                EXPECT_EQ(ZRC_Init_RSAES(unit.get(), one.mode, 0, one.digest_id), 0U);
                EXPECT_EQ(peer_crypt(key, one, false, test::rsa_encrypt(unit, message).output), message);
                EXPECT_EQ(ZRC_Init_RSAES(unit.get(), one.mode, 1, one.digest_id), 0U);
                EXPECT_EQ(test::rsa_decrypt(unit, peer_crypt(key, one, true, message)), (rsa_answer{0, message}));
            }
        }
    }
}

} // namespace
