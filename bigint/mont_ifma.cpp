// Modular exponentiation with AVX-512 IFMA, for moduli of 192 to 4096 bits; two of up to 2048 bits go side by side.
#include "bigint/mont_ifma.hpp"

#include "bigint/exponentiation.hpp"
#include "bigint/mod_exp.hpp"
#include "bigint/mont_limb_core.hpp"
#include "bigint/steady_division.hpp"
#include "core/secret.hpp"

#include <algorithm>
#include <cstddef>
#include <iterator>

namespace zrc {
namespace {

using ifma::digit;
using ifma::kDigitBits;
using ifma::kLanes;

constexpr std::size_t kLeastLimbs = 3, kMostLimbs = 64;

// What a product needs for R above 4 m.
constexpr std::size_t rows_for(std::size_t limbs) noexcept
{
    return (kLimbBits * limbs + 2 + kDigitBits - 1) / kDigitBits;
}

using multiply_fn = void (*)(digit*, const digit*, const digit*, const ifma::modulus*, std::size_t) noexcept;
using select_fn = void (*)(digit*, const digit*, std::size_t, std::size_t, std::size_t) noexcept;

// What there is for numbers of a certain number of vectors.
struct product_size {
    std::size_t vectors, rest; // rows: a multiple of `vectors`, and `rest`
    select_fn select;
    multiply_fn mul, sqr, mul_two, sqr_two; // one number, or two side by side

    constexpr std::size_t rounds(std::size_t rows) const noexcept { return (rows - rest + vectors - 1) / vectors; }
    constexpr std::size_t most_rows() const noexcept { return kLanes * vectors - (vectors - rest) % vectors; }
};

template <std::size_t V, std::size_t Rest, bool Two>
constexpr product_size product_size_of() noexcept
{
    product_size size{};
    size.vectors = V;
    size.rest = Rest;
    size.select = ifma::select<V>;
    size.mul = ifma::multiply<V, Rest, false, 1>;
    size.sqr = ifma::multiply<V, Rest, true, 1>;
    if constexpr (Two) {
        size.mul_two = ifma::multiply<V, Rest, false, 2>;
        size.sqr_two = ifma::multiply<V, Rest, true, 2>;
    }
    return size;
}

// The rests suit 512, 1024, 1536, 2048, 3072 and 4096 bits: 10, 20, 30, 40, 60 and 79 rows.
constexpr product_size kSizes[] = {
    product_size_of<2, 0, true>(),  product_size_of<3, 2, true>(),  product_size_of<4, 2, true>(),
    product_size_of<5, 0, true>(),  product_size_of<6, 0, false>(), product_size_of<7, 0, false>(),
    product_size_of<8, 4, false>(), product_size_of<9, 0, false>(), product_size_of<10, 9, false>(),
};
static_assert(std::end(kSizes)[-1].most_rows() >= rows_for(kMostLimbs));

constexpr const product_size& size_for(std::size_t limbs) noexcept
{
    const product_size* size = kSizes;
    while (size->most_rows() < rows_for(limbs))
        ++size;
    return *size;
}

// A Core (bigint/exponentiation.hpp) on vectors of digits. Elements are below 2 m.
template <std::size_t Streams>
class ifma_core {
public:
    using digit = ifma::digit;
    static constexpr std::size_t lanes = Streams;

    explicit ifma_core(std::size_t limbs) noexcept
        : limbs_{limbs}, size_{size_for(limbs)}, rounds_{size_.rounds(rows_for(limbs))}
    {
    }

    ifma_core(const ifma_core&) = delete;
    ifma_core& operator=(const ifma_core&) = delete;
    ~ifma_core() { wipe(moduli_, sizeof moduli_); }

    std::size_t digits() const noexcept { return kLanes * size_.vectors; }

    std::size_t workspace_digits() const noexcept
    {
        return (2 * lanes + 1) * digits() + aligned_limbs(std::max(2 * limbs_ + 1 + division_limbs(), digits() + 2));
    }

