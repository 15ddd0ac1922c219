// LEA for x86-64 with AVX-512: groups of 16 blocks in four vectors, each of which holds one word of every block. Four
// groups side by side keep the vector units busy; one alone waits for its own results.
#include "cipher/lanes_avx512.hpp"

#define KESTRIM_LEA_TARGET KESTRIM_TARGET_LANES

#include "cipher/lea_engine.hpp"
#include "cipher/lea_sliced.hpp"
#include "core/bytes.hpp"

#include <cstddef>
#include <cstdint>
#include <immintrin.h>
#include <utility>

namespace zrc {
namespace {

constexpr std::size_t kGroupBlocks = 16;

struct ops {
    using vector = __m512i;

    [[gnu::always_inline, gnu::target(KESTRIM_LEA_TARGET)]] static vector add(vector a, vector b) noexcept
    {
        return _mm512_add_epi32(a, b);
    }
    [[gnu::always_inline, gnu::target(KESTRIM_LEA_TARGET)]] static vector subtract(vector a, vector b) noexcept
    {
        return _mm512_sub_epi32(a, b);
    }
    [[gnu::always_inline, gnu::target(KESTRIM_LEA_TARGET)]] static vector xor2(vector a, vector b) noexcept
    {
        return _mm512_xor_si512(a, b);
    }
    template <int Bits>
    [[gnu::always_inline, gnu::target(KESTRIM_LEA_TARGET)]] static vector rotate_left(vector x) noexcept
    {
        return _mm512_rol_epi32(x, Bits);
    }
    [[gnu::always_inline, gnu::target(KESTRIM_LEA_TARGET)]] static vector spread(std::uint32_t word) noexcept
    {
        return _mm512_set1_epi32(static_cast<int>(word));
    }
    [[gnu::always_inline, gnu::target(KESTRIM_LEA_TARGET)]] static vector unpack_low32(vector a, vector b) noexcept
    {
        return _mm512_unpacklo_epi32(a, b);
    }
    [[gnu::always_inline, gnu::target(KESTRIM_LEA_TARGET)]] static vector unpack_high32(vector a, vector b) noexcept
    {
        return _mm512_unpackhi_epi32(a, b);
    }
    [[gnu::always_inline, gnu::target(KESTRIM_LEA_TARGET)]] static vector unpack_low64(vector a, vector b) noexcept
    {
        return _mm512_unpacklo_epi64(a, b);
    }
    [[gnu::always_inline, gnu::target(KESTRIM_LEA_TARGET)]] static vector unpack_high64(vector a, vector b) noexcept
    {
        return _mm512_unpackhi_epi64(a, b);
    }
};

// The words of the next 16 * Groups counters without a transposition: only the last words differ. Not done, and
// false, when that word wraps.
template <std::size_t... Group>
[[gnu::always_inline, gnu::target(KESTRIM_LEA_TARGET)]] inline bool
counter_words(std::uint8_t* chain, __m512i* x, std::index_sequence<Group...>) noexcept
{
    constexpr std::uint32_t kCounters = kGroupBlocks * sizeof...(Group);
    const std::uint32_t next = load_be32(chain + 12) + kCounters;
    if (next < kCounters) return false;

    const __m512i block = _mm512_setr_epi32(0, 4, 8, 12, 1, 5, 9, 13, 2, 6, 10, 14, 3, 7, 11, 15); // as transposed
    const __m512i first = _mm512_add_epi32(_mm512_set1_epi32(static_cast<int>(next - kCounters)), block);
    const __m512i reversed = _mm512_broadcast_i32x4(_mm_set_epi64x(0x0C0D0E0F08090A0B, 0x0405060700010203));
    const __m512i same[]{_mm512_set1_epi32(static_cast<int>(load_le32(chain))),
                         _mm512_set1_epi32(static_cast<int>(load_le32(chain + 4))),
                         _mm512_set1_epi32(static_cast<int>(load_le32(chain + 8)))};
    ((x[4 * Group] = same[0], x[4 * Group + 1] = same[1], x[4 * Group + 2] = same[2]), ...);
    ((x[4 * Group + 3] = _mm512_shuffle_epi8(
          _mm512_add_epi32(first, _mm512_set1_epi32(static_cast<int>(kGroupBlocks * Group))), reversed)),
     ...);
    store_be32(chain + 12, next);
    return true;
}

struct groups_avx512 {
    static constexpr std::size_t group_blocks = kGroupBlocks;
    static constexpr std::size_t side_by_side = 4;

    template <block_mode Mode, std::size_t Groups>
    [[gnu::always_inline, gnu::target(KESTRIM_LEA_TARGET)]] static void
    step(const ZRC_LEA_KEY& key, std::uint8_t* chain, const std::uint8_t* in, std::uint8_t* out) noexcept
    {
        step<Mode>(key, chain, in, out, std::make_index_sequence<Groups>{}, std::make_index_sequence<4 * Groups>{});
    }

private:
    using sliced = lea_sliced<ops>;

    // As many groups as are counted by `Group`, of four vectors each.
    template <block_mode Mode, std::size_t... Group, std::size_t... Vector>
    [[gnu::always_inline, gnu::target(KESTRIM_LEA_TARGET)]] static void
    step(const ZRC_LEA_KEY& key, std::uint8_t* chain, const std::uint8_t* in, std::uint8_t* out,
         std::index_sequence<Group...> groups, std::index_sequence<Vector...>) noexcept
    {
        __m512i words[4 * sizeof...(Group)];
        if (Mode != block_mode::ctr || !counter_words(chain, words, groups)) {
            __m512i blocks[4 * sizeof...(Group)];
            lanes_avx512<Mode>::load(chain, in, blocks);
            ((words[Vector] = blocks[Vector]), ...);
            (sliced::transpose(words + 4 * Group), ...);
        }
        sliced::rounds<uses_decryption(Mode)>(key, words, groups);
        (sliced::transpose(words + 4 * Group), ...);
        lanes_avx512<Mode>::store(chain, in, out, words);
    }
};

} // namespace

void lea_blocks_avx512(const ZRC_LEA_KEY& key, block_mode mode, std::uint8_t* chain, const std::uint8_t* in,
                       std::uint8_t* out, std::size_t blocks) noexcept
{
    lea_in_groups<groups_avx512>::run(key, mode, chain, in, out, blocks);
}

} // namespace zrc
