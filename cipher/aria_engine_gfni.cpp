// ARIA for x86-64 with GFNI and AVX-512. All four S-boxes are affine images of the inversion in GF(2^8), or its
// images of affine ones, which single instructions compute: no tables, constant time.
//
// Parallel modes take 64 blocks (16 vectors of 512 bits) or 16 (16 of 128) at a time, a byte position to a vector.
// Serial modes keep their one block in a vector.

#include "cipher/lanes_avx512.hpp"

#define KESTRIM_ARIA_TARGET "gfni," KESTRIM_TARGET_LANES

#include "cipher/aria_engine.hpp"
#include "cipher/aria_sliced.hpp"
#include "cipher/aria_tables.hpp"
#include "cipher/portable_blocks.hpp"
#include "core/secret.hpp"

#include <array>
#include <cstddef>
#include <cstdint>
#include <immintrin.h>

namespace zrc {
namespace {

// An affine map of GF(2)^8 as the instructions take it: a matrix, with the row of the highest bit in the lowest byte,
// and a constant.
struct affine_map {
    std::uint64_t matrix;
    std::uint8_t constant;
};

// The affine map x -> outer[inner[x]].
consteval affine_map affine_of(const aria_box& outer, const aria_box& inner)
{
    affine_map result{0, outer[inner[0]]};
    for (unsigned row = 0; row < 8; ++row) {
        for (unsigned column = 0; column < 8; ++column) {
            const unsigned image = outer[inner[std::size_t{1} << column]] ^ unsigned { result.constant };
            result.matrix |= std::uint64_t{image >> row & 1} << (8 * (7 - row) + column);
        }
    }
    return result;
}

constexpr aria_box kInverses = aria_powers<254>();

// SB1 and SB2 are these maps of the inverse, SB3 and SB4 the inverses of what these maps make.
constexpr affine_map kAfter1 = affine_of(kAriaSb1, kInverses), kAfter2 = affine_of(kAriaSb2, kInverses);
constexpr affine_map kBefore3 = affine_of(kInverses, kAriaSb3), kBefore4 = affine_of(kInverses, kAriaSb4);
constexpr std::uint64_t kIdentity = 0x0102040810204080;

constexpr int kParity = 0x96; // truth table

// Where the sum of three is one instruction, sums of two are not worth sharing.
template <class Ops>
struct mix_by_threes {
    template <class Vector>
    [[gnu::always_inline, gnu::target(KESTRIM_ARIA_TARGET)]] static void
    mix(const Vector& a, const Vector& b, const Vector& c, const Vector& d, Vector& without_a, Vector& without_b,
        Vector& without_c, Vector& without_d) noexcept
    {
        without_a = Ops::xor3(b, c, d);
        without_b = Ops::xor3(a, c, d);
        without_c = Ops::xor3(a, b, d);
        without_d = Ops::xor3(a, b, c);
    }
};

struct ops512 : mix_by_threes<ops512> {
    using vector = __m512i;

    [[gnu::always_inline, gnu::target(KESTRIM_ARIA_TARGET)]] static vector xor2(vector a, vector b) noexcept
    {
        return _mm512_xor_si512(a, b);
    }
    [[gnu::always_inline, gnu::target(KESTRIM_ARIA_TARGET)]] static vector xor3(vector a, vector b, vector c) noexcept
    {
        return _mm512_ternarylogic_epi32(a, b, c, kParity);
    }
    [[gnu::always_inline, gnu::target(KESTRIM_ARIA_TARGET)]] static vector unpack_low(vector a, vector b) noexcept
    {
        return _mm512_unpacklo_epi8(a, b);
    }
    [[gnu::always_inline, gnu::target(KESTRIM_ARIA_TARGET)]] static vector unpack_high(vector a, vector b) noexcept
    {
        return _mm512_unpackhi_epi8(a, b);
    }
    [[gnu::always_inline, gnu::target(KESTRIM_ARIA_TARGET)]] static vector fill(std::uint32_t word) noexcept
    {
        return _mm512_set1_epi32(int(word));
    }
    template <std::uint64_t Matrix, std::uint8_t Constant>
    [[gnu::always_inline, gnu::target(KESTRIM_ARIA_TARGET)]] static vector affine(vector x) noexcept
    {
        return _mm512_gf2p8affine_epi64_epi8(x, _mm512_set1_epi64(static_cast<long long>(Matrix)), Constant);
    }
    template <std::uint64_t Matrix, std::uint8_t Constant>
    [[gnu::always_inline, gnu::target(KESTRIM_ARIA_TARGET)]] static vector affine_of_inverse(vector x) noexcept
    {
        return _mm512_gf2p8affineinv_epi64_epi8(x, _mm512_set1_epi64(static_cast<long long>(Matrix)), Constant);
    }
};

struct ops128 : mix_by_threes<ops128> {
    using vector = __m128i;

