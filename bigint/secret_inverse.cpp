// The inverse of a secret number modulo an odd one, which may be secret too.
#include "bigint/divsteps.hpp"
#include "bigint/euclid.hpp"
#include "bigint/exponentiation.hpp"
#include "bigint/limb.hpp"
#include "bigint/mod_exp.hpp"
#include "bigint/mont_limb_core.hpp"
#include "bigint/operand.hpp"

#include <algorithm>
#include <cstddef>
#include <cstdint>

namespace zrc {
namespace {

class divstep_inversion {
public:
    divstep_inversion(std::size_t a_words, std::size_t m_words) noexcept
        : m_limbs_{limbs_for_words(m_words)}, bits_{32 * std::max(a_words, m_words)}, n_{divsteps::digits_for(bits_)},
          memory_{6 * aligned_limbs(n_)}
    {
        if (memory_.missing()) return;
        for (limb** const number : {&numbers_.f, &numbers_.g, &numbers_.d, &numbers_.e, &m_, &limbs_})
            *number = memory_.take(aligned_limbs(n_));
        numbers_.m = m_;
        numbers_.n = n_;
    }

    bool missing() const noexcept { return memory_.missing(); }

    void run(const ZRC_BIGINT& a, const ZRC_BIGINT& m) noexcept
    {
        split(numbers_.g, a);
        split(m_, m);
        std::copy_n(m_, n_, numbers_.f);
        numbers_.e[0] = 1;
        const limb inverse = 0 - negative_inverse(m_[0]); // modulo 2^kDigitBits, too
        numbers_.run(divsteps::matrices_for(bits_), inverse);
    }

    bool found() const noexcept { return numbers_.found() != 0; }

    // The inverse, as many limbs as m has.
    const limb* result() noexcept
    {
        numbers_.finish();
        divsteps::join(limbs_, m_limbs_, numbers_.d, n_);
        return limbs_;
    }

private:
    void split(limb* digits, const ZRC_BIGINT& value) noexcept
    {
        const auto words = std::size_t(value.length);
        load_limbs(limbs_, value.data, words);
        for (std::size_t i = 0; i < n_; ++i)
            digits[i] = divsteps::digit_of(limbs_, limbs_for_words(words), i);
    }

    std::size_t m_limbs_, bits_, n_;
    exponentiation_memory<limb> memory_; // filled with zeros
    divsteps::numbers numbers_{};
    limb* m_ = nullptr;
    limb* limbs_ = nullptr; // of an operand or the result
};

} // namespace

bool secret_mod_inverse(ZRC_BIGINT* r, const ZRC_BIGINT* a, const ZRC_BIGINT* m) noexcept
{
    if (!r || !a || !m || a->length < 0 || m->length < 1) return false;
    if ((m->data[0] & 1) == 0 || m->data[m->length - 1] == 0) return false;
    if (m->length == 1 && m->data[0] == 1) return false;
    const std::int32_t words = m->length;
    divstep_inversion inversion{std::size_t(a->length), std::size_t(words)};
    if (inversion.missing()) return false;
    inversion.run(*a, *m);
    if (!inversion.found() || !grow(*r, words)) return false;
    store_normalised(*r, inversion.result(), std::size_t(words));
    return true;
}

} // namespace zrc
