// Known answers of the approved block ciphers: one block in each of four modes.
#pragma once

#include "kestrim/block_cipher.h"
#include "selftest/hex.hpp"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>

namespace zrc {

struct block_test_vector {
    std::uint32_t algorithm_id; // cipher and mode
    std::array<std::uint8_t, 16> plaintext, iv;
    std::array<std::uint8_t, 72> key;        // as many bytes of it as the cipher's key has
    std::array<std::uint8_t, 32> ciphertext; // one block
};
static_assert(sizeof(block_test_vector) == 140 && offsetof(block_test_vector, ciphertext) == 108);

// `bytes` and zeros behind them.
template <std::size_t Size, std::size_t N>
consteval std::array<std::uint8_t, Size> padded(const std::array<std::uint8_t, N>& bytes)
{
    std::array<std::uint8_t, Size> whole{};
    std::ranges::copy(bytes, whole.begin());
    return whole;
}

inline constexpr std::array<std::uint8_t, 16> kZeroBlock{};

// SEED. ECB: RFC 4269, B.3. CBC: RFC 4196, the first block of the first vector. CFB and OFB encipher the IV and XOR
// the plaintext, so RFC 4269, B.4, answers for both when its plaintext is the IV and the plaintext is zero.
inline constexpr auto kSeedEcbPlaintext = hex("83a2f8a288641fb9a4e9a5cc2f131c7d");
inline constexpr auto kSeedEcbKey = padded<72>(hex("4706480851e61be85d74bfb3fd956185"));
inline constexpr auto kSeedEcbAnswer = padded<32>(hex("ee54d13ebcae706d226bc3142cd40d4a"));
inline constexpr auto kSeedCbcPlaintext = hex("b40d7003d9b6904b35622750c91a2457");
inline constexpr auto kSeedCbcIv = hex("93eb149f92c9905bae5cd34da06c3c8e");
inline constexpr auto kSeedCbcKey = padded<72>(hex("ed2401ad22fa255991bafdb01fefd697"));
inline constexpr auto kSeedCbcAnswer = padded<32>(hex("f072c5b1a0588c105af8301adcd91dd0"));
inline constexpr auto kSeedStreamIv = hex("b41e6be2eba84a148e2eed84593c5ec7");
inline constexpr auto kSeedStreamKey = padded<72>(hex("28dbc3bc49ffd87dcfa509b11d422be7"));
inline constexpr auto kSeedStreamAnswer = padded<32>(hex("9b9b7bfcd1813cb95d0b3618f40f5122"));

// ARIA: the first blocks of the published ARIA test vectors, where CFB and OFB still agree. The 192-bit and the
// 128-bit key are the beginning of this one.
inline constexpr auto kAriaPlaintext = hex("11111111aaaaaaaa11111111bbbbbbbb");
inline constexpr auto kAriaIv = hex("0f1e2d3c4b5a69788796a5b4c3d2e1f0");
inline constexpr auto kAriaKey = padded<72>(hex("00112233445566778899aabbccddeeff00112233445566778899aabbccddeeff"));
inline constexpr auto kAria128EcbAnswer = padded<32>(hex("c6ecd08e22c30abdb215cf74e2075e6e"));
inline constexpr auto kAria128CbcAnswer = padded<32>(hex("49d61860b14909109cef0d22a9268134"));
inline constexpr auto kAria128StreamAnswer = padded<32>(hex("3720e53ba7d615383406b09f0a05a200"));
inline constexpr auto kAria192EcbAnswer = padded<32>(hex("8d1470625f59ebacb0e55b534b3e462b"));
inline constexpr auto kAria192CbcAnswer = padded<32>(hex("afe6cf23974b533c672a826264ea785f"));
inline constexpr auto kAria192StreamAnswer = padded<32>(hex("4171f7192bf4495494d2736129640f5c"));
inline constexpr auto kAria256EcbAnswer = padded<32>(hex("58a875e6044ad7fffa4f58420f7f442d"));
inline constexpr auto kAria256CbcAnswer = padded<32>(hex("523a8a806ae621f155fdd28dbc34e1ab"));
inline constexpr auto kAria256StreamAnswer = padded<32>(hex("26834705b0f2c0e2588d4a7f09009635"));

inline constexpr block_test_vector kBlockTestVectors[16] = {
    {ZRC_SEED | ZRC_MODE_ECB, kSeedEcbPlaintext, kZeroBlock, kSeedEcbKey, kSeedEcbAnswer},
    {ZRC_SEED | ZRC_MODE_CBC, kSeedCbcPlaintext, kSeedCbcIv, kSeedCbcKey, kSeedCbcAnswer},
    {ZRC_SEED | ZRC_MODE_CFB128, kZeroBlock, kSeedStreamIv, kSeedStreamKey, kSeedStreamAnswer},
    {ZRC_SEED | ZRC_MODE_OFB, kZeroBlock, kSeedStreamIv, kSeedStreamKey, kSeedStreamAnswer},
    {ZRC_ARIA_128 | ZRC_MODE_ECB, kAriaPlaintext, kZeroBlock, kAriaKey, kAria128EcbAnswer},
    {ZRC_ARIA_128 | ZRC_MODE_CBC, kAriaPlaintext, kAriaIv, kAriaKey, kAria128CbcAnswer},
    {ZRC_ARIA_128 | ZRC_MODE_CFB128, kAriaPlaintext, kAriaIv, kAriaKey, kAria128StreamAnswer},
    {ZRC_ARIA_128 | ZRC_MODE_OFB, kAriaPlaintext, kAriaIv, kAriaKey, kAria128StreamAnswer},
    {ZRC_ARIA_192 | ZRC_MODE_ECB, kAriaPlaintext, kZeroBlock, kAriaKey, kAria192EcbAnswer},
    {ZRC_ARIA_192 | ZRC_MODE_CBC, kAriaPlaintext, kAriaIv, kAriaKey, kAria192CbcAnswer},
    {ZRC_ARIA_192 | ZRC_MODE_CFB128, kAriaPlaintext, kAriaIv, kAriaKey, kAria192StreamAnswer},
    {ZRC_ARIA_192 | ZRC_MODE_OFB, kAriaPlaintext, kAriaIv, kAriaKey, kAria192StreamAnswer},
    {ZRC_ARIA_256 | ZRC_MODE_ECB, kAriaPlaintext, kZeroBlock, kAriaKey, kAria256EcbAnswer},
    {ZRC_ARIA_256 | ZRC_MODE_CBC, kAriaPlaintext, kAriaIv, kAriaKey, kAria256CbcAnswer},
    {ZRC_ARIA_256 | ZRC_MODE_CFB128, kAriaPlaintext, kAriaIv, kAriaKey, kAria256StreamAnswer},
    {ZRC_ARIA_256 | ZRC_MODE_OFB, kAriaPlaintext, kAriaIv, kAriaKey, kAria256StreamAnswer},
};

} // namespace zrc
