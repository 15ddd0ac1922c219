// Division of BIGINTs, and the modular arithmetic that reduces by division.
#include "bigint/division.hpp"
#include "bigint/exponentiation.hpp"
#include "bigint/operand.hpp"
#include "bigint/pool_frame.hpp"
#include "bigint/true_product.hpp"
#include "core/error.hpp"
#include "core/owned.hpp"
#include "kestrim/bigint_arithmetic.h"

#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <iterator>
#include <optional>

namespace zrc {
namespace {

// Temporaries of one call: from the caller's pool, or from memory when there is none.
class temporaries {
public:
    explicit temporaries(ZRC_BIGINT_POOL* pool) noexcept
    {
        if (pool) frame_.emplace(pool);
    }

    bool open() const noexcept { return !frame_ || frame_->open(); }
    // The reason why get() had nothing to give.
    std::uint32_t shortage() const noexcept { return frame_ ? ZRC_ERR_START_BIGINT_POOL_FAIL : ZRC_ERR_MALLOC; }

    // Twice at most.
    ZRC_BIGINT* get() noexcept
    {
        if (frame_) return frame_->get();
        auto& free = own_[0] ? own_[1] : own_[0];
        free.reset(ZRC_New_BIGINT());
        return free.get();
    }

private:
    std::optional<pool_frame> frame_;
    owned<ZRC_BIGINT, ZRC_Free_BIGINT> own_[2];
};

// The memory of a BIGINT with room for `limbs` limbs; null when it cannot grow. Its words are scratch from then on.
stored_limb* limb_room(ZRC_BIGINT& bn, std::size_t limbs) noexcept
{
    bn.length = 0;
    if (!grow(bn, std::int64_t(limbs * kWordsPerLimb))) return nullptr;
    return reinterpret_cast<stored_limb*>(bn.data);
}

// u = a; n limbs, enough for it.
void load(stored_limb* u, std::size_t n, const words_of& a) noexcept
{
    const auto words = std::size_t(a.length);
    if constexpr (std::endian::native == std::endian::little) {
        u[n - 1] = 0;
        u[limbs_for_words(words) - 1] = 0;
        std::memcpy(u, a.data, words * sizeof(std::uint32_t));
    } else {
        for (std::size_t i = 0; i < n; ++i)
            u[i] = 0;
        for (std::size_t i = 0; i < words; ++i)
            u[i / kWordsPerLimb] |= limb{a.data[i]} << (i % kWordsPerLimb * kWordBits);
    }
}

// r = u, which is below 2^(32 words). r has room for that.
void store(ZRC_BIGINT& r, std::int32_t words, const stored_limb* u) noexcept
{
    if (words == 0) return set_length(r, 0);
    if constexpr (std::endian::native == std::endian::little) {
        std::memcpy(r.data, u, std::size_t(words) * sizeof(std::uint32_t));
    } else {
        for (std::size_t i = 0; i < std::size_t(words); ++i)
            r.data[i] = std::uint32_t(u[i / kWordsPerLimb] >> (i % kWordsPerLimb * kWordBits));
    }
    set_length(r, words);
}

// u = u 2^shift for a shift below kLimbBits; what leaves the top limb is lost.
void shift_left(stored_limb* u, std::size_t n, unsigned shift) noexcept
{
    if (shift == 0) return;
    for (std::size_t i = n - 1; i > 0; --i)
        u[i] = u[i] << shift | u[i - 1] >> (kLimbBits - shift);
    u[0] <<= shift;
}

// u = u / 2^shift, rounded down.
void shift_right(stored_limb* u, std::size_t n, unsigned shift) noexcept
{
    if (shift == 0) return;
    for (std::size_t i = 0; i + 1 < n; ++i)
        u[i] = u[i] >> shift | u[i + 1] << (kLimbBits - shift);
    u[n - 1] >>= shift;
}

// a / d for a below d.
std::uint32_t divide_by_larger(ZRC_BIGINT* quotient, ZRC_BIGINT* remainder, const ZRC_BIGINT& a) noexcept
{
    if (remainder) {
        if (!grow(*remainder, words_of{a}.length)) return ZRC_ERR_MALLOC;
        const words_of rest{a};
        if (remainder != &a) std::copy_n(rest.data, rest.length, remainder->data);
        remainder->length = rest.length;
    }
    if (quotient) quotient->length = 0;
    return 0;
}

// Either result may be null, or an operand; d is not zero. Returns the reason of a failure, or 0.
std::uint32_t divide_values(ZRC_BIGINT* quotient, ZRC_BIGINT* remainder, const ZRC_BIGINT& a, const ZRC_BIGINT& d,
                            ZRC_BIGINT_POOL* pool) noexcept
{
    const words_of dividend{a}, divisor{d};
    if (less(dividend, divisor)) return divide_by_larger(quotient, remainder, a);

    temporaries room{pool};
    if (!room.open()) return ZRC_ERR_START_BIGINT_POOL_FAIL;
    ZRC_BIGINT *const shifted_dividend = room.get(), *const shifted_divisor = room.get();
    if (!shifted_dividend || !shifted_divisor) return room.shortage();
    const std::size_t nd = limbs_for_words(std::size_t(divisor.length));
    std::size_t n = limbs_for_words(std::size_t(dividend.length)) + 1;
    stored_limb *const u = limb_room(*shifted_dividend, n), *const v = limb_room(*shifted_divisor,
                                                                                 nd + division_scratch_limbs(nd));
    if (!u || !v) return ZRC_ERR_LEFT_SHIFT_BIGINT_FAIL;

    load(u, n, dividend);
    load(v, nd, divisor);
    const auto shift = unsigned(std::countl_zero(limb{v[nd - 1]}));
    shift_left(u, n, shift);
    shift_left(v, nd, shift);
    if (u[n - 1] == 0 && u[n - 2] < v[nd - 1]) --n; // the quotient has no limb there
    divide(u, n, v, nd, v + nd);

    const std::int32_t most = dividend.length - divisor.length + 1; // words of the quotient
    const std::int32_t quotient_words = std::min(most, std::int32_t((n - nd) * kWordsPerLimb));
    const std::int32_t remainder_words = divisor.length;
    if ((quotient && !grow(*quotient, quotient_words)) || (remainder && !grow(*remainder, remainder_words)))
        return ZRC_ERR_MALLOC;
    if (quotient) store(*quotient, quotient_words, u + nd);
    if (remainder) {
        shift_right(u, nd, shift);
        store(*remainder, remainder_words, u);
    }
    return 0;
}

// r = a^e mod m by sliding windows; e is not zero.
std::uint32_t raise(ZRC_BIGINT* r, const ZRC_BIGINT* a, const ZRC_BIGINT* e, const ZRC_BIGINT* m,
                    ZRC_BIGINT_POOL* pool) noexcept
{
    pool_frame frame{pool};
    if (!frame.open()) return ZRC_ERR_START_BIGINT_POOL_FAIL;
    const words_of exponent{*e};
    const std::size_t bits =
        std::size_t(exponent.length) * kWordBits - std::size_t(std::countl_zero(exponent.data[exponent.length - 1]));
    ZRC_BIGINT* powers[kMostOddPowers]; // a, a^3, a^5, ...
    static_assert(std::size(powers) >= odd_powers_for(std::size_t(kMostWords * kWordBits)));
    const std::size_t count = odd_powers_for(bits);
    ZRC_BIGINT* const power = frame.get();
    if (!power) return ZRC_ERR_GET_BIGINT_POOL_FAIL;
    for (std::size_t i = 0; i < count; ++i)
        if ((powers[i] = frame.get()) == nullptr) return ZRC_ERR_GET_BIGINT_POOL_FAIL;
    const auto multiply = [&](ZRC_BIGINT* to, const ZRC_BIGINT* x, const ZRC_BIGINT* y) {
        return ZRC_Mod_Mtp_BIGINT(to, x, y, m, pool) == 0;
    };

    if (ZRC_Div_BIGINT(nullptr, powers[0], a, m, pool) != 0) return ZRC_ERR_MOD_BIGINT_FAIL;
    if (is_zero(*powers[0])) {
        r->length = 0;
        return 0;
    }
    if (count > 1 && !multiply(power, powers[0], powers[0])) return ZRC_ERR_MOD_MTP_BIGINT_FAIL;
    for (std::size_t i = 1; i < count; ++i)
        if (!multiply(powers[i], powers[i - 1], power)) return ZRC_ERR_MOD_MTP_BIGINT_FAIL;

    sliding_windows windows{bits, [e](std::size_t bit) { return ZRC_Is_BIGINT_Bit_Set(e, std::int32_t(bit)) != 0; }};
    auto window = windows.next();
    if (ZRC_Copy_BIGINT(power, powers[window.power / 2]) != 0) return ZRC_ERR_COPY_BIGINT_FAIL;
    while (window.at != 0) {
        const auto next = windows.next();
        for (std::size_t i = next.at; i < window.at; ++i)
            if (!multiply(power, power, power)) return ZRC_ERR_MOD_MTP_BIGINT_FAIL;
        if (next.power != 0 && !multiply(power, power, powers[next.power / 2])) return ZRC_ERR_MOD_MTP_BIGINT_FAIL;
        window = next;
    }
    return ZRC_Copy_BIGINT(r, power) == 0 ? 0 : std::uint32_t{ZRC_ERR_COPY_BIGINT_FAIL};
}

// A value below m equal to a modulo m: a itself, or what `reduced` holds then. Null: the division failed.
const ZRC_BIGINT* reduce(ZRC_BIGINT* reduced, const ZRC_BIGINT* a, const ZRC_BIGINT* m, ZRC_BIGINT_POOL* pool) noexcept
{
    if (less(words_of{*a}, words_of{*m})) return a;
    return ZRC_Div_BIGINT(nullptr, reduced, a, m, pool) == 0 ? reduced : nullptr;
}

} // namespace
} // namespace zrc

