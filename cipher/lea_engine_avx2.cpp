// LEA for x86-64 with AVX2: groups of 8 blocks in four vectors, each of which holds one word of every block. Two
// groups side by side keep the vector units busy; one alone waits for its own results.
#include "cipher/lanes_avx2.hpp"

#define KESTRIM_LEA_TARGET KESTRIM_TARGET_LANES_AVX2

#include "cipher/lea_engine.hpp"
#include "cipher/lea_sliced.hpp"
#include "cipher/padded_group.hpp"

#include <cstddef>
#include <cstdint>
#include <immintrin.h>
#include <utility>

namespace zrc {
namespace {

struct ops {
    using vector = __m256i;

    [[gnu::always_inline, gnu::target(KESTRIM_LEA_TARGET)]] static vector add(vector a, vector b) noexcept
    {
        return _mm256_add_epi32(a, b);
    }
    [[gnu::always_inline, gnu::target(KESTRIM_LEA_TARGET)]] static vector subtract(vector a, vector b) noexcept
    {
        return _mm256_sub_epi32(a, b);
    }
    [[gnu::always_inline, gnu::target(KESTRIM_LEA_TARGET)]] static vector xor2(vector a, vector b) noexcept
    {
        return _mm256_xor_si256(a, b);
    }
    template <int Bits>
    [[gnu::always_inline, gnu::target(KESTRIM_LEA_TARGET)]] static vector rotate_left(vector x) noexcept
    {
        return _mm256_or_si256(_mm256_slli_epi32(x, Bits), _mm256_srli_epi32(x, 32 - Bits));
    }
    [[gnu::always_inline, gnu::target(KESTRIM_LEA_TARGET)]] static vector spread(std::uint32_t word) noexcept
    {
        return _mm256_set1_epi32(static_cast<int>(word));
    }
    [[gnu::always_inline, gnu::target(KESTRIM_LEA_TARGET)]] static vector unpack_low32(vector a, vector b) noexcept
    {
        return _mm256_unpacklo_epi32(a, b);
    }
    [[gnu::always_inline, gnu::target(KESTRIM_LEA_TARGET)]] static vector unpack_high32(vector a, vector b) noexcept
    {
        return _mm256_unpackhi_epi32(a, b);
    }
    [[gnu::always_inline, gnu::target(KESTRIM_LEA_TARGET)]] static vector unpack_low64(vector a, vector b) noexcept
    {
        return _mm256_unpacklo_epi64(a, b);
    }
    [[gnu::always_inline, gnu::target(KESTRIM_LEA_TARGET)]] static vector unpack_high64(vector a, vector b) noexcept
    {
        return _mm256_unpackhi_epi64(a, b);
    }
};

struct groups_avx2 {
    static constexpr std::size_t group_blocks = 8;
    static constexpr std::size_t side_by_side = 2;
    static constexpr std::size_t worth_a_group = 3;

    template <block_mode Mode, std::size_t Groups>
    [[gnu::always_inline, gnu::target(KESTRIM_LEA_TARGET)]] static void
    step(const ZRC_LEA_KEY& key, std::uint8_t* chain, const std::uint8_t* in, std::uint8_t* out) noexcept
    {
        __m256i x[4 * Groups];
        lanes_avx2<Mode>::load(chain, in, x);
        cipher<uses_decryption(Mode)>(key, x, std::make_index_sequence<Groups>{});
        lanes_avx2<Mode>::store(chain, in, out, x);
    }

    template <block_mode Mode>
    static void rest(const ZRC_LEA_KEY& key, std::uint8_t* chain, const std::uint8_t* in, std::uint8_t* out,
                     std::size_t blocks) noexcept
    {
        run_padded_group<Mode, group_blocks>(chain, in, out, blocks, [&key](std::uint8_t* first, std::uint8_t* data) {
            one_group<Mode>(key, first, data);
        });
    }

private:
    using sliced = lea_sliced<ops>;

    template <block_mode Mode>
    [[gnu::target(KESTRIM_LEA_TARGET)]] static void one_group(const ZRC_LEA_KEY& key, std::uint8_t* chain,
                                                              std::uint8_t* data) noexcept
    {
        step<Mode, 1>(key, chain, data, data);
    }

    template <bool Backwards, std::size_t... Group>
    [[gnu::always_inline, gnu::target(KESTRIM_LEA_TARGET)]] static void
    cipher(const ZRC_LEA_KEY& key, __m256i* x, std::index_sequence<Group...> groups) noexcept
    {
        (sliced::transpose(x + 4 * Group), ...);
        sliced::rounds<Backwards>(key, x, groups);
        (sliced::transpose(x + 4 * Group), ...);
    }
};

} // namespace

void lea_blocks_avx2(const ZRC_LEA_KEY& key, block_mode mode, std::uint8_t* chain, const std::uint8_t* in,
                     std::uint8_t* out, std::size_t blocks) noexcept
{
    lea_in_groups<groups_avx2>::run(key, mode, chain, in, out, blocks);
}

} // namespace zrc
