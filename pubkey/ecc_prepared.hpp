// A curve over one kind of field: tables of multiples of the base point, scalar multiplication. Each file that makes
// engines includes this for the fields that it knows.
#pragma once

#include "bigint/operand.hpp"
#include "core/secret.hpp"
#include "kestrim/memory.h"
#include "pubkey/ecc_engine.hpp"
#include "pubkey/ecc_point.hpp"
#include "pubkey/field.hpp"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>

namespace zrc::curves {

// Secret multiples of G: kTeeth bits of the scalar, and that kBlocks times, are looked up for each doubling (C. H. Lim,
// P. J. Lee, "More flexible exponentiation with precomputation", 1994), all bits being 1 or -1.
inline constexpr std::size_t kTeeth = 6, kBlocks = 4, kCombEntries = std::size_t{1} << (kTeeth - 1);

// Secret multiples of other points: digits of -16 to 16.
inline constexpr std::size_t kWindow = 5, kWindowEntries = std::size_t{1} << (kWindow - 1);

// Public multiples: odd digits, below 2^(width - 1), kept for G and made for another point.
inline constexpr unsigned kBaseWidth = 7, kPointWidth = 5;
inline constexpr std::size_t kBaseEntries = std::size_t{1} << (kBaseWidth - 2);
inline constexpr std::size_t kPointEntries = std::size_t{1} << (kPointWidth - 2);

constexpr std::size_t columns_for(std::size_t base_bits) noexcept
{
    return (base_bits + 1 + kTeeth * kBlocks - 1) / (kTeeth * kBlocks);
}

inline bool bit_of(const limb* v, std::size_t i) noexcept
{
    return (v[i / kLimbBits] >> (i % kLimbBits) & 1) != 0;
}

// Clears what calls have left on the stack below the caller. Each function that a secret went through has less.
[[gnu::noinline]] inline void wipe_spent_stack() noexcept
{
    secret_array<limb, 40 * kMostFieldLimbs> spent;
    __asm__ __volatile__("" : : "r"(spent.data()) : "memory");
}

// Odd signed digits of a public number, none next to another: v = the sum of digit[i] 2^i.
template <std::size_t Limbs>
class wide_digits {
public:
    wide_digits(const limb* v, unsigned width) noexcept
    {
        const int bound = 1 << (width - 1);
        int carry = 0;
        for (std::size_t i = 0; i < kBits;) {
            if (int(bit_at(v, i)) == carry) {
                ++i;
                continue;
            }
            int digit = carry;
            for (unsigned j = 0; j < width; ++j)
                digit += int(bit_at(v, i + j)) << j;
            carry = digit >= bound;
            digits_[i] = std::int8_t(digit - 2 * bound * carry);
            length_ = i + 1;
            i += width;
        }
    }

    std::size_t length() const noexcept { return length_; }
    int operator[](std::size_t i) const noexcept { return i < length_ ? digits_[i] : 0; }

private:
    static constexpr std::size_t kBits = Limbs * kLimbBits + 1;

    static bool bit_at(const limb* v, std::size_t i) noexcept { return i < Limbs * kLimbBits && bit_of(v, i); }

    std::array<std::int8_t, kBits> digits_{};
    std::size_t length_ = 0;
};

// The length that a field has to have.
inline std::size_t field_bits(const curve_numbers& numbers) noexcept
{
    return std::max(ZRC_Get_BIGINT_Bits_Length(numbers.p), ZRC_Get_BIGINT_Bits_Length(numbers.n));
}

// Coordinates of points, and which of them are infinite: bit i for point i.
template <class Element>
struct comb_block {
    Element points[kCombEntries][2];
    limb infinite;
};
static_assert(kCombEntries <= kLimbBits);

template <class Field>
struct prepared_curve : curve_engine {
    static constexpr std::size_t kLimbs = Field::limbs;
    using element = typename Field::element;
    using arithmetic = point_arithmetic<Field>;
    using jacobian = typename arithmetic::jacobian;
    using affine = typename arithmetic::affine;

    Field field;
    prime_field<kLimbs> scalars; // modulo n
    element a, b;
    coefficient_kind kind;
    std::size_t columns;
    comb_block<element> comb[kBlocks];
    affine odd[kBaseEntries]; // G, 3 G, 5 G, ...

    arithmetic group() const noexcept { return {field, a, kind}; }

    static const prepared_curve& of(const curve_engine& engine) noexcept
    {
        return static_cast<const prepared_curve&>(engine);
    }

    // From and to numbers as they are.

    affine entered(const plain_point& p) const noexcept
    {
        affine r{{}, {}, limb{0} - limb{p.infinite}};
        if (p.infinite) return r;
        field.enter(r.x, p.x.v);
        field.enter(r.y, p.y.v);
        return r;
    }

