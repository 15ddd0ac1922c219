// The last blocks of a message in a parallel mode, too few for a group of a vector kernel: they go through one all
// the same, in a buffer, because a whole group takes no longer than a few blocks one by one.
#pragma once

#include "cipher/block_mode.hpp"
#include "core/bytes.hpp"
#include "core/secret.hpp"

#include <cstddef>
#include <cstdint>
#include <cstring>

namespace zrc {

// Processes `blocks` blocks of 16 bytes, fewer than GroupBlocks. `group(chain, data)` runs the mode over GroupBlocks
// blocks in place; what it leaves in its chain is not used.
template <block_mode Mode, std::size_t GroupBlocks>
void run_padded_group(std::uint8_t* chain, const std::uint8_t* in, std::uint8_t* out, std::size_t blocks,
                      auto group) noexcept
{
    static_assert(is_parallel(Mode));
    secret_array<std::uint8_t, 16 * GroupBlocks> data;
    secret_array<std::uint8_t, 16> first;
    const std::size_t used = 16 * blocks;

    std::memcpy(data.data(), in, used);
    std::memset(data.data() + used, 0, 16 * GroupBlocks - used);
    if constexpr (Mode == block_mode::ctr) {
        std::memcpy(first.data(), chain, 16);
        const std::uint64_t low = load_be64(chain + 8), next = low + blocks;
        store_be64(chain + 8, next);
        if (next < low) store_be64(chain, load_be64(chain) + 1);
    } else if constexpr (Mode == block_mode::cbc_decrypt || Mode == block_mode::cfb_decrypt) {
        std::memcpy(first.data(), chain, 16);
        std::memcpy(chain, in + used - 16, 16);
    }
    group(first.data(), data.data());
    std::memcpy(out, data.data(), used);
}

} // namespace zrc
