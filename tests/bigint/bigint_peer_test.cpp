// The arithmetic against GMP: random and adversarial operands of all lengths around which methods change, with every
// way in which a result can be an operand.
#include "kestrim/bigint_arithmetic.h"
#include "tests/bigint/number_source.hpp"

#include <array>
#include <gmp.h>
#include <span>
#include <string>
#include <string_view>

namespace {

using test::bigint;
using test::kShare;
using test::of;
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

    std::string text(int base) const
    {
        std::string digits(mpz_sizeinbase(value_, base) + 2, '\0');
        return mpz_get_str(digits.data(), base, value_);
    }

private:
    mpz_t value_;
};

class operand_source : public test::number_source {
public:
    using number_source::number_source;

    static constexpr std::uint32_t kLongest = 130;

    // Below 2^(32 most), not zero if `least` is not; one in four has a zero word on top. Short ones are more frequent
    // than long ones up to kLongest words: many cases in little time. With a higher limit all have more words.
    word_list operand(std::uint32_t most, std::uint32_t least = 0)
    {
        static constexpr std::uint32_t kLengths[] = {0,  1,  2,  3,  4,  5,  7,  8,  9,   15,  16,  17,
                                                     18, 31, 32, 33, 34, 63, 64, 65, 127, 128, 129, kLongest};
        const std::uint32_t chosen = below(3) == 0 ? kLengths[below(std::size(kLengths))] : below(1 + below(48));
        const std::uint32_t length = most > kLongest ? most - below(most - kLongest) : std::min(chosen, most);
        word_list result = words(length);
        while (!result.empty() && result.back() == 0)
            result.pop_back();
        if (result.empty() && least != 0) result.push_back(least + below(9));
        if (!result.empty() && below(4) == 0) result.push_back(0);
        return result;
    }
};

// The operands of one case; m is not zero.
struct operand_set {
    integer a, b, m;
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
    bool (*applies)(const operand_set& s) = [](auto&) { return true; };
};
using table = std::span<const operation>;

