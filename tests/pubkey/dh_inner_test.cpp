// The parameter sets of the library, and Diffie-Hellman without memory and in constant time.
#include "core/owned.hpp"
#include "pubkey/dh_generate.hpp"
#include "pubkey/dh_sets.hpp"
#include "tests/pubkey/inner_fixture.hpp"

namespace {

using namespace test;
using dh_unit = owned<ZRC_DH_UNIT, ZRC_Free_DH>;

// Drawing a set tests its primes, and loading it the order of g. What is left is that it is the set of its number, and,
// for some, that its counter is the first that fits.
TEST(DhSets, EverySetComesFromItsSeed)
{
    const owned<ZRC_DIGEST_UNIT, ZRC_Free_DIGEST_Unit> digest{ZRC_New_DIGEST_Unit()};
    ASSERT_EQ(ZRC_Init_DIGEST(digest, ZRC_SHA256), 0U);
    const dh_unit unit{ZRC_New_DH()}, loaded{ZRC_New_DH()};
    std::set<word_list> moduli;
    constexpr std::int32_t kStep = kShare == 1 ? 1 : kShare + 1; // odd: sets of both sizes
    for (std::int32_t i = 0; i < 2 * ZRC_DH_PRECOMPUTED_SETS; i += kStep) {
        SCOPED_TRACE(i);
        const std::int32_t index = i / 2, p_bits = i % 2 == 0 ? 1024 : 2048, q_bits = i % 2 == 0 ? 160 : 256;
        ASSERT_EQ(ZRC_Generate_DH_Params(unit, p_bits, q_bits, ZRC_DH_PRECOMPUTED_SET + index), 0U);
        const auto& [seed_1024, counter_1024] = zrc::dh_sets_1024[std::size_t(index)];
        const auto& [seed_2048, counter_2048] = zrc::dh_sets_2048[std::size_t(index)];
        EXPECT_EQ(zrc::load_be32(unit->seed), p_bits == 1024 ? seed_1024[0] : seed_2048[0]);
        EXPECT_EQ(unit->counter, p_bits == 1024 ? counter_1024 : counter_2048);
        EXPECT_EQ(unit->seed_length, q_bits / 8);
        EXPECT_EQ(ZRC_Init_DH_Params(loaded, unit->p, unit->q, unit->g), 0U);
        EXPECT_TRUE(moduli.insert(words_of(*unit->p)).second);
        if (index % 10 != 0) continue;
        zrc::dsa_domain domain{*digest, p_bits, q_bits, 1};
        ASSERT_EQ(domain.set_seed({unit->seed, std::size_t(unit->seed_length)}), 0U);
        ASSERT_EQ(domain.find_counter(), 0U);
        EXPECT_EQ(std::int32_t(domain.counter()), unit->counter);
    }
}

using DhWithoutMemory = without_memory;
TEST_F(DhWithoutMemory, EveryCodeAndNothingLeftBehind)
{
    std::uint8_t secret[4];
    std::int32_t length = 0;
    const bigint p = of({227}), q = of({113}), g = of({4}), x = of({5}), y = of({16});
    const release_watch watch;
    {
        const dh_unit unit{ZRC_New_DH()};
        EXPECT_EQ(all([&] { return ZRC_Init_DH_Params(unit, p, q, g); }),
                  (code_set{0, 0x2002000D, 0x2002003E, 0x20020040}));
        EXPECT_EQ(all([&] { return ZRC_Generate_DH_Key_Pair(unit, 0); }),
                  (code_set{0, 0x2004001D, 0x2004003B, 0x20040040}));
        EXPECT_EQ(all([&] { return ZRC_Set_DH_Key_Pair(unit, x, nullptr); }), (code_set{0, 0x2006000D, 0x20060040}));
        EXPECT_EQ(all([&] { return ZRC_Compute_Key(unit, y, secret, &length); }),
                  (code_set{0, 0x2005001B, 0x20050040}));
        expect_clean(*unit->pool);
    }
    EXPECT_EQ(watch.live_blocks(), 0U);
}

// Secret are x and what comes of it; public is y.
using ConstantTimeDh = constant_time;
TEST_F(ConstantTimeDh, Agreement)
{
    const stanza values = group_vectors("dh.txt", "agreements").front();
    const auto part = [&](const char* name) { return of_bytes(values[name]); };
    const bigint peer = part("y_b");
    const dh_unit unit{ZRC_New_DH()};
    ASSERT_EQ(ZRC_Init_DH_Params(unit, part("p"), part("q"), part("g")), 0U);
    ASSERT_EQ(ZRC_Set_DH_Key_Pair(unit, part("x_a"), nullptr), 0U);
    bytes secret(values["z"].size());
    std::int32_t length = 0;
    std::uint32_t code = 1;
    hide(unit->x);
    const auto errors = errors_of([&] { code = ZRC_Compute_Key(unit, peer, secret.data(), &length); });
    reveal(secret.data(), secret.size());
    reveal(unit->x);
    EXPECT_EQ(errors, 1U) << "whether the secret is refused is seen";
    EXPECT_EQ(code, 0U);
    EXPECT_EQ(secret, values["z"]);
}

} // namespace
