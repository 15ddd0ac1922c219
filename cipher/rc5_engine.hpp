// The engine of RC5-32/16 (RFC 2040), as the mode layer sees it.
//
// Rotations by key- and data-dependent amounts: constant time on processors that rotate in constant time.
#pragma once

#include "cipher/block_mode.hpp"
#include "core/kernel.hpp"
#include "kestrim/rc5.h"

#include <cstddef>
#include <cstdint>

namespace zrc {

struct rc5_cipher {
    using key = ZRC_RC5_KEY;
    static constexpr std::size_t block_bytes = 8;

    static void encrypt(const key& schedule, const std::uint8_t* in, std::uint8_t* out) noexcept;
    static void decrypt(const key& schedule, const std::uint8_t* in, std::uint8_t* out) noexcept;
};

void rc5_blocks_portable(const ZRC_RC5_KEY& key, block_mode mode, std::uint8_t* chain, const std::uint8_t* in,
                         std::uint8_t* out, std::size_t blocks) noexcept;
void rc5_blocks_avx512(const ZRC_RC5_KEY& key, block_mode mode, std::uint8_t* chain, const std::uint8_t* in,
                       std::uint8_t* out, std::size_t blocks) noexcept;

extern kernel_choice<blocks_fn<ZRC_RC5_KEY>> rc5_kernels;

} // namespace zrc
