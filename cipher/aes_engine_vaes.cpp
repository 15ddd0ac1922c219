// AES kernel with the vector AES instructions of x86-64 on 512-bit vectors: four blocks to an instruction. Runs in
// constant time. The thirty-two registers hold all round keys.
#include "cipher/aes_ni.hpp"
#include "cipher/lanes_avx512.hpp"

#define KESTRIM_TARGET_VAES KESTRIM_TARGET_LANES ",vaes," KESTRIM_TARGET_AES_NI

namespace zrc {
namespace {

template <int Rounds>
struct wide_keys {
    [[gnu::always_inline, gnu::target(KESTRIM_TARGET_VAES)]] explicit wide_keys(const ZRC_AES_KEY& key) noexcept
    {
        const aes_ni::round_keys<Rounds> narrow{key};
#pragma GCC unroll 16
        for (int i = 0; i <= Rounds; ++i)
            k[i] = _mm512_broadcast_i32x4(narrow.k[i]);
    }
    __m512i k[Rounds + 1];
};

template <block_mode Mode, int Rounds, std::size_t Vectors>
[[gnu::always_inline, gnu::target(KESTRIM_TARGET_VAES)]] inline void
group(const wide_keys<Rounds>& key, std::uint8_t* chain, const std::uint8_t* in, std::uint8_t* out) noexcept
{
    __m512i x[Vectors];
    lanes_avx512<Mode>::load(chain, in, x);
#pragma GCC unroll 16
    for (std::size_t i = 0; i < Vectors; ++i)
        x[i] = _mm512_xor_si512(x[i], key.k[0]);
#pragma GCC unroll 16
    for (int round = 1; round < Rounds; ++round) {
#pragma GCC unroll 16
        for (std::size_t i = 0; i < Vectors; ++i) {
            x[i] = uses_decryption(Mode) ? _mm512_aesdec_epi128(x[i], key.k[round])
                                         : _mm512_aesenc_epi128(x[i], key.k[round]);
        }
    }
#pragma GCC unroll 16
    for (std::size_t i = 0; i < Vectors; ++i) {
        x[i] = uses_decryption(Mode) ? _mm512_aesdeclast_epi128(x[i], key.k[Rounds])
                                     : _mm512_aesenclast_epi128(x[i], key.k[Rounds]);
    }
    lanes_avx512<Mode>::store(chain, in, out, x);
}

// Groups of 32 blocks, of 16, of 4, then single blocks.
template <block_mode Mode, int Rounds>
[[gnu::target(KESTRIM_TARGET_VAES)]] void parallel(const ZRC_AES_KEY& schedule, std::uint8_t* chain,
                                                   const std::uint8_t* in, std::uint8_t* out,
                                                   std::size_t blocks) noexcept
{
    if (blocks >= 4) {
        const wide_keys<Rounds> key{schedule};
        for (; blocks >= 32; blocks -= 32, in += 512, out += 512)
            group<Mode, Rounds, 8>(key, chain, in, out);
        for (; blocks >= 16; blocks -= 16, in += 256, out += 256)
            group<Mode, Rounds, 4>(key, chain, in, out);
        for (; blocks >= 4; blocks -= 4, in += 64, out += 64)
            group<Mode, Rounds, 1>(key, chain, in, out);
    }
    if (blocks == 0) return;
    const aes_ni::round_keys<Rounds> key{schedule};
    for (; blocks != 0; --blocks, in += 16, out += 16)
        aes_ni::side_by_side<Mode, Rounds, 1>(key, chain, in, out);
}

template <block_mode Mode, int Rounds>
[[gnu::target(KESTRIM_TARGET_VAES)]] void chained(const ZRC_AES_KEY& schedule, std::uint8_t* chain,
                                                  const std::uint8_t* in, std::uint8_t* out,
                                                  std::size_t blocks) noexcept
{
    aes_ni::chained<Mode, Rounds>(aes_ni::round_keys<Rounds>{schedule}, chain, in, out, blocks);
}

} // namespace

void aes_blocks_vaes(const ZRC_AES_KEY& key, block_mode mode, std::uint8_t* chain, const std::uint8_t* in,
                     std::uint8_t* out, std::size_t blocks) noexcept
{
    aes_ni::with_mode_and_rounds(key, mode, [&]<block_mode Mode, int Rounds>() {
        if constexpr (is_parallel(Mode))
            parallel<Mode, Rounds>(key, chain, in, out, blocks);
        else
            chained<Mode, Rounds>(key, chain, in, out, blocks);
    });
}

} // namespace zrc
