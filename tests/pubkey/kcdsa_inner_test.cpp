// KCDSA with everything given that is random otherwise, and without memory.
#include "core/owned.hpp"
#include "pubkey/kcdsa_generate.hpp"
#include "tests/fresh_process.hpp"
#include "tests/pubkey/inner_fixture.hpp"
#include "tests/pubkey/signature_family.hpp"

#include <functional>

namespace {

using namespace test;
using digest_unit = owned<ZRC_DIGEST_UNIT, ZRC_Free_DIGEST_Unit>;

const bytes kMessage{'m'};

digest_unit new_digest(std::int32_t id)
{
    digest_unit digest{ZRC_New_DIGEST_Unit()};
    EXPECT_EQ(ZRC_Init_DIGEST(digest, id), 0U);
    return digest;
}

std::vector<stanza> vectors(const char* section)
{
    return group_vectors("kcdsa.txt", section);
}

std::uint32_t word_of(const stanza& values, const char* name)
{
    return std::uint32_t(number(values[name]));
}

TEST(KcdsaSteps, Ppgf)
{
    for (const stanza& v : vectors("PPGF")) {
        bytes output(v["output"].size());
        EXPECT_EQ(zrc::ppgf(output, word_of(v, "bits"), *new_digest(number(v["digest"])), v["seed"]), 0U);
        EXPECT_EQ(output, v["output"]) << v.place;
    }
}

TEST(KcdsaSteps, DomainParametersAndKeysFromTheirRecord)
{
    for (const stanza& v : vectors("domain parameters")) {
        SCOPED_TRACE(v.place);
        const kcdsa_unit unit{ZRC_New_KCDSA()};
        const digest_unit digest = new_digest(number(v["digest"]));
        zrc::kcdsa_domain domain{*digest, std::int32_t(8 * v["p"].size()), std::int32_t(8 * v["q"].size())};
        ASSERT_EQ(domain.set_seed(v["seed"]), 0U);
        EXPECT_EQ(domain.set_count(word_of(v, "count") - 1), zrc::kcdsa_domain::kUnfit);
        // The shortest search is repeated whole: no smaller count does.
        ASSERT_EQ(v["p"].size() == 128 ? domain.find_count() : domain.set_count(word_of(v, "count")), 0U);
        EXPECT_EQ(domain.set_generator(*of({1})), zrc::kcdsa_domain::kUnfit);
        EXPECT_EQ(domain.set_generator(*of_bytes(v["p"])), zrc::kcdsa_domain::kUnfit);
        ASSERT_EQ(domain.set_generator(*of_bytes(v["h"])), 0U);
        domain.give_to(*unit);
        EXPECT_EQ(unit->count, word_of(v, "count"));
        EXPECT_TRUE(equal(unit->p, v["p"]) && equal(unit->q, v["q"]) && equal(unit->g, v["g"]) &&
                    equal(unit->J, v["J"]));

        const bigint x{ZRC_New_BIGINT()}, y{ZRC_New_BIGINT()};
        ASSERT_EQ(zrc::kcdsa_private_key(*x, *digest, v["user"], v["xkey"], *unit->q), 0U);
        ASSERT_EQ(zrc::kcdsa_public_key(*y, {*unit->p, *unit->q, *unit->g}, *x), 0U);
        EXPECT_TRUE(equal(x, v["x"]) && equal(y, v["y"]));
    }
}

TEST(KcdsaSteps, GeneratedParametersRepeatFromTheirRecordAndKeysWork)
{
    for (const bool older : {false, true}) {
        const kcdsa_unit unit{ZRC_New_KCDSA()}, again{ZRC_New_KCDSA()};
        const digest_unit digest = new_digest(older ? ZRC_HAS160 : ZRC_SHA224);
        ASSERT_EQ(older ? ZRC_Generate_KCDSA_Params(unit, 520, 160)
                        : ZRC_Generate_KCDSA_Params_Ex(unit, 512, 168, ZRC_SHA224),
                  0U);
        ASSERT_EQ(unit->seed_length, older ? 20 : 21);
        zrc::kcdsa_domain domain{*digest, older ? 520 : 512, older ? 160 : 168};
        EXPECT_EQ(domain.set_seed({unit->seed, unit->seed + unit->seed_length}) | domain.find_count(), 0U);
        EXPECT_EQ(domain.count(), unit->count);
        domain.give_to(*again);
        EXPECT_EQ(ZRC_Cmp_BIGINT(unit->p, again->p), 0);
        const bigint power{ZRC_New_BIGINT()};
        ASSERT_EQ(ZRC_Mod_Exp_Mont_BIGINT(power, unit->g, unit->q, unit->p, nullptr), 0U);
        EXPECT_TRUE(equal(power, {1}) && !equal(unit->g, {1}));

        signature s;
        for (int pair = 0; pair < 2; ++pair) {
            const bigint old_x{pair ? ZRC_Dup_BIGINT(unit->x) : ZRC_New_BIGINT()};
            ASSERT_EQ(older ? ZRC_Generate_KCDSA_Key_Pair(unit, nullptr, 0)
                            : ZRC_Generate_KCDSA_Key_Pair_Ex(unit, kMessage.data(), 1, ZRC_SHA256),
                      0U);
            EXPECT_NE(ZRC_Cmp_BIGINT(unit->x, old_x), 0);
            EXPECT_EQ(ZRC_Cmp_BIGINT(unit->x, unit->q), -1);
            EXPECT_EQ(unit->z, nullptr) << "it was of the old y";
            EXPECT_TRUE(pair == 0 || run(unit, kVerify, ZRC_SHA1, kMessage, s) == 0x100C005E);
            EXPECT_EQ(run(unit, kSign, ZRC_SHA1, kMessage, s), 0U);
            s.S_length = std::int32_t(ZRC_Get_KCDSA_Length(unit)); // what is reported is made even
            EXPECT_EQ(run(unit, kVerify, ZRC_SHA1, kMessage, s), 0U);
        }
    }
}

// With the differences from the standard: R is not cut to the length of q, so that s is another one, and the power
// has no leading zero bytes.
TEST(KcdsaSteps, PublishedSignatures)
{
    for (const char* section : {"signatures", "verifications", "leading zero"}) {
        for (const stanza& v : vectors(section)) {
            SCOPED_TRACE(v.place);
            const std::int32_t id = number(v["digest"]);
            const kcdsa_unit verifier = group_key<kcdsa_unit>(v, false);
            const auto verify = [&](const bytes& R, const bytes& S) {
                signature s{R, S};
                return run(verifier, kVerify, id, v["msg"], s);
            };
            const bool strips = v.values.contains("R_stripped");
            const bool cut = v["R"].size() != std::size_t(ZRC_Get_DIGEST_Length(id));
            const std::uint32_t code = verify(v["R"], v["s"]);
            EXPECT_EQ(code == 0, is_good(v) && !cut && !strips);
            EXPECT_TRUE(code == 0x100C005E || !(cut || strips));
            const bytes &R = v[strips ? "R_stripped" : "R"], &S = v[strips ? "s_stripped" : "s"];
            EXPECT_TRUE(!strips || verify(R, S) == 0);
            if (!v.values.contains("k")) continue;

            const kcdsa_unit unit = group_key<kcdsa_unit>(v, true);
            ASSERT_EQ(ZRC_Init_KCDSA_Ex(unit, kSign, id), 0U);
            ASSERT_EQ(ZRC_Update_KCDSA(unit, v["msg"].data(), length_of(v["msg"])), 0U);
            bytes hash(std::size_t(unit->digest->digest_length)), r(hash.size());
            ASSERT_EQ(ZRC_Final_DIGEST(unit->digest, hash.data(), nullptr), 0U);
            const bigint s{ZRC_New_BIGINT()};
            ASSERT_EQ(zrc::sign_kcdsa_with_nonce(*s, r.data(), *unit, hash, *of_bytes(v["k"])), 0U);
            EXPECT_TRUE(std::equal(R.rbegin(), R.rend(), r.rbegin()));
            EXPECT_EQ(equal(s, S), !cut);
        }
    }
}

// The draw itself is that of DSA.
TEST(KcdsaSteps, NoncesNeedAnOrder)
{
    const bigint k{ZRC_New_BIGINT()}, q = of({113});
    EXPECT_EQ(zrc::draw_kcdsa_nonce(k, q), 0U);
    EXPECT_EQ(zrc::draw_kcdsa_nonce(k, of({1})), 0x1003002BU);
    EXPECT_EQ(zrc::draw_kcdsa_nonce(k, nullptr), 0x10030049U);
    EXPECT_EQ(zrc::draw_kcdsa_nonce(nullptr, q), 0x10030049U);
}

class KcdsaWithoutMemory : public without_memory {
protected:
    using operation = std::function<std::uint32_t(ZRC_KCDSA_UNIT*)>;

