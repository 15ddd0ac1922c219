// The compression of MD5 (RFC 1321, 3.4), unrolled.
//
// Each step needs the result of the one before, so the time is the length of that chain and nothing else: every
// operand that is known earlier is added up first, and the round functions are written so that the newest word
// enters late.
#include "digest/md5_blocks.hpp"

#include "core/settled.hpp"

#include <array>
#include <bit>
#include <cstddef>

namespace zrc {
namespace {

constexpr std::size_t kBlockBytes = 64;

struct round_plan {
    std::array<int, 4> shifts;         // repeated every four steps
    std::array<std::size_t, 16> order; // message word of each step
};

constexpr std::array<round_plan, 4> kRounds{{
    {{7, 12, 17, 22}, {0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15}},
    {{5, 9, 14, 20}, {1, 6, 11, 0, 5, 10, 15, 4, 9, 14, 3, 8, 13, 2, 7, 12}},
    {{4, 11, 16, 23}, {5, 8, 11, 14, 1, 4, 7, 10, 13, 0, 3, 6, 9, 12, 15, 2}},
    {{6, 10, 15, 21}, {0, 7, 14, 5, 12, 3, 10, 1, 8, 15, 6, 13, 4, 11, 2, 9}},
}};

// T[i] = floor(2^32 * |sin(i)|), i = 1 to 64 in radians.
constexpr std::array<std::uint32_t, 64> kT{
    0xD76AA478, 0xE8C7B756, 0x242070DB, 0xC1BDCEEE, 0xF57C0FAF, 0x4787C62A, 0xA8304613, 0xFD469501,
    0x698098D8, 0x8B44F7AF, 0xFFFF5BB1, 0x895CD7BE, 0x6B901122, 0xFD987193, 0xA679438E, 0x49B40821,

    0xF61E2562, 0xC040B340, 0x265E5A51, 0xE9B6C7AA, 0xD62F105D, 0x02441453, 0xD8A1E681, 0xE7D3FBC8,
    0x21E1CDE6, 0xC33707D6, 0xF4D50D87, 0x455A14ED, 0xA9E3E905, 0xFCEFA3F8, 0x676F02D9, 0x8D2A4C8A,

    0xFFFA3942, 0x8771F681, 0x6D9D6122, 0xFDE5380C, 0xA4BEEA44, 0x4BDECFA9, 0xF6BB4B60, 0xBEBFBC70,
    0x289B7EC6, 0xEAA127FA, 0xD4EF3085, 0x04881D05, 0xD9D4D039, 0xE6DB99E5, 0x1FA27CF8, 0xC4AC5665,

    0xF4292244, 0x432AFF97, 0xAB9423A7, 0xFC93A039, 0x655B59C3, 0x8F0CCC92, 0xFFEFF47D, 0x85845DD1,
    0x6FA87E4F, 0xFE2CE6E0, 0xA3014314, 0x4E0811A1, 0xF7537E82, 0xBD3AF235, 0x2AD7D2BB, 0xEB86D391,
};

// `early` plus the round function; b is the word that the last step made.
template <std::size_t Round>
[[gnu::always_inline]] inline std::uint32_t add_mix(std::uint32_t early, std::uint32_t b, std::uint32_t c,
                                                    std::uint32_t d) noexcept
{
    if constexpr (Round == 0) return early + (d ^ (b & settled(c ^ d)));
    if constexpr (Round == 1) return settled(early + (c & ~d)) + (b & d); // the two terms share no bit
    if constexpr (Round == 2) return early + (b ^ settled(c ^ d));
    if constexpr (Round == 3) return early + (c ^ (b | ~d));
}

template <std::size_t Step>
[[gnu::always_inline]] inline void step(std::uint32_t& a, std::uint32_t b, std::uint32_t c, std::uint32_t d,
                                        const std::uint8_t* block) noexcept
{
    constexpr std::size_t round = Step / 16;
    constexpr int shift = kRounds[round].shifts[Step % 4];
    constexpr std::size_t word_at = 4 * kRounds[round].order[Step % 16];

    const std::uint32_t early = settled(a + kT[Step] + load_le32(block + word_at));
    a = b + std::rotl(add_mix<round>(early, b, c, d), shift);
}

// The chaining words while blocks are absorbed.
struct chain {
    std::uint32_t a, b, c, d;
};

template <std::size_t Step>
[[gnu::always_inline]] inline void four_steps(chain& w, const std::uint8_t* block) noexcept
{
    step<Step + 0>(w.a, w.b, w.c, w.d, block);
    step<Step + 1>(w.d, w.a, w.b, w.c, block);
    step<Step + 2>(w.c, w.d, w.a, w.b, block);
    step<Step + 3>(w.b, w.c, w.d, w.a, block);
}

// Each round reads the block anew: the compiler would otherwise keep copies of the words on the stack, and leave
// them.
template <std::size_t Round>
[[gnu::always_inline]] inline void sixteen_steps(chain& w, const std::uint8_t*& block) noexcept
{
    block = settled(block);
    four_steps<16 * Round + 0>(w, block);
    four_steps<16 * Round + 4>(w, block);
    four_steps<16 * Round + 8>(w, block);
    four_steps<16 * Round + 12>(w, block);
}

} // namespace

void md5_blocks(std::span<std::uint32_t, 4> h, byte_span blocks) noexcept
{
    chain w{h[0], h[1], h[2], h[3]};
    const std::uint8_t* block = blocks.data();
    for (std::size_t left = blocks.size() / kBlockBytes; left != 0; --left, block += kBlockBytes) {
        sixteen_steps<0>(w, block);
        sixteen_steps<1>(w, block);
        sixteen_steps<2>(w, block);
        sixteen_steps<3>(w, block);
        h[0] = w.a += h[0];
        h[1] = w.b += h[1];
        h[2] = w.c += h[2];
        h[3] = w.d += h[3];
    }
}

} // namespace zrc