    [[gnu::always_inline, gnu::target(KESTRIM_ARIA_TARGET)]] static vector xor2(vector a, vector b) noexcept
    {
        return _mm_xor_si128(a, b);
    }
    [[gnu::always_inline, gnu::target(KESTRIM_ARIA_TARGET)]] static vector xor3(vector a, vector b, vector c) noexcept
    {
        return _mm_ternarylogic_epi32(a, b, c, kParity);
    }
    [[gnu::always_inline, gnu::target(KESTRIM_ARIA_TARGET)]] static vector unpack_low(vector a, vector b) noexcept
    {
        return _mm_unpacklo_epi8(a, b);
    }
    [[gnu::always_inline, gnu::target(KESTRIM_ARIA_TARGET)]] static vector unpack_high(vector a, vector b) noexcept
    {
        return _mm_unpackhi_epi8(a, b);
    }
    [[gnu::always_inline, gnu::target(KESTRIM_ARIA_TARGET)]] static vector fill(std::uint32_t word) noexcept
    {
        return _mm_set1_epi32(int(word));
    }
    template <std::uint64_t Matrix, std::uint8_t Constant>
    [[gnu::always_inline, gnu::target(KESTRIM_ARIA_TARGET)]] static vector affine(vector x) noexcept
    {
        return _mm_gf2p8affine_epi64_epi8(x, _mm_set1_epi64x(static_cast<long long>(Matrix)), Constant);
    }
    template <std::uint64_t Matrix, std::uint8_t Constant>
    [[gnu::always_inline, gnu::target(KESTRIM_ARIA_TARGET)]] static vector affine_of_inverse(vector x) noexcept
    {
        return _mm_gf2p8affineinv_epi64_epi8(x, _mm_set1_epi64x(static_cast<long long>(Matrix)), Constant);
    }
};

// The round keys of one direction, each byte four times: a word that instructions repeat over a vector by themselves.
class sliced_keys {
public:
    [[gnu::target(KESTRIM_ARIA_TARGET)]] void set(const std::uint32_t* round_keys, std::uint32_t rounds) noexcept
    {
        rounds_ = rounds;
        // Words are in machine order: the most significant byte, the first one, comes last.
        const __m512i spread = _mm512_set_epi32(0x0C0C0C0C, 0x0D0D0D0D, 0x0E0E0E0E, 0x0F0F0F0F, 0x08080808, 0x09090909,
                                                0x0A0A0A0A, 0x0B0B0B0B, 0x04040404, 0x05050505, 0x06060606, 0x07070707,
                                                0x00000000, 0x01010101, 0x02020202, 0x03030303);
        for (std::size_t i = 0; i <= rounds; ++i) {
            const __m128i key = _mm_loadu_si128(reinterpret_cast<const __m128i*>(round_keys + 4 * i));
            _mm512_storeu_si512(&words_[16 * i], _mm512_shuffle_epi8(_mm512_broadcast_i32x4(key), spread));
        }
    }

    // 64 or 16 blocks, in and out as four or one to a vector.
    template <class Ops>
    [[gnu::always_inline, gnu::target(KESTRIM_ARIA_TARGET)]] void crypt(typename Ops::vector (&x)[16]) const noexcept
    {
        using sliced = aria_sliced<Ops>;
        sliced::transpose(x);
        add<Ops>(x, 0);
        substitute<Ops, 0>(x);
        sliced::diffuse(x, at<Ops>{&words_[16]});
        for (std::uint32_t r = 2; r < rounds_; r += 2) {
            substitute<Ops, 2>(x);
            sliced::diffuse(x, at<Ops>{&words_[16 * r]});
            substitute<Ops, 0>(x);
            sliced::diffuse(x, at<Ops>{&words_[16 * r + 16]});
        }
        substitute<Ops, 2>(x);
        add<Ops>(x, rounds_);
        sliced::transpose(x);
    }

private:
    template <class Ops>
    struct at {
        const std::uint32_t* words;

