// Diffie-Hellman against OpenSSL, both ways: the sets of the library, and standard groups with and without q.
#include "tests/pubkey/evp_peer.hpp"

namespace {

using namespace test;
using dh_unit = owned<ZRC_DH_UNIT, ZRC_Free_DH>;

// Each library is the one side once.
void agree(const ZRC_BIGINT* p, const ZRC_BIGINT* q, const ZRC_BIGINT* g, std::int32_t x_bits)
{
    const dh_unit one{ZRC_New_DH()}, other{ZRC_New_DH()};
    for (const dh_unit* unit : {&one, &other}) {
        ASSERT_EQ(ZRC_Init_DH_Params(*unit, p, q, g), 0U);
        ASSERT_EQ(ZRC_Generate_DH_Key_Pair(*unit, x_bits), 0U);
    }
    const char* const algorithm = q ? "DHX" : "DH";
    const peer_key peer_one = peer_key_of(*one, algorithm), peer_other = peer_key_of(*other, algorithm);
    EXPECT_TRUE(peer_accepts(EVP_PKEY_public_check, peer_one));
    bytes secret(ZRC_Get_DH_Length(one));
    std::int32_t length = 0;
    ASSERT_EQ(ZRC_Compute_Key(one, other->y, secret.data(), &length), 0U);
    EXPECT_EQ(secret, peer_secret(peer_other, peer_one));
    EXPECT_EQ(secret, peer_secret(peer_one, peer_other));
}

TEST(DhPeer, StandardGroups)
{
    for (const char* section : {"groups", "agreements"}) {
        for (const stanza& values : group_vectors("dh.txt", section)) {
            SCOPED_TRACE(values.place);
            const bigint p = of_bytes(values["p"]), g = of_bytes(values["g"]),
                         q = values["q"].empty() ? nullptr : of_bytes(values["q"]);
            agree(p, q, g, 0);
            agree(p, nullptr, g, 256);
        }
    }
}

TEST(DhPeer, PrecomputedSets)
{
    const dh_unit unit{ZRC_New_DH()};
    for (std::int32_t i = 0; i < ZRC_DH_PRECOMPUTED_SETS; i += 10) {
        for (const auto& [p_bits, q_bits] : {std::pair{1024, 160}, {2048, 256}}) {
            SCOPED_TRACE(testing::Message() << p_bits << ' ' << i);
            ASSERT_EQ(ZRC_Generate_DH_Params(unit, p_bits, q_bits, ZRC_DH_PRECOMPUTED_SET + i), 0U);
            ASSERT_EQ(ZRC_Generate_DH_Key_Pair(unit, 0), 0U);
            EXPECT_TRUE(peer_accepts(EVP_PKEY_param_check, peer_key_of(*unit, "DHX")));
            agree(unit->p, unit->q, unit->g, 0);
        }
    }
}

} // namespace
