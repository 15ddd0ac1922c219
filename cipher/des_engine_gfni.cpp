// DES and triple DES for x86-64 with AVX-512, VBMI and GFNI: 64 blocks to eight vectors, one for each byte of a
// block, and up to two such groups side by side. A look-up in 64 bytes is one instruction that takes its indices from
// the low six bits of each byte, which is where the boxes have theirs, so the S-boxes cost no memory access at an
// address that depends on key or data. Fewer than eight blocks, and the modes whose blocks wait for each other, are
// left to the portable rounds.
#include "cipher/avx512.hpp"
#include "cipher/des_engine.hpp"
#include "cipher/des_rounds.hpp"
#include "cipher/des_tables.hpp"
#include "cipher/interleaved_blocks.hpp"

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>

namespace zrc {
namespace {

#define KESTRIM_TARGET_DES "gfni,avx512vbmi," KESTRIM_TARGET_AVX512

constexpr std::size_t kLanes = 64;

// S-boxes merged with the permutation P, byte by byte: what a box (0 is S1) contributes to each byte of a half, 0 the
// lowest.
struct plane_table {
    alignas(64) std::uint8_t bytes[8][4][64];
};

consteval plane_table make_planes()
{
    plane_table table{};
    for (std::size_t box = 0; box < 8; ++box)
        for (std::size_t plane = 0; plane < 4; ++plane)
            for (std::size_t input = 0; input < 64; ++input)
                table.bytes[box][plane][input] = std::uint8_t(des::kSPBoxes.entries[box][input] >> 8 * plane);
    return table;
}

alignas(64) constexpr plane_table kPlanes = make_planes();

constexpr bool contributes(std::size_t box, std::size_t plane)
{
    for (const std::uint8_t byte : kPlanes.bytes[box][plane])
        if (byte != 0) return true;
    return false;
}

// For affine transformations of bytes. Blocks as matrices, applied to the first two of these, transpose their own 8 x
// 8 bits, and the first puts the columns where the initial permutation wants them. The third is a matrix.
constexpr long long kColumnsPermuted = 0x4010040180200802;
constexpr long long kColumnsReversed = 0x0102040810204080;
constexpr long long kNibblesExchanged = 0x1020408001020408;

// Planes of half a block, the lowest byte first, of `Groups` times 64 blocks.
template <std::size_t Groups>
struct half_planes {
    __m512i p[Groups][4];
};

template <int Function>
[[gnu::always_inline, gnu::target(KESTRIM_TARGET_DES)]] inline __m512i merge(__m512i a, __m512i b, __m512i c) noexcept
{
    return _mm512_ternarylogic_epi32(a, b, c, Function);
}
constexpr int kAOrBAndC = 0xF8;  // a | (b & c)
constexpr int kChooseByC = 0xE4; // c ? a : b

// Transposes 8 x 8 bytes in every vector: eight blocks become their first bytes, their second bytes, and so on; and
// back.
[[gnu::always_inline, gnu::target(KESTRIM_TARGET_DES)]] inline __m512i transpose_bytes(__m512i x) noexcept
{
    const __m512i order =
        _mm512_set_epi64(0x3F372F271F170F07, 0x3E362E261E160E06, 0x3D352D251D150D05, 0x3C342C241C140C04,
                         0x3B332B231B130B03, 0x3A322A221A120A02, 0x3931292119110901, 0x3830282018100800);
    return _mm512_permutexvar_epi8(order, x);
}

// Transposes 8 x 8 words of 64 bits.
[[gnu::always_inline, gnu::target(KESTRIM_TARGET_DES)]] inline void transpose_words(__m512i (&x)[8]) noexcept
{
    __m512i y[8];
#pragma GCC unroll 4
    for (std::size_t i = 0; i < 8; i += 2) {
        y[i] = _mm512_unpacklo_epi64(x[i], x[i + 1]);
        y[i + 1] = _mm512_unpackhi_epi64(x[i], x[i + 1]);
    }
#pragma GCC unroll 2
    for (std::size_t i = 0; i < 2; ++i) { // 4 x 4 pairs of words
        const __m512i low01 = _mm512_shuffle_i64x2(y[i], y[2 + i], 0x44);
        const __m512i high01 = _mm512_shuffle_i64x2(y[i], y[2 + i], 0xEE);
        const __m512i low23 = _mm512_shuffle_i64x2(y[4 + i], y[6 + i], 0x44);
        const __m512i high23 = _mm512_shuffle_i64x2(y[4 + i], y[6 + i], 0xEE);
        x[i] = _mm512_shuffle_i64x2(low01, low23, 0x88);
        x[2 + i] = _mm512_shuffle_i64x2(low01, low23, 0xDD);
        x[4 + i] = _mm512_shuffle_i64x2(high01, high23, 0x88);
        x[6 + i] = _mm512_shuffle_i64x2(high01, high23, 0xDD);
    }
}

// The rotations by one that the rounds want and undo: bits cross from plane to plane.
[[gnu::always_inline, gnu::target(KESTRIM_TARGET_DES)]] inline void rotate_left_1(__m512i (&p)[4]) noexcept
{
    const __m512i low_bit = _mm512_set1_epi8(1);
    const __m512i last = p[3];
    __m512i carried[4] = {_mm512_srli_epi16(last, 7), _mm512_srli_epi16(p[0], 7), _mm512_srli_epi16(p[1], 7),
                          _mm512_srli_epi16(p[2], 7)};
#pragma GCC unroll 4
    for (std::size_t i = 0; i < 4; ++i)
        p[i] = merge<kAOrBAndC>(_mm512_add_epi8(p[i], p[i]), carried[i], low_bit);
}

[[gnu::always_inline, gnu::target(KESTRIM_TARGET_DES)]] inline void rotate_right_1(__m512i (&p)[4]) noexcept
{
    const __m512i low_bits = _mm512_set1_epi8(0x7F);
    const __m512i carried[4] = {_mm512_slli_epi16(p[1], 7), _mm512_slli_epi16(p[2], 7), _mm512_slli_epi16(p[3], 7),
                                _mm512_slli_epi16(p[0], 7)};
#pragma GCC unroll 4
    for (std::size_t i = 0; i < 4; ++i)
        p[i] = merge<kChooseByC>(_mm512_srli_epi16(p[i], 1), carried[i], low_bits);
}

// Blocks to planes, through the initial permutation; beyond `blocks`, a multiple of eight, there are zeros.
[[gnu::always_inline, gnu::target(KESTRIM_TARGET_DES)]] inline void
split(const std::uint64_t* x, std::size_t blocks, __m512i (&left)[4], __m512i (&right)[4]) noexcept
{
    __m512i v[8];
#pragma GCC unroll 8
    for (std::size_t i = 0; i < 8; ++i) {
        const __m512i eight = 8 * i < blocks ? _mm512_loadu_si512(x + 8 * i) : _mm512_setzero_si512();
        v[i] = transpose_bytes(_mm512_gf2p8affine_epi64_epi8(_mm512_set1_epi64(kColumnsPermuted), eight, 0));
    }
    transpose_words(v);
#pragma GCC unroll 4
    for (std::size_t i = 0; i < 4; ++i)
        right[i] = v[i], left[i] = v[4 + i];
    rotate_left_1(left);
    rotate_left_1(right);
}

// And back, through the final permutation.
[[gnu::always_inline, gnu::target(KESTRIM_TARGET_DES)]] inline void join(__m512i (&left)[4], __m512i (&right)[4],
                                                                         std::uint64_t* x, std::size_t blocks) noexcept
{
    rotate_right_1(left);
    rotate_right_1(right);
    __m512i v[8] = {right[3], left[3], right[2], left[2], right[1], left[1], right[0], left[0]};
    transpose_words(v);
#pragma GCC unroll 8
    for (std::size_t i = 0; i < 8; ++i) {
        if (8 * i >= blocks) break;
        const __m512i eight = transpose_bytes(v[i]);
        _mm512_storeu_si512(x + 8 * i, _mm512_gf2p8affine_epi64_epi8(_mm512_set1_epi64(kColumnsReversed), eight, 0));
    }
}

// What box `Box` (0 is S1) contributes to `Plane`, taken up by `sum`. Its inputs stand in byte 3 - Box / 2.
template <std::size_t Box, std::size_t Plane>
[[gnu::always_inline, gnu::target(KESTRIM_TARGET_DES)]] inline __m512i take_up(__m512i sum, const __m512i (&odd)[4],
                                                                               const __m512i (&even)[4]) noexcept
{
    if constexpr (!contributes(Box, Plane)) return sum;
    const __m512i inputs = Box % 2 == 0 ? odd[3 - Box / 2] : even[3 - Box / 2];
    const __m512i outputs = _mm512_load_si512(kPlanes.bytes[Box][Plane]);
    return _mm512_xor_si512(sum, _mm512_permutexvar_epi8(inputs, outputs));
}

template <std::size_t Plane>
[[gnu::always_inline, gnu::target(KESTRIM_TARGET_DES)]] inline __m512i
function_of(__m512i changed, const __m512i (&odd)[4], const __m512i (&even)[4]) noexcept
{
    __m512i sum = _mm512_setzero_si512(); // apart from `changed`: two shorter chains
    changed = take_up<0, Plane>(changed, odd, even);
    sum = take_up<1, Plane>(sum, odd, even);
    changed = take_up<2, Plane>(changed, odd, even);
    sum = take_up<3, Plane>(sum, odd, even);
    changed = take_up<4, Plane>(changed, odd, even);
    sum = take_up<5, Plane>(sum, odd, even);
    changed = take_up<6, Plane>(changed, odd, even);
    sum = take_up<7, Plane>(sum, odd, even);
    return _mm512_xor_si512(changed, sum);
}

[[gnu::always_inline, gnu::target(KESTRIM_TARGET_DES)]] inline __m512i broadcast(std::uint32_t word,
                                                                                 std::size_t byte) noexcept
{
    return _mm512_set1_epi8(char(word >> 8 * byte));
}

template <std::size_t Groups>
[[gnu::always_inline, gnu::target(KESTRIM_TARGET_DES)]] inline void
round(half_planes<Groups>& changed, const half_planes<Groups>& read, const std::uint32_t (&round_key)[2]) noexcept
{
    const __m512i low_nibbles = _mm512_set1_epi8(0x0F);
#pragma GCC unroll 2
    for (std::size_t n = 0; n < Groups; ++n) {
        const __m512i(&r)[4] = read.p[n];
        __m512i exchanged[4], odd[4], even[4];
#pragma GCC unroll 4
        for (std::size_t i = 0; i < 4; ++i)
            exchanged[i] = _mm512_gf2p8affine_epi64_epi8(r[i], _mm512_set1_epi64(kNibblesExchanged), 0);
#pragma GCC unroll 4
        for (std::size_t i = 0; i < 4; ++i) {
            const __m512i rotated = merge<kChooseByC>(exchanged[i], exchanged[(i + 1) % 4], low_nibbles);
            odd[i] = _mm512_xor_si512(rotated, broadcast(round_key[0], i));
            even[i] = _mm512_xor_si512(r[i], broadcast(round_key[1], i));
        }
        changed.p[n][0] = function_of<0>(changed.p[n][0], odd, even);
        changed.p[n][1] = function_of<1>(changed.p[n][1], odd, even);
        changed.p[n][2] = function_of<2>(changed.p[n][2], odd, even);
        changed.p[n][3] = function_of<3>(changed.p[n][3], odd, even);
    }
}

// N blocks, eight or a multiple, through the schedules of one or three passes.
template <std::size_t N>
[[gnu::target(KESTRIM_TARGET_DES)]] void transform_planes(std::span<const ZRC_DES_KEY> passes,
                                                          std::uint64_t* x) noexcept
{
    constexpr std::size_t kGroups = (N + kLanes - 1) / kLanes;
    constexpr std::size_t kInGroup = N < kLanes ? N : kLanes;
    half_planes<kGroups> left, right;
#pragma GCC unroll 2
    for (std::size_t n = 0; n < kGroups; ++n)
        split(x + kLanes * n, kInGroup, left.p[n], right.p[n]);
    for (const ZRC_DES_KEY& schedule : passes) {
        for (std::size_t i = 0; i < des::kRounds; i += 2) {
            round(left, right, schedule.round_key[i]);
            round(right, left, schedule.round_key[i + 1]);
        }
        const half_planes<kGroups> before = left; // the last round does not exchange the halves, so the names do
        left = right;
        right = before;
    }
#pragma GCC unroll 2
    for (std::size_t n = 0; n < kGroups; ++n)
        join(left.p[n], right.p[n], x + kLanes * n, kInGroup);
}

std::span<const ZRC_DES_KEY> passes(const ZRC_DES_KEY& schedule) noexcept
{
    return {&schedule, 1};
}

std::span<const ZRC_DES_KEY> passes(const ZRC_DES_EDE_KEY& schedule) noexcept
{
    return schedule.slot;
}

template <class Core>
struct des_gfni_core : Core {
    template <bool Backwards, std::size_t N>
    [[gnu::always_inline]] static void transform(const typename Core::key& schedule,
                                                 std::array<std::uint64_t, N>& x) noexcept
    {
        if constexpr (N < 8)
            Core::template transform<Backwards>(schedule, x);
        else
            transform_planes<N>(passes(schedule), x.data());
    }
};

// Every width down to the eight blocks of one vector, below which the portable rounds take over.
template <class Core>
using gfni_modes = interleaved_modes<des_gfni_core<Core>, 2 * kLanes, kLanes, 32, 16, 8, 4, 2, 1>;

} // namespace

void des_blocks_gfni(const ZRC_DES_KEY& key, block_mode mode, std::uint8_t* chain, const std::uint8_t* in,
                     std::uint8_t* out, std::size_t blocks) noexcept
{
    gfni_modes<des_core>::run(key, mode, chain, in, out, blocks);
}

void des_ede_blocks_gfni(const ZRC_DES_EDE_KEY& key, block_mode mode, std::uint8_t* chain, const std::uint8_t* in,
                         std::uint8_t* out, std::size_t blocks) noexcept
{
    gfni_modes<des_ede_core>::run(key, mode, chain, in, out, blocks);
}

} // namespace zrc