        [[gnu::always_inline, gnu::target(KESTRIM_ARIA_TARGET)]] typename Ops::vector
        operator()(std::size_t byte) const noexcept
        {
            return Ops::fill(words[byte]);
        }
    };

    template <class Ops>
    [[gnu::always_inline, gnu::target(KESTRIM_ARIA_TARGET)]] void add(typename Ops::vector (&x)[16],
                                                                      std::size_t key) const noexcept
    {
#pragma GCC unroll 16
        for (std::size_t i = 0; i < 16; ++i)
            x[i] = Ops::xor2(x[i], Ops::fill(words_[16 * key + i]));
    }

    // The substitution layer with SB1 for byte `First` of each word: 0 in odd rounds, 2 in even ones.
    template <class Ops, std::size_t First>
    [[gnu::always_inline,
      gnu::target(KESTRIM_ARIA_TARGET)]] static void substitute(typename Ops::vector (&x)[16]) noexcept
    {
#pragma GCC unroll 4
        for (std::size_t w = 0; w < 16; w += 4) {
            auto &a = x[w + First], &b = x[w + First + 1], &c = x[w + (First ^ 2)], &d = x[w + (First ^ 2) + 1];
            a = Ops::template affine_of_inverse<kAfter1.matrix, kAfter1.constant>(a);
            b = Ops::template affine_of_inverse<kAfter2.matrix, kAfter2.constant>(b);
            c = Ops::template affine<kBefore3.matrix, kBefore3.constant>(c);
            d = Ops::template affine<kBefore4.matrix, kBefore4.constant>(d);
            c = Ops::template affine_of_inverse<kIdentity, 0>(c);
            d = Ops::template affine_of_inverse<kIdentity, 0>(d);
        }
    }

