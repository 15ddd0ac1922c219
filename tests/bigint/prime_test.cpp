// Primes: published primes and composites, generation of all sizes, quirks and codes.
#include "bigint/miller_rabin.hpp"
#include "bigint/small_primes.hpp"
#include "kestrim/bigint_arithmetic.h"
#include "kestrim/bigint_prime.h"
#include "kestrim/digest.h"
#include "tests/bigint/bigint_value.hpp"
#include "tests/vector_file.hpp"

#include <climits>
#include <set>

namespace {

using test::bigint;
using test::bytes;
using test::of;
using test::of_bytes;

// The odd primes that the sieve is to look at for candidates of `bits` bits.
std::vector<std::uint32_t> sieving_primes(std::uint32_t bits)
{
    std::vector<std::uint32_t> primes;
    for (const std::uint32_t prime : zrc::small_prime)
        if (prime != 2 && (bits > 31 || prime * prime < std::uint32_t{1} << (bits - 1))) primes.push_back(prime);
    return primes;
}

// What was drawn from the approved generator: odd numbers, to search from, and after the last of them witnesses.
struct {
    int odd = 0, witnesses = 0;
    std::int32_t bits = 0;
} draws;

class Prime : public test::with_pool {
protected:
    std::int32_t test(const ZRC_BIGINT* n, std::int32_t rounds) { return ZRC_Is_BIGINT_Prime_Ex(n, rounds, pool()); }

    void generate(std::int32_t bits)
    {
        EXPECT_EQ(ZRC_Generate_BIGINT_Prime_Ex(result_, bits, pool()), 0U);
        EXPECT_EQ(ZRC_Get_BIGINT_Bits_Length(result_), std::uint32_t(bits));
    }

