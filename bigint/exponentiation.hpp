// The two ways to raise to a power, over any Montgomery arithmetic: sliding windows for public exponents, fixed
// windows with whole-table reads for secret ones.
//
// A Core does Montgomery arithmetic for `lanes` odd moduli of one length side by side, in its own representation.
// An element is lanes * digits() digits, lane after lane, aligned to 64 bytes:
//   using digit                       unsigned integer
//   static constexpr size_t lanes     1, or 2 for a core that runs two exponentiations in step
//   explicit Core(size_t limbs)       for moduli of `limbs` limbs (top limb not zero)
//   size_t digits() const             digits of one lane, padding included; a multiple of 64 bytes
//   size_t workspace_digits() const   what prepare() keeps: constants and scratch memory; a multiple of 64 bytes
//   void prepare(digit* workspace, const limb* const (&m)[lanes])
//   void prepare_loads()              what load() and one() need
//   void load(digit* r, size_t lane, const limb* a)         r's lane = a in Montgomery form; a has `limbs` limbs
//   void load_once(digit* r, size_t lane, const limb* a)    the same without prepare_loads(), and as much work as both
//   void store(limb* r, size_t lane, const digit* a)        out of it, fully reduced
//   void load_plain(digit* r, size_t lane, const limb* a), store_plain(limb* r, size_t lane, const digit* a)
//                                     as it is: a product with a plain factor below m is no longer in Montgomery form
//   void one(digit* r), mul(digit* r, const digit* a, const digit* b), sqr(digit* r, const digit* a)
//                                     all lanes at once; r may be an operand
//   void select(digit* r, const digit* table, size_t entries, const size_t (&index)[lanes])
//                                     each lane of r = that lane of its entry; reads every entry (select_entry())
// No function of a core branches on, or addresses memory by, what an element or a modulus holds.
#pragma once

#include "bigint/limb.hpp"
#include "bigint/mod_exp.hpp"
#include "core/secret.hpp"
#include "core/settled.hpp"
#include "kestrim/memory.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>

namespace zrc {

// Window width for a public exponent of `bits` bits.
constexpr unsigned sliding_window_width(std::size_t bits) noexcept
{
    return bits >= 672 ? 6 : bits >= 240 ? 5 : bits >= 80 ? 4 : bits >= 24 ? 3 : 1;
}

static_assert(sliding_window_width(1) == 1 && sliding_window_width(23) == 1);
static_assert(sliding_window_width(24) == 3 && sliding_window_width(79) == 3);
static_assert(sliding_window_width(80) == 4 && sliding_window_width(239) == 4);
static_assert(sliding_window_width(240) == 5 && sliding_window_width(671) == 5);
static_assert(sliding_window_width(672) == 6 && sliding_window_width(SIZE_MAX) == 6);

// How many powers the windows of an exponent of `bits` bits refer to: a, a^3, a^5, ...
constexpr std::size_t odd_powers_for(std::size_t bits) noexcept
{
    return std::size_t{1} << (sliding_window_width(bits) - 1);
}

inline constexpr std::size_t kMostOddPowers = odd_powers_for(SIZE_MAX);

// Window width for a secret one: the table has 2^width entries, read whole once per window.
constexpr unsigned fixed_window_width(std::size_t bits) noexcept
{
    return bits >= 306 ? 5 : bits >= 80 ? 4 : bits >= 24 ? 3 : bits >= 6 ? 2 : 1;
}

// Cuts an exponent into windows from its top bit down. Bit is a callable: bool(size_t position).
template <class Bit>
class sliding_windows {
public:
    struct window {
        std::size_t at;    // multiply by a^power when there are so many squarings left to do
        std::size_t power; // odd and below 2^width; 0: no more windows, and `at` is 0
    };

    sliding_windows(std::size_t bits, Bit bit) noexcept : left_{bits}, width_{sliding_window_width(bits)}, bit_{bit} {}

    window next() noexcept
    {
        while (left_ != 0 && !bit_(left_ - 1))
            --left_;
        if (left_ == 0) return {0, 0};

        std::size_t length = std::min<std::size_t>(width_, left_);
        while (!bit_(left_ - length))
            --length;
        window result{left_ - length, 0};
        for (std::size_t i = 1; i <= length; ++i)
            result.power = result.power << 1 | std::size_t{bit_(left_ - i)};
        left_ = result.at;
        return result;
    }

private:
    std::size_t left_;
    unsigned width_;
    Bit bit_;
};

// The only memory of one exponentiation, cut into pieces that are each aligned to 64 bytes; wiped and released.
template <class Digit>
class exponentiation_memory {
public:
    // `digits` is the sum over all pieces, each a multiple of 64 bytes.
    explicit exponentiation_memory(std::size_t digits) noexcept
    {
        if (digits > (UINT32_MAX - kAlignment) / sizeof(Digit)) return;
        bytes_ = digits * sizeof(Digit) + kAlignment;
        block_ = ZRC_Calloc(1, std::uint32_t(bytes_)); // padding is 0 from the start
        const auto past_line = std::size_t(reinterpret_cast<std::uintptr_t>(block_) % kAlignment);
        auto* const bytes = static_cast<unsigned char*>(block_) + (kAlignment - past_line) % kAlignment;
        next_ = reinterpret_cast<Digit*>(bytes);
    }
    exponentiation_memory(const exponentiation_memory&) = delete;
    exponentiation_memory& operator=(const exponentiation_memory&) = delete;
    ~exponentiation_memory()
    {
        if (block_ != nullptr) ZRC_Free_Ex(block_, std::uint32_t(bytes_));
    }

