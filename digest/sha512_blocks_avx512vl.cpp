// SHA-512 block function for x86-64 with AVX-512 (F and VL) and BMI2, on vectors of 128 and 256 bits only: the
// message schedule in vectors, the rounds half in scalar and half in vector registers.

#include "digest/sha2_rounds.hpp"
#include "digest/sha512_schedule_avx2.hpp"
#include "digest/sha_blocks.hpp"
#include "digest/sha_constants.hpp"

#include <cstddef>
#include <cstdint>
#include <immintrin.h>
#include <utility>

namespace zrc {
namespace {

constexpr std::size_t kBlockBytes = 128;

// Keeps the compiler from computing `sum` in another order than written: what is added last is ready last.
[[gnu::always_inline]] inline void keep_order(std::uint64_t& sum) noexcept
{
    __asm__("" : "+r"(sum));
}
[[gnu::always_inline, gnu::target("avx2,bmi,bmi2,avx512f,avx512vl")]] inline void keep_order(__m128i& sum) noexcept
{
    __asm__("" : "+x"(sum));
}

// The working variables: e..h, the longest chain of dependences, in scalar registers; a..d in the low lanes of
// vectors, where rotations and three-operand logic relieve the scalar units. A word takes some cycles from one side
// to the other, but what a round makes of a is wanted by e only four rounds later, as d. Variables change names
// instead of moving, as in sha2_registers: number i of its half is [(i - t) mod 4] in round t.
class registers {
public:
    [[gnu::always_inline,
      gnu::target("avx2,bmi,bmi2,avx512f,avx512vl")]] explicit registers(std::span<const std::uint64_t, 8> h) noexcept
    {
        for (std::size_t i = 0; i < 4; ++i) {
            a_to_d_[i] = _mm_loadl_epi64(reinterpret_cast<const __m128i*>(&h[i]));
            e_to_h_[i] = h[4 + i];
        }
    }

    // Round T (mod 4) with the sum of its constant and its message word.
    template <std::size_t T>
    [[gnu::always_inline, gnu::target("avx2,bmi,bmi2,avx512f,avx512vl")]] void round(std::uint64_t k_plus_w) noexcept
    {
        constexpr auto at = [](std::size_t variable) { return (variable - T) % 4; };
        const std::uint64_t e = e_to_h_[at(0)], f = e_to_h_[at(1)], g = e_to_h_[at(2)];
        const std::uint64_t choice = ((f ^ g) & e) ^ g;
        const std::uint64_t big_sigma1 = sha2_big_sigma(e, sha2_amounts<std::uint64_t>::big1);

        // The two sums grow side by side: one addition more, one step less from e to the next e.
        std::uint64_t sum = e_to_h_[at(3)], sum_and_d = scalar(a_to_d_[at(3)]);
        keep_order(sum_and_d);
        sum += k_plus_w;
        keep_order(sum);
        sum_and_d += sum;
        keep_order(sum_and_d);
        sum_and_d += choice;
        keep_order(sum_and_d);
        sum += choice;
        keep_order(sum);
        sum_and_d += big_sigma1;
        keep_order(sum_and_d);
        sum += big_sigma1;
        keep_order(sum);
        e_to_h_[at(3)] = sum_and_d;
        a_to_d_[at(3)] = next_a(sum, a_to_d_[at(0)], a_to_d_[at(1)], a_to_d_[at(2)]);
    }

    // After a number of rounds that is a multiple of 4.
    [[gnu::always_inline, gnu::target("avx2,bmi,bmi2,avx512f,avx512vl")]] void
    add_to(std::span<std::uint64_t, 8> h) const noexcept
    {
        for (std::size_t i = 0; i < 4; ++i) {
            h[i] += scalar(a_to_d_[i]);
            h[4 + i] += e_to_h_[i];
        }
    }

private:
    [[gnu::always_inline, gnu::target("avx2,bmi,bmi2,avx512f,avx512vl")]] static std::uint64_t
    scalar(__m128i x) noexcept
    {
        return std::uint64_t(_mm_cvtsi128_si64(x));
    }

    [[gnu::always_inline, gnu::target("avx2,bmi,bmi2,avx512f,avx512vl")]] static __m128i
    next_a(std::uint64_t sum, __m128i a, __m128i b, __m128i c) noexcept
    {
        constexpr int kParity = 0x96, kMajority = 0xE8; // truth tables
        const __m128i majority = _mm_ternarylogic_epi64(a, b, c, kMajority);
        const __m128i big_sigma0 =
            _mm_ternarylogic_epi64(_mm_ror_epi64(a, 28), _mm_ror_epi64(a, 34), _mm_ror_epi64(a, 39), kParity);
        __m128i total = _mm_add_epi64(_mm_cvtsi64_si128(static_cast<long long>(sum)), majority);
        keep_order(total);
        return _mm_add_epi64(total, big_sigma0);
    }

    __m128i a_to_d_[4];
    std::uint64_t e_to_h_[4];
};

// Rounds 2 * Pair and 2 * Pair + 1 (mod 16).
template <std::size_t Pair>
[[gnu::always_inline, gnu::target("avx2,bmi,bmi2,avx512f,avx512vl")]] inline void
two_rounds(registers& v, const std::uint64_t* inputs) noexcept
{
    v.round<2 * Pair>(inputs[4 * Pair]);
    v.round<2 * Pair + 1>(inputs[4 * Pair + 1]);
}

// The first block's rounds, and between them the schedule of both blocks, sixteen rounds ahead.
template <std::size_t... Pair>
[[gnu::always_inline, gnu::target("avx2,bmi,bmi2,avx512f,avx512vl")]] inline void
first_block(std::span<std::uint64_t, 8> h, std::uint64_t* inputs, const std::uint8_t* first, const std::uint8_t* second,
            std::index_sequence<Pair...> pairs) noexcept
{
    sha512_schedule schedule{first, second, inputs, pairs};
    registers v{h};
    for (std::size_t t = 16; t < 80; t += 16) {
        ((schedule.next<Pair>(inputs + 2 * t + 4 * Pair, &kSha512K[t + 2 * Pair]),
          two_rounds<Pair>(v, inputs + 2 * (t - 16))),
         ...);
    }
    (two_rounds<Pair>(v, inputs + 2 * 64), ...);
    v.add_to(h);
}

template <std::size_t... Pair>
[[gnu::always_inline, gnu::target("avx2,bmi,bmi2,avx512f,avx512vl")]] inline void
second_block(std::span<std::uint64_t, 8> h, const std::uint64_t* inputs, std::index_sequence<Pair...>) noexcept
{
    registers v{h};
    for (std::size_t t = 0; t < 80; t += 16)
        (two_rounds<Pair>(v, inputs + 2 * t), ...);
    v.add_to(h);
}

} // namespace

[[gnu::target("avx2,bmi,bmi2,avx512f,avx512vl")]] void sha512_blocks_avx512vl(std::span<std::uint64_t, 8> h,
                                                                              byte_span blocks) noexcept
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
