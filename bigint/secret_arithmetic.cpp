// Sums, products and remainders in a time that depends on lengths only.
#include "bigint/secret_arithmetic.hpp"

#include "bigint/exponentiation.hpp"
#include "bigint/limb.hpp"
#include "bigint/mod_exp.hpp"
#include "bigint/mont_limb_core.hpp"
#include "bigint/operand.hpp"
#include "bigint/product.hpp"
#include "bigint/steady_division.hpp"
#include "core/settled.hpp"

#include <algorithm>
#include <cstddef>

namespace zrc {
namespace {

// Values are used with all of their words, zeros on top included.
std::size_t words_in(const ZRC_BIGINT& value) noexcept
{
    return std::size_t(std::max(value.length, 0));
}

// 1 or more, as products want it.
std::size_t limbs_in(const ZRC_BIGINT& value) noexcept
{
    return std::max(limbs_for_words(words_in(value)), std::size_t{1});
}

bool is_modulus(const ZRC_BIGINT* m) noexcept
{
    return m && m->length > 0 && m->data[m->length - 1] != 0;
}

// Word `i` of a value, 0 above its end.
std::uint32_t word_at(const ZRC_BIGINT& value, std::size_t i) noexcept
{
    return i < words_in(value) ? value.data[i] : 0;
}

struct number {
    limb* limbs;
    std::size_t n;
};

// The memory of one operation; pieces are 0 from the start.
class scratch {
public:
    // Sizes of the pieces that will be taken, in limbs.
    template <class... Sizes>
    explicit scratch(Sizes... limbs) noexcept : memory_{(aligned_limbs(limbs) + ...)}
    {
    }

    bool missing() const noexcept { return memory_.missing(); }

    number zero(std::size_t n) noexcept { return {memory_.take(aligned_limbs(n)), n}; }

