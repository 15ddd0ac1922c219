// SHA-256 in the SHA extensions of x86-64, two rounds to an instruction: the steps that all kernels share.
#pragma once

#include "digest/sha_constants.hpp"

#include <cstddef>
#include <cstdint>
#include <immintrin.h>

namespace zrc::sha_ni {

// The working variables as the instructions want them, first named in the highest lane.
struct registers {
    __m128i abef, cdgh;
};

// The same in the order of the chaining value, first named in the lowest lane.
struct ordered_registers {
    __m128i abcd, efgh;
};

[[gnu::always_inline, gnu::target("sha,ssse3,sse4.1")]] inline registers load_registers(const std::uint32_t* h) noexcept
{
    const auto* vectors = reinterpret_cast<const __m128i*>(h);
    const __m128i badc = _mm_shuffle_epi32(_mm_loadu_si128(vectors), 0xB1); // lowest lane first
    const __m128i hgfe = _mm_shuffle_epi32(_mm_loadu_si128(vectors + 1), 0x1B);
    return {_mm_alignr_epi8(badc, hgfe, 8), _mm_blend_epi16(hgfe, badc, 0xF0)};
}

[[gnu::always_inline, gnu::target("sha,ssse3,sse4.1")]] inline ordered_registers in_order(registers v) noexcept
{
    const __m128i abef = _mm_shuffle_epi32(v.abef, 0x1B); // lowest lane first
    const __m128i ghcd = _mm_shuffle_epi32(v.cdgh, 0xB1);
    return {_mm_blend_epi16(abef, ghcd, 0xF0), _mm_alignr_epi8(ghcd, abef, 8)};
}

[[gnu::always_inline, gnu::target("sha,ssse3,sse4.1")]] inline registers add(registers a, registers b) noexcept
{
    return {_mm_add_epi32(a.abef, b.abef), _mm_add_epi32(a.cdgh, b.cdgh)};
}

// Turns the bytes of each word around: from or to the byte order of messages and digests.
[[gnu::always_inline, gnu::target("sha,ssse3,sse4.1")]] inline __m128i swap_bytes(__m128i words) noexcept
{
    return _mm_shuffle_epi8(words, _mm_set_epi64x(0x0C0D0E0F08090A0B, 0x0405060700010203));
}

// Four words of a table of 64, aligned to 16 bytes: the round constants, unless told otherwise.
[[gnu::always_inline, gnu::target("sha,ssse3,sse4.1")]] inline __m128i
words_of_group(std::size_t group, const std::uint32_t* table = kSha256K.data()) noexcept
{
    return _mm_load_si128(reinterpret_cast<const __m128i*>(table) + group);
}

// Two rounds leave what was a, b, e, f as c, d, g, h; four leave every name in its place.
[[gnu::always_inline, gnu::target("sha,ssse3,sse4.1")]] inline void four_rounds(registers& v, __m128i k_plus_w) noexcept
{
    v.cdgh = _mm_sha256rnds2_epu32(v.cdgh, v.abef, k_plus_w);
    v.abef = _mm_sha256rnds2_epu32(v.abef, v.cdgh, _mm_shuffle_epi32(k_plus_w, 0x0E));
}

// The words of rounds 4 * Group and on; those of the last sixteen rounds are in w, four to a vector.
template <std::size_t Group>
[[gnu::always_inline, gnu::target("sha,ssse3,sse4.1")]] inline void next_words(__m128i (&w)[4]) noexcept
{
    __m128i& words = w[Group % 4];
    const __m128i seven_back = _mm_alignr_epi8(w[(Group + 3) % 4], w[(Group + 2) % 4], 4);
    words = _mm_add_epi32(_mm_sha256msg1_epu32(words, w[(Group + 1) % 4]), seven_back);
    words = _mm_sha256msg2_epu32(words, w[(Group + 3) % 4]);
}

} // namespace zrc::sha_ni
