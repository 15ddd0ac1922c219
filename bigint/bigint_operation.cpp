// Sums, differences, shifts and operations with one word.
#include "bigint/operand.hpp"
#include "core/error.hpp"
#include "kestrim/bigint_arithmetic.h"
#include "kestrim/bigint_words.h"

#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstdint>

namespace zrc {
namespace {

using word = std::uint32_t;

// r = a + w over `words` words; returns the carry. r may be a.
word add_word(word* r, const word* a, std::int32_t words, word w) noexcept
{
    for (std::int32_t i = 0; i < words; ++i) {
        r[i] = a[i] + w;
        w = word{r[i] < w};
    }
    return w;
}

// r = a - w; returns the borrow.
word sub_word(word* r, const word* a, std::int32_t words, word w) noexcept
{
    for (std::int32_t i = 0; i < words; ++i) {
        const word before = a[i];
        r[i] = before - w;
        w = word{before < w};
    }
    return w;
}

// The `count` (0 to 31) bits that leave `low` on the left come in at the right of `high`.
word shifted_left(word high, word low, std::int32_t count) noexcept
{
    return word((std::uint64_t{high} << 32 | low) << count >> 32);
}

std::int32_t bits_of(const words_of& a) noexcept
{
    return kWordBits * a.length - std::countl_zero(a.data[a.length - 1]);
}

// a mod w, where the quotient goes to `quotient` unless that is null; it may be a. w is not 0.
word divide_by_word(word* quotient, const word* a, std::int32_t words, word w) noexcept
{
    std::uint64_t rest = 0;
    for (std::int32_t i = words; i-- > 0;) {
        rest = rest << 32 | a[i];
        const std::uint64_t digit = rest / w;
        rest -= digit * w;
        if (quotient != nullptr) quotient[i] = word(digit);
    }
    return word(rest);
}

// What a division by zero and a null argument answer: no remainder is as large.
constexpr word kNoRemainder = UINT32_MAX;

} // namespace
} // namespace zrc

std::uint32_t ZRC_Add_BIGINT(ZRC_BIGINT* r, const ZRC_BIGINT* a, const ZRC_BIGINT* b)
{
    const auto fail = [](std::uint32_t reason) { return zrc::code(ZRC_L_BIGINT, ZRC_F_ADD_BIGINT, reason); };

    if (!r || !a || !b) return fail(ZRC_ERR_NULL_INPUT);
    const auto words = std::max(zrc::words_of{*a}.length, zrc::words_of{*b}.length);
    if (!zrc::grow(*r, std::int64_t{words} + 1)) return fail(ZRC_ERR_EXPAND_BIGINT_WORD);

    zrc::words_of longer{*a}, shorter{*b};
    if (longer.length < shorter.length) std::swap(longer, shorter);
    const std::uint32_t carry = zrc_Add_Words(r->data, longer.data, shorter.data, shorter.length);
    r->data[words] =
        zrc::add_word(r->data + shorter.length, longer.data + shorter.length, words - shorter.length, carry);
    zrc::set_length(*r, words + 1);
    return 0;
}

std::uint32_t ZRC_Sub_BIGINT(ZRC_BIGINT* r, const ZRC_BIGINT* a, const ZRC_BIGINT* b)
{
    const auto fail = [](std::uint32_t reason) { return zrc::code(ZRC_L_BIGINT, ZRC_F_SUB_BIGINT, reason); };

    if (!r || !a || !b) return fail(ZRC_ERR_NULL_INPUT);
    if (zrc::less(zrc::words_of{*a}, zrc::words_of{*b})) return fail(ZRC_ERR_INVALID_INPUT);
    if (!zrc::grow(*r, zrc::words_of{*a}.length)) return fail(ZRC_ERR_EXPAND_BIGINT_WORD);

    const zrc::words_of from{*a}, taken{*b};
    const std::uint32_t borrow = zrc_Sub_Words(r->data, from.data, taken.data, taken.length);
    zrc::sub_word(r->data + taken.length, from.data + taken.length, from.length - taken.length, borrow);
    zrc::set_length(*r, from.length);
    return 0;
}

std::uint32_t ZRC_Add_BIGINT_Word(ZRC_BIGINT* a, std::uint32_t w)
{
    const auto fail = [](std::uint32_t reason) { return zrc::code(ZRC_L_BIGINT, ZRC_F_ADD_BIGINT_WORD, reason); };

    if (!a) return fail(ZRC_ERR_NULL_INPUT);
    const std::int32_t words = zrc::words_of{*a}.length;
    // Above the lowest word the carry is 1 at most, which only a word of all ones hands on.
    const std::uint32_t top = words == 0 ? 0 : a->data[words - 1];
    const bool may_carry = words == 0 ? w != 0 : words == 1 ? w > UINT32_MAX - top : top == UINT32_MAX;
    if (may_carry && !zrc::grow(*a, std::int64_t{words} + 1)) return fail(ZRC_ERR_EXPAND_BIGINT_WORD);

    const std::uint32_t carry = zrc::add_word(a->data, a->data, words, w);
    if (may_carry) a->data[words] = carry;
    zrc::set_length(*a, words + std::int32_t{may_carry});
    return 0;
}

