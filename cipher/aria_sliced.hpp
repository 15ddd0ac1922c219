// ARIA on vectors that each hold one byte position of many blocks: transposition and diffusion, which all vector
// kernels have in common. The kernel's file says which instructions it is compiled for in KESTRIM_ARIA_TARGET before
// it includes this. Ops names the vector and its operations:
//   vector
//   xor2, xor3
//   mix                      of four vectors, the sums of three: without the first, the second, the third, the fourth
//   unpack_low, unpack_high  of bytes, in 128-bit lanes
#pragma once

#include <cstddef>

#ifndef KESTRIM_ARIA_TARGET
#error "for vector kernels only"
#endif

namespace zrc {

template <class Ops>
struct aria_sliced {
    using vector = typename Ops::vector;

    // From 16 vectors of blocks to 16 vectors of byte positions, or back: each of the four steps turns the eight bits
    // of "vector number, byte number" by one place.
    [[gnu::always_inline, gnu::target(KESTRIM_ARIA_TARGET)]] static void transpose(vector (&x)[16]) noexcept
    {
        vector y[16];
#pragma GCC unroll 2
        for (int twice = 0; twice < 2; ++twice) {
            half_turn(x, y);
            half_turn(y, x);
        }
    }

    // The diffusion layer, and the next round key added: byte i of it in key(i). Within words, each byte becomes the
    // sum of the other three; words are mixed; byte i of word w goes to place i ^ w; words are mixed again.
    [[gnu::always_inline, gnu::target(KESTRIM_ARIA_TARGET)]] static void diffuse(vector (&x)[16], auto key) noexcept
    {
        vector y[16];
#pragma GCC unroll 4
        for (std::size_t w = 0; w < 16; w += 4)
            Ops::mix(x[w], x[w + 1], x[w + 2], x[w + 3], y[w], y[w + 1], y[w + 2], y[w + 3]);
#pragma GCC unroll 4
        for (std::size_t i = 0; i < 4; ++i)
            Ops::mix(y[i], y[4 + i], y[8 + i], y[12 + i], x[12 + i], x[4 + i], x[8 + i], x[i]);
#pragma GCC unroll 4
        for (std::size_t i = 0; i < 4; ++i) {
            const vector a = x[i], b = x[4 + (i ^ 1)], c = x[8 + (i ^ 2)], d = x[12 + (i ^ 3)];
            const vector ac = Ops::xor2(a, c), bd = Ops::xor2(b, d);
            y[i] = Ops::xor3(ac, b, key(i));
            y[4 + i] = Ops::xor3(ac, d, key(4 + i));
            y[8 + i] = Ops::xor3(bd, a, key(8 + i));
            y[12 + i] = Ops::xor3(bd, c, key(12 + i));
        }
#pragma GCC unroll 16
        for (std::size_t i = 0; i < 16; ++i)
            x[i] = y[i];
    }

private:
    [[gnu::always_inline, gnu::target(KESTRIM_ARIA_TARGET)]] static void half_turn(const vector (&from)[16],
                                                                                   vector (&to)[16]) noexcept
    {
#pragma GCC unroll 8
        for (std::size_t i = 0; i < 8; ++i) {
            to[2 * i] = Ops::unpack_low(from[i], from[i + 8]);
            to[2 * i + 1] = Ops::unpack_high(from[i], from[i + 8]);
        }
    }
};

} // namespace zrc
