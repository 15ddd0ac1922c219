// ARIA for x86-64 with AES-NI and SSE4.1. SB1 and SB3 are AES's S-box and its inverse; SB2 and SB4 differ from them
// by affine maps, which two look-ups of 4 bits compute in a shuffle: no tables in memory, constant time.
//
// Parallel modes take 16 blocks at a time, a byte position to a vector; single blocks and serial modes are left to
// the portable code.

#define KESTRIM_ARIA_TARGET "aes,sse4.1,ssse3"

#include "cipher/aria_engine.hpp"
#include "cipher/aria_sliced.hpp"
#include "cipher/aria_tables.hpp"
#include "cipher/portable_blocks.hpp"
#include "core/bytes.hpp"
#include "core/secret.hpp"

#include <array>
#include <cstring>
#include <immintrin.h>

namespace zrc {
namespace {

// An affine map of a byte as the sum of two look-ups: of its low and of its high four bits.
struct alignas(16) nibble_map {
    std::uint8_t low[16], high[16];
};

// x -> outer[inner[x]]
consteval nibble_map affine_of(const aria_box& outer, const aria_box& inner)
{
    nibble_map result{};
    for (std::size_t i = 0; i < 16; ++i) {
        result.low[i] = outer[inner[i]];
        result.high[i] = std::uint8_t(outer[inner[16 * i]] ^ outer[inner[0]]);
    }
    return result;
}

constexpr nibble_map kSb2AfterSb1 = affine_of(kAriaSb2, kAriaSb3);
constexpr nibble_map kSb4BeforeSb3 = affine_of(kAriaSb1, kAriaSb4);

[[gnu::always_inline, gnu::target(KESTRIM_ARIA_TARGET)]] inline __m128i load(const void* bytes) noexcept
{
    return _mm_loadu_si128(static_cast<const __m128i*>(bytes));
}

[[gnu::always_inline, gnu::target(KESTRIM_ARIA_TARGET)]] inline void store(void* bytes, __m128i x) noexcept
{
    _mm_storeu_si128(static_cast<__m128i*>(bytes), x);
}

struct ops {
    using vector = __m128i;

    [[gnu::always_inline, gnu::target(KESTRIM_ARIA_TARGET)]] static vector xor2(vector a, vector b) noexcept
    {
        return _mm_xor_si128(a, b);
    }
    [[gnu::always_inline, gnu::target(KESTRIM_ARIA_TARGET)]] static vector xor3(vector a, vector b, vector c) noexcept
    {
        return xor2(xor2(a, b), c);
    }
    [[gnu::always_inline, gnu::target(KESTRIM_ARIA_TARGET)]] static void
    mix(const vector& a, const vector& b, const vector& c, const vector& d, vector& without_a, vector& without_b,
        vector& without_c, vector& without_d) noexcept
    {
        const vector ab = xor2(a, b), cd = xor2(c, d);
        without_a = xor2(b, cd);
        without_b = xor2(a, cd);
        without_c = xor2(d, ab);
        without_d = xor2(c, ab);
    }
    [[gnu::always_inline, gnu::target(KESTRIM_ARIA_TARGET)]] static vector unpack_low(vector a, vector b) noexcept
    {
        return _mm_unpacklo_epi8(a, b);
    }
    [[gnu::always_inline, gnu::target(KESTRIM_ARIA_TARGET)]] static vector unpack_high(vector a, vector b) noexcept
    {
        return _mm_unpackhi_epi8(a, b);
    }
};

// The AES instructions also move the bytes, which the shuffles undo beforehand.
[[gnu::always_inline, gnu::target(KESTRIM_ARIA_TARGET)]] inline __m128i sb1(__m128i x) noexcept
{
    const __m128i unshift = _mm_set_epi8(3, 6, 9, 12, 15, 2, 5, 8, 11, 14, 1, 4, 7, 10, 13, 0);
    return _mm_aesenclast_si128(_mm_shuffle_epi8(x, unshift), _mm_setzero_si128());
}

[[gnu::always_inline, gnu::target(KESTRIM_ARIA_TARGET)]] inline __m128i sb3(__m128i x) noexcept
{
    const __m128i unshift = _mm_set_epi8(11, 6, 1, 12, 7, 2, 13, 8, 3, 14, 9, 4, 15, 10, 5, 0);
    return _mm_aesdeclast_si128(_mm_shuffle_epi8(x, unshift), _mm_setzero_si128());
}

[[gnu::always_inline, gnu::target(KESTRIM_ARIA_TARGET)]] inline __m128i apply(const nibble_map& map, __m128i x) noexcept
{
    const __m128i nibble = _mm_set1_epi8(0x0F);
    const __m128i low = _mm_and_si128(x, nibble), high = _mm_and_si128(_mm_srli_epi32(x, 4), nibble);
    return _mm_xor_si128(_mm_shuffle_epi8(load(map.low), low), _mm_shuffle_epi8(load(map.high), high));
}

// The round keys of one direction, each byte in a vector of its own.
class sliced_keys {
public:
    [[gnu::target(KESTRIM_ARIA_TARGET)]] void set(const std::uint32_t* round_keys, std::uint32_t rounds) noexcept
    {
        rounds_ = rounds;
        for (std::size_t i = 0; i <= rounds; ++i) {
            const __m128i key = load(round_keys + 4 * i);
            for (std::size_t byte = 0; byte < 16; ++byte) // most significant byte of each word first
                keys_[i][byte] = _mm_shuffle_epi8(key, _mm_set1_epi8(char(byte ^ 3)));
        }
    }

