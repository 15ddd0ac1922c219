// SHA-1 block function with the SHA extensions of x86-64: four rounds to an instruction.
#include "digest/sha_blocks.hpp"

#include <cstddef>
#include <cstdint>
#include <immintrin.h>
#include <utility>

namespace zrc {
namespace {

constexpr std::size_t kBlockBytes = 64;

// The instructions want the first of four words in the highest lane.
struct registers {
    __m128i abcd; // a highest
    __m128i e;    // before the first rounds: e in the highest lane, zeros below
};

// Rounds 4 * Group and on. The message words of the last sixteen rounds are in w, four to a vector.
template <std::size_t Group>
[[gnu::always_inline, gnu::target("sha,ssse3,sse4.1")]] inline void four_rounds(registers& v, __m128i (&w)[4],
                                                                                const std::uint8_t* block) noexcept
{
    __m128i& words = w[Group % 4];
    if constexpr (Group < 4) {
        const __m128i reversed = _mm_set_epi64x(0x0001020304050607, 0x08090A0B0C0D0E0F);
        words = _mm_loadu_si128(reinterpret_cast<const __m128i*>(block) + Group);
        words = _mm_shuffle_epi8(words, reversed);
    } else {
        words = _mm_xor_si128(_mm_sha1msg1_epu32(words, w[(Group + 1) % 4]), w[(Group + 2) % 4]);
        words = _mm_sha1msg2_epu32(words, w[(Group + 3) % 4]);
    }
    // The e of these rounds comes from the a of four rounds ago.
    const __m128i e_plus_w = Group == 0 ? _mm_add_epi32(v.e, words) : _mm_sha1nexte_epu32(v.e, words);
    v.e = v.abcd;
    v.abcd = _mm_sha1rnds4_epu32(v.abcd, e_plus_w, Group / 5);
}

template <std::size_t... Group>
[[gnu::always_inline, gnu::target("sha,ssse3,sse4.1")]] inline void all_rounds(registers& v, const std::uint8_t* block,
                                                                               std::index_sequence<Group...>) noexcept
{
    __m128i w[4];
    (four_rounds<Group>(v, w, block), ...);
}

} // namespace

[[gnu::target("sha,ssse3,sse4.1")]] void sha1_blocks_sha_ni(std::span<std::uint32_t, 5> h, byte_span blocks) noexcept
{
    __m128i* const h0_to_h3 = reinterpret_cast<__m128i*>(h.data());
    registers v{_mm_shuffle_epi32(_mm_loadu_si128(h0_to_h3), 0x1B), _mm_set_epi32(int(h[4]), 0, 0, 0)};

    for (; !blocks.empty(); blocks = blocks.subspan(kBlockBytes)) {
        const registers before = v;
        all_rounds(v, blocks.data(), std::make_index_sequence<20>{});
        v.abcd = _mm_add_epi32(v.abcd, before.abcd);
        v.e = _mm_sha1nexte_epu32(v.e, before.e);
    }
    _mm_storeu_si128(h0_to_h3, _mm_shuffle_epi32(v.abcd, 0x1B));
    h[4] = std::uint32_t(_mm_extract_epi32(v.e, 3));
}

} // namespace zrc
