// What the mode layer asks of a cipher engine: whole blocks in one of eight modes (NIST SP 800-38A).
#pragma once

#include <cstddef>
#include <cstdint>

namespace zrc {

enum class block_mode {
    ecb_encrypt,
    ecb_decrypt,
    cbc_encrypt,
    cbc_decrypt,
    cfb_encrypt, // the whole block is fed back
    cfb_decrypt,
    ofb,
    ctr,
};

// Modes in which blocks do not wait for each other.
constexpr bool is_parallel(block_mode mode) noexcept
{
    return mode != block_mode::cbc_encrypt && mode != block_mode::cfb_encrypt && mode != block_mode::ofb;
}

// Only these two run the cipher backwards.
constexpr bool uses_decryption(block_mode mode) noexcept
{
    return mode == block_mode::ecb_decrypt || mode == block_mode::cbc_decrypt;
}

// Calls `kernel` with the mode as a template argument, so that each mode becomes code of its own:
//
//   with_mode(mode, [&]<block_mode Mode>() { ... });
[[gnu::always_inline]] inline void with_mode(block_mode mode, auto kernel) noexcept
{
    using enum block_mode;
    switch (mode) {
    case ecb_encrypt:
        return kernel.template operator()<ecb_encrypt>();
    case ecb_decrypt:
        return kernel.template operator()<ecb_decrypt>();
    case cbc_encrypt:
        return kernel.template operator()<cbc_encrypt>();
    case cbc_decrypt:
        return kernel.template operator()<cbc_decrypt>();
    case cfb_encrypt:
        return kernel.template operator()<cfb_encrypt>();
    case cfb_decrypt:
        return kernel.template operator()<cfb_decrypt>();
    case ofb:
        return kernel.template operator()<ofb>();
    case ctr:
        return kernel.template operator()<ctr>();
    }
}

// Processes `blocks` whole blocks from `in` to `out`, which are the same buffer or do not overlap. `chain` is one
// block:
//
//   ECB        not looked at; may be null
//   CBC, CFB   the last ciphertext block, the IV at first; updated
//   OFB        the last keystream block, the IV at first; updated
//   CTR        the next counter, one big-endian number as long as a block that wraps to 0; updated
//
// No alignment is asked of any of them. The key is the encryption schedule, or the decryption schedule for modes that
// use decryption.
template <class Key>
using blocks_fn = void (*)(const Key& key, block_mode mode, std::uint8_t* chain, const std::uint8_t* in,
                           std::uint8_t* out, std::size_t blocks) noexcept;

} // namespace zrc
