// The AES engine inside the library: single blocks, and whole runs of blocks in every mode.
#pragma once

#include "cipher/block_mode.hpp"
#include "core/kernel.hpp"
#include "kestrim/aes.h"

namespace zrc {

constexpr bool is_keyed(const ZRC_AES_KEY& key) noexcept
{
    return key.rounds == 10 || key.rounds == 12 || key.rounds == 14;
}

// Encryption runs the forward rounds, decryption the backward rounds, over whatever schedule they are given.
struct aes_cipher {
    using key = ZRC_AES_KEY;
    static constexpr std::size_t block_bytes = 16;
    static void encrypt(const key& schedule, const std::uint8_t* in, std::uint8_t* out) noexcept;
    static void decrypt(const key& schedule, const std::uint8_t* in, std::uint8_t* out) noexcept;
};

void aes_blocks_portable(const ZRC_AES_KEY& key, block_mode mode, std::uint8_t* chain, const std::uint8_t* in,
                         std::uint8_t* out, std::size_t blocks) noexcept;
#if KESTRIM_X86_64_KERNELS
void aes_blocks_aes_ni(const ZRC_AES_KEY& key, block_mode mode, std::uint8_t* chain, const std::uint8_t* in,
                       std::uint8_t* out, std::size_t blocks) noexcept;
void aes_blocks_vaes(const ZRC_AES_KEY& key, block_mode mode, std::uint8_t* chain, const std::uint8_t* in,
                     std::uint8_t* out, std::size_t blocks) noexcept;
#endif

extern kernel_choice<blocks_fn<ZRC_AES_KEY>> aes_kernels;

} // namespace zrc
