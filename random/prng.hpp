// The legacy generator of FIPS 186-2, appendix 3 (change notice 1): its function G and its state machine.
#pragma once

#include "core/bytes.hpp"

#include <cstddef>
#include <cstdint>
#include <span>

namespace zrc {

// G(t, c) of 3.3 and 3.4. From SHA-1 `c` has 20 to 64 bytes.
using g_constant = std::span<const std::uint32_t, 5>;
void g_from_sha1(g_constant t, byte_span c, std::span<std::uint8_t, 20> g) noexcept;
void g_from_des(g_constant t, std::span<const std::uint8_t, 20> c, std::span<std::uint8_t, 20> g) noexcept;

inline constexpr std::size_t kMaxGBytes = 64;

// G with the constant t of the private keys x.
struct g_function {
    std::int32_t id;   // of the digest or the cipher
    std::size_t bytes; // of a value, and of the key that a unit seeds; at most kMaxGBytes
    void (*run)(byte_span key, std::span<std::uint8_t> g) noexcept;
};

// Null for an unknown identifier.
const g_function* find_g_function(std::int32_t id) noexcept;

// A generator at work on state that its owner keeps, and wipes.
struct legacy_generator {
    const g_function& g;
    std::span<std::uint8_t> key;    // XKEY, big-endian
    std::span<std::uint8_t> last_g; // g.bytes: the last value of G, at first all zero

    // Fills `out` with outputs of two values each; of the last one the leading bytes. False, and `out` is wiped, when
    // G repeats itself (the continuous test of FIPS 140-2, 4.9.2): the generator is not to be used any more.
    bool fill(std::span<std::uint8_t> out) const noexcept;

private:
    bool step() const noexcept;
};

} // namespace zrc