    std::uint32_t rounds_;
    alignas(64) std::uint32_t words_[17 * 16];
};

// Bytes of one block in the order of the vectors below: those of even number in the low half, the others in the high
// half, as instructions apply one matrix to each half.
constexpr std::size_t place_of(std::size_t byte) noexcept
{
    return byte / 2 + byte % 2 * 8;
}

using block_bytes = std::array<std::uint8_t, 16>;

consteval block_bytes arrange(const block_bytes& x)
{
    block_bytes result{};
    for (std::size_t i = 0; i < 16; ++i)
        result[place_of(i)] = x[i];
    return result;
}

// The diffusion layer as RFC 5794 has it: bit i of row j tells whether byte i goes into byte j.
constexpr std::uint16_t kDiffusion[16]{0x6358, 0x93A4, 0x9C52, 0x6CA1, 0xC925, 0xC61A, 0x3685, 0x394A,
                                       0xA493, 0x5863, 0xA16C, 0x529C, 0x1AC6, 0x25C9, 0x4A39, 0x8536};

consteval block_bytes diffused(const block_bytes& x)
{
    block_bytes result{};
    for (std::size_t j = 0; j < 16; ++j)
        for (std::size_t i = 0; i < 16; ++i)
            if (kDiffusion[j] >> i & 1) result[j] = std::uint8_t(result[j] ^ x[i]);
    return result;
}

consteval block_bytes sum(const block_bytes& a, const block_bytes& b)
{
    block_bytes result{};
    for (std::size_t i = 0; i < 16; ++i)
        result[i] = std::uint8_t(a[i] ^ b[i]);
    return result;
}

// The constants of the affine maps where SB1 and SB2 are applied to bytes First and First + 1 of each word.
template <std::size_t First>
consteval block_bytes constants()
{
    block_bytes result{};
    for (std::size_t w = 0; w < 16; w += 4) {
        result[w + First] = kAriaConstant1;
        result[w + First + 1] = kAriaConstant2;
    }
    return result;
}

// What the constants add to round keys. SB1 and SB2 add them after their matrices, and the diffusion spreads them;
// SB3 and SB4, which stand at the other bytes, add them before theirs.
alignas(16) constexpr block_bytes kInFirst = arrange(constants<2>());
alignas(16) constexpr block_bytes kBeforeEven = arrange(sum(constants<0>(), diffused(constants<0>())));
alignas(16) constexpr block_bytes kBeforeOdd = arrange(sum(constants<2>(), diffused(constants<2>())));
alignas(16) constexpr block_bytes kInLast = arrange(constants<2>());

// Four shuffles whose sum takes each byte First or First + 1 of a word to where the diffusion layer wants it.
template <std::size_t First>
consteval std::array<block_bytes, 4> spreading()
{
    std::array<block_bytes, 4> shuffles;
    for (std::size_t j = 0; j < 16; ++j) {
        std::size_t used = 0;
        for (std::size_t i = 0; i < 16; ++i)
            if ((kDiffusion[j] >> i & 1) && (i % 4 & 2) == First)
                shuffles[used++][place_of(j)] = std::uint8_t(place_of(i));
        while (used < 4)
            shuffles[used++][place_of(j)] = 0x80; // gives 0
    }
    return shuffles;
}

alignas(16) constexpr std::array<block_bytes, 4> kSpread[2]{spreading<0>(), spreading<2>()};
alignas(16) constexpr block_bytes kArranging{0, 2, 4, 6, 8, 10, 12, 14, 1, 3, 5, 7, 9, 11, 13, 15};
alignas(16) constexpr block_bytes kRestoring{0, 8, 1, 9, 2, 10, 3, 11, 4, 12, 5, 13, 6, 14, 7, 15};
alignas(16) constexpr block_bytes kArrangingWords{3, 1, 7, 5, 11, 9, 15, 13,
                                                  2, 0, 6, 4, 10, 8, 14, 12}; // machine order

[[gnu::always_inline, gnu::target(KESTRIM_ARIA_TARGET)]] inline __m128i vector_of(const block_bytes& bytes) noexcept
{
    return _mm_load_si128(reinterpret_cast<const __m128i*>(bytes.data()));
}

[[gnu::always_inline, gnu::target(KESTRIM_ARIA_TARGET)]] inline __m128i
load_arranged(const std::uint8_t* block) noexcept
{
    return _mm_shuffle_epi8(_mm_loadu_si128(reinterpret_cast<const __m128i*>(block)), vector_of(kArranging));
}

[[gnu::always_inline, gnu::target(KESTRIM_ARIA_TARGET)]] inline void store_restored(std::uint8_t* block,
                                                                                    __m128i x) noexcept
{
    _mm_storeu_si128(reinterpret_cast<__m128i*>(block), _mm_shuffle_epi8(x, vector_of(kRestoring)));
}

// The round keys for single blocks: arranged, with the constants of the S-boxes in them.
class block_keys {
public:
    [[gnu::target(KESTRIM_ARIA_TARGET)]] void set(const std::uint32_t* round_keys, std::uint32_t rounds) noexcept
    {
        rounds_ = rounds;
        keys_[0] = arranged(round_keys, kInFirst);
        for (std::size_t i = 1; i < rounds; i += 2) {
            keys_[i] = arranged(round_keys + 4 * i, kBeforeEven);
            keys_[i + 1] = arranged(round_keys + 4 * i + 4, kBeforeOdd);
        }
        keys_[rounds] = arranged(round_keys + 4 * rounds, kInLast);
    }

    [[gnu::always_inline, gnu::target(KESTRIM_ARIA_TARGET)]] __m128i first() const noexcept { return keys_[0]; }
    [[gnu::always_inline, gnu::target(KESTRIM_ARIA_TARGET)]] __m128i last() const noexcept { return keys_[rounds_]; }

    // All between the additions of the first and of the last key, which callers make together with the mode's.
    [[gnu::always_inline, gnu::target(KESTRIM_ARIA_TARGET)]] __m128i between(__m128i x) const noexcept
    {
        x = round<0>(x, keys_[1]);
        for (std::size_t r = 2; r < rounds_; r += 2) {
            x = round<2>(x, keys_[r]);
            x = round<0>(x, keys_[r + 1]);
        }
        constexpr __mmask16 kSecondOfPairs = 0xAAAA; // the bytes that SB1 and SB2 substitute in even rounds
        return _mm_mask_blend_epi8(kSecondOfPairs, backward(x), forward(x));
    }

private:
    [[gnu::always_inline, gnu::target(KESTRIM_ARIA_TARGET)]] static __m128i
    arranged(const std::uint32_t* round_key, const block_bytes& constant) noexcept
    {
        const __m128i words = _mm_loadu_si128(reinterpret_cast<const __m128i*>(round_key));
        return _mm_xor_si128(_mm_shuffle_epi8(words, vector_of(kArrangingWords)), vector_of(constant));
    }

