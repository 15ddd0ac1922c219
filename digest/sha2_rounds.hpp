// The rounds and the message schedule of SHA-2 in scalar code, for both word sizes (FIPS 180-4, 4.1.2, 4.1.3, 6.2.2
// and 6.4.2). Everything is inlined: the code takes on the instruction set of the function that it ends up in.
#pragma once

#include "core/bytes.hpp"
#include "core/secret.hpp"

#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <span>
#include <utility>

namespace zrc {

// The amounts by which the four sigma functions rotate; the last one of the small sigmas is a shift.
template <class Word>
struct sha2_amounts;

template <>
struct sha2_amounts<std::uint32_t> {
    static constexpr int big0[3] = {2, 13, 22}, big1[3] = {6, 11, 25};
    static constexpr int small0[3] = {7, 18, 3}, small1[3] = {17, 19, 10};
};

template <>
struct sha2_amounts<std::uint64_t> {
    static constexpr int big0[3] = {28, 34, 39}, big1[3] = {14, 18, 41};
    static constexpr int small0[3] = {1, 8, 7}, small1[3] = {19, 61, 6};
};

template <class Word>
constexpr Word sha2_big_sigma(Word x, const int (&by)[3]) noexcept
{
    return std::rotr(x, by[0]) ^ std::rotr(x, by[1]) ^ std::rotr(x, by[2]);
}

template <class Word>
constexpr Word sha2_small_sigma(Word x, const int (&by)[3]) noexcept
{
    return std::rotr(x, by[0]) ^ std::rotr(x, by[1]) ^ x >> by[2];
}

// The working variables a..h. Instead of moving seven of them in each round they change names: variable number i of
// round t, counted from a = 0, is v[(i - t) mod 8]. The indices are constants, so v lives in registers where there
// are enough.
template <class Word>
class sha2_registers {
public:
    [[gnu::always_inline]] explicit sha2_registers(std::span<const Word, 8> h) noexcept
    {
        for (std::size_t i = 0; i < 8; ++i)
            v_[i] = h[i];
        b_xor_c_ = v_[1] ^ v_[2];
    }

    // Round T (mod 8) with the sum of its constant and its message word.
    template <std::size_t T>
    [[gnu::always_inline]] void round(Word k_plus_w) noexcept
    {
        using amounts = sha2_amounts<Word>;
        const Word a = at<T>(0), b = at<T>(1), e = at<T>(4), f = at<T>(5), g = at<T>(6);
        Word &d = at<T>(3), &h = at<T>(7);

        const Word choice = ((f ^ g) & e) ^ g;
        const Word a_xor_b = a ^ b;
        const Word majority = (a_xor_b & b_xor_c_) ^ b;
        b_xor_c_ = a_xor_b; // of the next round

        h += k_plus_w + choice + sha2_big_sigma(e, amounts::big1);
        d += h;
        h += majority + sha2_big_sigma(a, amounts::big0);
    }

    // After a number of rounds that is a multiple of 8.
    [[gnu::always_inline]] void add_to(std::span<Word, 8> h) const noexcept
    {
        for (std::size_t i = 0; i < 8; ++i)
            h[i] += v_[i];
    }

private:
    template <std::size_t T>
    [[gnu::always_inline]] Word& at(std::size_t variable) noexcept
    {
        return v_[(variable - T) % 8];
    }

    Word v_[8];
    Word b_xor_c_;
};

// Replaces message word T of the last sixteen by the one of sixteen rounds later.
template <std::size_t T, class Word>
[[gnu::always_inline]] inline Word sha2_next_word(std::span<Word, 16> w) noexcept
{
    using amounts = sha2_amounts<Word>;
    return w[T] += sha2_small_sigma(w[(T + 1) % 16], amounts::small0) + w[(T + 9) % 16] +
                   sha2_small_sigma(w[(T + 14) % 16], amounts::small1);
}

// The block function. There are as many rounds as constants.
template <class Word, std::size_t Rounds>
[[gnu::always_inline]] inline void sha2_blocks(std::span<Word, 8> h, byte_span blocks,
                                               const std::array<Word, Rounds>& k) noexcept
{
    constexpr std::size_t block_bytes = 16 * sizeof(Word);
    secret_array<Word, 16> words;
    const std::span<Word, 16> w = words.span();

    for (; !blocks.empty(); blocks = blocks.subspan(block_bytes)) {
        sha2_registers<Word> v{h};
        [&]<std::size_t... T>(std::index_sequence<T...>)
        {
            for (std::size_t i = 0; i < 16; ++i)
                w[i] = load<Word, std::endian::big>(blocks.data() + i * sizeof(Word));
            (v.template round<T>(k[T] + w[T]), ...);
            for (std::size_t t = 16; t < Rounds; t += 16)
                (v.template round<T>(k[t + T] + sha2_next_word<T>(w)), ...);
        }
        (std::make_index_sequence<16>{});
        v.add_to(h);
    }
}

} // namespace zrc
