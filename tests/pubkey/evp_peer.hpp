// What the comparisons with OpenSSL share.
#pragma once

#include "tests/pubkey/pubkey_fixture.hpp"

#include <memory>
#include <openssl/bn.h>
#include <openssl/core_names.h>
#include <openssl/evp.h>
#include <openssl/param_build.h>

namespace test {

struct peer_releaser {
    void operator()(BIGNUM* value) const { BN_free(value); }
    void operator()(EVP_PKEY* key) const { EVP_PKEY_free(key); }
    void operator()(EVP_PKEY_CTX* context) const { EVP_PKEY_CTX_free(context); }
    void operator()(EVP_MD_CTX* context) const { EVP_MD_CTX_free(context); }
    void operator()(OSSL_PARAM_BLD* builder) const { OSSL_PARAM_BLD_free(builder); }
    void operator()(OSSL_PARAM* parameters) const { OSSL_PARAM_free(parameters); }
};
using peer_number = handle<BIGNUM, peer_releaser>;
using peer_key = handle<EVP_PKEY, peer_releaser>;
using peer_context = handle<EVP_PKEY_CTX, peer_releaser>;
using peer_digest_context = handle<EVP_MD_CTX, peer_releaser>;

struct peer_digest {
    std::int32_t id;
    const EVP_MD* (*md)();
};
inline constexpr peer_digest kPeerDigests[] = {
    {ZRC_SHA1, EVP_sha1}, {ZRC_SHA224, EVP_sha224}, {ZRC_SHA256, EVP_sha256}, {ZRC_SHA512, EVP_sha512}};

inline peer_number to_peer(const bytes& data)
{
    return peer_number{BN_bin2bn(data.data(), int(data.size()), nullptr)};
}

// A number in `size` bytes, zeros in front.
inline bytes padded(const ZRC_BIGINT* value, std::size_t size)
{
    bytes data(size);
    ZRC_BIGINT_To_Binary_Unsigned(value, data.data() + size - (ZRC_Get_BIGINT_Bits_Length(value) + 7) / 8);
    return data;
}

// Makes a key of the peer of its numbers and their names; null is left out.
class peer_key_builder {
public:
    void add(const char* name, const ZRC_BIGINT* value)
    {
        if (!value) return;
        numbers_.push_back(to_peer(padded(value, 4 * std::size_t(value->length)))); // the builder refers to them
        EXPECT_EQ(OSSL_PARAM_BLD_push_BN(builder_, name, numbers_.back()), 1);
    }
    OSSL_PARAM_BLD* builder() { return builder_; }

    peer_key make(const char* algorithm)
    {
        const handle<OSSL_PARAM, peer_releaser> parameters{OSSL_PARAM_BLD_to_param(builder_)};
        const peer_context context{EVP_PKEY_CTX_new_from_name(nullptr, algorithm, nullptr)};
        EVP_PKEY* key = nullptr;
        EXPECT_EQ(EVP_PKEY_fromdata_init(context), 1);
        EXPECT_EQ(EVP_PKEY_fromdata(context, &key, EVP_PKEY_KEYPAIR, parameters), 1);
        return peer_key{key};
    }

private:
    handle<OSSL_PARAM_BLD, peer_releaser> builder_{OSSL_PARAM_BLD_new()};
    std::vector<peer_number> numbers_;
};

// `algorithm` is "DSA", "DHX", or "DH" for a group without q.
inline peer_key peer_key_of(const auto& unit, const char* algorithm)
{
    peer_key_builder key;
    key.add(OSSL_PKEY_PARAM_FFC_P, unit.p);
    key.add(OSSL_PKEY_PARAM_FFC_Q, unit.q);
    key.add(OSSL_PKEY_PARAM_FFC_G, unit.g);
    key.add(OSSL_PKEY_PARAM_PUB_KEY, unit.y);
    key.add(OSSL_PKEY_PARAM_PRIV_KEY, unit.x);
    return key.make(algorithm);
}

inline bool peer_accepts(int (*check)(EVP_PKEY_CTX*), EVP_PKEY* key)
{
    return check(peer_context{EVP_PKEY_CTX_new(key, nullptr)}) == 1;
}

inline bool peer_verifies(EVP_PKEY* key, const EVP_MD* digest, const bytes& message, const bytes& signature)
{
    const peer_digest_context context{EVP_MD_CTX_new()};
    EXPECT_EQ(EVP_DigestVerifyInit(context, nullptr, digest, nullptr, key), 1);
    return EVP_DigestVerify(context, signature.data(), signature.size(), message.data(), message.size()) == 1;
}

inline bytes peer_signs(EVP_PKEY* key, const EVP_MD* digest, const bytes& message)
{
    const peer_digest_context context{EVP_MD_CTX_new()};
    bytes signature(160);
    std::size_t length = signature.size();
    EXPECT_EQ(EVP_DigestSignInit(context, nullptr, digest, nullptr, key), 1);
    EXPECT_EQ(EVP_DigestSign(context, signature.data(), &length, message.data(), message.size()), 1);
    signature.resize(length);
    return signature;
}

// As long as p, or as a coordinate; empty when the public value is refused.
inline bytes peer_secret(EVP_PKEY* own, EVP_PKEY* other)
{
    const peer_context context{EVP_PKEY_CTX_new(own, nullptr)};
    std::size_t length = 1024;
    bytes secret(length);
    unsigned pad = 1; // curves, which do not know it, always do
    const OSSL_PARAM options[] = {OSSL_PARAM_uint(OSSL_EXCHANGE_PARAM_PAD, &pad), OSSL_PARAM_END};
    if (EVP_PKEY_derive_init_ex(context, options) != 1) return {};
    if (EVP_PKEY_derive_set_peer(context, other) != 1) return {};
    if (EVP_PKEY_derive(context, secret.data(), &length) != 1) return {};
    secret.resize(length);
    return secret;
}

} // namespace test
