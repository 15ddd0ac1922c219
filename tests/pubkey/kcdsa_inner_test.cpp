// KCDSA with everything given that is random otherwise, and without memory.
#include "bigint/operand.hpp"
#include "core/owned.hpp"
#include "kestrim_crypto.h"
#include "pubkey/kcdsa_generate.hpp"
#include "tests/allocator.hpp"
#include "tests/fresh_process.hpp"
#include "tests/pubkey/kcdsa_fixture.hpp"

#include <algorithm>
#include <array>
#include <cstdint>
#include <functional>
#include <gtest/gtest.h>
#include <utility>
#include <vector>

#if __has_include(<valgrind/memcheck.h>)
#include <valgrind/memcheck.h>
#define KESTRIM_TEST_VALGRIND 1
#endif

namespace {

using test::bigint;
using test::bytes;
using test::kcdsa_unit;
using test::signature;
using codes = std::vector<std::uint32_t>;

constexpr std::uint32_t kVerify = 0, kSign = 1;
const bytes kMessage{'m'};

class KcdsaSteps : public testing::Test {
protected:
    ZRC_DIGEST_UNIT& digest(std::int32_t id)
    {
        EXPECT_EQ(ZRC_Init_DIGEST(digest_.get(), id), 0U);
        return *digest_;
    }

    // The domain parameters that a record gives; null when it gives none.
    kcdsa_unit derived(std::int32_t digest_id, std::int32_t p_bits, const bytes& seed, std::uint32_t count, bool search)
    {
        zrc::kcdsa_domain domain{digest(digest_id), p_bits, std::int32_t(8 * seed.size())};
        kcdsa_unit unit{ZRC_New_KCDSA()};
        if (domain.set_seed(seed) != 0) return nullptr;
        if ((search ? domain.find_count() : domain.set_count(count)) != 0) return nullptr;
        EXPECT_EQ(domain.count(), count);
        domain.give_to(*unit);
        return unit;
    }

