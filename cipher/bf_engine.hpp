// The engine of Blowfish, as the mode layer sees it.
//
// The S-boxes are looked up at places that depend on key and data: not in constant time.
#pragma once

#include "cipher/block_mode.hpp"
#include "core/kernel.hpp"
#include "kestrim/blowfish.h"

#include <cstddef>
#include <cstdint>

namespace zrc {

struct bf_cipher {
    using key = ZRC_BF_KEY;
    static constexpr std::size_t block_bytes = 8;

    static void encrypt(const key& schedule, const std::uint8_t* in, std::uint8_t* out) noexcept;
    static void decrypt(const key& schedule, const std::uint8_t* in, std::uint8_t* out) noexcept;
};

void bf_blocks_portable(const ZRC_BF_KEY& key, block_mode mode, std::uint8_t* chain, const std::uint8_t* in,
                        std::uint8_t* out, std::size_t blocks) noexcept;

extern kernel_choice<blocks_fn<ZRC_BF_KEY>> bf_kernels;

} // namespace zrc
