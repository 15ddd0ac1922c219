// What the algorithms over groups of prime order share.
#include "pubkey/group_signature.hpp"

#include "bigint/mod_exp.hpp"
#include "bigint/operand.hpp"
#include "bigint/secret_arithmetic.hpp"
#include "kestrim/bigint_arithmetic.h"
#include "kestrim/drbg.h"
#include "kestrim/error.h"

#include <algorithm>

namespace zrc {

owned_number copy_of(const ZRC_BIGINT* number) noexcept
{
    owned_number copy{ZRC_Dup_BIGINT(number)};
    if (copy) set_length(*copy, copy->length);
    return copy;
}

bool copy_numbers(std::span<owned_number> copies, std::span<const ZRC_BIGINT* const> given) noexcept
{
    bool copied = true;
    for (std::size_t i = 0; i < given.size(); ++i) {
        copies[i] = copy_of(given[i]);
        copied = copied && (copies[i] != nullptr) == (given[i] != nullptr);
    }
    return copied;
}

void replace_number(ZRC_BIGINT*& number, owned_number next) noexcept
{
    if (number) ZRC_Free_BIGINT(number);
    number = next.release();
}

bool clear_words(ZRC_BIGINT& number, std::int32_t words) noexcept
{
    number.length = 0;
    if (!grow(number, words)) return false;
    std::fill_n(number.data, words, 0U);
    return true;
}

std::uint32_t draw_nonce(ZRC_BIGINT& k, const ZRC_BIGINT& q) noexcept
{
    const std::uint32_t bits = ZRC_Get_BIGINT_Bits_Length(&q);
    // Words of zero on top would count as bits, and next to no draw would be below q.
    if (bits < 2 || q.data[q.length - 1] == 0) return ZRC_ERR_INVALID_INPUT;
    // Values outside of the range are thrown away whole: about every second one at most.
    const ZRC_BIGINT* const one = ZRC_Value_One_BIGINT();
    do {
        if (!clear_words(k, q.length)) return ZRC_ERR_EXPAND_BIGINT_WORD;
        if (ZRC_Get_Rand_BIGINT_Ex(&k, std::int32_t(bits)) != 0) return ZRC_ERR_GET_RAND_FAIL;
        k.length = q.length;
    } while (secret_less(&k, one) || !secret_less(&k, &q));
    return 0;
}

void write_number(std::span<std::uint8_t> output, const ZRC_BIGINT& number) noexcept
{
    const std::size_t bytes = 4 * std::size_t(std::max(number.length, 0));
    for (std::size_t i = 0; i < output.size(); ++i)
        output[output.size() - 1 - i] = i < bytes ? std::uint8_t(number.data[i / 4] >> (8 * (i % 4))) : std::uint8_t{0};
}

std::size_t bytes_in(const ZRC_BIGINT& number) noexcept
{
    return (std::size_t{ZRC_Get_BIGINT_Bits_Length(&number)} + 7) / 8;
}

std::uint32_t test_range(const ZRC_BIGINT& n, const ZRC_BIGINT& q) noexcept
{
    if (is_zero(n)) return ZRC_ERR_IS_BIGINT_ZERO_FAIL;
    return less(words_of{n}, words_of{q}) ? 0U : std::uint32_t{ZRC_ERR_CMP_BIGINT_FAIL};
}

bool set_leftmost_bits(ZRC_BIGINT& z, std::span<const std::uint8_t> digest, const ZRC_BIGINT& q) noexcept
{
    const std::size_t bits = ZRC_Get_BIGINT_Bits_Length(&q), bytes = std::min(digest.size(), bytes_in(q));
    if (!ZRC_Binary_To_BIGINT(digest.data(), std::int32_t(bytes), &z)) return false;
    return 8 * bytes <= bits || zrc_Right_Shift_BIGINT(&z, &z, std::int32_t(8 * bytes - bits)) == 0;
}

bool is_in_range(const ZRC_BIGINT& y, const ZRC_BIGINT& p) noexcept
{
    const words_of value{y}, modulus{p};
    if (value.is_zero() || (value.length == 1 && value.data[0] == 1)) return false;
    if (!less(value, modulus)) return false;
    // p - 1 differs from p in bit 0 alone.
    return value.length != modulus.length || value.data[0] != (modulus.data[0] & ~1U) ||
           !std::equal(value.data + 1, value.data + value.length, modulus.data + 1);
}

std::uint32_t test_order(const ZRC_BIGINT& y, const ZRC_BIGINT& q, const ZRC_BIGINT& p) noexcept
{
    const owned_number power{ZRC_New_BIGINT()};
    if (!power) return ZRC_ERR_MOD_EXP_MONT_BIGINT_FAIL;
    switch (open_mod_exp(power.get(), &y, &q, &p)) {
    case mod_exp_outcome::done:
        return power->length == 1 && power->data[0] == 1 ? 0U : std::uint32_t{ZRC_ERR_COMPARE_FAIL};
    case mod_exp_outcome::exponent_is_zero:
    case mod_exp_outcome::base_is_zero:
        return ZRC_ERR_COMPARE_FAIL;
    default:
        return ZRC_ERR_MOD_EXP_MONT_BIGINT_FAIL;
    }
}

namespace {

// Whether q, above 1, divides p - 1.
std::uint32_t test_divisor(const ZRC_BIGINT& q, const ZRC_BIGINT& p) noexcept
{
    const owned_number rest{ZRC_New_BIGINT()};
    if (!rest || ZRC_Div_BIGINT(nullptr, rest.get(), &p, &q, nullptr) != 0) return ZRC_ERR_MOD_BIGINT_FAIL;
    return rest->length == 1 && rest->data[0] == 1 ? 0U : std::uint32_t{ZRC_ERR_INVALID_INPUT};
}

bool is_odd_above_one(const ZRC_BIGINT& n) noexcept
{
    return ZRC_Get_BIGINT_Bits_Length(&n) > 1 && (n.data[0] & 1) != 0;
}

} // namespace

std::uint32_t test_group(const number_group& group) noexcept
{
    if (ZRC_Get_BIGINT_Bits_Length(&group.p) > kMostModulusBits) return ZRC_ERR_NOT_SUPPORTED;
    if (!is_odd_above_one(group.p) || !is_in_range(group.g, group.p)) return ZRC_ERR_INVALID_INPUT;
    if (!group.q) return 0;
    if (!is_odd_above_one(*group.q) || ZRC_Cmp_BIGINT(group.q, &group.p) >= 0) return ZRC_ERR_INVALID_INPUT;
    if (const std::uint32_t reason = test_divisor(*group.q, group.p); reason != 0) return reason;
    const std::uint32_t reason = test_order(group.g, *group.q, group.p);
    return reason == ZRC_ERR_COMPARE_FAIL ? std::uint32_t{ZRC_ERR_INVALID_INPUT} : reason;
}

} // namespace zrc
