// The private RSA operation from inside: the key check against its definition, both roads of the operation, failing
// allocations, what is left in memory, and that no branch or address depends on the private numbers.
#include "bigint/mod_exp.hpp"
#include "bigint/product.hpp"
#include "kestrim_crypto.h"
#include "pubkey/rsa_key.hpp"
#include "tests/allocator.hpp"
#include "tests/bigint/bigint_value.hpp"
#include "tests/pubkey/rsa_unit.hpp"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <gtest/gtest.h>
#include <iterator>
#include <set>
#include <utility>
#include <vector>

#if __has_include(<valgrind/memcheck.h>)
#include <valgrind/memcheck.h>
#define KESTRIM_TEST_VALGRIND 1
#endif

namespace {

using test::bigint;
using test::of;
using test::rsa_key;
using test::rsa_unit;
using test::words_of;
using zrc::private_outcome;
using zrc::private_step;

bigint of_number(std::uint64_t value)
{
    bigint bn = of({std::uint32_t(value), std::uint32_t(value >> 32)});
    while (bn->length > 0 && bn->data[bn->length - 1] == 0)
        --bn->length;
    return bn;
}

rsa_unit unit_of(std::uint64_t p, std::uint64_t q)
{
    rsa_unit unit{ZRC_New_RSA()};
    unit->p = of_number(p).release();
    unit->q = of_number(q).release();
    unit->e = of({1}).release();
    unit->d = of({1}).release();
    unit->n = of({15}).release(); // of no account
    return unit;
}

// The moduli of the definition: (p - 1)(q - 1), and that by the greatest common divisor of its factors.
struct orders {
    bigint phi{ZRC_New_BIGINT()}, lambda{ZRC_New_BIGINT()};
    bool exist = false;

