// The engines of DES (FIPS 46-3) and triple DES (SP 800-67), as the mode layer sees them.
//
// Tables are looked up at places that depend on key and data: not in constant time.
#pragma once

#include "cipher/block_mode.hpp"
#include "core/kernel.hpp"
#include "kestrim/des.h"

#include <cstddef>
#include <cstdint>

namespace zrc {

// Encryption and decryption are the same transform; the schedules differ.
struct des_cipher {
    using key = ZRC_DES_KEY;
    static constexpr std::size_t block_bytes = 8;

    static void encrypt(const key& schedule, const std::uint8_t* in, std::uint8_t* out) noexcept;
    static void decrypt(const key& schedule, const std::uint8_t* in, std::uint8_t* out) noexcept
    {
        encrypt(schedule, in, out);
    }
};

struct des_ede_cipher {
    using key = ZRC_DES_EDE_KEY;
    static constexpr std::size_t block_bytes = 8;

    static void encrypt(const key& schedule, const std::uint8_t* in, std::uint8_t* out) noexcept;
    static void decrypt(const key& schedule, const std::uint8_t* in, std::uint8_t* out) noexcept
    {
        encrypt(schedule, in, out);
    }
};

void des_blocks_portable(const ZRC_DES_KEY& key, block_mode mode, std::uint8_t* chain, const std::uint8_t* in,
                         std::uint8_t* out, std::size_t blocks) noexcept;
void des_ede_blocks_portable(const ZRC_DES_EDE_KEY& key, block_mode mode, std::uint8_t* chain, const std::uint8_t* in,
                             std::uint8_t* out, std::size_t blocks) noexcept;
void des_blocks_gfni(const ZRC_DES_KEY& key, block_mode mode, std::uint8_t* chain, const std::uint8_t* in,
                     std::uint8_t* out, std::size_t blocks) noexcept;
void des_ede_blocks_gfni(const ZRC_DES_EDE_KEY& key, block_mode mode, std::uint8_t* chain, const std::uint8_t* in,
                         std::uint8_t* out, std::size_t blocks) noexcept;

extern kernel_choice<blocks_fn<ZRC_DES_KEY>> des_kernels;
extern kernel_choice<blocks_fn<ZRC_DES_EDE_KEY>> des_ede_kernels;

} // namespace zrc
