// Block functions of the SHA family: whole blocks only, the caller has already buffered the tail.
//
// Each function absorbs blocks.size() / block-length blocks into the chaining value `h` in order; blocks.size() is a
// multiple of the block length and `blocks` may have any alignment. What they store of the message is wiped; the rest
// lives in registers, and what a compiler spills of those is out of reach.
#pragma once

#include "core/bytes.hpp"
#include "core/kernel.hpp"

#include <cstdint>
#include <span>

namespace zrc {

using sha1_blocks_fn = void (*)(std::span<std::uint32_t, 5> h, byte_span blocks) noexcept;
using sha256_blocks_fn = void (*)(std::span<std::uint32_t, 8> h, byte_span blocks) noexcept;
using sha512_blocks_fn = void (*)(std::span<std::uint64_t, 8> h, byte_span blocks) noexcept;

void sha1_blocks_portable(std::span<std::uint32_t, 5> h, byte_span blocks) noexcept;
void sha256_blocks_portable(std::span<std::uint32_t, 8> h, byte_span blocks) noexcept;
void sha512_blocks_portable(std::span<std::uint64_t, 8> h, byte_span blocks) noexcept;

#if KESTRIM_X86_64_KERNELS
void sha1_blocks_sha_ni(std::span<std::uint32_t, 5> h, byte_span blocks) noexcept;
void sha256_blocks_sha_ni(std::span<std::uint32_t, 8> h, byte_span blocks) noexcept;
void sha512_blocks_avx512vl(std::span<std::uint64_t, 8> h, byte_span blocks) noexcept;
void sha512_blocks_avx2(std::span<std::uint64_t, 8> h, byte_span blocks) noexcept;
#endif

// The lists, best first, and the choice made from them.
extern kernel_choice<sha1_blocks_fn> sha1_kernels;
extern kernel_choice<sha256_blocks_fn> sha256_kernels;
extern kernel_choice<sha512_blocks_fn> sha512_kernels;

} // namespace zrc
