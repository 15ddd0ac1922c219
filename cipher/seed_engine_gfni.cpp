// SEED for x86-64 with GFNI and AVX-512: sixteen blocks side by side in the 32-bit lanes of four vectors, and four
// such groups interleaved. Nothing there looks up a table; single blocks and the serial modes do, as in the portable
// code.
//
// Both S-boxes are affine images of a power of 1/x (x^247 is the eighth power of 1/x, x^251 the fourth, and those
// powers are linear). The field is another one than that of the inversion instruction, but isomorphic to it: a change
// of basis, the inversion, and one affine map for each box that also changes the basis back.

#include "cipher/lanes_avx512.hpp"
#include "cipher/portable_blocks.hpp"
#include "cipher/seed_engine.hpp"
#include "cipher/seed_tables.hpp"

#include <bit>

#define KESTRIM_TARGET_SEED "gfni,avx512vbmi," KESTRIM_TARGET_LANES

namespace zrc {
namespace {

constexpr unsigned kGfniPolynomial = 0x11B; // x^8 + x^4 + x^3 + x + 1

// y with x * y = 1 for every x, and 0 for 0.
consteval byte_table make_inverses(unsigned polynomial)
{
    std::array<std::uint8_t, 255> power{1};
    for (std::size_t i = 1; i < 255; ++i) { // of x + 1, which generates both fields
        power[i] = std::uint8_t(power[i - 1] ^ gf256_times_x(power[i - 1], polynomial));
    }
    byte_table inverse{};
    for (std::size_t i = 0; i < 255; ++i)
        inverse[power[i]] = power[(255 - i) % 255];
    return inverse;
}

// Takes the field of SEED to that of the instructions. x goes to a root of the polynomial of SEED there, its powers
// go to those of the root, and sums to sums.
consteval byte_table make_isomorphism()
{
    const auto value_of_polynomial = [](std::uint8_t at) {
        std::uint8_t value = 0;
        for (unsigned bit = 0x100; bit != 0; bit >>= 1)
            value = std::uint8_t(gf256_multiply(value, at, kGfniPolynomial) ^ (kSeedPolynomial & bit ? 1 : 0));
        return value;
    };
    std::uint8_t root = 2;
    while (value_of_polynomial(root) != 0)
        ++root;
    byte_table image{};
    std::uint8_t power = 1;
    for (std::size_t bit = 1; bit < 256; bit *= 2) {
        for (std::size_t x = 0; x < bit; ++x)
            image[bit + x] = std::uint8_t(image[x] ^ power);
        power = gf256_multiply(power, root, kGfniPolynomial);
    }
    return image;
}

// The matrix of a linear map.
consteval bit_matrix matrix_of(auto map)
{
    bit_matrix matrix{};
    for (unsigned column = 0; column < 8; ++column) {
        const std::uint8_t image = map(std::uint8_t(0x80 >> column));
        for (unsigned row = 0; row < 8; ++row)
            if (image & 0x80 >> row) matrix[row] = std::uint8_t(matrix[row] | 0x80 >> column);
    }
    return matrix;
}

constexpr byte_table kSeedInverse = make_inverses(kSeedPolynomial), kGfniInverse = make_inverses(kGfniPolynomial);
constexpr byte_table kToGfni = make_isomorphism();

consteval byte_table make_way_back()
{
    byte_table back{};
    for (std::size_t x = 0; x < 256; ++x)
        back[kToGfni[x]] = std::uint8_t(x);
    return back;
}
constexpr byte_table kFromGfni = make_way_back();

// What follows the inversion: the box of the element whose inverse, in the other field, is x.
consteval bit_matrix matrix_after_inversion(const byte_table& box, std::uint8_t constant)
{
    return matrix_of([&](std::uint8_t x) { return std::uint8_t(box[kSeedInverse[kFromGfni[x]]] ^ constant); });
}

constexpr bit_matrix kBasis = matrix_of([](std::uint8_t x) { return kToGfni[x]; });
constexpr bit_matrix kAfter1 = matrix_after_inversion(kSeedS1, kSeedConstant1);
constexpr bit_matrix kAfter2 = matrix_after_inversion(kSeedS2, kSeedConstant2);

consteval bool gives_box(const bit_matrix& after, std::uint8_t constant, const byte_table& box)
{
    for (std::size_t x = 0; x < 256; ++x)
        if ((multiply(after, kGfniInverse[multiply(kBasis, std::uint8_t(x))]) ^ constant) != box[x]) return false;
    return true;
}
static_assert(gives_box(kAfter1, kSeedConstant1, kSeedS1));
static_assert(gives_box(kAfter2, kSeedConstant2, kSeedS2));

// What reaches each byte of G's result from the box that stands `Bytes` bytes below it: the boxes rotated left by as
// many bytes, and this.
template <unsigned Bytes>
consteval std::uint32_t rotated_mask()
{
    std::uint32_t mask = 0;
    for (unsigned to = 0; to < 4; ++to)
        mask |= kSeedMask[(to - Bytes) % 4] & 0xFFU << 8 * to;
    return mask;
}

[[gnu::always_inline, gnu::target(KESTRIM_TARGET_SEED)]] inline __m512i matrix_vector(const bit_matrix& matrix) noexcept
{
    return _mm512_set1_epi64(std::bit_cast<long long>(matrix));
}

[[gnu::always_inline, gnu::target(KESTRIM_TARGET_SEED)]] inline __m512i all(std::uint32_t word) noexcept
{
    return _mm512_set1_epi32(int(word));
}

// One word of each block, in one vector for each group.
template <std::size_t Groups>
using words = __m512i[Groups];

// x = G(x); S2 stands at the odd bytes, counted from the least significant. The loops step all groups on together, so
// that the latencies of one are filled with the work of the others.
template <std::size_t Groups>
[[gnu::always_inline, gnu::target(KESTRIM_TARGET_SEED)]] inline void g(__m512i (&x)[Groups],
                                                                       __mmask64 odd_bytes) noexcept
{
    constexpr int kXorAnd = 0x78; // truth table of a ^ (b & c)

#pragma GCC unroll 4
    for (__m512i& v : x)
        v = _mm512_gf2p8affine_epi64_epi8(v, matrix_vector(kBasis), 0);
#pragma GCC unroll 4
    for (__m512i& v : x) {
        const __m512i box1 = _mm512_gf2p8affineinv_epi64_epi8(v, matrix_vector(kAfter1), kSeedConstant1);
        v = _mm512_mask_gf2p8affineinv_epi64_epi8(box1, odd_bytes, v, matrix_vector(kAfter2), kSeedConstant2);
    }
#pragma GCC unroll 4
    for (__m512i& v : x) {
        __m512i sum = _mm512_and_si512(v, all(rotated_mask<0>()));
        sum = _mm512_ternarylogic_epi32(sum, _mm512_rol_epi32(v, 8), all(rotated_mask<1>()), kXorAnd);
        sum = _mm512_ternarylogic_epi32(sum, _mm512_rol_epi32(v, 16), all(rotated_mask<2>()), kXorAnd);
        v = _mm512_ternarylogic_epi32(sum, _mm512_rol_epi32(v, 24), all(rotated_mask<3>()), kXorAnd);
    }
}

template <std::size_t Groups>
struct half {
    words<Groups> w0, w1;
};

// left ^= F(right, k[0], k[1])
template <std::size_t Groups>
[[gnu::always_inline, gnu::target(KESTRIM_TARGET_SEED)]] inline void
round(half<Groups>& left, const half<Groups>& right, const std::uint32_t* k, __mmask64 odd_bytes) noexcept
{
    constexpr int kParity = 0x96;

    words<Groups> c, d;
#pragma GCC unroll 4
    for (std::size_t i = 0; i < Groups; ++i) {
        c[i] = _mm512_xor_si512(right.w0[i], all(k[0]));
        d[i] = _mm512_ternarylogic_epi32(c[i], right.w1[i], all(k[1]), kParity);
    }
    g(d, odd_bytes);
#pragma GCC unroll 4
    for (std::size_t i = 0; i < Groups; ++i)
        c[i] = _mm512_add_epi32(c[i], d[i]);
    g(c, odd_bytes);
#pragma GCC unroll 4
    for (std::size_t i = 0; i < Groups; ++i)
        d[i] = _mm512_add_epi32(c[i], d[i]);
    g(d, odd_bytes);
#pragma GCC unroll 4
    for (std::size_t i = 0; i < Groups; ++i) {
        left.w0[i] = _mm512_xor_si512(left.w0[i], _mm512_add_epi32(c[i], d[i]));
        left.w1[i] = _mm512_xor_si512(left.w1[i], d[i]);
    }
}

// Four blocks, each a row of four words, become their columns and back, in every 128-bit lane by itself.
[[gnu::always_inline, gnu::target(KESTRIM_TARGET_SEED)]] inline void transpose(__m512i& a, __m512i& b, __m512i& c,
                                                                               __m512i& d) noexcept
{
    const __m512i ab_low = _mm512_unpacklo_epi32(a, b), ab_high = _mm512_unpackhi_epi32(a, b);
    const __m512i cd_low = _mm512_unpacklo_epi32(c, d), cd_high = _mm512_unpackhi_epi32(c, d);
    a = _mm512_unpacklo_epi64(ab_low, cd_low);
    b = _mm512_unpackhi_epi64(ab_low, cd_low);
    c = _mm512_unpacklo_epi64(ab_high, cd_high);
    d = _mm512_unpackhi_epi64(ab_high, cd_high);
}

[[gnu::always_inline, gnu::target(KESTRIM_TARGET_SEED)]] inline __m512i swap_bytes(__m512i x) noexcept
{
    return _mm512_shuffle_epi8(x, _mm512_broadcast_i32x4(_mm_set_epi64x(0x0C0D0E0F08090A0B, 0x0405060700010203)));
}

// `Step` is +2 or -2: the way through the round keys, from `k`.
template <std::size_t Groups, std::ptrdiff_t Step>
[[gnu::always_inline, gnu::target(KESTRIM_TARGET_SEED)]] inline void crypt(const std::uint32_t* k, std::uint32_t rounds,
                                                                           __m512i (&x)[4 * Groups]) noexcept
{
    // Clang would turn a mask that it knows into one more shuffle for each G.
    __mmask64 odd_bytes = 0xAAAAAAAAAAAAAAAA;
    __asm__("" : "+k"(odd_bytes));

    half<Groups> left, right;
#pragma GCC unroll 4
    for (std::size_t i = 0; i < Groups; ++i) {
        __m512i* const v = x + 4 * i;
        transpose(v[0], v[1], v[2], v[3]);
        left.w0[i] = swap_bytes(v[0]);
        left.w1[i] = swap_bytes(v[1]);
        right.w0[i] = swap_bytes(v[2]);
        right.w1[i] = swap_bytes(v[3]);
    }
    for (std::ptrdiff_t i = 0; i < std::ptrdiff_t(rounds); i += 2) {
        round(left, right, k + Step * i, odd_bytes);
        round(right, left, k + Step * (i + 1), odd_bytes);
    }
#pragma GCC unroll 4
    for (std::size_t i = 0; i < Groups; ++i) {
        __m512i* const v = x + 4 * i;
        v[0] = swap_bytes(right.w0[i]);
        v[1] = swap_bytes(right.w1[i]);
        v[2] = swap_bytes(left.w0[i]);
        v[3] = swap_bytes(left.w1[i]);
        transpose(v[0], v[1], v[2], v[3]);
    }
}

constexpr std::size_t kBlockBytes = 16, kGroupBlocks = 16;

template <block_mode Mode>
struct parallel {
    template <std::size_t Groups, class Blocks = all_blocks<kGroupBlocks * Groups>>
    [[gnu::target(KESTRIM_TARGET_SEED)]] static void groups(const ZRC_SEED_KEY& key, std::uint8_t* chain,
                                                            const std::uint8_t* in, std::uint8_t* out,
                                                            Blocks which = {}) noexcept
    {
        __m512i x[4 * Groups];
        lanes_avx512<Mode>::load(chain, in, x, which);
        if constexpr (uses_decryption(Mode)) {
            crypt<Groups, -2>(key.round_key + 2 * key.rounds - 2, key.rounds, x);
        } else {
            crypt<Groups, 2>(key.round_key, key.rounds, x);
        }
        lanes_avx512<Mode>::store(chain, in, out, x, which);
    }

