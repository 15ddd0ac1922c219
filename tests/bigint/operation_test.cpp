// Sums, products, quotients, shifts, modular arithmetic and random values: published answers, the documented
// peculiarities, every code, and growth. bigint_peer_test.cpp compares with another library, by the million.
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

// What `compute` leaves in a result that had a value.
word_list result(auto compute)
{
    const bigint r = of({7, 7});
    EXPECT_EQ(compute(r.get()), 0U);
    return words_of(r);
}

// Gives each stanza of published numbers to `compute`, which finds them by name, and compares its result with the
// one of the name `expected`.
void expect_published(const char* file, const char* section, const char* expected, auto compute)
{
    for (const test::stanza& vector : test::read_vectors(file, section)) {
        const auto number = [&](const char* name) { return of_bytes(vector[name]); };
        EXPECT_EQ(result([&](auto* r) { return compute(r, number); }), words_of(number(expected)))
            << vector.place << ' ' << expected;
    }
}

TEST_F(Operation, GivesThePublishedResults)
{
    const char *const sums = "bigint_arithmetic.txt", *const products = "bigint_words.txt";
    const auto bits = [](const bigint& n) { return std::int32_t(ZRC_Get_BIGINT_Word(n)); };
    expect_published(sums, "add and sub", "sum", [](auto* r, auto& v) { return ZRC_Add_BIGINT(r, v("a"), v("b")); });
    expect_published(sums, "add and sub", "difference",
                     [](auto* r, auto& v) { return ZRC_Sub_BIGINT(r, v("a"), v("b")); });
    expect_published(sums, "shift", "left",
                     [&](auto* r, auto& v) { return zrc_Left_Shift_BIGINT(r, v("a"), bits(v("n"))); });
    expect_published(sums, "shift", "right",
                     [&](auto* r, auto& v) { return zrc_Right_Shift_BIGINT(r, v("a"), bits(v("n"))); });
    expect_published(sums, "modmul", "product",
                     [&](auto* r, auto& v) { return ZRC_Mod_Mtp_BIGINT(r, v("a"), v("b"), v("m"), pool()); });
    expect_published(sums, "modmul", "difference",
                     [&](auto* r, auto& v) { return ZRC_Mod_Sub_BIGINT(r, v("a"), v("b"), v("m"), pool()); });
    for (const char* const section : {"mul", "mul sparse"}) {
        expect_published(products, section, "product",
                         [&](auto* r, auto& v) { return ZRC_Mtp_BIGINT(r, v("a"), v("b"), pool()); });
    }
    expect_published(products, "sqr", "square", [&](auto* r, auto& v) { return ZRC_Sqr_BIGINT(r, v("a"), pool()); });
    for (ZRC_BIGINT_POOL* const own : {pool(), static_cast<ZRC_BIGINT_POOL*>(nullptr)}) {
        const auto power = [&](auto* r, auto& v) { return ZRC_Mod_Exp_BIGINT(r, v("a"), v("e"), v("m"), own); };
        expect_published(sums, "div", "quotient",
                         [&](auto* r, auto& v) { return ZRC_Div_BIGINT(r, nullptr, v("a"), v("d"), own); });
        expect_published(sums, "div", "remainder",
                         [&](auto* r, auto& v) { return ZRC_Div_BIGINT(nullptr, r, v("a"), v("d"), own); });
        expect_published(sums, "modexp even modulus", "power", power);
        expect_published("modexp.txt", "modexp odd modulus", "power", power);
    }
}

