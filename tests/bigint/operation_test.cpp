// Sums, products, quotients, shifts, modular arithmetic and random values: published answers, the documented
// peculiarities, every code, growth, and values that are not normalised. bigint_peer_test.cpp compares with another
// library, by the million.
#include "kestrim/bigint_arithmetic.h"
#include "tests/bigint/bigint_value.hpp"
#include "tests/vector_file.hpp"

#include <array>
#include <functional>
#include <string>

namespace {

using test::bigint;
using test::fixed_value;
using test::of;
using test::of_bytes;
using test::word_list;
using test::words_of;
using Operation = test::with_pool;

const word_list kOnes(16, UINT32_MAX);

// What `compute` leaves in a new result.
word_list result(auto compute)
{
    const bigint r = of({});
    EXPECT_EQ(compute(r.get()), 0U);
    return words_of(r);
}

// Compares a new result with a value of the vector.
void expect_value(const test::stanza& vector, const std::string& name, auto compute)
{
    EXPECT_EQ(result(compute), words_of(of_bytes(vector[name]))) << vector.place << ' ' << name;
}

TEST_F(Operation, GivesThePublishedResults)
{
    const auto file = [](const char* section) { return test::read_vectors("bigint_arithmetic.txt", section); };
    const std::array<ZRC_BIGINT_POOL*, 2> pools{pool(), nullptr};
    for (const test::stanza& vector : file("add and sub")) {
        const bigint a = of_bytes(vector["a"]), b = of_bytes(vector["b"]), sum = of_bytes(vector["sum"]);
        expect_value(vector, "sum", [&](auto* r) { return ZRC_Add_BIGINT(r, a, b); });
        expect_value(vector, "sum", [&](auto* r) { return ZRC_Add_BIGINT(r, b, a); });
        expect_value(vector, "difference", [&](auto* r) { return ZRC_Sub_BIGINT(r, a, b); });
        expect_value(vector, "a", [&](auto* r) { return ZRC_Sub_BIGINT(r, sum, b); });
    }
    for (const test::stanza& vector : file("div")) {
        const bigint a = of_bytes(vector["a"]), d = of_bytes(vector["d"]);
        for (ZRC_BIGINT_POOL* const own : pools) {
            expect_value(vector, "quotient", [&](auto* r) { return ZRC_Div_BIGINT(r, nullptr, a, d, own); });
            expect_value(vector, "remainder", [&](auto* r) { return ZRC_Div_BIGINT(nullptr, r, a, d, own); });
        }
    }
    for (const test::stanza& vector : file("shift")) {
        const auto n = std::int32_t(ZRC_Get_BIGINT_Word(of_bytes(vector["n"])));
        const bigint a = of_bytes(vector["a"]);
        expect_value(vector, "left", [&](auto* r) { return zrc_Left_Shift_BIGINT(r, a, n); });
        expect_value(vector, "right", [&](auto* r) { return zrc_Right_Shift_BIGINT(r, a, n); });
    }
    for (const test::stanza& vector : file("modmul")) {
        const bigint a = of_bytes(vector["a"]), b = of_bytes(vector["b"]), m = of_bytes(vector["m"]);
        expect_value(vector, "product", [&](auto* r) { return ZRC_Mod_Mtp_BIGINT(r, a, b, m, pool()); });
        expect_value(vector, "difference", [&](auto* r) { return ZRC_Mod_Sub_BIGINT(r, a, b, m, pool()); });
    }
    for (const char* const section : {"mul", "mul sparse"}) {
        for (const test::stanza& vector : test::read_vectors("bigint_words.txt", section)) {
            const bigint a = of_bytes(vector["a"]), b = of_bytes(vector["b"]);
            expect_value(vector, "product", [&](auto* r) { return ZRC_Mtp_BIGINT(r, a, b, pool()); });
            expect_value(vector, "product", [&](auto* r) { return ZRC_Mtp_BIGINT(r, b, a, pool()); });
        }
    }
    for (const test::stanza& vector : test::read_vectors("bigint_words.txt", "sqr")) {
        const bigint a = of_bytes(vector["a"]);
        expect_value(vector, "square", [&](auto* r) { return ZRC_Sqr_BIGINT(r, a, pool()); });
        expect_value(vector, "square", [&](auto* r) { return ZRC_Mtp_BIGINT(r, a, a, pool()); });
    }
    auto powers = file("modexp even modulus");
    std::ranges::copy(test::read_vectors("modexp.txt", "modexp odd modulus"), std::back_inserter(powers));
    for (const test::stanza& vector : powers) {
        const bigint a = of_bytes(vector["a"]), e = of_bytes(vector["e"]), m = of_bytes(vector["m"]);
        for (ZRC_BIGINT_POOL* const own : pools)
            expect_value(vector, "power", [&](auto* r) { return ZRC_Mod_Exp_BIGINT(r, a, e, m, own); });
    }
}

TEST_F(Operation, AZeroOperandGivesOneInProductsAndZeroInModularOnesAndSquares)
{
    const bigint zero = of({}), three = of({3}), six = of({6}), nine = of({9}), thirty_six = of({36});
    EXPECT_EQ(result([&](auto* r) { return ZRC_Mtp_BIGINT(r, zero, three, nullptr); }), word_list{1});
    EXPECT_EQ(result([&](auto* r) { return ZRC_Mtp_BIGINT(r, three, zero, pool()); }), word_list{1});
    // One word that is 0 is not the special case.
    EXPECT_EQ(result([&](auto* r) { return ZRC_Mtp_BIGINT(r, ZRC_Value_Zero_BIGINT(), three, pool()); }), word_list{});

    const bigint r = of({7, 7});
    const std::function<std::uint32_t()> zeros[] = {
        [&] { return ZRC_Sqr_BIGINT(r, zero, nullptr); },
        [&] { return ZRC_Mod_Mtp_BIGINT(r, zero, three, nine, pool()); },
        [&] { return ZRC_Mod_Exp_BIGINT(r, six, three, thirty_six, pool()); }, // an intermediate 0 is not a 1 either
        [&] { return ZRC_Mod_Exp_BIGINT(r, three, of({5}), nine, pool()); },
    };
    for (const auto& compute : zeros) {
        EXPECT_EQ(ZRC_Set_BIGINT_Word(r, 7), 0U);
        EXPECT_EQ(compute(), 0U);
        EXPECT_EQ(words_of(r), word_list{});
    }
}

TEST_F(Operation, AnExponentOfZeroGivesOneAndABaseOfZeroGivesZero)
{
    const std::array<word_list, 4> cases[] = {{{{5}, {}, {7}, {1}}}, {{{}, {}, {7}, {1}}},  {{{7}, {}, {7}, {1}}},
                                              {{{5}, {}, {}, {1}}},  {{{5}, {}, {1}, {1}}}, {{{}, {3}, {7}, {}}},
                                              {{{7}, {3}, {7}, {}}}, {{{5}, {3}, {1}, {}}}, {{{5}, {1}, {7}, {5}}}};
    for (const auto& [a, e, m, power] : cases) {
        const bigint r = of({8, 8});
        EXPECT_EQ(ZRC_Mod_Exp_BIGINT(r, of(a), of(e), of(m), pool()), 0U);
        EXPECT_EQ(words_of(r), power);
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
            const bigint r = of({});
            EXPECT_EQ(compute(r.get()), 0U);
            const std::uint32_t* const array = r->data;
            EXPECT_EQ(compute(r.get()), 0U);
            EXPECT_EQ(r->data, array);
            return r->allocated;
        };
        EXPECT_EQ(room([&](auto* r) { return ZRC_Add_BIGINT(r, a, b); }), c.sum);
        EXPECT_EQ(room([&](auto* r) { return ZRC_Mtp_BIGINT(r, a, b, pool()); }), c.product);
        EXPECT_EQ(room([&](auto* r) { return ZRC_Sqr_BIGINT(r, a, pool()); }), c.square);
    }
}

