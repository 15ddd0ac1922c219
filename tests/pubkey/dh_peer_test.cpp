// Diffie-Hellman against OpenSSL, both ways: the sets of the library, and standard groups with and without q.
#include "tests/pubkey/ffc_peer.hpp"

#include <openssl/dh.h>

namespace {

using test::bytes;

using test::peer_context;
using test::peer_key;

// As long as p; empty when the public value is refused.
bytes peer_secret(EVP_PKEY* own, EVP_PKEY* other)
{
    const peer_context deriving{EVP_PKEY_CTX_new(own, nullptr)};
    std::size_t length = 1024;
    bytes secret(length);
    if (EVP_PKEY_derive_init(deriving.get()) != 1 || EVP_PKEY_CTX_set_dh_pad(deriving.get(), 1) != 1) return {};
    if (EVP_PKEY_derive_set_peer(deriving.get(), other) != 1) return {};
    if (EVP_PKEY_derive(deriving.get(), secret.data(), &length) != 1) return {};
    secret.resize(length);
    return secret;
}

// Each library is the one side once.
void agree(const ZRC_BIGINT* p, const ZRC_BIGINT* q, const ZRC_BIGINT* g, std::int32_t x_bits)
{
    const test::dh_unit one{ZRC_New_DH()}, other{ZRC_New_DH()};
    for (const test::dh_unit* unit : {&one, &other}) {
        ASSERT_EQ(ZRC_Init_DH_Params(unit->get(), p, q, g), 0U);
        ASSERT_EQ(ZRC_Generate_DH_Key_Pair(unit->get(), x_bits), 0U);
    }
    const peer_key peer_one = test::key_of(*one, q ? "DHX" : "DH"), peer_other = test::key_of(*other, q ? "DHX" : "DH");
    EXPECT_EQ(EVP_PKEY_public_check(peer_context{EVP_PKEY_CTX_new(peer_one.get(), nullptr)}.get()), 1);
    bytes secret(ZRC_Get_DH_Length(one.get()));
    std::int32_t length = 0;
    ASSERT_EQ(ZRC_Compute_Key(one.get(), other->y, secret.data(), &length), 0U);
    EXPECT_EQ(secret, peer_secret(peer_other.get(), peer_one.get()));
    EXPECT_EQ(secret, peer_secret(peer_one.get(), peer_other.get()));
}

TEST(DhPeer, StandardGroups)
{
    for (const char* section : {"groups", "agreements"}) {
        for (const test::stanza& values : test::group_vectors("dh.txt", section)) {
            SCOPED_TRACE(values.place);
            const test::bigint p = test::number_of(values, "p"), q = test::number_of(values, "q"),
                               g = test::number_of(values, "g");
            agree(p.get(), q.get(), g.get(), 0);
            agree(p.get(), nullptr, g.get(), 256);
        }
    }
}

TEST(DhPeer, PrecomputedSets)
{
    const test::dh_unit unit{ZRC_New_DH()};
    for (std::int32_t i = 0; i < ZRC_DH_PRECOMPUTED_SETS; i += 10) {
        for (const auto& [p_bits, q_bits] : {std::pair{1024, 160}, {2048, 256}}) {
            SCOPED_TRACE(testing::Message() << p_bits << ' ' << i);
            ASSERT_EQ(ZRC_Generate_DH_Params(unit.get(), p_bits, q_bits, ZRC_DH_PRECOMPUTED_SET + i), 0U);
            ASSERT_EQ(ZRC_Generate_DH_Key_Pair(unit.get(), 0), 0U);
            const peer_key key = test::key_of(*unit, "DHX");
            EXPECT_EQ(EVP_PKEY_param_check(peer_context{EVP_PKEY_CTX_new(key.get(), nullptr)}.get()), 1);
            agree(unit->p, unit->q, unit->g, 0);
        }
    }
}

} // namespace
