// SHA-512 block function for x86-64 with AVX2 and BMI2: the message schedule in vectors, the rounds in scalar
// registers.

#include "digest/sha2_rounds.hpp"
#include "digest/sha512_schedule_avx2.hpp"
#include "digest/sha_blocks.hpp"
#include "digest/sha_constants.hpp"

#include <cstddef>
#include <cstdint>
#include <utility>

namespace zrc {
namespace {

constexpr std::size_t kBlockBytes = 128;

// Rounds 2 * Pair and 2 * Pair + 1 (mod 16).
template <std::size_t Pair>
[[gnu::always_inline, gnu::target("avx2,bmi,bmi2")]] inline void two_rounds(sha2_registers<std::uint64_t>& v,
                                                                            const std::uint64_t* inputs) noexcept
{
    v.round<2 * Pair>(inputs[4 * Pair]);
    v.round<2 * Pair + 1>(inputs[4 * Pair + 1]);
}

// The first block's rounds, and between them the schedule of both blocks, sixteen rounds ahead.
template <std::size_t... Pair>
[[gnu::always_inline, gnu::target("avx2,bmi,bmi2")]] inline void
first_block(std::span<std::uint64_t, 8> h, std::uint64_t* inputs, const std::uint8_t* first, const std::uint8_t* second,
            std::index_sequence<Pair...> pairs) noexcept
{
    sha512_schedule schedule{first, second, inputs, pairs};
    sha2_registers<std::uint64_t> v{h};
    for (std::size_t t = 16; t < 80; t += 16) {
        ((schedule.next<Pair>(inputs + 2 * t + 4 * Pair, &kSha512K[t + 2 * Pair]),
          two_rounds<Pair>(v, inputs + 2 * (t - 16))),
         ...);
    }
    (two_rounds<Pair>(v, inputs + 2 * 64), ...);
    v.add_to(h);
}

template <std::size_t... Pair>
[[gnu::always_inline, gnu::target("avx2,bmi,bmi2")]] inline void
second_block(std::span<std::uint64_t, 8> h, const std::uint64_t* inputs, std::index_sequence<Pair...>) noexcept
{
    sha2_registers<std::uint64_t> v{h};
    for (std::size_t t = 0; t < 80; t += 16)
        (two_rounds<Pair>(v, inputs + 2 * t), ...);
    v.add_to(h);
}

} // namespace

[[gnu::target("avx2,bmi,bmi2")]] void sha512_blocks_avx2(std::span<std::uint64_t, 8> h, byte_span blocks) noexcept
{
    constexpr auto pairs = std::make_index_sequence<8>{};
    sha512_round_inputs inputs;

    while (!blocks.empty()) {
        const std::uint8_t* const first = blocks.data();
        const bool two = blocks.size() > kBlockBytes;
        first_block(h, inputs.data(), first, two ? first + kBlockBytes : first, pairs);
        if (two) second_block(h, inputs.data() + 2, pairs);
        blocks = blocks.subspan(two ? 2 * kBlockBytes : kBlockBytes);
    }
}

} // namespace zrc