    static std::int32_t bits(const ZRC_BIGINT* number) { return std::int32_t(ZRC_Get_BIGINT_Bits_Length(number)); }

private:
    zrc::owned<ZRC_DIGEST_UNIT, ZRC_Free_DIGEST_Unit> digest_{ZRC_New_DIGEST_Unit()};
};

TEST_F(KcdsaSteps, Ppgf)
{
    for (const test::stanza& values : test::kcdsa_vectors("PPGF")) {
        bytes output(values["output"].size());
        const std::size_t bits = values["bits"][0] * 256U + values["bits"][1];
        EXPECT_EQ(zrc::ppgf(output, bits, digest(test::digest_of(values)), values["seed"]), 0U);
        EXPECT_EQ(output, values["output"]) << values.place;
    }
}

TEST_F(KcdsaSteps, DomainParametersFromTheirRecord)
{
    for (const test::stanza& values : test::kcdsa_vectors("domain parameters")) {
        SCOPED_TRACE(values.place);
        const bigint p = test::of_bytes(values["p"]);
        const std::uint32_t count = ZRC_Get_BIGINT_Word(test::of_bytes(values["count"]).get());
        const auto derive = [&](std::uint32_t at, bool search) {
            return derived(test::digest_of(values), bits(p.get()), values["seed"], at, search);
        };
        // The shortest search is repeated whole: no smaller count does.
        const kcdsa_unit unit = derive(count, bits(p.get()) == 1024);
        ASSERT_NE(unit, nullptr);
        EXPECT_EQ(ZRC_Cmp_BIGINT(unit->p, p.get()), 0);
        EXPECT_EQ(ZRC_Cmp_BIGINT(unit->q, test::of_bytes(values["q"]).get()), 0);
        EXPECT_EQ(ZRC_Cmp_BIGINT(unit->J, test::of_bytes(values["J"]).get()), 0);
        EXPECT_EQ(derive(count - 1, false), nullptr);
    }
}

TEST_F(KcdsaSteps, GeneratorsAndKeys)
{
    for (const test::stanza& values : test::kcdsa_vectors("domain parameters")) {
        SCOPED_TRACE(values.place);
        const kcdsa_unit key = test::kcdsa_key(values, false, true);
        zrc::kcdsa_domain domain{digest(test::digest_of(values)), bits(key->p), bits(key->q)};
        ASSERT_EQ(domain.set_seed(values["seed"]), 0U);
        ASSERT_EQ(domain.set_count(ZRC_Get_BIGINT_Word(test::of_bytes(values["count"]).get())), 0U);
        EXPECT_EQ(domain.set_generator(*test::of({1})), zrc::kcdsa_domain::kUnfit);
        EXPECT_EQ(domain.set_generator(*key->p), zrc::kcdsa_domain::kUnfit);
        ASSERT_EQ(domain.set_generator(*test::of_bytes(values["h"])), 0U);
        const kcdsa_unit unit{ZRC_New_KCDSA()};
        domain.give_to(*unit);
        EXPECT_EQ(ZRC_Cmp_BIGINT(unit->g, key->g), 0);

        const bigint x{ZRC_New_BIGINT()}, y{ZRC_New_BIGINT()};
        ASSERT_EQ(zrc::kcdsa_private_key(*x, digest(test::digest_of(values)), values["user"], values["xkey"], *key->q),
                  0U);
        EXPECT_EQ(ZRC_Cmp_BIGINT(x.get(), test::of_bytes(values["x"]).get()), 0);
        ASSERT_EQ(zrc::kcdsa_public_key(*y, {*key->p, *key->q, *key->g}, *x), 0U);
        EXPECT_EQ(ZRC_Cmp_BIGINT(y.get(), key->y), 0);
    }
}

TEST_F(KcdsaSteps, GeneratedParametersRepeatFromTheirRecord)
{
    for (const bool older : {false, true}) {
        const kcdsa_unit unit{ZRC_New_KCDSA()};
        ASSERT_EQ(older ? ZRC_Generate_KCDSA_Params(unit.get(), 640, 160)
                        : ZRC_Generate_KCDSA_Params_Ex(unit.get(), 640, 256, ZRC_SHA224),
                  0U);
        const bytes seed{unit->seed, unit->seed + unit->seed_length};
        const kcdsa_unit again = derived(older ? ZRC_HAS160 : ZRC_SHA224, 640, seed, unit->count, true);
        ASSERT_NE(again, nullptr);
        EXPECT_EQ(ZRC_Cmp_BIGINT(unit->p, again->p), 0);
        EXPECT_EQ(ZRC_Cmp_BIGINT(unit->q, again->q), 0);
        EXPECT_EQ(ZRC_Cmp_BIGINT(unit->J, again->J), 0);
        const bigint power{ZRC_New_BIGINT()};
        ASSERT_EQ(ZRC_Mod_Exp_Mont_BIGINT(power.get(), unit->g, unit->q, unit->p, nullptr), 0U);
        EXPECT_EQ(ZRC_Cmp_BIGINT(power.get(), ZRC_Value_One_BIGINT()), 0);
        EXPECT_EQ(ZRC_Cmp_BIGINT(unit->g, ZRC_Value_One_BIGINT()), 1);
    }
}

// R is whole where the standard cuts it to the length of q; s is another one then.
TEST_F(KcdsaSteps, SignaturesWithTheirNonce)
{
    for (const char* section : {"signatures", "leading zero"}) {
        for (const test::stanza& values : test::kcdsa_vectors(section)) {
            SCOPED_TRACE(values.place);
            const bool strips = values.values.count("R_stripped") != 0;
            const bytes& R = values[strips ? "R_stripped" : "R"];
            const bytes& msg = values["msg"];
            const kcdsa_unit unit = test::kcdsa_key(values, true, false);
            ASSERT_EQ(ZRC_Init_KCDSA_Ex(unit.get(), kSign, test::digest_of(values)), 0U);
            ASSERT_EQ(ZRC_Update_KCDSA(unit.get(), msg.data(), std::int32_t(msg.size())), 0U);
            bytes hash(std::size_t(unit->digest->digest_length)), r(hash.size());
            ASSERT_EQ(ZRC_Final_DIGEST(unit->digest, hash.data(), nullptr), 0U);
            const bigint s{ZRC_New_BIGINT()};
            ASSERT_EQ(zrc::sign_kcdsa_with_nonce(*s, r.data(), *unit, hash, *test::of_bytes(values["k"])), 0U);
            EXPECT_TRUE(std::equal(R.rbegin(), R.rend(), r.rbegin()));
            const bool same = ZRC_Cmp_BIGINT(s.get(), test::of_bytes(values[strips ? "s_stripped" : "s"]).get()) == 0;
            EXPECT_EQ(same, R.size() == r.size());
        }
    }
}

TEST_F(KcdsaSteps, NoncesAreAllOfTheirRangeAndNothingElse)
{
    const bigint k{ZRC_New_BIGINT()}, q = test::of({113});
    std::array<int, 113> seen{};
    for (int i = 0; i < 112 * 100; ++i) {
        ASSERT_EQ(zrc::draw_kcdsa_nonce(k.get(), q.get()), 0U);
        ASSERT_TRUE(k->length == 1 && k->data[0] > 0 && k->data[0] < 113);
        ++seen[k->data[0]];
    }
    // Each comes 100 times in the mean, with a standard deviation of 10.
    EXPECT_GT(*std::min_element(seen.begin() + 1, seen.end()), 30);
    EXPECT_LT(*std::max_element(seen.begin(), seen.end()), 170);

    ASSERT_EQ(zrc::draw_kcdsa_nonce(k.get(), test::of({0, 0, 1}).get()), 0U);
    EXPECT_EQ(k->length, 3) << "as many words as q has";
    ASSERT_EQ(zrc::draw_kcdsa_nonce(k.get(), test::of({2}).get()), 0U);
    EXPECT_EQ(test::words_of(k), test::word_list{1});
    EXPECT_EQ(zrc::draw_kcdsa_nonce(k.get(), test::of({1}).get()), 0x1003002BU);
    EXPECT_EQ(zrc::draw_kcdsa_nonce(k.get(), nullptr), 0x10030049U);
    EXPECT_EQ(zrc::draw_kcdsa_nonce(nullptr, q.get()), 0x10030049U);
}

// Without memory: every code, nothing lost, every frame closed again. The approved generator stays locked when an
// allocation of its own fails, so it is started before.
class KcdsaWithoutMemory : public testing::Test {
protected:
    void SetUp() override
    {
        std::uint8_t drawn = 0;
        ASSERT_EQ(ZRC_Rand_Bytes(&drawn, 1), 0U);
    }

