// What DSA, KCDSA and ECDSA have in common, through the public interface, in non-proven mode.
#include "tests/pubkey/signature_family.hpp"

#include <set>

namespace {

using namespace test;

const bytes kMessage{'m', 'e', 's', 's', 'a', 'g', 'e'};

template <class Owned>
class DsaAndItsKin : public testing::Test {
protected:
    static constexpr auto& kCalls = kFamily<Owned>;
    static constexpr bool kIsKcdsa = std::is_same_v<Owned, kcdsa_unit>;
    static constexpr bool kIsEcdsa = std::is_same_v<Owned, ecdsa_unit>;

    // One key with and without its private part.
    static std::pair<Owned, Owned> sample()
    {
        if constexpr (kIsEcdsa) {
            Owned signer{ZRC_New_ECDSA()}, verifier{ZRC_New_ECDSA()};
            EXPECT_EQ(ZRC_Generate_ECDSA_Key_Pair(signer, known_curves()[kP256]), 0U);
            EXPECT_EQ(ZRC_Set_ECDSA_Params(verifier, signer->curve, nullptr, signer->Q), 0U);
            return {std::move(signer), std::move(verifier)};
        } else {
            const stanza values = kIsKcdsa ? group_vectors("kcdsa.txt", "leading zero").back()
                                           : group_vectors("dsa.txt", "key pairs").back();
            return {group_key<Owned>(values, true), group_key<Owned>(values, false)};
        }
    }
};
using families = testing::Types<dsa_unit, kcdsa_unit, ecdsa_unit>;
TYPED_TEST_SUITE(DsaAndItsKin, families);

TYPED_TEST(DsaAndItsKin, SignWithEveryDigest)
{
    const auto& family = this->kCalls;
    const std::uint32_t refused = family.in_verify | ZRC_ERR_VERIFY_FAILURE;
    for (const std::int32_t digest :
         {ZRC_SHA1, ZRC_SHA224, ZRC_SHA256, ZRC_SHA384, ZRC_SHA512, ZRC_MD5, ZRC_HAS160, ZRC_MDC2}) {
        SCOPED_TRACE(digest);
        const auto [signer, verifier] = this->sample();
        const auto length = std::int32_t(family.length(verifier));
        signature s;
        ASSERT_EQ(run(signer, kSign, digest, kMessage, s), 0U);
        EXPECT_EQ(s.R_length, this->kIsKcdsa ? ZRC_Get_DIGEST_Length(digest) : length);
        EXPECT_TRUE(s.S_length == length || this->kIsKcdsa);
        s.S_length = length;
        EXPECT_EQ(run(verifier, kVerify, digest, kMessage, s), 0U);
        EXPECT_EQ(run(verifier, kVerify, digest, {'m'}, s), refused);
        s.S[std::size_t(length) - 1] ^= 1;
        EXPECT_EQ(run(verifier, kVerify, digest, kMessage, s), refused);
        s.S[std::size_t(length) - 1] ^= 1;
        if (this->kIsKcdsa) continue; // whose Init keeps the message, and whose pieces are another message

        ASSERT_EQ(family.update(signer, kMessage.data(), 7), 0U) << "a message that Init drops";
        ASSERT_EQ(family.init(signer, kVerify, digest), 0U);
        for (const std::uint8_t byte : kMessage)
            ASSERT_EQ(family.update(signer, &byte, 1), 0U);
        EXPECT_EQ(family.final(signer, s.R.data(), &s.R_length, s.S.data(), &s.S_length), 0U) << "fed in pieces";
    }
}

// Of a digest, as many bits count as the order has; r and s come out as 0 now and then, and are drawn again.
TYPED_TEST(DsaAndItsKin, NeverSignWithZero)
{
    const TypeParam unit = tiny_key<TypeParam>(5);
    const int order = this->kIsEcdsa ? 19 : 113;
    std::set<int> met;
    for (int i = 0; i < 1000 / kShare; ++i) {
        signature s;
        const bytes message{std::uint8_t(i)};
        ASSERT_EQ(run(unit, kSign, ZRC_SHA256, message, s), 0U);
        EXPECT_TRUE(s.S[0] > 0 && s.S[0] < order);
        EXPECT_TRUE(this->kIsKcdsa || (s.R_length == 1 && s.S_length == 1 && s.R[0] > 0 && s.R[0] < order));
        s.S_length = 1;
        ASSERT_EQ(run(unit, kVerify, ZRC_SHA256, message, s), 0U);
        met.insert(s.S[0]);
    }
    EXPECT_GT(int(met.size()), order / 3);
}

TYPED_TEST(DsaAndItsKin, RefuseROrSOutOfRange)
{
    const TypeParam unit = tiny_key<TypeParam>(5);
    signature good;
    ASSERT_EQ(run(unit, kSign, ZRC_SHA256, kMessage, good), 0U);
    const bytes zero(1), order{std::uint8_t(this->kIsEcdsa ? 19 : 113)}, above(9, 0xFF), none,
        R{good.R.begin(), good.R.begin() + good.R_length}, S{good.S.begin(), good.S.begin() + 1};
    constexpr std::uint32_t kIsZero = 0x37, kTooLarge = 0x0B, kRefused = 0x5E;
    const auto verify = [&](const bytes& r, const bytes& s) {
        signature given{r, s};
        const std::uint32_t code = run(unit, kVerify, ZRC_SHA256, kMessage, given);
        return code == 0 ? 0 : code - this->kCalls.in_verify;
    };
    EXPECT_EQ((codes{verify(R, S), verify(R, bytes(8) + S), verify(R, zero), verify(R, none), verify(R, above)}),
              (codes{0, 0, kIsZero, kIsZero, kTooLarge}));
    if (this->kIsKcdsa) { // R is a digest, and the range of S ends with q
        EXPECT_EQ((codes{verify(R + zero, S), verify({}, S), verify(zero, S), verify(R, order), verify(R, {114})}),
                  (codes{kRefused, kRefused, kRefused, kRefused, kTooLarge}));
    } else {
        EXPECT_EQ((codes{verify(bytes(8) + R, S), verify(zero, S), verify(none, S), verify(order, S), verify(above, S),
                         verify(R, order)}),
                  (codes{0, kIsZero, kIsZero, kTooLarge, kTooLarge, kTooLarge}));
    }
}

TYPED_TEST(DsaAndItsKin, RefuseMissingArguments)
{
    const auto& family = this->kCalls;
    const TypeParam fresh{family.make()}, unit = tiny_key<TypeParam>(5);
    std::uint8_t buffer[64] = {};
    std::int32_t length = 1;
    const auto update = [&](const TypeParam& on, const std::uint8_t* data, std::int32_t size) {
        const std::uint32_t code = family.update(on, data, size);
        return code == 0 ? 0 : code - family.in_update;
    };
    EXPECT_EQ(family.init(nullptr, kSign, ZRC_SHA256), family.in_init | ZRC_ERR_NULL_INPUT);
    EXPECT_EQ(family.init(fresh, kSign, 77), family.in_init | ZRC_ERR_INIT_DIGEST_FAIL);
    EXPECT_EQ(family.length(nullptr) + family.length(fresh), 0U);
    family.clean(nullptr);
    family.free(nullptr);

    EXPECT_EQ((codes{update(nullptr, buffer, 1), update(unit, buffer, 1)}), codes(2, 0x49)) << "no digest";
    EXPECT_EQ(family.sign(unit, buffer, &length, buffer, &length), family.in_sign | 0x49);
    EXPECT_EQ(family.verify(unit, buffer, 1, buffer, 1), family.in_verify | 0x49);
    ASSERT_EQ(family.init(unit, kSign, ZRC_MD5) | family.init(fresh, kSign, ZRC_MD5), 0U);
    EXPECT_EQ((codes{update(unit, nullptr, 1), update(unit, buffer, -1), update(unit, buffer, 0)}),
              this->kIsKcdsa ? codes(3, 0x49) : (codes{0x49, 0x2B, 0}));
    EXPECT_EQ(family.sign(fresh, buffer, &length, buffer, &length), family.in_sign | 0x49) << "no parameters";
    EXPECT_EQ(family.verify(fresh, buffer, 1, buffer, 1), family.in_verify | 0x49);
    EXPECT_EQ(with_each_bad(family.final, unit, buffer, &length, buffer, &length), codes(5, family.in_final | 0x49));
    EXPECT_EQ(with_each_bad(family.sign, unit, buffer, &length, buffer, &length), codes(5, family.in_sign | 0x49));
    codes verifying = with_each_bad(family.verify, unit, buffer, 16, buffer, 1);
    for (std::uint32_t& code : verifying)
        code -= family.in_verify;
    EXPECT_EQ(verifying, (this->kIsKcdsa ? codes{0x49, 0x49, 0x5E, 0x49, 0x05} : codes{0x49, 0x49, 0x05, 0x49, 0x05}));

    // Without a private key, or a public one; with a pool that has no room.
    if (!this->kIsKcdsa) {
        const TypeParam bare = this->sample().second;
        ASSERT_EQ(family.init(bare, kSign, ZRC_SHA256), 0U);
        EXPECT_EQ(family.sign(bare, buffer, &length, buffer, &length), family.in_sign | ZRC_ERR_NO_PRIVATE_VALUE);
    }
    while (ZRC_Start_BIGINT_Pool(unit->pool) == 0) {
    }
    buffer[0] = 1;
    EXPECT_EQ(family.sign(unit, buffer, &length, buffer, &length), family.in_sign | 0x1B);
    EXPECT_EQ(family.verify(unit, buffer, 16, buffer, 1), family.in_verify | (this->kIsKcdsa ? 0x59U : 0x1BU));
}

} // namespace
