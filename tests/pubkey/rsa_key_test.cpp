// The RSA unit: loading, the rules of key_flags, generation; every code but those of missing memory and proven mode.
#include "tests/pubkey/rsa_unit.hpp"

namespace {

using namespace test;

const rsa_key& key()
{
    static const rsa_key loaded{512};
    return loaded;
}

bool is_clean(const ZRC_RSA_UNIT& unit)
{
    const bool has_part = std::ranges::any_of(kRsaParts, [&](rsa_part part) { return unit.*part != nullptr; });
    return !has_part && !unit.blinding && !unit.unblinding && !unit.digest;
}

// Flags that stand alone, of CRT values, d or e, are taken away. Four CRT values are none. 0x1F comes from generation.
TEST(RsaKey, FlagsOfAnEarlierKeySurviveByTheRule)
{
    constexpr struct {
        std::int32_t before;
        const char* parts;
        std::int32_t after;
    } kCases[] = {{0, "n", 1},       {0, "ne", 3},       {0, "nd", 5},        {0, "nc", 9},       {0, "nec", 0x0B},
                  {0, "nedc", 0x0F}, {0, "nedC", 7},     {8, "ne", 3},        {8, "ned", 7},      {8, "n", 1},
                  {4, "ne", 3},      {2, "n", 1},        {2, "nd", 7},        {9, "n", 9},        {0x0C, "ne", 0x0F},
                  {7, "", 7},        {0x1F, "ne", 0x1F}, {0x1F, "nec", 0x0B}, {0x1F, "edc", 0x1F}};
    for (const auto& c : kCases) {
        SCOPED_TRACE(testing::Message() << c.before << ' ' << c.parts);
        const rsa_unit unit = key().unit("nedc");
        unit->key_flags = c.before;
        const bool has_n = c.parts[0] == 'n', has_pair = has_n && c.after >= 4 && c.parts[1] == 'e';
        EXPECT_EQ(key().load(unit, c.parts), !has_n ? 0x1801002BU : c.after >= 4 && !has_pair ? 0x18010059U : 0U);
        EXPECT_EQ(unit->key_flags, c.after); // and the values stay without a pair
        const std::string_view parts{has_n ? c.parts : ""};
        for (std::size_t i = 0; i < std::size(kRsaParts); ++i)
            EXPECT_EQ((*unit).*kRsaParts[i] != nullptr, parts.find("nedccccc"[i]) != parts.npos) << i;
        EXPECT_EQ(unit->blinding && unit->unblinding, has_pair);
        EXPECT_EQ(unit->blinding || unit->unblinding, has_pair);
    }
}

TEST(RsaKey, PublicValuesAddTheirFlags)
{
    for (const std::int32_t flags : {0, 0x0F}) {
        const rsa_unit unit = key().unit("nedc");
        unit->key_flags = flags;
        unit->operation = 1;
        EXPECT_EQ(ZRC_Set_RSA_Public_Params(unit, key().n, key().e), 0U);
        EXPECT_EQ(unit->key_flags, flags | 3);
        EXPECT_TRUE(words_of(*unit->n) == words_of(key().n) && words_of(*unit->e) == words_of(key().e));
        EXPECT_TRUE(!unit->d && !unit->p && !unit->blinding && unit->operation == 0);
        unit->operation = 1;
        EXPECT_EQ(with_each_bad(ZRC_Set_RSA_Public_Params, unit, key().n, key().e),
                  (codes{0x18020049, 0x1802002B, 0x1802002B}));
        EXPECT_TRUE(is_clean(*unit) && unit->operation == 0 && unit->key_flags == (flags | 3));
    }
}

// r is n - 1 or above, and below the next power of two: reduced, it is n - 1 or below the distance of the two.
TEST(RsaKey, TheBlindingPairIsOnePairOfAFactorNotBelowTheModulus)
{
    const rsa_unit unit{ZRC_New_RSA()};
    const bigint n{ZRC_New_BIGINT()}, distance{ZRC_New_BIGINT()}, r{ZRC_New_BIGINT()}, e = of({3});
    do
        ASSERT_EQ(ZRC_Generate_BIGINT_Prime_Ex(n, 64, unit->pool), 0U);
    while (n->data[1] < 0xE0000000);
    ASSERT_EQ(ZRC_Sub_BIGINT(distance, of({0, 0, 1}), n), 0U);
    word_list before;
    for (int i = 0; i < 20; ++i) {
        ASSERT_EQ(load_rsa(unit, n, e, e), 0U);
        EXPECT_NE(std::exchange(before, words_of(*unit->blinding)), words_of(*unit->blinding))
            << "each key has its own";
        ASSERT_EQ(ZRC_Mod_Inverse_BIGINT(r, unit->unblinding, n, unit->pool), 0U);
        EXPECT_EQ(ZRC_Cmp_BIGINT(r, distance), -1);
        ASSERT_EQ(ZRC_Mod_Exp_Mont_BIGINT(r, r, e, n, unit->pool), 0U);
        EXPECT_EQ(words_of(r), words_of(*unit->blinding));
    }
}

// Even moduli have none; moduli of ones only would be drawn for without end; those below 2 leave nothing to draw.
TEST(RsaKey, ModuliWithoutABlindingPairAreRefused)
{
    for (const word_list& words : {word_list{0, 5}, {0xFFFFFFFF, 0xFF}, {1}, {0}, {}, {2}}) {
        const rsa_unit unit{ZRC_New_RSA()};
        EXPECT_EQ(load_rsa(unit, of(words), of({3}), of({3})), 0x18010059U);
        EXPECT_EQ(unit->key_flags, 7);
        EXPECT_TRUE(unit->n && unit->d && !unit->blinding && !unit->unblinding);
    }
}

TEST(RsaKey, CleanKeepsWhatIsNotTheKeyAndDupCopiesIt)
{
    const rsa_unit unit = key().unit("nedc");
    ASSERT_EQ(ZRC_Init_RSAES(unit, ZRC_RSAES_OAEP_V21, 1, ZRC_SHA256), 0U);
    EXPECT_EQ(zrc_Set_RSASSA_PKCS1_PSS_SALT_Length(unit, 32), 0U);
    unit->use_crt = 7;
    const rsa_unit copy{ZRC_Dup_RSA(unit)};
    EXPECT_TRUE(!copy->digest && !copy->blinding && !copy->unblinding && copy->pool && copy->pool != unit->pool);
    for (const rsa_part part : kRsaParts) {
        EXPECT_NE((*copy).*part, (*unit).*part);
        EXPECT_EQ(words_of(*((*copy).*part)), words_of(*((*unit).*part)));
    }
    ZRC_BIGINT_POOL* const pool = unit->pool;
    EXPECT_EQ(ZRC_Clean_RSA(unit), 0U);
    EXPECT_TRUE(is_clean(*unit) && unit->pool == pool);
    for (const ZRC_RSA_UNIT* one : {unit.get(), copy.get()}) {
        EXPECT_TRUE(one->mode == 0x05000310 && one->key_flags == 0x0F && one->operation == 1 && one->use_crt == 7);
        EXPECT_EQ(one->pss_salt_length, one == copy.get() ? 0 : 32);
    }
    EXPECT_EQ(ZRC_Clean_RSA(unit), 0U);
    EXPECT_TRUE(is_clean(*rsa_unit{ZRC_Dup_RSA(unit)}));
}

TEST(RsaKey, NullsAndNewUnits)
{
    const bigint& n = key().n;
    const rsa_unit unit{ZRC_New_RSA()};
    EXPECT_EQ(ZRC_Clean_RSA(nullptr) | ZRC_Free_RSA(nullptr) | ZRC_Get_RSA_Length(nullptr), 0U);
    EXPECT_EQ(ZRC_Dup_RSA(nullptr), nullptr);
    EXPECT_EQ(load_rsa(nullptr, n, n, n), 0x18010049U);
    EXPECT_TRUE(is_clean(*unit) && unit->pool && unit->use_crt == 1);
    EXPECT_EQ(unit->mode | unit->operation | std::uint32_t(unit->key_flags) | ZRC_Get_RSA_Length(unit), 0U);
    EXPECT_EQ(zrc_Set_RSASSA_PKCS1_PSS_SALT_Length(unit, 20), 0U);
    EXPECT_EQ(with_each_bad(zrc_Set_RSASSA_PKCS1_PSS_SALT_Length, unit, 0), codes(2, 1));
    EXPECT_EQ(unit->pss_salt_length, 20);
}

constexpr struct {
    decltype(&ZRC_Generate_RSA_Params) run;
    std::uint32_t code;      // without a reason
    std::int32_t least_bits; // that the test of the pair has room for
    std::uint32_t digest_id;
} kGenerators[] = {{ZRC_Generate_RSA_Params, 0x180C0000, 353, ZRC_SHA1},
                   {ZRC_Generate_RSA_Params_Ex, 0x180B0000, 545, ZRC_SHA256}};

TEST(RsaGeneration, RefusesWithItsCodes)
{
    const bigint e = of({65537});
    for (const auto& generator : kGenerators) {
        const rsa_unit unit{ZRC_New_RSA()};
        const std::uint32_t invalid = generator.code | ZRC_ERR_INVALID_INPUT;
        EXPECT_EQ(with_each_bad(generator.run, unit, e, 1024, 1), codes(4, invalid));
        for (const auto& [bits, version] : {std::pair{7, 1}, {1024, 0}, {1024, 3}})
            EXPECT_EQ(generator.run(unit, e, bits, version), invalid) << bits << ' ' << version;
        EXPECT_TRUE(is_clean(*unit));
        for (const std::uint32_t wrong : {0U, 1U, 2U, 9U, 65536U})
            EXPECT_EQ(generator.run(unit, of({wrong}), 1024, 1), generator.code | ZRC_ERR_IS_BIGINT_PRIME);
        EXPECT_EQ(unit->key_flags, 0);
        EXPECT_EQ(generator.run(unit, e, 0x7FFFFFFF, 1), 0x041E004DU) << "as the search for primes says";
        ZRC_BIGINT_POOL* const pool = std::exchange(unit->pool, nullptr);
        EXPECT_EQ(generator.run(unit, e, 1024, 1), generator.code | ZRC_ERR_GET_BIGINT_POOL_FAIL);
        unit->pool = pool;

        // The only primes of four bits are 11 and 13, and 12 has a divisor in common with 3: p is 11, and q is drawn
        // three times in vain.
        EXPECT_EQ(generator.run(unit, of({3}), 8, 1), 0U);
        EXPECT_EQ(words_of(*unit->p), word_list{11});
        EXPECT_EQ(words_of(*unit->q), word_list{11});
        EXPECT_TRUE(unit->key_flags == 0 && unit->d->length == 0 && !unit->blinding);
    }
}

// Each replaces the key before; the exponent is the unit's own, with zero words on top.
TEST(RsaGeneration, GivesPrimesOfTheirSizesAndAUnitThatHasDecrypted)
{
    for (const auto& generator : kGenerators) {
        const rsa_unit unit = key().unit("nedc");
        EXPECT_EQ(generator.run(unit, of({9}), 64, 1), generator.code | ZRC_ERR_IS_BIGINT_PRIME);
        EXPECT_FALSE(unit->blinding) << "it was of the key before";
        for (const std::int32_t bits : {64, 101, generator.least_bits, 600, 1025}) {
            SCOPED_TRACE(bits);
            unit->key_flags = 0;
            ASSERT_EQ(ZRC_Copy_BIGINT(unit->e, of({65537, 0, 0})), 0U);
            unit->e->length = 3;
            const std::uint32_t code = generator.run(unit, unit->e, bits, 1 + bits % 2);
            const bool fits = std::int32_t(ZRC_Get_BIGINT_Bits_Length(unit->n)) >= generator.least_bits;
            EXPECT_EQ(code, fits ? 0 : generator.code | ZRC_ERR_KEY_GEN_FAIL);
            EXPECT_EQ(unit->key_flags, 0x1F);
            EXPECT_EQ(ZRC_Get_BIGINT_Bits_Length(unit->p), std::uint32_t(bits + 1) / 2);
            EXPECT_EQ(ZRC_Get_BIGINT_Bits_Length(unit->q), std::uint32_t(bits) / 2);
            EXPECT_EQ(ZRC_Cmp_BIGINT(unit->p, unit->q), 1);
            EXPECT_EQ(words_of(*unit->e), word_list{65537});
            EXPECT_EQ(unit->mode, ZRC_RSAES_OAEP_V20 ^ generator.digest_id);
            EXPECT_EQ(unit->operation, fits ? 1U : 0U);
            const rsa_answer sent = rsa_encrypt(unit, ZRC_RSAES_NO_PADDING, 0, {77, 7});
            EXPECT_EQ(rsa_decrypt(unit, ZRC_RSAES_NO_PADDING, 1, sent.output), (rsa_answer{0, {77, 7}}));
        }
    }
}

} // namespace
