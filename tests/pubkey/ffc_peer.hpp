// OpenSSL's keys of the finite-field algorithms, made from units.
#pragma once

#include "tests/pubkey/dsa_fixture.hpp"

#include <memory>
#include <openssl/bn.h>
#include <openssl/core_names.h>
#include <openssl/evp.h>
#include <openssl/param_build.h>
#include <vector>

namespace test {

template <auto Free>
struct with {
    void operator()(auto* object) const { Free(object); }
};
using peer_number = std::unique_ptr<BIGNUM, with<BN_free>>;
using peer_key = std::unique_ptr<EVP_PKEY, with<EVP_PKEY_free>>;
using peer_context = std::unique_ptr<EVP_PKEY_CTX, with<EVP_PKEY_CTX_free>>;

// `algorithm` is "DSA", "DHX", or "DH" for a group without q.
inline peer_key key_of(const auto& unit, const char* algorithm)
{
    const std::pair<const char*, const ZRC_BIGINT*> parts[] = {{OSSL_PKEY_PARAM_FFC_P, unit.p},
                                                               {OSSL_PKEY_PARAM_FFC_Q, unit.q},
                                                               {OSSL_PKEY_PARAM_FFC_G, unit.g},
                                                               {OSSL_PKEY_PARAM_PUB_KEY, unit.y},
                                                               {OSSL_PKEY_PARAM_PRIV_KEY, unit.x}};
    const std::unique_ptr<OSSL_PARAM_BLD, with<OSSL_PARAM_BLD_free>> builder{OSSL_PARAM_BLD_new()};
    std::vector<peer_number> numbers; // the builder refers to them
    for (const auto& [name, value] : parts) {
        if (!value) continue;
        bytes data(4 * std::size_t(value->length) + 1);
        numbers.emplace_back(BN_bin2bn(data.data(), ZRC_BIGINT_To_Binary_Unsigned(value, data.data()), nullptr));
        EXPECT_EQ(OSSL_PARAM_BLD_push_BN(builder.get(), name, numbers.back().get()), 1);
    }
    const std::unique_ptr<OSSL_PARAM, with<OSSL_PARAM_free>> params{OSSL_PARAM_BLD_to_param(builder.get())};
    const peer_context loading{EVP_PKEY_CTX_new_from_name(nullptr, algorithm, nullptr)};
    EVP_PKEY* loaded = nullptr;
    EXPECT_EQ(EVP_PKEY_fromdata_init(loading.get()), 1);
    EXPECT_EQ(EVP_PKEY_fromdata(loading.get(), &loaded, EVP_PKEY_KEYPAIR, params.get()), 1);
    return peer_key{loaded};
}

} // namespace test