// Such values come from hexadecimal text with needless zeros. Each array ends where its words end.
TEST_F(Operation, ValuesThatAreNotNormalisedCountAsWhatTheyAreWorth)
{
    const bigint a = of({9, 1, 0, 0}), b = of({5, 0, 0}), zero = of({0, 0, 0}), one = of({1, 0});
    const bigint none = of({}), five = of({5}), six = of({6});
    struct {
        std::function<std::uint32_t(ZRC_BIGINT*)> compute;
        word_list expected;
    } const cases[] = {
        {[&](auto* r) { return ZRC_Add_BIGINT(r, b, a); }, {14, 1}},
        {[&](auto* r) { return ZRC_Add_BIGINT(r, zero, zero); }, {}},
        {[&](auto* r) { return ZRC_Sub_BIGINT(r, a, b); }, {4, 1}},
        {[&](auto* r) { return ZRC_Sub_BIGINT(r, five, b); }, {}},
        {[&](auto* r) { return ZRC_Sub_BIGINT(r, none, zero); }, {}},
        {[&](auto* r) { return ZRC_Mtp_BIGINT(r, a, b, pool()); }, {45, 5}},
        {[&](auto* r) { return ZRC_Mtp_BIGINT(r, a, zero, pool()); }, {}},
        {[&](auto* r) { return ZRC_Sqr_BIGINT(r, a, pool()); }, {81, 18, 1}},
        {[&](auto* r) { return ZRC_Sqr_BIGINT(r, zero, pool()); }, {}},
        {[&](auto* r) { return ZRC_Div_BIGINT(r, nullptr, a, b, pool()); }, {0x33333335}},
        {[&](auto* r) { return ZRC_Div_BIGINT(nullptr, r, b, a, pool()); }, {5}},
        {[&](auto* r) { return ZRC_Mod_Mtp_BIGINT(r, b, b, a, pool()); }, {25}},
        {[&](auto* r) { return ZRC_Mod_Sub_BIGINT(r, b, six, a, pool()); }, {8, 1}},
        {[&](auto* r) { return ZRC_Mod_Exp_BIGINT(r, b, b, a, pool()); }, {3125}},
        {[&](auto* r) { return zrc_Left_Shift_BIGINT(r, a, 33); }, {0, 18, 2}},
        {[&](auto* r) { return zrc_Right_Shift_BIGINT(r, a, 1); }, {0x80000004}},
        {[&](auto* r) { return zrc_Right_Shift_BIGINT(r, a, 33); }, {}},
    };
    for (const auto& c : cases)
        EXPECT_EQ(result(c.compute), c.expected) << "row " << &c - cases;
    EXPECT_EQ(ZRC_Mod_BIGINT_Word(a, 7), (9 + 4) % 7U);
    EXPECT_EQ(ZRC_Sub_BIGINT_Word(one, 2), 0x0404002BU);
    EXPECT_EQ(ZRC_Add_BIGINT_Word(one, 0), 0U);
    EXPECT_EQ(words_of(one), word_list{1});
    EXPECT_EQ(ZRC_Div_BIGINT(a, nullptr, a, zero, pool()), 0x04100028U);
}