std::uint32_t ZRC_Sub_BIGINT_Word(ZRC_BIGINT* a, std::uint32_t w)
{
    const auto fail = [](std::uint32_t reason) { return zrc::code(ZRC_L_BIGINT, ZRC_F_SUB_BIGINT_WORD, reason); };

    if (!a) return fail(ZRC_ERR_NULL_INPUT);
    const zrc::words_of value{*a};
    if (value.length == 0 ? w != 0 : value.length == 1 && value.data[0] < w) return fail(ZRC_ERR_INVALID_INPUT);
    zrc::sub_word(a->data, a->data, value.length, w);
    zrc::set_length(*a, value.length);
    return 0;
}

std::uint32_t ZRC_Mtp_BIGINT_Word(ZRC_BIGINT* a, std::uint32_t w)
{
    const auto fail = [](std::uint32_t reason) { return zrc::code(ZRC_L_BIGINT, ZRC_F_MTP_BIGINT_WORD, reason); };

    if (!a) return fail(ZRC_ERR_NULL_INPUT);
    const std::int32_t words = w == 0 ? 0 : zrc::words_of{*a}.length;
    // The product of the top word alone and w does not reach the next word: the words below add less than w to it.
    const bool may_carry = words != 0 && std::uint64_t{a->data[words - 1]} * w + w > UINT32_MAX;
    if (may_carry && !zrc::grow(*a, std::int64_t{words} + 1)) return fail(ZRC_ERR_EXPAND_BIGINT_WORD);

    const std::uint32_t carry = zrc_Mtp_Words(a->data, a->data, words, w);
    if (may_carry) a->data[words] = carry;
    zrc::set_length(*a, words + std::int32_t{may_carry});
    return 0;
}

std::uint32_t ZRC_Div_BIGINT_Word(ZRC_BIGINT* a, std::uint32_t w)
{
    if (!a || w == 0) return zrc::kNoRemainder;
    const std::int32_t words = zrc::words_of{*a}.length;
    const std::uint32_t remainder = zrc::divide_by_word(a->data, a->data, words, w);
    zrc::set_length(*a, words);
    return remainder;
}

std::uint32_t ZRC_Mod_BIGINT_Word(const ZRC_BIGINT* a, std::uint32_t w)
{
    if (!a || w == 0) return zrc::kNoRemainder;
    const zrc::words_of value{*a};
    return zrc::divide_by_word(nullptr, value.data, value.length, w);
}

std::uint32_t zrc_Left_Shift_BIGINT(ZRC_BIGINT* r, const ZRC_BIGINT* a, std::int32_t bits)
{
    const auto fail = [](std::uint32_t reason) { return zrc::code(ZRC_L_BIGINT, ZRC_F_LEFT_SHIFT_BIGINT, reason); };

    if (!r || !a) return fail(ZRC_ERR_NULL_INPUT);
    if (bits < 0) return fail(ZRC_ERR_INVALID_INPUT);
    if (zrc::is_zero(*a)) {
        r->length = 0;
        return 0;
    }
    const std::int64_t words = (std::int64_t{zrc::bits_of(zrc::words_of{*a})} + bits + 31) / 32;
    if (!zrc::grow(*r, words)) return fail(ZRC_ERR_EXPAND_BIGINT_WORD);

    // From the top down: r may be a. The top word is the one that the top bits of a go to, alone or with others.
    const zrc::words_of value{*a};
    const std::int32_t zeros = bits / 32, count = bits % 32;
    for (std::int32_t i = std::int32_t(words) - zeros; i-- > 0;) {
        const std::uint32_t high = i < value.length ? value.data[i] : 0, low = i > 0 ? value.data[i - 1] : 0;
        r->data[zeros + i] = zrc::shifted_left(high, low, count);
    }
    std::fill_n(r->data, zeros, 0);
    r->length = std::int32_t(words);
    return 0;
}

std::uint32_t zrc_Right_Shift_BIGINT(ZRC_BIGINT* r, const ZRC_BIGINT* a, std::int32_t bits)
{
    const auto fail = [](std::uint32_t reason) { return zrc::code(ZRC_L_BIGINT, ZRC_F_RIGHT_SHIFT_BIGINT, reason); };

    if (!r || !a) return fail(ZRC_ERR_NULL_INPUT);
    if (bits < 0) return fail(ZRC_ERR_INVALID_INPUT);
    if (zrc::is_zero(*a) || zrc::bits_of(zrc::words_of{*a}) <= bits) {
        r->length = 0;
        return 0;
    }
    const std::int32_t words = (zrc::bits_of(zrc::words_of{*a}) - bits + 31) / 32;
    if (!zrc::grow(*r, words)) return fail(ZRC_ERR_EXPAND_BIGINT_WORD);

    // From the bottom up: r may be a.
    const zrc::words_of value{*a};
    const std::int32_t gone = bits / 32, count = bits % 32;
    for (std::int32_t i = 0; i < words; ++i) {
        const std::uint32_t high = gone + i + 1 < value.length ? value.data[gone + i + 1] : 0;
        r->data[i] = std::uint32_t((std::uint64_t{high} << 32 | value.data[gone + i]) >> count);
    }
    r->length = words;
    return 0;
}
