// The arithmetic against GMP: random and adversarial operands of all lengths around which methods change, with every
// way in which a result can be an operand.
#include "kestrim/bigint_arithmetic.h"
#include "tests/bigint/bigint_value.hpp"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <gmp.h>
#include <gtest/gtest.h>
#include <random>
#include <span>
#include <string>
#include <vector>

namespace {

using test::bigint;
using test::kShare;
using test::of;
using test::text_ptr;
using test::word_list;
using test::words_of;

// A number of the peer.
class integer {
public:
    integer() { mpz_init(value_); }
    explicit integer(const word_list& words) : integer{}
    {
        mpz_import(value_, words.size(), -1, sizeof(std::uint32_t), 0, 0, words.data());
    }
    integer(const integer&) = delete;
    integer& operator=(const integer&) = delete;
    ~integer() { mpz_clear(value_); }

    // These are macros that do not convert.
    bool is_odd() const { return mpz_odd_p(value_) != 0; }
    int sign() const { return mpz_sgn(value_); }
    int compare(std::uint32_t word) const { return mpz_cmp_ui(value_, word); }

    operator mpz_ptr() { return value_; }
    operator mpz_srcptr() const { return value_; }

    word_list words() const
    {
        word_list result((mpz_sizeinbase(value_, 2) + 31) / 32);
        std::size_t count = 0;
        mpz_export(result.data(), &count, -1, sizeof(std::uint32_t), 0, 0, value_);
        result.resize(count);
        return result;
    }

private:
    mpz_t value_;
};

class operand_source {
public:
    explicit operand_source(unsigned seed) : engine_{seed} {}

    std::uint32_t below(std::uint32_t bound) { return std::uint32_t(engine_() % bound); }
    std::uint32_t word()
    {
        static constexpr std::uint32_t kEdges[] = {0, 1, 2, 0x7FFFFFFF, 0x80000000, 0x80000001, 0xFFFFFFFE, 0xFFFFFFFF};
        return below(4) == 0 ? kEdges[below(std::size(kEdges))] : std::uint32_t(engine_());
    }

    // Normalised, below 2^(32 most).
    word_list words(std::uint32_t most)
    {
        static constexpr std::uint32_t kLengths[] = {0,  1,  2,  3,  4,  5,  7,  8,  9,   15,  16,  17,
                                                     18, 31, 32, 33, 34, 63, 64, 65, 127, 128, 129, 130};
        // Short ones more often than long ones: many cases in little time.
        std::uint32_t length = below(3) == 0 ? kLengths[below(std::size(kLengths))] : below(1 + below(48));
        word_list result = pattern(std::min(length, most));
        while (!result.empty() && result.back() == 0)
            result.pop_back();
        return result;
    }

    word_list not_zero(std::uint32_t most)
    {
        word_list result = words(most);
        if (result.empty()) result.push_back(1 + below(9));
        return result;
    }

private:
    word_list pattern(std::uint32_t length)
    {
        word_list result(length);
        if (length == 0) return result;
        switch (below(9)) {
        case 0: // all ones, or all but one bit
            std::fill(result.begin(), result.end(), UINT32_MAX);
            if (below(2) == 0) result[below(length)] ^= 1U << below(32);
            break;
        case 1: // a power of two, or one less
            result.back() = 1U << below(32);
            if (below(2) == 0) {
                --result.back();
                std::fill(result.begin(), result.end() - 1, UINT32_MAX);
            }
            break;
        case 2: // few bits
            for (std::uint32_t i = 0; i <= below(4); ++i)
                result[below(length)] |= 1U << below(32);
            break;
        case 3: // equal halves, or halves that differ in the lowest bit
            for (std::uint32_t i = 0; i < length; ++i)
                result[i] = i < (length + 1) / 2 ? std::uint32_t(engine_()) : result[i - (length + 1) / 2];
            result[0] ^= below(2);
            break;
        case 4: // runs of zeros and ones
            for (std::uint32_t i = 0; i < length; ++i)
                result[i] = i > 0 && below(4) != 0 ? result[i - 1] : below(2) - 1;
            break;
        case 5: // words at the edges
            for (std::uint32_t& w : result)
                w = word();
            break;
        default:
            for (std::uint32_t& w : result)
                w = std::uint32_t(engine_());
        }
        return result;
    }

