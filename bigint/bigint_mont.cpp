// The exported Montgomery functions: the context and its two operations, and the exponentiation.
#include "bigint/exponentiation.hpp"
#include "bigint/mod_exp.hpp"
#include "bigint/mont_portable.hpp"
#include "bigint/operand.hpp"
#include "bigint/pool_frame.hpp"
#include "core/error.hpp"
#include "kestrim/bigint_arithmetic.h"
#include "kestrim/error.h"
#include "kestrim/memory.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>

namespace zrc {
namespace {

static_assert(sizeof(void*) != 8 || sizeof(ZRC_BIGINT_MONT) == 88);

bool is_odd(const ZRC_BIGINT& value) noexcept
{
    return value.length > 0 && (value.data[0] & 1) != 0;
}

// Fields that hold nothing yet, whatever the memory held before.
void init_fresh(ZRC_BIGINT& value) noexcept
{
    value.flags = ZRC_BIGINT_ALLOCATED;
    ZRC_Init_BIGINT(&value);
}

std::size_t stored_words(const ZRC_BIGINT& value) noexcept
{
    return std::size_t(std::max(value.length, 0));
}

// Products modulo N on limbs. R = 2^(32 words) is not a power of 2^kLimbBits for an odd number of words: one operand
// is then moved up by the word that the limbs have more.
class context_product {
public:
    // a and b may have any length; N is odd, its top word not zero.
    context_product(const ZRC_BIGINT& modulus, std::size_t longest_operand) noexcept
        : words_{stored_words(modulus)}, limbs_{limbs_for_words(words_)}, memory_{size(limbs_, longest_operand)}
    {
        if (memory_.missing()) return;
        m_ = memory_.take(aligned_limbs(limbs_));
        a_ = memory_.take(aligned_limbs(limbs_));
        b_ = memory_.take(aligned_limbs(limbs_));
        scratch_ = memory_.take(scratch_limbs(limbs_, longest_operand));
        raw_ = memory_.take(0);
        load_limbs(m_, modulus.data, words_);
    }

    bool missing() const noexcept { return memory_.missing(); }

    void set_a(const ZRC_BIGINT& a) noexcept { set(a_, a, limbs_ * kWordsPerLimb - words_); }
    void set_b(const ZRC_BIGINT& b) noexcept { set(b_, b, 0); }

    // r = a b R^-1 mod N. False: r cannot grow.
    bool multiply(ZRC_BIGINT* r) noexcept
    {
        portable_montgomery::mul(a_, a_, b_, {m_, limbs_, negative_inverse(m_[0]), scratch_}); // below 2 N
        reduce_once(a_, 0, m_, limbs_);
        if (zrc_Expand_BIGINT(r, std::int32_t(words_)) == nullptr) return false;
        store_normalised(*r, a_, words_);
        return true;
    }

private:
    static constexpr std::size_t size(std::size_t limbs, std::size_t operand_words) noexcept
    {
        return 3 * aligned_limbs(limbs) + scratch_limbs(limbs, operand_words) + aligned_limbs(longest(operand_words));
    }

    // For a product, or a division.
    static constexpr std::size_t scratch_limbs(std::size_t limbs, std::size_t operand_words) noexcept
    {
        return aligned_limbs(std::max(portable_montgomery::scratch_limbs(limbs),
                                      steady_division::memory_limbs(limbs, longest(operand_words))));
    }

    static constexpr std::size_t longest(std::size_t operand_words) noexcept
    {
        return limbs_for_words(operand_words + kWordsPerLimb - 1);
    }

    void set(limb* to, const ZRC_BIGINT& value, std::size_t zero_words) noexcept
    {
        const std::size_t words = stored_words(value) + zero_words, limbs = limbs_for_words(words);
        std::fill_n(raw_, limbs, limb{0});
        for (std::size_t i = zero_words; i < words; ++i)
            raw_[i / kWordsPerLimb] |= limb{value.data[i - zero_words]} << (32 * (i % kWordsPerLimb));
        steady_division{scratch_, m_, limbs_}.remainder(to, raw_, limbs);
    }

    std::size_t words_, limbs_;
    exponentiation_memory<limb> memory_;
    limb* m_ = nullptr;
    limb* a_ = nullptr;
    limb* b_ = nullptr;
    limb* scratch_ = nullptr;
    limb* raw_ = nullptr;
};

// r = a b R^-1 mod N, `fail` making the codes.
std::uint32_t multiply_in_context(ZRC_BIGINT* r, const ZRC_BIGINT& a, const ZRC_BIGINT& b, const ZRC_BIGINT& modulus,
                                  ZRC_BIGINT_POOL* pool, auto fail) noexcept
{
    const pool_frame frame{pool};
    if (!frame.open()) return fail(ZRC_ERR_START_BIGINT_POOL_FAIL);
    if (!is_odd(modulus) || modulus.data[modulus.length - 1] == 0) return fail(ZRC_ERR_MOD_BIGINT_FAIL);

    context_product product{modulus, std::max(stored_words(a), stored_words(b))};
    if (product.missing()) return fail(ZRC_ERR_MALLOC);
    product.set_a(a);
    product.set_b(b);
    return product.multiply(r) ? 0 : fail(ZRC_ERR_EXPAND_BIGINT_WORD);
}

} // namespace
} // namespace zrc

ZRC_BIGINT_MONT* zrc_New_BIGINT_MONT()
{
    auto* const mont = static_cast<ZRC_BIGINT_MONT*>(ZRC_Malloc(sizeof(ZRC_BIGINT_MONT)));
    zrc_Init_BIGINT_MONT(mont);
    return mont;
}