    // 16 blocks in place.
    [[gnu::target(KESTRIM_ARIA_TARGET)]] void crypt(std::uint8_t* blocks) const noexcept
    {
        __m128i x[16];
        for (std::size_t i = 0; i < 16; ++i)
            x[i] = load(blocks + 16 * i);
        sliced::transpose(x);
        add(x, 0);
        substitute<0>(x);
        sliced::diffuse(x, at{keys_[1]});
        for (std::size_t r = 2; r < rounds_; r += 2) {
            substitute<2>(x);
            sliced::diffuse(x, at{keys_[r]});
            substitute<0>(x);
            sliced::diffuse(x, at{keys_[r + 1]});
        }
        substitute<2>(x);
        add(x, rounds_);
        sliced::transpose(x);
        for (std::size_t i = 0; i < 16; ++i)
            store(blocks + 16 * i, x[i]);
    }

private:
    using sliced = aria_sliced<ops>;

    struct at {
        const __m128i* key;

        [[gnu::always_inline, gnu::target(KESTRIM_ARIA_TARGET)]] __m128i operator()(std::size_t byte) const noexcept
        {
            return key[byte];
        }
    };

    [[gnu::always_inline, gnu::target(KESTRIM_ARIA_TARGET)]] void add(__m128i (&x)[16], std::size_t key) const noexcept
    {
#pragma GCC unroll 16
        for (std::size_t i = 0; i < 16; ++i)
            x[i] = ops::xor2(x[i], keys_[key][i]);
    }

    // The substitution layer with SB1 for byte `First` of each word: 0 in odd rounds, 2 in even ones.
    template <std::size_t First>
    [[gnu::always_inline, gnu::target(KESTRIM_ARIA_TARGET)]] static void substitute(__m128i (&x)[16]) noexcept
    {
#pragma GCC unroll 4
        for (std::size_t w = 0; w < 16; w += 4) {
            __m128i *const first = &x[w + First], *const second = &x[w + (First ^ 2)];
            first[0] = sb1(first[0]);
            first[1] = apply(kSb2AfterSb1, sb1(first[1]));
            second[0] = sb3(second[0]);
            second[1] = sb3(apply(kSb4BeforeSb3, second[1]));
        }
    }

    std::uint32_t rounds_;
    __m128i keys_[17][16];
};

constexpr std::size_t kGroup = 16;

// 1 to 16 blocks in a parallel mode; `buffer` holds 16 blocks, of which the last may be anything.
template <block_mode Mode>
void group(const sliced_keys& keys, std::uint8_t* buffer, std::uint8_t* chain, const std::uint8_t* in,
           std::uint8_t* out, std::size_t blocks) noexcept
{
    const std::size_t bytes = 16 * blocks;
    if constexpr (Mode == block_mode::ctr) {
        for (std::size_t i = 0; i < bytes; i += 16) {
            std::memcpy(buffer + i, chain, 16);
            increment_counter<16>(chain);
        }
    } else if constexpr (Mode == block_mode::cfb_decrypt) {
        std::memcpy(buffer, chain, 16);
        std::memcpy(buffer + 16, in, bytes - 16);
        std::memcpy(chain, in + bytes - 16, 16);
    } else {
        std::memcpy(buffer, in, bytes);
    }
    keys.crypt(buffer);
    if constexpr (Mode == block_mode::cbc_decrypt) {
        xor_block<16>(buffer, buffer, chain);
        for (std::size_t i = 16; i < bytes; i += 16)
            xor_block<16>(buffer + i, buffer + i, in + i - 16);
        std::memcpy(chain, in + bytes - 16, 16);
    } else if constexpr (Mode != block_mode::ecb_encrypt) {
        for (std::size_t i = 0; i < bytes; i += 16)
            xor_block<16>(buffer + i, buffer + i, in + i);
    }
    std::memcpy(out, buffer, bytes);
}

template <block_mode Mode>
void parallel(const sliced_keys& keys, std::uint8_t* chain, const std::uint8_t* in, std::uint8_t* out,
              std::size_t blocks) noexcept
{
    secret_array<std::uint8_t, 16 * kGroup> buffer;
    std::memset(buffer.data(), 0, 16 * kGroup);
    for (; blocks > kGroup; blocks -= kGroup, in += 16 * kGroup, out += 16 * kGroup)
        group<Mode>(keys, buffer.data(), chain, in, out, kGroup);
    if (blocks != 0) group<Mode>(keys, buffer.data(), chain, in, out, blocks);
}

constexpr std::size_t kFewBlocks = 5; // up to here the portable code is faster than a group

} // namespace

void aria_blocks_aes_ni(const ZRC_ARIA_KEY& key, block_mode mode, std::uint8_t* chain, const std::uint8_t* in,
                        std::uint8_t* out, std::size_t blocks) noexcept
{
    if (!is_keyed(key)) return;
    if (!is_parallel(mode) || blocks <= kFewBlocks) return aria_blocks_portable(key, mode, chain, in, out, blocks);

    secret<sliced_keys> keys;
    keys->set(uses_decryption(mode) ? key.decrypt : key.encrypt, key.rounds);
    switch (mode) {
    case block_mode::cbc_decrypt:
        return parallel<block_mode::cbc_decrypt>(*keys, chain, in, out, blocks);
    case block_mode::cfb_decrypt:
        return parallel<block_mode::cfb_decrypt>(*keys, chain, in, out, blocks);
    case block_mode::ctr:
        return parallel<block_mode::ctr>(*keys, chain, in, out, blocks);
    default:
        return parallel<block_mode::ecb_encrypt>(*keys, chain, in, out, blocks);
    }
}

} // namespace zrc