std::uint32_t ZRC_Div_BIGINT(ZRC_BIGINT* quotient, ZRC_BIGINT* remainder, const ZRC_BIGINT* a, const ZRC_BIGINT* d,
                             ZRC_BIGINT_POOL* pool)
{
    const auto fail = [](std::uint32_t reason) { return zrc::code(ZRC_L_BIGINT, ZRC_F_DIV_BIGINT, reason); };

    if (!d) return fail(ZRC_ERR_NULL_INPUT);
    if (zrc::is_zero(*d)) return fail(ZRC_ERR_INTERNAL);
    if (!a) return fail(ZRC_ERR_NULL_INPUT);
    const std::uint32_t reason = zrc::divide_values(quotient, remainder, *a, *d, pool);
    return reason == 0 ? 0 : fail(reason);
}

std::uint32_t ZRC_Mod_Mtp_BIGINT(ZRC_BIGINT* r, const ZRC_BIGINT* a, const ZRC_BIGINT* b, const ZRC_BIGINT* m,
                                 ZRC_BIGINT_POOL* pool)
{
    const auto fail = [](std::uint32_t reason) { return zrc::code(ZRC_L_BIGINT, ZRC_F_MOD_MTP_BIGINT, reason); };

    if (!r || !a || !b || !m) return fail(ZRC_ERR_NULL_INPUT);
    zrc::pool_frame frame{pool};
    if (!frame.open()) return fail(ZRC_ERR_START_BIGINT_POOL_FAIL);
    ZRC_BIGINT* const product = frame.get();
    if (!product) return fail(ZRC_ERR_GET_BIGINT_POOL_FAIL);
    if (zrc::is_zero(*m)) return fail(ZRC_ERR_MOD_BIGINT_FAIL);

    if (zrc::true_product(*product, *a, *b, pool) != 0) return fail(ZRC_ERR_MTP_BIGINT_FAIL);
    if (ZRC_Div_BIGINT(nullptr, r, product, m, pool) != 0) return fail(ZRC_ERR_MOD_BIGINT_FAIL);
    return 0;
}