    explicit orders(const ZRC_RSA_UNIT& unit)
    {
        const bigint p{ZRC_Dup_BIGINT(unit.p)}, q{ZRC_Dup_BIGINT(unit.q)};
        if (ZRC_Sub_BIGINT_Word(p.get(), 1) != 0 || ZRC_Sub_BIGINT_Word(q.get(), 1) != 0) return;
        if (p->length == 0 || q->length == 0) return;
        exist = ZRC_Mtp_BIGINT(phi.get(), p.get(), q.get(), unit.pool) == 0 &&
                zrc_Gcd_BIGINT(p.get(), p.get(), q.get(), unit.pool) == 0 &&
                ZRC_Div_BIGINT(lambda.get(), nullptr, phi.get(), p.get(), unit.pool) == 0;
    }
};

// As it is defined, with both moduli.
bool is_key_pair(const ZRC_RSA_UNIT& unit, const orders& moduli)
{
    const bigint rest{ZRC_New_BIGINT()};
    for (const bigint* modulus : {&moduli.phi, &moduli.lambda}) {
        if (!moduli.exist) continue;
        EXPECT_EQ(ZRC_Mod_Mtp_BIGINT(rest.get(), unit.e, unit.d, modulus->get(), unit.pool), 0U);
        if (words_of(rest) == test::word_list{1}) return true;
    }
    return false;
}

TEST(RsaKeyPair, IsJudgedAsItIsDefinedForAllSmallNumbers)
{
    const std::uint64_t largest = test::kShare == 1 ? 14 : 8;
    for (std::uint64_t p = 0; p <= largest; ++p) {
        for (std::uint64_t q = 0; q <= largest; ++q) {
            const rsa_unit unit = unit_of(p, q);
            const orders moduli{*unit};
            for (const std::uint32_t e : {0U, 1U, 3U, 7U}) {
                for (std::uint32_t d = 0; d <= 40; ++d) {
                    ASSERT_EQ(ZRC_Set_BIGINT_Word(unit->e, e) | ZRC_Set_BIGINT_Word(unit->d, d), 0U);
                    ASSERT_EQ(zrc::verify_RSA_KEY(unit.get()), is_key_pair(*unit, moduli) ? 0U : 1U)
                        << p << ' ' << q << ' ' << e << ' ' << d;
                }
            }
        }
    }
}

TEST(RsaKeyPair, IsJudgedAsItIsDefinedWherePredecessorsChangeTheirWords)
{
    constexpr std::uint64_t kWord = std::uint64_t{1} << 32;
    const std::uint64_t primes[] = {0,     1,         2,         3,         4,         65537, kWord - 1,
                                    kWord, kWord + 1, kWord + 2, kWord + 3, 2 * kWord, 7};
    for (const std::uint64_t p : primes) {
        for (const std::uint64_t q : primes) {
            const rsa_unit unit = unit_of(p, q);
            const orders moduli{*unit};
            int good = 0;
            for (const ZRC_BIGINT* base : {moduli.phi.get(), moduli.lambda.get(), unit->p, unit->q}) {
                for (const std::uint32_t factor : {1U, 3U}) {
                    for (const std::uint32_t addend : {0U, 1U, 2U}) {
                        ASSERT_EQ(ZRC_Copy_BIGINT(unit->d, base), 0U);
                        ASSERT_EQ(ZRC_Mtp_BIGINT_Word(unit->d, factor) | ZRC_Add_BIGINT_Word(unit->d, addend), 0U);
                        const bool expected = is_key_pair(*unit, moduli);
                        ASSERT_EQ(zrc::verify_RSA_KEY(unit.get()), expected ? 0U : 1U) << p << ' ' << q;
                        good += expected;
                    }
                }
            }
            EXPECT_EQ(good >= 4, p >= 2 && q >= 2 && (p != 2 || q != 2)) << p << ' ' << q;
        }
    }
}

TEST(RsaKeyPair, NeedsFiveNumbersAndDoesNotLookAtTheModulus)
{
    EXPECT_EQ(zrc::verify_RSA_KEY(nullptr), 1U);
    const rsa_key key{512};
    const rsa_unit unit = key.with_everything();
    EXPECT_EQ(zrc::verify_RSA_KEY(unit.get()), 0U);
    unit->n->data[0] ^= 2;
    EXPECT_EQ(zrc::verify_RSA_KEY(unit.get()), 0U) << "n is not compared with p q";
    unit->n->data[0] ^= 2;
    unit->d->data[0] ^= 2;
    EXPECT_EQ(zrc::verify_RSA_KEY(unit.get()), 1U);
    unit->d->data[0] ^= 2;
    for (ZRC_BIGINT* ZRC_RSA_UNIT::*const part :
         {&ZRC_RSA_UNIT::p, &ZRC_RSA_UNIT::q, &ZRC_RSA_UNIT::n, &ZRC_RSA_UNIT::e, &ZRC_RSA_UNIT::d}) {
        ZRC_BIGINT* const taken = std::exchange((*unit).*part, nullptr);
        EXPECT_EQ(zrc::verify_RSA_KEY(unit.get()), 1U);
        EXPECT_FALSE(zrc::has_rsa_key_pair(*unit));
        (*unit).*part = taken;
    }
}

// The result of the operation, without zero words on top.
bigint power_by_crt(const rsa_unit& unit, const bigint& x)
{
    bigint result{ZRC_New_BIGINT()};
    EXPECT_EQ(zrc::crt_RSA(unit.get(), result.get(), x.get()), 0U);
    while (result->length > 0 && result->data[result->length - 1] == 0)
        --result->length;
    return result;
}

bigint power_by_definition(const rsa_unit& unit, const bigint& x)
{
    bigint result{ZRC_New_BIGINT()}; // stays 0 for a base of 0
    EXPECT_EQ(ZRC_Mod_Exp_Mont_BIGINT(result.get(), x.get(), unit->d, unit->n, unit->pool), 0U);
    return result;
}

std::vector<bigint> bases(const rsa_unit& unit)
{
    test::repeatable random{7};
    std::vector<bigint> all;
    for (const ZRC_BIGINT* value : {unit->p, unit->q, unit->n})
        all.emplace_back(ZRC_Dup_BIGINT(value));
    all.back()->data[0] -= 1; // n - 1
    for (const std::uint32_t word : {0U, 1U, 2U})
        all.push_back(of({word}));
    all[3]->length = 0;
    for (int i = 0; i < 5; ++i) {
        all.push_back(test::of_bytes(random.data(zrc::rsa_modulus_bytes(*unit))));
        EXPECT_EQ(ZRC_Div_BIGINT(nullptr, all.back().get(), all.back().get(), unit->n, unit->pool), 0U);
    }
    return all;
}

// The same key with the smaller prime first.
void swap_primes(ZRC_RSA_UNIT& unit)
{
    std::swap(unit.p, unit.q);
    std::swap(unit.dP, unit.dQ);
    ASSERT_EQ(ZRC_Mod_Inverse_BIGINT(unit.qInv, unit.q, unit.p, unit.pool), 0U);
}

TEST(RsaPrivateOperation, BothRoadsGiveThePower)
{
    for (const int bits : {256, 512, 1024, 2041, 2049}) {
        SCOPED_TRACE(bits);
        const rsa_unit unit = rsa_key{bits}.with_everything();
        for (int order = 0; order < 2; ++order) {
            for (const bigint& x : bases(unit)) {
                const bigint expected = power_by_definition(unit, x);
                EXPECT_EQ(words_of(power_by_crt(unit, x)), words_of(expected));
                for (const std::uint32_t mode : {0U, 8U}) {
                    const bigint y{ZRC_Dup_BIGINT(x.get())};
                    unit->mode = mode;
                    EXPECT_EQ(zrc::rsa_private_operation(*unit, *y, *y, true).failed, private_step::done);
                    EXPECT_EQ(words_of(y), words_of(expected));
                }
            }
            swap_primes(*unit);
        }
    }
}

TEST(RsaPrivateOperation, PrimesOfDifferentLengths)
{
    constexpr std::int32_t kSizes[][2] = {{33, 400}, {400, 33}, {16, 17}, {64, 257}};
    for (const auto& [p_bits, q_bits] : kSizes) {
        SCOPED_TRACE(testing::Message() << p_bits << ' ' << q_bits);
        const rsa_unit unit{ZRC_New_RSA()};
        for (ZRC_BIGINT** number : {&unit->n, &unit->d, &unit->p, &unit->q, &unit->dP, &unit->dQ, &unit->qInv})
            *number = ZRC_New_BIGINT();
        ASSERT_EQ(ZRC_Generate_BIGINT_Prime_Ex(unit->p, p_bits, unit->pool), 0U);
        ASSERT_EQ(ZRC_Generate_BIGINT_Prime_Ex(unit->q, q_bits, unit->pool), 0U);
        ASSERT_EQ(ZRC_Mtp_BIGINT(unit->n, unit->p, unit->q, unit->pool), 0U);
        ASSERT_EQ(ZRC_Rand_BIGINT_Ex(unit->d, p_bits + q_bits, 0, 1), 0U);
        for (const auto& [prime, exponent] : {std::pair{unit->p, unit->dP}, {unit->q, unit->dQ}}) {
            const bigint order{ZRC_Dup_BIGINT(prime)};
            order->data[0] -= 1;
            ASSERT_EQ(ZRC_Div_BIGINT(nullptr, exponent, unit->d, order.get(), unit->pool), 0U);
        }
        ASSERT_EQ(ZRC_Mod_Inverse_BIGINT(unit->qInv, unit->q, unit->p, unit->pool), 0U);
        for (const bigint& x : bases(unit))
            EXPECT_EQ(words_of(power_by_crt(unit, x)), words_of(power_by_definition(unit, x)));
    }
}

// A wrong dP shows which road was taken. With a pair of ones the blinded base is the base.
TEST(RsaPrivateOperation, TheRemainderTheoremIsForWholeKeysEncodingsAndLongBases)
{
    const rsa_unit unit = rsa_key{512}.with_everything();
    ASSERT_EQ(ZRC_Set_BIGINT_Word(unit->blinding, 1) | ZRC_Set_BIGINT_Word(unit->unblinding, 1), 0U);
    ASSERT_EQ(ZRC_Add_BIGINT_Word(unit->dP, 1), 0U);
    const auto inverse_bits = std::int32_t(ZRC_Get_BIGINT_Bits_Length(unit->qInv));
    const auto takes_crt = [&](std::int32_t base_bits) {
        const bigint x{ZRC_New_BIGINT()}, y{ZRC_New_BIGINT()};
        EXPECT_EQ(ZRC_Set_BIGINT_Bit(x.get(), base_bits - 1), 0U);
        EXPECT_EQ(zrc::rsa_private_operation(*unit, *y, *x, false).failed, private_step::done);
        return words_of(y) != words_of(power_by_definition(unit, x));
    };

    unit->mode = 0xFFFF01;
    EXPECT_TRUE(takes_crt(511));
    EXPECT_TRUE(takes_crt(inverse_bits + 9));
    EXPECT_FALSE(takes_crt(inverse_bits + 8));
    unit->mode = 0x05000300;
    EXPECT_FALSE(takes_crt(511)) << "the low byte alone is the mode";
    unit->mode = 16;
    unit->use_crt = 0;
    EXPECT_FALSE(takes_crt(511));
    unit->use_crt = 2;
    unit->key_flags = 0x17;
    EXPECT_FALSE(takes_crt(511));
    unit->key_flags = 0x08;
    EXPECT_TRUE(takes_crt(511));
    for (ZRC_BIGINT* ZRC_RSA_UNIT::*const part :
         {&ZRC_RSA_UNIT::p, &ZRC_RSA_UNIT::q, &ZRC_RSA_UNIT::dP, &ZRC_RSA_UNIT::dQ, &ZRC_RSA_UNIT::qInv}) {
        ZRC_BIGINT* const taken = std::exchange((*unit).*part, nullptr);
        EXPECT_FALSE(takes_crt(511));
        const bigint y{ZRC_New_BIGINT()};
        EXPECT_EQ(zrc::crt_RSA(unit.get(), y.get(), unit->n), 1U);
        (*unit).*part = taken;
    }
}

TEST(RsaPrivateOperation, SaysWhereItEnded)
{
    const rsa_unit unit = rsa_key{512}.with_everything();
    const bigint x = of({5}), y = of({9});
    unit->mode = 8;
    const auto run = [&](bool check) {
        const private_outcome outcome = zrc::rsa_private_operation(*unit, *y, *x, check);
        return std::pair{outcome.failed, outcome.code};
    };
    const auto without = [&](ZRC_BIGINT* ZRC_RSA_UNIT::*part, auto operation) {
        ZRC_BIGINT* const taken = std::exchange((*unit).*part, nullptr);
        operation();
        (*unit).*part = taken;
    };

    unit->d->data[0] ^= 2;
    EXPECT_EQ(run(true), (std::pair{private_step::key_pair, 1U}));
    EXPECT_EQ(run(false), (std::pair{private_step::done, 0U})) << "and d is not needed with CRT values";
    unit->d->data[0] ^= 2;
    const test::word_list power = words_of(y);

    unit->p->data[0] ^= 1; // an even prime
    EXPECT_EQ(run(false), (std::pair{private_step::crt, 1U}));
    unit->p->data[0] ^= 1;
    EXPECT_EQ(words_of(y), power) << "unchanged";

    without(&ZRC_RSA_UNIT::qInv, [&] {
        without(&ZRC_RSA_UNIT::d, [&] { EXPECT_EQ(run(true), (std::pair{private_step::exponentiation, 1U})); });
    });
    ZRC_BIGINT* const pair[] = {std::exchange(unit->blinding, nullptr), std::exchange(unit->unblinding, nullptr)};
    without(&ZRC_RSA_UNIT::e, [&] { EXPECT_EQ(run(false), (std::pair{private_step::blinding, 1U})); });
    EXPECT_EQ(run(true), (std::pair{private_step::done, 0U})) << "the pair is made when it is missing";
    EXPECT_TRUE(unit->blinding && unit->unblinding);
    EXPECT_EQ(words_of(y), power);
    for (ZRC_BIGINT* half : pair)
        ZRC_Free_BIGINT(half);
}

// The number of failures for each step, and nothing but success in the end.
TEST(RsaWithoutMemory, EveryStepFailsWithItsCode)
{
    std::uint8_t drawn = 0;
    ASSERT_EQ(ZRC_Rand_Bytes(&drawn, 1), 0U); // the generator stays locked when an allocation of its own fails
    const rsa_key key{512};
    const auto distinct = [](const std::vector<std::uint32_t>& codes) {
        return std::set<std::uint32_t>{codes.begin(), codes.end()};
    };
    using codes = std::set<std::uint32_t>;

    EXPECT_EQ(distinct(test::codes_with_failing_allocations([] { return rsa_unit{ZRC_New_RSA()} ? 0U : 1U; })),
              (codes{0, 1}));
    const rsa_unit whole = key.with_everything();
    EXPECT_EQ(
        distinct(test::codes_with_failing_allocations([&] { return rsa_unit{ZRC_Dup_RSA(whole.get())} ? 0U : 1U; })),
        (codes{0, 1}));

    const rsa_unit unit = key.with_everything();
    EXPECT_EQ(distinct(test::codes_with_failing_allocations([&] {
                  unit->key_flags = 0;
                  const std::uint32_t code =
                      ZRC_Set_RSA_Params(unit.get(), key.n.get(), key.e.get(), key.d.get(), key.p.get(), key.q.get(),
                                         key.dp.get(), key.dq.get(), key.qinv.get());
                  EXPECT_EQ(unit->n == nullptr, code == 0x1801003A);
                  EXPECT_EQ(unit->key_flags, code == 0x1801003A ? 0 : 0x0F);
                  EXPECT_EQ(unit->blinding == nullptr, code != 0);
                  return code;
              })),
              (codes{0, 0x1801003A, 0x18010059}));
    EXPECT_EQ(distinct(test::codes_with_failing_allocations(
                  [&] { return ZRC_Set_RSA_Public_Params(unit.get(), key.n.get(), key.e.get()); })),
              (codes{0, 0x1802003A}));

    const bigint x{ZRC_Dup_BIGINT(whole->n)};
    x->data[0] -= 1;
    for (const std::uint32_t mode : {0U, 1U}) {
        std::set<private_step> steps;
        whole->mode = mode;
        test::codes_with_failing_allocations([&] {
            const int planned = std::exchange(test::allocations_until_failure, -1);
            zrc::drop_blinding(*whole);
            ZRC_Free_BIGINT_Pool(whole->pool); // its temporaries keep their arrays
            whole->pool = ZRC_New_BIGINT_Pool();
            bigint y{ZRC_New_BIGINT()};
            test::allocations_until_failure = planned;
            const private_outcome outcome = zrc::rsa_private_operation(*whole, *y, *x, true);
            test::allocations_until_failure = -1;
            steps.insert(outcome.failed);
            EXPECT_EQ(outcome.failed == private_step::done, outcome.code == 0);
            EXPECT_EQ(whole->pool->used, 0);
            if (outcome.failed == private_step::exponentiation) {
                EXPECT_EQ(outcome.code, 0x040A003AU);
            }
            return outcome.code;
        });
        EXPECT_EQ(steps,
                  (std::set{private_step::done, private_step::blinding, private_step::key_pair,
                            mode == 0 ? private_step::exponentiation : private_step::crt, private_step::unblinding}));
    }
}

// A search for a prime whose test fails for want of memory ends with the candidate as it stands. The test of the pair
// is there to find that out.
TEST(RsaWithoutMemory, GenerationFailsOrGivesAKey)
{
    std::uint8_t drawn = 0;
    ASSERT_EQ(ZRC_Rand_Bytes(&drawn, 1), 0U);
    const bigint e = of({65537});
    const test::release_watch watch;
    std::set<std::uint32_t> seen;
    bool done = false;
    for (int allocations = 0; !done; allocations += allocations < 60 ? 1 : 31) {
        rsa_unit unit{ZRC_New_RSA()};
        test::allocations_until_failure = allocations;
        const std::uint32_t code = ZRC_Generate_RSA_Params_Ex(unit.get(), e.get(), 600, 2);
        done = std::exchange(test::allocations_until_failure, -1) >= 0;
        seen.insert(code);
        EXPECT_EQ(unit->pool->used, 0);
        if (code == 0) {
            EXPECT_EQ(unit->key_flags, 0x1F);
            EXPECT_EQ(zrc::verify_RSA_KEY(unit.get()), 0U);
        }
        unit.reset();
        EXPECT_EQ(watch.live_blocks(), 0U);
    }
    for (const std::uint32_t code : {0U, 0x180B001BU, 0x180B003AU, 0x180B0036U})
        EXPECT_TRUE(seen.count(code)) << std::hex << code;
}

std::size_t pool_blocks(const ZRC_RSA_UNIT& unit)
{
    return std::size_t(unit.pool->capacity) / std::size(ZRC_BIGINT_POOL_BLOCK{}.bigint);
}

bool temporaries_are_clean(const ZRC_RSA_UNIT& unit)
{
    for (const ZRC_BIGINT_POOL_BLOCK* block = unit.pool->head; block; block = block->next)
        for (const ZRC_BIGINT& bn : block->bigint)
            if (std::any_of(bn.data, bn.data + bn.allocated, [](std::uint32_t word) { return word != 0; }))
                return false;
    return true;
}

TEST(RsaSecrets, NothingIsLeftInMemory)
{
    const rsa_key key{512};
    const bigint x = of({1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16}), y{ZRC_New_BIGINT()}, e = of({65537});
    std::uint8_t drawn = 0;
    ASSERT_EQ(ZRC_Rand_Bytes(&drawn, 1), 0U);

    const test::release_watch watch;
    int not_secret = 0; // a pool and its blocks hold no numbers
    rsa_unit unit = key.with_everything();
    EXPECT_TRUE(temporaries_are_clean(*unit));
    for (const std::uint32_t mode : {0U, 1U}) {
        unit->mode = mode;
        EXPECT_EQ(zrc::rsa_private_operation(*unit, *y, *x, true).failed, private_step::done);
        EXPECT_TRUE(temporaries_are_clean(*unit));
    }
    EXPECT_EQ(test::dirty_releases, 0);
    rsa_unit generated{ZRC_Dup_RSA(unit.get())};
    EXPECT_EQ(ZRC_Generate_RSA_Params_Ex(generated.get(), e.get(), 600, 1), 0U);
    EXPECT_TRUE(temporaries_are_clean(*generated));
    EXPECT_EQ(test::dirty_releases, 0);
    for (rsa_unit* used : {&unit, &generated}) {
        not_secret += 1 + int(pool_blocks(**used));
        used->reset();
        EXPECT_EQ(test::dirty_releases, not_secret);
    }
}

#if KESTRIM_TEST_VALGRIND

// Public are the lengths of the numbers, that p and q are odd with a top word that is not zero, and the bit length of
// qInv, which decides upon the road.
void hide(const ZRC_BIGINT* number, std::int32_t below, std::int32_t above)
{
    VALGRIND_MAKE_MEM_UNDEFINED(number->data + below, 4 * std::size_t(number->length - below - above));
}

void hide_private_numbers(const ZRC_RSA_UNIT& unit)
{
    for (const ZRC_BIGINT* exponent : {unit.d, unit.dP, unit.dQ})
        hide(exponent, 0, 0);
    for (const ZRC_BIGINT* prime : {unit.p, unit.q})
        hide(prime, 1, 1);
    hide(unit.qInv, 0, 1);
}

void force_kernels(const char* name)
{
    for (const auto& entry : zrc::mod_exp_kernels.list())
        if (std::strcmp(entry.name, name) == 0) zrc::mod_exp_kernels.force(entry.run);
    for (const auto& entry : zrc::product_kernels.list())
        if (std::strcmp(entry.name, name) == 0) zrc::product_kernels.force(entry.run);
}

// Valgrind executes ADX instructions, although the processor it shows has none; it knows no AVX-512.
TEST(ConstantTimeRsa, PrivateOperation)
{
    if (!RUNNING_ON_VALGRIND) GTEST_SKIP() << "not under valgrind";
    const rsa_unit unit = rsa_key{512}.with_everything();
    const bigint x = of(test::word_list(15, 0xFEDCBA98));
    const bigint expected = power_by_definition(unit, x);
    const rsa_unit original{ZRC_Dup_RSA(unit.get())};
    for (const char* kernels : {"adx", "portable"}) {
        force_kernels(kernels);
        for (const std::uint32_t mode : {0U, 1U}) {
            for (const bool check : {false, true}) {
                SCOPED_TRACE(testing::Message() << kernels << ", mode " << mode << (check ? ", with the check" : ""));
                const bigint y{ZRC_New_BIGINT()};
                hide_private_numbers(*unit);
                const auto before = VALGRIND_COUNT_ERRORS;
                const private_outcome outcome = zrc::rsa_private_operation(*unit, *y, *x, check);
                const auto errors = VALGRIND_COUNT_ERRORS - before;
                VALGRIND_MAKE_MEM_DEFINED(y.get(), sizeof *y);
                VALGRIND_MAKE_MEM_DEFINED(y->data, 4 * std::size_t(y->allocated));
                EXPECT_EQ(errors, check ? 1U : 0U) << "the answer of the check is seen";
                EXPECT_EQ(outcome.failed, private_step::done);
                EXPECT_EQ(words_of(y), words_of(expected));
            }
        }
    }
    zrc::mod_exp_kernels.force(nullptr);
    zrc::product_kernels.force(nullptr);
}

#endif

} // namespace
