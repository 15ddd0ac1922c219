// Numbers that are the same in every run: random ones, and others that carry far, or hardly ever.
#pragma once

#include "tests/bigint/bigint_value.hpp"
#include "tests/vector_file.hpp"

namespace test {

class number_source : public repeatable {
public:
    using repeatable::repeatable;

    std::uint32_t below(std::size_t bound) { return std::uint32_t(upto(bound - 1)); }
    std::uint32_t random_word() { return std::uint32_t(upto(UINT32_MAX)); }
    std::uint32_t word()
    {
        static constexpr std::uint32_t kEdges[] = {0, 1, 2, 0x7FFFFFFF, 0x80000000, 0x80000001, 0xFFFFFFFE, 0xFFFFFFFF};
        return below(4) == 0 ? kEdges[below(std::size(kEdges))] : random_word();
    }

    word_list words(std::size_t count)
    {
        word_list result(count);
        if (count == 0) return result;
        const std::size_t half = (count + 1) / 2, kind = below(9);
        for (std::size_t i = 0; i < count; ++i) {
            if (kind == 0) result[i] = UINT32_MAX;
            if (kind == 3) result[i] = i < half ? random_word() : result[i - half];
            if (kind == 4) result[i] = i > 0 && below(4) != 0 ? result[i - 1] : below(2) - 1; // runs of both bits
            if (kind == 5) result[i] = word();
            if (kind > 5) result[i] = random_word();
        }
        if (kind == 0 && below(2) == 0) result[below(count)] ^= 1U << below(32); // all ones but one
        if (kind == 1) result.back() = 1U << below(32);
        if (kind == 1 && below(2) == 0) { // one less than a power of two
            std::fill(result.begin(), result.end() - 1, UINT32_MAX);
            --result.back();
        }
        for (std::uint32_t few = below(4) + 1; kind == 2 && few != 0; --few)
            result[below(count)] |= 1U << below(32);
        if (kind == 3) result[0] ^= below(2); // equal halves, or halves that differ in the lowest bit
        return result;
    }

    // Of exactly `bits` bits.
    bigint number(std::size_t bits, bool odd = false)
    {
        word_list value = words((bits + 31) / 32);
        if (value.empty()) return of({});
        const std::size_t unused = 32 * value.size() - bits;
        value.back() = (value.back() | 0x80000000U) << unused >> unused | 1U << (31 - unused);
        if (odd) value[0] |= 1;
        return of(value);
    }
    bigint odd(std::size_t bits) { return number(bits, true); }
};

} // namespace test
