// The compression of HAS-160 (TTAS.KO-12.0011/R2), unrolled.
//
// A step waits for the one before it in two operations only, a rotation and the last addition; the sum of
// everything else is made ready before.
#include "digest/has160_blocks.hpp"

#include "core/settled.hpp"

#include <array>
#include <bit>
#include <cstddef>

namespace zrc {
namespace {

constexpr std::size_t kBlockBytes = 64;

// A round is four groups of five steps. The first step of a group takes an extra word, the exclusive or of the four
// words of the group after next; the other four take the words listed here.
struct round_plan {
    std::uint32_t constant;
    int b_rotation;
    std::array<std::array<std::size_t, 4>, 4> words;
};

constexpr std::array<round_plan, 4> kRounds{{
    {0x00000000, 10, {{{0, 1, 2, 3}, {4, 5, 6, 7}, {8, 9, 10, 11}, {12, 13, 14, 15}}}},
    {0x5A827999, 17, {{{3, 6, 9, 12}, {15, 2, 5, 8}, {11, 14, 1, 4}, {7, 10, 13, 0}}}},
    {0x6ED9EBA1, 25, {{{12, 5, 14, 7}, {0, 9, 2, 11}, {4, 13, 6, 15}, {8, 1, 10, 3}}}},
    {0x8F1BBCDC, 30, {{{7, 2, 13, 8}, {3, 14, 9, 4}, {15, 10, 5, 0}, {11, 6, 1, 12}}}},
}};

// Rotation of a in each of the twenty steps of a round.
constexpr std::array<int, 20> kARotations{5, 11, 7, 15, 6, 13, 8, 14, 7, 12, 9, 11, 8, 15, 6, 12, 9, 14, 5, 13};

template <std::size_t Round>
[[gnu::always_inline]] inline std::uint32_t mix(std::uint32_t b, std::uint32_t c, std::uint32_t d) noexcept
{
    if constexpr (Round == 0) return d ^ (b & settled(c ^ d)); // (b and c) or (not b and d)
    if constexpr (Round == 1 || Round == 3) return b ^ settled(c ^ d);
    if constexpr (Round == 2) return c ^ (b | ~d);
}

// Step `Step` of a round. The new word takes the place of e, and the roles move one place down the chaining words.
template <std::size_t Round, std::size_t Step>
[[gnu::always_inline]] inline void step(std::uint32_t a, std::uint32_t& b, std::uint32_t c, std::uint32_t d,
                                        std::uint32_t& e, std::uint32_t word) noexcept
{
    const std::uint32_t early = settled(settled(e + kRounds[Round].constant) + word);
    e = settled(early + mix<Round>(b, c, d)) + std::rotl(a, kARotations[Step]);
    b = std::rotl(b, kRounds[Round].b_rotation);
}

// The chaining words while blocks are absorbed.
struct chain {
    std::uint32_t a, b, c, d, e;
};

template <std::size_t Round, std::size_t Group>
[[gnu::always_inline]] inline void five_steps(chain& w, const std::uint8_t* block) noexcept
{
    constexpr const auto& used = kRounds[Round].words[Group];
    constexpr const auto& mixed = kRounds[Round].words[(Group + 2) % 4];
    const auto word = [block](std::size_t index) { return load_le32(block + 4 * index); };

    const std::uint32_t extra = word(mixed[0]) ^ word(mixed[1]) ^ word(mixed[2]) ^ word(mixed[3]);
    step<Round, 5 * Group + 0>(w.a, w.b, w.c, w.d, w.e, extra);
    step<Round, 5 * Group + 1>(w.e, w.a, w.b, w.c, w.d, word(used[0]));
    step<Round, 5 * Group + 2>(w.d, w.e, w.a, w.b, w.c, word(used[1]));
    step<Round, 5 * Group + 3>(w.c, w.d, w.e, w.a, w.b, word(used[2]));
    step<Round, 5 * Group + 4>(w.b, w.c, w.d, w.e, w.a, word(used[3]));
}

// Each group reads the block anew: the compiler would otherwise keep copies of the words on the stack, and leave
// them.
template <std::size_t Round>
[[gnu::always_inline]] inline void twenty_steps(chain& w, const std::uint8_t*& block) noexcept
{
    five_steps<Round, 0>(w, block = settled(block));
    five_steps<Round, 1>(w, block = settled(block));
    five_steps<Round, 2>(w, block = settled(block));
    five_steps<Round, 3>(w, block = settled(block));
}

} // namespace

void has160_blocks(std::span<std::uint32_t, 5> h, byte_span blocks) noexcept
{
    chain w{h[0], h[1], h[2], h[3], h[4]};
    const std::uint8_t* block = blocks.data();
    for (std::size_t left = blocks.size() / kBlockBytes; left != 0; --left, block += kBlockBytes) {
        twenty_steps<0>(w, block);
        twenty_steps<1>(w, block);
        twenty_steps<2>(w, block);
        twenty_steps<3>(w, block);
        h[0] = w.a += h[0];
        h[1] = w.b += h[1];
        h[2] = w.c += h[2];
        h[3] = w.d += h[3];
        h[4] = w.e += h[4];
    }
}

} // namespace zrc