    void prepare(digit* workspace, const limb* const (&m)[lanes]) noexcept
    {
        square_ = workspace + lanes * digits();
        spare_ = square_ + lanes * digits();
        limbs_memory_ = spare_ + digits();
        for (std::size_t lane = 0; lane < lanes; ++lane) {
            digit* const modulus = workspace + lane * digits();
            cut(modulus, m[lane]);
            m_[lane] = m[lane];
            moduli_[lane] = {modulus, negative_inverse(m[lane][0])};
        }
    }

    void prepare_loads() noexcept
    {
        constexpr limb kOne = 1;
        for (std::size_t lane = 0; lane < lanes; ++lane)
            set_multiple(square_ + lane * digits(), lane, &kOne, 1, 2 * radix_bits());
    }

    void load(digit* r, std::size_t lane, const limb* a) noexcept
    {
        cut(spare_, a);
        mul_lane(r + lane * digits(), lane, spare_, square_ + lane * digits());
    }

    void load_once(digit* r, std::size_t lane, const limb* a) noexcept
    {
        set_multiple(r + lane * digits(), lane, a, limbs_, radix_bits());
    }

    void store(limb* r, std::size_t lane, const digit* a) noexcept
    {
        clear_spare_to_one();
        // At most m: (a + q m) / R with a below 2 m and q below R.
        mul_lane(spare_, lane, a + lane * digits(), spare_);
        join(r, lane, spare_);
    }

    void load_plain(digit* r, std::size_t lane, const limb* a) noexcept { cut(r + lane * digits(), a); }

    void store_plain(limb* r, std::size_t lane, const digit* a) noexcept { join(r, lane, a + lane * digits()); }

    void one(digit* r) noexcept
    {
        clear_spare_to_one();
        for (std::size_t lane = 0; lane < lanes; ++lane)
            mul_lane(r + lane * digits(), lane, spare_, square_ + lane * digits());
    }

    void mul(digit* r, const digit* a, const digit* b) noexcept
    {
        if constexpr (lanes == 1)
            size_.mul(r, a, b, moduli_, rounds_);
        else
            size_.mul_two(r, a, b, moduli_, rounds_);
    }

    void sqr(digit* r, const digit* a) noexcept
    {
        if constexpr (lanes == 1)
            size_.sqr(r, a, a, moduli_, rounds_);
        else
            size_.sqr_two(r, a, a, moduli_, rounds_);
    }

    void select(digit* r, const digit* table, std::size_t entries, const std::size_t (&index)[lanes]) noexcept
    {
        for (std::size_t lane = 0; lane < lanes; ++lane)
            size_.select(r + lane * digits(), table + lane * digits(), entries, lanes * digits(), index[lane]);
    }

private:
    // Of R.
    std::size_t radix_bits() const noexcept { return kDigitBits * (rounds_ * size_.vectors + size_.rest); }

    // For set_multiple(): R^2 or a R.
    std::size_t division_limbs() const noexcept
    {
        const std::size_t radix = radix_bits() / kLimbBits + 1;
        return steady_division::memory_limbs(limbs_, radix + std::max(limbs_, radix) + 1);
    }

    void mul_lane(digit* r, std::size_t lane, const digit* a, const digit* b) noexcept
    {
        size_.mul(r, a, b, moduli_ + lane, rounds_);
    }

    void clear_spare_to_one() noexcept
    {
        std::fill_n(spare_, digits(), digit{0});
        spare_[0] = 1;
    }

