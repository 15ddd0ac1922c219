// What the algorithms over groups of prime order share: copies of their numbers, nonces, tests of domain parameters,
// numbers as bytes of a fixed length.
#pragma once

#include "core/owned.hpp"
#include "kestrim/bigint.h"

#include <cstddef>
#include <cstdint>
#include <span>

namespace zrc {

using owned_number = owned<ZRC_BIGINT, ZRC_Free_BIGINT>;

// What a draw that will not do is repeated for: with keys that are none, it never does.
inline constexpr int kMostDraws = 128;

inline constexpr std::size_t kMostDigestBytes = 64;

// Longer moduli are refused: with them, one exponentiation would take minutes.
inline constexpr std::uint32_t kMostModulusBits = 16384;

// Normalised; null for null and without memory.
owned_number copy_of(const ZRC_BIGINT* number) noexcept;

// copies[i] = a copy of given[i], null for null. False without memory.
bool copy_numbers(std::span<owned_number> copies, std::span<const ZRC_BIGINT* const> given) noexcept;

// Releases a number of a unit and takes the new one, which may be null.
void replace_number(ZRC_BIGINT*& number, owned_number next) noexcept;

// Secret numbers below q are used in as many words as q has, whatever they are: their own length would tell
// something. To that end their words are made zero before they are set. False without memory.
bool clear_words(ZRC_BIGINT& number, std::int32_t words) noexcept;

// k: every value from 1 to q - 1 with the same probability, in as many words as q has. Returns 0 or the reason:
// ZRC_ERR_INVALID_INPUT when q is below 2 or not normalised, ZRC_ERR_GET_RAND_FAIL when the generator failed,
// ZRC_ERR_EXPAND_BIGINT_WORD without memory.
std::uint32_t draw_nonce(ZRC_BIGINT& k, const ZRC_BIGINT& q) noexcept;

// The last `output.size()` bytes of a number, big-endian, zeros in front, in a time that depends on lengths only. All
// of its words are used, zeros on top included.
void write_number(std::span<std::uint8_t> output, const ZRC_BIGINT& number) noexcept;

// Bytes that a number needs.
std::size_t bytes_in(const ZRC_BIGINT& number) noexcept;

// 0 < n < q. Returns 0, ZRC_ERR_IS_BIGINT_ZERO_FAIL or ZRC_ERR_CMP_BIGINT_FAIL.
std::uint32_t test_range(const ZRC_BIGINT& n, const ZRC_BIGINT& q) noexcept;

// z = the leftmost bits of a digest, as many as q has at most (FIPS 186-4, 4.6). False without memory.
bool set_leftmost_bits(ZRC_BIGINT& z, std::span<const std::uint8_t> digest, const ZRC_BIGINT& q) noexcept;

// Domain parameters of a group of numbers modulo p, wherever they are; normalised.
struct number_group {
    const ZRC_BIGINT& p;
    const ZRC_BIGINT* q; // may be null: not known
    const ZRC_BIGINT& g;
};

// Tests what costs little: p odd, 1 < g < p - 1; with q: odd, 3 or more, a divisor of p - 1, and g^q = 1. Not whether
// p and q are primes. Returns 0, ZRC_ERR_INVALID_INPUT, ZRC_ERR_NOT_SUPPORTED when p is too long, or, without memory,
// ZRC_ERR_MOD_BIGINT_FAIL or ZRC_ERR_MOD_EXP_MONT_BIGINT_FAIL.
std::uint32_t test_group(const number_group& group) noexcept;

// Whether 2 <= y <= p - 2. p is odd.
bool is_in_range(const ZRC_BIGINT& y, const ZRC_BIGINT& p) noexcept;

// Whether y^q = 1 mod p. Returns 0, ZRC_ERR_COMPARE_FAIL, or ZRC_ERR_MOD_EXP_MONT_BIGINT_FAIL when p is even and
// without memory.
std::uint32_t test_order(const ZRC_BIGINT& y, const ZRC_BIGINT& q, const ZRC_BIGINT& p) noexcept;

} // namespace zrc
