// LEA schedules (TTAK.KO-12.0223): the constants, and the choice among the implementations.
#pragma once

#include "core/kernel.hpp"
#include "kestrim/lea.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>

namespace zrc {

// Fills the whole of `schedule` from a key of 4, 6 or 8 words. Behind the last round key there are zeros.
using lea_schedule_fn = void (*)(const std::uint8_t* key, std::size_t key_words, ZRC_LEA_KEY& schedule) noexcept;

extern kernel_choice<lea_schedule_fn> lea_schedules;

namespace lea {

// A number of 288 bits, lowest word first: as much as the square root below needs.
struct wide {
    std::array<std::uint32_t, 9> word{};

    constexpr wide shifted(unsigned bits, std::uint32_t low_bits) const noexcept
    {
        wide result;
        std::uint32_t carry = low_bits;
        for (std::size_t i = 0; i < word.size(); ++i) {
            result.word[i] = word[i] << bits | carry;
            carry = word[i] >> (32 - bits);
        }
        return result;
    }

    // Subtracts `other` when it is not larger.
    constexpr bool subtract(const wide& other) noexcept
    {
        wide result;
        std::uint64_t difference = 0;
        for (std::size_t i = 0; i < word.size(); ++i) {
            difference = std::uint64_t{word[i]} - other.word[i] - (difference >> 63);
            result.word[i] = std::uint32_t(difference);
        }
        if (difference >> 63 != 0) return false;
        *this = result;
        return true;
    }
};

// The first 256 bits behind the point of sqrt(766965), the number that the letters LEA make in ASCII, 76 69 65: the
// root by hand, bit by bit.
consteval std::array<std::uint32_t, 8> make_delta()
{
    constexpr std::uint32_t kSquare = 766965, kRoot = 875;
    static_assert(kRoot * kRoot < kSquare && kSquare < (kRoot + 1) * (kRoot + 1));

    wide root, rest;
    root.word[0] = kRoot;
    rest.word[0] = kSquare - kRoot * kRoot;
    for (int bit = 0; bit < 256; ++bit) {
        rest = rest.shifted(2, 0);
        root = root.shifted(1, rest.subtract(root.shifted(2, 1)) ? 1 : 0);
    }
    std::array<std::uint32_t, 8> delta;
    std::reverse_copy(root.word.begin(), root.word.begin() + 8, delta.begin());
    return delta;
}
inline constexpr auto kDelta = make_delta();
static_assert(kDelta[0] == 0xC3EFE9DB && kDelta[7] == 0xE5C40957);

inline constexpr std::size_t kRoundKeyWords = 6;

constexpr std::size_t rounds_for(std::size_t key_words) noexcept
{
    return 16 + 2 * key_words;
}

constexpr std::size_t schedule_words(std::size_t key_words) noexcept
{
    return kRoundKeyWords * rounds_for(key_words);
}

// Each round adds to the words of the key that it changes, and rotates them by this much to the left.
inline constexpr std::array<int, kRoundKeyWords> kRotations{1, 3, 6, 11, 13, 17};

// What is added for a key of N words, six in a round. Vectors of eight words may be loaded from any round on.
template <std::size_t N>
inline constexpr auto kAddends = [] {
    std::array<std::uint32_t, schedule_words(N) + 2> addends{};
    for (std::size_t i = 0; i < schedule_words(N); ++i)
        addends[i] = std::rotl(kDelta[i / kRoundKeyWords % N], int((i / kRoundKeyWords + i % kRoundKeyWords) % 32));
    return addends;
}();

} // namespace lea
} // namespace zrc
