// SHA-256 block function with the SHA extensions of x86-64: two rounds to an instruction.
#include "digest/sha_blocks.hpp"
#include "digest/sha_constants.hpp"

#include <cstddef>
#include <cstdint>
#include <immintrin.h>
#include <utility>

namespace zrc {
namespace {

constexpr std::size_t kBlockBytes = 64;

// The working variables as the instructions want them, first named in the highest lane.
struct registers {
    __m128i abef, cdgh;
};

// Rounds 4 * Group and on. The message words of the last sixteen rounds are in w, four to a vector.
template <std::size_t Group>
[[gnu::always_inline, gnu::target("sha,ssse3,sse4.1")]] inline void four_rounds(registers& v, __m128i (&w)[4],
                                                                                const std::uint8_t* block) noexcept
{
    __m128i& words = w[Group % 4];
    if constexpr (Group < 4) {
        const __m128i big_endian = _mm_set_epi64x(0x0C0D0E0F08090A0B, 0x0405060700010203);
        words = _mm_loadu_si128(reinterpret_cast<const __m128i*>(block) + Group);
        words = _mm_shuffle_epi8(words, big_endian);
    } else {
        const __m128i seven_back = _mm_alignr_epi8(w[(Group + 3) % 4], w[(Group + 2) % 4], 4);
        words = _mm_add_epi32(_mm_sha256msg1_epu32(words, w[(Group + 1) % 4]), seven_back);
        words = _mm_sha256msg2_epu32(words, w[(Group + 3) % 4]);
    }
    const __m128i k = _mm_load_si128(reinterpret_cast<const __m128i*>(kSha256K.data()) + Group);
    const __m128i k_plus_w = _mm_add_epi32(words, k);
    // Two rounds leave what was a, b, e, f as c, d, g, h; four leave every name in its place.
    v.cdgh = _mm_sha256rnds2_epu32(v.cdgh, v.abef, k_plus_w);
    v.abef = _mm_sha256rnds2_epu32(v.abef, v.cdgh, _mm_shuffle_epi32(k_plus_w, 0x0E));
}

template <std::size_t... Group>
[[gnu::always_inline, gnu::target("sha,ssse3,sse4.1")]] inline void all_rounds(registers& v, const std::uint8_t* block,
                                                                               std::index_sequence<Group...>) noexcept
{
    __m128i w[4];
    (four_rounds<Group>(v, w, block), ...);
}

[[gnu::always_inline, gnu::target("sha,ssse3,sse4.1")]] inline registers load_registers(const __m128i* h) noexcept
{
    const __m128i badc = _mm_shuffle_epi32(_mm_loadu_si128(h), 0xB1); // lowest lane first
    const __m128i hgfe = _mm_shuffle_epi32(_mm_loadu_si128(h + 1), 0x1B);
    return {_mm_alignr_epi8(badc, hgfe, 8), _mm_blend_epi16(hgfe, badc, 0xF0)};
}

[[gnu::always_inline, gnu::target("sha,ssse3,sse4.1")]] inline void store_registers(__m128i* h, registers v) noexcept
{
    const __m128i abef = _mm_shuffle_epi32(v.abef, 0x1B); // lowest lane first
    const __m128i ghcd = _mm_shuffle_epi32(v.cdgh, 0xB1);
    _mm_storeu_si128(h, _mm_blend_epi16(abef, ghcd, 0xF0));
    _mm_storeu_si128(h + 1, _mm_alignr_epi8(ghcd, abef, 8));
}

} // namespace

[[gnu::target("sha,ssse3,sse4.1")]] void sha256_blocks_sha_ni(std::span<std::uint32_t, 8> h, byte_span blocks) noexcept
{
    registers v = load_registers(reinterpret_cast<const __m128i*>(h.data()));

    for (; !blocks.empty(); blocks = blocks.subspan(kBlockBytes)) {
        const registers before = v;
        all_rounds(v, blocks.data(), std::make_index_sequence<16>{});
        v.abef = _mm_add_epi32(v.abef, before.abef);
        v.cdgh = _mm_add_epi32(v.cdgh, before.cdgh);
    }
    store_registers(reinterpret_cast<__m128i*>(h.data()), v);
}

} // namespace zrc