    // What the operation answers until it works, each code once, in the order of the first time. Each time it gets a
    // unit of its own with a key, prepared by `prepare`.
    static codes run(const std::function<void(ZRC_KCDSA_UNIT*)>& prepare,
                     const std::function<std::uint32_t(ZRC_KCDSA_UNIT*)>& operation)
    {
        codes answers;
        for (const std::uint32_t answer : test::codes_with_failing_allocations([&] {
                 const int planned = std::exchange(test::allocations_until_failure, -1);
                 const kcdsa_unit unit = test::kcdsa_key(test::kSmallGroup, 77777);
                 prepare(unit.get());
                 test::allocations_until_failure = planned;
                 const std::uint32_t code = operation(unit.get());
                 test::allocations_until_failure = -1;
                 EXPECT_TRUE(!unit->pool || (unit->pool->depth == -1 && unit->pool->used == 0));
                 return code;
             }))
            if (std::ranges::find(answers, answer) == answers.end()) answers.push_back(answer);
        return answers;
    }

    static void nothing(ZRC_KCDSA_UNIT*) {}

    static void fed(ZRC_KCDSA_UNIT* unit)
    {
        EXPECT_EQ(ZRC_Init_KCDSA_Ex(unit, kSign, ZRC_SHA256), 0U);
        EXPECT_EQ(ZRC_Update_KCDSA(unit, kMessage.data(), 1), 0U);
    }
};

TEST_F(KcdsaWithoutMemory, EveryOperationAnswersItsCode)
{
    const bigint p = test::of({201326809}), q = test::of({8388617}), g = test::of({16777216}), x = test::of({77777});
    EXPECT_EQ(test::codes_with_failing_allocations([] { return kcdsa_unit{ZRC_New_KCDSA()} ? 0 : 1; }),
              (codes{1, 1, 1, 0}));
    EXPECT_EQ(run(nothing,
                  [&](auto* unit) { return ZRC_Set_KCDSA_Params(unit, p.get(), q.get(), g.get(), x.get(), nullptr); }),
              (codes{0x1006000D, 0x10060059, 0x040A003A, 0}));
    EXPECT_EQ(run(nothing, [](auto* unit) { return ZRC_Init_KCDSA_Ex(unit, kSign, ZRC_SHA256); }),
              (codes{0x1007003B, 0x10070022, 0}));
    const auto without_source = [](ZRC_KCDSA_UNIT* unit) {
        ZRC_Free(std::exchange(unit->random_input, nullptr));
        ZRC_Free_BIGINT_Pool(std::exchange(unit->pool, nullptr));
    };
    EXPECT_EQ(run(without_source, [](auto* unit) { return ZRC_Init_KCDSA(unit, kSign); }),
              (codes{0x1008003B, 0x10080022, 0x14010014, 0}));
    EXPECT_EQ(run([](auto* unit) { ZRC_Init_KCDSA_Ex(unit, kSign, ZRC_SHA256); },
                  [](auto* unit) { return ZRC_Update_KCDSA(unit, kMessage.data(), 1); }),
              (codes{0x1009003A, 0x10090059, 0}));

    signature s;
    EXPECT_EQ(run(fed, [&](auto* unit) { return ZRC_Sign_KCDSA(unit, s.R, &s.R_length, s.S, &s.S_length); }),
              (codes{0x100B001B, 0x100B001D, 0x100B0040, 0x100B0022, 0x100B0005, 0x100B0058, 0x100B0042, 0}));
    s.S_length = 3;
    EXPECT_EQ(run(fed, [&](auto* unit) { return ZRC_Verify_KCDSA(unit, s.R, s.R_length, s.S, s.S_length); }),
              (codes{0x100C001B, 0x100C0005, 0x100C0040, 0x100C0022, 0}));
}

TEST_F(KcdsaWithoutMemory, ALostDigestStaysLostUntilTheUnitIsCleaned)
{
    kcdsa_unit unit;
    signature s;
    std::uint32_t code = 0;
    for (int i = 0; i < 100 && code != 0x100B0022; ++i) {
        unit = test::kcdsa_key(test::kSmallGroup, 77777);
        fed(unit.get());
        test::allocations_until_failure = i;
        code = ZRC_Sign_KCDSA(unit.get(), s.R, &s.R_length, s.S, &s.S_length);
        test::allocations_until_failure = -1;
    }
    ASSERT_EQ(code, 0x100B0022U);
    EXPECT_EQ(ZRC_Init_KCDSA_Ex(unit.get(), kSign, ZRC_SHA256), 0U);
    EXPECT_EQ(ZRC_Update_KCDSA(unit.get(), kMessage.data(), 1), 0x1009005BU);
    EXPECT_EQ(ZRC_Sign_KCDSA(unit.get(), s.R, &s.R_length, s.S, &s.S_length), 0x100B0018U);
    EXPECT_EQ(ZRC_Verify_KCDSA(unit.get(), s.R, 32, s.S, 3), 0x100C0018U);
    ASSERT_EQ(ZRC_Set_KCDSA_Params(unit.get(), unit->p, unit->q, unit->g, unit->x, nullptr), 0U);
    EXPECT_EQ(test::run_kcdsa(unit.get(), kSign, ZRC_SHA256, kMessage, s), 0U);
}

TEST_F(KcdsaWithoutMemory, EveryGenerationAnswersItsCode)
{
    const kcdsa_unit before = test::kcdsa_key(test::kSmallGroup, 77777);
    const auto keeps_its_key = [&](auto* unit, std::uint32_t code) {
        EXPECT_TRUE(code == 0 || ZRC_Cmp_BIGINT(unit->y, before->y) == 0);
        return code;
    };
    EXPECT_EQ(run(nothing,
                  [&](auto* unit) {
                      return keeps_its_key(unit, ZRC_Generate_KCDSA_Key_Pair_Ex(unit, nullptr, 0, ZRC_SHA256));
                  }),
              (codes{0x10040022, 0x1004003B, 0x1004003E, 0x10040041, 0x10040040, 0}));
    // The legacy generator does without statistics that it has no memory to read: it works after the first ones.
    EXPECT_EQ(
        run(nothing, [&](auto* unit) { return keeps_its_key(unit, ZRC_Generate_KCDSA_Key_Pair(unit, nullptr, 0)); }),
        (codes{0x1005003B, 0x10050025, 0}));

    // A search has thousands of allocations: those at its start, and the ones around given primes.
    codes first;
    for (int i = 0; i < 12; ++i) {
        const kcdsa_unit unit = test::kcdsa_key(test::kSmallGroup, 77777);
        test::allocations_until_failure = i;
        first.push_back(ZRC_Generate_KCDSA_Params_Ex(unit.get(), 512, 160, ZRC_SHA256));
        test::allocations_until_failure = -1;
        EXPECT_NE(keeps_its_key(unit.get(), first.back()), 0U);
    }
    EXPECT_EQ((codes{first.begin(), first.begin() + 8}),
              (codes{0x10010022, 0x10010022, 0x1001003B, 0x1001003B, 0x1001003B, 0x1001003B, 0x1001003B, 0x1001003B}));
    const test::stanza values = test::kcdsa_vectors("domain parameters").back();
    const bigint h = test::of_bytes(values["h"]), count = test::of_bytes(values["count"]);
    codes steps = test::codes_with_failing_allocations([&]() -> std::uint32_t {
        const int planned = std::exchange(test::allocations_until_failure, -1);
        const zrc::owned<ZRC_DIGEST_UNIT, ZRC_Free_DIGEST_Unit> digest{ZRC_New_DIGEST_Unit()};
        EXPECT_EQ(ZRC_Init_DIGEST(digest.get(), test::digest_of(values)), 0U);
        zrc::kcdsa_domain domain{*digest, 2048, 256};
        test::allocations_until_failure = planned;
        if (const std::uint32_t outcome = domain.set_seed(values["seed"]); outcome != 0) return outcome;
        if (const std::uint32_t outcome = domain.set_count(ZRC_Get_BIGINT_Word(count.get())); outcome != 0)
            return outcome;
        return domain.set_generator(*h);
    });
    steps.erase(std::unique(steps.begin(), steps.end()), steps.end());
    EXPECT_EQ(steps, (codes{0x3B, 0x36, 0x3B, 0x36, 0x44, 0x36, 0x40, 0}));
}

TEST_F(KcdsaWithoutMemory, NothingIsLeftBehind)
{
    const bigint p = test::of({201326809}), q = test::of({8388617}), g = test::of({16777216}), x = test::of({77777});
    const test::release_watch watch;
    {
        const kcdsa_unit unit{ZRC_New_KCDSA()};
        signature s;
        for (int i = 0; i < 2; ++i) {
            ASSERT_EQ(ZRC_Set_KCDSA_Params(unit.get(), p.get(), q.get(), g.get(), x.get(), nullptr), 0U);
            ASSERT_EQ(test::run_kcdsa(unit.get(), kSign, ZRC_SHA256, kMessage, s), 0U);
            ASSERT_EQ(test::run_kcdsa(unit.get(), kVerify, ZRC_SHA256, kMessage, s), 0U);
            ASSERT_EQ(ZRC_Generate_KCDSA_Key_Pair_Ex(unit.get(), s.R, 32, ZRC_SHA256), 0U);
            ASSERT_EQ(ZRC_Generate_KCDSA_Key_Pair(unit.get(), s.R, 32), 0U);
            ZRC_Free_Ex(std::exchange(unit->random_input, nullptr), sizeof(ZRC_DRBG_INPUT));
            ASSERT_EQ(ZRC_Init_KCDSA(unit.get(), kSign), 0U);
        }
    }
    EXPECT_EQ(watch.live_blocks(), 0U);
    constexpr int kStructures = 3; // of the pool: one block when the second key is loaded, one and the pool in the end
    EXPECT_EQ(test::dirty_releases, kStructures);
}

// The pool keeps its arrays while the unit lives; k and k - e are not in them.
TEST_F(KcdsaWithoutMemory, NoSecretStaysInThePool)
{
    const test::stanza values = test::kcdsa_vectors("signatures").front();
    const kcdsa_unit unit = test::kcdsa_key(values, true, true);
    ASSERT_EQ(ZRC_Init_KCDSA_Ex(unit.get(), kSign, test::digest_of(values)), 0U);
    signature s;
    ASSERT_EQ(ZRC_Final_KCDSA(unit.get(), s.R, &s.R_length, s.S, &s.S_length), 0U);
    int arrays = 0;
    for (const ZRC_BIGINT& temporary : unit->pool->head->bigint) {
        if (!temporary.data) continue;
        const bool is_zero = std::all_of(temporary.data, temporary.data + temporary.allocated,
                                         [](std::uint32_t word) { return word == 0; });
        arrays += is_zero ? 0 : 1;
    }
    EXPECT_EQ(arrays, 2) << "s and the power, which are no secrets";
}

// In test mode nothing has drawn before. The numbers are of the allocations that come first.
TEST(KcdsaWithoutGenerator, EveryDrawAnswersItsCode)
{
    const auto draw = [](ZRC_KCDSA_UNIT* unit) { return zrc::draw_kcdsa_nonce(unit->y, unit->q); };
    const auto sign = [](ZRC_KCDSA_UNIT* unit) {
        signature s;
        return ZRC_Sign_KCDSA(unit, s.R, &s.R_length, s.S, &s.S_length);
    };
    const auto parameters = [](ZRC_KCDSA_UNIT* unit) {
        return ZRC_Generate_KCDSA_Params_Ex(unit, 512, 160, ZRC_SHA256);
    };
    const auto key_pair = [](ZRC_KCDSA_UNIT* unit) {
        return ZRC_Generate_KCDSA_Key_Pair_Ex(unit, nullptr, 0, ZRC_SHA256);
    };
    const struct {
        std::uint32_t (*operation)(ZRC_KCDSA_UNIT*);
        int allocations;
        std::uint32_t code;
    } kDraws[] = {{draw, 0, 0x1003001D}, {sign, 1, 0x100B001D}, {parameters, 7, 0x1001001D}, {key_pair, 4, 0x1004001D}};
    for (const auto& one : kDraws) {
        test::in_a_fresh_process([=] {
            ZRC_Change_Test_Mode();
            const kcdsa_unit unit = test::kcdsa_key(test::kSmallGroup, 77777);
            ASSERT_EQ(ZRC_Init_KCDSA_Ex(unit.get(), kSign, ZRC_SHA256), 0U);
            test::allocations_until_failure = one.allocations;
            EXPECT_EQ(one.operation(unit.get()), one.code);
            test::allocations_until_failure = -1;
        });
    }
}

#if KESTRIM_TEST_VALGRIND

void hide(const ZRC_BIGINT& number)
{
    VALGRIND_MAKE_MEM_UNDEFINED(number.data, 4 * std::size_t(number.length));
}

void reveal(ZRC_BIGINT& number)
{
    VALGRIND_MAKE_MEM_DEFINED(&number, sizeof number);
    VALGRIND_MAKE_MEM_DEFINED(number.data, 4 * std::size_t(number.allocated));
}

// Secret are k, x and XKEY; public, as soon as they are there, are the power, s, y and how many words x has.
TEST(ConstantTimeKcdsa, SigningAndPrivateKeys)
{
    if (!RUNNING_ON_VALGRIND) GTEST_SKIP() << "not under valgrind";
    const test::stanza values = test::kcdsa_vectors("domain parameters").back();
    const kcdsa_unit unit = test::kcdsa_key(values, true, true);
    const bigint k = test::of(test::word_list(8, 0x12345678)), e = test::of(test::word_list(8, 0x9ABCDEF0)),
                 w{ZRC_New_BIGINT()}, s{ZRC_New_BIGINT()}, x{ZRC_New_BIGINT()}, y{ZRC_New_BIGINT()};
    const zrc::owned<ZRC_DIGEST_UNIT, ZRC_Free_DIGEST_Unit> digest{ZRC_New_DIGEST_Unit()};
    ASSERT_EQ(ZRC_Init_DIGEST(digest.get(), ZRC_SHA256), 0U);
    bytes xkey = values["xkey"];

    const auto before = VALGRIND_COUNT_ERRORS;
    hide(*k);
    hide(*unit->x);
    VALGRIND_MAKE_MEM_UNDEFINED(xkey.data(), xkey.size());
    const std::uint32_t power = zrc::kcdsa_power(*w, *unit, *k);
    const std::uint32_t response = zrc::kcdsa_response(*s, *unit, *k, *e);
    const std::uint32_t private_key = zrc::kcdsa_private_key(*x, *digest, values["user"], xkey, *unit->q);
    VALGRIND_MAKE_MEM_DEFINED(&x->length, sizeof x->length);
    const std::uint32_t public_key = zrc::kcdsa_public_key(*y, {*unit->p, *unit->q, *unit->g}, *x);
    EXPECT_EQ(VALGRIND_COUNT_ERRORS - before, 1U) << "whether x has an inverse is seen";
    EXPECT_EQ(power | response | private_key | public_key, 0U);
    for (ZRC_BIGINT* number : {w.get(), s.get(), x.get(), y.get(), k.get(), unit->x})
        reveal(*number);
    EXPECT_EQ(ZRC_Cmp_BIGINT(x.get(), unit->x), 0);
    EXPECT_EQ(ZRC_Cmp_BIGINT(y.get(), unit->y), 0);
    const bigint expected{ZRC_New_BIGINT()};
    ASSERT_EQ(ZRC_Mod_Exp_Mont_BIGINT(expected.get(), unit->g, k.get(), unit->p, nullptr), 0U);
    EXPECT_EQ(ZRC_Cmp_BIGINT(w.get(), expected.get()), 0);
}

#endif

} // namespace