    static void run(const ZRC_SEED_KEY& key, std::uint8_t* chain, const std::uint8_t* in, std::uint8_t* out,
                    std::size_t blocks) noexcept
    {
        const auto advance = [&](std::size_t done) {
            in += kBlockBytes * done;
            out += kBlockBytes * done;
            blocks -= done;
        };
        for (; blocks >= 4 * kGroupBlocks; advance(4 * kGroupBlocks))
            groups<4>(key, chain, in, out);
        for (; blocks >= kGroupBlocks; advance(kGroupBlocks))
            groups<1>(key, chain, in, out);
        if (blocks < 2) return seed_blocks_portable(key, Mode, chain, in, out, blocks);
        groups<1>(key, chain, in, out, first_blocks{blocks});
    }
};

} // namespace

void seed_blocks_gfni(const ZRC_SEED_KEY& key, block_mode mode, std::uint8_t* chain, const std::uint8_t* in,
                      std::uint8_t* out, std::size_t blocks) noexcept
{
    if (!is_keyed(key)) return;
    with_mode(mode, [&]<block_mode Mode>() {
        if constexpr (is_parallel(Mode)) {
            parallel<Mode>::run(key, chain, in, out, blocks);
        } else {
            seed_blocks_portable(key, Mode, chain, in, out, blocks);
        }
    });
}

} // namespace zrc