    void leave(plain_point& r, const jacobian& p) const noexcept
    {
        secret<affine> result;
        secret<element> product;
        group().make_affine(&*result, &p, &*product, 1);
        field.leave(r.x.v, result->x);
        field.leave(r.y.v, result->y);
        r.infinite = result->infinite != 0;
    }

    // Preparation.

    struct table_memory {
        jacobian points[kBlocks * kCombEntries + kBaseEntries];
        affine results[kBlocks * kCombEntries + kBaseEntries];
        element products[kBlocks * kCombEntries + kBaseEntries];
    };

    // Entry j is 2^E(top) G + the sum of 2^E(tooth) G or minus it, by bit `tooth` of j, for the teeth below the top.
    void set_comb(jacobian* entries, jacobian (&teeth)[kTeeth]) const noexcept
    {
        const arithmetic g = group();
        entries[0] = teeth[kTeeth - 1];
        for (std::size_t tooth = 0; tooth + 1 < kTeeth; ++tooth)
            g.open_add(entries[0], entries[0], teeth[tooth], ~limb{0});
        for (std::size_t tooth = 0; tooth + 1 < kTeeth; ++tooth) {
            g.double_point(teeth[tooth], teeth[tooth]);
            const std::size_t step = std::size_t{1} << tooth;
            for (std::size_t j = 0; j < step; ++j)
                g.open_add(entries[step + j], entries[j], teeth[tooth]);
        }
    }

    void set_odd_multiples(jacobian* entries, const jacobian& p, std::size_t count) const noexcept
    {
        const arithmetic g = group();
        jacobian doubled;
        g.double_point(doubled, p);
        entries[0] = p;
        for (std::size_t i = 1; i < count; ++i)
            g.open_add(entries[i], entries[i - 1], doubled);
    }

    static void set_block(comb_block<element>& block, const affine* entries) noexcept
    {
        for (std::size_t i = 0; i < kCombEntries; ++i) {
            block.points[i][0] = entries[i].x;
            block.points[i][1] = entries[i].y;
            block.infinite |= (entries[i].infinite & 1) << i;
        }
    }

    bool prepare_tables(const plain_point& base) noexcept
    {
        auto* const memory = static_cast<table_memory*>(ZRC_Malloc(sizeof(table_memory)));
        if (!memory) return false;
        const arithmetic g = group();
        const jacobian first = g.extended(entered(base));

        jacobian teeth[kBlocks][kTeeth], p = first;
        for (std::size_t i = 0; i < kBlocks * kTeeth; ++i) {
            teeth[i % kBlocks][i / kBlocks] = p;
            for (std::size_t j = 0; j < columns; ++j)
                g.double_point(p, p);
        }
        for (std::size_t block = 0; block < kBlocks; ++block)
            set_comb(memory->points + block * kCombEntries, teeth[block]);
        set_odd_multiples(memory->points + kBlocks * kCombEntries, first, kBaseEntries);

        g.make_affine(memory->results, memory->points, memory->products, std::size(memory->points));
        for (std::size_t block = 0; block < kBlocks; ++block)
            set_block(comb[block], memory->results + block * kCombEntries);
        std::copy_n(memory->results + kBlocks * kCombEntries, kBaseEntries, odd);
        ZRC_Free(memory);
        return true;
    }

    // Tables read whole: entry `index`, which counts from 1 for multiples of other points.

    static void look_up(jacobian& r, const jacobian (&table)[kWindowEntries], limb index) noexcept
    {
        r = {};
        for (std::size_t i = 0; i < kWindowEntries; ++i) {
            const limb_mask here = mask_if_zero(index ^ (i + 1));
            for (std::size_t j = 0; j < kLimbs; ++j) {
                r.x.v[j] |= table[i].x.v[j] & here;
                r.y.v[j] |= table[i].y.v[j] & here;
                r.z.v[j] |= table[i].z.v[j] & here;
            }
        }
    }

    // By vectors of two limbs; every word of a vector has the number of the entry.
    static void look_up(affine& r, const comb_block<element>& block, limb index) noexcept
    {
        using words [[gnu::vector_size(2 * sizeof(limb))]] = std::uint32_t;
        constexpr std::size_t kVectors = 2 * sizeof(element) / sizeof(words);
        words sum[kVectors] = {}, entry = {};
        const words here = entry + std::uint32_t(index);
        for (const auto& point : block.points) {
            const words mask = words(entry == here);
            const auto* const bytes = reinterpret_cast<const char*>(point);
#pragma GCC unroll 9
            for (std::size_t i = 0; i < kVectors; ++i) {
                words part;
                std::memcpy(&part, bytes + i * sizeof part, sizeof part);
                sum[i] |= part & mask;
            }
            entry += 1;
        }
        std::memcpy(&r, sum, sizeof sum);
        r.infinite = settled(limb{0} - (block.infinite >> index & 1));
    }

