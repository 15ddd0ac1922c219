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
        return (2 * lanes + 1) * digits() + aligned_limbs(3 * limbs_ + power_limbs());
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
            set_square(lane);
        }
    }

    void load(digit* r, std::size_t lane, const limb* a) noexcept
    {
        cut(spare_, a);
        mul_lane(r + lane * digits(), lane, spare_, square_ + lane * digits());
    }

    void store(limb* r, std::size_t lane, const digit* a) noexcept
    {
        clear_spare_to_one();
        // At most m: (a + q m) / R with a below 2 m and q below R.
        mul_lane(spare_, lane, a + lane * digits(), spare_);
        for (std::size_t i = 0; i < limbs_; ++i)
            r[i] = joined(spare_, i);
        reduce_once(r, 0, m_[lane], limbs_);
    }

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
    std::size_t rows() const noexcept { return rounds_ * size_.vectors + size_.rest; }
    std::size_t power_limbs() const noexcept { return 2 * kDigitBits * rows() / kLimbBits + 1; }

    void mul_lane(digit* r, std::size_t lane, const digit* a, const digit* b) noexcept
    {
        size_.mul(r, a, b, moduli_ + lane, rounds_);
    }

    void clear_spare_to_one() noexcept
    {
        std::fill_n(spare_, digits(), digit{0});
        spare_[0] = 1;
    }

    // R^2 mod m
    void set_square(std::size_t lane) noexcept
    {
        limb* const reduced = limbs_memory_ + 2 * limbs_;
        limb* const power = reduced + limbs_;
        std::fill_n(power, power_limbs(), limb{0});
        power[power_limbs() - 1] = limb{1} << (2 * kDigitBits * rows() % kLimbBits);
        steady_division{limbs_memory_, m_[lane], limbs_}.remainder(reduced, power, power_limbs());
        cut(square_ + lane * digits(), reduced);
    }

    std::size_t place(std::size_t i) const noexcept { return kLanes * (i % size_.vectors) + i / size_.vectors; }

    // The digits of a number of limbs_ limbs.
    void cut(digit* r, const limb* a) const noexcept
    {
        for (std::size_t i = 0; i < digits(); ++i) {
            const std::size_t from = kDigitBits * i / kLimbBits, shift = kDigitBits * i % kLimbBits;
            const limb low = from < limbs_ ? a[from] >> shift : 0;
            const limb high = from + 1 < limbs_ ? a[from + 1] << 1 << (kLimbBits - 1 - shift) : 0;
            digit* const to = r + place(i);
            *to = (low | high) & ifma::kDigitMask;
        }
    }

    // Limb i of a number of digits.
    limb joined(const digit* a, std::size_t i) const noexcept
    {
        const std::size_t from = kLimbBits * i / kDigitBits, shift = kLimbBits * i % kDigitBits;
        const std::size_t first = kDigitBits - shift; // bits from the first digit: more than 0
        limb result = a[place(from)] >> shift | a[place(from + 1)] << first;
        if (first + kDigitBits < kLimbBits) result |= a[place(from + 2)] << (first + kDigitBits);
        return result;
    }

    std::size_t limbs_;
    const product_size& size_;
    std::size_t rounds_;
    const limb* m_[lanes]{};
    ifma::modulus moduli_[lanes]{};
    digit* square_ = nullptr;      // R^2 mod m
    digit* spare_ = nullptr;       // one number
    limb* limbs_memory_ = nullptr; // for set_square
};

bool suits(const mod_exp_task& task) noexcept
{
    return task.limbs >= kLeastLimbs && task.limbs <= kMostLimbs;
}

bool open_ifma(const mod_exp_task& task) noexcept
{
    return suits(task) ? open_exponentiation<ifma_core<1>>(task) : scalar_mod_exp_kernel().open(task);
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

constinit const mod_exp_kernel kMontIfma{open_ifma, secret_ifma, pair_ifma};

} // namespace zrc
