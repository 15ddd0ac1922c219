// ECDSA and shared points against OpenSSL, both ways, with keys that either made.
#include "tests/pubkey/ecc_fixture.hpp"

#include <cstdint>
#include <gtest/gtest.h>
#include <memory>
#include <openssl/bn.h>
#include <openssl/core_names.h>
#include <openssl/ecdsa.h>
#include <openssl/evp.h>
#include <openssl/param_build.h>
#include <string>
#include <utility>

namespace {

using test::bigint;
using test::bytes;
using test::ecc_point;
using test::ecdsa_unit;

struct evp_releaser {
    void operator()(EVP_PKEY* key) const { EVP_PKEY_free(key); }
    void operator()(EVP_PKEY_CTX* context) const { EVP_PKEY_CTX_free(context); }
    void operator()(EVP_MD_CTX* context) const { EVP_MD_CTX_free(context); }
    void operator()(BIGNUM* value) const { BN_free(value); }
    void operator()(OSSL_PARAM_BLD* builder) const { OSSL_PARAM_BLD_free(builder); }
    void operator()(OSSL_PARAM* parameters) const { OSSL_PARAM_free(parameters); }
    void operator()(ECDSA_SIG* signature) const { ECDSA_SIG_free(signature); }
};
template <class T>
using evp = std::unique_ptr<T, evp_releaser>;

const struct {
    std::size_t curve;
    const char* name;
} kCurves[] = {{0, "P-192"}, {1, "P-224"}, {2, "P-256"}, {3, "P-384"}, {4, "P-521"}, {5, "secp256k1"}};

const struct {
    std::int32_t id;
    const EVP_MD* (*md)();
} kDigests[] = {{ZRC_SHA1, EVP_sha1}, {ZRC_SHA224, EVP_sha224}, {ZRC_SHA256, EVP_sha256}, {ZRC_SHA512, EVP_sha512}};

bigint of_peer(const BIGNUM* value)
{
    bytes data(std::size_t(BN_num_bytes(value)));
    BN_bn2bin(value, data.data());
    return test::of_bytes(data);
}

bytes padded(const ZRC_BIGINT* value, std::size_t size)
{
    bytes data(size);
    ZRC_BIGINT_To_Binary_Unsigned(value, data.data() + size - (ZRC_Get_BIGINT_Bits_Length(value) + 7) / 8);
    return data;
}

evp<BIGNUM> to_peer(const bytes& data)
{
    return evp<BIGNUM>{BN_bin2bn(data.data(), int(data.size()), nullptr)};
}

// The peer's form of a unit's key pair.
evp<EVP_PKEY> peer_key(const ecdsa_unit& unit, const char* curve)
{
    const std::size_t size = (ZRC_Get_BIGINT_Bits_Length(unit->curve->p) + 7) / 8;
    bytes point{4};
    for (const ZRC_BIGINT* coordinate : {unit->Q->x, unit->Q->y})
        for (const std::uint8_t byte : padded(coordinate, size))
            point.push_back(byte);
    const evp<BIGNUM> d = to_peer(padded(unit->d, 66));
    const evp<OSSL_PARAM_BLD> builder{OSSL_PARAM_BLD_new()};
    OSSL_PARAM_BLD_push_utf8_string(builder.get(), OSSL_PKEY_PARAM_GROUP_NAME, curve, 0);
    OSSL_PARAM_BLD_push_BN(builder.get(), OSSL_PKEY_PARAM_PRIV_KEY, d.get());
    OSSL_PARAM_BLD_push_octet_string(builder.get(), OSSL_PKEY_PARAM_PUB_KEY, point.data(), point.size());
    const evp<OSSL_PARAM> parameters{OSSL_PARAM_BLD_to_param(builder.get())};
    const evp<EVP_PKEY_CTX> context{EVP_PKEY_CTX_new_from_name(nullptr, "EC", nullptr)};
    EVP_PKEY* key = nullptr;
    EXPECT_EQ(EVP_PKEY_fromdata_init(context.get()), 1);
    EXPECT_EQ(EVP_PKEY_fromdata(context.get(), &key, EVP_PKEY_KEYPAIR, parameters.get()), 1);
    return evp<EVP_PKEY>{key};
}

bigint peer_number(const evp<EVP_PKEY>& key, const char* name)
{
    BIGNUM* value = nullptr;
    EXPECT_EQ(EVP_PKEY_get_bn_param(key.get(), name, &value), 1);
    return of_peer(evp<BIGNUM>{value}.get());
}

// Each signs for the other to verify.
void compare_both_ways(const ecdsa_unit& unit, const evp<EVP_PKEY>& key)
{
    test::repeatable random{7};
    const std::size_t length = ZRC_Get_ECDSA_Length(unit.get());
    for (const auto& [id, md] : kDigests) {
        const bytes message = random.data(1 + random.upto(200));
        test::ecdsa_signature s;
        ASSERT_EQ(test::run_ecdsa(unit, 1, id, message, s), 0U);
        const evp<ECDSA_SIG> ours{ECDSA_SIG_new()};
        s.R.resize(length);
        s.S.resize(length);
        ECDSA_SIG_set0(ours.get(), to_peer(s.R).release(), to_peer(s.S).release());
        bytes der(160);
        std::uint8_t* end = der.data();
        der.resize(std::size_t(i2d_ECDSA_SIG(ours.get(), &end)));
        const evp<EVP_MD_CTX> context{EVP_MD_CTX_new()};
        ASSERT_EQ(EVP_DigestVerifyInit(context.get(), nullptr, md(), nullptr, key.get()), 1);
        EXPECT_EQ(EVP_DigestVerify(context.get(), der.data(), der.size(), message.data(), message.size()), 1);

        const evp<EVP_MD_CTX> signer{EVP_MD_CTX_new()};
        bytes theirs(160);
        std::size_t size = theirs.size();
        ASSERT_EQ(EVP_DigestSignInit(signer.get(), nullptr, md(), nullptr, key.get()), 1);
        ASSERT_EQ(EVP_DigestSign(signer.get(), theirs.data(), &size, message.data(), message.size()), 1);
        const std::uint8_t* begin = theirs.data();
        const evp<ECDSA_SIG> parsed{d2i_ECDSA_SIG(nullptr, &begin, long(size))};
        s.R = padded(of_peer(ECDSA_SIG_get0_r(parsed.get())).get(), length);
        s.S = padded(of_peer(ECDSA_SIG_get0_s(parsed.get())).get(), length);
        s.R_length = s.S_length = std::int32_t(length);
        EXPECT_EQ(test::run_ecdsa(unit, 0, id, message, s), 0U);
        s.R[length / 2] ^= 4;
        EXPECT_NE(test::run_ecdsa(unit, 0, id, message, s), 0U);
    }
}

TEST(EcdsaPeer, SignaturesBothWays)
{
    for (const auto& [index, name] : kCurves) {
        SCOPED_TRACE(name);
        const ZRC_ECC_CURVE* const curve = test::known_curves()[index].get();
        for (int i = 0; i < 8; ++i) {
            const ecdsa_unit unit{ZRC_New_ECDSA()};
            if (i % 2 == 0) {
                ASSERT_EQ(ZRC_Generate_ECDSA_Key_Pair(unit.get(), curve), 0U);
                compare_both_ways(unit, peer_key(unit, name));
                continue;
            }
            const evp<EVP_PKEY> key{EVP_EC_gen(name)};
            const bigint d = peer_number(key, OSSL_PKEY_PARAM_PRIV_KEY), x = peer_number(key, OSSL_PKEY_PARAM_EC_PUB_X),
                         y = peer_number(key, OSSL_PKEY_PARAM_EC_PUB_Y);
            ASSERT_EQ(ZRC_Set_ECDSA_Params(unit.get(), curve, d.get(), test::point(x, y).get()), 0U) << "one pair";
            compare_both_ways(unit, key);
        }
    }
}

TEST(EcdsaPeer, SharedPoints)
{
    for (const auto& [index, name] : kCurves) {
        SCOPED_TRACE(name);
        const ZRC_ECC_CURVE* const curve = test::known_curves()[index].get();
        for (int i = 0; i < 4; ++i) {
            const ecdsa_unit first{ZRC_New_ECDSA()}, second{ZRC_New_ECDSA()};
            ASSERT_EQ(ZRC_Generate_ECDSA_Key_Pair(first.get(), curve), 0U);
            ASSERT_EQ(ZRC_Generate_ECDSA_Key_Pair(second.get(), curve), 0U);
            const evp<EVP_PKEY> ours = peer_key(first, name), theirs = peer_key(second, name);
            const evp<EVP_PKEY_CTX> context{EVP_PKEY_CTX_new(ours.get(), nullptr)};
            bytes expected(66);
            std::size_t size = expected.size();
            ASSERT_EQ(EVP_PKEY_derive_init(context.get()), 1);
            ASSERT_EQ(EVP_PKEY_derive_set_peer(context.get(), theirs.get()), 1);
            ASSERT_EQ(EVP_PKEY_derive(context.get(), expected.data(), &size), 1);
            expected.resize(size);
            const ecc_point shared = test::infinity();
            ASSERT_EQ(ZRC_Mtp_ECC_POINT(curve, shared.get(), second->d, first->Q), 0U);
            EXPECT_EQ(padded(shared->x, size), expected);
        }
    }
}

} // namespace