    static kcdsa_unit key()
    {
        return group_key<kcdsa_unit>(of({201326809}), of({8388617}), of({16777216}), of({77777}), nullptr);
    }

    // What the operation answers until it works, each code once, in the order of the first time. Each time it gets a
    // unit of its own, prepared by `prepare`; its frames are closed again.
    codes run(const operation& prepare, const operation& tested)
    {
        codes answers;
        const auto once = [&] {
            const kcdsa_unit unit = with_memory([&] {
                kcdsa_unit made = key();
                prepare(made);
                return made;
            });
            const std::uint32_t code = tested(unit);
            allocations_until_failure = -1;
            EXPECT_TRUE(!unit->pool || (unit->pool->depth == -1 && unit->pool->used == 0));
            EXPECT_TRUE(code >> 16 != 0x1004 || code == 0 || ZRC_Cmp_BIGINT(unit->y, key()->y) == 0) << "as it was";
            return code;
        };
        for (const std::uint32_t answer : codes_with_failing_allocations(once))
            if (std::ranges::find(answers, answer) == answers.end()) answers.push_back(answer);
        return answers;
    }

    signature s_;
    operation nothing = [](auto*) { return 0; };
    operation initialise = [](auto* unit) { return ZRC_Init_KCDSA_Ex(unit, kSign, ZRC_SHA256); };
    operation update = [](auto* unit) { return ZRC_Update_KCDSA(unit, kMessage.data(), 1); };
    operation feed = [this](auto* unit) { return initialise(unit) | update(unit); };
    operation sign = [this](auto* unit) {
        return ZRC_Sign_KCDSA(unit, s_.R.data(), &s_.R_length, s_.S.data(), &s_.S_length);
    };
    operation verify = [this](auto* unit) { return ZRC_Verify_KCDSA(unit, s_.R.data(), 32, s_.S.data(), 3); };
    operation generate = [](auto* unit) { return ZRC_Generate_KCDSA_Key_Pair_Ex(unit, nullptr, 0, ZRC_SHA256); };
    operation generate_older = [](auto* unit) { return ZRC_Generate_KCDSA_Key_Pair(unit, nullptr, 0); };
    operation search = [](auto* unit) { return ZRC_Generate_KCDSA_Params_Ex(unit, 512, 160, ZRC_SHA256); };
};

TEST_F(KcdsaWithoutMemory, EveryOperationAnswersItsCode)
{
    const kcdsa_unit k = key();
    const auto load = [&](auto* unit) { return ZRC_Set_KCDSA_Params(unit, k->p, k->q, k->g, k->x, nullptr); };
    const auto take_source_and_pool = [](auto* unit) {
        ZRC_Free(std::exchange(unit->random_input, nullptr));
        ZRC_Free_BIGINT_Pool(std::exchange(unit->pool, nullptr));
        return 0;
    };
    EXPECT_EQ(run(nothing, [](auto*) { return kcdsa_unit{ZRC_New_KCDSA()} ? 0 : 1; }), (codes{1, 0}));
    EXPECT_EQ(run(nothing, load), (codes{0x1006000D, 0x10060059, 0x040A003A, 0}));
    EXPECT_EQ(run(nothing, initialise), (codes{0x1007003B, 0x10070022, 0}));
    EXPECT_EQ(run(take_source_and_pool, [](auto* unit) { return ZRC_Init_KCDSA(unit, kSign); }),
              (codes{0x1008003B, 0x10080022, 0x14010014, 0}));
    EXPECT_EQ(run(initialise, update), (codes{0x1009003A, 0x10090059, 0}));
    EXPECT_EQ(run(feed, sign),
              (codes{0x100B001B, 0x100B001D, 0x100B0040, 0x100B0022, 0x100B0005, 0x100B0058, 0x100B0042, 0}));
    EXPECT_EQ(run(feed, verify), (codes{0x100C001B, 0x100C0005, 0x100C0040, 0x100C0022, 0}));
    EXPECT_EQ(run(nothing, generate), (codes{0x10040022, 0x1004003B, 0x1004003E, 0x10040041, 0x10040040, 0}));
    // The legacy generator does without statistics that it has no memory to read: it works after the first ones.
    EXPECT_EQ(run(nothing, generate_older), (codes{0x1005003B, 0x10050025, 0}));

    // A search has thousands of allocations: those at its start, and the ones around given primes.
    for (int i = 0; i < 8; ++i) {
        allocations_until_failure = i;
        EXPECT_EQ(search(k), i < 2 ? 0x10010022U : 0x1001003BU) << i;
        allocations_until_failure = -1;
        EXPECT_EQ(ZRC_Cmp_BIGINT(k->y, key()->y), 0) << "as it was";
    }
    const stanza v = vectors("domain parameters").back();
    const bigint h = of_bytes(v["h"]);
    const std::uint32_t count = word_of(v, "count");
    const std::vector<std::uint32_t> steps = distinct_codes([&]() -> std::uint32_t {
        const int planned = std::exchange(allocations_until_failure, -1);
        const digest_unit digest = new_digest(number(v["digest"]));
        zrc::kcdsa_domain domain{*digest, 2048, 256};
        allocations_until_failure = planned;
        if (const std::uint32_t outcome = domain.set_seed(v["seed"]); outcome != 0) return outcome;
        if (const std::uint32_t outcome = domain.set_count(count); outcome != 0) return outcome;
        return domain.set_generator(*h);
    });
    EXPECT_EQ(steps, (codes{0x3B, 0x36, 0x3B, 0x36, 0x44, 0x36, 0x40, 0}));
}

TEST_F(KcdsaWithoutMemory, NothingIsLeftBehind)
{
    const kcdsa_unit k = key();
    const release_watch watch;
    {
        const kcdsa_unit unit{ZRC_New_KCDSA()};
        for (int i = 0; i < 2; ++i) {
            ASSERT_EQ(ZRC_Set_KCDSA_Params(unit, k->p, k->q, k->g, k->x, nullptr), 0U);
            EXPECT_EQ(feed(unit) | sign(unit) | feed(unit) | verify(unit), 0U);
            EXPECT_EQ(generate(unit) | generate_older(unit), 0U);
            ZRC_Free_Ex(std::exchange(unit->random_input, nullptr), sizeof(ZRC_DRBG_INPUT));
            ASSERT_EQ(ZRC_Init_KCDSA(unit, kSign), 0U);
        }
    }
    EXPECT_EQ(watch.live_blocks(), 0U);
    // Of the pool: one block when the second key is loaded, one and the pool itself in the end.
    constexpr int kStructures = 3;
    EXPECT_EQ(dirty_releases, kStructures);

    const release_watch searching;
    {
        const kcdsa_unit unit = key();
        EXPECT_EQ(search(unit), 0U);
        EXPECT_TRUE(!unit->x && !unit->y) << "they were of other parameters";
    }
    EXPECT_EQ(searching.live_blocks(), 0U);

    // A pool keeps its arrays while the unit lives; nothing of a signature is in them.
    EXPECT_EQ(initialise(k) | sign(k), 0U);
    expect_clean(*k->pool);
}

struct KcdsaWithoutGenerator : KcdsaWithoutMemory {
    void SetUp() override {}
};

// In test mode nothing has drawn before. The numbers are of the allocations that come first.
TEST_F(KcdsaWithoutGenerator, EveryDrawAnswersItsCode)
{
    const operation draw = [](auto* unit) { return zrc::draw_kcdsa_nonce(unit->y, unit->q); };
    const struct {
        const operation& draws;
        int allocations;
        std::uint32_t code;
    } cases[] = {{draw, 0, 0x1003001D}, {sign, 1, 0x100B001D}, {search, 7, 0x1001001D}, {generate, 4, 0x1004001D}};
    for (const auto& one : cases) {
        in_a_fresh_process([&] {
            ZRC_Change_Test_Mode();
            const kcdsa_unit unit = key();
            ASSERT_EQ(initialise(unit), 0U);
            allocations_until_failure = one.allocations;
            EXPECT_EQ(one.draws(unit), one.code);
            allocations_until_failure = -1;
        });
    }
}

// Secret are k, x and XKEY; public is how many words x has.
using ConstantTimeKcdsa = constant_time;
TEST_F(ConstantTimeKcdsa, SigningAndPrivateKeys)
{
    const stanza v = vectors("domain parameters").back();
    const kcdsa_unit unit = group_key<kcdsa_unit>(v, true);
    const bigint k = of(word_list(8, 0x12345678)), e = of(word_list(8, 0x9ABCDEF0)), w{ZRC_New_BIGINT()},
                 s{ZRC_New_BIGINT()}, x{ZRC_New_BIGINT()}, y{ZRC_New_BIGINT()};
    const digest_unit digest = new_digest(ZRC_SHA256);
    const bytes xkey = v["xkey"];
    std::uint32_t code = 0;
    hide(k);
    hide(unit->x);
    hide(xkey.data(), xkey.size());
    const auto errors = errors_of([&] {
        code = zrc::kcdsa_power(*w, *unit, *k) | zrc::kcdsa_response(*s, *unit, *k, *e) |
               zrc::kcdsa_private_key(*x, *digest, v["user"], xkey, *unit->q);
        reveal(&x->length, sizeof x->length);
        code |= zrc::kcdsa_public_key(*y, {*unit->p, *unit->q, *unit->g}, *x);
    });
    EXPECT_EQ(errors, 1U) << "whether x has an inverse is seen";
    EXPECT_EQ(code, 0U);
}

} // namespace
