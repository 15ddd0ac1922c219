// Sums, products, quotients, shifts, modular arithmetic and random values: published answers, the documented
// peculiarities, every code, growth, aliasing and values that are not normalised. The comparison with another
// library, by the million, is in bigint_peer_test.cpp.
#include "kestrim/bigint_arithmetic.h"
#include "tests/bigint/bigint_value.hpp"
#include "tests/vector_file.hpp"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <gtest/gtest.h>
#include <string>
#include <utility>
#include <vector>

namespace {

using test::bigint;
using test::of;
using test::of_bytes;
using test::word_list;
using test::words_of;
using Operation = test::with_pool;

const word_list kOnes(16, UINT32_MAX);

// Runs `compute` with a fresh result and compares that with a value of the vector.
void expect_value(const test::stanza& vector, const std::string& name, auto compute)
{
    const bigint r{ZRC_New_BIGINT()};
    EXPECT_EQ(compute(r.get()), 0U) << vector.place;
    EXPECT_EQ(words_of(r), words_of(of_bytes(vector[name]))) << vector.place << ' ' << name;
}

TEST_F(Operation, GivesThePublishedSumsAndDifferences)
{
    for (const test::stanza& vector : test::read_vectors("bigint_arithmetic.txt", "add and sub")) {
        const bigint a = of_bytes(vector["a"]), b = of_bytes(vector["b"]), sum = of_bytes(vector["sum"]);
        expect_value(vector, "sum", [&](ZRC_BIGINT* r) { return ZRC_Add_BIGINT(r, a.get(), b.get()); });
        expect_value(vector, "sum", [&](ZRC_BIGINT* r) { return ZRC_Add_BIGINT(r, b.get(), a.get()); });
        expect_value(vector, "difference", [&](ZRC_BIGINT* r) { return ZRC_Sub_BIGINT(r, a.get(), b.get()); });
        expect_value(vector, "a", [&](ZRC_BIGINT* r) { return ZRC_Sub_BIGINT(r, sum.get(), b.get()); });
    }
}

TEST_F(Operation, GivesThePublishedProductsAndSquares)
{
    for (const char* const section : {"mul", "mul sparse"}) {
        for (const test::stanza& vector : test::read_vectors("bigint_words.txt", section)) {
            const bigint a = of_bytes(vector["a"]), b = of_bytes(vector["b"]);
            expect_value(vector, "product", [&](ZRC_BIGINT* r) { return ZRC_Mtp_BIGINT(r, a.get(), b.get(), pool()); });
            expect_value(vector, "product", [&](ZRC_BIGINT* r) { return ZRC_Mtp_BIGINT(r, b.get(), a.get(), pool()); });
        }
    }
    for (const test::stanza& vector : test::read_vectors("bigint_words.txt", "sqr")) {
        const bigint a = of_bytes(vector["a"]);
        expect_value(vector, "square", [&](ZRC_BIGINT* r) { return ZRC_Sqr_BIGINT(r, a.get(), pool()); });
        expect_value(vector, "square", [&](ZRC_BIGINT* r) { return ZRC_Mtp_BIGINT(r, a.get(), a.get(), pool()); });
    }
}

TEST_F(Operation, GivesThePublishedQuotientsAndRemainders)
{
    for (const test::stanza& vector : test::read_vectors("bigint_arithmetic.txt", "div")) {
        const bigint a = of_bytes(vector["a"]), d = of_bytes(vector["d"]);
        for (ZRC_BIGINT_POOL* const own : {pool(), static_cast<ZRC_BIGINT_POOL*>(nullptr)}) {
            expect_value(vector, "quotient",
                         [&](ZRC_BIGINT* r) { return ZRC_Div_BIGINT(r, nullptr, a.get(), d.get(), own); });
            expect_value(vector, "remainder",
                         [&](ZRC_BIGINT* r) { return ZRC_Div_BIGINT(nullptr, r, a.get(), d.get(), own); });
        }
    }
}

TEST_F(Operation, GivesThePublishedShifts)
{
    for (const test::stanza& vector : test::read_vectors("bigint_arithmetic.txt", "shift")) {
        const auto n = std::int32_t(ZRC_Get_BIGINT_Word(of_bytes(vector["n"]).get()));
        const bigint a = of_bytes(vector["a"]);
        expect_value(vector, "left", [&](ZRC_BIGINT* r) { return zrc_Left_Shift_BIGINT(r, a.get(), n); });
        expect_value(vector, "right", [&](ZRC_BIGINT* r) { return zrc_Right_Shift_BIGINT(r, a.get(), n); });
    }
}

TEST_F(Operation, GivesThePublishedModularResults)
{
    for (const test::stanza& vector : test::read_vectors("bigint_arithmetic.txt", "modmul")) {
        const bigint a = of_bytes(vector["a"]), b = of_bytes(vector["b"]), m = of_bytes(vector["m"]);
        expect_value(vector, "product",
                     [&](ZRC_BIGINT* r) { return ZRC_Mod_Mtp_BIGINT(r, a.get(), b.get(), m.get(), pool()); });
        expect_value(vector, "difference",
                     [&](ZRC_BIGINT* r) { return ZRC_Mod_Sub_BIGINT(r, a.get(), b.get(), m.get(), pool()); });
    }
    for (const auto& [file, section] :
         {std::pair{"bigint_arithmetic.txt", "modexp even modulus"}, std::pair{"modexp.txt", "modexp odd modulus"}}) {
        for (const test::stanza& vector : test::read_vectors(file, section)) {
            const bigint a = of_bytes(vector["a"]), e = of_bytes(vector["e"]), m = of_bytes(vector["m"]);
            for (ZRC_BIGINT_POOL* const own : {pool(), static_cast<ZRC_BIGINT_POOL*>(nullptr)})
                expect_value(vector, "power",
                             [&](ZRC_BIGINT* r) { return ZRC_Mod_Exp_BIGINT(r, a.get(), e.get(), m.get(), own); });
        }
    }
}

TEST_F(Operation, AZeroOperandGivesOneInProductsAndZeroInModularOnesAndSquares)
{
    const bigint zero = of({}), three = of({3}), six = of({6}), nine = of({9}), r = of({7, 7});
    EXPECT_EQ(ZRC_Mtp_BIGINT(r.get(), zero.get(), three.get(), nullptr), 0U);
    EXPECT_EQ(words_of(r), word_list{1});
    EXPECT_EQ(ZRC_Mtp_BIGINT(r.get(), three.get(), zero.get(), pool()), 0U);
    EXPECT_EQ(words_of(r), word_list{1});
    EXPECT_EQ(ZRC_Mtp_BIGINT(r.get(), ZRC_Value_Zero_BIGINT(), three.get(), pool()), 0U);
    EXPECT_EQ(words_of(r), word_list{}); // one word that is 0: not the special case
    EXPECT_EQ(ZRC_Sqr_BIGINT(six.get(), zero.get(), nullptr), 0U);
    EXPECT_EQ(words_of(six), word_list{});

    EXPECT_EQ(ZRC_Set_BIGINT_Word(r.get(), 7), 0U);
    EXPECT_EQ(ZRC_Mod_Mtp_BIGINT(r.get(), zero.get(), three.get(), nine.get(), pool()), 0U);
    EXPECT_EQ(words_of(r), word_list{});
    EXPECT_EQ(ZRC_Set_BIGINT_Word(six.get(), 6), 0U);
    EXPECT_EQ(ZRC_Mod_Exp_BIGINT(r.get(), six.get(), three.get(), of({36}).get(), pool()), 0U);
    EXPECT_EQ(words_of(r), word_list{}); // an intermediate 0 is not a 1 either
    EXPECT_EQ(ZRC_Mod_Exp_BIGINT(r.get(), three.get(), of({5}).get(), nine.get(), pool()), 0U);
    EXPECT_EQ(words_of(r), word_list{});
}

TEST_F(Operation, AnExponentOfZeroGivesOneAndABaseOfZeroGivesZero)
{
    struct {
        word_list a, e, m, power;
    } const cases[] = {{{5}, {}, {7}, {1}}, {{}, {}, {7}, {1}},  {{7}, {}, {7}, {1}},
                       {{5}, {}, {}, {1}},  {{5}, {}, {1}, {1}}, {{}, {3}, {7}, {}},
                       {{7}, {3}, {7}, {}}, {{5}, {3}, {1}, {}}, {{5}, {1}, {7}, {5}}};
    for (const auto& c : cases) {
        const bigint r = of({8, 8});
        EXPECT_EQ(ZRC_Mod_Exp_BIGINT(r.get(), of(c.a).get(), of(c.e).get(), of(c.m).get(), pool()), 0U);
        EXPECT_EQ(words_of(r), c.power);
    }
}

// The documented growth of results, no word more, and none at all the second time.
TEST_F(Operation, ResultsGrowOnceToTheDocumentedSize)
{
    struct {
        std::size_t a, b;
        std::int32_t sum, product, square;
    } const cases[] = {{1, 1, 2, 2, 2},      {4, 4, 5, 8, 8},       {8, 8, 9, 16, 16},     {15, 15, 16, 30, 30},
                       {16, 16, 17, 64, 64}, {16, 17, 18, 128, 64}, {15, 16, 17, 31, 30},  {17, 17, 18, 128, 34},
                       {16, 18, 19, 34, 64}, {31, 32, 33, 128, 62}, {33, 32, 34, 256, 66}, {64, 64, 65, 256, 256}};
    for (const auto& c : cases) {
        const bigint a = of(word_list(c.a, 5)), b = of(word_list(c.b, 6));
        const auto room = [](auto compute) {
            const bigint r{ZRC_New_BIGINT()};
            EXPECT_EQ(compute(r.get()), 0U);
            const std::uint32_t* const array = r->data;
            EXPECT_EQ(compute(r.get()), 0U);
            EXPECT_EQ(r->data, array);
            return r->allocated;
        };
        EXPECT_EQ(room([&](ZRC_BIGINT* r) { return ZRC_Add_BIGINT(r, a.get(), b.get()); }), c.sum);
        EXPECT_EQ(room([&](ZRC_BIGINT* r) { return ZRC_Mtp_BIGINT(r, a.get(), b.get(), pool()); }), c.product);
        EXPECT_EQ(room([&](ZRC_BIGINT* r) { return ZRC_Sqr_BIGINT(r, a.get(), pool()); }), c.square);
    }
}

// Such values come from hexadecimal text with needless zeros. Each array ends where its words end.
TEST_F(Operation, ValuesThatAreNotNormalisedCountAsWhatTheyAreWorth)
{
    const bigint a = of({9, 1, 0, 0}), b = of({5, 0, 0}), zero = of({0, 0, 0}), one = of({1, 0});
    struct {
        const char* name;
        std::function<std::uint32_t(ZRC_BIGINT*)> compute;
        word_list expected;
    } const cases[] = {
        {"add", [&](ZRC_BIGINT* r) { return ZRC_Add_BIGINT(r, b.get(), a.get()); }, {14, 1}},
        {"add zero", [&](ZRC_BIGINT* r) { return ZRC_Add_BIGINT(r, zero.get(), zero.get()); }, {}},
        {"sub", [&](ZRC_BIGINT* r) { return ZRC_Sub_BIGINT(r, a.get(), b.get()); }, {4, 1}},
        {"sub all", [&](ZRC_BIGINT* r) { return ZRC_Sub_BIGINT(r, of({5}).get(), b.get()); }, {}},
        {"sub zero", [&](ZRC_BIGINT* r) { return ZRC_Sub_BIGINT(r, of({}).get(), zero.get()); }, {}},
        {"mtp", [&](ZRC_BIGINT* r) { return ZRC_Mtp_BIGINT(r, a.get(), b.get(), pool()); }, {45, 5}},
        {"mtp zero", [&](ZRC_BIGINT* r) { return ZRC_Mtp_BIGINT(r, a.get(), zero.get(), pool()); }, {}},
        {"sqr", [&](ZRC_BIGINT* r) { return ZRC_Sqr_BIGINT(r, a.get(), pool()); }, {81, 18, 1}},
        {"sqr zero", [&](ZRC_BIGINT* r) { return ZRC_Sqr_BIGINT(r, zero.get(), pool()); }, {}},
        {"div", [&](ZRC_BIGINT* r) { return ZRC_Div_BIGINT(r, nullptr, a.get(), b.get(), pool()); }, {0x33333335}},
        {"mod", [&](ZRC_BIGINT* r) { return ZRC_Div_BIGINT(nullptr, r, b.get(), a.get(), pool()); }, {5}},
        {"mod mtp", [&](ZRC_BIGINT* r) { return ZRC_Mod_Mtp_BIGINT(r, b.get(), b.get(), a.get(), pool()); }, {25}},
        {"mod sub",
         [&](ZRC_BIGINT* r) { return ZRC_Mod_Sub_BIGINT(r, b.get(), of({6}).get(), a.get(), pool()); },
         {8, 1}},
        {"exp", [&](ZRC_BIGINT* r) { return ZRC_Mod_Exp_BIGINT(r, b.get(), b.get(), a.get(), pool()); }, {3125}},
        {"left", [&](ZRC_BIGINT* r) { return zrc_Left_Shift_BIGINT(r, a.get(), 33); }, {0, 18, 2}},
        {"right", [&](ZRC_BIGINT* r) { return zrc_Right_Shift_BIGINT(r, a.get(), 1); }, {0x80000004}},
        {"right, all", [&](ZRC_BIGINT* r) { return zrc_Right_Shift_BIGINT(r, a.get(), 33); }, {}},
    };
    for (const auto& c : cases) {
        const bigint r{ZRC_New_BIGINT()};
        EXPECT_EQ(c.compute(r.get()), 0U) << c.name;
        EXPECT_EQ(words_of(r), c.expected) << c.name;
    }
    EXPECT_EQ(ZRC_Mod_BIGINT_Word(a.get(), 7), (9 + 4) % 7U);
    EXPECT_EQ(ZRC_Sub_BIGINT_Word(one.get(), 2), 0x0404002BU);
    EXPECT_EQ(ZRC_Add_BIGINT_Word(one.get(), 0), 0U);
    EXPECT_EQ(words_of(one), word_list{1});
    EXPECT_EQ(ZRC_Div_BIGINT(a.get(), nullptr, a.get(), zero.get(), pool()), 0x04100028U);
}

TEST_F(Operation, DivisionByZeroAndNullArgumentsHaveTheirCodes)
{
    const bigint a = of({9, 1}), zero = of({}), r = of({7});
    const ZRC_BIGINT* const shared_zero = ZRC_Value_Zero_BIGINT();
    ZRC_BIGINT *const x = a.get(), *const out = r.get();
    struct {
        std::uint32_t found, expected;
    } const cases[] = {
        {ZRC_Add_BIGINT(nullptr, x, x), 0x040D0049},
        {ZRC_Add_BIGINT(out, nullptr, x), 0x040D0049},
        {ZRC_Add_BIGINT(out, x, nullptr), 0x040D0049},
        {ZRC_Sub_BIGINT(nullptr, x, x), 0x040E0049},
        {ZRC_Sub_BIGINT(out, nullptr, x), 0x040E0049},
        {ZRC_Sub_BIGINT(out, x, nullptr), 0x040E0049},
        {ZRC_Sub_BIGINT(out, zero.get(), x), 0x040E002B},
        {ZRC_Sub_BIGINT(out, of({8, 1}).get(), x), 0x040E002B},
        {ZRC_Add_BIGINT_Word(nullptr, 1), 0x04030049},
        {ZRC_Sub_BIGINT_Word(nullptr, 1), 0x04040049},
        {ZRC_Sub_BIGINT_Word(zero.get(), 1), 0x0404002B},
        {ZRC_Sub_BIGINT_Word(out, 8), 0x0404002B},
        {ZRC_Mtp_BIGINT_Word(nullptr, 1), 0x04050049},
        {ZRC_Div_BIGINT_Word(nullptr, 1), UINT32_MAX},
        {ZRC_Div_BIGINT_Word(x, 0), UINT32_MAX},
        {ZRC_Mod_BIGINT_Word(nullptr, 1), UINT32_MAX},
        {ZRC_Mod_BIGINT_Word(x, 0), UINT32_MAX},
        {ZRC_Mtp_BIGINT(nullptr, x, x, pool()), 0x04120049},
        {ZRC_Mtp_BIGINT(out, nullptr, x, pool()), 0x04120049},
        {ZRC_Mtp_BIGINT(out, x, nullptr, pool()), 0x04120049},
        {ZRC_Mtp_BIGINT(out, x, x, nullptr), 0x04120057},
        {ZRC_Sqr_BIGINT(nullptr, x, pool()), 0x04110049},
        {ZRC_Sqr_BIGINT(out, nullptr, pool()), 0x04110049},
        {ZRC_Sqr_BIGINT(out, x, nullptr), 0x04110057},
        {ZRC_Div_BIGINT(out, out, nullptr, zero.get(), nullptr), 0x04100028},
        {ZRC_Div_BIGINT(out, out, x, shared_zero, pool()), 0x04100028},
        {ZRC_Div_BIGINT(out, out, nullptr, x, pool()), 0x04100049},
        {ZRC_Div_BIGINT(out, out, x, nullptr, pool()), 0x04100049},
        {ZRC_Mod_Mtp_BIGINT(nullptr, x, x, x, pool()), 0x04130049},
        {ZRC_Mod_Mtp_BIGINT(out, nullptr, x, x, pool()), 0x04130049},
        {ZRC_Mod_Mtp_BIGINT(out, x, nullptr, x, pool()), 0x04130049},
        {ZRC_Mod_Mtp_BIGINT(out, x, x, nullptr, pool()), 0x04130049},
        {ZRC_Mod_Mtp_BIGINT(out, x, x, x, nullptr), 0x04130057},
        {ZRC_Mod_Mtp_BIGINT(out, x, x, shared_zero, pool()), 0x0413003E},
        {ZRC_Mod_Sub_BIGINT(nullptr, x, x, x, pool()), 0x040F0049},
        {ZRC_Mod_Sub_BIGINT(out, nullptr, x, x, pool()), 0x040F0049},
        {ZRC_Mod_Sub_BIGINT(out, x, nullptr, x, pool()), 0x040F0049},
        {ZRC_Mod_Sub_BIGINT(out, x, x, nullptr, pool()), 0x040F0049},
        {ZRC_Mod_Sub_BIGINT(out, x, x, x, nullptr), 0x040F0057},
        {ZRC_Mod_Sub_BIGINT(out, x, x, zero.get(), pool()), 0x040F003E},
        {ZRC_Mod_Exp_BIGINT(nullptr, x, x, x, pool()), 0x04140049},
        {ZRC_Mod_Exp_BIGINT(out, nullptr, x, x, pool()), 0x04140049},
        {ZRC_Mod_Exp_BIGINT(out, x, nullptr, x, pool()), 0x04140049},
        {ZRC_Mod_Exp_BIGINT(out, x, x, nullptr, pool()), 0x04140049},
        {ZRC_Mod_Exp_BIGINT(out, x, x, shared_zero, pool()), 0x0414003E},
        {zrc_Left_Shift_BIGINT(nullptr, x, 1), 0x04150049},
        {zrc_Left_Shift_BIGINT(out, nullptr, 1), 0x04150049},
        {zrc_Left_Shift_BIGINT(out, x, -1), 0x0415002B},
        {zrc_Left_Shift_BIGINT(out, x, 32 * 0xFFFFFF), 0x04150016},
        {zrc_Left_Shift_BIGINT(out, x, INT32_MAX), 0x04150016},
        {zrc_Right_Shift_BIGINT(nullptr, x, 1), 0x04160049},
        {zrc_Right_Shift_BIGINT(out, nullptr, 1), 0x04160049},
        {zrc_Right_Shift_BIGINT(out, x, INT32_MIN), 0x0416002B},
        {ZRC_Rand_BIGINT_Ex(nullptr, 9, 0, 0), 0x04170049},
        {ZRC_Rand_BIGINT_Ex(out, -1, 0, 0), 0x04170005},
        {ZRC_Rand_BIGINT_Ex(out, INT32_MAX, 0, 0), 0x04170005},
        {ZRC_Rand_BIGINT(nullptr, 9, 0, 0, nullptr, 0), 0x04180049},
        {ZRC_Rand_BIGINT(out, INT32_MIN, 0, 0, nullptr, 0), 0x04180005},
        {ZRC_Rand_BIGINT(out, 9, 0, 0, nullptr, 0x7FFF), 0x04180025},
    };
    for (std::size_t i = 0; i < std::size(cases); ++i)
        EXPECT_EQ(cases[i].found, cases[i].expected) << "row " << i;
    EXPECT_EQ(words_of(a), (word_list{9, 1}));
    EXPECT_EQ(words_of(r), word_list{7});
}

TEST_F(Operation, AResultThatCannotGrowHasItsCodeAndStays)
{
    const bigint a = of(kOnes), b = of({2}), d = of({1, 1});
    std::uint32_t word = 7;
    ZRC_BIGINT fixed{&word, 1, 1, ZRC_BIGINT_STATIC};
    std::vector<std::uint32_t> full = kOnes;
    ZRC_BIGINT fixed_ones{full.data(), 16, 16, ZRC_BIGINT_STATIC};
    struct {
        std::uint32_t found, expected;
    } const cases[] = {
        {ZRC_Add_BIGINT(&fixed, a.get(), b.get()), 0x040D0016},
        {ZRC_Sub_BIGINT(&fixed, a.get(), b.get()), 0x040E0016},
        {ZRC_Add_BIGINT_Word(&fixed_ones, 1), 0x04030016},
        {ZRC_Mtp_BIGINT_Word(&fixed_ones, 2), 0x04050016},
        {ZRC_Mtp_BIGINT(&fixed, b.get(), b.get(), pool()), 0x04120016},
        {ZRC_Mtp_BIGINT(&fixed, a.get(), a.get(), pool()), 0x04120016},
        {ZRC_Mtp_BIGINT(&fixed_ones, &fixed_ones, b.get(), pool()), 0x0412000D},
        {ZRC_Sqr_BIGINT(&fixed, a.get(), pool()), 0x04110016},
        {ZRC_Sqr_BIGINT(&fixed_ones, &fixed_ones, pool()), 0x0411000D},
        {ZRC_Div_BIGINT(&fixed, nullptr, a.get(), d.get(), pool()), 0x0410003A},
        {ZRC_Div_BIGINT(nullptr, &fixed, a.get(), d.get(), nullptr), 0x0410003A},
        {ZRC_Div_BIGINT(nullptr, &fixed, d.get(), a.get(), nullptr), 0x0410003A},
        {ZRC_Mod_Mtp_BIGINT(&fixed, a.get(), a.get(), d.get(), pool()), 0x0413003E},
        {ZRC_Mod_Sub_BIGINT(&fixed, b.get(), d.get(), a.get(), pool()), 0x040F0058},
        {ZRC_Mod_Exp_BIGINT(&fixed, d.get(), b.get(), a.get(), pool()), 0x0414000D},
        {zrc_Left_Shift_BIGINT(&fixed, d.get(), 1), 0x04150016},
        {zrc_Right_Shift_BIGINT(&fixed, a.get(), 1), 0x04160016},
        {ZRC_Rand_BIGINT_Ex(&fixed, 33, 0, 0), 0x04170005},
    };
    for (std::size_t i = 0; i < std::size(cases); ++i)
        EXPECT_EQ(cases[i].found, cases[i].expected) << "row " << i;
    EXPECT_EQ(word, 7U);
    EXPECT_EQ(full, kOnes);
}

// A pool that is of no use: cleared, so that it has nothing to give; full of frames; or with temporaries that are
// taken for static, so that they cannot grow. Every frame is finished again.
TEST_F(Operation, APoolThatFailsHasItsCodes)
{
    const bigint a = of(kOnes), d = of({1, 1}), r{ZRC_New_BIGINT()};
    using with_pool = std::function<std::uint32_t(ZRC_BIGINT_POOL*)>;
    struct {
        with_pool compute;
        std::uint32_t nothing_to_give, no_frame, no_growth;
    } const cases[] = {
        {[&](ZRC_BIGINT_POOL* p) { return ZRC_Mtp_BIGINT(r.get(), a.get(), a.get(), p); }, 0x0412001B, 0x04120057,
         0x04120016},
        {[&](ZRC_BIGINT_POOL* p) { return ZRC_Mtp_BIGINT(a.get(), a.get(), d.get(), p); }, 0x0412001B, 0x04120057,
         0x04120016},
        {[&](ZRC_BIGINT_POOL* p) { return ZRC_Sqr_BIGINT(r.get(), a.get(), p); }, 0x0411001B, 0x04110057, 0x04110016},
        {[&](ZRC_BIGINT_POOL* p) { return ZRC_Div_BIGINT(r.get(), nullptr, a.get(), d.get(), p); }, 0x04100057,
         0x04100057, 0x04100039},
        {[&](ZRC_BIGINT_POOL* p) { return ZRC_Mod_Mtp_BIGINT(r.get(), a.get(), a.get(), d.get(), p); }, 0x0413001B,
         0x04130057, 0x04130044},
        {[&](ZRC_BIGINT_POOL* p) { return ZRC_Mod_Sub_BIGINT(r.get(), a.get(), d.get(), d.get(), p); }, 0x040F001B,
         0x040F0057, 0x040F003E},
        {[&](ZRC_BIGINT_POOL* p) {
             return ZRC_Mod_Sub_BIGINT(r.get(), d.get(), of({2, 1}).get(), a.get(), p);
         },
         0x040F001B, 0x040F0057, 0x040F0001},
        {[&](ZRC_BIGINT_POOL* p) { return ZRC_Mod_Inverse_BIGINT(nullptr, of({3}).get(), d.get(), p); }, 0x0407001B,
         0x04070057, 0x04070016},
        {[&](ZRC_BIGINT_POOL* p) { return ZRC_Mod_Exp_BIGINT(r.get(), a.get(), a.get(), d.get(), p); }, 0x0414001B,
         0x04140057, 0x0414003E},
        {[&](ZRC_BIGINT_POOL* p) { return ZRC_Mod_Exp_BIGINT(r.get(), of({3}).get(), of({2}).get(), d.get(), p); },
         0x0414001B, 0x04140057, 0x0414003E},
    };
    for (std::size_t i = 0; i < std::size(cases); ++i) {
        const test::pool_ptr empty{ZRC_New_BIGINT_Pool()}, full{ZRC_New_BIGINT_Pool()}, stiff{ZRC_New_BIGINT_Pool()};
        ASSERT_EQ(ZRC_Start_BIGINT_Pool(empty.get()), 0U);
        ASSERT_TRUE(ZRC_Get_BIGINT_Pool(empty.get()));
        ASSERT_EQ(ZRC_Clear_BIGINT_Pool(empty.get()), 0U);
        EXPECT_EQ(cases[i].compute(empty.get()), cases[i].nothing_to_give) << "row " << i;
        EXPECT_EQ(empty->depth, 0) << "row " << i;

        while (full->depth < 79)
            ASSERT_EQ(ZRC_Start_BIGINT_Pool(full.get()), 0U);
        EXPECT_EQ(cases[i].compute(full.get()), cases[i].no_frame) << "row " << i;
        EXPECT_EQ(full->depth, 79) << "row " << i;

        ASSERT_EQ(ZRC_Start_BIGINT_Pool(stiff.get()), 0U);
        for (int k = 0; k < 64; ++k)
            ZRC_Get_BIGINT_Pool(stiff.get())->flags |= ZRC_BIGINT_STATIC;
        ASSERT_EQ(ZRC_Finish_BIGINT_Pool(stiff.get()), 0U);
        EXPECT_EQ(cases[i].compute(stiff.get()), cases[i].no_growth) << "row " << i;
        EXPECT_EQ(stiff->depth, -1) << "row " << i;
        EXPECT_EQ(stiff->used, 0) << "row " << i;
    }
    EXPECT_EQ(words_of(a), kOnes);
}

TEST_F(Operation, RandomValuesHaveTheAskedShape)
{
    const bigint r{ZRC_New_BIGINT()};
    const auto bit = [&](std::int32_t index) { return ZRC_Is_BIGINT_Bit_Set(r.get(), index); };
    const auto expect_shape = [&](std::int32_t bits, std::int32_t top, std::int32_t bottom) {
        const auto length = std::int32_t(ZRC_Get_BIGINT_Bits_Length(r.get()));
        EXPECT_TRUE(top < 0 ? length <= bits : length == bits) << bits << ' ' << top;
        EXPECT_TRUE(top <= 0 || bits == 1 || bit(bits - 2) == 1) << bits << ' ' << top;
        EXPECT_TRUE(bottom == 0 || bit(0) == 1) << bits << ' ' << bottom;
    };
    for (const std::int32_t bits : {1, 2, 7, 8, 9, 16, 17, 31, 32, 33, 1024, 1025}) {
        for (const std::int32_t top : {-7, -1, 0, 1, 2}) {
            for (const std::int32_t bottom : {0, 1, -1}) {
                const std::int32_t highest_free = bits - (top < 0 ? 1 : top == 0 ? 2 : 3);
                bool seen[2][2] = {};
                for (int i = 0; i < 64; ++i) { // enough to see a bit that is not forced in both states
                    ASSERT_EQ(ZRC_Rand_BIGINT_Ex(r.get(), bits, top, bottom), 0U);
                    expect_shape(bits, top, bottom);
                    seen[0][bit(highest_free)] = seen[1][bit(0)] = true;
                }
                EXPECT_TRUE(bits < 7 || (seen[0][0] && seen[0][1])) << bits << ' ' << top;
                EXPECT_TRUE(bits < 7 || bottom != 0 || (seen[1][0] && seen[1][1])) << bits << ' ' << top;
            }
        }
    }
    for (const std::int32_t bits : {1, 9, 33}) {
        ASSERT_EQ(ZRC_Rand_BIGINT(r.get(), bits, 1, 1, pool(), 0), 0U);
        expect_shape(bits, 1, 1);
        ASSERT_EQ(ZRC_Rand_BIGINT(r.get(), bits, -1, 0, nullptr, 0), 0U);
        expect_shape(bits, -1, 0);
    }
    for (const auto draw : {+[](ZRC_BIGINT* bn) { return ZRC_Rand_BIGINT_Ex(bn, 0, 1, 1); },
                            +[](ZRC_BIGINT* bn) { return ZRC_Rand_BIGINT(bn, 0, 1, 1, nullptr, 0); }}) {
        EXPECT_EQ(ZRC_Set_BIGINT_Word(r.get(), 5), 0U);
        EXPECT_EQ(draw(r.get()), 0U);
        EXPECT_EQ(words_of(r), word_list{});
    }
}

} // namespace