bool b_is_not_zero(const operand_set& s)
{
    return s.b.compare(0) != 0;
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

void power(integer& r, const operand_set& s)
{
    mpz_powm(r, s.a, s.b, s.m);
}

const operation kSums[] = {
    {"add", [](auto& x) { return ZRC_Add_BIGINT(x.r, x.a, x.b); }, [](auto& r, auto& s) { mpz_add(r, s.a, s.b); }},
    {"subtract", [](auto& x) { return ZRC_Sub_BIGINT(x.r, x.a, x.b); }, [](auto& r, auto& s) { mpz_sub(r, s.a, s.b); },
     [](auto& s) { return mpz_cmp(s.a, s.b) >= 0; }},
    {"left shift", [](auto& x) { return zrc_Left_Shift_BIGINT(x.r, x.a, x.bits); },
     [](auto& r, auto& s) { mpz_mul_2exp(r, s.a, mp_bitcnt_t(s.bits)); }},
    {"right shift", [](auto& x) { return zrc_Right_Shift_BIGINT(x.r, x.a, x.bits); },
     [](auto& r, auto& s) { mpz_fdiv_q_2exp(r, s.a, mp_bitcnt_t(s.bits)); }},
    {"add a word", [](auto& x) { return ZRC_Copy_BIGINT(x.r, x.a) | ZRC_Add_BIGINT_Word(x.r, x.w); },
     [](auto& r, auto& s) { mpz_add_ui(r, s.a, s.w); }},
    {"subtract a word", [](auto& x) { return ZRC_Copy_BIGINT(x.r, x.a) | ZRC_Sub_BIGINT_Word(x.r, x.w); },
     [](auto& r, auto& s) { mpz_sub_ui(r, s.a, s.w); }, [](auto& s) { return s.a.compare(s.w) >= 0; }},
    {"multiply by a word", [](auto& x) { return ZRC_Copy_BIGINT(x.r, x.a) | ZRC_Mtp_BIGINT_Word(x.r, x.w); },
     [](auto& r, auto& s) { mpz_mul_ui(r, s.a, s.w); }},
    {"divide by a word",
     [](auto& x) {
         const std::uint32_t remainder = ZRC_Mod_BIGINT_Word(x.a, x.w);
         return ZRC_Copy_BIGINT(x.r, x.a) | (ZRC_Div_BIGINT_Word(x.r, x.w) ^ remainder);
     },
     [](auto& r, auto& s) { mpz_fdiv_q_ui(r, s.a, s.w); }, w_is_not_zero},
    {"remainder of a word", [](auto& x) { return ZRC_Set_BIGINT_Word(x.r, ZRC_Mod_BIGINT_Word(x.a, x.w)); },
     [](auto& r, auto& s) { mpz_fdiv_r_ui(r, s.a, s.w); }, w_is_not_zero},
};

const operation kProducts[] = {
    {"multiply", [](auto& x) { return ZRC_Mtp_BIGINT(x.r, x.a, x.b, x.pool); },
     [](auto& r, auto& s) {
         mpz_mul(r, s.a, s.b);
         if (r.compare(0) == 0) mpz_set_ui(r, 1); // an operand without words
     }},
    {"square", [](auto& x) { return ZRC_Sqr_BIGINT(x.r, x.a, x.pool); },
     [](auto& r, auto& s) { mpz_mul(r, s.a, s.a); }},
};

const operation kQuotients[] = {
    {"quotient", [](auto& x) { return ZRC_Div_BIGINT(x.r, nullptr, x.a, x.b, nullptr); },
     [](auto& r, auto& s) { mpz_tdiv_q(r, s.a, s.b); }, b_is_not_zero},
    {"remainder", [](auto& x) { return ZRC_Div_BIGINT(nullptr, x.r, x.a, x.b, x.pool); },
     [](auto& r, auto& s) { mpz_tdiv_r(r, s.a, s.b); }, b_is_not_zero},
    {"modular product", [](auto& x) { return ZRC_Mod_Mtp_BIGINT(x.r, x.a, x.b, x.m, x.pool); },
     [](auto& r, auto& s) {
         mpz_mul(r, s.a, s.b);
         mpz_tdiv_r(r, r, s.m);
     }},
    {"modular difference", [](auto& x) { return ZRC_Mod_Sub_BIGINT(x.r, x.a, x.b, x.m, x.pool); },
     [](auto& r, auto& s) {
         mpz_sub(r, s.a, s.b);
         mpz_fdiv_r(r, r, s.m);
     }},
};

const operation kSlow[] = {
    {"common divisor", [](auto& x) { return zrc_Gcd_BIGINT(x.r, x.a, x.b, x.pool); },
     [](auto& r, auto& s) { mpz_gcd(r, s.a, s.b); }},
    {"inverse", [](auto& x) { return ZRC_Mod_Inverse_BIGINT(x.r, x.a, x.m, x.pool); },
     [](auto& r, auto& s) { mpz_invert(r, s.a, s.m); }, a_is_invertible},
    {"power", [](auto& x) { return ZRC_Mod_Exp_BIGINT(x.r, x.a, x.b, x.m, x.pool); }, power, b_is_not_zero},
    // A multiple of m would leave the result as it is.
    {"power in Montgomery form", [](auto& x) { return ZRC_Mod_Exp_Mont_BIGINT(x.r, x.a, x.b, x.m, x.pool); }, power,
     [](auto& s) { return s.m.is_odd() && b_is_not_zero(s) && mpz_divisible_p(s.a, s.m) == 0; }},
};

// Which of r, a, b, m the places of these are taken by: "rabm" are four numbers.
constexpr const char* kAliasings[] = {"rabm", "aabm", "babm", "raam", "aaam", "mabm", "raba"};

class BigintPeer : public test::with_pool {
protected:
    // `cases` operand sets, every operation with each.
    void compare(table operations, int cases, std::uint32_t most, operand_source source)
    {
        for (int i = 0; i < cases && !HasFailure(); ++i) {
            const std::array<word_list, 3> operands{source.operand(most), source.operand(most),
                                                    source.operand(most, 1)};
            const auto bits = std::int32_t(source.below(source.below(2) == 0 ? 70 : 5000));
            const char* const alias = kAliasings[source.below(2) == 0 ? 0 : source.below(std::size(kAliasings))];
            const auto at = [&](int place) { return operands[std::string_view{"abm"}.find(alias[place])]; };
            if (at(3).empty()) continue;
            const operand_set set{integer{at(1)}, integer{at(2)}, integer{at(3)}, source.word(), bits};
            for (const operation& one : operations)
                if (!HasFailure() && one.applies(set)) compare(one, set, alias, operands);
        }
    }

    void compare(const operation& one, const operand_set& set, const char* alias,
                 const std::array<word_list, 3>& operands)
    {
        const bigint ours[] = {of(operands[0]), of(operands[1]), of(operands[2]), of({})};
        const auto at = [&](int place) { return ours[std::string_view{"abmr"}.find(alias[place])].get(); };
        ZRC_BIGINT* const r = at(0);
        integer expected;
        one.peer(expected, set);
        const std::uint32_t code = one.ours({r, at(1), at(2), at(3), set.w, set.bits, pool()});

        bool same = code == 0 && words_of(*r) == expected.words() && pool()->depth == -1 && pool()->used == 0;
        for (std::size_t i = 0; i < operands.size(); ++i)
            same = same && (r == ours[i].get() || words_of(ours[i]) == operands[i]);
        if (same) return;
        ADD_FAILURE() << one.name << ", " << alias << ": code " << std::hex << code << "\na = " << set.a.text(16)
                      << "\nb = " << set.b.text(16) << "\nm = " << set.m.text(16) << "\nw = " << set.w
                      << "\nbits = " << set.bits << "\nexpected " << expected.text(16) << "\nfound    "
                      << integer{words_of(*r)}.text(16);
    }
};

TEST_F(BigintPeer, RandomOperands)
{
    compare(kSums, 70000 / kShare, 130, operand_source{1});
    compare(kProducts, 80000 / kShare, 130, operand_source{2});
    compare(kQuotients, 60000 / kShare, 130, operand_source{3});
    for (const table fast : {table{kSums}, table{kProducts}, table{kQuotients}})
        compare(fast, 40 / kShare, 1600, operand_source{4});
    compare(kSlow, 4000 / kShare, 20, operand_source{6});
    compare(kSlow, 100 / kShare, 130, operand_source{7});
}

// Both results at once, each in the place of either operand. Every second dividend is a multiple of the divisor or
// one less, which is where estimates of quotients go wrong.
TEST_F(BigintPeer, DivisionWithTwoResults)
{
    operand_source source{5};
    for (int i = 0; i < 100000 / kShare && !HasFailure(); ++i) {
        integer a{source.operand(130)}, quotient, remainder;
        const integer d{source.operand(70, 1)};
        if (i % 2 == 0) mpz_mul(a, a, d);
        if (i % 4 == 0 && a.compare(0) != 0) mpz_sub_ui(a, a, 1);
        mpz_tdiv_qr(quotient, remainder, a, d);
        const bigint ours[] = {of(a.words()), of(d.words()), of({}), of({})};
        const std::size_t q = source.below(4), r = (q + 1 + source.below(3)) % 4;
        ASSERT_EQ(ZRC_Div_BIGINT(ours[q], ours[r], ours[0], ours[1], pool()), 0U);
        EXPECT_EQ(words_of(ours[q]), quotient.words());
        EXPECT_EQ(words_of(ours[r]), remainder.words());
    }
}

TEST_F(BigintPeer, Conversions)
{
    operand_source source{8};
    for (int i = 0; i < 20000 / kShare && !HasFailure(); ++i) {
        const integer expected{source.operand(130)};
        const bigint value = of(expected.words());
        std::vector<std::uint8_t> bytes(4 * std::size_t(value->length) + 1), expected_bytes(bytes.size());
        std::size_t count = 0;
        mpz_export(expected_bytes.data(), &count, 1, 1, 0, 0, expected);
        ASSERT_EQ(ZRC_BIGINT_To_Binary_Unsigned(value, bytes.data()), std::int32_t(count));
        EXPECT_EQ(bytes, expected_bytes);
        EXPECT_EQ(words_of(bigint{ZRC_Binary_To_BIGINT(bytes.data(), std::int32_t(count), nullptr)}), words_of(value));
        EXPECT_EQ(test::text_ptr{ZRC_BIGINT_To_DEC(value)}.get(), expected.text(10));
        integer read;
        EXPECT_EQ(mpz_set_str(read, test::text_ptr{ZRC_BIGINT_To_HEX(value)}, 16), 0);
        EXPECT_EQ(mpz_cmp(read, expected), 0);
    }
}

} // namespace