TEST_F(Operation, DivisionByZeroAndNullArgumentsHaveTheirCodes)
{
    using arguments = std::array<ZRC_BIGINT*, 4>;
    const bigint a = of({9, 1}), zero = of({}), r = of({7}), less = of({8, 1});
    const ZRC_BIGINT* const shared_zero = ZRC_Value_Zero_BIGINT();
    ZRC_BIGINT *const x = a, *const out = r;
    // Each of the first `count` arguments is refused as null, and so is a pool where one is needed.
    struct {
        std::uint32_t function;
        std::size_t count;
        bool needs_pool;
        std::uint32_t (*call)(const arguments& x, ZRC_BIGINT_POOL* pool);
    } const functions[] = {
        {0x03, 1, false, [](auto& x, auto*) { return ZRC_Add_BIGINT_Word(x[0], 1); }},
        {0x04, 1, false, [](auto& x, auto*) { return ZRC_Sub_BIGINT_Word(x[0], 1); }},
        {0x05, 1, false, [](auto& x, auto*) { return ZRC_Mtp_BIGINT_Word(x[0], 1); }},
        {0x06, 3, true, [](auto& x, auto* pool) { return zrc_Gcd_BIGINT(x[0], x[1], x[2], pool); }},
        {0x0A, 4, false, [](auto& x, auto*) { return ZRC_Mod_Exp_Mont_BIGINT(x[0], x[1], x[2], x[3], nullptr); }},
        {0x0D, 3, false, [](auto& x, auto*) { return ZRC_Add_BIGINT(x[0], x[1], x[2]); }},
        {0x0E, 3, false, [](auto& x, auto*) { return ZRC_Sub_BIGINT(x[0], x[1], x[2]); }},
        {0x0F, 4, true, [](auto& x, auto* pool) { return ZRC_Mod_Sub_BIGINT(x[0], x[1], x[2], x[3], pool); }},
        {0x11, 2, true, [](auto& x, auto* pool) { return ZRC_Sqr_BIGINT(x[0], x[1], pool); }},
        {0x12, 3, true, [](auto& x, auto* pool) { return ZRC_Mtp_BIGINT(x[0], x[1], x[2], pool); }},
        {0x13, 4, true, [](auto& x, auto* pool) { return ZRC_Mod_Mtp_BIGINT(x[0], x[1], x[2], x[3], pool); }},
        {0x14, 4, false, [](auto& x, auto* pool) { return ZRC_Mod_Exp_BIGINT(x[0], x[1], x[2], x[3], pool); }},
        {0x15, 2, false, [](auto& x, auto*) { return zrc_Left_Shift_BIGINT(x[0], x[1], 1); }},
        {0x16, 2, false, [](auto& x, auto*) { return zrc_Right_Shift_BIGINT(x[0], x[1], 1); }},
        {0x17, 1, false, [](auto& x, auto*) { return ZRC_Rand_BIGINT_Ex(x[0], 9, 0, 0); }},
        {0x18, 1, false, [](auto& x, auto*) { return ZRC_Rand_BIGINT(x[0], 9, 0, 0, nullptr, 0); }},
    };
    for (const auto& f : functions) {
        for (std::size_t i = 0; i < f.count; ++i) {
            arguments given{out, x, x, x};
            given[i] = nullptr;
            EXPECT_EQ(f.call(given, pool()), 0x04000049 | f.function << 16) << i;
        }
        if (f.needs_pool) {
            EXPECT_EQ(f.call({out, x, x, x}, nullptr), 0x04000057 | f.function << 16);
        }
    }
    test::expect_codes({
        {ZRC_Sub_BIGINT(out, zero, x), 0x040E002B},
        {ZRC_Sub_BIGINT(out, less, x), 0x040E002B},
        {ZRC_Sub_BIGINT_Word(zero, 1), 0x0404002B},
        {ZRC_Sub_BIGINT_Word(out, 8), 0x0404002B},
        {ZRC_Div_BIGINT_Word(nullptr, 1), UINT32_MAX},
        {ZRC_Div_BIGINT_Word(x, 0), UINT32_MAX},
        {ZRC_Mod_BIGINT_Word(nullptr, 1), UINT32_MAX},
        {ZRC_Mod_BIGINT_Word(x, 0), UINT32_MAX},
        {ZRC_Div_BIGINT(out, out, nullptr, zero, nullptr), 0x04100028},
        {ZRC_Div_BIGINT(out, out, x, shared_zero, pool()), 0x04100028},
        {ZRC_Div_BIGINT(out, out, nullptr, x, pool()), 0x04100049},
        {ZRC_Div_BIGINT(out, out, x, nullptr, pool()), 0x04100049},
        {ZRC_Mod_Mtp_BIGINT(out, x, x, shared_zero, pool()), 0x0413003E},
        {ZRC_Mod_Sub_BIGINT(out, x, x, zero, pool()), 0x040F003E},
        {ZRC_Mod_Exp_BIGINT(out, x, x, shared_zero, pool()), 0x0414003E},
        {zrc_Left_Shift_BIGINT(out, x, -1), 0x0415002B},
        {zrc_Left_Shift_BIGINT(out, x, 32 * 0xFFFFFF), 0x04150016},
        {zrc_Left_Shift_BIGINT(out, x, INT32_MAX), 0x04150016},
        {zrc_Right_Shift_BIGINT(out, x, INT32_MIN), 0x0416002B},
        {ZRC_Rand_BIGINT_Ex(out, -1, 0, 0), 0x04170005},
        {ZRC_Rand_BIGINT_Ex(out, INT32_MAX, 0, 0), 0x04170005},
        {ZRC_Rand_BIGINT(out, INT32_MIN, 0, 0, nullptr, 0), 0x04180005},
        {ZRC_Rand_BIGINT(out, 9, 0, 0, nullptr, 0x7FFF), 0x04180025},
    });
    EXPECT_EQ(words_of(a), (word_list{9, 1}));
    EXPECT_EQ(words_of(r), word_list{7});
}

