// Generated keys, signatures and encryption against OpenSSL, both ways, over many sizes of moduli. Its <openssl/rsa.h>
// cannot be included: it has a PKCS1_MGF1, too. Options are set by name instead.
#include "tests/pubkey/evp_peer.hpp"
#include "tests/pubkey/rsa_unit.hpp"

#include <map>

namespace {

using namespace test;

peer_key peer_key_of(const ZRC_RSA_UNIT& unit)
{
    constexpr const char* kNames[] = {OSSL_PKEY_PARAM_RSA_N,         OSSL_PKEY_PARAM_RSA_E,
                                      OSSL_PKEY_PARAM_RSA_D,         OSSL_PKEY_PARAM_RSA_EXPONENT1,
                                      OSSL_PKEY_PARAM_RSA_EXPONENT2, OSSL_PKEY_PARAM_RSA_FACTOR1,
                                      OSSL_PKEY_PARAM_RSA_FACTOR2,   OSSL_PKEY_PARAM_RSA_COEFFICIENT1};
    peer_key_builder key;
    for (std::size_t i = 0; i < std::size(kNames); ++i)
        key.add(kNames[i], unit.*kRsaParts[i]);
    return key.make("RSA");
}

// The primality of p and q, n = p q, e d = 1, dP, dQ and qInv.
bool peer_accepts(const ZRC_RSA_UNIT& unit)
{
    return peer_accepts(EVP_PKEY_check, peer_key_of(unit));
}

// And d is the inverse modulo (p - 1)(q - 1), or modulo the least common multiple.
TEST(RsaPeer, AcceptsGeneratedKeys)
{
    const word_list exponents[] = {{3}, {65537}, {0xFFFFFFFB}, {0xFFFFFFFF, 0x1FFFFFFF}}; // the last: 2^61 - 1
    const rsa_unit unit{ZRC_New_RSA()};
    for (const auto generate : {ZRC_Generate_RSA_Params, ZRC_Generate_RSA_Params_Ex}) {
        for (const std::int32_t bits : {546, 577, 1024, 1025}) {
            for (const word_list& e : exponents) {
                for (const int version : {1, 2}) {
                    SCOPED_TRACE(testing::Message() << bits << " bits, version " << version << ", e " << e.front());
                    ASSERT_EQ(generate(unit, of(e), bits, version), 0U);
                    EXPECT_TRUE(peer_accepts(*unit));
                    const bigint p{ZRC_Dup_BIGINT(unit->p)}, q{ZRC_Dup_BIGINT(unit->q)}, order{ZRC_New_BIGINT()};
                    ZRC_Sub_BIGINT_Word(p, 1);
                    ZRC_Sub_BIGINT_Word(q, 1);
                    ZRC_Mtp_BIGINT(order, p, q, unit->pool);
                    zrc_Gcd_BIGINT(p, p, q, unit->pool);
                    if (version == 2) ZRC_Div_BIGINT(order, nullptr, order, p, unit->pool);
                    ZRC_Mod_Inverse_BIGINT(order, unit->e, order, unit->pool);
                    EXPECT_EQ(ZRC_Cmp_BIGINT(unit->d, order), 0);
                }
            }
        }
    }
    unit->dP->data[0] ^= 1;
    EXPECT_FALSE(peer_accepts(*unit)) << "the check itself";
}

constexpr peer_digest kSha1{ZRC_SHA1, EVP_sha1}, kSha256{ZRC_SHA256, EVP_sha256}, kSha384{ZRC_SHA384, EVP_sha384},
    kSha512{ZRC_SHA512, EVP_sha512}, kMd5{ZRC_MD5, EVP_md5};

int size_of(const peer_digest& digest)
{
    return EVP_MD_get_size(digest.md());
}

// One key of exactly `bits` bits on both sides.
struct both {
    int bits;
    rsa_unit whole{ZRC_New_RSA()}, plain{ZRC_New_RSA()}; // with the values of the primes and without
    peer_key peer;

    explicit both(int size) : bits{size}
    {
        do
            EXPECT_EQ(ZRC_Generate_RSA_Params(whole, of({65537}), bits, 1), 0U);
        while (int(ZRC_Get_BIGINT_Bits_Length(whole->n)) != bits);
        EXPECT_EQ(load_rsa(plain, whole->n, whole->e, whole->d), 0U);
        peer = peer_key_of(*whole);
    }

