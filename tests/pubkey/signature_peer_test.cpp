// DSA and ECDSA against OpenSSL, both ways, and the points that two keys share.
#include "tests/pubkey/evp_peer.hpp"
#include "tests/pubkey/signature_family.hpp"

#include <openssl/ecdsa.h>

namespace {

using namespace test;

// The numbers of a signature in DER; those of DSA look the same.
using signature_pair = owned<ECDSA_SIG, ECDSA_SIG_free>;

bytes to_der(const signature& s)
{
    const signature_pair pair{ECDSA_SIG_new()};
    ECDSA_SIG_set0(pair, BN_bin2bn(s.R.data(), s.R_length, nullptr), BN_bin2bn(s.S.data(), s.S_length, nullptr));
    bytes der(160);
    std::uint8_t* end = der.data();
    der.resize(std::size_t(i2d_ECDSA_SIG(pair, &end)));
    return der;
}

signature of_der(const bytes& der, std::int32_t length)
{
    const std::uint8_t* begin = der.data();
    const signature_pair pair{d2i_ECDSA_SIG(nullptr, &begin, long(der.size()))};
    signature s;
    s.R_length = BN_bn2binpad(ECDSA_SIG_get0_r(pair), s.R.data(), length);
    s.S_length = BN_bn2binpad(ECDSA_SIG_get0_s(pair), s.S.data(), length);
    return s;
}

// Each signs for the other to verify.
template <class Owned>
void compare_both_ways(const Owned& unit, const peer_key& key, int rounds)
{
    repeatable random{7};
    const auto length = std::int32_t(kFamily<Owned>.length(unit));
    for (int i = 0; i < rounds; ++i) {
        for (const auto& [id, md] : kPeerDigests) {
            SCOPED_TRACE(testing::Message() << id << ' ' << i);
            const bytes message = random.data(1 + random.upto(200));
            signature s;
            ASSERT_EQ(run(unit, kSign, id, message, s), 0U);
            EXPECT_TRUE(peer_verifies(key, md(), message, to_der(s)));
            s = of_der(peer_signs(key, md(), message), length);
            EXPECT_EQ(run(unit, kVerify, id, message, s), 0U);
            s.S[5] ^= 1;
            EXPECT_NE(run(unit, kVerify, id, message, s), 0U);
            EXPECT_FALSE(peer_verifies(key, md(), message, to_der(s)));
        }
    }
}

TEST(DsaPeer, SignaturesBothWays)
{
    for (const auto& [p_bits, q_bits] : {std::pair{1024, 160}, {2048, 224}, {2048, 256}, {3072, 256}}) {
        SCOPED_TRACE(p_bits);
        const dsa_unit unit{ZRC_New_DSA()};
        ASSERT_EQ(ZRC_Generate_DSA_Params(unit, p_bits, q_bits, ZRC_SHA256), 0U);
        ASSERT_EQ(ZRC_Generate_DSA_Key_Pair(unit), 0U);
        const peer_key key = peer_key_of(*unit, "DSA");
        EXPECT_TRUE(peer_accepts(EVP_PKEY_check, key));
        compare_both_ways(unit, key, 20 / kShare + 1);
    }
}

// In the order of the known curves.
constexpr const char* kCurves[] = {"P-192", "P-224", "P-256", "P-384", "P-521", "secp256k1"};

peer_key key_of(const ecdsa_unit& unit, const char* curve)
{
    const std::size_t size = (ZRC_Get_BIGINT_Bits_Length(unit->curve->p) + 7) / 8;
    const bytes q = bytes{4} + padded(unit->Q->x, size) + padded(unit->Q->y, size);
    peer_key_builder key;
    OSSL_PARAM_BLD_push_utf8_string(key.builder(), OSSL_PKEY_PARAM_GROUP_NAME, curve, 0);
    OSSL_PARAM_BLD_push_octet_string(key.builder(), OSSL_PKEY_PARAM_PUB_KEY, q.data(), q.size());
    key.add(OSSL_PKEY_PARAM_PRIV_KEY, unit->d);
    return key.make("EC");
}

bigint number_in(const peer_key& key, const char* name)
{
    BIGNUM* value = nullptr;
    EXPECT_EQ(EVP_PKEY_get_bn_param(key, name, &value), 1);
    const peer_number owner{value};
    bytes data(std::size_t(BN_num_bytes(value)));
    BN_bn2bin(value, data.data());
    return of_bytes(data);
}

// With keys that either made.
TEST(EcdsaPeer, SignaturesBothWays)
{
    for (std::size_t i = 0; i < std::size(kCurves); ++i) {
        SCOPED_TRACE(kCurves[i]);
        const ZRC_ECC_CURVE* const curve = known_curves()[i];
        const ecdsa_unit ours{ZRC_New_ECDSA()}, theirs{ZRC_New_ECDSA()};
        ASSERT_EQ(ZRC_Generate_ECDSA_Key_Pair(ours, curve), 0U);
        compare_both_ways(ours, key_of(ours, kCurves[i]), 4);

        const peer_key key{EVP_EC_gen(kCurves[i])};
        const bigint x = number_in(key, OSSL_PKEY_PARAM_EC_PUB_X), y = number_in(key, OSSL_PKEY_PARAM_EC_PUB_Y);
        ASSERT_EQ(ZRC_Set_ECDSA_Params(theirs, curve, number_in(key, OSSL_PKEY_PARAM_PRIV_KEY), point(x, y)), 0U)
            << "one pair";
        compare_both_ways(theirs, key, 4);
    }
}

TEST(EcdsaPeer, SharedPoints)
{
    for (std::size_t i = 0; i < std::size(kCurves); ++i) {
        const ZRC_ECC_CURVE* const curve = known_curves()[i];
        for (int round = 0; round < 4; ++round) {
            const ecdsa_unit first{ZRC_New_ECDSA()}, second{ZRC_New_ECDSA()};
            ASSERT_EQ(ZRC_Generate_ECDSA_Key_Pair(first, curve), 0U);
            ASSERT_EQ(ZRC_Generate_ECDSA_Key_Pair(second, curve), 0U);
            const bytes expected = peer_secret(key_of(first, kCurves[i]), key_of(second, kCurves[i]));
            const ecc_point shared = infinity();
            ASSERT_EQ(ZRC_Mtp_ECC_POINT(curve, shared, second->d, first->Q), 0U);
            EXPECT_EQ(padded(shared->x, expected.size()), expected) << kCurves[i];
        }
    }
}

} // namespace