TEST_F(Operation, WordsThatJustCarryOrJustFit)
{
    const struct {
        std::uint32_t (*compute)(ZRC_BIGINT*, std::uint32_t);
        word_list a;
        std::uint32_t w;
        word_list expected;
    } cases[] = {
        {ZRC_Add_BIGINT_Word, {UINT32_MAX, UINT32_MAX}, 1, {0, 0, 1}},
        {ZRC_Add_BIGINT_Word, {UINT32_MAX}, 1, {0, 1}},
        {ZRC_Add_BIGINT_Word, {}, 5, {5}},
        {ZRC_Sub_BIGINT_Word, {5}, 5, {}},
        {ZRC_Sub_BIGINT_Word, {4, 1}, 5, {UINT32_MAX}},
        {ZRC_Mtp_BIGINT_Word, {UINT32_MAX, UINT32_MAX}, 1, {UINT32_MAX, UINT32_MAX}},
        {ZRC_Mtp_BIGINT_Word, {UINT32_MAX, 0x55555555}, 3, {UINT32_MAX - 2, 1, 1}},
        {ZRC_Mtp_BIGINT_Word, {1, 2, 3}, 0, {}},
    };
    for (const auto& c : cases) {
        const bigint a = of(c.a);
        EXPECT_EQ(c.compute(a, c.w), 0U) << "row " << &c - cases;
        EXPECT_EQ(words_of(a), c.expected) << "row " << &c - cases;
    }
}

