// LEA for x86-64 with AVX-512: groups of 16 blocks in four vectors, each of which holds one word of every block. Four
// groups side by side keep the vector units busy; one alone waits for its own results. Of short vectors, which the
// last four blocks or fewer have, more can be worked on at a time.
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

// What the rounds need, for the words of four blocks.
struct short_ops {
    using vector = __m128i;

    [[gnu::always_inline, gnu::target(KESTRIM_LEA_TARGET)]] static vector add(vector a, vector b) noexcept
    {
        return _mm_add_epi32(a, b);
    }
    [[gnu::always_inline, gnu::target(KESTRIM_LEA_TARGET)]] static vector subtract(vector a, vector b) noexcept
    {
        return _mm_sub_epi32(a, b);
    }
    [[gnu::always_inline, gnu::target(KESTRIM_LEA_TARGET)]] static vector xor2(vector a, vector b) noexcept
    {
        return _mm_xor_si128(a, b);
    }
    template <int Bits>
    [[gnu::always_inline, gnu::target(KESTRIM_LEA_TARGET)]] static vector rotate_left(vector x) noexcept
    {
        return _mm_rol_epi32(x, Bits);
    }
    [[gnu::always_inline, gnu::target(KESTRIM_LEA_TARGET)]] static vector spread(std::uint32_t word) noexcept
    {
        return _mm_set1_epi32(static_cast<int>(word));
    }
};

// The words of the next `count` counters, up to 16 * Groups, without a transposition: only the last words differ. Not
// done, and false, when that word wraps.
template <std::size_t... Group>
[[gnu::always_inline, gnu::target(KESTRIM_LEA_TARGET)]] inline bool
counter_words(std::uint8_t* chain, std::size_t count, __m512i* x, std::index_sequence<Group...>) noexcept
{
    const std::uint32_t from = load_be32(chain + 12);
    const std::uint32_t next = from + static_cast<std::uint32_t>(count);
    if (next < from) return false;

    const __m512i block = _mm512_setr_epi32(0, 4, 8, 12, 1, 5, 9, 13, 2, 6, 10, 14, 3, 7, 11, 15); // as transposed
    const __m512i first = _mm512_add_epi32(_mm512_set1_epi32(static_cast<int>(from)), block);
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
    static constexpr std::size_t worth_a_group = 2;

    template <block_mode Mode, std::size_t Groups>
    [[gnu::always_inline, gnu::target(KESTRIM_LEA_TARGET)]] static void
    step(const ZRC_LEA_KEY& key, std::uint8_t* chain, const std::uint8_t* in, std::uint8_t* out) noexcept
    {
        groups<Mode>(key, chain, in, out, all_blocks<kGroupBlocks * Groups>{}, std::make_index_sequence<Groups>{},
                     std::make_index_sequence<4 * Groups>{});
    }

    template <block_mode Mode>
    [[gnu::target(KESTRIM_LEA_TARGET)]] static void rest(const ZRC_LEA_KEY& key, std::uint8_t* chain,
                                                         const std::uint8_t* in, std::uint8_t* out,
                                                         std::size_t blocks) noexcept
    {
        if (blocks <= 4) return few<Mode>(key, chain, in, out, first_blocks{blocks});
        groups<Mode>(key, chain, in, out, first_blocks{blocks}, std::index_sequence<0>{},
                     std::make_index_sequence<4>{});
    }

private:
    using sliced = lea_sliced<ops>;

    // As many groups as are counted by `Group`, of four vectors each.
    template <block_mode Mode, std::size_t... Group, std::size_t... Vector>
    [[gnu::always_inline, gnu::target(KESTRIM_LEA_TARGET)]] static void
    groups(const ZRC_LEA_KEY& key, std::uint8_t* chain, const std::uint8_t* in, std::uint8_t* out, auto which,
           std::index_sequence<Group...> groups, std::index_sequence<Vector...>) noexcept
    {
        __m512i words[4 * sizeof...(Group)];
        if (Mode != block_mode::ctr || !counter_words(chain, which.count, words, groups)) {
            __m512i blocks[4 * sizeof...(Group)];
            lanes_avx512<Mode>::load(chain, in, blocks, which);
            ((words[Vector] = blocks[Vector]), ...);
            (sliced::transpose(words + 4 * Group), ...);
        }
        sliced::rounds<uses_decryption(Mode)>(key, words, groups);
        (sliced::transpose(words + 4 * Group), ...);
        lanes_avx512<Mode>::store(chain, in, out, words, which);
    }

    // Four blocks at most: all in one vector, but for the rounds.
    template <block_mode Mode>
    [[gnu::always_inline, gnu::target(KESTRIM_LEA_TARGET)]] static void few(const ZRC_LEA_KEY& key, std::uint8_t* chain,
                                                                            const std::uint8_t* in, std::uint8_t* out,
                                                                            first_blocks which) noexcept
    {
        const __m512i turned = _mm512_setr_epi32(0, 4, 8, 12, 1, 5, 9, 13, 2, 6, 10, 14, 3, 7, 11, 15);

        __m512i blocks[1];
        lanes_avx512<Mode>::load(chain, in, blocks, which);
        const __m512i words = _mm512_permutexvar_epi32(turned, blocks[0]);
        __m128i x[4]{_mm512_castsi512_si128(words), _mm512_extracti32x4_epi32(words, 1),
                     _mm512_extracti32x4_epi32(words, 2), _mm512_extracti32x4_epi32(words, 3)};
        lea_sliced<short_ops>::rounds<uses_decryption(Mode)>(key, x, std::index_sequence<0>{});
        const __m256i low = _mm256_inserti128_si256(_mm256_castsi128_si256(x[0]), x[1], 1);
        const __m256i high = _mm256_inserti128_si256(_mm256_castsi128_si256(x[2]), x[3], 1);
        blocks[0] = _mm512_permutexvar_epi32(turned, _mm512_inserti64x4(_mm512_castsi256_si512(low), high, 1));
        lanes_avx512<Mode>::store(chain, in, out, blocks, which);
    }
};

} // namespace

void lea_blocks_avx512(const ZRC_LEA_KEY& key, block_mode mode, std::uint8_t* chain, const std::uint8_t* in,
                       std::uint8_t* out, std::size_t blocks) noexcept
{
    lea_in_groups<groups_avx512>::run(key, mode, chain, in, out, blocks);
}

} // namespace zrc
