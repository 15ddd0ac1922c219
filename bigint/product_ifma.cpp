// Product kernel for x86-64 with AVX-512 IFMA: eight products of 52-bit digits to an instruction. Operands are cut
// into digits, the columns of the product are summed without carries, and only the sums are put together again.
#include "bigint/product.hpp"
#include "cipher/avx512.hpp"
#include "core/secret.hpp"

#include <array>
#include <cstddef>
#include <cstdint>
#include <utility>

namespace zrc {
namespace {

constexpr std::size_t kLanes = 8, kHalf = kLanes / 2;
constexpr std::size_t kDigitBits = 52;
constexpr std::uint64_t kDigitMask = (std::uint64_t{1} << kDigitBits) - 1;
constexpr std::size_t kVectorBytes = kLanes * kDigitBits / 8; // the bytes of a number that one vector of digits holds

// Shorter and longer operands are left to the ADX kernel. A column sums at most twice the number of digits of an
// operand, 158, of parts below 2^52: that is far from 2^64.
constexpr std::size_t kShortest = 11, kLongest = 128; // limbs

constexpr std::size_t digits_for(std::size_t limbs) noexcept
{
    return (64 * limbs + kDigitBits - 1) / kDigitBits;
}

constexpr std::size_t vectors_for(std::size_t digits) noexcept
{
    return (digits + kLanes - 1) / kLanes;
}

// For the columns of a product; the shifts make up to two vectors more of them than there are digits.
constexpr std::size_t sum_vectors(std::size_t a_digits, std::size_t b_digits) noexcept
{
    return vectors_for(a_digits) + vectors_for(b_digits) + 2;
}

// Memory for digits and sums; as much as was taken is wiped in the end.
class workspace {
public:
    workspace() = default;
    workspace(const workspace&) = delete;
    workspace& operator=(const workspace&) = delete;
    ~workspace() { wipe(memory_.data(), used_ * sizeof memory_[0]); }

