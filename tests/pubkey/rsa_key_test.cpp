// The RSA unit: loading, the rules of key_flags, generation; every code but those of missing memory and proven mode.
#include "kestrim_crypto.h"
#include "tests/bigint/bigint_value.hpp"
#include "tests/pubkey/rsa_unit.hpp"

#include <cstdint>
#include <gtest/gtest.h>
#include <string>
#include <utility>

namespace {

using test::bigint;
using test::of;
using test::rsa_unit;
using test::words_of;

const test::rsa_key& key()
{
    static const test::rsa_key loaded{512};
    return loaded;
}

// Loads what `parts` names: n, e, d, and "c" for all the CRT values, which it stops one short of for "C".
std::uint32_t load(const rsa_unit& unit, const std::string& parts)
{
    const auto given = [&](const char* letters, const bigint& value) {
        return parts.find_first_of(letters) == std::string::npos ? nullptr : value.get();
    };
    return ZRC_Set_RSA_Params(unit.get(), given("n", key().n), given("e", key().e), given("d", key().d),
                              given("cC", key().p), given("cC", key().q), given("cC", key().dp), given("cC", key().dq),
                              given("c", key().qinv));
}

bool is_clean(const ZRC_RSA_UNIT& unit)
{
    return !unit.n && !unit.e && !unit.d && !unit.p && !unit.q && !unit.dP && !unit.dQ && !unit.qInv &&
           !unit.blinding && !unit.unblinding && !unit.digest;
}

TEST(RsaKey, FlagsOfAnEarlierKeySurviveByTheRule)
{
    constexpr std::uint32_t kNoBlinding = 0x18010059;
    constexpr struct {
        std::int32_t before;
        const char* parts;
        std::int32_t after;
        std::uint32_t code;
    } kCases[] = {
        {0, "n", 0x01, 0},
        {0, "ne", 0x03, 0},
        {0, "nd", 0x05, kNoBlinding}, // the values and the flags stay
        {0, "ned", 0x07, 0},
        {0, "nc", 0x09, kNoBlinding},
        {0, "nec", 0x0B, 0},
        {0, "nedc", 0x0F, 0},
        {0, "nedC", 0x07, 0},  // four CRT values are none
        {0x08, "ne", 0x03, 0}, // exactly CRT,
        {0x08, "ned", 0x07, 0},
        {0x04, "ne", 0x03, 0}, // exactly d,
        {0x02, "n", 0x01, 0},  // exactly e are taken away,
        {0x08, "n", 0x01, 0},
        {0x02, "nd", 0x07, kNoBlinding}, // but not with others
        {0x09, "n", 0x09, kNoBlinding},
        {0x0C, "ne", 0x0F, 0},
        {0x1F, "ne", 0x1F, 0}, // after a generated key: all flags, and no d
        {0x1F, "n", 0x1F, kNoBlinding},
        {0x1F, "nec", 0x0B, 0},
        {0x1F, "nedc", 0x0F, 0},
        {0x1F, "edc", 0x1F, 0x1801002B},
        {0x07, "", 0x07, 0x1801002B},
    };
    for (const auto& c : kCases) {
        SCOPED_TRACE(testing::Message() << c.before << ' ' << c.parts);
        const rsa_unit unit = key().with_everything();
        unit->key_flags = c.before;
        EXPECT_EQ(load(unit, c.parts), c.code);
        EXPECT_EQ(unit->key_flags, c.after);
        const std::string parts{c.parts};
        const auto has = [&](char part) { return parts[0] == 'n' && parts.find(part) != std::string::npos; };
        EXPECT_EQ(unit->n != nullptr, has('n'));
        EXPECT_EQ(unit->e != nullptr, has('e'));
        EXPECT_EQ(unit->d != nullptr, has('d'));
        for (const ZRC_BIGINT* value : {unit->p, unit->q, unit->dP, unit->dQ, unit->qInv})
            EXPECT_EQ(value != nullptr, has('c'));
        EXPECT_EQ(unit->blinding != nullptr, c.code == 0 && c.after >= 4);
        EXPECT_EQ(unit->unblinding != nullptr, c.code == 0 && c.after >= 4);
    }
}

TEST(RsaKey, PublicValuesAddTheirFlags)
{
    const rsa_unit unit = key().with_everything();
    unit->operation = 1;
    EXPECT_EQ(ZRC_Set_RSA_Public_Params(unit.get(), key().n.get(), key().e.get()), 0U);
    EXPECT_EQ(unit->key_flags, 0x0F);
    EXPECT_EQ(unit->operation, 0U);
    EXPECT_EQ(words_of(*unit->n), words_of(key().n));
    EXPECT_EQ(words_of(*unit->e), words_of(key().e));
    EXPECT_TRUE(!unit->d && !unit->p && !unit->blinding);

    for (const bool without_n : {true, false}) {
        unit->operation = 1;
        EXPECT_EQ(ZRC_Set_RSA_Public_Params(unit.get(), without_n ? nullptr : key().n.get(),
                                            without_n ? key().e.get() : nullptr),
                  0x1802002BU);
        EXPECT_TRUE(is_clean(*unit));
        EXPECT_EQ(unit->operation, 0U);
        EXPECT_EQ(unit->key_flags, 0x0F);
    }
}

TEST(RsaKey, NumbersAreCopiedWithoutZeroWordsEvenFromTheUnitItself)
{
    const rsa_unit unit{ZRC_New_RSA()};
    test::word_list n = words_of(key().n), e = words_of(key().e);
    n.push_back(0);
    e.insert(e.end(), 3, 0);
    const bigint long_n = of(n), long_e = of(e);
    ASSERT_EQ(ZRC_Set_RSA_Params(unit.get(), long_n.get(), long_e.get(), long_n.get(), nullptr, nullptr, nullptr,
                                 nullptr, nullptr),
              0U);
    EXPECT_EQ(words_of(*unit->n), words_of(key().n));
    EXPECT_EQ(words_of(*unit->e), words_of(key().e));
    EXPECT_EQ(ZRC_Get_RSA_Length(unit.get()), 64U);

    const rsa_unit own = key().with_everything();
    ASSERT_EQ(ZRC_Set_RSA_Params(own.get(), own->n, own->e, own->d, own->p, own->q, own->dP, own->dQ, own->qInv), 0U);
    EXPECT_EQ(words_of(*own->qInv), words_of(key().qinv));
    ASSERT_EQ(ZRC_Set_RSA_Public_Params(own.get(), own->n, own->e), 0U);
    EXPECT_EQ(words_of(*own->n), words_of(key().n));
}

TEST(RsaKey, TheBlindingPairIsOnePair)
{
    const rsa_unit unit = key().with_private_exponent();
    const bigint product{ZRC_New_BIGINT()};
    ASSERT_EQ(ZRC_Mod_Exp_Mont_BIGINT(product.get(), unit->unblinding, unit->e, unit->n, unit->pool), 0U);
    ASSERT_EQ(ZRC_Mod_Mtp_BIGINT(product.get(), product.get(), unit->blinding, unit->n, unit->pool), 0U);
    EXPECT_EQ(words_of(product), test::word_list{1});
    EXPECT_NE(words_of(*unit->unblinding), test::word_list{1});

    const test::word_list before = words_of(*unit->blinding);
    ASSERT_EQ(load(unit, "ned"), 0U);
    EXPECT_NE(words_of(*unit->blinding), before) << "each key has its own";
}

// r is n - 1 or above, and below the next power of two: reduced, it is n - 1 or below the distance of the two.
TEST(RsaKey, TheBlindingFactorIsNotBelowTheModulus)
{
    const rsa_unit unit{ZRC_New_RSA()};
    const bigint n{ZRC_New_BIGINT()}, distance{ZRC_New_BIGINT()}, r{ZRC_New_BIGINT()}, e = of({3});
    do
        ASSERT_EQ(ZRC_Generate_BIGINT_Prime_Ex(n.get(), 64, unit->pool), 0U);
    while (n->data[1] < 0xE0000000);
    ASSERT_EQ(ZRC_Sub_BIGINT(distance.get(), of({0, 0, 1}).get(), n.get()), 0U);
    for (int i = 0; i < 20; ++i) {
        ASSERT_EQ(
            ZRC_Set_RSA_Params(unit.get(), n.get(), e.get(), e.get(), nullptr, nullptr, nullptr, nullptr, nullptr), 0U);
        ASSERT_EQ(ZRC_Mod_Inverse_BIGINT(r.get(), unit->unblinding, n.get(), unit->pool), 0U);
        EXPECT_EQ(ZRC_Cmp_BIGINT(r.get(), distance.get()), -1);
    }
}

// Even moduli have none; moduli of ones only would be drawn for without end; those below 2 leave nothing to draw.
TEST(RsaKey, ModuliWithoutABlindingPairAreRefused)
{
    const bigint three = of({3});
    for (const test::word_list& words : {test::word_list{0, 5}, {0xFFFFFFFF, 0xFF}, {1}, {0}, {}, {2}}) {
        const rsa_unit unit{ZRC_New_RSA()};
        const bigint n = of(words);
        EXPECT_EQ(ZRC_Set_RSA_Params(unit.get(), n.get(), three.get(), three.get(), nullptr, nullptr, nullptr, nullptr,
                                     nullptr),
                  0x18010059U);
        EXPECT_EQ(unit->key_flags, 7);
        EXPECT_TRUE(unit->n && unit->d && !unit->blinding && !unit->unblinding);
    }
}

TEST(RsaKey, CleanKeepsWhatIsNotTheKeyAndDupCopiesIt)
{
    const rsa_unit unit = key().with_everything();
    ASSERT_EQ(ZRC_Init_RSAES(unit.get(), ZRC_RSAES_OAEP_V21, 1, ZRC_SHA256), 0U);
    EXPECT_EQ(zrc_Set_RSASSA_PKCS1_PSS_SALT_Length(unit.get(), 32), 0U);
    unit->use_crt = 7;
    const std::uint32_t mode = unit->mode;

    const rsa_unit copy{ZRC_Dup_RSA(unit.get())};
    EXPECT_EQ(copy->mode, mode);
    EXPECT_EQ(copy->key_flags, 0x0F);
    EXPECT_EQ(copy->operation, 1U);
    EXPECT_EQ(copy->use_crt, 7U);
    EXPECT_EQ(copy->pss_salt_length, 0);
    EXPECT_TRUE(!copy->digest && !copy->blinding && !copy->unblinding);
    EXPECT_TRUE(copy->pool && copy->pool != unit->pool);
    for (ZRC_BIGINT* ZRC_RSA_UNIT::*const part :
         {&ZRC_RSA_UNIT::n, &ZRC_RSA_UNIT::e, &ZRC_RSA_UNIT::d, &ZRC_RSA_UNIT::p, &ZRC_RSA_UNIT::q, &ZRC_RSA_UNIT::dP,
          &ZRC_RSA_UNIT::dQ, &ZRC_RSA_UNIT::qInv}) {
        EXPECT_NE((*copy).*part, (*unit).*part);
        EXPECT_EQ(words_of(*((*copy).*part)), words_of(*((*unit).*part)));
    }

    ZRC_BIGINT_POOL* const pool = unit->pool;
    EXPECT_EQ(ZRC_Clean_RSA(unit.get()), 0U);
    EXPECT_TRUE(is_clean(*unit));
    EXPECT_EQ(unit->mode, mode);
    EXPECT_EQ(unit->key_flags, 0x0F);
    EXPECT_EQ(unit->operation, 1U);
    EXPECT_EQ(unit->use_crt, 7U);
    EXPECT_EQ(unit->pss_salt_length, 32);
    EXPECT_EQ(unit->pool, pool);
    EXPECT_EQ(ZRC_Get_RSA_Length(unit.get()), 0U);
    EXPECT_EQ(ZRC_Clean_RSA(unit.get()), 0U);
    const rsa_unit nothing{ZRC_Dup_RSA(unit.get())};
    EXPECT_TRUE(is_clean(*nothing));
}

TEST(RsaKey, NullsAndLengths)
{
    ZRC_BIGINT* const n = key().n.get();
    EXPECT_EQ(ZRC_Clean_RSA(nullptr), 0U);
    EXPECT_EQ(ZRC_Free_RSA(nullptr), 0U);
    EXPECT_EQ(ZRC_Dup_RSA(nullptr), nullptr);
    EXPECT_EQ(ZRC_Get_RSA_Length(nullptr), 0U);
    EXPECT_EQ(ZRC_Set_RSA_Params(nullptr, n, n, n, n, n, n, n, n), 0x18010049U);
    EXPECT_EQ(ZRC_Set_RSA_Public_Params(nullptr, n, n), 0x18020049U);
    EXPECT_EQ(zrc_Set_RSASSA_PKCS1_PSS_SALT_Length(nullptr, 0), 1U);

    const rsa_unit unit{ZRC_New_RSA()};
    EXPECT_TRUE(is_clean(*unit) && unit->pool);
    EXPECT_EQ(unit->use_crt, 1U);
    EXPECT_EQ(unit->mode | unit->operation | std::uint32_t(unit->key_flags), 0U);
    EXPECT_EQ(zrc_Set_RSASSA_PKCS1_PSS_SALT_Length(unit.get(), 20), 0U);
    EXPECT_EQ(zrc_Set_RSASSA_PKCS1_PSS_SALT_Length(unit.get(), -1), 1U);
    EXPECT_EQ(unit->pss_salt_length, 20);
    EXPECT_EQ(ZRC_Get_RSA_Length(unit.get()), 0U);
    for (const auto& [words, length] : {std::pair{test::word_list{0, 1}, 5U}, {{0xFF}, 1U}, {{0x100}, 2U}}) {
        EXPECT_EQ(ZRC_Set_RSA_Public_Params(unit.get(), of(words).get(), n), 0U);
        EXPECT_EQ(ZRC_Get_RSA_Length(unit.get()), length);
    }
}

using generate_fn = decltype(&ZRC_Generate_RSA_Params);

constexpr struct {
    generate_fn run;
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
        EXPECT_EQ(generator.run(nullptr, nullptr, -1, 1), invalid);
        EXPECT_EQ(generator.run(nullptr, e.get(), 1024, 1), invalid);
        EXPECT_EQ(generator.run(unit.get(), nullptr, 1024, 1), invalid);
        EXPECT_EQ(generator.run(unit.get(), e.get(), 7, 1), invalid);
        EXPECT_EQ(generator.run(unit.get(), e.get(), 1024, 0), invalid);
        EXPECT_EQ(generator.run(unit.get(), e.get(), 1024, 3), invalid);
        EXPECT_TRUE(is_clean(*unit));

        for (const std::uint32_t wrong : {0U, 1U, 2U, 4U, 9U, 65535U, 65536U}) {
            EXPECT_EQ(generator.run(unit.get(), of({wrong}).get(), 1024, 1), generator.code | ZRC_ERR_IS_BIGINT_PRIME)
                << wrong;
        }
        EXPECT_EQ(unit->key_flags, 0);
        EXPECT_EQ(generator.run(unit.get(), e.get(), 0x7FFFFFFF, 1), 0x041E004DU) << "as the search for primes says";
    }
}

