// The engine of RC2 (RFC 2268), as the mode layer sees it.
//
// Mashing looks subkeys up at places that depend on key and data: not in constant time.
#pragma once

#include "cipher/block_mode.hpp"
#include "core/kernel.hpp"
#include "kestrim/rc2.h"

#include <cstddef>
#include <cstdint>

namespace zrc {

struct rc2_cipher {
    using key = ZRC_RC2_KEY;
    static constexpr std::size_t block_bytes = 8;

    static void encrypt(const key& schedule, const std::uint8_t* in, std::uint8_t* out) noexcept;
    static void decrypt(const key& schedule, const std::uint8_t* in, std::uint8_t* out) noexcept;
};

void rc2_blocks_portable(const ZRC_RC2_KEY& key, block_mode mode, std::uint8_t* chain, const std::uint8_t* in,
                         std::uint8_t* out, std::size_t blocks) noexcept;
void rc2_blocks_avx512(const ZRC_RC2_KEY& key, block_mode mode, std::uint8_t* chain, const std::uint8_t* in,
                       std::uint8_t* out, std::size_t blocks) noexcept;

extern kernel_choice<blocks_fn<ZRC_RC2_KEY>> rc2_kernels;

} // namespace zrc
