// ZRC_BIGINT operands and results of the arithmetic. Operands are normalised as a rule, but hexadecimal text can give
// values with zero words on top, which are to count as what they are worth; results are always normalised.
#pragma once

#include "kestrim/bigint.h"

#include <cstddef>
#include <cstdint>

namespace zrc {

inline constexpr std::int32_t kWordBits = 32;
inline constexpr std::int64_t kMostWords = 0xFFFFFF;

// `words` without the zero words on top.
inline std::int32_t stripped_length(const std::uint32_t* data, std::int32_t words) noexcept
{
    while (words > 0 && data[words - 1] == 0)
        --words;
    return words < 0 ? 0 : words;
}

// A value to compute with. Growing the BIGINT behind it ends its life.
struct words_of {
    explicit words_of(const ZRC_BIGINT& bn) noexcept : data{bn.data}, length{stripped_length(bn.data, bn.length)} {}

    bool is_zero() const noexcept { return length == 0; }

    const std::uint32_t* data;
    std::int32_t length;
};

inline bool is_zero(const ZRC_BIGINT& bn) noexcept
{
    return words_of{bn}.is_zero();
}

inline bool less(const words_of& a, const words_of& b) noexcept
{
    if (a.length != b.length) return a.length < b.length;
    return zrc_Cmp_BIGINT_Words(a.data, b.data, a.length) < 0;
}

inline bool same_value(const ZRC_BIGINT& first, const ZRC_BIGINT& second) noexcept
{
    const words_of a{first}, b{second};
    if (a.length != b.length) return false;
    return a.is_zero() || zrc_Cmp_BIGINT_Words(a.data, b.data, a.length) == 0; // zeros may have no arrays
}

// Gives r the first `words` of its words as its value.
inline void set_length(ZRC_BIGINT& r, std::int32_t words) noexcept
{
    r.length = stripped_length(r.data, words);
}

// Makes room for `words` words; false, with nothing changed, when there is none.
inline bool grow(ZRC_BIGINT& r, std::int64_t words) noexcept
{
    return words <= kMostWords && zrc_Expand_BIGINT(&r, std::int32_t(words)) != nullptr;
}

} // namespace zrc