    bigint result_ = of({1});
};

TEST_F(Prime, TableIsThePublishedOne)
{
    bytes table, digest(32);
    for (const std::uint16_t prime : zrc::small_prime) {
        table.push_back(std::uint8_t(prime >> 8));
        table.push_back(std::uint8_t(prime));
    }
    EXPECT_EQ(ZRC_DIGEST(ZRC_SHA256, table.data(), std::int32_t(table.size()), digest.data(), nullptr), 0U);
    EXPECT_EQ(digest, test::read_vectors("primes.txt", "table").at(0)["sha256_be16"]);
}

TEST_F(Prime, PublishedPrimesAndCompositesAreTold)
{
    for (const test::stanza& vector : test::read_vectors("primes.txt", "primes")) {
        const bigint n = of_bytes(vector["value"]);
        EXPECT_EQ(test(n, n->length > 64 ? 2 : 5), 1) << vector.place;
    }
    for (const test::stanza& vector : test::read_vectors("primes.txt", "composites")) {
        const bigint n = of_bytes(vector["value"]);
        EXPECT_EQ(test(n, 40), -1) << vector.place; // up to 39 witnesses, each wrong with 1/4 at most

        // Strong pseudoprimes pass the bases that they are known to pass, and no more.
        zrc::witnessed_number number{std::size_t(n->length)};
        number.set(*n);
        const auto passes = [&](const bigint& base) {
            number.set_witness(*base);
            return zrc::test_witness(number) == zrc::verdict::probable_prime;
        };
        for (std::size_t i = 0; i < vector["passes"].at(0); ++i)
            EXPECT_TRUE(passes(of({zrc::small_prime.at(i)}))) << vector.place << " base " << zrc::small_prime.at(i);
        EXPECT_FALSE(passes(of_bytes(vector["witness"]))) << vector.place;
    }
    // The odd part of n - 1 lies in high words: 3 2^41 + 1 is a factor of the Fermat number F_38;
    EXPECT_EQ(test(of({1, 0x600}), 20), 1);
    // 2^96 + 1, 2^64 + 1, 13 2^64 + 1, 3 2^39 + 1, 5 2^61 + 1, 2^103 + 1 are composite.
    for (const test::word_list& composite : std::vector<test::word_list>{
             {1, 0, 0, 1}, {1, 0, 1}, {1, 0, 13}, {1, 0x180}, {1, 0xA0000000}, {1, 0, 0, 0x80}})
        EXPECT_EQ(test(of(composite), 20), -1);
}

TEST_F(Prime, RoundsAreOneMoreThanWitnesses)
{
    for (const std::int32_t rounds : {1, 0, -1, INT_MIN})
        EXPECT_TRUE(test(of({3}), rounds) == -1 && test(of({0xFFFFFFFB}), rounds) == -1);
    for (const std::int32_t rounds : {2, 3, 17}) {
        draws = {};
        EXPECT_EQ(test(of({0xFFFFFFFB}), rounds), 1);
        EXPECT_TRUE(draws.witnesses == rounds - 1 && draws.odd == 0 && draws.bits == 32) << rounds;
    }
    EXPECT_EQ(ZRC_Is_BIGINT_Prime_Ex(of({13, 0, 0}), 10, nullptr), 1); // not normalised
}

TEST_F(Prime, NumbersThatAreNotTested)
{
    const std::pair<test::word_list, std::int32_t> answers[] = {{{}, 0},     {{0, 0}, 0},  {{4}, 0},
                                                                {{2, 1}, 0}, {{1, 0}, -1}, {{2, 0, 0}, 1}};
    for (const std::int32_t rounds : {1, 10}) {
        EXPECT_TRUE(test(nullptr, rounds) == 0 && ZRC_Is_BIGINT_Prime(nullptr, rounds, pool(), 0) == 0);
        for (const auto& [words, answer] : answers)
            EXPECT_EQ(test(of(words), rounds), answer);
    }
}

// Each odd prime that the search can come to, and no other number, comes.
TEST_F(Prime, GeneratedPrimesOfFewBits)
{
    for (std::uint32_t bits = 2; bits <= 8; ++bits) {
        std::set<std::uint32_t> possible, seen;
        const std::vector<std::uint32_t> primes = sieving_primes(bits);
        for (std::uint32_t n = (1U << (bits - 1)) + 1; n >> bits == 0; n += 2) {
            bool good = std::ranges::none_of(primes, [&](std::uint32_t prime) { return n % prime <= 1; });
            for (std::uint32_t d = 3; d * d <= n; d += 2)
                good = good && n % d != 0;
            if (good) possible.insert(n);
        }
        for (int i = 0; i < 500; ++i) {
            generate(std::int32_t(bits));
            seen.insert(ZRC_Get_BIGINT_Word(result_));
        }
        EXPECT_EQ(seen, possible) << bits;
    }
}

// The second candidate of the last pair has met one witness, too.
TEST_F(Prime, GeneratedPrimesHaveMetTheWitnessesOfTheTable)
{
    constexpr std::pair<std::int32_t, int> kWitnesses[] = {
        {128, 38}, {149, 38}, {150, 20}, {199, 20}, {200, 16}, {249, 16}, {250, 13}, {299, 13},
        {300, 10}, {349, 10}, {350, 9},  {399, 9},  {400, 8},  {449, 8},  {450, 7},  {549, 7},
        {550, 6},  {649, 6},  {650, 5},  {849, 5},  {850, 4},  {1024, 4}, {1299, 4}, {1300, 3}};
    for (const auto& [bits, witnesses] : kWitnesses) {
        draws = {};
        generate(bits);
        EXPECT_EQ(draws.witnesses, witnesses + 1) << bits;
        EXPECT_TRUE(draws.odd >= 2 && draws.bits == bits) << bits;
        for (const std::uint32_t prime : sieving_primes(std::uint32_t(bits)))
            ASSERT_GT(ZRC_Mod_BIGINT_Word(result_, prime), 1U) << prime;
    }
    EXPECT_EQ(ZRC_Generate_BIGINT_Prime_Ex(result_, 160, nullptr), 0U);
    EXPECT_EQ(ZRC_Get_BIGINT_Bits_Length(result_), 160U);
}

TEST_F(Prime, LegacyGeneratorServesThePlainFunctions)
{
    constexpr std::int32_t kUnknown = 0x7777;
    EXPECT_EQ(ZRC_Is_BIGINT_Prime(of({0xFFFFFFFB}), 3, pool(), 0), 1);
    EXPECT_EQ(ZRC_Is_BIGINT_Prime(of({0xFFFFFFFD}), 10, nullptr, ZRC_SHA256), -1);
    EXPECT_EQ(ZRC_Is_BIGINT_Prime(of({0xFFFFFFFB}), 3, pool(), kUnknown), 0);
    EXPECT_EQ(ZRC_Generate_BIGINT_Prime(result_, 1300, pool(), 0), 0U); // asks for few random values
    EXPECT_EQ(ZRC_Get_BIGINT_Bits_Length(result_), 1300U);
    EXPECT_EQ(test(result_, 5), 1);
    EXPECT_EQ(ZRC_Generate_BIGINT_Prime(result_, 64, pool(), kUnknown), 0x041E004DU);
}

TEST_F(Prime, CodesOfGeneration)
{
    EXPECT_EQ(ZRC_Generate_BIGINT_Prime_Ex(nullptr, 64, pool()), 0x041E0049U);
    EXPECT_EQ(ZRC_Generate_BIGINT_Prime(nullptr, 64, pool(), 0), 0x041E0049U);
    for (const std::int32_t bits : {1, 0, -1, INT_MIN, INT_MAX}) {
        EXPECT_EQ(ZRC_Generate_BIGINT_Prime_Ex(result_, bits, pool()), 0x041E004DU);
        EXPECT_EQ(ZRC_Generate_BIGINT_Prime(result_, bits, nullptr, 0), 0x041E004DU);
    }
    test::fixed_value fixed{{0, 0}};
    EXPECT_EQ(ZRC_Generate_BIGINT_Prime_Ex(fixed, 65, pool()), 0x041E004DU);
    EXPECT_EQ(ZRC_Generate_BIGINT_Prime_Ex(fixed, 64, pool()), 0U);
    EXPECT_TRUE(fixed.bn.data == fixed.words.data() && fixed.bn.length == 2 && test(fixed, 20) == 1);

    int frames = 0; // a pool without room for a frame
    while (ZRC_Start_BIGINT_Pool(pool()) == 0)
        ++frames;
    EXPECT_EQ(ZRC_Generate_BIGINT_Prime_Ex(result_, 64, pool()), 0x041E0057U);
    EXPECT_TRUE(test(of({13}), 2) == 0 && test(of({13}), 1) == -1);
    while (frames-- > 0)
        ZRC_Finish_BIGINT_Pool(pool());
}

} // namespace

extern "C" {
std::uint32_t __real_ZRC_Rand_BIGINT_Ex(ZRC_BIGINT* r, std::int32_t bits, std::int32_t top, std::int32_t bottom);

// The linker puts this in the place of the library's function (--wrap).
std::uint32_t __wrap_ZRC_Rand_BIGINT_Ex(ZRC_BIGINT* r, std::int32_t bits, std::int32_t top, std::int32_t bottom)
{
    draws.bits = bits;
    draws.odd += bottom != 0;
    draws.witnesses = bottom != 0 ? 0 : draws.witnesses + 1;
    return __real_ZRC_Rand_BIGINT_Ex(r, bits, top, bottom);
}
}