    number copy(const ZRC_BIGINT& value) noexcept
    {
        const number result = zero(limbs_in(value));
        load_limbs(result.limbs, value.data, words_in(value));
        return result;
    }

private:
    exponentiation_memory<limb> memory_;
};

// r = a b; r has a.n + b.n limbs.
void set_product(const number& r, const number& a, const number& b) noexcept
{
    multiply(r.limbs, a.limbs, a.n, b.limbs, b.n);
}

// r = a mod m.
void reduce(const number& r, const number& a, const number& m, const number& division) noexcept
{
    steady_division{division.limbs, m.limbs, m.n}.remainder(r.limbs, a.limbs, a.n);
}

bool store(ZRC_BIGINT& r, const number& result, std::size_t words) noexcept
{
    if (!grow(r, std::int64_t(words))) return false;
    store_normalised(r, result.limbs, words);
    return true;
}

} // namespace

bool secret_mod(ZRC_BIGINT* r, const ZRC_BIGINT* a, const ZRC_BIGINT* m) noexcept
{
    if (!r || !a || !is_modulus(m)) return false;
    const std::size_t n = limbs_in(*m);
    const std::size_t division_limbs = steady_division::memory_limbs(n, limbs_in(*a));
    scratch memory{limbs_in(*a), n, n, division_limbs};
    if (memory.missing()) return false;
    const number result = memory.zero(n);
    reduce(result, memory.copy(*a), memory.copy(*m), memory.zero(division_limbs));
    return store(*r, result, words_in(*m));
}

bool secret_mod_mul(ZRC_BIGINT* r, const ZRC_BIGINT* a, const ZRC_BIGINT* b, const ZRC_BIGINT* m) noexcept
{
    if (!r || !a || !b || !is_modulus(m)) return false;
    const std::size_t n = limbs_in(*m), product_limbs = limbs_in(*a) + limbs_in(*b);
    const std::size_t division_limbs = steady_division::memory_limbs(n, product_limbs);
    scratch memory{limbs_in(*a), limbs_in(*b), product_limbs, n, n, division_limbs};
    if (memory.missing()) return false;
    const number product = memory.zero(product_limbs), result = memory.zero(n);
    set_product(product, memory.copy(*a), memory.copy(*b));
    reduce(result, product, memory.copy(*m), memory.zero(division_limbs));
    return store(*r, result, words_in(*m));
}

bool secret_mod_sub(ZRC_BIGINT* r, const ZRC_BIGINT* a, const ZRC_BIGINT* b, const ZRC_BIGINT* m) noexcept
{
    if (!r || !a || !b || !is_modulus(m)) return false;
    const std::size_t n = limbs_in(*m);
    const std::size_t division_limbs = steady_division::memory_limbs(n, std::max(limbs_in(*a), limbs_in(*b)));
    scratch memory{limbs_in(*a), limbs_in(*b), n, n, n, division_limbs};
    if (memory.missing()) return false;
    const number modulus = memory.copy(*m), division = memory.zero(division_limbs);
    const number result = memory.zero(n), other = memory.zero(n);
    reduce(result, memory.copy(*a), modulus, division);
    reduce(other, memory.copy(*b), modulus, division);
    const limb borrow = sub_n(result.limbs, result.limbs, other.limbs, n);
    add_masked(result.limbs, modulus.limbs, mask_of(borrow != 0), n);
    return store(*r, result, words_in(*m));
}

bool secret_mul_add(ZRC_BIGINT* r, const ZRC_BIGINT* a, const ZRC_BIGINT* b, const ZRC_BIGINT* c) noexcept
{
    if (!r || !a || !b || !c) return false;
    const std::size_t words = std::max(words_in(*a) + words_in(*b), words_in(*c)) + 1;
    const std::size_t product_limbs = limbs_in(*a) + limbs_in(*b), n = std::max(product_limbs, limbs_in(*c)) + 1;
    scratch memory{limbs_in(*a), limbs_in(*b), n, n};
    if (memory.missing()) return false;
    const number result = memory.zero(n), addend = memory.zero(n);
    set_product({result.limbs, product_limbs}, memory.copy(*a), memory.copy(*b));
    load_limbs(addend.limbs, c->data, words_in(*c));
    add_n(result.limbs, result.limbs, addend.limbs, n);
    return store(*r, result, words);
}

bool secret_sub_word(ZRC_BIGINT* r, const ZRC_BIGINT* a, std::uint32_t w) noexcept
{
    if (!r || !a) return false;
    const std::size_t n = limbs_in(*a);
    scratch memory{n, n};
    if (memory.missing()) return false;
    const number result = memory.copy(*a), subtrahend = memory.zero(n);
    subtrahend.limbs[0] = w;
    if (settled(sub_n(result.limbs, result.limbs, subtrahend.limbs, n)) != 0) return false;
    return store(*r, result, words_in(*a));
}

bool secret_is_one(const ZRC_BIGINT* a) noexcept
{
    if (!a) return false;
    std::uint32_t difference = word_at(*a, 0) ^ 1;
    for (std::size_t i = 1; i < words_in(*a); ++i)
        difference |= a->data[i];
    return settled(difference) == 0;
}

bool secret_equal(const ZRC_BIGINT* a, const ZRC_BIGINT* b) noexcept
{
    if (!a || !b) return false;
    std::uint32_t difference = 0;
    for (std::size_t i = 0; i < std::max(words_in(*a), words_in(*b)); ++i)
        difference |= word_at(*a, i) ^ word_at(*b, i);
    return settled(difference) == 0;
}

bool secret_less(const ZRC_BIGINT* a, const ZRC_BIGINT* b) noexcept
{
    if (!a || !b) return false;
    std::uint64_t borrow = 0;
    for (std::size_t i = 0; i < std::max(words_in(*a), words_in(*b)); ++i)
        borrow = (std::uint64_t{word_at(*a, i)} - word_at(*b, i) - borrow) >> 63;
    return settled(borrow) != 0;
}

} // namespace zrc
