// From ZRC_BIGINT to the exponentiation kernels and back.
#include "bigint/mod_exp.hpp"

#include "bigint/exponentiation.hpp"
#include "bigint/mont_limb_core.hpp"
#include "bigint/operand.hpp"
#include "bigint/steady_division.hpp"
#include "core/cpu.hpp"

#include <algorithm>
#include <bit>
#include <cstddef>
#include <iterator>
#include <optional>

namespace zrc {
namespace {

constexpr kernel<const mod_exp_kernel*> kKernels[] = {
#if KESTRIM_X86_64_KERNELS
    {"ifma", cpu_feature::ifma_avx512, &kMontIfma},
    {"adx", cpu_feature::adx, &kMontAdx},
#endif
    {"portable", cpu_feature::none, &kMontPortable},
};

struct operand {
    const ZRC_BIGINT& value;
    std::size_t words; // to be used of it

    std::size_t limbs() const noexcept { return limbs_for_words(words); }
};

// Without the zero words on top.
operand public_operand(const ZRC_BIGINT& value) noexcept
{
    return {value, std::size_t(stripped_length(value.data, value.length))};
}

// With all words, as they are.
operand secret_operand(const ZRC_BIGINT& value) noexcept
{
    return {value, std::size_t(std::max(value.length, 0))};
}

// The operands as limbs, in memory of their own.
class limb_operands {
public:
    // `e_limbs` is at least e.limbs(). m has one word or more, its top one not zero.
    limb_operands(const operand& a, const operand& e, std::size_t e_limbs, const operand& m) noexcept
        : limbs_{m.limbs()}, a_limbs_{std::max(a.limbs(), limbs_)}, memory_{size(limbs_, a_limbs_, e_limbs)}
    {
        if (memory_.missing()) return;
        m_ = take(m, limbs_);
        e_ = take(e, e_limbs);
        a_ = take(a, a_limbs_);
        reduced_ = memory_.take(aligned_limbs(limbs_));
        r_ = memory_.take(aligned_limbs(limbs_));
        division_ = memory_.take(aligned_limbs(2 * limbs_));
    }

    bool missing() const noexcept { return memory_.missing(); }

    // The base, which may be m or above.
    bool base_is_reduced() const noexcept
    {
        if (a_limbs_ > limbs_) return false;
        return std::lexicographical_compare(std::make_reverse_iterator(a_ + limbs_), std::make_reverse_iterator(a_),
                                            std::make_reverse_iterator(m_ + limbs_), std::make_reverse_iterator(m_));
    }

    void reduce_base() noexcept
    {
        steady_division{division_, m_, limbs_}.remainder(reduced_, a_, a_limbs_);
        a_ = reduced_;
    }

    bool base_is_zero() const noexcept
    {
        return std::all_of(a_, a_ + limbs_, [](limb value) { return value == 0; });
    }

    mod_exp_task task(std::size_t e_bits) const noexcept { return {r_, a_, m_, limbs_, e_, e_bits}; }

    const limb* result() const noexcept { return r_; }

private:
    static constexpr std::size_t size(std::size_t limbs, std::size_t a_limbs, std::size_t e_limbs) noexcept
    {
        return 3 * aligned_limbs(limbs) + aligned_limbs(2 * limbs) + aligned_limbs(a_limbs) + aligned_limbs(e_limbs);
    }

    limb* take(const operand& from, std::size_t limbs) noexcept
    {
        limb* const to = memory_.take(aligned_limbs(limbs));
        load_limbs(to, from.value.data, from.words);
        std::fill(to + from.limbs(), to + limbs, limb{0});
        return to;
    }