TEST_F(Operation, AResultThatCannotGrowHasItsCodeAndStays)
{
    const bigint a = of(kOnes), b = of({2}), d = of({1, 1});
    fixed_value word{{7}}, full{kOnes}, enough{{1, UINT32_MAX - 1}};
    test::expect_codes({
        {ZRC_Add_BIGINT(word, a, b), 0x040D0016},
        {ZRC_Sub_BIGINT(word, a, b), 0x040E0016},
        {ZRC_Add_BIGINT_Word(full, 1), 0x04030016},
        {ZRC_Add_BIGINT_Word(enough, 5), 0},
        {ZRC_Mtp_BIGINT_Word(full, 2), 0x04050016},
        {ZRC_Mtp_BIGINT(word, b, b, pool()), 0x04120016},
        {ZRC_Mtp_BIGINT(word, a, a, pool()), 0x04120016},
        {ZRC_Mtp_BIGINT(full, full, b, pool()), 0x0412000D},
        {ZRC_Sqr_BIGINT(word, a, pool()), 0x04110016},
        {ZRC_Sqr_BIGINT(full, full, pool()), 0x0411000D},
        {ZRC_Div_BIGINT(word, nullptr, a, d, pool()), 0x0410003A},
        {ZRC_Div_BIGINT(nullptr, word, a, d, nullptr), 0x0410003A},
        {ZRC_Div_BIGINT(nullptr, word, d, a, nullptr), 0x0410003A},
        {ZRC_Mod_Mtp_BIGINT(word, a, a, d, pool()), 0x0413003E},
        {ZRC_Mod_Sub_BIGINT(word, b, d, a, pool()), 0x040F0058},
        {ZRC_Mod_Exp_BIGINT(word, d, b, a, pool()), 0x0414000D},
        {zrc_Left_Shift_BIGINT(word, d, 1), 0x04150016},
        {zrc_Right_Shift_BIGINT(word, a, 1), 0x04160016},
        {ZRC_Rand_BIGINT_Ex(word, 33, 0, 0), 0x04170005},
    });
    EXPECT_TRUE(word.words == word_list{7} && full.words == kOnes);
}