    // SB1 and SB2, which stand at even and odd bytes.
    [[gnu::always_inline, gnu::target(KESTRIM_ARIA_TARGET)]] static __m128i forward(__m128i x) noexcept
    {
        const __m128i matrices =
            _mm_set_epi64x(static_cast<long long>(kAfter2.matrix), static_cast<long long>(kAfter1.matrix));
        return _mm_gf2p8affineinv_epi64_epi8(x, matrices, 0);
    }

    // SB3 and SB4.
    [[gnu::always_inline, gnu::target(KESTRIM_ARIA_TARGET)]] static __m128i backward(__m128i x) noexcept
    {
        const __m128i matrices =
            _mm_set_epi64x(static_cast<long long>(kBefore4.matrix), static_cast<long long>(kBefore3.matrix));
        return ops128::affine_of_inverse<kIdentity, 0>(_mm_gf2p8affine_epi64_epi8(x, matrices, 0));
    }

    // A round with SB1 for byte `First` of each word, and the next key. What waits for the longer way through SB3 and
    // SB4 comes last.
    template <std::size_t First>
    [[gnu::always_inline, gnu::target(KESTRIM_ARIA_TARGET)]] static __m128i round(__m128i x, __m128i next_key) noexcept
    {
        const auto& near = kSpread[First / 2];
        const auto& far = kSpread[1 - First / 2];
        const __m128i a = forward(x), b = backward(x);
        const auto take =
            [](__m128i from, const block_bytes& places) __attribute__((always_inline, target(KESTRIM_ARIA_TARGET)))
        {
            return _mm_shuffle_epi8(from, vector_of(places));
        };
        __m128i y = ops128::xor3(next_key, take(a, near[0]), take(a, near[1]));
        y = ops128::xor3(y, take(a, near[2]), take(a, near[3]));
        y = ops128::xor3(y, take(b, far[0]), take(b, far[1]));
        return ops128::xor3(y, take(b, far[2]), take(b, far[3]));
    }

    std::uint32_t rounds_;
    __m128i keys_[17];
};

// A single block, for what is left over in the parallel modes.
struct single_block {
    using key = block_keys;
    static constexpr std::size_t block_bytes = 16;