    bool missing() const noexcept { return block_ == nullptr; }

    Digit* take(std::size_t digits) noexcept
    {
        Digit* const piece = next_;
        next_ += digits;
        return piece;
    }

private:
    static constexpr std::size_t kAlignment = 64;

    void* block_ = nullptr;
    std::size_t bytes_ = 0;
    Digit* next_ = nullptr;
};

// r = the first `digits` digits of entry `index` of a table whose entries lie `stride` digits apart. Reads all of
// them; both lengths are multiples of 64 bytes.
template <class Digit>
void select_entry(Digit* r, const Digit* table, std::size_t entries, std::size_t stride, std::size_t digits,
                  std::size_t index) noexcept
{
    using quarter = std::uint64_t __attribute__((vector_size(16), may_alias)); // of a line of 64 bytes
    constexpr std::size_t kLine = 64 / sizeof(Digit);

    for (std::size_t at = 0; at < digits; at += kLine) {
        quarter sum0{}, sum1{}, sum2{}, sum3{};
        for (std::size_t entry = 0; entry < entries; ++entry) {
            const std::uint64_t difference = entry ^ index;
            const std::uint64_t same = settled(std::uint64_t{0} - ((difference - 1) >> 63)); // all ones or 0
            const quarter mask{same, same};
            const auto* const line = reinterpret_cast<const quarter*>(table + entry * stride + at);
            sum0 |= line[0] & mask;
            sum1 |= line[1] & mask;
            sum2 |= line[2] & mask;
            sum3 |= line[3] & mask;
        }
        auto* const out = reinterpret_cast<quarter*>(r + at);
        out[0] = sum0;
        out[1] = sum1;
        out[2] = sum2;
        out[3] = sum3;
    }
}

// `width` bits of an exponent of `bits` bits from position `at` on; those above its end are 0.
inline std::size_t exponent_window(const limb* e, std::size_t bits, std::size_t at, unsigned width) noexcept
{
    const std::size_t limbs = (bits + kLimbBits - 1) / kLimbBits, first = at / kLimbBits, shift = at % kLimbBits;
    if (first >= limbs) return 0;
    limb window = e[first] >> shift;
    if (shift + width > kLimbBits && first + 1 < limbs) window |= e[first + 1] << (kLimbBits - shift);
    return std::size_t(window & ((limb{1} << width) - 1));
}

struct exponent_bit {
    const limb* e;
    bool operator()(std::size_t at) const noexcept { return (e[at / kLimbBits] >> (at % kLimbBits) & 1) != 0; }
};

// One power of a product: its windows, and the odd powers of its base that they refer to.
template <class Core>
struct open_factor {
    using digit = typename Core::digit;

    explicit open_factor(const mod_exp_task& of) noexcept
        : task{of}, windows{of.e_bits, exponent_bit{of.e}}, window{windows.next()}
    {
    }

    // From the base, which is in the table's first place.
    void set_odd_powers(Core& core, digit* temporary) noexcept
    {
        const std::size_t count = odd_powers_for(task.e_bits), element = core.digits();
        if (count > 1) core.sqr(temporary, table);
        for (std::size_t i = 1; i < count; ++i)
            core.mul(table + i * element, table + (i - 1) * element, temporary);
    }

    const mod_exp_task& task;
    sliding_windows<exponent_bit> windows;
    typename sliding_windows<exponent_bit>::window window; // the next one
    digit* table = nullptr;                                // a, a^3, a^5, ...
};

// Their product on its way, after so many squarings that `at` are left.
template <class Core>
class open_accumulator {
public:
    using digit = typename Core::digit;

    open_accumulator(Core& core, digit* value) noexcept : core_{core}, value_{value} {}

    // Multiplies by the window of `factor` that ends at `at`, if there is one.
    void multiply(open_factor<Core>& factor, std::size_t at) noexcept
    {
        const auto [here, power] = factor.window;
        if (here != at || power == 0) return;
        factor.window = factor.windows.next();
        const digit* const value = factor.table + power / 2 * core_.digits();
        if (!started_)
            std::copy_n(value, core_.digits(), value_);
        else if (at == 0 && power == 1 && last_ == nullptr)
            last_ = &factor;
        else
            core_.mul(value_, value_, value);
        started_ = true;
    }

    void square() noexcept { core_.sqr(value_, value_); }

