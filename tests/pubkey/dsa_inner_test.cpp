// DSA with everything given that is random otherwise, and without memory.
#include "core/owned.hpp"
#include "pubkey/dsa.hpp"
#include "pubkey/dsa_generate.hpp"
#include "tests/pubkey/inner_fixture.hpp"
#include "tests/pubkey/signature_family.hpp"

namespace {

using namespace test;
using digest_unit = owned<ZRC_DIGEST_UNIT, ZRC_Free_DIGEST_Unit>;

digest_unit new_digest(std::int32_t id)
{
    digest_unit digest{ZRC_New_DIGEST_Unit()};
    EXPECT_EQ(ZRC_Init_DIGEST(digest, id), 0U);
    return digest;
}

TEST(DsaSteps, ParametersFromTheirSeeds)
{
    for (const char* section : {"parameters", "validation"}) {
        for (const stanza& values : group_vectors("dsa.txt", section)) {
            const digest_unit digest = new_digest(number(values["digest"]));
            zrc::dsa_domain domain{*digest, number(values["L"]), number(values["N"]), 3};
            const bool same = domain.set_seed(values["seed"]) == 0 && domain.find_counter() == 0 &&
                              equal(&domain.p(), values["p"]) && equal(&domain.q(), values["q"]) &&
                              std::int32_t(domain.counter()) == number(values["counter"]);
            EXPECT_EQ(same, is_good(values)) << values.place;
        }
    }
}

// p and q of these stanzas come from no seed that is known, so the power is taken in a domain of others' making.
TEST(DsaSteps, Generators)
{
    for (const stanza& values : group_vectors("dsa.txt", "generators")) {
        SCOPED_TRACE(values.place);
        const digest_unit digest = new_digest(number(values["digest"]));
        zrc::dsa_domain domain{*digest, std::int32_t(8 * values["p"].size()), std::int32_t(8 * values["q"].size()), 3};
        ASSERT_EQ(domain.set_seed(values["seed"]) & ~zrc::dsa_domain::kUnfit, 0U);
        ASSERT_EQ(ZRC_Copy_BIGINT(const_cast<ZRC_BIGINT*>(&domain.p()), of_bytes(values["p"])), 0U);
        ASSERT_EQ(ZRC_Copy_BIGINT(const_cast<ZRC_BIGINT*>(&domain.q()), of_bytes(values["q"])), 0U);
        ASSERT_EQ(domain.set_generator(values["index"][0]), 0U);
        EXPECT_TRUE(equal(&domain.g(), values["g"]));
    }
}

TEST(DsaSteps, GeneratedParametersRepeatFromTheirRecord)
{
    const dsa_unit unit{ZRC_New_DSA()};
    ASSERT_EQ(ZRC_Generate_DSA_Params(unit, 2048, 224, ZRC_SHA512), 0U);
    const digest_unit digest = new_digest(unit->seed_digest_id);
    zrc::dsa_domain domain{*digest, 2048, 224, 3};
    ASSERT_EQ(domain.set_seed({unit->seed, std::size_t(unit->seed_length)}), 0U);
    ASSERT_EQ(domain.find_counter(), 0U);
    ASSERT_EQ(domain.set_generator(zrc::kGeneratorIndex), 0U);
    EXPECT_EQ(std::int32_t(domain.counter()), unit->counter);
    EXPECT_EQ(ZRC_Cmp_BIGINT(&domain.p(), unit->p), 0);
    EXPECT_EQ(ZRC_Cmp_BIGINT(&domain.q(), unit->q), 0);
    EXPECT_EQ(ZRC_Cmp_BIGINT(&domain.g(), unit->g), 0);
}

TEST(DsaSteps, SignaturesWithTheirNonce)
{
    for (const stanza& values : group_vectors("dsa.txt", "signatures")) {
        SCOPED_TRACE(values.place);
        const dsa_unit unit = group_key<dsa_unit>(values, true);
        const bigint z{ZRC_New_BIGINT()}, r{ZRC_New_BIGINT()}, s{ZRC_New_BIGINT()};
        ASSERT_TRUE(zrc::set_leftmost_bits(*z, digest_of(number(values["digest"]), values["msg"]), *unit->q));
        ASSERT_EQ(zrc::sign_dsa_with_nonce(*r, *s, *unit, *z, *of_bytes(values["k"])), 0U);
        EXPECT_TRUE(equal(r, values["r"]) && equal(s, values["s"]));
    }
}

// Of DSA, KCDSA and ECDSA.
TEST(DsaSteps, NoncesAreAllOfTheirRangeAndNothingElse)
{
    const bigint k{ZRC_New_BIGINT()}, q = of({113});
    std::array<int, 113> seen{};
    for (int i = 0; i < 112 * 100; ++i) {
        ASSERT_EQ(zrc::draw_nonce(*k, *q), 0U);
        ASSERT_TRUE(k->length == 1 && k->data[0] > 0 && k->data[0] < 113);
        ++seen[k->data[0]];
    }
    // Each comes 100 times in the mean, with a standard deviation of 10.
    EXPECT_GT(*std::min_element(seen.begin() + 1, seen.end()), 30);
    EXPECT_LT(*std::max_element(seen.begin(), seen.end()), 170);
    ASSERT_EQ(zrc::draw_nonce(*k, *of({0, 0, 1})), 0U);
    EXPECT_EQ(k->length, 3) << "as many words as q has";
    EXPECT_EQ(zrc::draw_nonce(*k, *of({1, 0})), ZRC_ERR_INVALID_INPUT) << "would draw for ever";
}

using DsaWithoutMemory = without_memory;
TEST_F(DsaWithoutMemory, EveryCodeAndNothingLeftBehind)
{
    const dsa_unit unit = tiny_key<dsa_unit>(5);
    const bigint p{ZRC_Dup_BIGINT(unit->p)}, q{ZRC_Dup_BIGINT(unit->q)}, g{ZRC_Dup_BIGINT(unit->g)},
        x{ZRC_Dup_BIGINT(unit->x)}, y{ZRC_Dup_BIGINT(unit->y)};
    signature s;
    EXPECT_EQ(all([&] { return ZRC_Set_DSA_Params(unit, p, q, g, nullptr, y); }),
              (code_set{0, 0x0C01000D, 0x0C01003E, 0x0C010040}));
    EXPECT_EQ(all([&] { return ZRC_Set_DSA_Params(unit, p, q, g, x, nullptr); }),
              (code_set{0, 0x0C01000D, 0x0C01003E, 0x0C010040}));
    EXPECT_EQ(all([&] { return ZRC_Init_DSA(unit, kSign, ZRC_SHA256); }), (code_set{0, 0x0C02003B, 0x0C020022}));
    EXPECT_EQ(all([&] { return ZRC_Generate_DSA_Key_Pair(unit); }), (code_set{0, 0x0C08001C, 0x0C08003B, 0x0C080040}));
    const code_set signing = all([&] { return ZRC_Sign_DSA(unit, s.R.data(), &s.R_length, s.S.data(), &s.S_length); });
    EXPECT_TRUE(signing.contains(0) && signing.contains(0x0C05001B));
    const code_set verifying = all([&] {
        const std::uint32_t code = ZRC_Verify_DSA(unit, s.R.data(), s.R_length, s.S.data(), s.S_length);
        return code == 0x0C06005E ? 0 : code; // the message has ended
    });
    EXPECT_TRUE(verifying.contains(0) && verifying.contains(0x0C060040));

    const release_watch watch;
    {
        const dsa_unit own = tiny_key<dsa_unit>(5);
        ASSERT_EQ(run(own, kSign, ZRC_SHA256, {'m'}, s), 0U);
        ASSERT_EQ(run(own, kVerify, ZRC_SHA256, {'m'}, s), 0U);
        ASSERT_EQ(ZRC_Generate_DSA_Key_Pair(own), 0U);
        expect_clean(*own->pool);
    }
    EXPECT_EQ(watch.live_blocks(), 0U);
}

// Secret are k and x; public, as soon as they are there, are r, s and y.
using ConstantTimeDsa = constant_time;
TEST_F(ConstantTimeDsa, SigningAndPublicKeys)
{
    const stanza values = group_vectors("dsa.txt", "signatures").back();
    const dsa_unit unit = group_key<dsa_unit>(values, true);
    const bigint k = of_bytes(values["k"]), z = of({1, 2, 3}), r{ZRC_New_BIGINT()}, s{ZRC_New_BIGINT()},
                 y{ZRC_New_BIGINT()};
    bool made = false;
    std::uint32_t first = 1, second = 1;
    hide(k);
    hide(unit->x);
    const auto errors = errors_of([&] {
        made = zrc::dsa_public_key(*y, *unit, *unit->x);
        first = zrc::dsa_r(*r, *unit, *k);
        reveal(&r->length, sizeof r->length);
        second = zrc::dsa_s(*s, *unit, *z, *r, *k);
    });
    EXPECT_EQ(errors, 1U) << "whether k has an inverse is seen";
    EXPECT_TRUE(made && (first | second) == 0);
    for (const ZRC_BIGINT* number : {y.get(), r.get(), s.get(), k.get(), unit->x})
        reveal(number);
    EXPECT_EQ(ZRC_Cmp_BIGINT(y, unit->y), 0);
}

} // namespace