    // Operations.

    static bool is_on_curve(const curve_engine& engine, const plain_point& point) noexcept
    {
        const prepared_curve& c = of(engine);
        const affine p = c.entered(point);
        element right, left;
        c.field.sqr(right, p.x);
        c.field.add(right, right, c.a);
        c.field.mul(right, right, p.x);
        c.field.add(right, right, c.b);
        c.field.sqr(left, p.y);
        return point.infinite || Field::equal(left, right) != 0;
    }

    // 4 a^3 + 27 b^2 = 0.
    static bool is_singular(const curve_engine& engine) noexcept
    {
        const prepared_curve& c = of(engine);
        const Field& f = c.field;
        element left, right, triple;
        f.sqr(left, c.a);
        f.mul(left, left, c.a);
        f.twice(left, left);
        f.twice(left, left);
        f.sqr(right, c.b);
        for (int i = 0; i < 3; ++i) {
            f.twice(triple, right);
            f.add(right, right, triple);
        }
        f.add(left, left, right);
        return Field::is_zero(left) != 0;
    }

    static void add(const curve_engine& engine, plain_point& r, const plain_point& a, const plain_point& b) noexcept
    {
        const prepared_curve& c = of(engine);
        const arithmetic g = c.group();
        jacobian sum = g.extended(c.entered(a));
        g.open_add(sum, sum, c.entered(b));
        c.leave(r, sum);
    }

    // Digits of kWindow bits, each with the highest bit of the one below (A. D. Booth, 1951).
    static void multiply_secret(const curve_engine& engine, plain_point& r, const secret_scalar& k,
                                const plain_point& a) noexcept
    {
        const prepared_curve& c = of(engine);
        const arithmetic g = c.group();
        jacobian table[kWindowEntries]; // a, 2 a, 3 a, ...
        table[0] = g.extended(c.entered(a));
        for (std::size_t i = 1; i < kWindowEntries; ++i) {
            if (i % 2 != 0) {
                g.double_point(table[i], table[i / 2]);
            } else {
                g.open_add(table[i], table[i - 1], table[0]);
            }
        }

        const auto bit = [&](std::size_t i) {
            return i < k.bits ? k.v[i / kLimbBits] >> (i % kLimbBits) & 1 : limb{0};
        };
        secret<jacobian> sum, entry;
        *sum = g.extended({{}, {}, ~limb{0}});
        for (std::size_t window = (k.bits + kWindow) / kWindow; window-- > 0;) {
            const std::size_t low = window * kWindow;
            limb value = low == 0 ? 0 : bit(low - 1);
            for (std::size_t i = 0; i + 1 < kWindow; ++i)
                value += bit(low + i) << i;
            const limb_mask negative = settled(limb{0} - bit(low + kWindow - 1));
            const limb digit = (value & ~negative) | ((kWindowEntries - value) & negative);
            look_up(*entry, table, digit);
            g.negate_if(negative, entry->y);
            g.add(*sum, *sum, *entry);
            for (std::size_t i = 0; i < kWindow && window != 0; ++i)
                g.double_point(*sum, *sum);
        }
        c.leave(r, *sum);
        wipe_spent_stack();
    }

    // Bit i of an odd scalar counts 1 or -1 as bit i + 1 is set or not, and the top bit 1. For an even one, G is taken
    // away from the next multiple.
    static void multiply_base_secret(const curve_engine& engine, plain_point& r, const field_number& k) noexcept
    {
        const prepared_curve& c = of(engine);
        const arithmetic g = c.group();
        const std::size_t top = c.columns * kTeeth * kBlocks - 1;
        const auto bit = [&](std::size_t i) {
            return i == top ? limb{1} : i + 1 < c.base_bits ? k.v[(i + 1) / kLimbBits] >> ((i + 1) % kLimbBits) & 1 : 0;
        };

        secret<jacobian> sum, before;
        secret<affine> entry;
        *sum = g.extended({{}, {}, ~limb{0}});
        for (std::size_t column = c.columns; column-- > 0;) {
            if (column + 1 != c.columns) g.double_point(*sum, *sum);
            for (std::size_t block = 0; block < kBlocks; ++block) {
                limb digit = 0;
                for (std::size_t tooth = 0; tooth < kTeeth; ++tooth)
                    digit |= bit((tooth * kBlocks + block) * c.columns + column) << tooth;
                const limb_mask negative = settled((digit >> (kTeeth - 1)) - 1);
                look_up(*entry, c.comb[block], (digit ^ negative) & (kCombEntries - 1));
                g.negate_if(negative, entry->y);
                g.add(*sum, *sum, *entry);
            }
        }

        *before = *sum;
        *entry = c.odd[0];
        g.negate_if(~limb{0}, entry->y);
        g.add(*before, *before, *entry);
        const limb_mask even = settled((k.v[0] & 1) - 1);
        Field::set_if(even, sum->x, before->x);
        Field::set_if(even, sum->y, before->y);
        Field::set_if(even, sum->z, before->z);
        c.leave(r, *sum);
        wipe_spent_stack();
    }

