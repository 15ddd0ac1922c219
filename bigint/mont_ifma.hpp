// Almost Montgomery products with AVX-512 IFMA: eight 52-bit digits of a number to an instruction.
//
// A number of 8 V digits is V vectors; digit i is in lane i / V of vector i % V. So the shift by one digit after each
// row of a product is a renaming of the vectors, all but one, and rows come in rounds of V. What a square has twice,
// the products of different vectors, is made once and counted double.
//
// With R = 2^(52 rows) above 4 m, operands below 2 m give a b R^-1 mod m plus perhaps m, below 2 m again: with ab
// below 4 m^2 and q below R, (a b + q m) / R < m (4 m / R + 1). (S. Gueron, "Efficient software implementations of
// modular exponentiation", 2012.) Nothing here branches on digits or addresses memory by them.
#pragma once

#include "cipher/avx512.hpp"
#include "core/settled.hpp"

#include <cstddef>
#include <cstdint>

#define KESTRIM_TARGET_IFMA KESTRIM_TARGET_AVX512 ",avx512ifma"

namespace zrc::ifma {

using digit = std::uint64_t;

inline constexpr std::size_t kLanes = 8; // of a vector
inline constexpr unsigned kDigitBits = 52, kSpareBits = 64 - kDigitBits;
inline constexpr digit kDigitMask = (digit{1} << kDigitBits) - 1;

struct modulus {
    const digit* m; // 8 V digits
    digit factor;   // -m^-1 mod 2^64
};

__extension__ using double_digit = unsigned __int128;

// The halves of a product of two digits, one of them shifted up by kSpareBits.
inline digit low_half(digit a, digit shifted) noexcept
{
    return a * shifted >> kSpareBits;
}

inline digit high_half(digit a, digit shifted) noexcept
{
    return digit(double_digit{a} * shifted >> 64);
}

// A product on its way: the sums of the columns, from the one that the next row clears on. A column sums four halves
// for each row, below 2^61 in the end.
template <std::size_t V, bool Square>
struct columns {
    // Vector v is at (v + rows done) % V. Those of `crossed` count double in a square; a * b goes there, but for the
    // squares of the vectors, which go to `plain` with q * m.
    __m512i plain[V], crossed[V];