    std::size_t k() const { return std::size_t(bits + 7) / 8; }
};

// Keys are made once.
const both& key_of(int bits)
{
    static std::map<int, both> keys;
    return keys.try_emplace(bits, bits).first->second;
}

constexpr int kSizes[] = {512, 1023, 1024, 1025, 2047, 2048, 2049, 3071, 4096};
constexpr int kPkcs1 = -1; // in place of a PSS salt

void set(EVP_PKEY_CTX* context, const char* option, const std::string& value)
{
    EXPECT_EQ(EVP_PKEY_CTX_ctrl_str(context, option, value.c_str()), 1) << option << ' ' << value;
}

class RsaPeerSchemes : public testing::Test {
protected:
    // Both units sign, the peer verifies; then the other way round. Returns the code of our verification.
    std::uint32_t exchange(const both& key, const peer_digest& digest, int salt, bool ours_are_good = true)
    {
        const std::uint32_t mode = salt == kPkcs1 ? std::uint32_t{ZRC_RSASSA_PKCS1_V15} : pss_salt(std::uint32_t(salt));
        const auto start = [&](auto init) {
            peer_digest_context context{EVP_MD_CTX_new()};
            EVP_PKEY_CTX* inner = nullptr;
            EXPECT_EQ(init(context, &inner, digest.md(), nullptr, key.peer), 1);
            set(inner, "rsa_padding_mode", salt == kPkcs1 ? "pkcs1" : "pss");
            if (salt != kPkcs1) set(inner, "rsa_pss_saltlen", std::to_string(salt));
            return context;
        };
        const bytes message = random_.data(1 + random_.upto(200));
        for (const rsa_unit* unit : {&key.whole, &key.plain}) {
            const rsa_answer made = rsa_sign(*unit, digest.id, mode, message);
            const bool verified = EVP_DigestVerify(start(EVP_DigestVerifyInit), made.output.data(), made.output.size(),
                                                   message.data(), message.size()) == 1;
            EXPECT_EQ(verified, ours_are_good) << key.bits << ' ' << std::hex << digest.id << ' ' << salt;
        }
        bytes signature(key.k());
        std::size_t size = signature.size();
        EXPECT_EQ(EVP_DigestSign(start(EVP_DigestSignInit), signature.data(), &size, message.data(), message.size()),
                  1);
        return rsa_verify(key.plain, digest.id, mode, message, signature);
    }

    repeatable random_{71};
};

// Salts of the digest's length, or the longest that the modulus has room for, and of one byte. With moduli of 8 j + 1
// bits the peer takes what this library signs, and this library one of 256 from anybody.
TEST_F(RsaPeerSchemes, Pss)
{
    int by_chance = 0;
    for (const int bits : kSizes) {
        for (const peer_digest& digest : {kSha1, peer_digest{ZRC_SHA224, EVP_sha224}, kSha256, kSha384, kSha512}) {
            const int room = (bits - 1 + 7) / 8 - 2 - size_of(digest);
            if (room < 1) continue;
            for (const int salt : {std::min(room, size_of(digest)), 1}) {
                const std::uint32_t code = exchange(key_of(bits), digest, salt);
                if (bits % 8 == 1)
                    by_chance += code == 0;
                else
                    EXPECT_EQ(code, 0U) << bits << ' ' << digest.id << ' ' << salt;
            }
        }
    }
    EXPECT_LT(by_chance, 7) << "of 20";
}

// What this library puts before a digest is the standard's, but not for SHA-384 and SHA-512.
TEST_F(RsaPeerSchemes, Pkcs1Signatures)
{
    for (const int bits : kSizes)
        for (const peer_digest& digest : {kSha1, kSha256, kMd5})
            EXPECT_EQ(exchange(key_of(bits), digest, kPkcs1), 0U) << bits << ' ' << digest.id;
    for (const peer_digest& digest : {kSha384, kSha512})
        EXPECT_EQ(exchange(key_of(1024), digest, kPkcs1, false), 0x1807002BU) << digest.id;
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
    for (const peer_digest& label : {kSha1, peer_digest{ZRC_SHA224, EVP_sha224}, kSha256}) {
        for (const peer_digest& mask : kPeerDigests) {
            cipher one{0, label.id, {}, 2 * size_of(label) + 2};
            one.options = {{"rsa_padding_mode", "oaep"},
                           {"rsa_oaep_md", EVP_MD_get0_name(label.md())},
                           {"rsa_mgf1_md", EVP_MD_get0_name(mask.md())}};
            // Behind the first byte, which is zero either way, the two forms are the same.
            for (const std::uint32_t form : {ZRC_RSAES_OAEP_V20, ZRC_RSAES_OAEP_V21}) {
                one.mode = label.id == mask.id ? form : form | std::uint32_t(mask.id);
                ciphers.push_back(one);
            }
        }
    }
    return ciphers;
}

bytes peer_crypt(const both& key, const cipher& one, bool encrypting, const bytes& input)
{
    const peer_context context{EVP_PKEY_CTX_new(key.peer, nullptr)};
    EXPECT_EQ((encrypting ? EVP_PKEY_encrypt_init : EVP_PKEY_decrypt_init)(context), 1);
    for (const auto& [option, value] : one.options)
        set(context, option, value);
    bytes output(key.k());
    std::size_t size = output.size();
    const auto crypt = encrypting ? EVP_PKEY_encrypt : EVP_PKEY_decrypt;
    EXPECT_EQ(crypt(context, output.data(), &size, input.data(), input.size()), 1);
    output.resize(size);
    return output;
}

TEST_F(RsaPeerSchemes, Encryption)
{
    for (const int bits : kSizes) {
        const both& key = key_of(bits);
        for (const cipher& one : all_ciphers()) {
            const int longest = int(key.k()) - one.overhead;
            if (longest < 1) continue;
            SCOPED_TRACE(testing::Message() << bits << ' ' << std::hex << one.mode << ' ' << one.digest_id);
            const rsa_unit& unit = random_.upto(1) == 0 ? key.whole : key.plain;
            for (const std::size_t size : {1 + random_.upto(std::size_t(longest - 1)), std::size_t(longest)}) {
                const bytes message = random_.data(size);
                const bytes sent = rsa_encrypt(unit, one.mode, 0, message, one.digest_id).output;
                EXPECT_EQ(peer_crypt(key, one, false, sent), message);
                EXPECT_EQ(rsa_decrypt(unit, one.mode, 1, peer_crypt(key, one, true, message), one.digest_id),
                          (rsa_answer{0, message}));
            }
        }
    }
}

} // namespace