    std::uint64_t* take(std::size_t vectors) noexcept
    {
        std::uint64_t* const taken = memory_.data() + used_;
        used_ += kLanes * vectors;
        return taken;
    }

private:
    static constexpr std::size_t kDigits = digits_for(kLongest);
    static constexpr std::size_t kVectors = 2 * (vectors_for(kDigits) + 3) + sum_vectors(kDigits, kDigits);
    alignas(64) std::array<std::uint64_t, kLanes * kVectors> memory_;
    std::size_t used_ = 0;
};

[[gnu::always_inline, gnu::target("avx512bw")]] inline __mmask64 first_bytes(std::size_t count) noexcept
{
    return count >= 64 ? ~__mmask64{0} : (__mmask64{1} << count) - 1;
}

[[gnu::always_inline, gnu::target("avx512f")]] inline void clear(std::uint64_t* vector) noexcept
{
    _mm512_store_si512(vector, _mm512_setzero_si512());
}

[[gnu::target("avx512f")]] void clear(std::uint64_t* digits, std::size_t vectors) noexcept
{
    for (std::size_t v = 0; v < vectors; ++v)
        clear(digits + kLanes * v);
}

// Four digits fill 13 words of 16 bits: digit k of a vector starts in word 3.25 k with 4 (k mod 4) bits of the one
// before.
constexpr std::size_t first_word(std::size_t k) noexcept
{
    return 13 * k / 4;
}

using word_table = std::array<std::uint16_t, 32>;

// The words that a digit lies in, for each of the eight.
consteval word_table words_of_digits() noexcept
{
    word_table words{};
    for (std::size_t i = 0; i < words.size(); ++i)
        words[i] = std::uint16_t(first_word(i / 4) + i % 4);
    return words;
}

// The way back, for every other digit, because neighbours share a word: where each word comes from; kNowhere for
// none.
constexpr std::uint16_t kNowhere = 32;

consteval word_table words_from_digits(std::size_t parity) noexcept
{
    word_table from{};
    from.fill(kNowhere);
    for (std::size_t k = parity; k < kLanes; k += 2)
        for (std::size_t i = 0; i < 4; ++i)
            from[first_word(k) + i] = std::uint16_t(4 * k + i);
    return from;
}

consteval std::uint32_t used_words(const word_table& from) noexcept
{
    std::uint32_t used = 0;
    for (std::size_t i = 0; i < from.size(); ++i)
        used |= std::uint32_t{from[i] != kNowhere} << i;
    return used;
}

alignas(64) constexpr word_table kWordsOfDigits = words_of_digits();
alignas(64) constexpr word_table kFromEven = words_from_digits(0);
alignas(64) constexpr word_table kFromOdd = words_from_digits(1);
constexpr std::uint32_t kEvenWords = used_words(kFromEven), kOddWords = used_words(kFromOdd);
static_assert((kEvenWords | kOddWords) == (std::uint32_t{1} << kVectorBytes / 2) - 1, "26 words, without a gap");

[[gnu::always_inline, gnu::target("avx512f")]] inline __m512i bits_before_digits() noexcept
{
    return _mm512_set_epi64(12, 8, 4, 0, 12, 8, 4, 0);
}

// Cuts `limbs` limbs into digits; the rest of the last vector is zero.
[[gnu::target("avx512f,avx512bw")]] void to_digits(std::uint64_t* digits, const stored_limb* in, std::size_t limbs,
                                                   std::size_t vectors) noexcept
{
    const __m512i order = _mm512_load_si512(kWordsOfDigits.data()), mask = _mm512_set1_epi64(kDigitMask);
    const __m512i bits_before = bits_before_digits();
    const auto* const bytes = reinterpret_cast<const std::uint8_t*>(in);
    for (std::size_t v = 0, from = 0; v < vectors; ++v, from += kVectorBytes) {
        const __m512i piece = _mm512_maskz_loadu_epi8(first_bytes(8 * limbs - from), bytes + from);
        const __m512i words = _mm512_permutexvar_epi16(order, piece);
        _mm512_store_si512(digits + kLanes * v, _mm512_and_si512(_mm512_srlv_epi64(words, bits_before), mask));
    }
}

// What becomes of the columns of a tile: they are doubled `doublings` times and added to the sums, or replace them.
struct tile_use {
    unsigned doublings;
    bool replace;
};

[[gnu::always_inline, gnu::target("avx512f")]] inline void add_column(std::uint64_t* sum, tile_use use,
                                                                      __m512i column) noexcept
{
    const __m512i before = _mm512_maskz_load_epi64(__mmask8(use.replace ? 0 : 0xFF), sum);
    _mm512_store_si512(sum, _mm512_add_epi64(before, _mm512_slli_epi64(column, use.doublings)));
}

// Adds the products of A vectors of digits from `a` on and of B digits of b, each eight after the other, to the
// column sums; then the same for a shifted up by one digit and the digits of b that follow, `shifts` times in all.
// That reaches A + B vectors of columns, since the high half of a product belongs one column above its low half. On
// the diagonal of a square, where vector i meets digit i of b, `a` starts at the same digit as b in the first turn;
// with each turn the first digit of the vector comes down to meet the next one of b, so the lanes above that go up by
// two.
template <std::size_t A, std::size_t B, bool Diagonal>
[[gnu::target("avx512f,avx512ifma")]] void add_products(std::uint64_t* sums, const std::uint64_t* a,
                                                        const std::uint64_t* b, std::size_t shifts,
                                                        tile_use use) noexcept
{
    [[maybe_unused]] unsigned above = 0xFE;
    __m512i low[A + B - 1], high[A + B - 1];
#pragma GCC unroll 12
    for (std::size_t i = 0; i < A + B - 1; ++i)
        low[i] = high[i] = _mm512_setzero_si512();
    __m512i shifted[A], below = _mm512_loadu_si512(a - kLanes);
#pragma GCC unroll 8
    for (std::size_t i = 0; i < A; ++i)
        shifted[i] = _mm512_loadu_si512(a + kLanes * i);
    for (;;) {
#pragma GCC unroll 8
        for (std::size_t j = 0; j < B; ++j) {
            const __m512i digit = _mm512_set1_epi64(static_cast<long long>(b[kLanes * j]));
#pragma GCC unroll 8
            for (std::size_t i = Diagonal ? j + 1 : 0; i < A; ++i) {
                low[i + j] = _mm512_madd52lo_epu64(low[i + j], shifted[i], digit);
                high[i + j] = _mm512_madd52hi_epu64(high[i + j], shifted[i], digit);
            }
            if constexpr (Diagonal) {
                low[2 * j] = _mm512_mask_madd52lo_epu64(low[2 * j], __mmask8(above), shifted[j], digit);
                high[2 * j] = _mm512_mask_madd52hi_epu64(high[2 * j], __mmask8(above), shifted[j], digit);
            }
        }
        if (--shifts == 0) break;
        ++b;
        above <<= 2;
        __m512i lower = below;
#pragma GCC unroll 8
        for (std::size_t i = 0; i < A; ++i) {
            const __m512i unshifted = shifted[i];
            shifted[i] = _mm512_alignr_epi64(unshifted, lower, kLanes - 1);
            lower = unshifted;
        }
        below = _mm512_alignr_epi64(below, below, kLanes - 1);
    }
    __m512i high_below = _mm512_setzero_si512();
#pragma GCC unroll 12
    for (std::size_t i = 0; i < A + B - 1; ++i) {
        add_column(sums + kLanes * i, use,
                   _mm512_add_epi64(low[i], _mm512_alignr_epi64(high[i], high_below, kLanes - 1)));
        high_below = high[i];
    }
    add_column(sums + kLanes * (A + B - 1), use, _mm512_alignr_epi64(_mm512_setzero_si512(), high_below, kLanes - 1));
}

// The sizes of tile whose columns stay in registers.
constexpr std::size_t kLeastA = 3, kMostA = 6, kLeastB = 2, kMostB = 5, kSizesA = kMostA - kLeastA + 1,
                      kSizesB = kMostB - kLeastB + 1;

using add_products_fn = void (*)(std::uint64_t*, const std::uint64_t*, const std::uint64_t*, std::size_t,
                                 tile_use) noexcept;

template <std::size_t... I>
constexpr std::array<add_products_fn, sizeof...(I)> tile_table(std::index_sequence<I...>) noexcept
{
    return {add_products<kLeastA + I / kSizesB, kLeastB + I % kSizesB, false>...};
}

// On the diagonal, with as many vectors of a as digits of b or one more.
template <std::size_t... I>
constexpr std::array<add_products_fn, sizeof...(I)> diagonal_table(std::index_sequence<I...>) noexcept
{
    return {add_products<kLeastB + I / 2 + I % 2, kLeastB + I / 2, true>...};
}

constexpr auto kTiles = tile_table(std::make_index_sequence<kSizesA * kSizesB>{});
constexpr auto kDiagonalTiles = diagonal_table(std::make_index_sequence<2 * kSizesB>{});

// The next part of `left` when it is cut into the fewest parts of about the same size, up to `most`.
constexpr std::size_t next_part(std::size_t left, std::size_t most) noexcept
{
    const std::size_t parts = (left + most - 1) / most;
    return (left + parts - 1) / parts;
}

// The products of all vectors of a with all digits of b, for as many shifts; 3 (2) vectors of them or more.
void add_tiles(std::uint64_t* sums, const std::uint64_t* a, std::size_t a_vectors, const std::uint64_t* b,
               std::size_t b_vectors, std::size_t shifts, tile_use use) noexcept
{
    for (std::size_t i = 0; i < a_vectors;) {
        const std::size_t high = next_part(a_vectors - i, kMostA);
        for (std::size_t j = 0; j < b_vectors;) {
            const std::size_t wide = next_part(b_vectors - j, kMostB), column = kLanes * (i + j);
            const add_products_fn run = kTiles[(high - kLeastA) * kSizesB + wide - kLeastB];
            run(sums + column, a + kLanes * i, b + kLanes * j, shifts, use);
            j += wide;
        }
        i += high;
    }
}

// All products of a and b. Digit 8 j + s of b meets the digits of a shifted up by s: the larger half of the shifts
// may need a vector more of a, and one less of b. There are two vectors of zeros before a, and one behind it.
[[gnu::target("avx512f")]] void multiply_digits(std::uint64_t* sums, const std::uint64_t* a, std::size_t a_digits,
                                                const std::uint64_t* b, std::size_t b_digits) noexcept
{
    const std::size_t a_early = vectors_for(a_digits + kHalf - 1), a_late = vectors_for(a_digits + kLanes - 1);
    const std::size_t b_early = vectors_for(b_digits), b_late = vectors_for(b_digits - kHalf);
    const bool one_tile = a_late <= kMostA && b_early <= kMostB;
    if (one_tile)
        clear(sums + kLanes * (a_early + b_early));
    else
        clear(sums, sum_vectors(a_digits, b_digits));
    if (a_early == a_late && b_early == b_late) return add_tiles(sums, a, a_late, b, b_late, kLanes, {0, one_tile});
    add_tiles(sums, a, a_early, b, b_early, kHalf, {0, one_tile});
    add_tiles(sums, a - kHalf, a_late, b + kHalf, b_late, kHalf, {0, false});
}

// The products of digits with higher ones, doubled, for half of the shifts. a_vectors is b_vectors or one more.
void add_square_tiles(std::uint64_t* sums, const std::uint64_t* a, std::size_t a_vectors, const std::uint64_t* b,
                      std::size_t b_vectors) noexcept
{
    for (std::size_t i = 0; i < b_vectors;) {
        const std::size_t wide = next_part(b_vectors - i, kMostB), next = i + wide;
        const std::size_t more = next == b_vectors ? a_vectors - b_vectors : 0;
        const add_products_fn diagonal = kDiagonalTiles[2 * (wide - kLeastB) + more];
        diagonal(sums + 2 * kLanes * i, a + kLanes * i, b + kLanes * i, kHalf, {1, false});
        if (next != b_vectors)
            add_tiles(sums + kLanes * (i + next), a + kLanes * next, a_vectors - next, b + kLanes * i, wide, kHalf,
                      {1, false});
        i = next;
    }
}

// The columns of the squares of the digits alone: low and high halves take turns.
[[gnu::target("avx512f,avx512ifma")]] void square_single_digits(std::uint64_t* sums, const std::uint64_t* a,
                                                                std::size_t vectors) noexcept
{
    const __m512i lower = _mm512_set_epi64(11, 3, 10, 2, 9, 1, 8, 0),
                  upper = _mm512_set_epi64(15, 7, 14, 6, 13, 5, 12, 4);
    for (std::size_t v = 0; v < vectors; ++v) {
        const __m512i digits = _mm512_load_si512(a + kLanes * v);
        const __m512i low = _mm512_madd52lo_epu64(_mm512_setzero_si512(), digits, digits);
        const __m512i high = _mm512_madd52hi_epu64(_mm512_setzero_si512(), digits, digits);
        _mm512_store_si512(sums + 2 * kLanes * v, _mm512_permutex2var_epi64(low, lower, high));
        _mm512_store_si512(sums + 2 * kLanes * v + kLanes, _mm512_permutex2var_epi64(low, upper, high));
    }
}

// All columns of a^2. In the second half of the shifts no digit of a vector is above the digits of b that it meets,
// but all of the next vector can be, so a starts there.
[[gnu::target("avx512f")]] void square_digits(std::uint64_t* sums, const std::uint64_t* a, std::size_t digits) noexcept
{
    const std::size_t vectors = vectors_for(digits);
    square_single_digits(sums, a, vectors);
    clear(sums + 2 * kLanes * vectors);
    add_square_tiles(sums, a, vectors_for(digits + kHalf - 1), a, vectors);
    add_square_tiles(sums + kLanes, a + kHalf, vectors_for(digits + kLanes - 1) - 1, a + kHalf,
                     vectors_for(digits - kHalf));
}

// Puts the columns together: r, `limbs` limbs. Two passes make digits of them: in the first each column hands what is
// above 52 bits, less than 2^12, to the next one. After it a carry is at most 1; it starts where a digit exceeds the
// mask and runs on through digits equal to it, which is what an addition of bit masks does, too.
[[gnu::target("avx512f,avx512bw")]] void from_columns(stored_limb* r, std::size_t limbs,
                                                      const std::uint64_t* sums) noexcept
{
    const __m512i mask = _mm512_set1_epi64(kDigitMask), minus_one = _mm512_set1_epi64(-1);
    const __m512i from_even = _mm512_load_si512(kFromEven.data()), from_odd = _mm512_load_si512(kFromOdd.data());
    const __m512i bits_before = bits_before_digits();
    auto* const bytes = reinterpret_cast<std::uint8_t*>(r);
    __m512i over_below = _mm512_setzero_si512();
    unsigned carry = 0;
    for (std::size_t v = 0, at = 0; at < 8 * limbs; ++v, at += kVectorBytes) {
        const __m512i sum = _mm512_load_si512(sums + kLanes * v);
        const __m512i over = _mm512_srli_epi64(sum, kDigitBits);
        __m512i digits =
            _mm512_add_epi64(_mm512_and_si512(sum, mask), _mm512_alignr_epi64(over, over_below, kLanes - 1));
        over_below = over;

        const unsigned starts = _mm512_cmpgt_epu64_mask(digits, mask), runs = _mm512_cmpeq_epu64_mask(digits, mask);
        const unsigned carries = runs + 2 * starts + carry;
        carry = carries >> kLanes;
        digits = _mm512_mask_sub_epi64(digits, __mmask8(carries ^ runs), digits, minus_one);
        digits = _mm512_sllv_epi64(_mm512_and_si512(digits, mask), bits_before);

        const __m512i words = _mm512_or_si512(_mm512_maskz_permutexvar_epi16(kEvenWords, from_even, digits),
                                              _mm512_maskz_permutexvar_epi16(kOddWords, from_odd, digits));
        if (const std::size_t left = 8 * limbs - at; left >= 64)
            _mm512_storeu_si512(bytes + at, words);
        else
            _mm512_mask_storeu_epi8(bytes + at, first_bytes(left), words);
    }
}

// The digits of a number with two vectors of zeros before them and one behind.
[[gnu::target("avx512f")]] std::uint64_t* cut(workspace& space, const stored_limb* in, std::size_t limbs) noexcept
{
    const std::size_t vectors = vectors_for(digits_for(limbs));
    std::uint64_t* const digits = space.take(vectors + 3) + 2 * kLanes;
    clear(digits - 2 * kLanes);
    clear(digits - kLanes);
    to_digits(digits, in, limbs, vectors);
    clear(digits + kLanes * vectors);
    return digits;
}

bool suits(std::size_t limbs) noexcept
{
    return limbs >= kShortest && limbs <= kLongest;
}

void multiply_ifma(stored_limb* r, const stored_limb* a, std::size_t na, const stored_limb* b, std::size_t nb) noexcept
{
    if (!suits(na) || !suits(nb)) return kAdxProduct.multiply(r, a, na, b, nb);

    workspace space;
    const std::size_t a_digits = digits_for(na), b_digits = digits_for(nb);
    const std::uint64_t *const a_cut = cut(space, a, na), *const b_cut = cut(space, b, nb);
    std::uint64_t* const sums = space.take(sum_vectors(a_digits, b_digits));
    multiply_digits(sums, a_cut, a_digits, b_cut, b_digits);
    from_columns(r, na + nb, sums);
}

void square_ifma(stored_limb* r, const stored_limb* a, std::size_t n) noexcept
{
    if (!suits(n)) return kAdxProduct.square(r, a, n);

    workspace space;
    const std::size_t digits = digits_for(n);
    const std::uint64_t* const a_cut = cut(space, a, n);
    std::uint64_t* const sums = space.take(sum_vectors(digits, digits));
    square_digits(sums, a_cut, digits);
    from_columns(r, 2 * n, sums);
}

} // namespace

constinit const product_kernel kIfmaProduct{multiply_ifma, square_ifma, add_multiple_adx, 256, 256};

} // namespace zrc
