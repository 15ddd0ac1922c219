// The parameter sets of the library, and Diffie-Hellman without memory and in constant time.
#include "core/owned.hpp"
#include "pubkey/dh_generate.hpp"
#include "pubkey/dh_sets.hpp"
#include "tests/allocator.hpp"
#include "tests/pubkey/dsa_fixture.hpp"

#include <algorithm>
#include <set>

#if __has_include(<valgrind/memcheck.h>)
#include <valgrind/memcheck.h>
#define KESTRIM_TEST_VALGRIND 1
#endif

namespace {

using test::bigint;
using test::dh_unit;

// Drawing a set tests its primes, and loading it the order of g. What is left is that it is the set of its number, and,
// for some, that its counter is the first that fits.
TEST(DhSets, EverySetComesFromItsSeed)
{
    const zrc::owned<ZRC_DIGEST_UNIT, ZRC_Free_DIGEST_Unit> digest{ZRC_New_DIGEST_Unit()};
    ASSERT_EQ(ZRC_Init_DIGEST(digest.get(), ZRC_SHA256), 0U);
    const dh_unit unit{ZRC_New_DH()}, loaded{ZRC_New_DH()};
    std::set<std::vector<std::uint32_t>> moduli;
    constexpr std::int32_t kStep = test::kShare == 1 ? 1 : test::kShare + 1; // odd: sets of both sizes
    for (std::int32_t i = 0; i < 2 * ZRC_DH_PRECOMPUTED_SETS; i += kStep) {
        SCOPED_TRACE(i);
        const std::int32_t index = i / 2, p_bits = i % 2 == 0 ? 1024 : 2048, q_bits = i % 2 == 0 ? 160 : 256;
        ASSERT_EQ(ZRC_Generate_DH_Params(unit.get(), p_bits, q_bits, ZRC_DH_PRECOMPUTED_SET + index), 0U);
        const auto& [seed_1024, counter_1024] = zrc::dh_sets_1024[std::size_t(index)];
        const auto& [seed_2048, counter_2048] = zrc::dh_sets_2048[std::size_t(index)];
        EXPECT_EQ(zrc::load_be32(unit->seed), p_bits == 1024 ? seed_1024[0] : seed_2048[0]);
        EXPECT_EQ(unit->counter, p_bits == 1024 ? counter_1024 : counter_2048);
        EXPECT_EQ(unit->seed_length, q_bits / 8);
        EXPECT_EQ(ZRC_Init_DH_Params(loaded.get(), unit->p, unit->q, unit->g), 0U);
        EXPECT_TRUE(moduli.insert(test::words_of(*unit->p)).second);
        if (index % 10 != 0) continue;
        zrc::dsa_domain domain{*digest, p_bits, q_bits, 1};
        ASSERT_EQ(domain.set_seed({unit->seed, std::size_t(unit->seed_length)}), 0U);
        ASSERT_EQ(domain.find_counter(), 0U);
        EXPECT_EQ(std::int32_t(domain.counter()), unit->counter);
    }
}

TEST(DhWithoutMemory, EveryCodeAndNothingLeftBehind)
{
    std::uint8_t drawn = 0, secret[4];
    std::int32_t length = 0;
    ASSERT_EQ(ZRC_Rand_Bytes(&drawn, 1), 0U);
    const auto all = [](auto operation) {
        const auto codes = test::codes_with_failing_allocations(operation);
        return std::set<std::uint32_t>{codes.begin(), codes.end()};
    };
    using set = std::set<std::uint32_t>;
    const bigint p = test::of({227}), q = test::of({113}), g = test::of({4}), x = test::of({5}), y = test::of({16});
    const dh_unit unit{ZRC_New_DH()};
    EXPECT_EQ(all([&] { return ZRC_Init_DH_Params(unit.get(), p.get(), q.get(), g.get()); }),
              (set{0, 0x2002000D, 0x2002003E, 0x20020040}));
    EXPECT_EQ(all([&] { return ZRC_Generate_DH_Key_Pair(unit.get(), 0); }),
              (set{0, 0x2004001D, 0x2004003B, 0x20040040}));
    EXPECT_EQ(all([&] { return ZRC_Set_DH_Key_Pair(unit.get(), x.get(), nullptr); }), (set{0, 0x2006000D, 0x20060040}));
    EXPECT_EQ(all([&] { return ZRC_Compute_Key(unit.get(), y.get(), secret, &length); }),
              (set{0, 0x2005001B, 0x20050040}));

    const test::release_watch watch;
    {
        const dh_unit own{ZRC_New_DH()};
        ASSERT_EQ(ZRC_Init_DH_Params(own.get(), p.get(), q.get(), g.get()), 0U);
        ASSERT_EQ(ZRC_Generate_DH_Key_Pair(own.get(), 0), 0U);
        ASSERT_EQ(ZRC_Compute_Key(own.get(), y.get(), secret, &length), 0U);
        const auto is_clean = [](const ZRC_BIGINT& bn) {
            return std::all_of(bn.data, bn.data + bn.allocated, [](std::uint32_t word) { return word == 0; });
        };
        EXPECT_TRUE(std::ranges::all_of(own->pool->head->bigint, is_clean)) << "the secret does not stay in the pool";
    }
    EXPECT_EQ(watch.live_blocks(), 0U);
}

#if KESTRIM_TEST_VALGRIND

// Secret are x and what comes of it; public is y.
TEST(ConstantTimeDh, AgreementAndPublicValues)
{
    if (!RUNNING_ON_VALGRIND) GTEST_SKIP() << "not under valgrind";
    const test::stanza values = test::group_vectors("dh.txt", "agreements").front();
    const bigint x = test::of_bytes(values["x_a"]), peer = test::of_bytes(values["y_b"]);
    const dh_unit unit{ZRC_New_DH()};
    ASSERT_EQ(ZRC_Init_DH_Params(unit.get(), test::of_bytes(values["p"]).get(), test::of_bytes(values["q"]).get(),
                                 test::of_bytes(values["g"]).get()),
              0U);
    ASSERT_EQ(ZRC_Set_DH_Key_Pair(unit.get(), x.get(), nullptr), 0U);
    test::bytes secret(values["z"].size());
    std::int32_t length = 0;
    const auto before = VALGRIND_COUNT_ERRORS;
    VALGRIND_MAKE_MEM_UNDEFINED(unit->x->data, 4 * std::size_t(unit->x->length));
    const std::uint32_t code = ZRC_Compute_Key(unit.get(), peer.get(), secret.data(), &length);
    EXPECT_EQ(VALGRIND_COUNT_ERRORS - before, 1U) << "whether the secret is refused is seen";
    VALGRIND_MAKE_MEM_DEFINED(secret.data(), secret.size());
    VALGRIND_MAKE_MEM_DEFINED(unit->x->data, 4 * std::size_t(unit->x->length));
    EXPECT_EQ(code, 0U);
    EXPECT_EQ(secret, values["z"]);
}

#endif

} // namespace
