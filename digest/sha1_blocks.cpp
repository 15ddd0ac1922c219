// SHA-1 block function (FIPS 180-4, 6.1.2), portable, and the list of all of them.
#include "core/bytes.hpp"
#include "core/secret.hpp"
#include "digest/sha_blocks.hpp"

#include <bit>
#include <cstddef>
#include <cstdint>
#include <utility>

namespace zrc {
namespace {

using message_words = std::span<std::uint32_t, 16>;
constexpr std::size_t kBlockBytes = 64;

// Function and constant of round T (4.1.1 and 4.2.1).
template <std::size_t T>
constexpr std::uint32_t mix(std::uint32_t x, std::uint32_t y, std::uint32_t z) noexcept
{
    if constexpr (T < 20)
        return (((y ^ z) & x) ^ z) + 0x5A827999;
    else if constexpr (T < 40)
        return (x ^ y ^ z) + 0x6ED9EBA1;
    else if constexpr (T < 60)
        return (x & y) + ((x ^ y) & z) + 0x8F1BBCDC; // the two terms share no bit
    else
        return (x ^ y ^ z) + 0xCA62C1D6;
}

// The working variables a..e. Instead of moving them in each round they change names: variable number i of round t,
// counted from a = 0, is v[(i - t) mod 5]. The indices are constants, so v lives in registers.
class registers {
public:
    [[gnu::always_inline]] explicit registers(std::span<const std::uint32_t, 5> h) noexcept
    {
        for (std::size_t i = 0; i < 5; ++i)
            v_[i] = h[i];
    }

    template <std::size_t T>
    [[gnu::always_inline]] void round(std::uint32_t w) noexcept
    {
        at<T>(4) += w + mix<T>(at<T>(1), at<T>(2), at<T>(3)) + std::rotl(at<T>(0), 5);
        at<T>(1) = std::rotl(at<T>(1), 30);
    }

    [[gnu::always_inline]] void add_to(std::span<std::uint32_t, 5> h) const noexcept
    {
        for (std::size_t i = 0; i < 5; ++i)
            h[i] += v_[i];
    }

private:
    template <std::size_t T>
    [[gnu::always_inline]] std::uint32_t& at(std::size_t variable) noexcept
    {
        return v_[(variable + 80 - T) % 5];
    }

    std::uint32_t v_[5];
};

// Word T of the message schedule, of which w keeps the last sixteen.
template <std::size_t T>
[[gnu::always_inline]] inline std::uint32_t next_word(message_words w, const std::uint8_t* block) noexcept
{
    std::uint32_t& word = w[T % 16];
    if constexpr (T < 16)
        word = load_be32(block + 4 * T);
    else
        word = std::rotl(word ^ w[(T + 2) % 16] ^ w[(T + 8) % 16] ^ w[(T + 13) % 16], 1);
    return word;
}

template <std::size_t... T>
[[gnu::always_inline]] inline void all_rounds(registers& v, message_words w, const std::uint8_t* block,
                                              std::index_sequence<T...>) noexcept
{
    (v.round<T>(next_word<T>(w, block)), ...);
}

} // namespace

void sha1_blocks_portable(std::span<std::uint32_t, 5> h, byte_span blocks) noexcept
{
    secret_array<std::uint32_t, 16> w;

    for (; !blocks.empty(); blocks = blocks.subspan(kBlockBytes)) {
        registers v{h};
        all_rounds(v, w.span(), blocks.data(), std::make_index_sequence<80>{});
        v.add_to(h);
    }
}

namespace {

constexpr kernel<sha1_blocks_fn> kKernels[] = {
#if KESTRIM_X86_64_KERNELS
    {"sha-ni", cpu_feature::sha_ni, sha1_blocks_sha_ni},
#endif
    {"portable", cpu_feature::none, sha1_blocks_portable},
};

} // namespace

constinit kernel_choice<sha1_blocks_fn> sha1_kernels{kKernels};

} // namespace zrc