// A pool that is of no use: cleared, so that it has nothing to give; full of frames; or with temporaries that are
// taken for static, so that they cannot grow. Every frame is finished again.
TEST_F(Operation, APoolThatFailsHasItsCodes)
{
    const bigint a = of(kOnes), d = of({1, 1}), r = of({}), two = of({2}), three = of({3}), above = of({2, 1});
    struct {
        std::function<std::uint32_t(ZRC_BIGINT_POOL*)> compute;
        std::uint32_t nothing_to_give, no_frame, no_growth;
    } const cases[] = {
        {[&](auto* p) { return ZRC_Mtp_BIGINT(r, a, a, p); }, 0x0412001B, 0x04120057, 0x04120016},
        {[&](auto* p) { return ZRC_Mtp_BIGINT(a, a, d, p); }, 0x0412001B, 0x04120057, 0x04120016},
        {[&](auto* p) { return ZRC_Sqr_BIGINT(r, a, p); }, 0x0411001B, 0x04110057, 0x04110016},
        {[&](auto* p) { return ZRC_Div_BIGINT(r, nullptr, a, d, p); }, 0x04100057, 0x04100057, 0x04100039},
        {[&](auto* p) { return ZRC_Mod_Mtp_BIGINT(r, a, a, d, p); }, 0x0413001B, 0x04130057, 0x04130044},
        {[&](auto* p) { return ZRC_Mod_Sub_BIGINT(r, a, d, d, p); }, 0x040F001B, 0x040F0057, 0x040F003E},
        {[&](auto* p) { return ZRC_Mod_Sub_BIGINT(r, d, above, a, p); }, 0x040F001B, 0x040F0057, 0x040F0001},
        {[&](auto* p) { return ZRC_Mod_Inverse_BIGINT(nullptr, three, d, p); }, 0x0407001B, 0x04070057, 0x04070016},
        {[&](auto* p) { return ZRC_Mod_Exp_BIGINT(r, a, a, d, p); }, 0x0414001B, 0x04140057, 0x0414003E},
        {[&](auto* p) { return ZRC_Mod_Exp_BIGINT(r, three, two, d, p); }, 0x0414001B, 0x04140057, 0x0414003E},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(&c - cases);
        const test::pool_ptr empty{ZRC_New_BIGINT_Pool()}, full{ZRC_New_BIGINT_Pool()}, stiff{ZRC_New_BIGINT_Pool()};
        ASSERT_EQ(ZRC_Start_BIGINT_Pool(empty), 0U);
        ASSERT_TRUE(ZRC_Get_BIGINT_Pool(empty));
        ASSERT_EQ(ZRC_Clear_BIGINT_Pool(empty), 0U);
        EXPECT_EQ(c.compute(empty), c.nothing_to_give);
        EXPECT_EQ(empty->depth, 0);

        while (full->depth < 79)
            ASSERT_EQ(ZRC_Start_BIGINT_Pool(full), 0U);
        EXPECT_EQ(c.compute(full), c.no_frame);
        EXPECT_EQ(full->depth, 79);

        ASSERT_EQ(ZRC_Start_BIGINT_Pool(stiff), 0U);
        for (int k = 0; k < 64; ++k)
            ZRC_Get_BIGINT_Pool(stiff)->flags |= ZRC_BIGINT_STATIC;
        ASSERT_EQ(ZRC_Finish_BIGINT_Pool(stiff), 0U);
        EXPECT_EQ(c.compute(stiff), c.no_growth);
        EXPECT_TRUE(stiff->depth == -1 && stiff->used == 0);
    }
    EXPECT_EQ(words_of(a), kOnes);
}

TEST_F(Operation, RandomValuesHaveTheAskedShape)
{
    const bigint r = of({});
    const auto bit = [&](std::int32_t index) { return ZRC_Is_BIGINT_Bit_Set(r, index); };
    const auto expect_shape = [&](std::int32_t bits, std::int32_t top, std::int32_t bottom) {
        const auto length = std::int32_t(ZRC_Get_BIGINT_Bits_Length(r));
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
                    ASSERT_EQ(ZRC_Rand_BIGINT_Ex(r, bits, top, bottom), 0U);
                    expect_shape(bits, top, bottom);
                    seen[0][bit(highest_free)] = seen[1][bit(0)] = true;
                }
                EXPECT_TRUE(bits < 7 || (seen[0][0] && seen[0][1])) << bits << ' ' << top;
                EXPECT_TRUE(bits < 7 || bottom != 0 || (seen[1][0] && seen[1][1])) << bits << ' ' << top;
            }
        }
    }
    for (const std::int32_t bits : {1, 9, 33}) {
        ASSERT_EQ(ZRC_Rand_BIGINT(r, bits, 1, 1, pool(), 0), 0U);
        expect_shape(bits, 1, 1);
        ASSERT_EQ(ZRC_Rand_BIGINT(r, bits, -1, 0, nullptr, 0), 0U);
        expect_shape(bits, -1, 0);
    }
    for (const bool legacy : {false, true}) {
        EXPECT_EQ(ZRC_Set_BIGINT_Word(r, 5), 0U);
        EXPECT_EQ(legacy ? ZRC_Rand_BIGINT(r, 0, 1, 1, nullptr, 0) : ZRC_Rand_BIGINT_Ex(r, 0, 1, 1), 0U);
        EXPECT_EQ(words_of(r), word_list{});
    }
}

} // namespace
