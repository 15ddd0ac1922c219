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
        division_ = memory_.take(aligned_limbs(steady_division::memory_limbs(limbs_, a_limbs_)));
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
        return 3 * aligned_limbs(limbs) + aligned_limbs(steady_division::memory_limbs(limbs, a_limbs)) +
               aligned_limbs(a_limbs) + aligned_limbs(e_limbs);
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

// One public exponentiation. The exponent is not 0, and the modulus was not refused.
class open_operands {
public:
    open_operands(const ZRC_BIGINT& a, const ZRC_BIGINT& e, const ZRC_BIGINT& m) noexcept
        : exponent_{public_operand(e)}, modulus_{public_operand(m)}, limbs_{public_operand(a), exponent_,
                                                                            exponent_.limbs(), modulus_}
    {
    }

    mod_exp_outcome prepare() noexcept
    {
        if (limbs_.missing()) return mod_exp_outcome::no_memory;
        if (!limbs_.base_is_reduced()) limbs_.reduce_base();
        return limbs_.base_is_zero() ? mod_exp_outcome::base_is_zero : mod_exp_outcome::done;
    }

    mod_exp_task task() const noexcept
    {
        const auto zeros = std::size_t(std::countl_zero(exponent_.value.data[exponent_.words - 1]));
        return limbs_.task(32 * exponent_.words - zeros);
    }

    mod_exp_outcome store(ZRC_BIGINT& r) const noexcept
    {
        if (zrc_Expand_BIGINT(&r, std::int32_t(modulus_.words)) == nullptr) return mod_exp_outcome::no_room;
        store_normalised(r, limbs_.result(), modulus_.words);
        return mod_exp_outcome::done;
    }

private:
    operand exponent_, modulus_;
    limb_operands limbs_;
};

// What is refused, or already decided, by the modulus.
mod_exp_outcome refusal_of(const ZRC_BIGINT& m) noexcept
{
    const words_of modulus{m};
    if (modulus.is_zero() || (modulus.data[0] & 1) == 0) return mod_exp_outcome::bad_modulus;
    return modulus.length == 1 && modulus.data[0] == 1 ? mod_exp_outcome::base_is_zero : mod_exp_outcome::done;
}

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
    if (is_zero(*e)) return mod_exp_outcome::exponent_is_zero;
    if (const auto refused = refusal_of(*m); refused != mod_exp_outcome::done) return refused;
    open_operands power{*a, *e, *m};
    if (const auto outcome = power.prepare(); outcome != mod_exp_outcome::done) return outcome;
    if (!mod_exp_kernels.get()->open(power.task())) return mod_exp_outcome::no_memory;
    return power.store(*r);
}

mod_exp_outcome open_mod_exp_product(ZRC_BIGINT* r, const ZRC_BIGINT* a, const ZRC_BIGINT* e, const ZRC_BIGINT* b,
                                     const ZRC_BIGINT* f, const ZRC_BIGINT* m) noexcept
{
    if (const auto refused = refusal_of(*m); refused != mod_exp_outcome::done) return refused;
    if (is_zero(*e) && is_zero(*f))
        return ZRC_Set_BIGINT_Word(r, 1) == 0 ? mod_exp_outcome::done : mod_exp_outcome::no_room;
    if (is_zero(*e)) return open_mod_exp(r, b, f, m);
    if (is_zero(*f)) return open_mod_exp(r, a, e, m);
    open_operands first{*a, *e, *m}, second{*b, *f, *m};
    for (open_operands* const power : {&first, &second})
        if (const auto outcome = power->prepare(); outcome != mod_exp_outcome::done) return outcome;
    if (!mod_exp_kernels.get()->open_product(first.task(), second.task())) return mod_exp_outcome::no_memory;
    return first.store(*r);
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