    static void multiply_both(const curve_engine& engine, plain_point& r, const field_number& u, const field_number& v,
                              const plain_point& q) noexcept
    {
        const prepared_curve& c = of(engine);
        const arithmetic g = c.group();
        jacobian table[kPointEntries], sum = g.extended({{}, {}, ~limb{0}});
        c.set_odd_multiples(table, g.extended(c.entered(q)), kPointEntries);
        const wide_digits<kLimbs> base{u.v, kBaseWidth}, point{v.v, kPointWidth};
        for (std::size_t i = std::max(base.length(), point.length()); i-- > 0;) {
            g.double_point(sum, sum);
            if (const int digit = base[i]; digit != 0) g.open_add(sum, sum, c.odd[index_of(digit)], sign_of(digit));
            if (const int digit = point[i]; digit != 0) g.open_add(sum, sum, table[index_of(digit)], sign_of(digit));
        }
        c.leave(r, sum);
    }

    static std::size_t index_of(int digit) noexcept
    {
        return std::size_t(digit < 0 ? -digit : digit) / 2;
    }
    static limb_mask sign_of(int digit) noexcept
    {
        return limb{0} - limb{digit < 0};
    }

    static void reduce(const curve_engine& engine, field_number& r, const field_number& a) noexcept
    {
        const auto& f = of(engine).scalars;
        secret<field_element<kLimbs>> value;
        f.enter(*value, a.v);
        f.leave(r.v, *value);
    }

    static void multiply_scalars(const curve_engine& engine, field_number& r, const field_number& a,
                                 const field_number& b) noexcept
    {
        const auto& f = of(engine).scalars;
        secret<field_element<kLimbs>> product, plain;
        f.enter(*product, a.v);
        std::copy_n(b.v, kLimbs, plain->v);
        f.mul(*product, *product, *plain);
        std::copy_n(product->v, kLimbs, r.v);
    }

    static bool invert_scalar(const curve_engine& engine, field_number& r, const field_number& a) noexcept
    {
        secret<element> value;
        std::copy_n(a.v, kLimbs, value->v);
        const limb_mask found = of(engine).scalars.plain_inverse(*value, *value);
        std::copy_n(value->v, kLimbs, r.v);
        wipe_spent_stack();
        return found != 0;
    }

    static void combine_scalars(const curve_engine& engine, field_number& r, const field_number& a,
                                const field_number& b, const field_number& c, const field_number& d) noexcept
    {
        const auto& f = of(engine).scalars;
        secret<field_number> product;
        secret<field_element<kLimbs>> sum, plain;
        multiply_scalars(engine, *product, b, c);
        std::copy_n(product->v, kLimbs, plain->v);
        std::copy_n(a.v, kLimbs, sum->v);
        f.add(*sum, *sum, *plain);
        std::copy_n(sum->v, kLimbs, product->v);
        multiply_scalars(engine, r, *product, d);
        wipe_spent_stack();
    }

    static constexpr curve_operations kOperations{is_on_curve,          is_singular,    add,    multiply_secret,
                                                  multiply_base_secret, multiply_both,  reduce, multiply_scalars,
                                                  invert_scalar,        combine_scalars};

    static curve_engine* make(const curve_numbers& numbers) noexcept
    {
        auto* const c = static_cast<prepared_curve*>(ZRC_Calloc(1, sizeof(prepared_curve)));
        if (!c) return nullptr;
        c->operations = &kOperations;
        c->bytes = sizeof *c;
        c->limbs = kLimbs;
        c->base_bits = std::size_t(words_of{*numbers.n}.length) * 32;
        c->columns = columns_for(c->base_bits);
        c->field.set_modulus(loaded(*numbers.p).v);
        c->scalars.set_modulus(loaded(*numbers.n).v);
        c->field.enter(c->a, loaded(*numbers.a).v);
        c->field.enter(c->b, loaded(*numbers.b).v);
        c->kind = arithmetic::kind_of(c->field, c->a);
        if (c->prepare_tables({loaded(*numbers.x), loaded(*numbers.y), false})) return c;
        ZRC_Free(c);
        return nullptr;
    }

    static field_number loaded(const ZRC_BIGINT& value) noexcept
    {
        field_number r{};
        load_limbs(r.v, value.data, std::size_t(words_of{value}.length));
        return r;
    }
};

} // namespace zrc::curves