    void store(limb* r) noexcept
    {
        if (last_ == nullptr) return core_.store(r, 0, value_);
        core_.load_plain(last_->table, 0, last_->task.a);
        core_.mul(value_, value_, last_->table);
        core_.store_plain(r, 0, value_);
    }

private:
    Core& core_;
    digit* value_;
    bool started_ = false;
    open_factor<Core>* last_ = nullptr; // whose base itself is the very last factor: plain, it ends Montgomery form
};

// first.r = the product of the powers of all tasks, which have the same modulus, over a one-lane core.
template <class Core, class... Tasks>
bool open_exponentiation_of(const mod_exp_task& first, const Tasks&... others) noexcept
{
    using digit = typename Core::digit;
    static_assert(Core::lanes == 1);

    Core core{first.limbs};
    open_factor<Core> factors[]{open_factor<Core>{first}, open_factor<Core>{others}...};
    std::size_t elements = 1;
    for (const auto& factor : factors)
        elements += odd_powers_for(factor.task.e_bits);
    exponentiation_memory<digit> memory{core.workspace_digits() + elements * core.digits()};
    if (memory.missing()) return false;
    core.prepare(memory.take(core.workspace_digits()), {first.m});
    digit* const value = memory.take(core.digits());

    constexpr bool kSeveral = sizeof...(others) != 0;
    if (kSeveral) core.prepare_loads();
    std::size_t at = 0;
    for (auto& factor : factors) {
        factor.table = memory.take(odd_powers_for(factor.task.e_bits) * core.digits());
        kSeveral ? core.load(factor.table, 0, factor.task.a) : core.load_once(factor.table, 0, factor.task.a);
        factor.set_odd_powers(core, value);
        at = std::max(at, factor.window.at);
    }
    open_accumulator<Core> product{core, value};
    for (;;) {
        std::size_t next = 0;
        for (auto& factor : factors) {
            product.multiply(factor, at);
            next = std::max(next, factor.window.at);
        }
        if (at == 0) break;
        for (; at != next; --at)
            product.square();
    }
    product.store(first.r);
    return true;
}

// mod_exp_kernel::open over a one-lane core.
template <class Core>
bool open_exponentiation(const mod_exp_task& task) noexcept
{
    return open_exponentiation_of<Core>(task);
}

// mod_exp_kernel::open_product over a one-lane core.
template <class Core>
bool open_product(const mod_exp_task& first, const mod_exp_task& second) noexcept
{
    return open_exponentiation_of<Core>(first, second);
}

// mod_exp_kernel::secret over a one-lane core, secret_pair over a two-lane one: `tasks` have one number of limbs. The
// operations and addresses depend on limbs and e_bits only.
template <class Core>
bool secret_exponentiation_in_lanes(const mod_exp_task* const (&tasks)[Core::lanes]) noexcept
{
    using digit = typename Core::digit;
    constexpr std::size_t kLanes = Core::lanes;

    std::size_t e_bits = 0;
    const limb* moduli[kLanes];
    for (std::size_t lane = 0; lane < kLanes; ++lane) {
        e_bits = std::max(e_bits, tasks[lane]->e_bits);
        moduli[lane] = tasks[lane]->m;
    }
    Core core{tasks[0]->limbs};
    const unsigned width = fixed_window_width(e_bits);
    const std::size_t element = kLanes * core.digits(), entries = std::size_t{1} << width;
    exponentiation_memory<digit> memory{core.workspace_digits() + (entries + 2) * element};
    if (memory.missing()) return false;
    core.prepare(memory.take(core.workspace_digits()), moduli);
    core.prepare_loads();
    digit* const accumulator = memory.take(element);
    digit* const factor = memory.take(element);
    digit* const table = memory.take(entries * element); // 1, a, a^2, ...

    core.one(table);
    for (std::size_t lane = 0; lane < kLanes; ++lane)
        core.load(table + element, lane, tasks[lane]->a);
    for (std::size_t i = 2; i < entries; ++i) {
        if (i % 2 == 0)
            core.sqr(table + i * element, table + i / 2 * element);
        else
            core.mul(table + i * element, table + (i - 1) * element, table + element);
    }

    const auto select = [&](digit* r, std::size_t at) {
        std::size_t index[kLanes];
        for (std::size_t lane = 0; lane < kLanes; ++lane)
            index[lane] = exponent_window(tasks[lane]->e, tasks[lane]->e_bits, at, width);
        core.select(r, table, entries, index);
        wipe(index, sizeof index);
    };
    std::size_t at = (e_bits - 1) / width * width;
    select(accumulator, at);
    while (at != 0) {
        at -= width;
        for (unsigned i = 0; i < width; ++i)
            core.sqr(accumulator, accumulator);
        select(factor, at);
        core.mul(accumulator, accumulator, factor);
    }
    for (std::size_t lane = 0; lane < kLanes; ++lane)
        core.store(tasks[lane]->r, lane, accumulator);
    return true;
}

template <class Core>
bool secret_exponentiation_alone(const mod_exp_task& task) noexcept
{
    static_assert(Core::lanes == 1);
    return secret_exponentiation_in_lanes<Core>({&task});
}

} // namespace zrc