    std::size_t limbs_, a_limbs_;
    exponentiation_memory<limb> memory_;
    const limb* m_ = nullptr;
    const limb* e_ = nullptr;
    const limb* a_ = nullptr;
    limb* reduced_ = nullptr;
    limb* r_ = nullptr;
    limb* division_ = nullptr;
};

// One secret exponentiation, from its arguments to its task and its result.
class secret_run {
public:
    // False: an operand does not fit, or there is no memory.
    bool open(const secret_exponentiation& asked) noexcept
    {
        if (!asked.r || !asked.a || !asked.e || !asked.m) return false;
        const operand a = secret_operand(*asked.a), e = secret_operand(*asked.e), m = secret_operand(*asked.m);
        if (m.words == 0 || (m.value.data[0] & 1) == 0 || m.value.data[m.words - 1] == 0) return false;
        if (m.words == 1 && m.value.data[0] == 1) return false;

        const std::size_t bound = asked.e_bits != 0 ? (std::size_t{asked.e_bits} + 31) / 32 : m.words;
        const std::size_t e_words = std::max(bound, e.words);
        if (zrc_Expand_BIGINT(asked.r, std::int32_t(m.words)) == nullptr) return false;
        operands_.emplace(a, e, limbs_for_words(e_words), m);
        if (operands_->missing()) return false;
        operands_->reduce_base();
        e_bits_ = 32 * e_words;
        words_ = m.words;
        r_ = asked.r;
        return true;
    }

    mod_exp_task task() const noexcept { return operands_->task(e_bits_); }
    void finish() noexcept { store_normalised(*r_, operands_->result(), words_); }

private:
    std::optional<limb_operands> operands_;
    std::size_t e_bits_ = 0, words_ = 0;
    ZRC_BIGINT* r_ = nullptr;
};

} // namespace

void store_normalised(ZRC_BIGINT& r, const limb* result, std::size_t words) noexcept
{
    store_limbs(r.data, result, words);
    limb length = 0;
    for (std::size_t i = 0; i < words; ++i) {
        const limb here = mask_of(r.data[i] != 0);
        length = (length & ~here) | (limb(i + 1) & here);
    }
    r.length = std::int32_t(length);
}

constinit kernel_choice<const mod_exp_kernel*> mod_exp_kernels{kKernels};

const mod_exp_kernel& scalar_mod_exp_kernel() noexcept
{
#if KESTRIM_X86_64_KERNELS
    if (cpu_has(cpu_feature::adx)) return kMontAdx;
#endif
    return kMontPortable;
}

mod_exp_outcome open_mod_exp(ZRC_BIGINT* r, const ZRC_BIGINT* a, const ZRC_BIGINT* e, const ZRC_BIGINT* m) noexcept
{
    const operand base = public_operand(*a), exponent = public_operand(*e), modulus = public_operand(*m);
    if (exponent.words == 0) return mod_exp_outcome::exponent_is_zero;
    if (modulus.words == 0 || (m->data[0] & 1) == 0) return mod_exp_outcome::bad_modulus;
    if (modulus.words == 1 && m->data[0] == 1) return mod_exp_outcome::base_is_zero;
    const std::size_t e_bits = 32 * exponent.words - std::size_t(std::countl_zero(e->data[exponent.words - 1]));

    limb_operands operands{base, exponent, exponent.limbs(), modulus};
    if (operands.missing()) return mod_exp_outcome::no_memory;
    if (!operands.base_is_reduced()) operands.reduce_base();
    if (operands.base_is_zero()) return mod_exp_outcome::base_is_zero;
    if (!mod_exp_kernels.get()->open(operands.task(e_bits))) return mod_exp_outcome::no_memory;
    if (zrc_Expand_BIGINT(r, std::int32_t(modulus.words)) == nullptr) return mod_exp_outcome::no_room;
    store_normalised(*r, operands.result(), modulus.words);
    return mod_exp_outcome::done;
}

bool secret_mod_exp(const secret_exponentiation& one) noexcept
{
    secret_run run;
    if (!run.open(one) || !mod_exp_kernels.get()->secret(run.task())) return false;
    run.finish();
    return true;
}

bool secret_mod_exp_pair(const secret_exponentiation& first, const secret_exponentiation& second) noexcept
{
    secret_run one, two;
    if (!one.open(first) || !two.open(second)) return false;
    if (!mod_exp_kernels.get()->secret_pair(one.task(), two.task())) return false;
    one.finish();
    two.finish();
    return true;
}

} // namespace zrc
