// The unit of the inner arithmetic: as wide as the machine multiplies. Public values stay arrays of 32-bit words, least
// significant first; kernels convert them once on the way in and out.
#pragma once

#include <cstddef>
#include <cstdint>

namespace zrc {

#if defined(__SIZEOF_INT128__)
using limb = std::uint64_t;
__extension__ using double_limb = unsigned __int128;
#else
using limb = std::uint32_t;
using double_limb = std::uint64_t;
#endif

inline constexpr std::size_t kLimbBits = 8 * sizeof(limb);
inline constexpr std::size_t kWordsPerLimb = sizeof(limb) / sizeof(std::uint32_t);

constexpr std::size_t limbs_for_words(std::size_t words) noexcept
{
    return (words + kWordsPerLimb - 1) / kWordsPerLimb;
}

// Writes limbs_for_words(words) limbs.
inline void load_limbs(limb* out, const std::uint32_t* in, std::size_t words) noexcept
{
    if constexpr (kWordsPerLimb == 1) {
        for (std::size_t i = 0; i < words; ++i)
            out[i] = in[i];
    } else {
        for (std::size_t i = 0; i + 1 < words; i += 2)
            out[i / 2] = limb{in[i]} | limb{in[i + 1]} << (kLimbBits / 2);
        if (words % 2 != 0) out[words / 2] = in[words - 1];
    }
}

// Writes `words` words from limbs_for_words(words) limbs.
inline void store_limbs(std::uint32_t* out, const limb* in, std::size_t words) noexcept
{
    for (std::size_t i = 0; i < words; ++i)
        out[i] = std::uint32_t(in[i / kWordsPerLimb] >> (32 * (i % kWordsPerLimb)));
}

} // namespace zrc
