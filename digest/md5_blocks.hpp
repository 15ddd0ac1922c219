// Block function of MD5: whole blocks only, the caller has already buffered the tail.
#pragma once

#include "core/bytes.hpp"

#include <cstdint>
#include <span>

namespace zrc {

// Absorbs blocks.size() / 64 blocks into the chaining value `h` in order; blocks.size() is a multiple of 64 and
// `blocks` may have any alignment. The message is read word by word where it lies; no copy of it is kept in memory.
void md5_blocks(std::span<std::uint32_t, 4> h, byte_span blocks) noexcept;

} // namespace zrc
