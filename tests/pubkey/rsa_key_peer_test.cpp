// Generated RSA keys against OpenSSL: what it checks of a key holds, and d is the inverse that the version asks for.
#include "kestrim_crypto.h"
#include "tests/bigint/bigint_value.hpp"
#include "tests/pubkey/rsa_unit.hpp"

#include <cstdint>
#include <gtest/gtest.h>
#include <memory>
#include <openssl/bn.h>
#include <openssl/core_names.h>
#include <openssl/evp.h>
#include <openssl/param_build.h>

namespace {

using test::rsa_unit;

template <auto Free>
struct with {
    void operator()(auto* object) const { Free(object); }
};
using number = std::unique_ptr<BIGNUM, with<BN_free>>;

number peer(const ZRC_BIGINT* value)
{
    test::bytes data(4 * std::size_t(value->length) + 1);
    return number{BN_bin2bn(data.data(), ZRC_BIGINT_To_Binary_Unsigned(value, data.data()), nullptr)};
}

// The primality of p and q, n = p q, e d = 1, dP, dQ and qInv.
bool peer_accepts(const ZRC_RSA_UNIT& unit)
{
    const struct {
        const char* name;
        number value;
    } parts[] = {{OSSL_PKEY_PARAM_RSA_N, peer(unit.n)},          {OSSL_PKEY_PARAM_RSA_E, peer(unit.e)},
                 {OSSL_PKEY_PARAM_RSA_D, peer(unit.d)},          {OSSL_PKEY_PARAM_RSA_FACTOR1, peer(unit.p)},
                 {OSSL_PKEY_PARAM_RSA_FACTOR2, peer(unit.q)},    {OSSL_PKEY_PARAM_RSA_EXPONENT1, peer(unit.dP)},
                 {OSSL_PKEY_PARAM_RSA_EXPONENT2, peer(unit.dQ)}, {OSSL_PKEY_PARAM_RSA_COEFFICIENT1, peer(unit.qInv)}};
    const std::unique_ptr<OSSL_PARAM_BLD, with<OSSL_PARAM_BLD_free>> builder{OSSL_PARAM_BLD_new()};
    for (const auto& [name, value] : parts)
        if (OSSL_PARAM_BLD_push_BN(builder.get(), name, value.get()) != 1) return false;
    const std::unique_ptr<OSSL_PARAM, with<OSSL_PARAM_free>> params{OSSL_PARAM_BLD_to_param(builder.get())};

    using context = std::unique_ptr<EVP_PKEY_CTX, with<EVP_PKEY_CTX_free>>;
    const context loading{EVP_PKEY_CTX_new_from_name(nullptr, "RSA", nullptr)};
    EVP_PKEY* loaded = nullptr;
    if (EVP_PKEY_fromdata_init(loading.get()) != 1) return false;
    if (EVP_PKEY_fromdata(loading.get(), &loaded, EVP_PKEY_KEYPAIR, params.get()) != 1) return false;
    const std::unique_ptr<EVP_PKEY, with<EVP_PKEY_free>> key{loaded};
    return EVP_PKEY_check(context{EVP_PKEY_CTX_new(key.get(), nullptr)}.get()) == 1;
}

number inverse_of_e(const ZRC_RSA_UNIT& unit, int version)
{
    const std::unique_ptr<BN_CTX, with<BN_CTX_free>> context{BN_CTX_new()};
    const number p = peer(unit.p), q = peer(unit.q), modulus{BN_new()}, divisor{BN_new()};
    BN_sub_word(p.get(), 1);
    BN_sub_word(q.get(), 1);
    BN_mul(modulus.get(), p.get(), q.get(), context.get());
    BN_gcd(divisor.get(), p.get(), q.get(), context.get());
    if (version == 2) BN_div(modulus.get(), nullptr, modulus.get(), divisor.get(), context.get());
    return number{BN_mod_inverse(nullptr, peer(unit.e).get(), modulus.get(), context.get())};
}

TEST(RsaKeyPeer, GeneratedKeysAreAccepted)
{
    const test::word_list exponents[] = {{3}, {65537}, {0xFFFFFFFB}, {0xFFFFFFFF, 0x1FFFFFFF}}; // the last: 2^61 - 1
    for (const auto generate : {ZRC_Generate_RSA_Params, ZRC_Generate_RSA_Params_Ex}) {
        for (const std::int32_t bits : {546, 577, 1023, 1024, 1025}) {
            for (const int version : {1, 2}) {
                for (const test::word_list& e : exponents) {
                    SCOPED_TRACE(testing::Message() << bits << " bits, version " << version << ", e " << e.front());
                    const rsa_unit unit{ZRC_New_RSA()};
                    ASSERT_EQ(generate(unit.get(), test::of(e).get(), bits, version), 0U);
                    EXPECT_TRUE(peer_accepts(*unit));
                    EXPECT_EQ(BN_cmp(peer(unit->d).get(), inverse_of_e(*unit, version).get()), 0);
                }
            }
        }
        const rsa_unit unit{ZRC_New_RSA()};
        ASSERT_EQ(generate(unit.get(), test::of({65537}).get(), 2048, 2), 0U);
        EXPECT_TRUE(peer_accepts(*unit));
        unit->dP->data[0] ^= 1;
        EXPECT_FALSE(peer_accepts(*unit)) << "the check itself";
    }
}

} // namespace