    std::mt19937_64 engine_;
};

// The operands of one case.
struct operand_set {
    integer a, b, m; // m is not zero
    std::uint32_t w;
    std::int32_t bits;
};

// The same for this library; `r` may be an operand.
struct arguments {
    ZRC_BIGINT *r, *a, *b, *m;
    std::uint32_t w;
    std::int32_t bits;
    ZRC_BIGINT_POOL* pool;
};

// What both sides compute: `ours` returns 0 for success.
struct operation {
    const char* name;
    std::uint32_t (*ours)(const arguments& x);
    void (*peer)(integer& r, const operand_set& s);
    bool (*applies)(const operand_set& s) = [](const operand_set&) { return true; };
};
using table = std::span<const operation>;

bool b_is_not_zero(const operand_set& s)
{
    return s.b.sign() != 0;
}

bool b_is_not_above_a(const operand_set& s)
{
    return mpz_cmp(s.a, s.b) >= 0;
}

bool w_is_not_above_a(const operand_set& s)
{
    return s.a.compare(s.w) >= 0;
}

bool w_is_not_zero(const operand_set& s)
{
    return s.w != 0;
}

bool a_is_invertible(const operand_set& s)
{
    integer divisor;
    mpz_gcd(divisor, s.a, s.m);
    return divisor.compare(1) == 0 && s.m.compare(1) > 0;
}

// A multiple of m would leave the result as it is.
bool montgomery_form_gives_a_power(const operand_set& s)
{
    return s.m.is_odd() && b_is_not_zero(s) && mpz_divisible_p(s.a, s.m) == 0;
}

std::uint32_t divide_by_word(const arguments& x)
{
    const std::uint32_t remainder = ZRC_Mod_BIGINT_Word(x.a, x.w);
    const std::uint32_t code = ZRC_Copy_BIGINT(x.r, x.a);
    return code | (ZRC_Div_BIGINT_Word(x.r, x.w) ^ remainder);
}

void product_or_one(integer& r, const operand_set& s)
{
    mpz_mul(r, s.a, s.b);
    if (r.sign() == 0) mpz_set_ui(r, 1);
}

void modular_product(integer& r, const operand_set& s)
{
    mpz_mul(r, s.a, s.b);
    mpz_tdiv_r(r, r, s.m);
}

void modular_difference(integer& r, const operand_set& s)
{
    mpz_sub(r, s.a, s.b);
    mpz_fdiv_r(r, r, s.m);
}

const operation kSums[] = {
    {"add", [](const arguments& x) { return ZRC_Add_BIGINT(x.r, x.a, x.b); },
     [](integer& r, const operand_set& s) { mpz_add(r, s.a, s.b); }},
    {"subtract", [](const arguments& x) { return ZRC_Sub_BIGINT(x.r, x.a, x.b); },
     [](integer& r, const operand_set& s) { mpz_sub(r, s.a, s.b); }, b_is_not_above_a},
    {"left shift", [](const arguments& x) { return zrc_Left_Shift_BIGINT(x.r, x.a, x.bits); },
     [](integer& r, const operand_set& s) { mpz_mul_2exp(r, s.a, mp_bitcnt_t(s.bits)); }},
    {"right shift", [](const arguments& x) { return zrc_Right_Shift_BIGINT(x.r, x.a, x.bits); },
     [](integer& r, const operand_set& s) { mpz_fdiv_q_2exp(r, s.a, mp_bitcnt_t(s.bits)); }},
    {"add a word", [](const arguments& x) { return ZRC_Copy_BIGINT(x.r, x.a) | ZRC_Add_BIGINT_Word(x.r, x.w); },
     [](integer& r, const operand_set& s) { mpz_add_ui(r, s.a, s.w); }},
    {"subtract a word", [](const arguments& x) { return ZRC_Copy_BIGINT(x.r, x.a) | ZRC_Sub_BIGINT_Word(x.r, x.w); },
     [](integer& r, const operand_set& s) { mpz_sub_ui(r, s.a, s.w); }, w_is_not_above_a},
    {"multiply by a word", [](const arguments& x) { return ZRC_Copy_BIGINT(x.r, x.a) | ZRC_Mtp_BIGINT_Word(x.r, x.w); },
     [](integer& r, const operand_set& s) { mpz_mul_ui(r, s.a, s.w); }},
    {"divide by a word", divide_by_word, [](integer& r, const operand_set& s) { mpz_fdiv_q_ui(r, s.a, s.w); },
     w_is_not_zero},
    {"remainder of a word", [](const arguments& x) { return ZRC_Set_BIGINT_Word(x.r, ZRC_Mod_BIGINT_Word(x.a, x.w)); },
     [](integer& r, const operand_set& s) { mpz_fdiv_r_ui(r, s.a, s.w); }, w_is_not_zero},
};

const operation kProducts[] = {
    {"multiply", [](const arguments& x) { return ZRC_Mtp_BIGINT(x.r, x.a, x.b, x.pool); }, product_or_one},
    {"square", [](const arguments& x) { return ZRC_Sqr_BIGINT(x.r, x.a, x.pool); },
     [](integer& r, const operand_set& s) { mpz_mul(r, s.a, s.a); }},
};

const operation kQuotients[] = {
    {"quotient", [](const arguments& x) { return ZRC_Div_BIGINT(x.r, nullptr, x.a, x.b, x.pool); },
     [](integer& r, const operand_set& s) { mpz_tdiv_q(r, s.a, s.b); }, b_is_not_zero},
    {"remainder", [](const arguments& x) { return ZRC_Div_BIGINT(nullptr, x.r, x.a, x.b, x.pool); },
     [](integer& r, const operand_set& s) { mpz_tdiv_r(r, s.a, s.b); }, b_is_not_zero},
    {"quotient without a pool", [](const arguments& x) { return ZRC_Div_BIGINT(x.r, nullptr, x.a, x.b, nullptr); },
     [](integer& r, const operand_set& s) { mpz_tdiv_q(r, s.a, s.b); }, b_is_not_zero},
    {"modular product", [](const arguments& x) { return ZRC_Mod_Mtp_BIGINT(x.r, x.a, x.b, x.m, x.pool); },
     modular_product},
    {"modular difference", [](const arguments& x) { return ZRC_Mod_Sub_BIGINT(x.r, x.a, x.b, x.m, x.pool); },
     modular_difference},
};

const operation kSlow[] = {
    {"common divisor", [](const arguments& x) { return zrc_Gcd_BIGINT(x.r, x.a, x.b, x.pool); },
     [](integer& r, const operand_set& s) { mpz_gcd(r, s.a, s.b); }},
    {"inverse", [](const arguments& x) { return ZRC_Mod_Inverse_BIGINT(x.r, x.a, x.m, x.pool); },
     [](integer& r, const operand_set& s) { mpz_invert(r, s.a, s.m); }, a_is_invertible},
    {"power", [](const arguments& x) { return ZRC_Mod_Exp_BIGINT(x.r, x.a, x.b, x.m, x.pool); },
     [](integer& r, const operand_set& s) { mpz_powm(r, s.a, s.b, s.m); }, b_is_not_zero},
    {"power in Montgomery form", [](const arguments& x) { return ZRC_Mod_Exp_Mont_BIGINT(x.r, x.a, x.b, x.m, x.pool); },
     [](integer& r, const operand_set& s) { mpz_powm(r, s.a, s.b, s.m); }, montgomery_form_gives_a_power},
};

struct aliasing {
    const char* name;
    bool b_is_a, m_is_a, r_is_a, r_is_b, r_is_m;
};
constexpr aliasing kAliasings[] = {
    {"", false, false, false, false, false},       {"r = a", false, false, true, false, false},
    {"r = b", false, false, false, true, false},   {"a = b", true, false, false, false, false},
    {"r = a = b", true, false, true, true, false}, {"r = m", false, false, false, false, true},
    {"a = m", false, true, false, false, false},
};

class BigintPeer : public test::with_pool {
protected:
    // `cases` operand sets, every operation with each.
    void compare(table operations, int cases, std::uint32_t most, operand_source source)
    {
        for (int i = 0; i < cases && !HasFailure(); ++i) {
            const std::array<word_list, 3> operands{source.words(most), source.words(most), source.not_zero(most)};
            const auto bits = std::int32_t(source.below(source.below(2) == 0 ? 70 : 5000));
            const aliasing& alias = kAliasings[source.below(2) == 0 ? 0 : source.below(std::size(kAliasings))];
            compare(operations, operands, alias, source.word(), bits);
        }
    }

