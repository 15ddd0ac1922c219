// DSA against OpenSSL, both ways, in every size.
#include "tests/pubkey/ffc_peer.hpp"

#include <openssl/dsa.h>

namespace {

using test::bytes;

using test::peer_key;
using test::with;
using peer_signature = std::unique_ptr<DSA_SIG, with<DSA_SIG_free>>;

bool peer_verifies(EVP_PKEY* key, const EVP_MD* digest, const bytes& message, const test::dsa_signature& s)
{
    const peer_signature pair{DSA_SIG_new()};
    DSA_SIG_set0(pair.get(), BN_bin2bn(s.R, s.R_length, nullptr), BN_bin2bn(s.S, s.S_length, nullptr));
    unsigned char* encoded = nullptr;
    const int length = i2d_DSA_SIG(pair.get(), &encoded);
    const std::unique_ptr<EVP_MD_CTX, with<EVP_MD_CTX_free>> context{EVP_MD_CTX_new()};
    EXPECT_EQ(EVP_DigestVerifyInit(context.get(), nullptr, digest, nullptr, key), 1);
    const int result = EVP_DigestVerify(context.get(), encoded, std::size_t(length), message.data(), message.size());
    OPENSSL_free(encoded);
    return result == 1;
}

test::dsa_signature peer_signs(EVP_PKEY* key, const EVP_MD* digest, const bytes& message, std::int32_t field)
{
    const std::unique_ptr<EVP_MD_CTX, with<EVP_MD_CTX_free>> context{EVP_MD_CTX_new()};
    unsigned char encoded[128];
    std::size_t length = sizeof encoded;
    EXPECT_EQ(EVP_DigestSignInit(context.get(), nullptr, digest, nullptr, key), 1);
    EXPECT_EQ(EVP_DigestSign(context.get(), encoded, &length, message.data(), message.size()), 1);
    const unsigned char* at = encoded;
    const peer_signature pair{d2i_DSA_SIG(nullptr, &at, long(length))};
    test::dsa_signature s;
    const BIGNUM *r = nullptr, *value = nullptr;
    DSA_SIG_get0(pair.get(), &r, &value);
    s.R_length = BN_bn2binpad(r, s.R, field);
    s.S_length = BN_bn2binpad(value, s.S, field);
    return s;
}

TEST(DsaPeer, SignaturesBothWays)
{
    const struct {
        std::int32_t id;
        const EVP_MD* digest;
    } kDigests[] = {
        {ZRC_SHA1, EVP_sha1()}, {ZRC_SHA224, EVP_sha224()}, {ZRC_SHA256, EVP_sha256()}, {ZRC_SHA512, EVP_sha512()}};
    constexpr struct {
        std::int32_t p_bits, q_bits;
    } kSizes[] = {{1024, 160}, {2048, 224}, {2048, 256}, {3072, 256}};
    test::repeatable random{1};
    for (const auto& [p_bits, q_bits] : kSizes) {
        const test::dsa_unit unit{ZRC_New_DSA()};
        ASSERT_EQ(ZRC_Generate_DSA_Params(unit.get(), p_bits, q_bits, ZRC_SHA256), 0U);
        ASSERT_EQ(ZRC_Generate_DSA_Key_Pair(unit.get()), 0U);
        const peer_key key = test::key_of(*unit, "DSA");
        const test::peer_context check{EVP_PKEY_CTX_new(key.get(), nullptr)};
        EXPECT_EQ(EVP_PKEY_check(check.get()), 1);
        for (const auto& [id, digest] : kDigests) {
            for (int i = 0; i < 20 / test::kShare + 1; ++i) {
                SCOPED_TRACE(testing::Message() << p_bits << ' ' << id << ' ' << i);
                const bytes message = random.data(1 + random.upto(200));
                test::dsa_signature s;
                ASSERT_EQ(test::run_dsa(unit.get(), 1, id, message, s), 0U);
                EXPECT_TRUE(peer_verifies(key.get(), digest, message, s));
                s = peer_signs(key.get(), digest, message, q_bits / 8);
                EXPECT_EQ(test::run_dsa(unit.get(), 0, id, message, s), 0U);
                s.S[5] ^= 1;
                EXPECT_FALSE(peer_verifies(key.get(), digest, message, s));
                EXPECT_NE(test::run_dsa(unit.get(), 0, id, message, s), 0U);
            }
        }
    }
}

} // namespace