// The only primes of four bits are 11 and 13, and 12 has a divisor in common with 3: p is 11, and q is never found.
TEST(RsaGeneration, EndsWithSuccessAndWithoutAKeyWhenPIsDrawnThreeTimesMore)
{
    const bigint three = of({3});
    for (const auto& generator : kGenerators) {
        const rsa_unit unit{ZRC_New_RSA()};
        EXPECT_EQ(generator.run(unit.get(), three.get(), 8, 1), 0U);
        EXPECT_EQ(unit->key_flags, 0);
        EXPECT_EQ(words_of(*unit->p), test::word_list{11});
        EXPECT_EQ(words_of(*unit->q), test::word_list{11});
        EXPECT_EQ(unit->d->length, 0);
        EXPECT_EQ(unit->blinding, nullptr);
    }
}

TEST(RsaGeneration, GivesPrimesOfTheirSizesAndAUnitThatHasDecrypted)
{
    for (const auto& generator : kGenerators) {
        for (const std::int32_t bits : {64, 101, generator.least_bits, 600, 1025}) {
            for (const std::int32_t version : {1, 2}) {
                SCOPED_TRACE(testing::Message() << bits << " bits, version " << version);
                const rsa_unit unit{ZRC_New_RSA()};
                const bool fits = bits >= generator.least_bits;
                std::uint32_t code = generator.run(unit.get(), of({65537}).get(), bits, version);
                // One bit less than asked is a byte less here.
                if (bits == generator.least_bits && ZRC_Get_BIGINT_Bits_Length(unit->n) < std::uint32_t(bits)) {
                    EXPECT_EQ(std::exchange(code, 0), generator.code | ZRC_ERR_KEY_GEN_FAIL);
                    continue;
                }
                EXPECT_EQ(code, fits ? 0 : generator.code | ZRC_ERR_KEY_GEN_FAIL);
                EXPECT_EQ(unit->key_flags, 0x1F);
                const std::uint32_t p_bits = ZRC_Get_BIGINT_Bits_Length(unit->p);
                EXPECT_EQ(p_bits, std::uint32_t(bits + 1) / 2);
                EXPECT_EQ(p_bits + ZRC_Get_BIGINT_Bits_Length(unit->q), std::uint32_t(bits));
                EXPECT_EQ(ZRC_Cmp_BIGINT(unit->p, unit->q), 1);
                EXPECT_EQ(words_of(*unit->e), test::word_list{65537});
                EXPECT_TRUE(unit->blinding && unit->unblinding);
                EXPECT_EQ(unit->mode, ZRC_RSAES_OAEP_V20 ^ generator.digest_id);
                EXPECT_EQ(unit->operation, fits ? 1U : 0U);
            }
        }
    }
}

