// DSA with everything given that is random otherwise, and without memory.
#include "core/owned.hpp"
#include "pubkey/dsa.hpp"
#include "pubkey/dsa_generate.hpp"
#include "tests/allocator.hpp"
#include "tests/pubkey/dsa_fixture.hpp"

#include <algorithm>
#include <array>
#include <set>

#if __has_include(<valgrind/memcheck.h>)
#include <valgrind/memcheck.h>
#define KESTRIM_TEST_VALGRIND 1
#endif

namespace {

using test::bigint;
using test::bytes;
using test::dsa_unit;

using owned_digest = zrc::owned<ZRC_DIGEST_UNIT, ZRC_Free_DIGEST_Unit>;

owned_digest digest(std::int32_t id)
{
    owned_digest made{ZRC_New_DIGEST_Unit()};
    EXPECT_EQ(ZRC_Init_DIGEST(made.get(), id), 0U);
    return made;
}

TEST(DsaSteps, ParametersFromTheirSeeds)
{
    for (const char* section : {"parameters", "validation"}) {
        for (const test::stanza& values : test::group_vectors("dsa.txt", section)) {
            SCOPED_TRACE(values.place);
            const owned_digest with = digest(test::word_of(values, "digest"));
            zrc::dsa_domain domain{*with, test::word_of(values, "L"), test::word_of(values, "N"), 3};
            const bool valid = values.values.count("result") == 0 || values["result"] == bytes{0};
            const bool same = domain.set_seed(values["seed"]) == 0 && domain.find_counter() == 0 &&
                              test::equal(&domain.p(), values, "p") && test::equal(&domain.q(), values, "q") &&
                              domain.counter() == std::uint32_t(test::word_of(values, "counter"));
            EXPECT_EQ(same, valid);
        }
    }
}

// p and q of these stanzas come from no seed that is known, so the power is taken in a domain of others' making.
TEST(DsaSteps, Generators)
{
    for (const test::stanza& values : test::group_vectors("dsa.txt", "generators")) {
        SCOPED_TRACE(values.place);
        const owned_digest with = digest(test::word_of(values, "digest"));
        const bigint p = test::of_bytes(values["p"]), q = test::of_bytes(values["q"]);
        zrc::dsa_domain domain{*with, std::int32_t(ZRC_Get_BIGINT_Bits_Length(p.get())),
                               std::int32_t(ZRC_Get_BIGINT_Bits_Length(q.get())), 3};
        ASSERT_EQ(domain.set_seed(values["seed"]) & ~zrc::dsa_domain::kUnfit, 0U);
        ASSERT_EQ(ZRC_Copy_BIGINT(const_cast<ZRC_BIGINT*>(&domain.p()), p.get()), 0U);
        ASSERT_EQ(ZRC_Copy_BIGINT(const_cast<ZRC_BIGINT*>(&domain.q()), q.get()), 0U);
        ASSERT_EQ(domain.set_generator(values["index"][0]), 0U);
        EXPECT_TRUE(test::equal(&domain.g(), values, "g"));
    }
}

TEST(DsaSteps, GeneratedParametersRepeatFromTheirRecord)
{
    const dsa_unit unit{ZRC_New_DSA()};
    ASSERT_EQ(ZRC_Generate_DSA_Params(unit.get(), 2048, 224, ZRC_SHA512), 0U);
    const owned_digest with = digest(unit->seed_digest_id);
    zrc::dsa_domain domain{*with, 2048, 224, 3};
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
    for (const test::stanza& values : test::group_vectors("dsa.txt", "signatures")) {
        SCOPED_TRACE(values.place);
        const dsa_unit unit = test::dsa_key(values, true);
        bytes hash(64);
        std::int32_t length = 0;
        ASSERT_EQ(ZRC_DIGEST(test::word_of(values, "digest"), values["msg"].data(), std::int32_t(values["msg"].size()),
                             hash.data(), &length),
                  0U);
        const bigint z{ZRC_New_BIGINT()}, r{ZRC_New_BIGINT()}, s{ZRC_New_BIGINT()};
        ASSERT_TRUE(zrc::set_leftmost_bits(*z, {hash.data(), std::size_t(length)}, *unit->q));
        ASSERT_EQ(zrc::sign_dsa_with_nonce(*r, *s, *unit, *z, *test::of_bytes(values["k"])), 0U);
        EXPECT_TRUE(test::equal(r.get(), values, "r"));
        EXPECT_TRUE(test::equal(s.get(), values, "s"));
    }
}

TEST(DsaSteps, NoncesAreAllOfTheirRangeAndNothingElse)
{
    const bigint k{ZRC_New_BIGINT()}, q = test::of({113});
    std::array<int, 113> seen{};
    for (int i = 0; i < 112 * 100; ++i) {
        ASSERT_EQ(zrc::draw_nonce(*k, *q), 0U);
        ASSERT_TRUE(k->length == 1 && k->data[0] > 0 && k->data[0] < 113);
        ++seen[k->data[0]];
    }
    // Each comes 100 times in the mean, with a standard deviation of 10.
    EXPECT_GT(*std::min_element(seen.begin() + 1, seen.end()), 30);
    EXPECT_LT(*std::max_element(seen.begin(), seen.end()), 170);
    ASSERT_EQ(zrc::draw_nonce(*k, *test::of({0, 0, 1})), 0U);
    EXPECT_EQ(k->length, 3) << "as many words as q has";
    EXPECT_EQ(zrc::draw_nonce(*k, *test::of({1, 0})), ZRC_ERR_INVALID_INPUT) << "would draw for ever";
}

TEST(DsaWithoutMemory, EveryCodeAndNothingLeftBehind)
{
    std::uint8_t drawn = 0;
    ASSERT_EQ(ZRC_Rand_Bytes(&drawn, 1), 0U);
    const auto all = [](auto operation) {
        const auto codes = test::codes_with_failing_allocations(operation);
        return std::set<std::uint32_t>{codes.begin(), codes.end()};
    };
    using set = std::set<std::uint32_t>;
    const dsa_unit unit = test::tiny_dsa_key(5);
    const bigint p{ZRC_Dup_BIGINT(unit->p)}, q{ZRC_Dup_BIGINT(unit->q)}, g{ZRC_Dup_BIGINT(unit->g)},
        x{ZRC_Dup_BIGINT(unit->x)}, y{ZRC_Dup_BIGINT(unit->y)};
    test::dsa_signature s;
    EXPECT_EQ(all([&] { return ZRC_Set_DSA_Params(unit.get(), p.get(), q.get(), g.get(), nullptr, y.get()); }),
              (set{0, 0x0C01000D, 0x0C01003E, 0x0C010040}));
    EXPECT_EQ(all([&] { return ZRC_Set_DSA_Params(unit.get(), p.get(), q.get(), g.get(), x.get(), nullptr); }),
              (set{0, 0x0C01000D, 0x0C01003E, 0x0C010040}));
    EXPECT_EQ(all([&] { return ZRC_Init_DSA(unit.get(), 1, ZRC_SHA256); }), (set{0, 0x0C02003B, 0x0C020022}));
    EXPECT_EQ(all([&] { return ZRC_Generate_DSA_Key_Pair(unit.get()); }), (set{0, 0x0C08001C, 0x0C08003B, 0x0C080040}));
    const set signing = all([&] { return ZRC_Sign_DSA(unit.get(), s.R, &s.R_length, s.S, &s.S_length); });
    EXPECT_TRUE(signing.count(0) == 1 && signing.count(0x0C05001B) == 1);
    ASSERT_EQ(ZRC_Init_DSA(unit.get(), 0, ZRC_SHA256), 0U);
    const set verifying = all([&] {
        const std::uint32_t code = ZRC_Verify_DSA(unit.get(), s.R, s.R_length, s.S, s.S_length);
        return code == 0x0C06005E ? 0 : code; // the message has ended
    });
    EXPECT_TRUE(verifying.count(0) == 1 && verifying.count(0x0C060040) == 1);

    const test::release_watch watch;
    {
        const dsa_unit own = test::tiny_dsa_key(5);
        ASSERT_EQ(test::run_dsa(own.get(), 1, ZRC_SHA256, {'m'}, s), 0U);
        ASSERT_EQ(test::run_dsa(own.get(), 0, ZRC_SHA256, {'m'}, s), 0U);
        ASSERT_EQ(ZRC_Generate_DSA_Key_Pair(own.get()), 0U);
        const auto is_clean = [](const ZRC_BIGINT& bn) {
            return std::all_of(bn.data, bn.data + bn.allocated, [](std::uint32_t word) { return word == 0; });
        };
        EXPECT_TRUE(std::ranges::all_of(own->pool->head->bigint, is_clean)) << "nothing stays in the pool";
    }
    EXPECT_EQ(watch.live_blocks(), 0U);
}

#if KESTRIM_TEST_VALGRIND

// Secret are k and x; public, as soon as they are there, are r, s and y.
TEST(ConstantTimeDsa, SigningAndPublicKeys)
{
    if (!RUNNING_ON_VALGRIND) GTEST_SKIP() << "not under valgrind";
    const test::stanza values = test::group_vectors("dsa.txt", "signatures").back();
    const dsa_unit unit = test::dsa_key(values, true);
    const bigint k = test::of_bytes(values["k"]), z = test::of({1, 2, 3}), r{ZRC_New_BIGINT()}, s{ZRC_New_BIGINT()},
                 y{ZRC_New_BIGINT()};
    const auto before = VALGRIND_COUNT_ERRORS;
    for (const ZRC_BIGINT* number : {k.get(), unit->x})
        VALGRIND_MAKE_MEM_UNDEFINED(number->data, 4 * std::size_t(number->length));
    const bool made = zrc::dsa_public_key(*y, *unit, *unit->x);
    const std::uint32_t first = zrc::dsa_r(*r, *unit, *k);
    VALGRIND_MAKE_MEM_DEFINED(&r->length, sizeof r->length);
    const std::uint32_t second = zrc::dsa_s(*s, *unit, *z, *r, *k);
    EXPECT_EQ(VALGRIND_COUNT_ERRORS - before, 1U) << "whether k has an inverse is seen";
    EXPECT_TRUE(made && (first | second) == 0);
    for (ZRC_BIGINT* number : {y.get(), r.get(), s.get(), k.get(), unit->x}) {
        VALGRIND_MAKE_MEM_DEFINED(number, sizeof *number);
        VALGRIND_MAKE_MEM_DEFINED(number->data, 4 * std::size_t(number->allocated));
    }
    EXPECT_EQ(ZRC_Cmp_BIGINT(y.get(), unit->y), 0);
}

#endif

} // namespace