    [[gnu::target(KESTRIM_ARIA_TARGET)]] static void encrypt(const key& keys, const std::uint8_t* in,
                                                             std::uint8_t* out) noexcept
    {
        const __m128i x = _mm_xor_si128(load_arranged(in), keys.first());
        store_restored(out, _mm_xor_si128(keys.between(x), keys.last()));
    }
    static void decrypt(const key& keys, const std::uint8_t* in, std::uint8_t* out) noexcept { encrypt(keys, in, out); }
};

// The last and the first key are added together to what the mode adds; the chain goes from block to block through no
// more than the rounds and one addition.
template <block_mode Mode>
[[gnu::target(KESTRIM_ARIA_TARGET)]] void serial(const block_keys& keys, std::uint8_t* chain, const std::uint8_t* in,
                                                 std::uint8_t* out, std::size_t blocks) noexcept
{
    const __m128i first = keys.first(), last = keys.last();
    const __m128i both = _mm_xor_si128(first, last);
    __m128i x = _mm_xor_si128(load_arranged(chain), last); // as if made by a block before
    __m128i end = load_arranged(chain);
    for (; blocks != 0; --blocks, in += 16, out += 16) {
        const __m128i text = load_arranged(in);
        if constexpr (Mode == block_mode::cbc_encrypt) {
            x = keys.between(ops128::xor3(x, both, text));
            end = _mm_xor_si128(x, last);
            store_restored(out, end);
        } else if constexpr (Mode == block_mode::cfb_encrypt) {
            x = _mm_xor_si128(keys.between(_mm_xor_si128(x, both)), text);
            end = _mm_xor_si128(x, last);
            store_restored(out, end);
        } else {
            x = keys.between(_mm_xor_si128(x, both));
            end = _mm_xor_si128(x, last);
            store_restored(out, _mm_xor_si128(end, text));
        }
    }
    store_restored(chain, end);
}

// 16 blocks, in and out as four to a vector.
[[gnu::always_inline, gnu::target(KESTRIM_ARIA_TARGET)]] inline void crypt16(const sliced_keys& keys,
                                                                             __m512i (&x)[4]) noexcept
{
    __m128i blocks[16];
#pragma GCC unroll 4
    for (std::size_t i = 0; i < 4; ++i) {
        blocks[4 * i] = _mm512_castsi512_si128(x[i]);
        blocks[4 * i + 1] = _mm512_extracti32x4_epi32(x[i], 1);
        blocks[4 * i + 2] = _mm512_extracti32x4_epi32(x[i], 2);
        blocks[4 * i + 3] = _mm512_extracti32x4_epi32(x[i], 3);
    }
    keys.crypt<ops128>(blocks);
#pragma GCC unroll 4
    for (std::size_t i = 0; i < 4; ++i) {
        x[i] = _mm512_castsi128_si512(blocks[4 * i]);
        x[i] = _mm512_inserti32x4(x[i], blocks[4 * i + 1], 1);
        x[i] = _mm512_inserti32x4(x[i], blocks[4 * i + 2], 2);
        x[i] = _mm512_inserti32x4(x[i], blocks[4 * i + 3], 3);
    }
}

// 16 blocks or, at the end of the message, fewer.
template <block_mode Mode, class Blocks = all_blocks<16>>
[[gnu::target(KESTRIM_ARIA_TARGET)]] void sixteen(const sliced_keys& keys, std::uint8_t* chain, const std::uint8_t* in,
                                                  std::uint8_t* out, Blocks which = {}) noexcept
{
    using lanes = lanes_avx512<Mode>;
    __m512i x[4];
    lanes::load(chain, in, x, which);
    crypt16(keys, x);
    lanes::store(chain, in, out, x, which);
}

template <block_mode Mode>
[[gnu::target(KESTRIM_ARIA_TARGET)]] void parallel(const sliced_keys& keys, std::uint8_t* chain, const std::uint8_t* in,
                                                   std::uint8_t* out, std::size_t blocks) noexcept
{
    using lanes = lanes_avx512<Mode>;
    for (; blocks >= 64; blocks -= 64, in += 1024, out += 1024) {
        __m512i x[16];
        lanes::template load<16>(chain, in, x);
        keys.crypt<ops512>(x);
        lanes::template store<16>(chain, in, out, x);
    }
    for (; blocks >= 16; blocks -= 16, in += 256, out += 256)
        sixteen<Mode>(keys, chain, in, out);
    if (blocks != 0) sixteen<Mode>(keys, chain, in, out, first_blocks{blocks});
}

constexpr std::size_t kFewBlocks = 4; // up to here, blocks one by one are faster than a group

} // namespace

void aria_blocks_gfni(const ZRC_ARIA_KEY& key, block_mode mode, std::uint8_t* chain, const std::uint8_t* in,
                      std::uint8_t* out, std::size_t blocks) noexcept
{
    if (!is_keyed(key)) return;
    const std::uint32_t* const round_keys = uses_decryption(mode) ? key.decrypt : key.encrypt;

    if (!is_parallel(mode) || blocks <= kFewBlocks) {
        secret<block_keys> keys;
        keys->set(round_keys, key.rounds);
        switch (mode) {
        case block_mode::cbc_encrypt:
            return serial<block_mode::cbc_encrypt>(*keys, chain, in, out, blocks);
        case block_mode::cfb_encrypt:
            return serial<block_mode::cfb_encrypt>(*keys, chain, in, out, blocks);
        case block_mode::ofb:
            return serial<block_mode::ofb>(*keys, chain, in, out, blocks);
        default:
            return portable_modes<single_block>::run(*keys, mode, chain, in, out, blocks);
        }
    }
    secret<sliced_keys> keys;
    keys->set(round_keys, key.rounds);
    switch (mode) {
    case block_mode::ecb_encrypt:
    case block_mode::ecb_decrypt:
        return parallel<block_mode::ecb_encrypt>(*keys, chain, in, out, blocks);
    case block_mode::cbc_decrypt:
        return parallel<block_mode::cbc_decrypt>(*keys, chain, in, out, blocks);
    case block_mode::cfb_decrypt:
        return parallel<block_mode::cfb_decrypt>(*keys, chain, in, out, blocks);
    default:
        return parallel<block_mode::ctr>(*keys, chain, in, out, blocks);
    }
}

} // namespace zrc