    // The digits of a 2^bits mod m; `a` has at most limbs_ limbs.
    void set_multiple(digit* r, std::size_t lane, const limb* a, std::size_t a_limbs, std::size_t bits) noexcept
    {
        limb* const reduced = limbs_memory_;
        limb* const shifted = reduced + limbs_;
        limb* const division = shifted + limbs_ + 1;
        limb below = 0;
        for (std::size_t i = 0; i <= a_limbs; ++i) {
            const limb here = i < a_limbs ? a[i] : 0;
            shifted[i] = here << (bits % kLimbBits) | (below >> 1 >> (kLimbBits - 1 - bits % kLimbBits));
            below = here;
        }
        steady_division{division, m_[lane], limbs_}.remainder(reduced, shifted, a_limbs + 1, bits / kLimbBits);
        cut(r, reduced);
    }

    // The digits of a number of limbs_ limbs.
    void cut(digit* r, const limb* a) const noexcept
    {
        for (std::size_t lane = 0, bit = 0; lane < kLanes; ++lane) {
            for (std::size_t vector = 0; vector < size_.vectors; ++vector, bit += kDigitBits) {
                const std::size_t from = bit / kLimbBits, shift = bit % kLimbBits;
                const limb low = from < limbs_ ? a[from] >> shift : 0;
                const limb high = from + 1 < limbs_ ? a[from + 1] << 1 << (kLimbBits - 1 - shift) : 0;
                r[kLanes * vector + lane] = (low | high) & ifma::kDigitMask;
            }
        }
    }

    // r = a mod m for the digits of a number below 2 m.
    void join(limb* r, std::size_t lane, const digit* a) noexcept
    {
        digit* next = limbs_memory_; // the digits in order
        for (std::size_t of_vector = 0; of_vector < kLanes; ++of_vector)
            for (std::size_t vector = 0; vector < size_.vectors; ++vector)
                *next++ = a[kLanes * vector + of_vector];
        next[0] = next[1] = 0;
        const auto joined = [&](std::size_t i) {
            const digit* const from = limbs_memory_ + kLimbBits * i / kDigitBits;
            const std::size_t shift = kLimbBits * i % kDigitBits, first = kDigitBits - shift; // of from[0]
            const limb low = from[0] >> shift | from[1] << first;
            return first + kDigitBits < kLimbBits ? low | from[2] << (first + kDigitBits) : low;
        };
        for (std::size_t i = 0; i < limbs_; ++i)
            r[i] = joined(i);
        reduce_once(r, joined(limbs_), m_[lane], limbs_);
    }

    std::size_t limbs_;
    const product_size& size_;
    std::size_t rounds_;
    const limb* m_[lanes]{};
    ifma::modulus moduli_[lanes]{};
    digit* square_ = nullptr;      // R^2 mod m
    digit* spare_ = nullptr;       // one number
    limb* limbs_memory_ = nullptr; // for set_multiple() and join()
};

bool suits(const mod_exp_task& task) noexcept
{
    return task.limbs >= kLeastLimbs && task.limbs <= kMostLimbs;
}

bool open_ifma(const mod_exp_task& task) noexcept
{
    return suits(task) ? open_exponentiation<ifma_core<1>>(task) : scalar_mod_exp_kernel().open(task);
}

bool open_product_ifma(const mod_exp_task& first, const mod_exp_task& second) noexcept
{
    return suits(first) ? open_product<ifma_core<1>>(first, second)
                        : scalar_mod_exp_kernel().open_product(first, second);
}

bool secret_ifma(const mod_exp_task& task) noexcept
{
    return suits(task) ? secret_exponentiation_alone<ifma_core<1>>(task) : scalar_mod_exp_kernel().secret(task);
}

bool pair_ifma(const mod_exp_task& first, const mod_exp_task& second) noexcept
{
    const bool in_step = first.limbs == second.limbs && suits(first) && size_for(first.limbs).mul_two != nullptr;
    if (in_step) return secret_exponentiation_in_lanes<ifma_core<2>>({&first, &second});
    return secret_ifma(first) && secret_ifma(second);
}

} // namespace

constinit const mod_exp_kernel kMontIfma{open_ifma, open_product_ifma, secret_ifma, pair_ifma};

} // namespace zrc