    // The q of a row depends on that of the row before. So the lowest column of `plain` is kept twice, and these two
    // sums count: what the last q has added, which comes on a short chain of scalar products while the vectors still
    // work at the row, and the rest.
    digit of_q, others;
};

template <std::size_t V, bool Square>
[[gnu::always_inline, gnu::target(KESTRIM_TARGET_IFMA)]] inline void clear(columns<V, Square>& sums) noexcept
{
#pragma GCC unroll 10
    for (std::size_t v = 0; v < V; ++v)
        sums.plain[v] = sums.crossed[v] = _mm512_setzero_si512();
    sums.of_q = sums.others = 0;
}

[[gnu::always_inline, gnu::target(KESTRIM_TARGET_IFMA)]] inline __m512i in_all_lanes(digit value) noexcept
{
    return _mm512_set1_epi64(static_cast<long long>(value));
}

[[gnu::always_inline, gnu::target(KESTRIM_TARGET_IFMA)]] inline digit lowest_lane(__m512i vector) noexcept
{
    return digit(_mm_cvtsi128_si64(_mm512_castsi512_si128(vector)));
}

// Takes the lowest lane away.
[[gnu::always_inline, gnu::target(KESTRIM_TARGET_IFMA)]] inline digit drop_lowest_lane(__m512i& vector) noexcept
{
    const digit lowest = lowest_lane(vector);
    vector = _mm512_alignr_epi64(_mm512_setzero_si512(), vector, 1);
    return lowest;
}

// Adds the products of a digit with the vectors from `First` on; vector v belongs to sum (v + Phase) % V. High halves
// belong one column above their low halves, which is where they are once the lowest column is dropped. Returns that.
template <std::size_t Phase, std::size_t First, std::size_t V>
[[gnu::always_inline, gnu::target(KESTRIM_TARGET_IFMA)]] inline digit
add_products(__m512i (&sums)[V], const digit* vectors, __m512i digits) noexcept
{
    digit lowest = 0;
    if (First != 0) lowest = drop_lowest_lane(sums[Phase]);
#pragma GCC unroll 10
    for (std::size_t v = First; v < V; ++v) {
        __m512i& here = sums[(v + Phase) % V];
        __m512i& above = sums[(v + Phase + 1) % V];
        const __m512i vector = _mm512_load_si512(vectors + kLanes * v);
        here = _mm512_madd52lo_epu64(here, vector, digits);
        if (v == 0) lowest = drop_lowest_lane(here);
        above = _mm512_madd52hi_epu64(above, vector, digits);
    }
    return lowest;
}

// Adds a * b and q * m, which clears the lowest column, and drops that. b is a digit of the vector `Phase`.
template <std::size_t Phase, std::size_t V, bool Square>
[[gnu::always_inline, gnu::target(KESTRIM_TARGET_IFMA)]] inline void
add_row(columns<V, Square>& sums, const digit* a, const digit* b, const modulus& modulus) noexcept
{
    constexpr auto at = [](std::size_t v) { return (v + Phase) % V; };
    const __m512i all_b = in_all_lanes(*b);
    digit rest = sums.others, next = lowest_lane(sums.plain[at(1)]);
    if constexpr (Square) {
        rest += 2 * add_products<Phase, Phase + 1>(sums.crossed, a, all_b);
        const digit shifted_b = *b << kSpareBits;
        if (Phase == 0) rest += low_half(a[0], shifted_b);
        if (Phase == 0) next += high_half(a[0], shifted_b);
        if (Phase == 1) next += low_half(a[kLanes], shifted_b);
    } else {
        rest += add_products<Phase, 0>(sums.crossed, a, all_b);
    }

    const digit x = sums.of_q + settled(rest); // in this order, to have of_q go through one addition only
    const digit q = x * modulus.factor, shifted_q = x * (modulus.factor << kSpareBits);
    sums.of_q = high_half(modulus.m[0], shifted_q) + low_half(modulus.m[kLanes], shifted_q);
    sums.others = next + ((x + kDigitMask) >> kDigitBits); // the low half of q m[0] fills x up to a multiple of 2^52

    // Of factors, IFMA takes the low 52 bits.
    const __m512i all_q = in_all_lanes(q);
    if constexpr (Square) {
        const __m512i vector = _mm512_load_si512(a + kLanes * Phase);
        sums.plain[at(Phase)] = _mm512_madd52lo_epu64(sums.plain[at(Phase)], vector, all_b);
        add_products<Phase, 0>(sums.plain, modulus.m, all_q);
        sums.plain[at(Phase + 1)] = _mm512_madd52hi_epu64(sums.plain[at(Phase + 1)], vector, all_b);
    } else {
        add_products<Phase, 0>(sums.plain, modulus.m, all_q);
    }
}

// r = the sums, put together to digits. `Phase` rows of the last round were done.
template <std::size_t Phase, std::size_t V, bool Square>
[[gnu::always_inline, gnu::target(KESTRIM_TARGET_IFMA)]] inline void settle(digit* r,
                                                                            const columns<V, Square>& sums) noexcept
{
    const __m512i mask = _mm512_set1_epi64(kDigitMask);
    __m512i digits[V];
#pragma GCC unroll 10
    for (std::size_t v = 0; v < V; ++v) {
        const __m512i crossed = sums.crossed[(v + Phase) % V];
        digits[v] = sums.plain[(v + Phase) % V];
        if (v == 0) digits[v] = _mm512_mask_mov_epi64(digits[v], 1, in_all_lanes(sums.of_q + sums.others));
        digits[v] = _mm512_add_epi64(digits[v], crossed);
        if (Square) digits[v] = _mm512_add_epi64(digits[v], crossed);
    }

    // Carries up to the end of each lane, then from lane to lane.
    __m512i all_ones = mask;
#pragma GCC unroll 10
    for (std::size_t v = 0; v + 1 < V; ++v) {
        digits[v + 1] = _mm512_add_epi64(digits[v + 1], _mm512_srli_epi64(digits[v], kDigitBits));
        digits[v] = _mm512_and_si512(digits[v], mask);
        if (v != 0) all_ones = _mm512_and_si512(all_ones, digits[v]);
    }
    const __m512i out = _mm512_srli_epi64(digits[V - 1], kDigitBits);
    digits[V - 1] = _mm512_and_si512(digits[V - 1], mask);
    all_ones = _mm512_and_si512(all_ones, digits[V - 1]);
    digits[0] = _mm512_add_epi64(digits[0], _mm512_alignr_epi64(out, _mm512_setzero_si512(), kLanes - 1));

    // What runs on from here through whole lanes is 1: it starts in a lane whose first digit is too large now and
    // whose other digits have only ones, and goes through lanes of ones, as an addition of bit masks does.
    const unsigned full = _mm512_cmpeq_epu64_mask(all_ones, mask);
    const unsigned starts = full & _mm512_cmpgt_epu64_mask(digits[0], mask);
    const unsigned runs = full & _mm512_cmpeq_epu64_mask(digits[0], mask);
    const auto into = __mmask8((runs + 2 * starts) ^ runs);
    digits[0] = _mm512_mask_sub_epi64(digits[0], into, digits[0], _mm512_set1_epi64(-1));
#pragma GCC unroll 10
    for (std::size_t v = 0; v < V; ++v) {
        if (v + 1 < V) digits[v + 1] = _mm512_add_epi64(digits[v + 1], _mm512_srli_epi64(digits[v], kDigitBits));
        _mm512_store_si512(r + kLanes * v, _mm512_and_si512(digits[v], mask));
    }
}

// A row for each of the streams, and the rows after it. Sums, a and m of short numbers all stay in registers; for
// longer ones the compiler must not try: settled() has a and m read in each row, instead of saved and read.
template <std::size_t Phase, std::size_t Phases, std::size_t V, bool Square, std::size_t Streams>
[[gnu::always_inline, gnu::target(KESTRIM_TARGET_IFMA)]] inline void
add_rows(columns<V, Square> (&sums)[Streams], const digit* a, const digit* b, const modulus* moduli) noexcept
{
    constexpr bool kFits = 4 * V * Streams <= 24;
    if constexpr (Phase < Phases) {
#pragma GCC unroll 2
        for (std::size_t i = 0; i < Streams; ++i) {
            const digit* const m = kFits ? moduli[i].m : settled(moduli[i].m);
            const digit* const this_a = kFits ? a : settled(a);
            add_row<Phase>(sums[i], this_a + kLanes * V * i, b + kLanes * (V * i + Phase), {m, moduli[i].factor});
        }
        add_rows<Phase + 1, Phases>(sums, a, b, moduli);
    }
}

// r = a * b / R, or a^2 / R without a look at b, for `Streams` numbers one after the other and their moduli, with
// rounds * V + Rest rows. r may be an operand.
template <std::size_t V, std::size_t Rest, bool Square, std::size_t Streams>
[[gnu::target(KESTRIM_TARGET_IFMA)]] void multiply(digit* r, const digit* a, const digit* b, const modulus* moduli,
                                                   std::size_t rounds) noexcept
{
    if (Square) b = a;
    columns<V, Square> sums[Streams];
#pragma GCC unroll 2
    for (std::size_t i = 0; i < Streams; ++i)
        clear(sums[i]);
    for (std::size_t lane = 0; lane < rounds; ++lane)
        add_rows<0, V>(sums, a, b + lane, moduli);
    add_rows<0, Rest>(sums, a, b + rounds, moduli);
#pragma GCC unroll 2
    for (std::size_t i = 0; i < Streams; ++i)
        settle<Rest>(r + kLanes * V * i, sums[i]);
}

// r = entry `index` of a table whose entries lie `stride` digits apart; reads all of them.
template <std::size_t V>
[[gnu::target(KESTRIM_TARGET_IFMA)]] void select(digit* r, const digit* table, std::size_t entries, std::size_t stride,
                                                 std::size_t index) noexcept
{
    __m512i sums[V];
#pragma GCC unroll 10
    for (std::size_t v = 0; v < V; ++v)
        sums[v] = _mm512_setzero_si512();
    const __m512i one = _mm512_set1_epi64(1);
    __m512i distance = _mm512_set1_epi64(static_cast<long long>(index));
    for (std::size_t entry = 0; entry < entries; ++entry) {
        const __m512i same = _mm512_movm_epi64(_mm512_testn_epi64_mask(distance, distance));
        distance = _mm512_sub_epi64(distance, one);
#pragma GCC unroll 10
        for (std::size_t v = 0; v < V; ++v) // sum | entry & same
            sums[v] = _mm512_ternarylogic_epi64(sums[v], _mm512_load_si512(table + kLanes * v), same, 0xF8);
        table += stride;
    }
#pragma GCC unroll 10
    for (std::size_t v = 0; v < V; ++v)
        _mm512_store_si512(r + kLanes * v, sums[v]);
}

} // namespace zrc::ifma