TEST_F(Operation, ZeroOperands)
{
    const bigint zero = of({}), three = of({3}), five = of({5}), six = of({6}), nine = of({9}), square = of({36});
    const std::pair<std::function<std::uint32_t(ZRC_BIGINT*)>, word_list> cases[] = {
        // An operand without words gives 1 in products; one word that is 0, and 0 on the way to a result, do not.
        {[&](auto* r) { return ZRC_Mtp_BIGINT(r, zero, three, nullptr); }, {1}},
        {[&](auto* r) { return ZRC_Mtp_BIGINT(r, three, zero, pool()); }, {1}},
        {[&](auto* r) { return ZRC_Mtp_BIGINT(r, ZRC_Value_Zero_BIGINT(), three, pool()); }, {}},
        {[&](auto* r) { return ZRC_Sqr_BIGINT(r, zero, nullptr); }, {}},
        {[&](auto* r) { return ZRC_Mod_Mtp_BIGINT(r, zero, three, nine, pool()); }, {}},
        {[&](auto* r) { return ZRC_Mod_Exp_BIGINT(r, six, three, square, pool()); }, {}},
        {[&](auto* r) { return ZRC_Mod_Exp_BIGINT(r, three, five, nine, pool()); }, {}},
        // An exponent of 0 gives 1, whatever the modulus; a base that is 0 gives 0.
        {[&](auto* r) { return ZRC_Mod_Exp_BIGINT(r, zero, zero, nine, pool()); }, {1}},
        {[&](auto* r) { return ZRC_Mod_Exp_BIGINT(r, five, zero, zero, pool()); }, {1}},
        {[&](auto* r) { return ZRC_Mod_Exp_BIGINT(r, five, zero, of({1}), pool()); }, {1}},
        {[&](auto* r) { return ZRC_Mod_Exp_BIGINT(r, zero, three, nine, pool()); }, {}},
        {[&](auto* r) { return ZRC_Mod_Exp_BIGINT(r, nine, three, nine, pool()); }, {}},
        {[&](auto* r) { return ZRC_Mod_Exp_BIGINT(r, five, three, of({1}), pool()); }, {}},
    };
    for (const auto& [compute, expected] : cases)
        EXPECT_EQ(result(compute), expected);
}

// The documented growth of results, no word more, and none at all the second time.
TEST_F(Operation, ResultsGrowOnceToTheDocumentedSize)
{
    struct {
        std::size_t a, b;
        std::int32_t sum, product, square;
    } const cases[] = {{4, 4, 5, 8, 8},       {15, 15, 16, 30, 30}, {16, 16, 17, 64, 64},
                       {16, 17, 18, 128, 64}, {16, 18, 19, 34, 64}, {33, 32, 34, 256, 66}};
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

TEST_F(Operation, RandomValuesHaveTheAskedShape)
{
    const bigint r = of({});
    const auto bit = [&](std::int32_t index) { return ZRC_Is_BIGINT_Bit_Set(r, index); };
    for (const std::int32_t bits : {1, 2, 7, 8, 9, 16, 17, 31, 32, 33, 1024, 1025}) {
        for (const std::int32_t top : {-7, -1, 0, 1, 2}) {
            for (const std::int32_t bottom : {0, 1, -1}) {
                SCOPED_TRACE(testing::Message() << bits << ' ' << top << ' ' << bottom);
                const std::int32_t highest_free = bits - (top < 0 ? 1 : top == 0 ? 2 : 3);
                bool seen[2][2] = {};
                for (int i = 0; i < 64; ++i) { // enough to see a bit that is not forced in both states
                    ASSERT_EQ(i == 0 ? ZRC_Rand_BIGINT(r, bits, top, bottom, pool(), 0)
                                     : ZRC_Rand_BIGINT_Ex(r, bits, top, bottom),
                              0U);
                    const auto length = std::int32_t(ZRC_Get_BIGINT_Bits_Length(r));
                    EXPECT_TRUE(top < 0 ? length <= bits : length == bits);
                    EXPECT_TRUE(top <= 0 || bits == 1 || bit(bits - 2) == 1);
                    EXPECT_TRUE(bottom == 0 || bit(0) == 1);
                    seen[0][bit(highest_free)] = seen[1][bit(0)] = true;
                }
                EXPECT_TRUE(bits < 7 || (seen[0][0] && seen[0][1]));
                EXPECT_TRUE(bits < 7 || bottom != 0 || (seen[1][0] && seen[1][1]));
            }
        }
    }
    EXPECT_EQ(result([](auto* zero) { return ZRC_Rand_BIGINT(zero, 0, 1, 1, nullptr, 0); }), word_list{});
    EXPECT_EQ(result([](auto* zero) { return ZRC_Rand_BIGINT_Ex(zero, 0, 1, 1); }), word_list{});
}

} // namespace