void zrc_Init_BIGINT_MONT(ZRC_BIGINT_MONT* mont)
{
    if (!mont) return;
    mont->ri = 0;
    zrc::init_fresh(mont->RR);
    zrc::init_fresh(mont->N);
    zrc::init_fresh(mont->Ni);
    mont->ninv0 = 0;
}

std::uint32_t zrc_Free_BIGINT_MONT(ZRC_BIGINT_MONT* mont)
{
    if (!mont) return zrc::code(ZRC_L_BIGINT, ZRC_F_FREE_BIGINT_MONT, ZRC_ERR_NULL_INPUT);
    ZRC_Clear_BIGINT(&mont->RR);
    ZRC_Clear_BIGINT(&mont->N);
    ZRC_Clear_BIGINT(&mont->Ni);
    ZRC_Free_Ex(mont, sizeof *mont);
    return 0;
}

std::uint32_t zrc_Set_BIGINT_MONT(ZRC_BIGINT_MONT* mont, const ZRC_BIGINT* modulus, ZRC_BIGINT_POOL* pool)
{
    const auto fail = [](std::uint32_t reason) { return zrc::code(ZRC_L_BIGINT, ZRC_F_SET_BIGINT_MONT, reason); };

    if (!mont || !modulus) return fail(ZRC_ERR_NULL_INPUT);
    zrc::pool_frame frame{pool};
    if (!frame.open()) return fail(ZRC_ERR_START_BIGINT_POOL_FAIL);
    ZRC_BIGINT* const power = frame.get();
    if (!power) return fail(ZRC_ERR_GET_BIGINT_POOL_FAIL);
    if (!zrc::is_odd(*modulus)) return fail(ZRC_ERR_MOD_INVERSE_BIGINT_FAIL);
    const std::int32_t words = zrc::stripped_length(modulus->data, modulus->length);
    const std::int32_t ri = zrc::kWordBits * words;

    if (ZRC_Set_BIGINT_Bit(power, 2 * ri) != 0) return fail(ZRC_ERR_SET_BIGINT_FAIL);
    if (ZRC_Copy_BIGINT(&mont->N, modulus) != 0) return fail(ZRC_ERR_COPY_BIGINT_FAIL);
    mont->N.length = words;
    if (ZRC_Div_BIGINT(nullptr, &mont->RR, power, &mont->N, pool) != 0) return fail(ZRC_ERR_DIV_BIGINT_FAIL);
    mont->ri = ri;
    mont->ninv0 = std::uint32_t(zrc::negative_inverse(mont->N.data[0]));
    return 0;
}

std::uint32_t zrc_Mod_Mul_BIGINT_Montgomery(ZRC_BIGINT* r, const ZRC_BIGINT* a, const ZRC_BIGINT* b,
                                            const ZRC_BIGINT_MONT* mont, ZRC_BIGINT_POOL* pool)
{
    const auto fail = [](std::uint32_t reason) {
        return zrc::code(ZRC_L_BIGINT, ZRC_F_MOD_MUL_BIGINT_MONTGOMERY, reason);
    };

    if (!r || !a || !b || !mont) return fail(ZRC_ERR_NULL_INPUT);
    return zrc::multiply_in_context(r, *a, *b, mont->N, pool, fail);
}

std::uint32_t zrc_BIGINT_from_Montgomery(ZRC_BIGINT* r, const ZRC_BIGINT* a, const ZRC_BIGINT_MONT* mont,
                                         ZRC_BIGINT_POOL* pool)
{
    const auto fail = [](std::uint32_t reason) {
        return zrc::code(ZRC_L_BIGINT, ZRC_F_BIGINT_FROM_MONTGOMERY, reason);
    };

    if (!r || !a || !mont) return fail(ZRC_ERR_NULL_INPUT);
    return zrc::multiply_in_context(r, *a, *ZRC_Value_One_BIGINT(), mont->N, pool, fail);
}

// All temporaries lie in one block of limbs, so there is no use for the pool.
std::uint32_t ZRC_Mod_Exp_Mont_BIGINT(ZRC_BIGINT* r, const ZRC_BIGINT* a, const ZRC_BIGINT* e, const ZRC_BIGINT* m,
                                      ZRC_BIGINT_POOL*)
{
    const auto fail = [](std::uint32_t reason) { return zrc::code(ZRC_L_BIGINT, ZRC_F_MOD_EXP_MONT_BIGINT, reason); };

    if (!r || !a || !e || !m) return fail(ZRC_ERR_NULL_INPUT);
    switch (zrc::open_mod_exp(r, a, e, m)) {
    case zrc::mod_exp_outcome::done:
        return 0;
    case zrc::mod_exp_outcome::exponent_is_zero:
        return ZRC_Set_BIGINT_Word(r, 1); // even modulo 0 or 1
    case zrc::mod_exp_outcome::base_is_zero:
        return 0; // r stays as it was
    case zrc::mod_exp_outcome::bad_modulus:
        return fail(ZRC_ERR_MOD_BIGINT_FAIL);
    case zrc::mod_exp_outcome::no_memory:
        return fail(ZRC_ERR_MALLOC);
    case zrc::mod_exp_outcome::no_room:
        return fail(ZRC_ERR_BIGINT_FROM_MONTGOMERY_FAIL);
    }
    return fail(ZRC_ERR_INTERNAL);
}