TEST(RsaGeneration, ReplacesAnEarlierKey)
{
    const rsa_unit unit = key().with_everything();
    const bigint copy{ZRC_Dup_BIGINT(unit->e)};
    ASSERT_EQ(ZRC_Generate_RSA_Params_Ex(unit.get(), unit->e, 640, 2), 0U) << "the exponent may be the unit's own";
    EXPECT_EQ(words_of(*unit->e), words_of(copy));
    EXPECT_EQ(ZRC_Get_RSA_Length(unit.get()), 80U);
    const test::bytes message{'a', 'b', 'c'};
    ASSERT_EQ(ZRC_Init_RSAES(unit.get(), ZRC_RSAES_PKCS1_V15, 0, 0), 0U);
    const test::rsa_answer encrypted = test::rsa_encrypt(unit, message);
    ASSERT_EQ(ZRC_Init_RSAES(unit.get(), ZRC_RSAES_PKCS1_V15, 1, 0), 0U);
    EXPECT_EQ(test::rsa_decrypt(unit, encrypted.output), (test::rsa_answer{0, message}));

    EXPECT_EQ(ZRC_Set_RSA_Params(unit.get(), key().n.get(), key().e.get(), nullptr, nullptr, nullptr, nullptr, nullptr,
                                 nullptr),
              0U);
    EXPECT_EQ(unit->key_flags, 0x1F) << "n and e alone after a generated key";
    EXPECT_TRUE(!unit->d && !unit->p && !unit->qInv);
}

} // namespace