    void compare(table operations, const std::array<word_list, 3>& operands, const aliasing& alias, std::uint32_t w,
                 std::int32_t bits)
    {
        const auto& [a, b, m] = operands;
        if (alias.m_is_a && a.empty()) return;
        const operand_set set{integer{a}, integer{alias.b_is_a ? a : b}, integer{alias.m_is_a ? a : m}, w, bits};
        for (const operation& one : operations)
            if (!HasFailure() && one.applies(set)) compare(one, set, alias, operands);
    }

    void compare(const operation& one, const operand_set& set, const aliasing& alias,
                 const std::array<word_list, 3>& operands)
    {
        const std::array<bigint, 3> ours{of(operands[0]), of(operands[1]), of(operands[2])};
        ZRC_BIGINT *const a = ours[0].get(), *const b = alias.b_is_a ? a : ours[1].get(),
                          *const m = alias.m_is_a ? a : ours[2].get();
        const bigint fresh{ZRC_New_BIGINT()};
        ZRC_BIGINT* const r = alias.r_is_a ? a : alias.r_is_b ? b : alias.r_is_m ? m : fresh.get();
        integer expected;
        one.peer(expected, set);
        const std::uint32_t code = one.ours({r, a, b, m, set.w, set.bits, pool()});

        bool same = code == 0 && words_of(*r) == expected.words() && pool()->depth == -1 && pool()->used == 0;
        for (std::size_t i = 0; i < ours.size(); ++i)
            same = same && (r == ours[i].get() || words_of(*ours[i]) == operands[i]);
        if (same) return;
        ADD_FAILURE() << one.name << ", " << alias.name << ": code " << std::hex << code << "\na = " << text(set.a)
                      << "\nb = " << text(set.b) << "\nm = " << text(set.m) << "\nw = " << set.w
                      << "\nbits = " << set.bits << "\nexpected " << text(expected) << "\nfound    "
                      << text(integer{words_of(*r)});
    }

private:
    static std::string text(const integer& value)
    {
        std::string digits(mpz_sizeinbase(value, 16) + 2, '\0');
        mpz_get_str(digits.data(), 16, value);
        return digits.c_str();
    }
};

TEST_F(BigintPeer, SumsAndWords)
{
    compare(kSums, 350000 / kShare, 130, operand_source{1});
}

TEST_F(BigintPeer, Products)
{
    compare(kProducts, 400000 / kShare, 130, operand_source{2});
}

TEST_F(BigintPeer, Quotients)
{
    compare(kQuotients, 300000 / kShare, 130, operand_source{3});
}

TEST_F(BigintPeer, LongOperands)
{
    operand_source source{4};
    for (int i = 0; i < 40 / kShare; ++i) {
        const std::uint32_t length = 130 + source.below(1500);
        std::array<word_list, 3> operands{word_list(length), word_list(i % 2 == 0 ? length : length / 2),
                                          word_list(1 + source.below(length))};
        for (word_list& operand : operands)
            for (std::uint32_t& w : operand)
                w = source.word() | 1;
        for (const table operations : {table{kSums}, table{kProducts}, table{kQuotients}})
            compare(operations, operands, kAliasings[std::size_t(i) % std::size(kAliasings)], source.word(), 77777);
    }
}

// Both results at once, each in the place of either operand. Every second dividend is a multiple of the divisor or
// one less, which is where estimates of quotients go wrong.
TEST_F(BigintPeer, DivisionWithTwoResults)
{
    operand_source source{5};
    for (int i = 0; i < 100000 / kShare && !HasFailure(); ++i) {
        integer a{source.words(130)};
        const integer d{source.not_zero(70)};
        if (i % 2 == 0) mpz_mul(a, a, d);
        if (i % 4 == 0 && a.sign() != 0) mpz_sub_ui(a, a, 1);
        integer quotient, remainder;
        mpz_tdiv_qr(quotient, remainder, a, d);
        const bigint ours[] = {of(a.words()), of(d.words()), bigint{ZRC_New_BIGINT()}, bigint{ZRC_New_BIGINT()}};
        const std::size_t q = source.below(4), r = (q + 1 + source.below(3)) % 4;
        ASSERT_EQ(ZRC_Div_BIGINT(ours[q].get(), ours[r].get(), ours[0].get(), ours[1].get(), pool()), 0U);
        EXPECT_EQ(words_of(*ours[q]), quotient.words());
        EXPECT_EQ(words_of(*ours[r]), remainder.words());
    }
}

TEST_F(BigintPeer, PowersInversesAndCommonDivisors)
{
    compare(kSlow, 8000 / kShare, 20, operand_source{6});
    compare(kSlow, 100 / kShare, 130, operand_source{7});
}

TEST_F(BigintPeer, Conversions)
{
    operand_source source{8};
    for (int i = 0; i < 20000 / kShare && !HasFailure(); ++i) {
        const word_list words = source.words(130);
        const integer expected{words};
        const bigint value = of(words);
        std::vector<std::uint8_t> bytes(4 * words.size() + 1), expected_bytes(bytes.size());
        std::size_t count = 0;
        mpz_export(expected_bytes.data(), &count, 1, 1, 0, 0, expected);
        ASSERT_EQ(ZRC_BIGINT_To_Binary_Unsigned(value.get(), bytes.data()), std::int32_t(count));
        EXPECT_EQ(bytes, expected_bytes);
        const bigint back{ZRC_Binary_To_BIGINT(bytes.data(), std::int32_t(count), nullptr)};
        EXPECT_EQ(words_of(*back), words);

        const text_ptr decimal{ZRC_BIGINT_To_DEC(value.get())};
        std::string digits(mpz_sizeinbase(expected, 10) + 2, '\0');
        EXPECT_STREQ(decimal.get(), mpz_get_str(digits.data(), 10, expected));
        const text_ptr hexadecimal{ZRC_BIGINT_To_HEX(value.get())};
        integer read;
        EXPECT_EQ(mpz_set_str(read, hexadecimal.get(), 16), 0);
        EXPECT_EQ(mpz_cmp(read, expected), 0);
        EXPECT_EQ(ZRC_Get_BIGINT_Bits_Length(value.get()), words.empty() ? 0 : mpz_sizeinbase(expected, 2));
    }
}

} // namespace
