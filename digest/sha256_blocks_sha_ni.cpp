// SHA-256 block function with the SHA extensions of x86-64: two rounds to an instruction.
#include "digest/sha_blocks.hpp"
#include "digest/sha_ni.hpp"

#include <cstddef>
#include <cstdint>
#include <immintrin.h>
#include <utility>

namespace zrc {
namespace {

using namespace sha_ni;

constexpr std::size_t kBlockBytes = 64;

// Rounds 4 * Group and on.
template <std::size_t Group>
[[gnu::always_inline, gnu::target("sha,ssse3,sse4.1")]] inline void rounds_of_group(registers& v, __m128i (&w)[4],
                                                                                    const std::uint8_t* block) noexcept
{
    if constexpr (Group < 4) {
        w[Group] = swap_bytes(_mm_loadu_si128(reinterpret_cast<const __m128i*>(block) + Group));
    } else {
        next_words<Group>(w);
    }
    four_rounds(v, _mm_add_epi32(w[Group % 4], words_of_group(Group)));
}

template <std::size_t... Group>
[[gnu::always_inline, gnu::target("sha,ssse3,sse4.1")]] inline void all_rounds(registers& v, const std::uint8_t* block,
                                                                               std::index_sequence<Group...>) noexcept
{
    __m128i w[4];
    (rounds_of_group<Group>(v, w, block), ...);
}

} // namespace

[[gnu::target("sha,ssse3,sse4.1")]] void sha256_blocks_sha_ni(std::span<std::uint32_t, 8> h, byte_span blocks) noexcept
{
    registers v = load_registers(h.data());

    for (; !blocks.empty(); blocks = blocks.subspan(kBlockBytes)) {
        const registers before = v;
        all_rounds(v, blocks.data(), std::make_index_sequence<16>{});
        v.abef = _mm_add_epi32(v.abef, before.abef);
        v.cdgh = _mm_add_epi32(v.cdgh, before.cdgh);
    }
    const auto [abcd, efgh] = in_order(v);
    auto* const vectors = reinterpret_cast<__m128i*>(h.data());
    _mm_storeu_si128(vectors, abcd);
    _mm_storeu_si128(vectors + 1, efgh);
}

} // namespace zrc