std::uint32_t ZRC_Mod_Sub_BIGINT(ZRC_BIGINT* r, const ZRC_BIGINT* a, const ZRC_BIGINT* b, const ZRC_BIGINT* m,
                                 ZRC_BIGINT_POOL* pool)
{
    const auto fail = [](std::uint32_t reason) { return zrc::code(ZRC_L_BIGINT, ZRC_F_MOD_SUB_BIGINT, reason); };

    if (!r || !a || !b || !m) return fail(ZRC_ERR_NULL_INPUT);
    zrc::pool_frame frame{pool};
    if (!frame.open()) return fail(ZRC_ERR_START_BIGINT_POOL_FAIL);
    ZRC_BIGINT *const first = frame.get(), *const second = frame.get();
    if (!first || !second) return fail(ZRC_ERR_GET_BIGINT_POOL_FAIL);
    if (zrc::is_zero(*m)) return fail(ZRC_ERR_MOD_BIGINT_FAIL);

    const ZRC_BIGINT* const from = zrc::reduce(first, a, m, pool);
    const ZRC_BIGINT* const taken = zrc::reduce(second, b, m, pool);
    if (!from || !taken) return fail(ZRC_ERR_MOD_BIGINT_FAIL);
    if (!zrc::less(zrc::words_of{*from}, zrc::words_of{*taken}))
        return ZRC_Sub_BIGINT(r, from, taken) == 0 ? 0 : fail(ZRC_ERR_SUB_BIGINT_FAIL);
    if (ZRC_Add_BIGINT(first, from, m) != 0) return fail(ZRC_ERR_ADD_BIGINT_FAIL);
    return ZRC_Sub_BIGINT(r, first, taken) == 0 ? 0 : fail(ZRC_ERR_SUB_BIGINT_FAIL);
}

std::uint32_t ZRC_Mod_Exp_BIGINT(ZRC_BIGINT* r, const ZRC_BIGINT* a, const ZRC_BIGINT* e, const ZRC_BIGINT* m,
                                 ZRC_BIGINT_POOL* pool)
{
    const auto fail = [](std::uint32_t reason) { return zrc::code(ZRC_L_BIGINT, ZRC_F_MOD_EXP_BIGINT, reason); };

    if (!r || !a || !e || !m) return fail(ZRC_ERR_NULL_INPUT);
    if (zrc::is_zero(*e)) return ZRC_Set_BIGINT_Word(r, 1);
    if (zrc::is_zero(*m)) return fail(ZRC_ERR_MOD_BIGINT_FAIL);
    const zrc::owned<ZRC_BIGINT_POOL, ZRC_Free_BIGINT_Pool> own{pool ? nullptr : ZRC_New_BIGINT_Pool()};
    const std::uint32_t reason = zrc::raise(r, a, e, m, pool ? pool : own.get());
    return reason == 0 ? 0 : fail(reason);
}
