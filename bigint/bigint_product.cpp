// Products and squares of BIGINTs: which method for which length.
#include "bigint/operand.hpp"
#include "bigint/pool_frame.hpp"
#include "bigint/true_product.hpp"
#include "core/error.hpp"
#include "kestrim/bigint_arithmetic.h"
#include "kestrim/bigint_words.h"

#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstdlib>

namespace zrc {
namespace {

constexpr std::int32_t kCombaWords = 8;      // unrolled products of this length and of half of it
constexpr std::int32_t kKaratsubaWords = 16; // halving from here on

// r = a b for words of both; r is neither. Returns the reason of a failure, or 0.
std::uint32_t multiply_words(ZRC_BIGINT& r, const words_of& a, const words_of& b, pool_frame& frame) noexcept
{
    const std::int64_t whole = std::int64_t{a.length} + b.length;
    const std::int32_t longest = std::max(a.length, b.length);
    if (std::min(a.length, b.length) >= kKaratsubaWords && std::abs(a.length - b.length) <= 1) {
        const auto n = std::int32_t(std::bit_floor(std::uint32_t(longest)));
        const std::int64_t room = longest <= n ? std::int64_t{4} * n : std::int64_t{8} * n;
        ZRC_BIGINT* const scratch = frame.get();
        if (!scratch) return ZRC_ERR_GET_BIGINT_POOL_FAIL;
        if (!grow(*scratch, room) || !grow(r, room)) return ZRC_ERR_EXPAND_BIGINT_WORD;
        const auto multiply = longest <= n ? zrc_Mtp_Recursive : zrc_Mtp_Recursive_P;
        multiply(r.data, a.data, b.data, n, a.length - n, b.length - n, scratch->data);
    } else {
        if (!grow(r, whole)) return ZRC_ERR_EXPAND_BIGINT_WORD;
        if (a.length == kCombaWords && b.length == kCombaWords)
            zrc_Mtp_Base_Ex(r.data, a.data, b.data);
        else
            zrc_Mtp_Word_Base(r.data, a.data, a.length, b.data, b.length);
    }
    set_length(r, std::int32_t(whole));
    return 0;
}

// r = a^2; r is not a.
std::uint32_t square_words(ZRC_BIGINT& r, const words_of& a, pool_frame& frame) noexcept
{
    const bool halving = a.length >= kKaratsubaWords && std::has_single_bit(std::uint32_t(a.length));
    if (!grow(r, std::int64_t{halving ? 4 : 2} * a.length)) return ZRC_ERR_EXPAND_BIGINT_WORD;
    if (halving) {
        ZRC_BIGINT* const scratch = frame.get();
        if (!scratch) return ZRC_ERR_GET_BIGINT_POOL_FAIL;
        if (!grow(*scratch, std::int64_t{2} * a.length)) return ZRC_ERR_EXPAND_BIGINT_WORD;
        zrc_Sqr_Recursive(r.data, a.data, a.length, scratch->data);
    } else if (a.length == kCombaWords) {
        zrc_Sqr_Base_Ex(r.data, a.data);
    } else if (a.length == kCombaWords / 2) {
        zrc_Sqr_Base(r.data, a.data);
    } else {
        zrc_Sqr_Word_Base(r.data, a.data, a.length, nullptr);
    }
    set_length(r, 2 * a.length);
    return 0;
}

// r = compute(result, frame), through a temporary when r is an operand.
std::uint32_t through_temporary(ZRC_BIGINT& r, bool is_operand, ZRC_BIGINT_POOL* pool, auto compute) noexcept
{
    pool_frame frame{pool};
    if (!frame.open()) return ZRC_ERR_START_BIGINT_POOL_FAIL;
    if (!is_operand) return compute(r, frame);

    ZRC_BIGINT* const result = frame.get();
    if (!result) return ZRC_ERR_GET_BIGINT_POOL_FAIL;
    if (const std::uint32_t reason = compute(*result, frame); reason != 0) return reason;
    return ZRC_Copy_BIGINT(&r, result) == 0 ? 0 : std::uint32_t{ZRC_ERR_COPY_BIGINT_FAIL};
}

} // namespace

std::uint32_t true_product(ZRC_BIGINT& r, const ZRC_BIGINT& a, const ZRC_BIGINT& b, ZRC_BIGINT_POOL* pool) noexcept
{
    return through_temporary(r, &r == &a || &r == &b, pool, [&](ZRC_BIGINT& result, pool_frame& frame) {
        const words_of x{a}, y{b};
        if (!x.is_zero() && !y.is_zero()) return multiply_words(result, x, y, frame);
        result.length = 0;
        return std::uint32_t{0};
    });
}

} // namespace zrc

std::uint32_t ZRC_Mtp_BIGINT(ZRC_BIGINT* r, const ZRC_BIGINT* a, const ZRC_BIGINT* b, ZRC_BIGINT_POOL* pool)
{
    const auto fail = [](std::uint32_t reason) { return zrc::code(ZRC_L_BIGINT, ZRC_F_MTP_BIGINT, reason); };

    if (!r || !a || !b) return fail(ZRC_ERR_NULL_INPUT);
    if (a->length == 0 || b->length == 0) // kept: an operand without words gives 1, not 0
        return ZRC_Set_BIGINT_Word(r, 1) == 0 ? 0 : fail(ZRC_ERR_EXPAND_BIGINT_WORD);
    const std::uint32_t reason = zrc::true_product(*r, *a, *b, pool);
    return reason == 0 ? 0 : fail(reason);
}

std::uint32_t ZRC_Sqr_BIGINT(ZRC_BIGINT* r, const ZRC_BIGINT* a, ZRC_BIGINT_POOL* pool)
{
    const auto fail = [](std::uint32_t reason) { return zrc::code(ZRC_L_BIGINT, ZRC_F_SQR_BIGINT, reason); };

    if (!r || !a) return fail(ZRC_ERR_NULL_INPUT);
    if (zrc::is_zero(*a)) {
        r->length = 0;
        return 0;
    }
    const std::uint32_t reason =
        zrc::through_temporary(*r, r == a, pool, [&](ZRC_BIGINT& result, zrc::pool_frame& frame) {
            return zrc::square_words(result, zrc::words_of{*a}, frame);
        });
    return reason == 0 ? 0 : fail(reason);
}
